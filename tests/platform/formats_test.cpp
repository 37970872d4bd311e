#include "platform/linux/formats/LinuxFormats.h"
#include "tests/fakes/PlatformTest.h"

#include <chrono>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <plist/plist.h>
#include <png.h>
#include <sys/stat.h>

namespace trigora::platform {
namespace {

using namespace std::string_literals;

Data bytes(std::string_view text) { return {text.begin(), text.end()}; }

std::string repeated(std::string_view text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

TEST(TextEncodings, ReadsAndRefusesUtf16) {
    IconvTextEncodings encodings;
    const std::pair<std::string, std::optional<std::string>> cases[] = {
        {""s, ""},
        {"\xFF\xFE"s, ""},
        {"\xFF\xFE\x41\x00"s, "A"},
        {"\xFE\xFF\x00\x41"s, "A"},
        {"\x41\x00"s, "A"},
        {"\xFF\xFE\x41\x00\x00\x00\x42\x00"s, "A\0B"s},
        {"\xFF\xFE\x34\xD8\x1E\xDD"s, "𝄞"},
        {"\xFE\xFF\xD8\x34\xDD\x1E"s, "𝄞"},
        {"\xFF\xFE\xFF\xFE\x41\x00"s, "\uFEFF"
                                      "A"},
        {"\xFF"s, std::nullopt},
        {"\xFF\xFE\x41"s, std::nullopt},             // half a unit
        {"\xFF\xFE\x34\xD8"s, std::nullopt},         // half a pair at the end
        {"\xFF\xFE\x34\xD8\x41\x00"s, std::nullopt}, // half a pair
        {"\xFF\xFE\x1E\xDD\x41\x00"s, std::nullopt}, // the second half alone
    };
    for (const auto& [file, text] : cases) {
        EXPECT_EQ(encodings.decode(bytes(file), Encoding::unicode), text) << ::testing::PrintToString(file);
    }
    EXPECT_EQ(encodings.encode("A\0é𝄞"s, Encoding::unicode),
              bytes("\xFF\xFE\x41\0\0\0\xE9\0\x34\xD8\x1E\xDD"s));
    EXPECT_EQ(encodings.encode("\xED\xA0\x80", Encoding::unicode), std::nullopt);
    // Longer than the pieces in which it is converted, with a pair on every border.
    const std::string longText = "x" + repeated("𝄞", 10000);
    EXPECT_EQ(encodings.decode(*encodings.encode(longText, Encoding::unicode), Encoding::unicode), longText);
}

TEST(TextEncodings, MacRomanIsWholeAndExact) {
    IconvTextEncodings encodings;
    Data all(256);
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i] = static_cast<std::uint8_t>(i);
    }
    const std::optional<std::string> text = encodings.decode(all, Encoding::macRoman);
    ASSERT_TRUE(text);
    EXPECT_EQ(encodings.encode(*text, Encoding::macRoman), all);
    const std::pair<std::uint8_t, const char*> characters[] = {
        {0x80, "Ä"}, {0x8A, "ä"}, {0xA7, "ß"}, {0xC6, "∆"}, {0xDB, "€"}, {0xF0, "\uF8FF"}, {0x0D, "\r"}};
    for (const auto& [byte, character] : characters) {
        EXPECT_EQ(encodings.decode({byte}, Encoding::macRoman), character);
    }
    for (const char* foreign : {"Δ", "ж", "\uE01E", "\xFF"}) {
        EXPECT_EQ(encodings.encode(foreign, Encoding::macRoman), std::nullopt) << foreign;
    }
}

TEST(TextEncodings, OtherEncodingsRefuseWhatIsNotTheirs) {
    IconvTextEncodings encodings;
    EXPECT_EQ(encodings.decode(bytes("\xC3"), Encoding::utf8), std::nullopt);
    EXPECT_EQ(encodings.decode(bytes("é\0"s), Encoding::utf8), "é\0"s);
    EXPECT_EQ(encodings.decode(bytes("é"), Encoding::ascii), std::nullopt);
    EXPECT_EQ(encodings.encode("é", Encoding::ascii), std::nullopt);
    EXPECT_EQ(encodings.decode(bytes("a"), static_cast<Encoding>(7)), std::nullopt);
    EXPECT_EQ(encodings.encode("a", static_cast<Encoding>(7)), std::nullopt);
}

class PropertyListFiles : public test::PlatformTest {
protected:
    PropertyLists& lists = current().propertyLists;

