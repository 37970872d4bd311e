#pragma once

#include "tools/settings/ProjectCatalogue.h"
#include "tools/settings/ProjectStore.h"
#include "tools/settings/ScanSettingValues.h"
#include "tools/settings/SettingsChange.h"

#include <memory>
#include <string>

namespace trigora {
class TrActionInformation;
}

namespace trigora::tools {

class SettingsSession;

/// The user's own projects of one list, those of a scanner driver or those for watched folders, and what may
/// be done with them. Changes are written, read back and posted; a `SettingsError` tells that nothing was
/// changed.
class OwnProjects {
public:
    /// A null driver stands for the list that all models without their own projects share.
    static OwnProjects ofDriver(SettingsSession& session,
                                const std::shared_ptr<TrScannerDriverInformation>& driver);
    static OwnProjects ofFolders(SettingsSession& session);

    bool isOfFolders() const { return store_.isOfFolders(); }
    const std::shared_ptr<TrScannerDriverInformation>& driver() const { return driver_; }

    /// A project with the default scan settings and these changes; a folder project has none. The action may
    /// be null. The facts tell its ID as "project".
    SettingsChange makeNew(const std::string& name, const ScanSettingChanges& changes,
                           const std::shared_ptr<TrActionInformation>& action);
    /// Another name for what a project of the list, or a predefined one that scans, says.
    SettingsChange copy(const std::string& sourceID, const std::string& name,
                        const ScanSettingChanges& changes);
    /// Changes scan settings, and the action unless it is null.
    SettingsChange change(const std::string& projectID, const ScanSettingChanges& changes,
                          const std::shared_ptr<TrActionInformation>& action);
    /// Removes a project with its files. One that something is bound to, or whose folder holds other files,
    /// only by force.
    SettingsChange remove(const std::string& projectID, bool byForce);

private:
    OwnProjects(SettingsSession& session, std::shared_ptr<TrScannerDriverInformation> driver,
                ProjectStore store, ListedProjects projects)
        : session_(session), driver_(std::move(driver)), store_(std::move(store)),
          projects_(std::move(projects)) {}

    /// The user's own project with that ID; throws a `SettingsError` for all others.
    const ListedProject& requireOwn(const std::string& projectID) const;
    SettingsChange changeOf(const std::string& sentence, const TrProjectInformation& project,
                            const std::string& projectID) const;

    SettingsSession& session_;
    std::shared_ptr<TrScannerDriverInformation> driver_;
    ProjectStore store_;
    ListedProjects projects_;
};

} // namespace trigora::tools
