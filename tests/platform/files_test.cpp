#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/files/LinuxFiles.h"
#include "tests/fakes/PlatformTest.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <grp.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace trigora::platform {
namespace {

namespace fs = std::filesystem;

Data bytes(std::string_view text) { return {text.begin(), text.end()}; }

class Files : public test::PlatformTest {
protected:
    FileSystem& fileSystem = current().fileSystem;
    FileContents& contents = current().fileContents;
    FileMetadata& metadata = current().fileMetadata;
    static constexpr std::size_t limit = 100000;

    std::string at(const std::string& name) const { return home + "/" + name; }
    void makeFifo(const std::string& path) { ASSERT_EQ(::mkfifo(path.c_str(), 0666), 0); }
    std::size_t namesInHome() { return fileSystem.contentsOfDirectory(home)->size(); }
};

TEST(InstallationRoot, RelocatesExactlyTheInstalledPaths) {
    const std::pair<const char*, const char*> paths[] = {
        {"/Applications", "/r/Applications"},
        {"/Applications/a b", "/r/Applications/a b"},
        {"/Applicationsfoo", "/Applicationsfoo"},
        {"/Application/x", "/Application/x"},
        {"/Library/x", "/r/Library/x"},
        {"/home/u/Library/x", "/home/u/Library/x"},
        {"/Users/Shared/PELOX", "/r/Users/Shared/PELOX"},
        {"/Users/SharedX", "/Users/SharedX"},
        {"/Users/u", "/Users/u"},
        {"/usr/bin/osascript", "/r/usr/bin/osascript"},
        {"/usr/bin/env", "/usr/bin/env"},
        {"Library/x", "Library/x"},
        {"", ""},
    };
    const InstallationRoot root("/r/");
    for (const auto& [path, onDisk] : paths) {
        EXPECT_EQ(root.onDisk(path), onDisk);
        EXPECT_EQ(root.asInstalled(onDisk), path);
        EXPECT_EQ(InstallationRoot("/").onDisk(path), path);
    }
    EXPECT_EQ(root.asInstalled("/r/home"), "/r/home");
    EXPECT_EQ(root.asInstalled("/rr/Library"), "/rr/Library");
    const InstallationRoot shared("/Users/Shared/r");
    EXPECT_EQ(shared.onDisk(shared.onDisk("/Library/x")), "/Users/Shared/r/Library/x");
}

TEST(InstallationRoot, OptionComesBeforeVariableBeforeExecutable) {
    ::setenv("TRIGORA_ROOT", "/variable", 1);
    EXPECT_EQ(InstallationRoot::choose("/option/").path(), "/option");
    EXPECT_EQ(InstallationRoot::choose("").path(), "/variable");
    ::setenv("TRIGORA_ROOT", "here", 1);
    EXPECT_EQ(InstallationRoot::choose("").path(), fs::current_path().string() + "/here");
    ::unsetenv("TRIGORA_ROOT");
    EXPECT_EQ(InstallationRoot::choose("").path(), "/");
}

TEST_F(Files, OnlyRegularFilesAreReadAndNothingBlocks) {
    makeFifo(at("pipe"));
    fs::create_symlink(at("pipe"), at("link to pipe"));
    fs::create_symlink(at("circle"), at("circle"));
    writeFile("~/file", std::string("a\0b", 3));
    fs::resize_file(at("file"), 3);
    for (const std::string& path : {at("pipe"), at("link to pipe"), at("circle"), home, at("none"),
                                    std::string("/dev/zero"), at("file/x"), at("file") + '\0' + "x"}) {
        EXPECT_EQ(contents.read(path, limit), std::nullopt) << path;
        EXPECT_FALSE(contents.append(path, "x", std::nullopt)) << path;
    }
    EXPECT_EQ(contents.read(at("file"), limit), bytes({"a\0b", 3}));
    EXPECT_TRUE(contents.read("/proc/self/status", limit)->size() > 10); // its size is not known beforehand
    for (const std::string& path :
         {at("pipe"), at("circle"), home, std::string("/dev/null"), std::string()}) {
        EXPECT_FALSE(contents.write(path, bytes("x"), true)) << path;
        EXPECT_FALSE(contents.write(path, bytes("x"), false)) << path;
    }
    EXPECT_TRUE(fs::is_fifo(at("pipe")));
}

TEST_F(Files, FilesAboveTheLimitAreUnreadable) {
    writeFile("~/file", "");
    fs::resize_file(at("file"), limit + 1);
    EXPECT_EQ(contents.read(at("file"), limit), std::nullopt);
    fs::resize_file(at("file"), limit);
    EXPECT_EQ(contents.read(at("file"), limit)->size(), limit);
}

TEST_F(Files, WritingReplacesTheFileAsAWhole) {
    for (const bool atomically : {true, false}) {
        const std::string path = at(atomically ? "a" : "b");
        writeFile(path, "old text");
        ::chmod(path.c_str(), 0640);
        fs::create_symlink(path, path + " link");
        // Who has the old file open keeps it whole: nothing is written into it.
        std::ifstream old(path);
        EXPECT_TRUE(contents.write(path + " link", bytes("new"), atomically));
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(old), {}), "old text");
        EXPECT_EQ(readFile(path), "new");
        EXPECT_TRUE(fs::is_symlink(path + " link"));
        const std::uint32_t permissions = *metadata.attributes(path, true)->posixPermissions;
        EXPECT_EQ(permissions == 0640, !atomically);
        EXPECT_FALSE(contents.write(at("no folder/x"), bytes("x"), atomically));
    }
    EXPECT_EQ(namesInHome(), 4U); // no temporary file is left
}

