#include "tools/settings/InstalledActions.h"

#include "catalogue/actions/TrActionInformation.h"
#include "files/FileManagerExtension.h"
#include "files/InstalledPaths.h"
#include "files/PxIniParser.h"
#include "platform/Bundles.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "tools/settings/SettingsError.h"
#include "tools/words/NearMatches.h"
#include "tools/words/Wording.h"

#include <algorithm>

namespace trigora::tools {

namespace {

constexpr const char* passFilesOption = "0x0001";

std::string idAndName(TrActionInformation& action) {
    return textOrDash(action.actionID()) + " (" + printable(textOrDash(action.projectApplicationName())) +
           ")";
}

} // namespace

std::vector<InstalledAction> installedActions() {
    std::vector<InstalledAction> installed;
    const std::string folder = paths::actionFolder();
    for (const std::string& name : exDirectoryContentsAtPath(folder).value_or(std::vector<std::string>())) {
        if (platform::pathExtension(name) == "adi") {
            const std::string path = platform::appendingPathComponent(folder, name);
            const auto application =
                PxIniParser::sharedParser()->valueWithFilePath(path, "Launch_MacX", "AppPath");
            installed.push_back({path, TrActionInformation::initWithPath(path), application.value_or("")});
        }
    }
    return installed;
}

std::shared_ptr<TrActionInformation> requireAction(const std::string& actionID) {
    std::vector<std::string> near;
    std::vector<std::string> all;
    for (const InstalledAction& installed : installedActions()) {
        TrActionInformation& action = *installed.action;
        if (action.actionID() == actionID) {
            if (!action.isRunableAction()) {
                throw SettingsError(
                    SettingsError::Code::notFound,
                    "the application of action " + idAndName(action) + " is missing: " +
                        textOrDash(action.applicationPath().value_or(installed.namedApplication)));
            }
            return action.copyActionInformation();
        }
        all.push_back(idAndName(action));
        const std::string name = action.projectApplicationName().value_or("");
        if (!nearMatches(actionID, {action.actionID().value_or(""), name}).empty()) {
            near.push_back(idAndName(action));
        }
    }
    throw SettingsError(SettingsError::Code::notFound,
                        "there is no action " + printable(actionID) + listOfMatches(near, all));
}

std::optional<std::string> applicationProblem(const std::string& path) {
    platform::Platform& platform = platform::current();
    if (!platform.fileSystem.exists(path)) {
        return "there is nothing at this path";
    }
    if (platform.fileSystem.isDirectory(path)) {
        const auto bundle = platform.bundles.create(path);
        const auto executable = bundle ? bundle->executablePath() : std::nullopt;
        if (!executable) {
            return "the folder is no application: no Contents/Info.plist in it names an executable that is "
                   "there";
        }
        return isExecutable(*executable)
                   ? std::nullopt
                   : std::optional("its executable " + *executable + " is empty or may not be executed");
    }
    const std::string extension = platform::pathExtension(path);
    if (isExecutable(path) || extension == "desktop" || extension == "scpt") {
        return std::nullopt;
    }
    return "the file may not be executed, and it is neither a desktop entry nor a script";
}

bool isExecutable(const std::string& path) {
    constexpr std::uint32_t mayBeExecuted = 0111;
    platform::Platform& platform = platform::current();
    const auto attributes = platform.fileMetadata.attributes(path, true);
    return attributes && !attributes->isDirectory && attributes->size > 0 &&
           (attributes->posixPermissions.value_or(0) & mayBeExecuted) != 0;
}

std::shared_ptr<TrActionInformation> actionOfApplication(const std::string& path) {
    const std::string application = platform::expandingTildeInPath(path);
    if (!application.starts_with('/')) {
        throw SettingsError(SettingsError::Code::invalid,
                            "the application needs its whole path, not " + printable(path));
    }
    if (!platform::isValidUtf8(application) || application != printable(application) ||
        application.find_first_of("[]=") != std::string::npos) {
        throw SettingsError(SettingsError::Code::invalid,
                            "a project cannot hold the path " + printable(application) +
                                R"(: it has "[", "]", "=" or control characters)");
    }
    if (const auto problem = applicationProblem(application)) {
        throw SettingsError(SettingsError::Code::notFound,
                            "there is no application " + application + ": " + *problem);
    }
    auto action = TrActionInformation::initWithActionID(TrActionInformation::userApplicationID);
    action->setApplicationPath(application);
    action->setOption(passFilesOption);
    return action;
}

} // namespace trigora::tools
