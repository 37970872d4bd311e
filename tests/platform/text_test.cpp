#include "platform/Text.h"
#include "platform/Value.h"

#include <gtest/gtest.h>

namespace trigora::platform {
namespace {

TEST(Text, ReadsNumbersAsFarAsTheyGo) {
    const std::pair<const char*, std::int32_t> integers[] = {{"12", 12},
                                                             {" \t-7x", -7},
                                                             {"+5", 5},
                                                             {"", 0},
                                                             {"x", 0},
                                                             {"--3", 0},
                                                             {"3.9", 3},
                                                             {"2147483648", 2147483647},
                                                             {"-2147483649", -2147483647 - 1},
                                                             {"99999999999999999999999", 2147483647}};
    for (const auto& [text, number] : integers) {
        EXPECT_EQ(integerValue(text), number) << text;
    }
    EXPECT_EQ(floatValue("2.7x"), 2.7F);
    EXPECT_EQ(floatValue(" -1.5"), -1.5F);
    EXPECT_EQ(floatValue("infinity"), 0.0F);
    EXPECT_EQ(hexadecimalValue("0x000Bz"), 0xBU);
    EXPECT_EQ(hexadecimalValue("ff"), 0xFFU);
    EXPECT_EQ(hexadecimalValue("123456789"), 0xFFFFFFFFU);
    EXPECT_EQ(hexadecimalValue(""), 0U);
}

TEST(Text, SplitsAndTrims) {
    using Pieces = std::vector<std::string>;
    EXPECT_EQ(componentsSeparatedByString("a,,b", ","), (Pieces{"a", "", "b"}));
    EXPECT_EQ(componentsSeparatedByString("", ","), Pieces{""});
    EXPECT_EQ(trimmed("\"\"a \"", "\""), "a ");
    EXPECT_EQ(trimmed("\"\"", "\""), "");
    EXPECT_EQ(replacingOccurrences("%s of %s", "%s", "%@"), "%@ of %@");
    EXPECT_EQ(utf16Length("aé𝄞"), 4U);
    EXPECT_TRUE(isValidUtf8("aé𝄞"));
    for (const char* broken : {"\xC0\x80", "\xED\xA0\x80", "\xE3\x81", "\xF4\x90\x80\x80", "\xFF"}) {
        EXPECT_FALSE(isValidUtf8(broken));
    }
}

TEST(Text, TakesPathsApart) {
    EXPECT_EQ(pathExtension("/a.b/c.plg/"), "plg");
    EXPECT_EQ(pathExtension("/a.b/c"), "");
    EXPECT_EQ(pathExtension("/a/.hidden"), "");
    EXPECT_EQ(pathExtension("c."), "");
    EXPECT_EQ(deletingPathExtension("/a/b.tar.gz"), "/a/b.tar");
    EXPECT_EQ(lastPathComponent("/a/b/"), "b");
    EXPECT_EQ(lastPathComponent("/"), "/");
    EXPECT_EQ(deletingLastPathComponent("/a/b"), "/a");
    EXPECT_EQ(deletingLastPathComponent("/a"), "/");
    EXPECT_EQ(deletingLastPathComponent("a"), "");
    EXPECT_EQ(appendingPathComponent("/a/", "/b"), "/a/b");
    EXPECT_EQ(appendingPathComponent("/", "b"), "/b");
    EXPECT_EQ(appendingPathComponent("", "b"), "b");
}

TEST(Value, ReadsUntrustedEntriesByKind) {
    const Dictionary dictionary{{"text", "12x"},    {"real", 3.9},     {"huge", 1e300}, {"yes", true},
                                {"list", Array{1}}, {"null", Value()}, {"no", "false"}};
    EXPECT_EQ(integerAt(dictionary, "text"), 12);
    EXPECT_EQ(integerAt(dictionary, "real"), 3);
    EXPECT_EQ(integerAt(dictionary, "huge"), INT64_MAX);
    EXPECT_EQ(integerAt(dictionary, "yes"), 1);
    EXPECT_EQ(integerAt(dictionary, "list"), std::nullopt);
    EXPECT_EQ(integerAt(dictionary, "null"), std::nullopt);
    EXPECT_EQ(textAt(dictionary, "real"), std::nullopt);
    EXPECT_EQ(booleanAt(dictionary, "no"), false);
    EXPECT_EQ(booleanAt(dictionary, "text"), true);
    EXPECT_EQ(booleanAt(dictionary, "missing"), std::nullopt);
    EXPECT_EQ(Value(Dictionary{{"a", Array{1, "b"}}, {"c", Data{0x0A, 0xFF}}}).description(),
              "{a = (1, b); c = <0aff>;}");
}

} // namespace
} // namespace trigora::platform
