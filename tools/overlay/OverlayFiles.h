#pragma once

#include "platform/FileSystem.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace trigora::tools {

/// Real files whose changes stay in memory: reads return what is on the disk, and what has been written,
/// copied, moved or removed here instead of it. Nothing on the disk is ever changed. Links and other
/// attributes than size and kind are not kept for what is made here. One thread only.
class OverlayFiles final : public platform::FileSystem,
                           public platform::FileContents,
                           public platform::FileMetadata {
public:
    OverlayFiles(platform::FileSystem& fileSystem, platform::FileContents& contents,
                 platform::FileMetadata& metadata)
        : realFiles_(fileSystem), realContents_(contents), realMetadata_(metadata) {}

    /// Whatever was made here, in ascending order.
    std::vector<std::string> madePaths() const;

    bool exists(const std::string& path) override;
    bool isDirectory(const std::string& path) override;
    std::optional<std::vector<std::string>> contentsOfDirectory(const std::string& path) override;
    bool createDirectory(const std::string& path, bool withIntermediateDirectories,
                         const std::optional<platform::FileAttributes>& attributes) override;
    bool copyItem(const std::string& path, const std::string& destination) override;
    bool moveItem(const std::string& path, const std::string& destination) override;
    bool removeItem(const std::string& path) override;

    std::optional<Data> read(const std::string& path, std::size_t mostBytes) override;
    bool write(const std::string& path, const Data& data, bool atomically) override;
    bool append(const std::string& path, std::string_view text,
                const std::optional<platform::FileAttributes>& ofNewFile) override;

    std::optional<platform::FileAttributes> attributes(const std::string& path, bool traverseLink) override;
    bool setAttributes(const std::string& path, const platform::FileAttributes& attributes) override;
    std::optional<platform::FileSystemAttributes> fileSystemAttributes(const std::string& path) override;
    std::optional<std::string> destinationOfSymbolicLink(const std::string& path) override;
    bool createSymbolicLink(const std::string& path, const std::string& destination) override;
    bool linkItem(const std::string& path, const std::string& destination) override;

private:
    struct MadeItem {
        bool isDirectory = false;
        Data data;
    };

    /// Null when nothing was made at the path.
    const MadeItem* made(const std::string& path) const;
    /// Whether what is on the disk there has been removed, itself or with a folder above it.
    bool isRemoved(const std::string& path) const;
    bool canTakeItem(const std::string& path);
    bool copyTree(const std::string& path, const std::string& destination, int depth);

    platform::FileSystem& realFiles_;
    platform::FileContents& realContents_;
    platform::FileMetadata& realMetadata_;
    std::map<std::string, MadeItem> made_;
    std::set<std::string> removed_;
};

} // namespace trigora::tools
