#pragma once

#include <string>
#include <string_view>

namespace trigora::platform {

/// Where the installed tree lies on this disk. Installed paths ("/Applications", "/Library",
/// "/Users/Shared" and what is below them, and "/usr/bin/osascript") are relocated below the root at the
/// moment the disk is touched; every other path stands as it is.
class InstallationRoot {
public:
    /// An absolute folder; "/" relocates nothing.
    explicit InstallationRoot(std::string_view root);

    const std::string& path() const { return root_; }
    /// The path to hand to the operating system; one that already lies below the root stands as it is.
    std::string onDisk(std::string_view path) const;
    /// The path as the system spells it, for one that came from the operating system.
    std::string asInstalled(std::string_view path) const;

    /// The root in the order: the given option (empty for none), TRIGORA_ROOT, the folder below which the
    /// executable lies at one of its installed places, "/".
    static InstallationRoot choose(std::string_view option);

private:
    std::string root_;
    std::string resolvedRoot_; ///< the root without links, as the operating system names it
};

} // namespace trigora::platform