TEST_F(Files, AFileThatCannotBeFinishedLeavesTheOldOne) {
    writeFile("~/file", "old");
    // The disk is full after a thousand bytes, as far as this process goes.
    rlimit before = {};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small = {1000, before.rlim_max};
    ::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &small);
    const bool atomically = contents.write(at("file"), Data(2000), true);
    const bool otherwise = contents.write(at("file"), Data(2000), false);
    ::setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_FALSE(atomically);
    EXPECT_FALSE(otherwise);
    EXPECT_EQ(readFile("~/file"), "old");
    EXPECT_EQ(namesInHome(), 1U);
}

TEST_F(Files, AppendsToAFileAndMakesItOnlyWhenAsked) {
    writeFile("/Users/Shared/log", "a");
    EXPECT_TRUE(contents.append("/Users/Shared/log", "b\n", std::nullopt));
    EXPECT_EQ(readFile("/Users/Shared/log"), "ab\n");
    EXPECT_FALSE(contents.append(at("none"), "b", std::nullopt));
    EXPECT_FALSE(exists("~/none"));

    FileAttributes shared;
    shared.posixPermissions = 0666;
    fs::create_symlink(at("target"), at("planted"));
    EXPECT_FALSE(contents.append(at("planted"), "b", shared)) << "a link is not followed";
    EXPECT_FALSE(exists("~/target"));
    makeFolder("~/folder");
    fs::create_directory_symlink(at("folder"), at("planted folder"));
    EXPECT_FALSE(contents.append(at("planted folder/log"), "b", shared)) << "nor one in its folder's place";
    EXPECT_FALSE(exists("~/folder/log"));
    for (const char* line : {"a", "b"}) {
        EXPECT_TRUE(contents.append(at("none"), line, shared));
    }
    EXPECT_EQ(readFile("~/none"), "ab");
    EXPECT_EQ(metadata.attributes(at("none"), false)->posixPermissions, 0666U);
}

TEST_F(Files, AccountsThatDoNotExistDoNotKeepTheRestFromApplying) {
    ASSERT_EQ(::getpwnam("owner"), nullptr);
    ASSERT_EQ(::getgrnam("group"), nullptr);
    FileAttributes attributes;
    attributes.ownerAccountName = "owner";
    attributes.groupOwnerAccountName = "group";
    attributes.posixPermissions = 0777;
    attributes.hfsCreatorCode = fourCharCode("PLsc");
    ASSERT_TRUE(fileSystem.createDirectory(at("a/b"), true, attributes));
    for (const char* name : {"a", "a/b"}) {
        EXPECT_EQ(metadata.attributes(at(name), true)->posixPermissions, 0777U) << name;
    }
    writeFile("~/file", "x");
    attributes.posixPermissions = 0666;
    EXPECT_TRUE(metadata.setAttributes(at("file"), attributes));
    const auto set = metadata.attributes(at("file"), true);
    EXPECT_EQ(set->posixPermissions, 0666U);
    EXPECT_EQ(set->size, 1U);
    EXPECT_EQ(set->hfsCreatorCode.value_or(fourCharCode("PLsc")), fourCharCode("PLsc"));
    ASSERT_TRUE(contents.write(at("file"), bytes("y"), false));
    EXPECT_EQ(metadata.attributes(at("file"), true)->hfsCreatorCode, set->hfsCreatorCode);
    EXPECT_FALSE(metadata.setAttributes(at("none"), attributes));
}

