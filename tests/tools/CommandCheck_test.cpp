// Each fault is planted into an untouched installation and must be the only thing that is found.

#include "tests/tools/SettingsCommandTest.h"

#include <functional>

namespace trigora::tools {
namespace {

namespace fs = std::filesystem;

class CheckTest : public SettingsCommandTest {
protected:
    // The catalogue of the base class stays out.
    void SetUp() override {
        const fs::path root = fs::path(onDisk("/Applications")).parent_path();
        fs::copy(TRIGORA_TREE, root, fs::copy_options::recursive);
        writeProgram(paths::agentExecutable());
        writeProgram(paths::scanAssistantExecutable());
        writeProgram(paths::scriptProgram());
    }

    /// Puts everything back.
    void restore(const std::map<std::string, std::string>& before) {
        for (const auto& [path, bytes] : tree()) {
            if (!before.contains(path)) {
                fs::remove_all(path);
            }
        }
        const auto now = tree();
        for (const auto& [path, bytes] : before) {
            if (const auto item = now.find(path); item == now.end() || item->second != bytes) {
                const auto below = before.upper_bound(path + "/");
                const bool isFolder = below != before.end() && below->first.starts_with(path + "/");
                isFolder ? void(fs::create_directory(path))
                         : void(std::ofstream(path, std::ios::binary) << bytes);
            }
            if (path.find("/MacOS/") != std::string::npos || path.ends_with("/osascript")) {
                fs::permissions(path, fs::perms::all);
            }
        }
    }

