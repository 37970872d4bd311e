#include "platform/linux/modules/LinuxBundles.h"

#include "platform/Text.h"
#include "platform/linux/files/DiskPath.h"

#include <algorithm>
#include <dlfcn.h>
#include <fcntl.h>

namespace trigora::platform {

namespace {

class LinuxBundle final : public Bundle {
public:
    LinuxBundle(const InstallationRoot& root, FileSystem& fileSystem,
                std::shared_ptr<LinuxBundles::Loaded> loaded, std::string path, Dictionary info)
        : root_(root), fileSystem_(fileSystem), loaded_(std::move(loaded)), path_(std::move(path)),
          info_(std::move(info)) {}

    std::string path() const override { return path_; }
    const Dictionary& infoDictionary() const override { return info_; }

    std::optional<std::string> executablePath() const override {
        const std::string name = textAt(info_, "CFBundleExecutable").value_or("");
        return existingFile("Contents/MacOS", name);
    }

    std::optional<std::string> resourcePath(const std::string& name, const std::string& type) const override {
        return existingFile("Contents/Resources", type.empty() ? name : appendingPathExtension(name, type));
    }

    bool loadExecutable() override {
        const std::lock_guard lock(mutex_);
        return load();
    }

    void unloadExecutable() override {
        const std::lock_guard lock(mutex_);
        if (module_ != nullptr) {
            ::dlclose(std::exchange(module_, nullptr));
            loaded_->remove(path_);
        }
    }

    void* functionPointer(const std::string& name) override {
        const std::lock_guard lock(mutex_);
        return load() ? ::dlsym(module_, name.c_str()) : nullptr;
    }

private:
    /// The path of a file in one of the bundle's folders; none when it is missing. The name may come from
    /// anywhere and must not lead out of the folder.
    std::optional<std::string> existingFile(std::string_view folder, const std::string& name) const {
        const std::string path = appendingPathComponent(appendingPathComponent(path_, folder), name);
        const std::vector<std::string> pieces = componentsSeparatedByString(name, "/");
        const bool leadsOut = std::find(pieces.begin(), pieces.end(), "..") != pieces.end();
        return name.empty() || leadsOut || !fileSystem_.exists(path) ? std::nullopt : std::optional(path);
    }

    bool load() {
        if (module_ != nullptr) {
            return true;
        }
        const std::string problem = open();
        if (module_ != nullptr) {
            loaded_->add(path_);
        } else {
            loaded_->addFailure(path_, problem);
        }
        return module_ != nullptr;
    }

    /// What is wrong with the executable; empty when it is open. Only a regular file is opened; a pipe in its
    /// place would block for ever.
    std::string open() {
        const std::optional<std::string> executable = executablePath();
        if (!executable) {
            return "the executable that its Info.plist names is missing";
        }
        const std::string file = diskPath(root_, *executable);
        if (!openRegularFile(file, O_RDONLY)) {
            return "its executable is not a file that can be read";
        }
        module_ = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
        const char* error = module_ == nullptr ? ::dlerror() : nullptr;
        return error == nullptr ? "" : error;
    }

    const InstallationRoot& root_;
    FileSystem& fileSystem_;
    std::shared_ptr<LinuxBundles::Loaded> loaded_;
    const std::string path_;
    const Dictionary info_;
    std::mutex mutex_;
    void* module_ = nullptr; ///< stays open when the object goes
};

} // namespace

void LinuxBundles::Loaded::add(const std::string& path) {
    const std::lock_guard lock(mutex_);
    const auto entry = std::ranges::find(entries_, path, &Entry::path);
    if (entry == entries_.end()) {
        entries_.push_back({path, 1});
    } else {
        ++entry->loadings;
    }
    std::erase_if(failures_, [&](const ModuleFailure& failure) { return failure.path == path; });
}

void LinuxBundles::Loaded::addFailure(const std::string& path, const std::string& reason) {
    const std::lock_guard lock(mutex_);
    const auto known = std::ranges::find(failures_, path, &ModuleFailure::path);
    if (known == failures_.end()) {
        failures_.push_back({path, reason});
    } else {
        known->reason = reason;
    }
}

std::vector<ModuleFailure> LinuxBundles::Loaded::failures() {
    const std::lock_guard lock(mutex_);
    return failures_;
}

void LinuxBundles::Loaded::remove(const std::string& path) {
    const std::lock_guard lock(mutex_);
    const auto entry = std::ranges::find(entries_, path, &Entry::path);
    if (entry != entries_.end() && --entry->loadings == 0) {
        entries_.erase(entry);
    }
}

std::vector<std::string> LinuxBundles::Loaded::paths() {
    const std::lock_guard lock(mutex_);
    std::vector<std::string> paths;
    paths.reserve(entries_.size());
    std::ranges::transform(entries_, std::back_inserter(paths), &Entry::path);
    return paths;
}

LinuxBundles::LinuxBundles(const InstallationRoot& root, FileSystem& fileSystem, PropertyLists& propertyLists,
                           std::string mainBundlePath)
    : root_(root), fileSystem_(fileSystem), propertyLists_(propertyLists),
      mainBundlePath_(std::move(mainBundlePath)) {}

std::shared_ptr<Bundle> LinuxBundles::create(const std::string& path) {
    if (path.empty()) { // would be read as the current folder
        return nullptr;
    }
    const std::optional<Value> info =
        propertyLists_.read(appendingPathComponent(path, "Contents/Info.plist"));
    if (!info || info->dictionary() == nullptr) {
        return nullptr;
    }
    return std::make_shared<LinuxBundle>(root_, fileSystem_, loaded_, path, *info->dictionary());
}

std::vector<std::string> LinuxBundles::loadedModules() { return loaded_->paths(); }

std::vector<ModuleFailure> LinuxBundles::failedModules() { return loaded_->failures(); }

std::shared_ptr<Bundle> LinuxBundles::mainBundle() {
    const std::lock_guard lock(mutex_);
    if (!mainBundle_) {
        mainBundle_ = create(mainBundlePath_);
    }
    return mainBundle_;
}

std::string bundleOfExecutable(const std::string& executable) {
    const std::string folder = deletingLastPathComponent(executable);
    const std::string contents = deletingLastPathComponent(folder);
    const bool isInBundle = lastPathComponent(folder) == "MacOS" && lastPathComponent(contents) == "Contents";
    return isInBundle ? deletingLastPathComponent(contents) : std::string();
}

} // namespace trigora::platform