    std::optional<Value> readText(const std::string& text) {
        writeFile("~/file", text);
        return lists.read(home + "/file");
    }
    std::optional<Value> readBody(const std::string& body) {
        return readText("<plist version=\"1.0\">" + body + "</plist>");
    }
};

TEST_F(PropertyListFiles, WhatIsWrittenIsReadAgain) {
    const Dictionary dictionary{
        {"", ""},
        {"text", " <&>\"'\t\r\n]]> é𝄞 "},
        {"numbers", Array{0, -1, INT64_MAX, INT64_MIN, 0.1, -1e-300, 1e300}},
        {"yes", true},
        {"no", false},
        {"data", Data{0, 0xFF, 10}},
        {"no data", Data{}},
        {"date", Date{1600000000}},
        {"early", Date{-5}},
        {"empty", Array{Array{}, Dictionary{}}},
        {"ключ", Dictionary{{"a", Dictionary{{"b", Array{"c"}}}}}},
    };
    for (const bool atomically : {true, false}) {
        ASSERT_TRUE(lists.write(home + "/file", dictionary, atomically));
        EXPECT_EQ(lists.read(home + "/file"), Value(dictionary)) << readFile("~/file");
    }
}

TEST_F(PropertyListFiles, ValuesWithoutAFormLeaveTheOldFile) {
    Value deep = "x";
    for (int i = 0; i < 200; ++i) {
        deep = Array{deep};
    }
    ASSERT_TRUE(lists.write(home + "/file", "old", true));
    const Value values[] = {Value(),     Dictionary{{"a", Value()}}, "a\0b"s, Dictionary{{"a\0b"s, 1}},
                            "\xC3",      Dictionary{{"\xC3", 1}},    deep,    Array{Array{Value()}},
                            Date{1e300}, Date{std::nan("")}};
    for (const Value& value : values) {
        EXPECT_FALSE(lists.write(home + "/file", value, true)) << value.description();
    }
    EXPECT_EQ(lists.read(home + "/file"), Value("old"));
}

TEST_F(PropertyListFiles, XmlIsReadInAllItsShapes) {
    const Value one = Dictionary{{"a", 1}};
    const std::string body = "<dict><key>a</key><integer>1</integer></dict>";
    const std::string plist = "<plist>" + body + "</plist>";
    const std::string declared = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                 "<!DOCTYPE plist PUBLIC \"-//X//DTD PLIST 1.0//EN\" \"http://x/y.dtd\">\n";
    for (const std::string& text :
         {plist, declared + plist, "\xEF\xBB\xBF" + declared + plist, "<!-- <array> -->\n" + plist,
          "<!DOCTYPE plist [ <!ELEMENT dict (key)> ]>" + plist, body, utf16(declared + plist),
          plist + "\n\n"}) {
        EXPECT_EQ(readText(text), one) << text;
    }
    EXPECT_EQ(readBody("<string><![CDATA[<a>]]>&amp;&#65;&#x42;</string>"), Value("<a>&AB"));
    EXPECT_EQ(readBody("<integer>0x10</integer>"), Value(16));
    EXPECT_EQ(readBody("<dict><key>CF$UID</key><integer>3</integer></dict>"),
              Value(Dictionary{{"CF$UID", 3}}));
}

TEST_F(PropertyListFiles, DamagedFilesAreNone) {
    const std::string whole =
        "<plist><dict><key>a</key><array><string>b</string><true/></array></dict></plist>";
    ASSERT_TRUE(readText(whole));
    for (std::size_t length = 0; length < whole.size() - "</dict></plist>"s.size(); ++length) {
        EXPECT_EQ(readText(whole.substr(0, length)), std::nullopt) << whole.substr(0, length);
    }
    for (const char* text :
         {"garbage", "<", "<plist", "<plist></plist>", "<html/>", "<array><dict></array></dict>",
          "<string>&bogus;</string>", "bplist00", "\xFF\xFE<"}) {
        EXPECT_EQ(readText(text), std::nullopt) << text;
    }
    EXPECT_EQ(readBody("<string>\xC3</string>"), std::nullopt);
    EXPECT_EQ(readBody("<dict><key>\xFF</key><true/></dict>"), std::nullopt);
    EXPECT_EQ(lists.read(home), std::nullopt);
    ASSERT_EQ(::mkfifo((home + "/pipe").c_str(), 0600), 0);
    EXPECT_EQ(lists.read(home + "/pipe"), std::nullopt);
}

TEST_F(PropertyListFiles, XmlBombsAreRefusedInTime) {
    const int many = 40000;
    const auto began = std::chrono::steady_clock::now();
    for (const std::string& nested :
         {repeated("<array>", many), repeated("<dict><key>a</key>", many),
          repeated("<array ><!--</array>-->", many), repeated("<array><?</array>?>", many)}) {
        EXPECT_EQ(readText(nested), std::nullopt);
        EXPECT_EQ(readBody(nested + "<true/>" + repeated("</array>", many)), std::nullopt);
    }
    EXPECT_EQ(readBody("<array>" + repeated("<true/>", 100000) + "</array>"), std::nullopt);
    std::string keys;
    constexpr int most = 20000;
    for (int i = 0; i < most; ++i) {
        keys += "<key>" + std::to_string(i) + "</key><true/>";
    }
    const auto large = readBody("<dict>" + keys + "</dict>");
    EXPECT_TRUE(large && large->dictionary()->size() == most);
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(30));
    EXPECT_TRUE(readBody(repeated("<array>", 128) + repeated("</array>", 128)));
    EXPECT_EQ(readBody(repeated("<array>", 129) + repeated("</array>", 129)), std::nullopt);
}