TEST_F(Files, NamesThatBeginAlikeAreListedInOrder) {
    const std::vector<std::string> inOrder{"Scan",           "Scan 1",         "Scan 10",
                                           "Scan 12345678",  "Scan 123456789", "Scan 12345678a",
                                           "Scan 12345678é", "Scan 2",         "Scan no. 1234567 (1).pdf",
                                           "Scan Ä",         "Scan é"};
    makeFolder("~/names");
    for (auto name = inOrder.rbegin(); name != inOrder.rend(); ++name) {
        writeFile("~/names/" + *name, "x");
    }
    EXPECT_EQ(fileSystem.contentsOfDirectory(at("names")), inOrder);
}

TEST_F(Files, FoldersAreMadeOnceOrOnTheWay) {
    EXPECT_FALSE(fileSystem.createDirectory(at("a/b"), false, std::nullopt));
    EXPECT_TRUE(fileSystem.createDirectory(at("a/b/"), true, std::nullopt));
    EXPECT_TRUE(fileSystem.createDirectory(at("a/b"), true, std::nullopt));
    EXPECT_FALSE(fileSystem.createDirectory(at("a/b"), false, std::nullopt));
    writeFile("~/a/file", "x");
    EXPECT_FALSE(fileSystem.createDirectory(at("a/file"), true, std::nullopt));
    EXPECT_FALSE(fileSystem.createDirectory(at("a/file/c"), true, std::nullopt));
    EXPECT_FALSE(fileSystem.createDirectory("", true, std::nullopt));
    EXPECT_TRUE(fileSystem.createDirectory("/Library/a/b", true, std::nullopt));
    EXPECT_TRUE(fs::is_directory(onDisk("/Library/a/b")));
}

TEST_F(Files, AFolderExchangedForALinkWhileItIsMadeOpensNothing) {
    makeFolder("~/private");
    ::chmod(at("private").c_str(), 0700);
    fs::create_symlink(at("private"), at("trap"));
    const pid_t maker = ::fork();
    if (maker == 0) {
        FileAttributes open;
        open.posixPermissions = 0777;
        ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        ::raise(SIGSTOP);
        fileSystem.createDirectory(at("made"), false, open);
        ::_exit(0);
    }
    // Looks before and after each of its system calls whether the folder is there.
    bool exchanged = false;
    int status = 0;
    while (::waitpid(maker, &status, 0) == maker && WIFSTOPPED(status)) {
        exchanged = exchanged || ::renameat2(AT_FDCWD, at("trap").c_str(), AT_FDCWD, at("made").c_str(),
                                             RENAME_EXCHANGE) == 0;
        ::ptrace(PTRACE_SYSCALL, maker, nullptr, nullptr);
    }
    EXPECT_TRUE(exchanged);
    EXPECT_EQ(metadata.attributes(at("private"), true)->posixPermissions, 0700U);
}

TEST_F(Files, NothingIsChangedThroughALinkThatAnotherUserPutInTheWay) {
    const auto tryAll = [&](const std::string& way, const std::string& file) {
        FileAttributes open;
        open.posixPermissions = 0777;
        std::string done;
        done += metadata.setAttributes(way + "/" + file, open) ? "a" : "";
        done += contents.write(way + "/" + file, bytes("x"), true) ? "w" : "";
        done += contents.append(way + "/sub/log", "x", open) ? "l" : "";
        done += fileSystem.createDirectory(way + "/new", true, open) ? "d" : "";
        done += fileSystem.copyItem(way + "/sub", way + "/copy") ? "c" : "";
        done += fileSystem.moveItem(way + "/sub", way + "/moved") ? "m" : "";
        done += fileSystem.removeItem(way + "/moved") ? "r" : "";
        return done;
    };
    makeFolder("~/mine/sub");
    makeFolder("~/shared");
    writeFile("~/mine/file", "x");
    fs::create_directory_symlink(at("mine"), at("shared/own"));
    fs::create_directory_symlink(at("mine"), at("shared/others"));
    fs::create_symlink(at("mine/file"), at("mine/link"));
    EXPECT_EQ(tryAll(at("shared/own"), "link"), "awldcmr");
    EXPECT_EQ(fileSystem.contentsOfDirectory(at("mine")),
              (std::vector<std::string>{"copy", "file", "link", "new"}));
    // Only root can make another's link; the rest of this test is for where root runs it.
    constexpr uid_t stranger = 12345;
    if (::lchown(at("shared/others").c_str(), stranger, stranger) != 0) {
        ASSERT_NE(::geteuid(), 0U);
        return;
    }
    for (const mode_t permissions : {0755U, 0777U, 01777U, 0775U}) {
        ::chmod(at("shared").c_str(), permissions);
        fs::remove_all(at("mine"));
        makeFolder("~/mine/sub");
        writeFile("~/mine/file", "old");
        const std::string expected = permissions == 0755 ? "awldcmr" : "";
        EXPECT_EQ(tryAll(at("shared/others"), "file"), expected) << permissions;
    }
}

