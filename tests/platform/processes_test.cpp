#include "platform/linux/desktop/LinuxWorkspace.h"
#include "platform/linux/processes/LinuxProcesses.h"
#include "platform/linux/processes/ProcFile.h"
#include "platform/linux/processes/ProcessStatus.h"
#include "tests/fakes/PlatformTest.h"
#include "tests/fakes/PrivateBus.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <tuple>
#include <unistd.h>

namespace trigora::platform {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

/// Real processes; the few short waits below are for what only the kernel can do.
class RealProcesses : public test::PlatformTest {
protected:
    const InstallationRoot root{fs::path(onDisk("/Library")).parent_path().string()};
    const bool inSession = ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/here,guid=1", 1) == 0;
    std::vector<std::int32_t> named; ///< who have taken a name on the bus
    LinuxProcesses processes{root, current().bundles, loop, [this] { return named; }};
    LinuxWorkspace workspace{root, current().fileSystem, current().bundles, processes};

    /// Installs a program; a "#!" text, or a copy of a real one, whose name then is the process's.
    void installScript(const std::string& path, const std::string& text) {
        writeFile(path, text);
        ::chmod(onDisk(path).c_str(), 0755);
    }
    void installSleep(const std::string& path) {
        fs::create_directories(fs::path(onDisk(path)).parent_path());
        fs::copy_file("/bin/sleep", onDisk(path));
    }
    /// Starts a command, with words for `env` before it, as a program that is not a child of this one.
    std::int32_t startOutside(const std::string& environment, const std::string& command) {
        const auto shell = processes.launch(
            "/bin/sh", {"-c", "env " + environment + " " + command + " & echo $! >" + home + "/id"});
        EXPECT_TRUE(shell && processes.waitForExit(*shell) == 0);
        const std::int32_t id = integerValue(readFile("~/id"));
        if (id <= 1) {
            throw std::runtime_error("cannot be started: " + command);
        }
        // It begins as the shell that started it, and as `env`.
        EXPECT_TRUE(comesTrue([&] {
            const std::string words = procFile(id, "cmdline");
            return !words.empty() && !procFile(id, "environ").empty() &&
                   !words.starts_with(std::string_view("/bin/sh\0-c", 10)) &&
                   !words.starts_with(std::string_view("env\0", 4));
        }));
        return id;
    }
    /// Who it was started by, or else the system, takes away what is left of it.
    static void end(std::int32_t id) {
        ::kill(id, SIGKILL);
        EXPECT_TRUE(comesTrue([&] {
            const auto status = processStatus(id);
            return !status || status->state == 'Z';
        }));
    }
    const ProcessInformation* listed(std::int32_t id) {
        list_ = processes.list();
        const auto found = std::find_if(list_.begin(), list_.end(), [&](const ProcessInformation& process) {
            return process.processID == id;
        });
        return found == list_.end() ? nullptr : &*found;
    }
    static bool comesTrue(const std::function<bool()>& condition) {
        for (int i = 0; i < 1000 && !condition(); ++i) {
            std::this_thread::sleep_for(10ms);
        }
        return condition();
    }
    std::string outputOf(const std::string& path) {
        EXPECT_TRUE(comesTrue([&] { return exists(path); })) << path;
        return readFile(path);
    }

private:
    std::vector<ProcessInformation> list_;
};

TEST_F(RealProcesses, AreFoundByNameHalfASecondAfterTheFirstLookThatFollowsALaunch) {
    const std::string executable = "/Applications/found by name";
    const auto foundID = [&] {
        const auto found = processes.find("found by name");
        return found ? found->processID : 0;
    };
    installSleep(executable);
    const auto first = processes.launch(executable, {"100"});
    const auto second = processes.launch(executable, {"100"});
    ASSERT_TRUE(first && second);
    std::this_thread::sleep_for(600ms);
    const auto looked = std::chrono::steady_clock::now();
    EXPECT_EQ(foundID(), 0) << "however late the first look";
    EXPECT_TRUE(listed(*first) != nullptr && listed(*second) != nullptr);
    ASSERT_TRUE(comesTrue([&] { return foundID() == std::min(*first, *second); }));
    EXPECT_GE(std::chrono::steady_clock::now() - looked, 500ms);
    ::kill(std::min(*first, *second), SIGKILL);
    EXPECT_TRUE(comesTrue([&] { return foundID() == std::max(*first, *second); })) << "the other one counts";
    ::kill(std::max(*first, *second), SIGKILL);
    EXPECT_TRUE(comesTrue([&] { return foundID() == 0; }));

    const std::int32_t third = startOutside("", "'" + onDisk(executable) + "' 100");
    EXPECT_EQ(foundID(), third) << "somebody else's is found as soon as it runs";
    end(third);
}

TEST_F(RealProcesses, AreListedWithNameAndBundleUntilTheirExit) {
    const std::string bundle = "/Applications/Ap (deleted)/A.app";
    const std::string executable = bundle + "/Contents/MacOS/a) name (of over 15 bytes";
    installSleep(executable);
    writePropertyList(bundle + "/Contents/Info.plist",
                      Dictionary{{"CFBundlePackageType", "APPL"}, {"CFBundleSignature", "PLsc"}});
    const auto id = processes.launch(executable, {"100"});
    ASSERT_TRUE(id && listed(*id));
    const ProcessInformation process = *listed(*id);
    EXPECT_EQ(process.name, "a) name (of over 15 bytes");
    EXPECT_EQ(process.type, fourCharCode("APPL"));
    EXPECT_EQ(process.signature, fourCharCode("PLsc"));

    writePropertyList(bundle + "/Contents/Info.plist", Dictionary{{"CFBundleSignature", "toolong"}});
    EXPECT_TRUE(comesTrue([&] { return listed(*id)->signature == 0; }));
    fs::remove(onDisk(executable));
    ASSERT_NE(listed(*id), nullptr);
    EXPECT_EQ(listed(*id)->name, "a) name (of over 15 bytes");

    EXPECT_TRUE(processes.isRunning(*id));
    ::kill(*id, SIGKILL);
    EXPECT_EQ(processes.waitForExit(*id), -1);
    EXPECT_EQ(listed(*id), nullptr);
}

TEST_F(RealProcesses, OnlyThoseOfTheOwnSessionAreListed) {
    installSleep("/Applications/sleeper");
    const std::string sleep = onDisk("/Applications/sleeper") + " 100";
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"started in it", "", true},
        {"the same bus", "DBUS_SESSION_BUS_ADDRESS=unix:path=/here,guid=2", true},
        {"another bus", "DBUS_SESSION_BUS_ADDRESS=unix:path=/there", false},
        {"the user's usual bus", "-u DBUS_SESSION_BUS_ADDRESS XDG_RUNTIME_DIR=/run", false},
        {"no bus", "-u DBUS_SESSION_BUS_ADDRESS -u XDG_RUNTIME_DIR", false},
    };
    for (const auto& [what, environment, isListed] : cases) {
        const std::int32_t id = startOutside(environment, sleep);
        EXPECT_EQ(listed(id) != nullptr, isListed) << what;
        EXPECT_EQ(processes.find("sleeper").has_value(), isListed) << what;
        named = {id};
        EXPECT_NE(listed(id), nullptr) << what << ", with a name on this bus";
        named.clear();
        end(id);
    }
}

