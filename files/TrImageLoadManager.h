#pragma once

#include "platform/Formats.h"
#include "platform/Platform.h"

#include <map>
#include <memory>
#include <string>

namespace trigora {

/// Loads pictures once and keeps them for the life of the process, whatever becomes of their files. Main
/// thread only.
class TrImageLoadManager {
public:
    static std::shared_ptr<TrImageLoadManager> sharedImageLoadManager() {
        return platform::shared<TrImageLoadManager>();
    }

    /// Null when there is no such file or it is not a picture; the next call then tries again.
    std::shared_ptr<const platform::Image> imageWithFilePath(const std::string& path);

private:
    std::map<std::string, std::shared_ptr<const platform::Image>> images_; ///< by path
};

} // namespace trigora