TEST_F(PropertyListFiles, WhatIsTooLongIsNotRead) {
    const std::string list = "<plist version=\"1.0\"><true/></plist>";
    EXPECT_EQ(readText(list + std::string(FileContents::longestSettings - list.size(), '\n')), Value(true));
    EXPECT_EQ(readText(list + std::string(FileContents::longestSettings - list.size() + 1, '\n')),
              std::nullopt);
}

std::string bigEndian(std::size_t number, int size) {
    std::string digits;
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8) {
        digits += static_cast<char>(number >> shift);
    }
    return digits;
}

/// Puts a binary file together from its objects, which refer to each other by numbers of the given size.
std::string binary(const std::vector<std::string>& objects, int referenceSize = 1) {
    std::string file = "bplist00";
    std::string table;
    for (const std::string& object : objects) {
        table += bigEndian(file.size(), 4);
        file += object;
    }
    const std::size_t tableOffset = file.size();
    return file + table + bigEndian(0, 6) + bigEndian(4, 1) +
           bigEndian(static_cast<std::size_t>(referenceSize), 1) + bigEndian(objects.size(), 8) +
           bigEndian(0, 8) + bigEndian(tableOffset, 8);
}

/// Lists in each other, the given number of levels.
std::string binaryNest(std::size_t levels) {
    std::vector<std::string> objects;
    for (std::size_t i = 1; i < levels; ++i) {
        objects.push_back("\xA1" + bigEndian(i, 4));
    }
    objects.emplace_back("\xA0");
    return binary(objects, 4);
}

