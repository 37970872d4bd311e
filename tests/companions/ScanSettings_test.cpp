#include "companions/PScanAssistant/settings/ScanSettings.h"

#include <gtest/gtest.h>

namespace trigora::companions {
namespace {

TEST(ScanSettingsTest, ReadsWhatTheAgentSends) {
    const ScanSettings settings = readScanSettings({{"driverName", "Scanner A"},
                                                    {"ipAddress", "10.0.0.7"},
                                                    {"folderPath", "/scans"},
                                                    {"prefix", "page"},
                                                    {"startNumber", "012"},
                                                    {"resolution", 600},
                                                    {"imageType", 1},
                                                    {"documentSource", 3},
                                                    {"documentSize", 7},
                                                    {"fileFormat", 4},
                                                    {"JPEGCompression", 40},
                                                    {"TIFFCompression", 1},
                                                    {"byteOrder", 0},
                                                    {"qualityType", 0},
                                                    {"orientation", 1},
                                                    {"unSharpMark", true},
                                                    {"descreen", 1},
                                                    {"autoEnhance", false}});
    EXPECT_EQ(settings.driverName, "Scanner A");
    EXPECT_EQ(settings.address, "10.0.0.7");
    EXPECT_EQ(settings.folderPath, "/scans");
    EXPECT_EQ(settings.prefix, "page");
    EXPECT_EQ(settings.startNumber, 12);
    EXPECT_EQ(settings.resolution, 150); // for speed
    EXPECT_EQ(settings.orientation, Orientation::landscape);
    EXPECT_TRUE(settings.sharpen && settings.descreen && !settings.enhance);
    ASSERT_EQ(settings.notes.size(), 1U); // Group 4 has no greys
    EXPECT_EQ(settings.notes[0].key, "Scan.Note.Group4");
    EXPECT_EQ(settings.imageType, ImageType::grey);
    EXPECT_EQ(settings.documentSource, DocumentSource::duplexFeeder);
    EXPECT_EQ(settings.paper.height, 420);
    EXPECT_EQ(settings.fileFormat, FileFormat::multiPageTiff);
    EXPECT_EQ(settings.jpegQuality, 40);
    EXPECT_TRUE(settings.tiffGroup4);
    EXPECT_TRUE(settings.tiffBigEndian);
}

TEST(ScanSettingsTest, WhatMakesNoSenseHasItsDefault) {
    const Dictionary nonsense{{"driverName", "NOT SETUP"},
                              {"ipAddress", "L"},
                              {"folderPath", 3},
                              {"prefix", 7},
                              {"startNumber", -1},
                              {"resolution", 0},
                              {"imageType", 3},
                              {"documentSource", -1},
                              {"documentSize", 9},
                              {"fileFormat", 5},
                              {"JPEGCompression", 101},
                              {"TIFFCompression", Array{1}},
                              {"unSharpMark", Array{}},
                              {"autoEnhance", Dictionary{}},
                              {"qualityType", 4},
                              {"orientation", 4}};
    for (const Dictionary& dictionary : {Dictionary{}, nonsense}) {
        const ScanSettings settings = readScanSettings(dictionary);
        EXPECT_EQ(settings.driverName, "");
        EXPECT_EQ(settings.address, "");
        EXPECT_EQ(settings.folderPath, "");
        EXPECT_EQ(settings.prefix, "img");
        EXPECT_EQ(settings.startNumber, 1);
        EXPECT_EQ(settings.resolution, 300);
        EXPECT_EQ(settings.imageType, ImageType::blackAndWhite);
        EXPECT_EQ(settings.documentSource, DocumentSource::automatic);
        EXPECT_EQ(settings.paper.height, 297);
        EXPECT_EQ(settings.fileFormat, FileFormat::pdf);
        EXPECT_EQ(settings.jpegQuality, 75);
        EXPECT_FALSE(settings.tiffGroup4);
        EXPECT_FALSE(settings.sharpen);
        EXPECT_TRUE(settings.enhance);
        EXPECT_EQ(settings.orientation, Orientation::portrait);
        EXPECT_EQ(settings.notes.size(), dictionary.empty() ? 0U : 14U); // all but the first two are noted
    }
}

TEST(ScanSettingsTest, APrefixNeverLeavesTheFolderAndAlwaysFitsAName) {
    const auto prefixOf = [](const std::string& prefix) {
        return readScanSettings({{"prefix", prefix}}).prefix;
    };
    EXPECT_EQ(prefixOf("../../etc/cron.d/x"), ".._.._etc_cron.d_x");
    EXPECT_EQ(prefixOf(std::string("a\0b", 3)), "ab");
    std::string wide;
    for (int i = 0; i < 100; ++i) {
        wide += "語";
    }
    EXPECT_EQ(prefixOf(wide), wide.substr(0, 198)); // not through the middle of a character
}

} // namespace
} // namespace trigora::companions