TEST_F(RealProcesses, ScriptsGoByTheirOwnNameFileAndBundle) {
    const std::string bundle = "/Applications/Script.app";
    const std::string script = bundle + "/Contents/MacOS/a script";
    const std::string pipe = home + "/pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    writePropertyList(bundle + "/Contents/Info.plist", Dictionary{{"CFBundleSignature", "Scrt"}});
    for (const char* line :
         {"#!/bin/sh", "#! /bin/sh -e", "#!/usr/bin/env sh", "#!/usr/bin/env -S sh -e -u"}) {
        installScript(script, std::string(line) + "\nread line <\"$1\"\n");
        for (const std::string& start :
             {"'" + onDisk(script) + "' ", "-C '" + onDisk(bundle) + "' './Contents/MacOS/a script' "}) {
            const std::int32_t id = startOutside("", start + pipe);
            // What the first line names may look for the interpreter first.
            EXPECT_TRUE(comesTrue([&] { return listed(id) && listed(id)->executablePath == script; }))
                << line;
            EXPECT_EQ(listed(id)->name, "a script");
            EXPECT_EQ(listed(id)->signature, fourCharCode("Scrt"));
            EXPECT_EQ(processes.find("a script").value_or(ProcessInformation{}).processID, id) << line;
            end(id);
        }
    }
    const std::int32_t other = startOutside("", "tail -f '" + onDisk(script) + "'");
    EXPECT_EQ(processes.find("a script"), std::nullopt) << "only a word of a program's";
    end(other);
}

