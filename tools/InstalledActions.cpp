#include "tools/InstalledActions.h"

#include "catalogue/TrActionInformation.h"
#include "catalogue/TrActionManager.h"
#include "files/FileManagerExtension.h"
#include "files/InstalledPaths.h"
#include "files/PxIniParser.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "tools/Command.h"
#include "tools/NearMatches.h"
#include "tools/Report.h"

#include <algorithm>

namespace trigora::tools {

namespace {

constexpr const char* userApplicationAction = "900";
constexpr const char* passFilesOption = "0x0001";

std::string idAndName(TrActionInformation& action) {
    return textOrDash(action.actionID()) + " (" + printable(textOrDash(action.projectApplicationName())) +
           ")";
}

} // namespace

std::vector<InstalledAction> installedActions() {
    // The manager keeps every action file, in the order of their names.
    const auto manager = TrActionManager::sharedActionManager();
    const auto actions = manager->predefinedActionList().value_or(TrActionManager::ActionList());
    std::vector<InstalledAction> installed;
    const std::string folder = paths::actionFolder();
    for (const std::string& name : exDirectoryContentsAtPath(folder).value_or(std::vector<std::string>())) {
        if (platform::pathExtension(name) == "adi" && installed.size() < actions.size()) {
            const std::string path = platform::appendingPathComponent(folder, name);
            const auto application =
                PxIniParser::sharedParser()->valueWithFilePath(path, "Launch_MacX", "AppPath");
            installed.push_back({path, actions[installed.size()], application.value_or("")});
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
                throw Failure(notFound,
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
    throw Failure(notFound, "there is no action " + printable(actionID) + listOfMatches(near, all));
}

std::shared_ptr<TrActionInformation> actionOfApplication(const std::string& path) {
    const std::string application = platform::expandingTildeInPath(path);
    if (!application.starts_with('/')) {
        throw Failure(wrongUsage, "the application needs its whole path, not " + printable(path));
    }
    if (!platform::isValidUtf8(application) || application != printable(application) ||
        application.find_first_of("[]=") != std::string::npos) {
        throw Failure(wrongUsage, "a project cannot hold the path " + printable(application) +
                                      ": it has \"[\", \"]\", \"=\" or control characters");
    }
    if (!platform::current().fileSystem.exists(application)) {
        throw Failure(notFound, "there is no application " + application);
    }
    auto action = TrActionInformation::initWithActionID(userApplicationAction);
    action->setApplicationPath(application);
    action->setOption(passFilesOption);
    return action;
}

} // namespace trigora::tools
