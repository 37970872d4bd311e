#pragma once

#include "platform/Value.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace trigora::platform {

/// A folder with "Contents/Info.plist": an application or a loadable module. Its executable is
/// "Contents/MacOS/" followed by "CFBundleExecutable".
class Bundle {
public:
    virtual ~Bundle() = default;

    virtual std::string path() const = 0;
    virtual const Dictionary& infoDictionary() const = 0;
    virtual std::optional<std::string> executablePath() const = 0;
    /// A file of that name and extension in "Contents/Resources", if it exists.
    virtual std::optional<std::string> resourcePath(const std::string& name,
                                                    const std::string& type) const = 0;
    /// Loads the executable as a module; true when it is loaded afterwards.
    virtual bool loadExecutable() = 0;
    /// Takes the module out of memory. Without it, loaded code stays, also when its bundle objects are
    /// gone: threads of the module may still run, and its state outlives one use.
    virtual void unloadExecutable() = 0;
    /// Address of an exported function, loading the executable first if need be; null when missing.
    virtual void* functionPointer(const std::string& name) = 0;
};

/// A module that could not be loaded, and what the loader says about it.
struct ModuleFailure {
    std::string path; ///< of the bundle
    std::string reason;
};

class Bundles {
public:
    virtual ~Bundles() = default;

    /// None when the path is not a folder or has no readable "Contents/Info.plist".
    virtual std::shared_ptr<Bundle> create(const std::string& path) = 0;
    /// The bundle of the running program.
    virtual std::shared_ptr<Bundle> mainBundle() = 0;
    /// The paths of the bundles whose executables this program has in memory, in the order of their loading.
    virtual std::vector<std::string> loadedModules() = 0;
    /// The bundles whose executables this program could not load when it last tried. Any thread.
    virtual std::vector<ModuleFailure> failedModules() = 0;
};

/// The running program's bundle identifier; the executable's name when it has none.
std::string mainBundleIdentifier();

/// Looks an exported function up as the given type; null when missing.
template <typename Function> Function* functionNamed(Bundle& bundle, const std::string& name) {
    return reinterpret_cast<Function*>(bundle.functionPointer(name));
}

} // namespace trigora::platform
