#pragma once

#include "platform/FileSystem.h"
#include "platform/linux/files/InstallationRoot.h"

namespace trigora::platform {

class LinuxFileSystem final : public FileSystem {
public:
    explicit LinuxFileSystem(const InstallationRoot& root) : root_(root) {}

    bool exists(const std::string& path) override;
    bool isDirectory(const std::string& path) override;
    std::optional<std::vector<std::string>> contentsOfDirectory(const std::string& path) override;
    bool createDirectory(const std::string& path, bool withIntermediateDirectories,
                         const std::optional<FileAttributes>& attributes) override;
    bool copyItem(const std::string& path, const std::string& destination) override;
    bool moveItem(const std::string& path, const std::string& destination) override;
    bool removeItem(const std::string& path) override;

private:
    const InstallationRoot& root_;
};

class LinuxFileContents final : public FileContents {
public:
    explicit LinuxFileContents(const InstallationRoot& root) : root_(root) {}

    std::optional<Data> read(const std::string& path, std::size_t mostBytes) override;
    bool write(const std::string& path, const Data& data, bool atomically) override;
    bool append(const std::string& path, std::string_view text,
                const std::optional<FileAttributes>& ofNewFile) override;

private:
    const InstallationRoot& root_;
};

class LinuxFileMetadata final : public FileMetadata {
public:
    explicit LinuxFileMetadata(const InstallationRoot& root) : root_(root) {}

    std::optional<FileAttributes> attributes(const std::string& path, bool traverseLink) override;
    bool setAttributes(const std::string& path, const FileAttributes& attributes) override;
    std::optional<FileSystemAttributes> fileSystemAttributes(const std::string& path) override;
    std::optional<std::string> destinationOfSymbolicLink(const std::string& path) override;
    bool createSymbolicLink(const std::string& path, const std::string& destination) override;
    bool linkItem(const std::string& path, const std::string& destination) override;

private:
    const InstallationRoot& root_;
};

/// Home is HOME; the documents folder is the one that the desktop's user directories name.
class LinuxFolders final : public Folders {
public:
    explicit LinuxFolders(const InstallationRoot& root) : root_(root) {}

    std::string home() override;
    std::optional<std::string> documents() override;
    std::string documentsPath() override;
    std::optional<std::string> applications() override;

private:
    const InstallationRoot& root_;
};

} // namespace trigora::platform
