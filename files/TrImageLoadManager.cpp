#include "files/TrImageLoadManager.h"

#include "platform/FileSystem.h"

namespace trigora {

std::shared_ptr<const platform::Image> TrImageLoadManager::imageWithFilePath(const std::string& path) {
    if (const auto cached = images_.find(path); cached != images_.end()) {
        return cached->second;
    }
    if (!platform::current().fileSystem.exists(path)) {
        return nullptr;
    }
    std::optional<platform::Image> image = platform::current().images.load(path);
    if (!image) {
        return nullptr;
    }
    return images_[path] = std::make_shared<const platform::Image>(std::move(*image));
}

} // namespace trigora