TEST_F(RealProcesses, AZombieIsNotListed) {
    const pid_t id = ::fork();
    if (id == 0) {
        ::pause();
        ::_exit(0);
    }
    ASSERT_TRUE(comesTrue([&] { return listed(id) != nullptr; }));
    ::kill(id, SIGKILL);
    siginfo_t information = {};
    ::waitid(P_PID, static_cast<id_t>(id), &information, WEXITED | WNOWAIT);
    EXPECT_EQ(listed(id), nullptr);
    ::waitpid(id, nullptr, 0);
}

TEST_F(RealProcesses, GiveTheirExitStatusAndLeaveNoZombies) {
    const auto waited = processes.launch("/bin/sh", {"-c", "exit 7"});
    ASSERT_TRUE(waited);
    EXPECT_EQ(processes.waitForExit(*waited), 7);
    EXPECT_FALSE(processes.isRunning(*waited));
    EXPECT_EQ(processes.waitForExit(*waited), -1);
    EXPECT_EQ(processes.waitForExit(::getppid()), -1);
    const auto endless = processes.launch("/bin/sleep", {"100"});
    loop.stop(0);
    EXPECT_EQ(processes.waitForExit(*endless), -1) << "waited for when this program ends";
    ::kill(*endless, SIGKILL);
    std::vector<std::int32_t> ids{*endless};
    for (int i = 0; i < 20; ++i) {
        ids.push_back(*processes.launch("/bin/true", {}));
    }
    // A zombie still has its folder in /proc.
    for (const std::int32_t id : ids) {
        EXPECT_TRUE(comesTrue([&] { return !fs::exists("/proc/" + std::to_string(id)); }));
    }
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
}

TEST_F(RealProcesses, ChildrenStartCleanAndKnowTheRoot) {
    // Here to stay open at exec, on purpose, and with a number that no shell uses.
    const int leak = ::fcntl(STDERR_FILENO, F_DUPFD, 77);
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, &before);
    const auto handler = ::signal(SIGPIPE, SIG_IGN);
    ::setenv("TRIGORA_ROOT", "/wrong", 1);
    installScript("/Applications/report",
                  "#!/bin/sh\n"
                  "(echo \"$TRIGORA_ROOT\"; printf '%s|' \"$@\"; ls /proc/$$/fd) >\"$1\"\n");
    const auto report = processes.launch("/Applications/report", {home + "/out", "a b", "$HOME;", "", "*"});
    const auto status = processes.launch("/bin/cp", {"/proc/self/status", home + "/status"});
    ::signal(SIGPIPE, handler);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    ::close(leak);
    ::unsetenv("TRIGORA_ROOT");
    ASSERT_TRUE(report && status);
    EXPECT_EQ(processes.waitForExit(*report), 0);
    EXPECT_EQ(processes.waitForExit(*status), 0);
    const std::string output = readFile("~/out");
    EXPECT_EQ(output.rfind(root.path() + "\n" + home + "/out|a b|$HOME;||*|0\n1\n", 0), 0U) << output;
    EXPECT_EQ(output.find("\n77\n"), std::string::npos) << output;
    const std::string signals = readFile("~/status");
    EXPECT_NE(signals.find("SigBlk:\t0000000000000000\n"), std::string::npos) << signals;
    // The C library keeps two signals beyond the first 31 to itself.
    const std::string ignored = signals.substr(signals.find("SigIgn:\t") + 8, 16);
    EXPECT_EQ(std::stoull(ignored, nullptr, 16) & 0x7FFFFFFF, 0U) << signals;
}

