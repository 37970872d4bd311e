#include "companions/PScanAssistant/scanners/ScannerSetup.h"

#include "companions/PScanAssistant/scanners/DeviceInformation.h"
#include "tests/companions/FakeScanner.h"

#include <gtest/gtest.h>

namespace trigora::companions {
namespace {

using namespace test;

TEST(ScannerSetupTest, SourcesAreFoundUnderTheNamesThatScannersGiveThem) {
    using enum DocumentSource;
    struct Case {
        std::vector<ScannerOption> options;
        FakeScanner::Values state;
        DocumentSource wanted;
        FakeScanner::Values expected;
        bool takesPages;
        bool mayTryTable;
        std::string note;
    };
    const ScannerOption tableOnly = textOption("source", {"Flatbed"});
    const ScannerOption plain = textOption("source", {"Flatbed", "Automatic Document Feeder"});
    const ScannerOption three = textOption("source", {"FlatBed", "ADF Front", "ADF Back", "ADF Duplex"});
    const ScannerOption feederOnly = textOption("source", {"ADF", "Transparency Unit"});
    const ScannerOption mode = textOption("adf-mode", {"Simplex", "Duplex"});
    const ScannerOption sensor = switchOption("page-loaded", false);
    const FakeScanner::Values loaded{{"page-loaded", true}};
    const FakeScanner::Values empty{{"page-loaded", false}};
    const std::string adf = "Automatic Document Feeder";
    const std::array<Case, 18> cases{{
        // Automatic is the feeder, unless that says that it is empty; who cannot tell is tried.
        {{plain}, {}, automatic, {{"source", adf}}, true, true, ""},
        {{plain, sensor}, loaded, automatic, {{"source", adf}}, true, true, ""},
        {{plain, sensor}, empty, automatic, {{"source", "Flatbed"}}, false, false, ""},
        {{feederOnly}, {}, automatic, {{"source", "ADF"}}, true, false, ""},
        {{feederOnly, sensor}, empty, automatic, {{"source", "ADF"}}, true, false, ""},
        {{plain, sensor}, loaded, table, {{"source", "Flatbed"}}, false, false, ""},
        {{plain}, {}, feeder, {{"source", adf}}, true, false, ""},
        // Both sides become one side, and only without a feeder the table.
        {{plain}, {}, duplexFeeder, {{"source", adf}}, true, false, "Scan.Note.OneSide"},
        {{tableOnly}, {}, duplexFeeder, {{"source", "Flatbed"}}, false, false, "Scan.Note.NoFeeder"},
        {{tableOnly}, {}, feeder, {{"source", "Flatbed"}}, false, false, "Scan.Note.NoFeeder"},
        {{three}, {}, feeder, {{"source", "ADF Front"}}, true, false, ""},
        {{three}, {}, duplexFeeder, {{"source", "ADF Duplex"}}, true, false, ""},
        {{feederOnly}, {}, table, {{"source", "ADF"}}, true, false, ""},
        {{plain, mode}, {}, duplexFeeder, {{"source", adf}, {"adf-mode", "Duplex"}}, true, false, ""},
        {{feederOnly, switchOption("duplex")},
         {},
         feeder,
         {{"source", "ADF"}, {"duplex", false}},
         true,
         false,
         ""},
        // Without a choice of sources something else has to tell of a feeder.
        {{}, {}, feeder, {}, false, false, "Scan.Note.NoFeeder"},
        {{sensor}, empty, automatic, {}, true, false, ""},
        {{mode}, {}, duplexFeeder, {{"adf-mode", "Duplex"}}, true, false, ""},
    }};
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(i);
        FakeScanner scanner;
        scanner.allOptions = cases[i].options;
        scanner.values = cases[i].state;
        ScanSettings settings;
        settings.documentSource = cases[i].wanted;
        const std::optional<ScannerSetup> setup = setUp(scanner, settings);
        ASSERT_TRUE(setup);
        scanner.values.erase("page-loaded");
        for (const auto& [name, value] : cases[i].expected) {
            EXPECT_EQ(scanner.values[name], value) << name;
        }
        EXPECT_EQ(scanner.values.size(), cases[i].expected.size());
        EXPECT_EQ(setup->takesPages, cases[i].takesPages);
        EXPECT_EQ(setup->mayTryTable, cases[i].mayTryTable);
        EXPECT_EQ(setup->notes.empty() ? "" : setup->notes[0].key, cases[i].note);
    }
}

TEST(ScannerSetupTest, ModesDepthsResolutionAndAreaComeAsNearAsTheScannerCan) {
    ScannerOption depth;
    depth.name = "depth";
    depth.settable = true;
    depth.numbers = {1, 8, 16};
    ScannerOption resolution;
    resolution.name = "resolution";
    resolution.settable = true;
    resolution.numbers = {75, 150, 600};
    ScannerOption height = rangeOption("br-y", 0, 4000);
    height.unit = ScannerOption::Unit::pixels;
    const ScannerOption lineArt = textOption("mode", {"Lineart", "Gray", "Color"});
    const ScannerOption greyOnly = textOption("mode", {"Gray", "Color"});

    struct Case {
        ScannerOption mode;
        ImageType type;
        std::string chosen;
        std::optional<ScannerValue> depth;
    };
    const ScannerOption many =
        textOption("mode", {"Color Lineart", "Black & White Halftone", "Black & White",
                            "Gray[Error Diffusion]", "True Gray", "24bit Color[Fast]", "Color"});
    const std::array<Case, 8> cases{
        {{many, ImageType::colour, "Color", 8.0},
         {many, ImageType::grey, "True Gray", 8.0},
         {many, ImageType::blackAndWhite, "Black & White", std::nullopt},
         {textOption("mode", {"Gray[Error Diffusion]"}), ImageType::grey, "Gray[Error Diffusion]", 8.0},
         {lineArt, ImageType::colour, "Color", 8.0},
         {lineArt, ImageType::blackAndWhite, "Lineart", std::nullopt},
         {greyOnly, ImageType::blackAndWhite, "Gray", 1.0},
         {textOption("mode", {"Color"}), ImageType::grey, "Color", 8.0}}};
    for (const Case& one : cases) {
        FakeScanner scanner;
        scanner.allOptions = {one.mode, depth, resolution, rangeOption("br-x", 0, 200), height};
        ScanSettings settings;
        settings.imageType = one.type;
        settings.resolution = 200;
        settings.paper = {210, 297};
        const std::optional<ScannerSetup> setup = setUp(scanner, settings);
        ASSERT_TRUE(setup);
        EXPECT_EQ(setup->resolution, 150);
        EXPECT_EQ(scanner.value("mode"), ScannerValue(one.chosen));
        EXPECT_EQ(scanner.value("depth"), one.depth);
        EXPECT_EQ(scanner.value("br-x"), ScannerValue(200.0));
        EXPECT_EQ(scanner.value("br-y"), ScannerValue(1753.0)); // 297 millimetres at 150 dots per inch
        ASSERT_EQ(setup->notes.size(), 2U);
        EXPECT_EQ(setup->notes[0].text(),
                  "this scanner cannot scan with 200 dots per inch; it scanned with 150");
        EXPECT_EQ(setup->notes[1].text(),
                  "this scanner cannot scan 210 by 297 millimetres; it scanned 200 by 297");
    }
}

TEST(ScannerSetupTest, WhatTheScannerCanDoItDoesItself) {
    FakeScanner scanner;
    scanner.allOptions = {rangeOption("br-x", 0, 216), rangeOption("br-y", 0, 300), switchOption("descreen")};
    ScanSettings settings;
    settings.descreen = true;
    settings.sharpen = true;
    settings.imageType = ImageType::grey;
    settings.paper = {148, 210};
    settings.orientation = Orientation::landscape;
    ScannerSetup setup = setUp(scanner, settings).value();
    EXPECT_EQ(scanner.value("descreen"), ScannerValue(true));
    EXPECT_FALSE(setup.descreen);
    EXPECT_TRUE(setup.sharpen);
    EXPECT_EQ(scanner.value("br-x"), ScannerValue(210.0)); // wide enough for the paper to lie across
    EXPECT_EQ(setup.quarterTurns, 0);

    settings.paper = {210, 297};
    setup = setUp(scanner, settings).value();
    EXPECT_EQ(scanner.value("br-x"), ScannerValue(210.0));
    EXPECT_EQ(setup.quarterTurns, 1);

    settings.isWholeArea = true;
    setup = setUp(scanner, settings).value();
    EXPECT_EQ(scanner.value("br-x"), ScannerValue(216.0));
    EXPECT_EQ(scanner.value("br-y"), ScannerValue(300.0));
}

TEST(ScannerSetupTest, AScannerThatRefusesWhatItOfferedIsNotScannedWith) {
    for (const std::string option : {"source", "mode", "resolution"}) {
        FakeScanner scanner;
        scanner.allOptions = {textOption("source", {"Flatbed"}), textOption("mode", {"Gray"}),
                              rangeOption("resolution", 50, 600)};
        scanner.refused = option;
        EXPECT_FALSE(setUp(scanner, ScanSettings{})) << option;
    }
}

TEST(ScannerSetupTest, TheAgentIsToldOfEveryAreaAndLimit) {
    FakeScanner scanner;
    scanner.allOptions = {textOption("source", {"Flatbed", "ADF", "ADF Duplex"}),
                          rangeOption("resolution", 75, 1200), rangeOption("br-x", 0, 215.9),
                          rangeOption("br-y", 0, 297.18), switchOption("page-loaded", false)};
    scanner.values["page-loaded"] = true;
    DriverEntry entry;
    entry.modelID = 0x0F01;
    EXPECT_EQ(deviceInformation(scanner, entry), (Dictionary{{"DeviceInfoModelID", 0x0F01},
                                                             {"DeviceInfoFlatbedScanAreaWidth", 2159},
                                                             {"DeviceInfoFlatbedScanAreaHeight", 2972},
                                                             {"DeviceInfoAdfScanAreaWidth", 2159},
                                                             {"DeviceInfoAdfScanAreaHeight", 2972},
                                                             {"DeviceInfoDuplexAdfScanAreaWidth", 2159},
                                                             {"DeviceInfoDuplexAdfScanAreaHeight", 2972},
                                                             {"DeviceInfoEnableFlat", true},
                                                             {"DeviceInfoEnableADF", true},
                                                             {"DeviceInfoEnableDuplex", true},
                                                             {"DeviceInfoIsADFHasPaper", true},
                                                             {"DeviceInfoXdpiMin", 75},
                                                             {"DeviceInfoXdpiMax", 1200},
                                                             {"DeviceInfoYdpiMin", 75},
                                                             {"DeviceInfoYdpiMax", 1200},
                                                             {"DeviceInfoIsSupportNoneUI", true},
                                                             {"DeviceInfoIsRunICAMode", false},
                                                             {"DeviceInfoIsDeviceConnected", true}}));
}

} // namespace
} // namespace trigora::companions