    /// A bundle with the library as its module; null is one that is no library.
    void installModule(const std::string& bundle, const char* library) {
        writePropertyList(bundle + "/Contents/Info.plist", Dictionary{{"CFBundleExecutable", "PanelDriver"}});
        writeFile(bundle + "/Contents/MacOS/PanelDriver", "no library");
        if (library != nullptr) {
            fs::copy_file(library, onDisk(bundle + "/Contents/MacOS/PanelDriver"),
                          fs::copy_options::overwrite_existing);
        }
    }
    void append(const std::string& path, const std::string& text) { writeFile(path, readFile(path) + text); }
    void bind(const Value& eventID, const Value& projectID) {
        writePropertyList(bindings, Dictionary{{*eventID.text(), projectID}});
    }
    void watch(const std::string& folder, const Value& interval, const std::string& projectID) {
        writePropertyList(watched, Dictionary{{"2", Dictionary{{"folderPath", folder},
                                                               {"intervalTime", interval},
                                                               {"executiveProjectID", projectID}}}});
    }
    /// A folder project that the folder could run.
    void addFolderProject(const std::string& actionID = "300") {
        writeProject(folderProjects, "Open", "750", "0x0002", actionID);
    }
};

TEST_F(CheckTest, NothingIsWrongWithAnUntouchedInstallation) {
    const Outcome outcome = run({"check"});
    EXPECT_EQ(outcome.code, done);
    EXPECT_TRUE(outcome.out.ends_with("\nNothing is wrong.\n")) << outcome.out;

    // Nor with settings that make sense.
    writePropertyList(bindings, Dictionary{{"100", "610"}, {"201", "000"}});
    writePropertyList(std::string(settings) + "Model0F01/ButtonEventProjectInfo.plist",
                      Dictionary{{"100", "701"}});
    addFolderProject();
    watch(home, 5, "750");
    const auto before = tree();
    EXPECT_EQ(run({"check"}).out, outcome.out);
    EXPECT_EQ(tree(), before);
}

TEST_F(CheckTest, SaysWhenEveryUserCanEnterTheSettings) {
    makeFolder(settings);
    for (std::string folder = onDisk("~/Library/Preferences"); folder != fs::temp_directory_path().string();
         folder = platform::deletingLastPathComponent(folder)) {
        fs::permissions(folder, fs::perms(0755));
    }
    const Outcome open = run({"check"});
    EXPECT_EQ(open.code, failed);
    EXPECT_NE(open.out.find(onDisk("~/Library/Preferences") + "\n    every user"), std::string::npos)
        << open.out;
    fs::permissions(onDisk("~/Library"), fs::perms(0700));
    EXPECT_EQ(run({"check"}).code, done);
}

TEST_F(CheckTest, FindsEachFault) {
    const std::string events = paths::eventFolder() + "/";
    const std::string actions = paths::actionFolder() + "/";
    const std::string projects = paths::predefinedProjectFolder() + "/";
    const std::string table = paths::deviceTableFile();
    const std::string capabilities = paths::scannerCapabilityFile();
    const std::string drivers = paths::scannerDriversFile();
    const std::string viewer = "/Applications/Pelox Software/Desktop Viewer.app";
    const std::string marked = "\xFF\xFE";
    const struct {
        std::string file, key, problem;
        std::function<void()> plant;
        bool isNote = false;
    } cases[] = {
        {events + "New.plg", "", "cannot be decoded", [&] { writeFile(events + "New.plg", marked + "abc"); }},
        {events + "New.plg", "EventID", "has no ID", [&] { installEvent("New", "Show=0x0110\n"); }},
        {events + "Twice.plg", "EventID", "is that of",
         [&] { installEvent("Twice", "EventID=100\nShow=0x0110\n"); }},
        {events + "New.plg", "Show", "no known kind",
         [&] { installEvent("New", "EventID=140\nShow=0x9910\n"); }},
        {events + "New.plg", "line 4", "more than one",
         [&] { installEvent("New", "EventID=140\nShow=0x0110\nProject=610=620\n"); }},
        {events + "New.plg", "line 4", "broken by a bracket",
         [&] { installEvent("New", "EventID=140\nShow=0x0110\n[Event\nProject=610"); }},
        {events + "New.plg", "line 4", "a second section",
         [&] { installEvent("New", "EventID=140\nShow=0x0110\n[Event]\nEventID=140\nShow=0x0110\n"); }},
        {events + "New/String.def", "", "no such file",
         [&] { writeFile(events + "New.plg", "[Event]\nEventID=140\nShow=0x0110\n"); }},
        {events + "New/String.def", "line 2", "more than one",
         [&] {
             installEvent("New", "EventID=140\nShow=0x0110\n");
             writeFile(events + "New/String.def", "Caption=New\nDescription=a=b\n");
         }},
        {events + "New/String.def", "", "without a byte-order mark",
         [&] {
             installEvent("New", "EventID=140\nShow=0x0110\n");
             writeFile(events + "New/String.def", utf16("Caption=New\n").substr(2));
         }},
        {events + "Copy.plg", "Icon", "no PNG picture",
         [&] { writeFile(events + "Copy/icon.png", "no picture"); }},
        {actions + "New.adi", "AppPath", "the application /Applications/Gone.app is missing",
         [&] { installAction("New", "999", "/Applications/Gone.app"); }},
        {actions + "New.adi", "AppPath", "names no application", [&] { installAction("New", "999", ""); }},
        {actions + "New.adi", "ID", "has no ID", [&] { installAction("New", "", viewer); }},
        {actions + "New.adi", "ID", "is that of", [&] { installAction("New", "300", viewer); }},
        {paths::panelDriverModule(), "", "PanelDriver: file too short",
         [&] { installModule(paths::panelDriverModule(), nullptr); }},
        {paths::panelDriverModule(), "", "does not export PDOpen",
         [&] { installModule(paths::panelDriverModule(), EMPTY_MODULE); }},
        {paths::panelDriverModule(), "", "crashes when it is loaded",
         [&] { installModule(paths::panelDriverModule(), CRASHING_MODULE); }},
        {paths::quilloButtonManagerModule(), "", "Info.plist is missing or damaged",
         [&] { makeFolder(paths::quilloButtonManagerModule()); }},
        {projects + "New.plg", "ActionID", "has no action",
         [&] { writeProject(projects, "New", "699", "0x8001", ""); }},
        {projects + "New.plg", "ActionID", "no action 4711 is installed",
         [&] { writeProject(projects, "New", "699", "0x8001", "4711"); }},
        {std::string(ownProjects) + "New.plg", "ActionID", "its application is missing",
         [&] {
             writeProject(ownProjects, "New", "701", "0x0001", "900", "",
                          "[Event_Launch_MacX]\nAppPath=/Applications/Gone.app\n");
         }},
        {projects + "New.plg", "ScanSetting", "is missing",
         [&] { writeProject(projects, "New", "699", "0x8001", "300", "~/none.plist"); }},
        {projects + "New.plg", "ScanSetting", "is damaged",
         [&] {
             writeFile("~/bad.plist", "<plist");
             writeProject(projects, "New", "699", "0x8001", "300", "~/bad.plist");
         }},
        {projects + "New.plg", "ProjectID", "neither what project",
         [&] {
             writeProject(projects, "New", "", "", "");
             writeFile(projects + "New.plg", "[Launch]\nShow=1\n");
         }},
        {projects + "New.plg", "ProjectID", "has no ID",
         [&] {
             writeFile(projects + "New.plg", "[Launch]\nProjectType=0x8001\nActionID=300\n");
             writeFile(projects + "New/String.def", "Caption=New\n");
         }},
        {projects + "New.plg", "Icon", "is missing",
         [&] { writeProject(projects, "New", "699", "0x8001", "300", "", "Icon=/Applications/none.png\n"); }},
        {bindings, "", "damaged", [&] { writeFile(bindings, "<plist"); }},
        {bindings, "100", "there is no project 799", [&] { bind("100", "799"); }},
        {bindings, "100", "is not available", [&] { bind("100", "110"); }},
        {bindings, "101", "does not support", [&] { bind("101", "500"); }},
        {bindings, "100", "no text", [&] { bind("100", 610); }},
        {bindings, "444", "no such event", [&] { bind("444", "610"); }},
        {std::string(settings) + "Model0F01/ButtonEventProjectInfo.plist", "100", "there is no project 709",
         [&] {
             writePropertyList(std::string(settings) + "Model0F01/ButtonEventProjectInfo.plist",
                               Dictionary{{"100", "709"}});
         }},
        {watched, "", "damaged", [&] { writeFile(watched, "bplist00damaged"); }},
        {watched, "2, folderPath", "no such folder",
         [&] {
             addFolderProject();
             watch(home + "/none", 5, "750");
         }},
        {watched, "2, folderPath", "is no folder",
         [&] {
             addFolderProject();
             writeFile("~/file", "");
             watch(home + "/file", 5, "750");
         }},
        {watched, "2, intervalTime", "at least 1",
         [&] {
             addFolderProject();
             watch(home, "soon", "750");
         }},
        {watched, "2, executiveProjectID", "no folder project 751", [&] { watch(home, 5, "751"); }},
        {watched, "2, executiveProjectID", "no project is bound", [&] { watch(home, 5, ""); }},
        {table, "line 4", "never reached: line 3", [&] { append(table, "D,XY-1,XY-1,1,100\r\n"); }},
        {table, "line 1", "is no number", [&] { writeFile(table, "D,XY-1,XY-1,four,100\r\n"); }},
        {table, "line 2", "above 10",
         [&] { writeFile(table, "\r\nD,XY-1,XY-1,11,100,100,100,100,100,100,100,100,100,100\r\n"); }},
        {table, "line 1, NavBtn2", "no event 199", [&] { writeFile(table, "D,XY-1,XY-1,2,100,199\r\n"); }},
        {table, "line 2", "never reached: line 1",
         [&] { writeFile(table, "D,*,*,1,100\r\nD,*,*,1,100\r\n"); }},
        {table, "", "no UTF-8 text", [&] { writeFile(table, "D,\xFF,*,1,100\r\n"); }},
        {paths::scannerCapabilityFile(), "", "no such file",
         [&] { fs::remove(onDisk(paths::scannerCapabilityFile())); }},
        {paths::scanAssistantExecutable(), "", "program is missing",
         [&] { fs::remove(onDisk(paths::scanAssistantExecutable())); }},
        {paths::scanAssistantExecutable(), "", "may not be executed",
         [&] { fs::permissions(onDisk(paths::scanAssistantExecutable()), fs::perms::owner_read); }},
        {paths::scriptProgram(), "", "program is missing",
         [&] { fs::remove(onDisk(paths::scriptProgram())); }},
        {actions + "Desktop Viewer.adi", "AppPath", "names an executable that is there",
         [&] { fs::remove(onDisk(viewer + "/Contents/MacOS/Desktop Viewer")); }},
        {actions + "New.adi", "AppPath", "the folder is no application",
         [&] { installAction("New", "999", "/Applications"); }},
        {events + "New.plg", "DefaultProject", "there is no project 699",
         [&] { installEvent("New", "EventID=140\nShow=0x0110\nDefaultProject=699\n"); }},
        {events + "New.plg", "DefaultProject", "has no default project",
         [&] { installEvent("New", "EventID=140\nShow=0x0110\n"); }, true},
        {paths::predefinedProjectFolder(), "", "no predefined projects",
         [&] {
             for (const auto& [path, bytes] : tree()) {
                 const bool isIn = path.starts_with(onDisk(paths::predefinedProjectFolder()));
                 isIn&& path.ends_with(".plg") ? void(fs::remove(path)) : void();
             }
         }},
        {table, "", "is empty", [&] { writeFile(table, ""); }},
        {table, "line 1, NavBtn2", "always refused", [&] { writeFile(table, "D,XY-1,XY-1,2,100,103\r\n"); },
         true},
        {table, "line 1", "blanks around \"B\"", [&] { writeFile(table, "\"A\", \"B\" , \"B\",1,100\r\n"); }},
        {capabilities, "", "longer than 1 MiB",
         [&] { append(capabilities, std::string(platform::FileContents::longestSettings, 'x')); }},
        {capabilities, "[Model0f01]", "capital letters", [&] { append(capabilities, "[Model0f01]\nA=1\n"); }},
        {capabilities, "[Model0F09] JobDeviceType", "\"abc\" is no number",
         [&] { append(capabilities, "[Model0F09]\nJobDeviceType=abc\n"); }},
        {capabilities, "[Model0F09] NumJobEvents", "no number from 0",
         [&] { append(capabilities, "[Model0F09]\nNumJobEvents=-5\n"); }},
        {capabilities, "[Model0F09] ModifiedEvent", "\"zz\" is no number",
         [&] { append(capabilities, "[Model0F09]\nModifiedEvent=zz\n"); }},
        {capabilities, "[Model0F09] DeviceSettingAlias", "no projects for \"Nowhere\"",
         [&] { append(capabilities, "[Model0F09]\nModelDependency=1\nDeviceSettingAlias=Nowhere\n"); }},
        {drivers, "line 2", "has no \"=\"", [&] { writeFile(drivers, "[A]\nModelID 0F01\n"); }},
        {drivers, "[A] ModelID", "no model ID", [&] { writeFile(drivers, "[A]\nModelID=XYZ\n"); }},
        {drivers, "[A] ModelID", "no section [Model0F99]", [&] { writeFile(drivers, "[A]\nModelID=0F99\n"); },
         true},
        {onDisk("~/good.plist"), "resolution", "lots is not what",
         [&] {
             writePropertyList("~/good.plist", Dictionary{{"resolution", "lots"}});
             writeProject(projects, "New", "699", "0x8001", "300", "~/good.plist");
         }},
        {onDisk("~/good.plist"), "resolution", "1 to 9600",
         [&] {
             writePropertyList("~/good.plist", Dictionary{{"resolution", -600}});
             writeProject(projects, "New", "699", "0x8001", "300", "~/good.plist");
         }},
        {std::string(ownProjects) + "New.plg", "ProjectID", "is that of",
         [&] { writeProject(ownProjects, "New", "610", "0x0001", "300"); }},
        {std::string(ownProjects) + "New.plg", "ProjectType", "no known type",
         [&] { writeProject(ownProjects, "New", "701", "0x0009", "300"); }},
        {watched, "1", "no dictionary",
         [&] {
             writePropertyList(watched, Dictionary{{"1", "text"}});
         }},
        {watched, "1, folderPath", "no text",
         [&] {
             writePropertyList(watched, Dictionary{{"1", Dictionary{{"folderPath", 7}}}});
         }},
        {watched, "2, folderPath", "is empty",
         [&] {
             addFolderProject();
             watch("", 5, "750");
         }},
        {watched, "2, intervalTime", "longer than a day",
         [&] {
             addFolderProject();
             watch(home, std::int64_t{99999999999999}, "750");
         }},
        {std::string(settings) + "Model0ABC/ButtonEventProjectInfo.plist", "", "no known scanner",
         [&] {
             writePropertyList(std::string(settings) + "Model0ABC/ButtonEventProjectInfo.plist",
                               Dictionary{{"100", "610"}});
         },
         true},
        {std::string(settings) + "NetWorkScanSetting.plist", "", "damaged",
         [&] { writeFile(std::string(settings) + "NetWorkScanSetting.plist", "damaged"); }},
    };
    const auto untouched = tree();
    const auto listIn = [](const Outcome& outcome, const char* name) {
        const Value answer = platform::current().json.read(outcome.out).value_or(Value(Dictionary()));
        return platform::arrayAt(*answer.dictionary(), name).value_or(Array());
    };
    const Array usualNotes = listIn(run({"check", "--json"}), "notes");
    for (const auto& c : cases) {
        restore(untouched);
        c.plant();
        const std::string what = c.file + " " + c.key + ": " + c.problem;
        const Outcome outcome = run({"check", "--json"});
        EXPECT_EQ(outcome.code, c.isNote ? done : failed) << what;
        Array found = listIn(outcome, c.isNote ? "notes" : "findings");
        std::erase_if(found, [&](const Value& finding) {
            return std::ranges::find(usualNotes, finding) != usualNotes.end();
        });
        EXPECT_EQ(found.size(), 1U) << what << '\n' << outcome.out;
        if (found.empty()) {
            continue;
        }
        const Dictionary& finding = *found.front().dictionary();
        const std::string file = c.file.starts_with('~') ? onDisk(c.file) : c.file;
        EXPECT_EQ(platform::textAt(finding, "file"), file) << what;
        EXPECT_EQ(platform::textAt(finding, "key").value_or(""), c.key) << what;
        EXPECT_NE(platform::textAt(finding, "problem").value_or("").find(c.problem), std::string::npos)
            << what << '\n'
            << outcome.out;
    }
}

} // namespace
} // namespace trigora::tools
