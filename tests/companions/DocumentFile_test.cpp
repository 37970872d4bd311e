#include "companions/PScanAssistant/documents/DocumentFile.h"

#include "tests/companions/TestPictures.h"
#include "tests/fakes/PlatformTest.h"

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <thread>

namespace trigora::companions {
namespace {

using namespace test;

TEST(DocumentFileTest, TakesTheNextFreeNameAndNeverReplacesAFile) {
    const TemporaryFolder folder;
    const TemporaryFolder work;
    std::ofstream(folder.path() + "/img009.pdf") << "the user's own";
    std::filesystem::create_directory(folder.path() + "/img010.pdf");
    std::filesystem::create_symlink("/nonexistent", folder.path() + "/img011.pdf");

    NumberedName name{"img", 9, "pdf"};
    std::optional<DocumentFile> file = DocumentFile::create(folder.path(), work.path(), false);
    ASSERT_TRUE(file);
    EXPECT_TRUE(file->write(reinterpret_cast<const std::uint8_t*>("new"), 3));
    EXPECT_TRUE(file->publish(folder.path(), name));
    EXPECT_EQ(name.text(), "img012.pdf");
    EXPECT_EQ(bytesOf(folder.path() + "/img012.pdf"), "new");
    EXPECT_EQ(bytesOf(folder.path() + "/img009.pdf"), "the user's own");
}

#ifdef SYS_link
constexpr unsigned linkCall = SYS_link;
#else
constexpr unsigned linkCall = SYS_linkat;
#endif

/// From here on this thread's file systems know no files without a name, no second names and no renaming
/// without replacing.
void makeFileSystemsPoor() {
    const auto answer = [](unsigned error) {
        return sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error);
    };
    constexpr unsigned unnamedFile = O_TMPFILE & ~O_DIRECTORY;
    std::array<sock_filter, 9> program{{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_renameat2, 4, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, linkCall, 4, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 4),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[2])),
        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, unnamedFile, 1, 2),
        answer(EINVAL),
        answer(EPERM),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    }};
    const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
    ASSERT_EQ(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
    ASSERT_EQ(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter), 0);
}

TEST(DocumentFileTest, PublishesWhereTheFileSystemKnowsLittle) {
    const TemporaryFolder folder;
    const TemporaryFolder work;
    std::ofstream(folder.path() + "/img001.pdf") << "the user's own";
    std::thread([&folder, &work] {
        makeFileSystemsPoor();
        NumberedName name{"img", 1, "pdf"};
        std::optional<DocumentFile> file = DocumentFile::create(folder.path(), work.path(), false);
        ASSERT_TRUE(file);
        EXPECT_TRUE(file->write(reinterpret_cast<const std::uint8_t*>("new"), 3));
        EXPECT_TRUE(file->publish(folder.path(), name));
    }).join();
    EXPECT_EQ(bytesOf(folder.path() + "/img001.pdf"), "the user's own");
    EXPECT_EQ(bytesOf(folder.path() + "/img002.pdf"), "new");
    EXPECT_EQ(std::ranges::distance(std::filesystem::directory_iterator(folder.path())), 2);
    EXPECT_TRUE(std::filesystem::is_empty(work.path()));
}

TEST(DocumentFileTest, WhatIsNotPublishedWasNeverThere) {
    const TemporaryFolder folder;
    const TemporaryFolder work;
    {
        const std::optional<DocumentFile> file = DocumentFile::create(folder.path(), work.path(), false);
        ASSERT_TRUE(file);
        EXPECT_TRUE(file->write(reinterpret_cast<const std::uint8_t*>("half"), 4));
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
    EXPECT_FALSE(DocumentFile::create(folder.path() + "/missing", work.path(), false));
}

TEST(DocumentFileTest, NumbersHaveThreeDigitsOrMoreAndComeToAnEnd) {
    EXPECT_EQ((NumberedName{"scan", 7, "jpg"}.text()), "scan007.jpg");
    EXPECT_EQ((NumberedName{"", 1000, "jpg"}.text()), "1000.jpg");

    const TemporaryFolder folder;
    const TemporaryFolder work;
    std::ofstream(folder.path() + "/a999999.jpg") << "taken";
    NumberedName last{"a", 999'999, "jpg"};
    std::optional<DocumentFile> file = DocumentFile::create(folder.path(), work.path(), false);
    ASSERT_TRUE(file);
    EXPECT_FALSE(file->publish(folder.path(), last));
    EXPECT_EQ(bytesOf(folder.path() + "/a999999.jpg"), "taken");
}

} // namespace
} // namespace trigora::companions
