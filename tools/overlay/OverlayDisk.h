#pragma once

#include "platform/Platform.h"
#include "platform/linux/formats/LinuxFormats.h"
#include "tools/overlay/OverlayFiles.h"

namespace trigora::tools {

/// Says where the documents folder would be instead of making it.
class FoldersAsTheyAre final : public platform::Folders {
public:
    explicit FoldersAsTheyAre(platform::Folders& folders) : folders_(folders) {}

    std::string home() override { return folders_.home(); }
    std::optional<std::string> documents() override { return folders_.documentsPath(); }
    std::string documentsPath() override { return folders_.documentsPath(); }
    std::optional<std::string> applications() override { return folders_.applications(); }

private:
    platform::Folders& folders_;
};

/// Everything of a platform that reads or writes the disk, over `OverlayFiles`: nothing on the disk changes.
struct OverlayDisk {
    explicit OverlayDisk(platform::Platform& real)
        : files(real.fileSystem, real.fileContents, real.fileMetadata), propertyLists(files), images(files),
          folders(real.folders) {}

    OverlayFiles files;
    platform::LinuxPropertyLists propertyLists;
    platform::PngImages images;
    FoldersAsTheyAre folders;
};

} // namespace trigora::tools
