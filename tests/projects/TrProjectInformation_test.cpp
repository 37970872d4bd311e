#include "catalogue/actions/TrActionInformation.h"
#include "tests/projects/ProjectTest.h"

#include <filesystem>
#include <functional>

namespace trigora::test {

namespace {

using Labels = std::vector<std::optional<std::string>>;

class TrProjectInformationTest : public ProjectTest {
protected:
    static constexpr const char* file = "~/p/My.plg";

    /// A project that was read from a file with these lines.
    std::shared_ptr<TrProjectInformation> projectWith(const std::string& lines,
                                                      const std::string& projectID = "701") {
        writeProject(file, projectID, "Scan", lines);
        return read(file);
    }

    /// A project whose scan settings were read from a file.
    std::shared_ptr<TrProjectInformation> projectWithSettings(const Dictionary& settings) {
        writePropertyList("~/p/My/ScanSetting.plist", settings);
        return projectWith(
            "ProjectType=0x0001\rActionID=A1\rScanSetting=" + absolute("~/p/My/ScanSetting.plist") + "\r");
    }

    std::string permissions(const std::string& path) {
        const auto status = std::filesystem::status(onDisk(path));
        return std::to_string(static_cast<unsigned>(status.permissions()));
    }
};

TEST_F(TrProjectInformationTest, WritesTheFilesOfAProject) {
    TrProjectInformation project;
    project.setProjectName("Été");
    project.setProjectID("701");
    project.setIsShow(true);
    project.setVersion("2.1");
    project.setType("0x0001");
    project.setDescription("one\ntwo");
    project.setProjectFilePath(absolute(file));
    project.setScanSettingsPath(absolute("~/p/deep/er/ScanSetting.plist"));
    project.setActionInformation(TrActionInformation::initWithActionID("110"));
    writeFile(file, "old");
    project.writeProjectInformation();

    const std::string launch =
        "[Launch]\rProjectID=701\rShow=0x0010\rProjectVersion=2.1\rProjectType=0x0001\r";
    const std::string settings = "ScanSetting=" + absolute("~/p/deep/er/ScanSetting.plist") + "\r";
    EXPECT_EQ(readFile(file), utf16(launch + "ActionID=110\r" + settings + "Icon=\rFeatureKillBits=\r"));
    EXPECT_EQ(readFile("~/p/My/String.def"), utf16("Caption=Été\rDescription=one two\r"));
    EXPECT_EQ(readPropertyList("~/p/deep/er/ScanSetting.plist"), (Dictionary{{"projectID", "701"}}));
    EXPECT_EQ(permissions(file) + permissions("~/p/My/String.def") +
                  permissions("~/p/deep/er/ScanSetting.plist"),
              "438438438");
    EXPECT_EQ(permissions("~/p/My"), "511");

    const auto action = TrActionInformation::initWithActionID("900");
    action->setActionFilePath("/a");
    action->setApplicationPath(viewer);
    action->setOption("0x0002");
    action->setProjectApplicationName("V");
    project.setActionInformation(action);
    project.setIsShow(false);
    project.setFeatureKillBits("0x0003");
    project.writeProjectInformation();
    EXPECT_EQ(
        readFile(file),
        utf16("[Launch]\rProjectID=701\rShow=0x0000\rProjectVersion=2.1\rProjectType=0x0001\rActionID=900\r" +
              settings + "Icon=\rFeatureKillBits=0x0003\r\r[Event_Launch_MacX]\rPath=/a\rMaker=\r" +
              "Option=0x0002\rProjectAppName=V\rAppPath=" + viewer + "\r"));
    const auto again = read(file);
    EXPECT_EQ(again->projectName(), "Été");
    EXPECT_EQ(again->featureKillBits(), "0x0003");
    EXPECT_EQ(again->actionInformation()->option(), "0x0002");
    EXPECT_TRUE(again->isRunableProject());
}

TEST_F(TrProjectInformationTest, AFailedWriteLeavesTheOldFile) {
    const auto project = projectWith("ProjectType=0x0001\r");
    const std::string before = readFile(file);
    project->setVersion("\xff\xfe");
    project->setScanSettingsPath(absolute("~/p"));
    project->writeProjectInformation();
    EXPECT_EQ(readFile(file), before);
    makeFolder("~/q.plg");
    project->setProjectFilePath(absolute("~/q.plg"));
    project->writeProjectInformation();
    for (const char* folder : {"~/p", "~/q.plg"}) {
        EXPECT_NE(permissions(folder), "438") << "cannot be entered any more";
    }
}

TEST_F(TrProjectInformationTest, ValuesDoNotBreakTheFile) {
    const auto project = projectWith("ProjectType=0x0001\rActionID=A1\r");
    project->setIconFilePath("/x[Launch]ProjectType=0x0002");
    project->setVersion("2\r[Launch]");
    project->setFeatureKillBits("0x0001\nProjectType=0x0002");
    project->setDescription("d\rCaption=Other");
    project->writeProjectInformation();
    const auto again = read(file);
    EXPECT_EQ(again->projectID(), "701");
    EXPECT_EQ(again->type(), "0x0001");
    EXPECT_EQ(again->projectName(), "Scan");
    EXPECT_TRUE(again->isRunableProject());
}

TEST_F(TrProjectInformationTest, ReadsFlagsAndActions) {
    EXPECT_FALSE(projectWith("Show=0x0011\r")->isShow());
    EXPECT_TRUE(projectWith("Show=0x0010\r")->isShow());

    writeFile(paths::actionFolder() + "/A0", "[Launch]\nID=A1\nVersion=not an action\n");
    writeFile(paths::actionFolder() + "/A0.adi", "[Launch]\nID=A1\nVersion=first\n");
    EXPECT_EQ(projectWith("ActionID=A1\r")->actionInformation()->version(), "first");
    for (const char* lines : {"ActionID=\r", "ActionID=A9\r", "Show=0x0010\r"}) {
        EXPECT_EQ(projectWith(lines)->actionInformation(), nullptr) << lines;
        EXPECT_FALSE(projectWith(lines)->isRunableProject());
    }
    const std::map<std::string, std::string> options{{"0x0002", "0x0002"},
                                                     {"0x00011", "0x0001"},
                                                     {"0x2", "unknown"},
                                                     {"0x0003", "unknown"},
                                                     {"", "unknown"}};
    for (const auto& [text, option] : options) {
        const auto project = projectWith("ActionID=900\r[Event_Launch_MacX]\rOption=" + text + "\r");
        EXPECT_EQ(project->actionInformation()->option(), option) << text;
    }
}

TEST_F(TrProjectInformationTest, FindsTheScanSettings) {
    // Beside the project file, the caption and the file name run together, for users' projects only.
    writePropertyList("~/p/MyScanScanSetting.plist", Dictionary{{"resolution", 42}});
    EXPECT_EQ(projectWith("", "750")->scanSettingsFilePath(), absolute("~/p/MyScanScanSetting.plist"));
    EXPECT_EQ(projectWith("", "750")->resolutionFromScanSettings(), 42);
    EXPECT_EQ(projectWith("", "750")->pdfSettingFolderFromScanSettings(), absolute("~/p"));
    for (const char* other : {"700", "800"}) {
        EXPECT_EQ(projectWith("", other)->scanSettingsFilePath(), std::nullopt) << other;
        EXPECT_EQ(projectWith("", other)->resolutionFromScanSettings(), 300) << other;
    }
    EXPECT_EQ(projectWith("ScanSetting=\r", "750")->scanSettingsFilePath(), std::nullopt);
    for (const char* path : {"~/p", "~/p/missing.plist"}) {
        const auto project = projectWith("ScanSetting=" + absolute(path) + "\r");
        EXPECT_EQ(project->scanSettingsFilePath(), std::nullopt) << path;
        EXPECT_EQ(project->resolutionFromScanSettings(), 300) << path;
    }
}

TEST_F(TrProjectInformationTest, WhatCannotBeReadIsKeptAside) {
    const std::string tooLong(platform::FileContents::longestSettings + 1, 'x');
    for (const std::string& damaged : {std::string("<plist><dict>"), tooLong}) {
        writeFile("~/p/settings.plist", damaged);
        const auto project = projectWith("ScanSetting=" + absolute("~/p/settings.plist") + "\r");
        EXPECT_EQ(project->resolutionFromScanSettings(), 300);
        project->setResolutionAtScanSettings(600);
        project->setProjectName("New");
        writeFile("~/p/My/String.def", tooLong);
        project->writeProjectInformation();
        EXPECT_EQ(readFile("~/p/settings.plist.damaged"), damaged);
        EXPECT_EQ(read(file)->resolutionFromScanSettings(), 600) << "the project kept its link";
    }
    EXPECT_EQ(readFile("~/p/My/String.def.damaged"), tooLong);
    EXPECT_EQ(read(file)->projectName(), "New");
}

TEST_F(TrProjectInformationTest, FindsTheFolderToSaveInto) {
    const std::map<std::string, std::string> folders{
        {"/x/y", "/x/y"},
        {"", "~/Documents"},
        {"%Pictures/x", "~/Pictures/x"},
        {"%", "~"},
        {"%../Shared/Scans", "~/../Shared/Scans"},
        {"%Temp/Scans", "~/Library/Preferences/PELOX/Trigora/Temp/Scans"},
        {"%Temp/a/b", "~/Library/Preferences/PELOX/Trigora/Temp/b"},
        {"%/Temp/x", "~/Temp/x"},
    };
    for (const auto& [stored, expected] : folders) {
        const auto project = projectWithSettings({{"folderPath", stored}});
        EXPECT_EQ(project->folderPathFromScanSettings(), absolute(expected)) << stored;
    }
    EXPECT_TRUE(exists("~/Library/Preferences/PELOX/Trigora/Temp/Scans"));
    EXPECT_FALSE(exists("~/Pictures/x"));
    EXPECT_EQ(projectWithSettings({{"folderPath", 7}})->folderPathFromScanSettings(),
              absolute("~/Documents"));
}

TEST_F(TrProjectInformationTest, KeepsTheIconThatIsThere) {
    writeFile("~/i.png", "");
    EXPECT_EQ(projectWith("Icon=" + absolute("~/i.png") + "\r")->iconFilePath(), absolute("~/i.png"));
    EXPECT_EQ(projectWith("Icon=/gone.png\r")->iconFilePath(), paths::customProjectIcon());
}

TEST_F(TrProjectInformationTest, StoresEachScanSettingUnderItsKey) {
    using P = TrProjectInformation;
    struct Row {
        const char* key;
        Value value;
        std::function<void(P&)> set;
        std::function<std::optional<Value>(const P&)> get;
    };
    const auto integer = [](const char* key, void (P::*set)(std::int64_t),
                            std::optional<std::int64_t> (P::*get)() const) {
        return Row{key, 7, [set](P& p) { (p.*set)(7); }, [get](const P& p) { return (p.*get)(); }};
    };
    const auto boolean = [](const char* key, void (P::*set)(bool), std::optional<bool> (P::*get)() const) {
        return Row{key, true, [set](P& p) { (p.*set)(true); }, [get](const P& p) { return (p.*get)(); }};
    };
    const auto text = [](const char* key, void (P::*set)(const std::optional<std::string>&),
                         std::optional<std::string> (P::*get)() const) {
        return Row{key, "t", [set](P& p) { (p.*set)("t"); }, [get](const P& p) { return (p.*get)(); }};
    };
    const std::vector<Row> rows{
        integer("documentType", &P::setDocumentTypeAtScanSettings, &P::documentTypeFromScanSettings),
        integer("documentSize", &P::setDocumentSizeAtScanSettings, &P::documentSizeFromScanSettings),
        integer("fileFormat", &P::setFileFormatAtScanSettings, &P::fileFormatFromScanSettings),
        integer("imageType", &P::setImageTypeAtScanSettings, &P::imageTypeFromScanSettings),
        integer("documentSource", &P::setDocumentSourceAtScanSettings, &P::documentSourceFromScanSettings),
        integer("resolution", &P::setResolutionAtScanSettings, &P::resolutionFromScanSettings),
        integer("qualityType", &P::setQualityTypeAtScanSettings, &P::qualityTypeFromScanSettings),
        integer("orientation", &P::setOrientationAtScanSettings, &P::orientationFromScanSettings),
        boolean("unSharpMark", &P::setUnSharpMaskAtScanSettings, &P::unSharpMaskFromScanSettings),
        boolean("descreen", &P::setDescreenAtScanSettings, &P::descreenFromScanSettings),
        boolean("autoEnhance", &P::setAutoEnhanceAtScanSettings, &P::autoEnhanceFromScanSettings),
        integer("JPEGCompression", &P::setJpegCompressionAtScanSettings, &P::jpegCompressionFromScanSettings),
        integer("byteOrder", &P::setByteOrderAtScanSettings, &P::byteOrderFromScanSettings),
        integer("TIFFCompression", &P::setTiffCompressionAtScanSettings, &P::tiffCompressionFromScanSettings),
        text("folderPath", &P::setFolderPathAtScanSettings, &P::folderPathFromScanSettings),
        text("prefix", &P::setPrefixAtScanSettings, &P::prefixFromScanSettings),
        integer("startNumber", &P::setStartNumberAtScanSettings, &P::startNumberFromScanSettings),
        text("pdfCompression", &P::setPdfCompressionAtScanSettings, &P::pdfCompressionFromScanSettings),
        text("pdfSettingFolder", &P::setPdfSettingFolderAtScanSettings, &P::pdfSettingFolderFromScanSettings),
        text("driverName", &P::setDriverNameAtScanSettings, &P::driverNameFromScanSettings),
        boolean("TwainUI", &P::setTwainUIAtScanSettings, &P::isTwainUIFromScanSettings),
        boolean("NoneUI", &P::setNoneUIAtScanSettings, &P::isNoneUIFromScanSettings),
        Row{"projectID", "t", [](P& p) { p.setProjectID("t"); }, &P::projectIDFromScanSettings},
        Row{"extFeatureBit", 7, [](P& p) { p.setExtFeatureBitAtScanSettings(7); },
            &P::extFeatureBitFromScanSettings},
        text("ipAddress", &P::setIPAddressAtScanSettings, &P::ipAddressFromScanSettings),
    };
    ASSERT_EQ(rows.size(), 25U);
    for (const Row& row : rows) {
        P project;
        EXPECT_FALSE(row.get(project)) << row.key;
        row.set(project);
        EXPECT_EQ(project.scanSettings(), (Dictionary{{row.key, row.value}}));
        EXPECT_EQ(row.get(project), row.value) << row.key;
    }
}

TEST_F(TrProjectInformationTest, FillsInANewProject) {
    stringTable.texts["ScanOption.DocumentSize.Default.Text"] = "1";
    TrProjectInformation project;
    project.setDefaultSettingsWithName("New", "701", true);
    const Dictionary defaults{{"documentType", 2},
                              {"documentSize", 1},
                              {"fileFormat", 1},
                              {"imageType", 2},
                              {"documentSource", 0},
                              {"resolution", 300},
                              {"qualityType", 1},
                              {"orientation", 0},
                              {"unSharpMark", false},
                              {"descreen", false},
                              {"autoEnhance", true},
                              {"JPEGCompression", 75},
                              {"byteOrder", 1},
                              {"TIFFCompression", 0},
                              {"prefix", "img"},
                              {"startNumber", 1},
                              {"pdfCompression", ""},
                              {"TwainUI", false},
                              {"NoneUI", true},
                              {"projectID", "701"},
                              {"driverName", "NOT SETUP"},
                              {"folderPath", absolute("~/Documents")},
                              {"pdfSettingFolder", absolute(customFolder + "/New")}};
    EXPECT_EQ(project.scanSettings(), defaults);
    EXPECT_EQ(project.projectFilePath(), absolute(customFolder + "/New.plg"));
    EXPECT_EQ(project.scanSettingsFilePath(), absolute(customFolder + "/New/ScanSetting.plist"));
    EXPECT_EQ(project.type(), "0x0001");
    EXPECT_EQ(project.version(), "2.1");

    TrProjectInformation folderProject;
    folderProject.setDefaultSettingsWithName("../../evil", "702", false);
    EXPECT_EQ(folderProject.projectFilePath(), absolute(monitorFolder + "/..:..:evil.plg"));
    EXPECT_EQ(folderProject.type(), "0x0002");
    EXPECT_EQ(folderProject.scanSettings(), (Dictionary{{"projectID", "702"}}));
    folderProject.setDefaultSettingsWithName("..", "702", false);
    EXPECT_EQ(folderProject.projectFilePath(), absolute(monitorFolder + "/_...plg"));
}

TEST_F(TrProjectInformationTest, PredefinedProjectsHaveDefaultsOfTheirOwn) {
    for (const char* predefined : {"000", "110", "340", "500", "520", "910", "911", "912", "999"}) {
        EXPECT_EQ(projectWith("", predefined)->pdfCompressionFromScanSettings(), "DEFAULT") << predefined;
        EXPECT_EQ(projectWith("", predefined)->pdfSettingFolderFromScanSettings(), absolute("~/"))
            << predefined;
    }
    writeFile("~/Library/Preferences/Mosaro Temp/left.jpg", "");
    const auto email = projectWith("", "500");
    EXPECT_FALSE(exists("~/Library/Preferences/Mosaro Temp/left.jpg"));
    EXPECT_TRUE(exists("~/Library/Preferences/Mosaro Temp"));
    EXPECT_EQ(email->folderPathFromScanSettings(), absolute("~/Library/Preferences/Mosaro Temp"));
    EXPECT_EQ(email->isTwainUIFromScanSettings(), true);
    EXPECT_EQ(email->isNoneUIFromScanSettings(), false);
    EXPECT_EQ(email->fileFormatFromScanSettings(), 0);
    EXPECT_EQ(projectWith("", "110")->isTwainUIFromScanSettings(), false);
}

TEST_F(TrProjectInformationTest, KillBitsForbid) {
    // Folder, action, format, name.
    const std::map<std::string, std::string> allowed{
        {"", "1111"},       {"0x0001", "0111"}, {"0x0002", "1011"}, {"0x0003", "0011"},  {"0x0004", "1101"},
        {"0x0008", "1110"}, {"0x000C", "1100"}, {"0x000f", "0000"}, {"nonsense", "1111"}};
    for (const auto& [bits, answers] : allowed) {
        TrProjectInformation project;
        project.setFeatureKillBits(bits);
        EXPECT_EQ(
            std::to_string(project.isSavePathChangeAble()) + std::to_string(project.isActionChangeAble()) +
                std::to_string(project.isFileFormatSelectable()) + std::to_string(project.canDeleteRename()),
            answers)
            << bits;
    }
    const std::map<std::string, bool> scannable{{"0x0001", true}, {"0x0002", false}, {"0x0003", true},
                                                {"0x8001", true}, {"0x8002", false}, {"0x8003", true}};
    for (const auto& [type, isScanAble] : scannable) {
        TrProjectInformation project;
        project.setType(type);
        EXPECT_EQ(project.isScanAble(), isScanAble) << type;
    }
}

TEST_F(TrProjectInformationTest, LabelsTheSettings) {
    const auto labels = [](std::int64_t value) {
        TrProjectInformation p;
        p.setDocumentSizeAtScanSettings(value);
        p.setFileFormatAtScanSettings(value);
        p.setImageTypeAtScanSettings(value);
        p.setQualityTypeAtScanSettings(value);
        p.setTiffCompressionAtScanSettings(value);
        return Labels{p.documentSizeString(), p.fileFormatString(), p.imageColorString(),
                      p.qualityTypeString(), p.tiffCompressionString()};
    };
    const std::optional<std::string> none;
    const std::string uncompressed = "String.TIFFCompressionNone.Text";
    const std::string size = "String.ScanArea.";
    EXPECT_EQ(labels(-1), (Labels{none, none, none, none, uncompressed}));
    EXPECT_EQ(labels(0), (Labels{size + "A4.Text", "String.FileFormat.JPEG.Text",
                                 "String.ColorType.Color.Text", "String.Quality.Speed.Text", uncompressed}));
    EXPECT_EQ(labels(1),
              (Labels{size + "Letter.Text", "String.FileFormat.PDF.Text", "String.ColorType.Grayscale.Text",
                      "String.Quality.Srandard.Text", "String.TIFFCompressionG4.Text"}));
    EXPECT_EQ(labels(2),
              (Labels{size + "Legal.Text", "String.FileFormat.BMP.Text", "String.ColorType.BW.Text",
                      "String.Quality.BestQuality.Text", uncompressed}));
    EXPECT_EQ(labels(3), (Labels{size + "A5.Text", "String.FileFormat.TIFF.Text", none,
                                 "String.Quality.Custom.Text", uncompressed}));
    EXPECT_EQ(labels(4),
              (Labels{size + "B5.Text", "String.FileFormat.MultiTIFF.Text", none, none, uncompressed}));
    EXPECT_EQ(labels(5), (Labels{size + "Tabloid.Text", none, none, none, uncompressed}));
    EXPECT_EQ(labels(6)[0], size + "B4.Text");
    EXPECT_EQ(labels(7)[0], size + "A3.Text");
    EXPECT_EQ(labels(8)[0], size + "A6.Text");
    EXPECT_EQ(labels(9)[0], none);
}

TEST_F(TrProjectInformationTest, LabelsTheDocumentSourceByWhatTheScannerHas) {
    const auto sources = [] {
        Labels labels;
        for (const std::int64_t source : {0, 1, 2, 3, 4}) {
            TrProjectInformation project;
            project.setDocumentSourceAtScanSettings(source);
            const auto label = project.documentSourceString();
            labels.push_back(label
                                 ? std::optional(label->substr(std::string("String.ScanInputSource.").size()))
                                 : std::nullopt);
        }
        return labels;
    };
    const std::string table = "DocumentTable.Text";
    const std::string automatic = "AutoDetect.Text";
    EXPECT_EQ(sources(), (Labels{automatic, table, automatic, automatic, std::nullopt}));
    makeCurrentDriver({{"DeviceInfoEnableADF", true}});
    EXPECT_EQ(sources(), (Labels{automatic, table, "ADF.Text", automatic, std::nullopt}));
    makeCurrentDriver({{"DeviceInfoEnableADF", true}, {"DeviceInfoEnableDuplex", true}});
    EXPECT_EQ(sources(), (Labels{automatic, table, "ADFSingle.Text", "ADFDuplex.Text", std::nullopt}));
    makeCurrentDriver({{"DeviceInfoEnableDuplex", true}});
    EXPECT_EQ(sources(), (Labels{automatic, table, automatic, "ADFDuplex.Text", std::nullopt}));
}

TEST_F(TrProjectInformationTest, TitlesSayWhatTheProjectDoes) {
    stringTable.texts = {{"MainWindow.TargetForderDescription.Text", "to %s"},
                         {"MainWindow.DpiDescription.Text", "%d dpi"},
                         {"MainWindow.PhotoScanDescription.Text", "Photo"},
                         {"String.ScanArea.A4.Text", "A4"},
                         {"String.ColorType.Color.Text", "Color"},
                         {"String.FileFormat.PDF.Text", "PDF"}};
    const Dictionary settings{{"documentSize", 0},
                              {"imageType", 0},
                              {"resolution", 300},
                              {"fileFormat", 1},
                              {"folderPath", "/x/Scans"}};
    const auto project = projectWithSettings(settings);
    EXPECT_EQ(project->menuTitle(), "Scan - A4/Color/300 dpi/PDF/to Scans/A1 name");
    project->setFileFormatAtScanSettings(5);
    project->setDocumentSizeAtScanSettings(9);
    EXPECT_EQ(project->menuTitle(), "Scan - Color/300 dpi/to Scans/A1 name");
    project->setDocumentTypeAtScanSettings(3);
    project->setType("0x0003");
    EXPECT_EQ(project->menuTitle(), "Scan - Photo/to Scans/A1 name");
    project->setActionInformation(nullptr);
    EXPECT_EQ(project->menuTitle(), "Scan - Photo/to Scans");
    project->setType("0x8001");
    EXPECT_EQ(project->menuTitle(), "Scan");
    project->setType("0x0002");
    project->setActionInformation(TrActionInformation::initWithPath(paths::actionFolder() + "/A1.adi"));
    EXPECT_EQ(project->menuTitle(), "Scan - A1 name");

    project->setDescription("stored");
    const std::map<std::string, std::string> titles{{"699", "Scan - stored"},
                                                    {"700", "Scan - A1 name"},
                                                    {"799", "Scan - A1 name"},
                                                    {"800", "Scan - stored"}};
    for (const auto& [projectID, title] : titles) {
        project->setProjectID(projectID);
        EXPECT_EQ(project->menuTitle(), title) << projectID;
    }
    project->setProjectName(std::nullopt);
    EXPECT_EQ(project->menuTitle(), std::nullopt);
}

TEST_F(TrProjectInformationTest, ACopyIsItsOwn) {
    const auto project = projectWithSettings({{"resolution", 200}});
    project->setFeatureKillBits("0x0001");
    const auto copy = project->copyProjectInformation();
    EXPECT_EQ(copy->scanSettings(), project->scanSettings());
    EXPECT_EQ(copy->featureKillBits(), "0x0001");
    EXPECT_EQ(copy->projectName(), "Scan");
    copy->setResolutionAtScanSettings(600);
    copy->actionInformation()->setOption("0x0002");
    EXPECT_EQ(project->resolutionFromScanSettings(), 200);
    EXPECT_NE(project->actionInformation()->option(), "0x0002");
}

TEST_F(TrProjectInformationTest, NewScanSettingsLoseTheIDUntilItIsSetAgain) {
    const auto project = projectWith("");
    project->setScanSettings({{"resolution", 200}});
    EXPECT_EQ(project->scanSettings(),
              (Dictionary{{"resolution", 200}, {"folderPath", absolute("~/Documents")}}));
    project->setProjectID(project->projectID());
    EXPECT_EQ(project->projectIDFromScanSettings(), "701");
}

} // namespace

} // namespace trigora::test