TEST_F(RealProcesses, WhatCannotBeStartedGivesNothing) {
    writeFile("/Applications/text", "no program");
    writeFile("/Applications/text without line", "echo\n");
    ::chmod(onDisk("/Applications/text without line").c_str(), 0755);
    ASSERT_EQ(::mkfifo(onDisk("/Applications/pipe").c_str(), 0777), 0);
    for (const std::string& path :
         {std::string("/Applications/none"), std::string("/Applications/text"),
          std::string("/Applications/text without line"), std::string("/Applications/pipe"),
          std::string("/Applications"), std::string(), std::string("/bin/true\0x", 11)}) {
        EXPECT_EQ(processes.launch(path, {}), std::nullopt) << path;
    }
    EXPECT_EQ(processes.launch("/bin/true", {std::string("a\0b", 3)}), std::nullopt);
    EXPECT_EQ(processes.launch("/bin/true", {std::string(std::size_t{64} << 20, 'x')}), std::nullopt);
}

/// Where the files go that the programs below write: the name of the program and its arguments.
class RealWorkspace : public RealProcesses {
protected:
    void SetUp() override {
        // Programs found by name are stand-ins; the shell's own tools stay.
        ::setenv("PATH", (home + "/bin:/usr/bin:/bin").c_str(), 1);
        for (const char* name : {"xdg-open", "gio", "viewer"}) {
            installScript(std::string("~/bin/") + name, reporter);
        }
        installScript("/Applications/Sub/My Viewer.app/Contents/MacOS/My Viewer", reporter);
        writePropertyList(
            "/Applications/Sub/My Viewer.app/Contents/Info.plist",
            Dictionary{{"CFBundleExecutable", "My Viewer"}, {"CFBundleIdentifier", "com.x.viewer"}});
        writeFile("~/a file", "");
        writeFile("/Users/Shared/-x", "");
        ::setenv("TRIGORA_TEST_OUT", (home + "/out").c_str(), 1);
    }

    std::string reported(const std::function<bool()>& act) {
        fs::remove(home + "/out");
        EXPECT_TRUE(act());
        const std::string output = outputOf("~/out");
        return replacingOccurrences(replacingOccurrences(output, home, "~"), root.path(), "ROOT");
    }

    const std::string reporter =
        "#!/bin/sh\n(printf '%s' \"${0##*/}\"; printf '|%s' \"$@\") "
        ">\"$TRIGORA_TEST_OUT.part\"\nmv \"$TRIGORA_TEST_OUT.part\" \"$TRIGORA_TEST_OUT\"\n";
};

TEST_F(RealWorkspace, OpensFilesWithEveryKindOfApplication) {
    writeFile("~/x.desktop", "[Desktop Entry]\n");
    const std::string bundle = "/Applications/Sub/My Viewer.app";
    const std::pair<std::string, std::string> cases[] = {
        {"Finder", "xdg-open|~"},
        {bundle, "My Viewer|~/a file"},
        {"My Viewer", "My Viewer|~/a file"},
        {"My Viewer.app", "My Viewer|~/a file"},
        {bundle + "/Contents/MacOS/My Viewer", "My Viewer|~/a file"},
        {"viewer", "viewer|~/a file"},
        {home + "/x.desktop", "gio|launch|~/x.desktop|~/a file"},
    };
    for (const auto& [application, output] : cases) {
        EXPECT_EQ(reported([&, name = application] { return workspace.openFile(home + "/a file", name); }),
                  output);
    }
    EXPECT_EQ(reported([&] { return workspace.openFile("/Users/Shared/-x", "Finder"); }),
              "xdg-open|ROOT/Users/Shared");
    fs::current_path(onDisk("/Users/Shared"));
    EXPECT_EQ(reported([&] { return workspace.openFile("-x", "viewer"); }), "viewer|./-x");
    EXPECT_EQ(reported([&] { return workspace.openFile("-x", "Finder"); }), "xdg-open|ROOT/Users/Shared");
    EXPECT_EQ(reported([&] { return workspace.openFile(".", "Finder"); }), "xdg-open|./.");
    fs::current_path("/");
}

