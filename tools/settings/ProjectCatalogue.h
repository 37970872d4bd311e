#pragma once

#include "platform/Value.h"
#include "projects/manager/TrProjectManager.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trigora::tools {

/// A project file as commands show it.
struct ListedProject {
    enum class Origin {
        predefined, ///< installed with the system
        own,        ///< the user's, of a scanner driver
        folder,     ///< the user's, for watched folders
        noAction,   ///< the one that does nothing
    };

    Origin origin = Origin::predefined;
    std::string path;                              ///< of the project file; empty for the no-action project
    std::shared_ptr<TrProjectInformation> project; ///< null for a damaged file
    bool isAvailable = false;                      ///< whether the agent would run it
    /// Why it is not available, or what is wrong with it although it is; none when all is well.
    std::optional<std::string> problem;

    /// Empty for a damaged file.
    std::string id() const;
    /// The ID and the name, e.g. "610 (Scan to PDF)".
    std::string idAndName() const;
};
using ListedProjects = std::vector<ListedProject>;

/// The value of a key in a section of a file of sections; none where any of the three is missing.
std::optional<std::string> valueInFile(const std::string& path, const char* section, const char* key);
/// The files of a folder with that extension, in ascending order of their names.
std::vector<std::string> filesInFolder(const std::string& folder, std::string_view extension);

/// "predefined", "own", "folder" or "no action".
std::string originName(ListedProject::Origin origin);

/// All projects that the events of a driver (null: of no model) could run, in the agent's order, and behind
/// them the ones that it leaves out.
ListedProjects scanProjects(const std::shared_ptr<TrScannerDriverInformation>& driver);
/// All projects that watched folders could run.
ListedProjects folderProjects();

/// The one with that ID that the agent would run, else the first with that ID; null when there is none.
const ListedProject* findProject(const ListedProjects& projects, const std::string& projectID);
/// The same, but throws a `SettingsError` that lists near matches. A name is not an ID, but is looked for
/// among them.
const ListedProject& requireProject(const ListedProjects& projects, const std::string& projectID);

/// Why a project's action cannot run; none when it can, or when there is no action and none is needed.
std::optional<std::string> actionProblem(TrProjectInformation& project);
/// Whether writing the project's file again would lose its action, which the file names but which is not
/// there now.
bool wouldLoseAction(TrProjectInformation& project);
/// The scan settings file that the project's file names although it cannot be read; none when all is well.
std::optional<std::string> damagedScanSettings(const std::string& projectPath);

} // namespace trigora::tools