TEST_F(PropertyListFiles, BinaryFilesAreReadButNotTheirBombs) {
    EXPECT_EQ(readText(binary({"\xA2\1\1", "\x51x"})), Value(Array{"x", "x"}));
    EXPECT_EQ(readText(binary({"\xD1\1\2", "\x51k", "\x62\x00\xE9\x00\xDF"s})),
              Value(Dictionary{{"k", "éß"}}));
    EXPECT_EQ(readText(binary({"\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFE"})), Value(-2));
    EXPECT_EQ(readText(binary({"\xA1\0"s})), std::nullopt) << "contains itself";
    EXPECT_EQ(readText(binary({"\xA1\1", "\xA1\0"s})), std::nullopt) << "runs in a circle";
    EXPECT_EQ(readText(binary({"\xA1\7"})), std::nullopt) << "leads out of the file";
    EXPECT_EQ(readText(binary({"\xAF\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"})), std::nullopt) << "a huge list";
    std::vector<std::string> laughs; // each holds the next one eight times
    for (char i = 1; i < 16; ++i) {
        laughs.push_back("\xA8" + std::string(8, i));
    }
    laughs.emplace_back("\xA0");
    EXPECT_EQ(readText(binary(laughs)), std::nullopt);
    EXPECT_TRUE(readText(binaryNest(128)));
    EXPECT_EQ(readText(binaryNest(129)), std::nullopt);
    EXPECT_EQ(readText(binaryNest(300000)), std::nullopt);
}

TEST_F(PropertyListFiles, EveryDamageToABinaryFileIsSurvived) {
    plist_t node = plist_new_dict();
    plist_t list = plist_new_array();
    plist_array_append_item(list, plist_new_string("é"));
    plist_array_append_item(list, plist_new_real(1.5));
    plist_array_append_item(list, plist_new_date(1, 0));
    plist_array_append_item(list, plist_new_data("ab", 2));
    plist_dict_set_item(node, "list", list);
    plist_dict_set_item(node, "number", plist_new_uint(300));
    char* made = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(node, &made, &length);
    plist_free(node);
    const std::string whole(made, length);
    plist_to_bin_free(made);
    const Dictionary expected{{"list", Array{"é", 1.5, Date{978307201}, Data{'a', 'b'}}}, {"number", 300}};
    ASSERT_EQ(readText(whole), Value(expected));
    for (std::size_t i = 0; i < whole.size(); ++i) {
        EXPECT_EQ(readText(whole.substr(0, i)), std::nullopt);
        for (const char byte : {'\0', '\x7F', '\xFF', '\xA1', '\xDF'}) {
            std::string damaged = whole;
            damaged[i] = byte;
            const auto value = readText(damaged); // whatever it is, it is whole and can be looked at
            EXPECT_TRUE(!value || isValidUtf8(value->description()));
        }
    }
}

TEST(Json, CarriesEveryValueAndNothing) {
    LinuxJson json;
    const Dictionary dictionary{{"nothing", Value()},
                                {"yes", true},
                                {"no", false},
                                {"n", INT64_MIN},
                                {"real", 1.0},
                                {"text", "é\0\"\\"s},
                                {"list", Array{1, Array{}}},
                                {"", Dictionary{}}};
    EXPECT_EQ(json.read(json.write(dictionary)), Value(dictionary));
    EXPECT_EQ(json.write(Array{Data{'a'}, Data{'a', 'b'}, Data{'a', 'b', 'c'}, Data{0xFB, 0xFF}, Data{}}),
              R"(["YQ==","YWI=","YWJj","+/8=",""])");
    EXPECT_EQ(json.write(Array{"\xFF", std::nan(""), Date{2}}), "[\"\uFFFD\",null,2.0]");
    EXPECT_EQ(json.read("18446744073709551615"), Value(18446744073709551615.0));
}

TEST(Json, RefusesWhatIsNoJson) {
    LinuxJson json;
    for (const std::string& text : {""s, "{"s, "[1,]"s, "{\"a\" 1}"s, "nul"s, "1 2"s, "\"\xC3\""s, "'a'"s,
                                    "[1e999]"s, "\"\\uD834\""s, "\"a"s, "//\n1"s}) {
        EXPECT_EQ(json.read(text), std::nullopt) << text;
    }
    EXPECT_TRUE(json.read(repeated("[", 64) + repeated("]", 64)));
    EXPECT_EQ(json.read(repeated("[", 65) + repeated("]", 65)), std::nullopt);
    EXPECT_EQ(json.read(repeated("{\"a\":[", 40) + repeated("]}", 40)), std::nullopt);
    EXPECT_EQ(json.read(repeated("[", 1000000)), std::nullopt);
    EXPECT_TRUE(json.read("[\"" + repeated("[\\\"", 200) + "\"]")) << "brackets in a string do not nest";
}