TEST_F(Files, TheNextWriterRemovesWhatAKilledOneLeft) {
    writeFile("~/.trigora-1-1.new", "left behind");
    writeFile("~/.trigora-1-2.new/sub/file", "left behind");
    writeFile("~/.trigora-1-3.new", "being written");
    writeFile("~/.trigora-notes", "the user's");
    const FileDescriptor writer(::open(at(".trigora-1-3.new").c_str(), O_RDONLY));
    ASSERT_EQ(::flock(writer.get(), LOCK_EX), 0);
    EXPECT_TRUE(contents.write(at("file"), bytes("x"), true));
    const std::vector<std::string> left{".trigora-1-3.new", ".trigora-notes", "file"};
    EXPECT_EQ(fileSystem.contentsOfDirectory(home), left);
    writeFile("~/.trigora-1-1.new", "left behind");
    EXPECT_TRUE(fileSystem.copyItem(at("file"), at("g")));
    EXPECT_EQ(namesInHome(), left.size() + 1);
}

TEST_F(Files, CopiesTreesWithTheirLinksAndPermissions) {
    writeFile("~/tree/sub/file", "x");
    ::chmod(at("tree/sub/file").c_str(), 0750);
    ::chmod(at("tree/sub").c_str(), 0555);
    fs::create_symlink("..", at("tree/up")); // followed, the copy would never end
    EXPECT_TRUE(fileSystem.copyItem(at("tree"), at("copy")));
    EXPECT_EQ(readFile("~/copy/sub/file"), "x");
    EXPECT_EQ(metadata.attributes(at("copy/sub/file"), true)->posixPermissions, 0750U);
    EXPECT_EQ(metadata.attributes(at("copy/sub"), true)->posixPermissions, 0555U);
    EXPECT_EQ(metadata.destinationOfSymbolicLink(at("copy/up")), "..");
    EXPECT_FALSE(fileSystem.copyItem(at("tree"), at("copy")));
    EXPECT_FALSE(fileSystem.copyItem(at("tree"), at("tree")));
    EXPECT_FALSE(fileSystem.copyItem(at("tree"), at("tree/inside")));
    EXPECT_FALSE(fileSystem.copyItem(at("tree"), at("tree/up/tree/inside")));
    EXPECT_EQ(fileSystem.contentsOfDirectory(at("tree")), (std::vector<std::string>{"sub", "up"}));
}

TEST_F(Files, ACopyThatFailsLeavesNothing) {
    writeFile("~/tree/a", "x");
    makeFifo(at("tree/pipe"));
    EXPECT_FALSE(fileSystem.copyItem(at("tree"), at("copy")));
    EXPECT_FALSE(fileSystem.copyItem(at("tree/pipe"), at("pipe")));
    EXPECT_FALSE(fileSystem.copyItem(at("none"), at("copy")));
    EXPECT_EQ(namesInHome(), 1U);
}

TEST_F(Files, NothingIsMovedOrCopiedOverWhatIsThere) {
    writeFile("~/a", "a");
    writeFile("~/b", "b");
    fs::create_symlink("nowhere", at("dangling"));
    for (const char* destination : {"b", "a", "dangling"}) {
        EXPECT_FALSE(fileSystem.moveItem(at("a"), at(destination))) << destination;
        EXPECT_FALSE(fileSystem.copyItem(at("a"), at(destination))) << destination;
    }
    makeFolder("~/folder");
    EXPECT_FALSE(fileSystem.moveItem(at("folder"), at("folder/inside")));
    EXPECT_TRUE(fileSystem.moveItem(at("a"), at("folder/c")));
    EXPECT_EQ(readFile("~/folder/c"), "a");
    EXPECT_EQ(readFile("~/b"), "b");
}

