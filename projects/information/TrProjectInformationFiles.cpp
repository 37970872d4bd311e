#include "catalogue/actions/TrActionInformation.h"
#include "catalogue/identifiers/UserProjects.h"
#include "files/FileManagerExtension.h"
#include "files/InstalledPaths.h"
#include "files/PxDefParser.h"
#include "files/PxIniParser.h"
#include "files/StringHelpers.h"
#include "files/TrFilePathUtility.h"
#include "platform/FileSystem.h"
#include "platform/Formats.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "projects/information/TrProjectInformation.h"

#include <vector>

namespace trigora {

using platform::appendingPathComponent;
using platform::deletingLastPathComponent;
using platform::deletingPathExtension;
using platform::lastPathComponent;

namespace {

constexpr const char* launchSection = "Launch";
constexpr const char* userApplicationSection = "Event_Launch_MacX";
constexpr const char* shownFlag = "0x0010";

bool isFile(const std::string& path) {
    return itemExistsAtPath(path) && !platform::current().fileSystem.isDirectory(path);
}

/// A key and its value as one line. A line break inside the value becomes a blank, so that it stays one.
std::string line(const std::string& key, const std::optional<std::string>& value) {
    std::string text = value.value_or("");
    for (char& character : text) {
        if (character == '\r' || character == '\n') {
            character = ' ';
        }
    }
    return key + "=" + text + "\r";
}

/// The same in a file of sections. A value with a bracket would end its section and take the lines behind it
/// along, so it is left out instead.
std::string sectionLine(const std::string& key, const std::optional<std::string>& value) {
    const bool endsSection = value.value_or("").find_first_of("[]") != std::string::npos;
    return line(key, endsSection ? std::nullopt : value);
}

std::string userApplicationText(TrActionInformation& action) {
    return "\r[" + std::string(userApplicationSection) + "]\r" +
           sectionLine("Path", action.actionFilePath()) + sectionLine("Maker", action.maker()) +
           sectionLine("Option", action.option()) +
           sectionLine("ProjectAppName", action.projectApplicationName()) +
           sectionLine("AppPath", action.applicationPath());
}

void createMissingFolder(const std::string& folder) {
    if (!itemExistsAtPath(folder)) {
        TrFilePathUtility::sharedFilePathUtility()->createFolderPath(folder);
    }
}

/// The new file takes the old one's place at once, so that there is never none. An old one that cannot be
/// read is kept aside.
void writeTextFile(const std::string& text, const std::string& path) {
    createMissingFolder(deletingLastPathComponent(path));
    const bool isReadable = !isFile(path) || exStringWithContentsOfFile(path, platform::Encoding::unicode);
    if (writeKeepingAside(path, isReadable,
                          [&] { return exWriteToFile(text, path, true, platform::Encoding::unicode); })) {
        exChangeFileAttributes(attributesOfWrittenFile(), path);
    }
}

} // namespace

// Reading.

void TrProjectInformation::PI_ReadProjectInformationWithPath(const std::string& path) {
    const auto launchValue = [&path](const char* key) {
        return PxIniParser::sharedParser()->valueWithFilePath(path, launchSection, key);
    };
    setProjectFilePath(path);
    setProjectID(launchValue("ProjectID"));
    readTexts();
    setIsShow(launchValue("Show") == shownFlag);
    setVersion(launchValue("ProjectVersion"));
    setType(launchValue("ProjectType"));
    readAction(launchValue("ActionID").value_or(""));
    readScanSettings(launchValue("ScanSetting"));
    const std::string icon = launchValue("Icon").value_or("");
    setIconFilePath(isFile(icon) ? icon
                                 : TrFilePathUtility::sharedFilePathUtility()->customProjectIconPath());
    setFeatureKillBits(launchValue("FeatureKillBits"));
}

void TrProjectInformation::readTexts() {
    const std::string folder = deletingPathExtension(*projectFilePath_);
    const std::string texts =
        TrFilePathUtility::sharedFilePathUtility()->stringDefaultPathWithEventFolder(folder);
    setProjectName(PxDefParser::sharedDefParser()->valueWithFilePath(texts, "Caption"));
    setDescription(PxDefParser::sharedDefParser()->valueWithFilePath(texts, "Description"));
}

void TrProjectInformation::readAction(const std::string& actionID) {
    if (actionID == TrActionInformation::userApplicationID) {
        readUserApplicationAction();
    } else if (!actionID.empty()) {
        const auto path = PI_AdiPathWithActionID(actionID);
        setActionInformation(path ? TrActionInformation::initWithPath(*path) : nullptr);
    }
}

void TrProjectInformation::readUserApplicationAction() {
    const auto value = [this](const char* key) {
        return PxIniParser::sharedParser()->valueWithFilePath(*projectFilePath_, userApplicationSection, key);
    };
    const auto action = TrActionInformation::initWithActionID(TrActionInformation::userApplicationID);
    action->setActionFilePath(value("Path"));
    action->setApplicationPath(value("AppPath"));
    action->setMaker(value("Maker"));
    action->setOption(TrActionInformation::optionOfType(value("Option").value_or("")));
    action->setProjectApplicationName(value("ProjectAppName"));
    setActionInformation(action);
}

std::optional<std::string> TrProjectInformation::PI_AdiPathWithActionID(const std::string& actionID) {
    for (const std::string& path : pathsWithExtension(paths::actionFolder(), "adi")) {
        if (PxIniParser::sharedParser()->valueWithFilePath(path, launchSection, "ID") == actionID) {
            return path;
        }
    }
    return std::nullopt;
}

/// A file that is there but is not a dictionary gives the defaults, too, and stays the project's: writing the
/// settings keeps it aside.
void TrProjectInformation::readScanSettings(const std::optional<std::string>& storedPath) {
    const std::string path = storedPath ? *storedPath : formerScanSettingsPath().value_or("");
    const bool isThere = isFile(path);
    const std::optional<Dictionary> settings = isThere ? dictionaryWithContentsOfFile(path) : std::nullopt;
    setScanSettingsPath(isThere ? std::optional(path) : std::nullopt);
    if (!settings) {
        PI_SetDefaultScanSettings();
        return;
    }
    setScanSettings(*settings);
    setPdfSettingFolderAtScanSettings(deletingLastPathComponent(path));
    PI_CheckFolderPath();
}

/// Where an earlier version put the settings of a user's project: beside the project file, not in its folder.
std::optional<std::string> TrProjectInformation::formerScanSettingsPath() const {
    const std::int32_t number = projectNumber();
    if (!isUserProject(number) || number == anyUserProject) {
        return std::nullopt;
    }
    const std::string caption = platform::replacingOccurrences(projectName_.value_or(""), "/", ":");
    return deletingPathExtension(*projectFilePath_) + caption +
           TrFilePathUtility::sharedFilePathUtility()->scanSettingsFileName();
}

void TrProjectInformation::PI_CheckFolderPath() {
    const std::string folder = folderPathFromScanSettings().value_or("");
    const std::size_t mark = folder.find('%');
    if (mark == std::string::npos) {
        return;
    }
    const std::string text = folder.substr(mark + 1);
    if (!text.starts_with("Temp")) {
        setFolderPathAtScanSettings(platform::expandingTildeInPath(appendingPathComponent("~/", text)));
        return;
    }
    const std::string temporary = TrFilePathUtility::sharedFilePathUtility()->tempFolderPath();
    const std::string path = appendingPathComponent(temporary, lastPathComponent(text));
    createMissingFolder(path);
    setFolderPathAtScanSettings(path);
}

// Writing.

void TrProjectInformation::writeProjectInformation() const {
    if (projectFilePath_) {
        PI_WriteProjectFile();
        const std::string folder = deletingPathExtension(*projectFilePath_);
        exCreateDirectoryAtPath(folder, false, attributesOfMadeFolder());
        PI_WriteStringDefFile(folder);
    }
    if (scanSettingsFilePath_) {
        PI_WriteScanSettingsFile();
    }
}

void TrProjectInformation::PI_WriteProjectFile() const {
    const auto actionID = actionInformation_ ? actionInformation_->actionID() : std::nullopt;
    std::string text = "[" + std::string(launchSection) + "]\r";
    text += sectionLine("ProjectID", projectID_);
    text += sectionLine("Show", isShow_ ? shownFlag : "0x0000");
    text += sectionLine("ProjectVersion", version_);
    text += sectionLine("ProjectType", type_);
    text += sectionLine("ActionID", actionID);
    text += sectionLine("ScanSetting", scanSettingsFilePath_);
    text += sectionLine("Icon", iconFilePath_);
    text += sectionLine("FeatureKillBits", featureKillBits_);
    if (actionID == TrActionInformation::userApplicationID) {
        text += userApplicationText(*actionInformation_);
    }
    writeTextFile(text, *projectFilePath_);
}

void TrProjectInformation::PI_WriteStringDefFile(const std::string& folder) const {
    writeTextFile(line("Caption", projectName_) + line("Description", description_),
                  appendingPathComponent(folder, "String.def"));
}

void TrProjectInformation::PI_WriteScanSettingsFile() const {
    createMissingFolder(deletingLastPathComponent(*scanSettingsFilePath_));
    writePropertyList(scanSettings_, *scanSettingsFilePath_, false);
}

} // namespace trigora
