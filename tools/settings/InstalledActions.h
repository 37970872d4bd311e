#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace trigora {
class TrActionInformation;
}

namespace trigora::tools {

struct InstalledAction {
    std::string path; ///< of the action file
    std::shared_ptr<TrActionInformation> action;
    std::string namedApplication; ///< as the file names it, whether or not it is there
};

/// In the order of their files.
std::vector<InstalledAction> installedActions();

/// The installed action with that ID, with its application. Throws a `SettingsError` that lists near matches
/// when there is none, and when its application is missing.
std::shared_ptr<TrActionInformation> requireAction(const std::string& actionID);
/// Whether the path is that of a file with something in it that may be executed.
bool isExecutable(const std::string& path);
/// Why the application at the path would not start; none when it would, as far as its files tell: it is a
/// bundle with an executable, an executable file, a desktop entry, or a script.
std::optional<std::string> applicationProblem(const std::string& path);
/// An action that opens an application of the user's choice. Throws a `SettingsError` when there is none that
/// would start at the path, or when project files cannot hold the path.
std::shared_ptr<TrActionInformation> actionOfApplication(const std::string& path);

} // namespace trigora::tools