TEST_F(Files, MovesBetweenFileSystems) {
    struct stat disk = {};
    struct stat memory = {};
    ASSERT_EQ(::stat(home.c_str(), &disk), 0);
    ASSERT_EQ(::stat("/dev/shm", &memory), 0);
    ASSERT_NE(disk.st_dev, memory.st_dev) << "this test needs two file systems";
    const std::string other = "/dev/shm/trigora-test-" + std::to_string(::getpid());
    writeFile("~/tree/sub/file", "x");
    EXPECT_TRUE(fileSystem.moveItem(at("tree"), other));
    EXPECT_FALSE(exists("~/tree"));
    EXPECT_EQ(readFile(other + "/sub/file"), "x");
    EXPECT_TRUE(fileSystem.removeItem(other));
}

TEST_F(Files, RemovesLinksAndNotWhatTheyLeadTo) {
    writeFile("~/tree/file", "x");
    fs::create_symlink(at("tree"), at("link"));
    EXPECT_TRUE(fileSystem.removeItem(at("link/")));
    EXPECT_TRUE(exists("~/tree/file"));
    EXPECT_TRUE(fileSystem.removeItem(at("tree")));
    EXPECT_FALSE(fileSystem.removeItem(at("tree")));
    EXPECT_FALSE(fileSystem.removeItem(""));
    EXPECT_EQ(namesInHome(), 0U);
}

TEST_F(Files, ListsInTheOrderOfTheBytes) {
    for (const char* name : {"b", "a", "B", "é", ".x"}) {
        writeFile(std::string("~/") + name, "");
    }
    EXPECT_EQ(fileSystem.contentsOfDirectory(home), (std::vector<std::string>{".x", "B", "a", "b", "é"}));
    EXPECT_EQ(fileSystem.contentsOfDirectory(at("a")), std::nullopt);
    makeFifo(at("pipe"));
    EXPECT_EQ(fileSystem.contentsOfDirectory(at("pipe")), std::nullopt);
    EXPECT_EQ(fileSystem.contentsOfDirectory(at("none")), std::nullopt);
}

TEST_F(Files, LinksToInstalledItemsWorkOnTheDisk) {
    writeFile("/Library/x", "x");
    EXPECT_TRUE(metadata.createSymbolicLink(at("link"), "/Library/x"));
    EXPECT_EQ(readFile("~/link"), "x");
    EXPECT_EQ(metadata.destinationOfSymbolicLink(at("link")), "/Library/x");
    EXPECT_TRUE(metadata.attributes(at("link"), false)->isSymbolicLink);
    EXPECT_FALSE(metadata.attributes(at("link"), true)->isSymbolicLink);
    EXPECT_EQ(metadata.destinationOfSymbolicLink("/Library/x"), std::nullopt);
    EXPECT_TRUE(metadata.linkItem("/Library/x", at("hard")));
    EXPECT_FALSE(metadata.linkItem("/Library/x", at("hard")));
    EXPECT_EQ(readFile("~/hard"), "x");
}

TEST_F(Files, TheDocumentsFolderIsTheOneTheDesktopNames) {
    const InstallationRoot root("/");
    LinuxFolders folders(root);
    ::setenv("HOME", home.c_str(), 1);
    ::unsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(folders.documents(), at("Documents"));
    const std::pair<const char*, std::string> lines[] = {
        {"XDG_DOCUMENTS_DIR=\"$HOME/Meine Papiere\"\n", at("Meine Papiere")},
        {"#XDG_DOCUMENTS_DIR=\"$HOME/x\"\nXDG_DOCUMENTS_DIRS=\"$HOME/y\"\n", at("Documents")},
        {"XDG_DOCUMENTS_DIR=\"relative\"\n", at("Documents")},
        {"XDG_DOCUMENTS_DIR=\"$HOME/\"\n", home},
        {"XDG_DOCUMENTS_DIR=\"$HOME/A\\$B\" # mine\n", at("A$B")},
        {"XDG_DOCUMENTS_DIR=$HOME/plain\n", at("Documents")},
    };
    for (const auto& [line, folder] : lines) {
        writeFile("~/.config/user-dirs.dirs", line);
        EXPECT_EQ(folders.documents(), folder) << line;
        EXPECT_TRUE(fs::is_directory(folder));
    }
    writeFile("~/.config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/.config/user-dirs.dirs\"\n");
    EXPECT_EQ(folders.documents(), std::nullopt);
}

} // namespace
} // namespace trigora::platform
