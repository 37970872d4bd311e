#include "files/PxDefParser.h"
#include "files/PxIniParser.h"
#include "files/StringHelpers.h"
#include "tests/fakes/PlatformTest.h"

namespace trigora {
namespace {

using platform::Encoding;

constexpr const char* file = "/Library/test.def";

class ParserTest : public test::PlatformTest {
protected:
    std::optional<std::string> read(const std::string& bytes, Encoding encoding) {
        writeFile(file, bytes);
        return exStringWithContentsOfFile(file, encoding);
    }
    std::optional<std::string> defValue(const std::string& key) {
        return PxDefParser::sharedDefParser()->valueWithFilePath(file, key);
    }
    std::optional<std::string> iniValue(const std::string& section, const std::string& key) {
        return PxIniParser::sharedParser()->valueWithFilePath(file, section, key);
    }
};

TEST_F(ParserTest, readsFilesByMarkAndEncoding) {
    EXPECT_EQ(read(utf16("Größe"), Encoding::unicode), "Größe");
    EXPECT_EQ(read(std::string("\xFE\xFF\0A", 4), Encoding::unicode), "A");
    // Without a mark, also when the mark is all there is: the system's eight-bit encoding.
    EXPECT_EQ(read(std::string("A\0B\0", 4), Encoding::unicode), std::string("A\0B\0", 4));
    EXPECT_EQ(read("Gr\x9A\xA7\x65", Encoding::unicode), "Größe");
    EXPECT_EQ(read("\xFF\xFE", Encoding::unicode), "ˇ˛");
    EXPECT_EQ(read("", Encoding::unicode), "");
    EXPECT_EQ(read(std::string("\xFF\xFE\0\xD8", 4), Encoding::unicode), std::nullopt);
    EXPECT_EQ(read("Größe", Encoding::utf8), "Größe");
    EXPECT_EQ(read("Gr\xF6\xDF", Encoding::utf8), std::nullopt);
    EXPECT_EQ(exStringWithContentsOfFile(std::nullopt, Encoding::utf8), std::nullopt);
    EXPECT_EQ(exStringWithContentsOfFile("/Library/none", Encoding::unicode), std::nullopt);
    EXPECT_EQ(exStringWithContentsOfFile("/Library", Encoding::unicode), std::nullopt);
    const std::string longest(platform::FileContents::longestSettings, 'A');
    EXPECT_EQ(read(longest, Encoding::unicode), longest);
    EXPECT_EQ(read(longest + "A", Encoding::unicode), std::nullopt);
}

TEST_F(ParserTest, makesAndWritesStrings) {
    EXPECT_EQ(exStringWithCString("ab\0c", 4, Encoding::utf8), "ab");
    EXPECT_EQ(exStringWithCString("abc", 2, Encoding::utf8), "ab");
    EXPECT_EQ(exStringWithCString("\0", 1, Encoding::utf8), "");
    EXPECT_EQ(exStringWithCString("\xC3", 1, Encoding::utf8), std::nullopt);
    EXPECT_EQ(exStringWithCString("a", 0, Encoding::utf8), std::nullopt);
    EXPECT_EQ(exStringWithCString(nullptr, 4, Encoding::utf8), std::nullopt);

    writeFile(file, "old");
    EXPECT_FALSE(exWriteToFile("日本", file, true, Encoding::macRoman));
    EXPECT_EQ(readFile(file), "old");
    EXPECT_TRUE(exWriteToFile("日本\r", file, false, Encoding::unicode));
    EXPECT_EQ(readFile(file), utf16("日本\r"));
    EXPECT_FALSE(exWriteToFile("x", "/Library/none/file", true, Encoding::utf8));

    EXPECT_EQ(hexadecimalStringWithValue(0x1A, 4), "001A");
    EXPECT_EQ(hexadecimalStringWithValue(0xABCDEF01, 4), "ABCDEF01");
    EXPECT_EQ(hexadecimalStringWithValue(0, 0), "0");
    EXPECT_EQ(hexadecimalStringWithValue(0xF, -1), "F");
}

TEST(StringHelpers, splitsAtEveryLineBreak) {
    EXPECT_EQ(componentsSeparatedByParagraph("a\r\nb\nc\rd\n\re\r\n"),
              (std::vector<std::string>{"a", "b", "c", "d", "", "e", ""}));
    EXPECT_EQ(componentsSeparatedByParagraph(""), std::vector<std::string>{""});
}

TEST(StringHelpers, insertsInOrder) {
    std::vector<int> list{1, 4};
    insertObjects(list, {2, 3}, 1);
    insertObjects(list, {9}, 5);
    insertObjects(list, {5}, 4);
    EXPECT_EQ(list, (std::vector<int>{1, 2, 3, 4, 5}));
    insertObjects(list, list, 0);
    EXPECT_EQ(list, (std::vector<int>{1, 2, 3, 4, 5, 1, 2, 3, 4, 5}));
}

TEST_F(ParserTest, takesDefinitionLinesAsTheyStand) {
    writeFile(file, utf16("Name = Value\r\nEmpty=\na=b=c\rno sign\r=no key\rTwice=1\rTwice=2\r"));
    EXPECT_EQ(PxDefParser::sharedDefParser()->fileContentsWithPath(file),
              (KeyedText{{"Name ", " Value"}, {"Empty", ""}, {"", "no key"}, {"Twice", "2"}}));
    EXPECT_EQ(defValue("Name "), " Value");
    EXPECT_EQ(defValue("Empty"), "");
    EXPECT_EQ(defValue("Name"), std::nullopt);
}

TEST_F(ParserTest, remembersOnlyDefinitionFilesWithEntries) {
    EXPECT_EQ(defValue("a"), std::nullopt);
    writeFile(file, "no entry");
    EXPECT_EQ(PxDefParser::sharedDefParser()->fileContentsWithPath(file), std::nullopt);
    writeFile(file, "a=1");
    EXPECT_EQ(defValue("a"), "1");
    writeFile(file, "a=2");
    EXPECT_EQ(defValue("a"), "1");
    PxDefParser::sharedDefParser()->removeItemAtPath(file);
    EXPECT_EQ(defValue("a"), "2");
    writeFile(file, "a=3");
    PxDefParser::sharedDefParser()->removeItemAtPath("/Library/other");
    EXPECT_EQ(defValue("a"), "2");
    PxDefParser::sharedDefParser()->removeAllItems();
    EXPECT_EQ(defValue("a"), "3");
}

TEST_F(ParserTest, readsSectionsNaively) {
    writeFile(file, "lost=1\r\n[ One ]\r\nKey=1\r\n key = 2 \r\n[Two]\nv=[x]y=z\nw=1\n[Three]a=1]\n"
                    "[One]\nold=1\nKey=2\n[One]\nKey=3\n[]\nk=empty name\n");
    EXPECT_EQ(iniValue(" One ", "Key"), "1");
    EXPECT_EQ(iniValue(" One ", " key "), " 2 ");
    EXPECT_EQ(iniValue("One", "Key"), "3");
    EXPECT_EQ(iniValue("One", "old"), std::nullopt); // replaced whole
    EXPECT_EQ(iniValue("one", "Key"), std::nullopt);
    EXPECT_EQ(iniValue("Two", "v"), ""); // cut off at the bracket
    EXPECT_EQ(iniValue("x", "y"), "z");  // what the bracket began
    EXPECT_EQ(iniValue("x", "w"), "1");
    EXPECT_EQ(iniValue("Two", "w"), std::nullopt);
    EXPECT_EQ(iniValue("Three", "a"), std::nullopt); // two closing brackets
    EXPECT_EQ(iniValue("", "k"), "empty name");
    EXPECT_EQ(iniValue("", "lost"), std::nullopt);
}

TEST_F(ParserTest, remembersEveryReadableIniFile) {
    EXPECT_EQ(iniValue("s", "a"), std::nullopt);
    writeFile(file, "no section");
    EXPECT_EQ(iniValue("s", "a"), std::nullopt);
    writeFile(file, "[s]\ra=1");
    EXPECT_EQ(iniValue("s", "a"), std::nullopt);
    PxIniParser::sharedParser()->removeItemAtPath(file);
    EXPECT_EQ(iniValue("s", "a"), "1");
    writeFile(file, "[s]\ra=2");
    PxIniParser::sharedParser()->removeAllItems();
    EXPECT_EQ(iniValue("s", "a"), "2");
}

} // namespace
} // namespace trigora