TEST_F(RealWorkspace, TheFileManagerShowsFilesInTheirFolder) {
    const test::PrivateBus session;
    EXPECT_EQ(reported([&] { return workspace.openFile(home + "/a file", "Finder"); }), "xdg-open|~")
        << "there is none yet";
    sd_bus* made = nullptr;
    ASSERT_GE(sd_bus_open_user(&made), 0);
    const BusPointer manager(made);
    std::string shown;
    const auto noteItems = [](sd_bus_message* call, void* items, sd_bus_error*) {
        const char* item = nullptr;
        const char* startID = nullptr;
        if (sd_bus_message_read(call, "ass", 1, &item, &startID) > 0) {
            *static_cast<std::string*>(items) = item;
        }
        return 1;
    };
    sd_bus_add_object(made, nullptr, "/org/freedesktop/FileManager1", noteItems, &shown);
    ASSERT_GE(sd_bus_request_name(made, "org.freedesktop.FileManager1", 0), 0);
    writeFile("~/50% \xC3\xA4", "");
    fs::remove(home + "/out");
    EXPECT_TRUE(workspace.openFile(home + "/50% \xC3\xA4", "Finder"));
    EXPECT_TRUE(comesTrue([&] { return sd_bus_process(made, nullptr) >= 0 && !shown.empty(); }));
    EXPECT_EQ(shown, "file://" + home + "/50%25%20%C3%A4");
    EXPECT_FALSE(exists("~/out")) << "and nothing else";
    EXPECT_EQ(reported([&] { return workspace.openFile(home, "Finder"); }), "xdg-open|~");
}

TEST_F(RealWorkspace, WhatCannotBeOpenedSaysSo) {
    writePropertyList("/Applications/Empty.app/Contents/Info.plist", Dictionary{});
    for (const char* application : {"", "/", "/Applications", "/Applications/none", "none",
                                    "/Applications/Empty.app", "viewer -x", "~/bin/viewer"}) {
        EXPECT_FALSE(workspace.openFile(home + "/a file", application)) << application;
    }
    EXPECT_FALSE(workspace.openFile(home + "/none", "viewer"));
    EXPECT_EQ(workspace.launchApplication("/Applications/none").status, -43);
    EXPECT_EQ(workspace.launchApplication("/Applications/Empty.app").status, -10810);
    EXPECT_EQ(workspace.launchApplication(home + "/a file").status, -10810);
    const ApplicationLaunch launch = workspace.launchApplication("/Applications/Sub/My Viewer.app");
    EXPECT_EQ(launch.status, 0);
    EXPECT_EQ(processes.waitForExit(launch.processID), 0);
    EXPECT_EQ(readFile("~/out"), "My Viewer|");
}

TEST_F(RealWorkspace, AnApplicationThatRunsIsNotStartedAgain) {
    const std::string bundle = "/Applications/Sleeper.app";
    const std::string executable = bundle + "/Contents/MacOS/sleeper";
    writePropertyList(bundle + "/Contents/Info.plist", Dictionary{{"CFBundleExecutable", "sleeper"}});
    installSleep(executable);
    const auto first = processes.launch(executable, {"30"});
    ASSERT_TRUE(first);
    ASSERT_TRUE(comesTrue([&] { return processes.find("sleeper").has_value(); }));
    EXPECT_EQ(workspace.launchApplication(bundle).processID, *first);
    ::kill(*first, SIGKILL);
    processes.waitForExit(*first);
    const ApplicationLaunch again = workspace.launchApplication(bundle);
    EXPECT_EQ(again.status, 0);
    EXPECT_NE(again.processID, *first);
    processes.waitForExit(again.processID);
}

