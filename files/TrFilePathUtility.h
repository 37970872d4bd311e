#pragma once

#include "files/ScannerDriverModel.h"
#include "platform/Platform.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace trigora {

/// An item that existed when the reference was made.
struct FileReference {
    std::string path; ///< empty while unset
};

/// An item as its folder and its name.
struct FileSpecification {
    std::string folder;
    std::string name;
};

/// Knows the agent's folders and files, the user's language, and how folders are made and copied. None of
/// the path operations makes the folder that it names. Main thread only, except that the paths of the network
/// scan's files and `createFolderPath` may be asked for on any thread.
class TrFilePathUtility {
public:
    static std::shared_ptr<TrFilePathUtility> sharedFilePathUtility() {
        return platform::shared<TrFilePathUtility>();
    }

    std::string defaultCustomProjectFolderPath() const;
    /// The folder above, or that of the model for a driver that keeps its projects apart and knows its
    /// model. No driver is a driver that does not.
    std::string
    customProjectPathWithScannerDriver(const std::shared_ptr<const ScannerDriverModel>& driver) const;
    std::string customFolderProjectFolderPath() const;
    /// A name without a folder.
    std::string scanSettingsFileName() const;
    std::string customProjectIconPath() const;
    std::string networkScanSettingPath() const;
    std::string oldNetworkScanSettingPath() const;
    std::string networkLogInfoPath() const;
    std::string scanToEmailTempFolderPath() const;
    std::string tempFolderPath() const;
    /// None when the system has no such folder.
    std::optional<std::string> documentsFolderPath() const;
    /// Looked up until it is found, then always the same.
    std::optional<std::string> applicationFolderPath();

    /// The file of localized texts in the folder of an event, project or action: that of the user's
    /// country, else that of the language, else "String.def", which need not exist.
    std::string stringDefaultPathWithEventFolder(const std::string& folder) const;
    /// Such as "fr"; none when the user prefers no language.
    std::optional<std::string> currentLanguage() const;
    /// Such as "fr_CA", or a language code.
    std::optional<std::string> currentCountry() const;

    /// Makes the folder and its missing ancestors, each writable for everybody but for those that are private
    /// in every home, see `makePrivateFoldersOfHome`. Failures are passed over.
    void createFolderPath(const std::string& path) const;
    /// Copies what lies in the folder, at every depth except for names that begin with ".", into another
    /// folder, which is made if need be. What exists there already stays. Failures are passed over.
    void copyFolderPath(const std::string& path, const std::string& toPath) const;

    /// Makes an empty file, writable for everybody, of the given creator; the bytes of an existing one
    /// stay. Files have no forks here, so the fork name is not used. 0 for success.
    int createFileWithFork(const std::string& path, std::uint32_t andCreator,
                           const std::string& andForkName) const;
    /// -1 when there is no such item; an empty path leaves the reference unset and counts as success.
    int fsRefFromFilePath(const std::string& path, FileReference& fsRef) const;
    /// Leaves the specification as it is and still returns 0 when there is no such item.
    int fsSpecFromPath(const std::string& path, FileSpecification& fsSpec) const;

private:
    std::optional<std::string> string_ApplicationFolderPath;
};

} // namespace trigora