TEST(MessageDigest, IsMd5) {
    LinuxMessageDigest digest;
    const auto text = [&](std::string_view message) {
        const auto sum = digest.md5(bytes(message));
        return Value(Data(sum.begin(), sum.end())).description();
    };
    EXPECT_EQ(text(""), "<d41d8cd98f00b204e9800998ecf8427e>");
    EXPECT_EQ(text("message digest"), "<f96b697d7cb7938d525a2f31aaf161d0>");
    EXPECT_EQ(text(repeated("1234567890", 8)), "<57edf4a22be3c955ac49da2e2107b67a>");
}

class PngFiles : public test::PlatformTest {
protected:
    std::string png(std::uint32_t width, std::uint32_t height, png_uint_32 format, const Data& pixels) {
        png_image image = {};
        image.version = PNG_IMAGE_VERSION;
        image.width = width;
        image.height = height;
        image.format = format;
        png_alloc_size_t size = 0;
        png_image_write_to_memory(&image, nullptr, &size, 0, pixels.data(), 0, nullptr);
        std::string file(size, '\0');
        EXPECT_NE(png_image_write_to_memory(&image, file.data(), &size, 0, pixels.data(), 0, nullptr), 0);
        return file.substr(0, size);
    }
    std::optional<Image> load(const std::string& file) {
        writeFile("~/file.png", file);
        return current().images.load(home + "/file.png");
    }
};

TEST_F(PngFiles, EveryKindIsReadAsRgba) {
    const auto rgb = load(png(2, 1, PNG_FORMAT_RGB, {1, 2, 3, 4, 5, 6}));
    ASSERT_TRUE(rgb);
    EXPECT_EQ(rgb->pixels, (Data{1, 2, 3, 255, 4, 5, 6, 255}));
    const auto gray = load(png(1, 2, PNG_FORMAT_GA, {7, 8, 9, 10}));
    ASSERT_TRUE(gray);
    EXPECT_EQ(gray->width, 1U);
    EXPECT_EQ(gray->height, 2U);
    EXPECT_EQ(gray->pixels, (Data{7, 7, 7, 8, 9, 9, 9, 10}));
}

TEST_F(PngFiles, DamagedAndOversizedPicturesAreNone) {
    const std::string whole = png(3, 3, PNG_FORMAT_RGBA, Data(36, 0x5A));
    for (std::size_t length = 0; length < whole.size() - 12; ++length) { // the last chunk is only a mark
        EXPECT_FALSE(load(whole.substr(0, length))) << length;
    }
    for (std::size_t i = 0; i < whole.size(); ++i) {
        std::string damaged = whole;
        damaged[i] = static_cast<char>(damaged[i] ^ 0xFF);
        const auto image = load(damaged);
        EXPECT_TRUE(!image || image->pixels.size() == std::size_t{image->width} * image->height * 4);
    }
    EXPECT_TRUE(load(png(4096, 1, PNG_FORMAT_GRAY, Data(4096))));
    EXPECT_FALSE(load(png(4097, 1, PNG_FORMAT_GRAY, Data(4097))));
    EXPECT_FALSE(load(png(1, 4097, PNG_FORMAT_GRAY, Data(4097))));
    EXPECT_TRUE(load(whole + std::string(FileContents::longestPicture - whole.size(), '\0')));
    EXPECT_FALSE(load(whole + std::string(FileContents::longestPicture - whole.size() + 1, '\0')));
    EXPECT_FALSE(current().images.load(home));
}

} // namespace
} // namespace trigora::platform
