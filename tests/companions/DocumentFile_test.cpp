#include "companions/PScanAssistant/DocumentFile.h"

#include "tests/companions/TestPictures.h"
#include "tests/fakes/PlatformTest.h"

#include <filesystem>
#include <fstream>

namespace trigora::companions {
namespace {

using namespace test;

TEST(DocumentFileTest, TakesTheNextFreeNameAndNeverReplacesAFile) {
    TemporaryFolder folder;
    std::ofstream(folder.path() + "/img009.pdf") << "the user's own";
    std::filesystem::create_directory(folder.path() + "/img010.pdf");
    std::filesystem::create_symlink("/nonexistent", folder.path() + "/img011.pdf");

    NumberedName name{"img", 9, "pdf"};
    std::optional<DocumentFile> file = DocumentFile::create(folder.path());
    ASSERT_TRUE(file);
    EXPECT_TRUE(file->write(reinterpret_cast<const std::uint8_t*>("new"), 3));
    EXPECT_TRUE(file->publish(name));
    EXPECT_EQ(name.text(), "img012.pdf");
    EXPECT_EQ(bytesOf(folder.path() + "/img012.pdf"), "new");
    EXPECT_EQ(bytesOf(folder.path() + "/img009.pdf"), "the user's own");
}

TEST(DocumentFileTest, WhatIsNotPublishedWasNeverThere) {
    TemporaryFolder folder;
    {
        const std::optional<DocumentFile> file = DocumentFile::create(folder.path());
        ASSERT_TRUE(file);
        EXPECT_TRUE(file->write(reinterpret_cast<const std::uint8_t*>("half"), 4));
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
    EXPECT_FALSE(DocumentFile::create(folder.path() + "/missing"));
}

TEST(DocumentFileTest, NumbersHaveThreeDigitsOrMoreAndComeToAnEnd) {
    EXPECT_EQ((NumberedName{"scan", 7, "jpg"}.text()), "scan007.jpg");
    EXPECT_EQ((NumberedName{"", 1000, "jpg"}.text()), "1000.jpg");

    TemporaryFolder folder;
    std::ofstream(folder.path() + "/a999999.jpg") << "taken";
    NumberedName last{"a", 999'999, "jpg"};
    std::optional<DocumentFile> file = DocumentFile::create(folder.path());
    ASSERT_TRUE(file);
    EXPECT_FALSE(file->publish(last));
    EXPECT_EQ(bytesOf(folder.path() + "/a999999.jpg"), "taken");
}

} // namespace
} // namespace trigora::companions