TEST_F(RealWorkspace, FindsApplicationsByIdentifierOneLevelDeep) {
    const Dictionary viewer{{"CFBundleIdentifier", "com.x.deep"}};
    writePropertyList("/Applications/Sub/Sub/Deep.app/Contents/Info.plist", viewer);
    writePropertyList("/Applications/Sub/My Viewer.app/In.app/Contents/Info.plist", viewer);
    writePropertyList("/Applications/Top.app/Contents/Info.plist",
                      Dictionary{{"CFBundleIdentifier", "com.x.top"}});
    writePropertyList("/Applications/Top.app/In.app/Contents/Info.plist", viewer);
    EXPECT_EQ(workspace.findApplication("com.x.viewer"), "/Applications/Sub/My Viewer.app");
    EXPECT_EQ(workspace.findApplication("com.x.top"), "/Applications/Top.app");
    EXPECT_EQ(workspace.findApplication("com.x.deep"), std::nullopt);
    EXPECT_EQ(workspace.findApplication(""), std::nullopt);
}

TEST_F(RealProcesses, OsascriptRunsScriptsByTheirOwnInterpreter) {
    fs::create_directories(root.path() + "/usr/bin");
    fs::copy_file(TRIGORA_OSASCRIPT, root.path() + "/usr/bin/osascript");
    writeFile("/Library/Scripts/say", "#!/bin/sh\nprintf '%s|' \"$0\" \"$@\" >\"$2\"\nexit 9\n");
    writeFile("/Library/Scripts/env", "#!/usr/bin/env  sh\nexit $1\n");
    writeFile("/Library/Scripts/dos", "#!/bin/sh\r\nexit 6 #\r\n");
    writeFile("/Library/Scripts/plain", "echo hello\n");
    writeFile("/Library/Scripts/empty", "");
    writeFile("/Library/Scripts/none there", "#!/no/such\n");
    writeFile("/Library/Scripts/blank", "#! \n");
    const auto run = [&](std::vector<std::string> arguments) {
        const auto id = processes.launch("/usr/bin/osascript", arguments);
        return id ? processes.waitForExit(*id) : -2;
    };
    EXPECT_EQ(run({"/Library/Scripts/say", "a b;$HOME", home + "/out"}), 9);
    EXPECT_EQ(readFile("~/out"), root.path() + "/Library/Scripts/say|a b;$HOME|" + home + "/out|");
    EXPECT_EQ(run({"/Library/Scripts/say", "/Users/Shared/img.pdf", home + "/out"}), 9);
    EXPECT_NE(readFile("~/out").find("|" + root.path() + "/Users/Shared/img.pdf|"), std::string::npos)
        << "a scanned file's path";
    const std::pair<std::vector<std::string>, int> cases[] = {
        {{"/Library/Scripts/env", "8"}, 8},
        {{"/Library/Scripts/dos"}, 6},
        {{"/Library/Scripts/plain"}, 126},
        {{"/Library/Scripts/empty"}, 126},
        {{"/Library/Scripts/none there"}, 126},
        {{"/Library/Scripts/blank"}, 126},
        {{"/Library/Scripts/missing"}, 127},
        {{"/Library/Scripts"}, 127},
        {{}, 2},
        {{""}, 2},
    };
    for (const auto& [arguments, status] : cases) {
        EXPECT_EQ(run(arguments), status) << (arguments.empty() ? "" : arguments.front());
    }
}

TEST_F(RealProcesses, AProgramFindsTheRootThatItIsInstalledIn) {
    const std::string tree = home + "/tree";
    writeFile("~/tree/Library/script", "#!/bin/sh\nexit 4\n");
    const std::pair<std::string, int> places[] = {
        {"/usr/bin/osascript", 4},      {"/usr/bin/trigoractl", 4},
        {"/usr/bin/osascript2", 127},   {"/Applications/Pelox Software/Trigora.app/Contents/MacOS/x", 4},
        {"/Applications/other/x", 127},
    };
    for (const auto& [place, status] : places) {
        fs::create_directories(fs::path(tree + place).parent_path());
        fs::copy_file(TRIGORA_OSASCRIPT, tree + place);
        const auto id =
            processes.launch("/usr/bin/env", {"-u", "TRIGORA_ROOT", tree + place, "/Library/script"});
        ASSERT_TRUE(id);
        EXPECT_EQ(processes.waitForExit(*id), status) << place;
    }
}

} // namespace
} // namespace trigora::platform
