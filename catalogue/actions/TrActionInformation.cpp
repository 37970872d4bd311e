#include "catalogue/actions/TrActionInformation.h"

#include "files/FileManagerExtension.h"
#include "files/InstalledPaths.h"
#include "files/PxDefParser.h"
#include "files/PxIniParser.h"
#include "files/TrFilePathUtility.h"
#include "platform/FileSystem.h"
#include "platform/Text.h"

namespace trigora {

namespace {

std::optional<std::string> resolvedApplicationPath(const std::string& path) {
    if (path == paths::formerScanApplication()) {
        return itemExistsAtPath(paths::scanApplication()) ? paths::scanApplication() : path;
    }
    if (path.empty() || itemExistsAtPath(path)) {
        return path.empty() ? std::nullopt : std::optional(path);
    }
    std::string application = platform::appendingPathExtension(platform::deletingPathExtension(path), "app");
    return itemExistsAtPath(application) ? std::optional(std::move(application)) : std::nullopt;
}

} // namespace

std::shared_ptr<TrActionInformation> TrActionInformation::initWithPath(const std::string& path) {
    auto action = std::make_shared<TrActionInformation>();
    action->AI_ReadActionFile(path);
    return action;
}

std::shared_ptr<TrActionInformation>
TrActionInformation::initWithActionID(const std::optional<std::string>& actionID) {
    auto action = std::make_shared<TrActionInformation>();
    action->setActionID(actionID);
    return action;
}

std::string TrActionInformation::optionOfType(const std::string& optionType) {
    constexpr std::size_t decidingPosition = 5;
    if (optionType.size() <= decidingPosition) {
        return "unknown";
    }
    switch (optionType[decidingPosition]) {
    case '1':
        return "0x0001";
    case '2':
        return "0x0002";
    default:
        return "unknown";
    }
}

void TrActionInformation::AI_ReadActionFile(const std::string& path) {
    const auto iniParser = PxIniParser::sharedParser();
    string_ActionID = iniParser->valueWithFilePath(path, "Launch", "ID");
    string_Version = iniParser->valueWithFilePath(path, "Launch", "Version");
    if (const auto optionType = iniParser->valueWithFilePath(path, "Launch", "OptionType")) {
        string_Option = optionOfType(*optionType);
    }
    setApplicationPath(iniParser->valueWithFilePath(path, "Launch_MacX", "AppPath"));
    string_Signature = iniParser->valueWithFilePath(path, "Launch_MacX", "Signature");

    const std::string stringPath =
        TrFilePathUtility::sharedFilePathUtility()->stringDefaultPathWithEventFolder(
            platform::deletingPathExtension(path));
    string_ProjectApplicationName = PxDefParser::sharedDefParser()->valueWithFilePath(stringPath, "Caption");
    string_Description = PxDefParser::sharedDefParser()->valueWithFilePath(stringPath, "Description");
}

std::shared_ptr<TrActionInformation> TrActionInformation::copyActionInformation() const {
    auto copy = std::make_shared<TrActionInformation>();
    copy->string_ActionFilePath = string_ActionFilePath;
    copy->string_ActionID = string_ActionID;
    copy->string_Description = string_Description;
    copy->string_Option = string_Option;
    copy->dictionary_OptionData = dictionary_OptionData;
    copy->string_Version = string_Version;
    copy->setApplicationPath(string_ApplicationPath);
    copy->string_Maker = string_Maker;
    copy->string_ProjectApplicationName = string_ProjectApplicationName;
    copy->string_Signature = string_Signature;
    return copy;
}

void TrActionInformation::setApplicationPath(const std::optional<std::string>& path) {
    string_ApplicationPath = path ? resolvedApplicationPath(*path) : std::nullopt;
}

const std::optional<std::string>& TrActionInformation::projectApplicationName() {
    if (!string_ProjectApplicationName && string_ApplicationPath) {
        string_ProjectApplicationName = platform::displayNameAtPath(*string_ApplicationPath);
    }
    return string_ProjectApplicationName;
}

bool TrActionInformation::isRunableAction() const {
    return string_ApplicationPath && itemExistsAtPath(*string_ApplicationPath);
}

} // namespace trigora
