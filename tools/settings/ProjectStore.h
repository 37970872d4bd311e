#pragma once

#include "projects/manager/TrProjectManager.h"

#include <memory>
#include <string>
#include <vector>

namespace trigora::tools {

/// The user's own projects of one list, and their files: those of a scanner driver, or those for watched
/// folders. Every change is read back from the disk, handed to the project manager, which tells the other
/// programs, and throws a `SettingsError` when it did not come to pass.
class ProjectStore {
public:
    static ProjectStore ofDriver(std::shared_ptr<TrScannerDriverInformation> driver) {
        return {std::move(driver), false};
    }
    static ProjectStore ofFolders() { return {nullptr, true}; }

    bool isOfFolders() const { return isOfFolders_; }
    std::string folder() const;
    const ProjectList& list() const;

    /// A free ID from 701 to 799 that no event is bound to. Throws a `SettingsError` when there is none, or
    /// when a damaged settings file does not tell what is bound.
    std::string freeID() const;
    /// Throws a `SettingsError` for a name that project files cannot hold or that is in use.
    void requireFreeName(const std::string& name) const;
    /// Gives the project a name, an ID and the files that go with the name.
    void placeProject(TrProjectInformation& project, const std::string& name, const std::string& id) const;

    /// Writes a new project and takes it into the list. On failure nothing of it is left.
    void add(const std::shared_ptr<TrProjectInformation>& project);
    /// Writes all files of a project in the list. On failure they are again what they were; so it is with the
    /// scan settings alone.
    void write(const std::shared_ptr<TrProjectInformation>& project);
    /// Writes only the scan settings, so that what else the project's file says stays as it is.
    void writeScanSettings(const std::shared_ptr<TrProjectInformation>& project);
    /// Takes the project out of the list and removes its files. Throws a `SettingsError`, with nothing
    /// changed, for a file whose name makes its folder another's.
    void remove(const std::shared_ptr<TrProjectInformation>& project);

    /// What is bound to a project of this list, e.g. "event 100 of model 0F01" or "watched folder 1".
    std::vector<std::string> usersOf(const std::string& projectID) const;
    /// The files that tell what is bound to projects of this list and cannot be read.
    std::vector<std::string> damagedUserFiles() const;
    /// Names in the project's folder that do not belong to a project.
    static std::vector<std::string> foreignFilesOf(const TrProjectInformation& project);

private:
    ProjectStore(std::shared_ptr<TrScannerDriverInformation> driver, bool isOfFolders)
        : driver_(std::move(driver)), isOfFolders_(isOfFolders) {}

    void handOver(const ProjectList& list);
    /// Whether the bindings of the model (none: those without a model) name projects of this list.
    bool isListOfModel(const std::optional<std::string>& model) const;

    std::shared_ptr<TrScannerDriverInformation> driver_;
    bool isOfFolders_;
};

} // namespace trigora::tools
