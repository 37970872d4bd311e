#include "files/FileManagerExtension.h"

#include "files/InstalledPaths.h"
#include "platform/Desktop.h"
#include "platform/Formats.h"
#include "platform/Platform.h"
#include "platform/Text.h"

#include <algorithm>

namespace trigora {

namespace {

platform::FileSystem& fileSystem() { return platform::current().fileSystem; }
platform::FileMetadata& metadata() { return platform::current().fileMetadata; }

/// Systems from 10.5 on make intermediate folders by themselves.
bool isNewSystem() { return platform::current().systemInformation.systemVersion() >= 0x1050; }

/// Makes the missing folders one at a time; the result is that of the last one.
bool createFolderByFolder(const std::string& path, const std::optional<FileAttributes>& attributes) {
    bool made = false;
    for (const std::string& folder : missingFoldersOfPath(path)) {
        made = fileSystem().createDirectory(folder, false, attributes);
    }
    return made;
}

} // namespace

bool itemExistsAtPath(const std::string& path) { return fileSystem().exists(path); }

std::optional<FileAttributes> exFileAttributesAtPath(const std::string& path, bool traverseLink) {
    return fileSystem().exists(path) ? metadata().attributes(path, traverseLink) : std::nullopt;
}

bool exChangeFileAttributes(const FileAttributes& attributes, const std::string& path) {
    return fileSystem().exists(path) && metadata().setAttributes(path, attributes);
}

std::optional<std::vector<std::string>> exDirectoryContentsAtPath(const std::string& path) {
    return fileSystem().isDirectory(path) ? fileSystem().contentsOfDirectory(path) : std::nullopt;
}

std::vector<std::string> pathsWithExtension(const std::string& folder, const std::string& extension) {
    std::vector<std::string> paths;
    for (const std::string& name : exDirectoryContentsAtPath(folder).value_or(std::vector<std::string>())) {
        if (platform::pathExtension(name) == extension) {
            paths.push_back(platform::appendingPathComponent(folder, name));
        }
    }
    return paths;
}

std::optional<FileSystemAttributes> exFileSystemAttributesAtPath(const std::string& path) {
    return fileSystem().exists(path) ? metadata().fileSystemAttributes(path) : std::nullopt;
}

std::optional<std::string> exPathContentOfSymbolicLinkAtPath(const std::string& path) {
    return fileSystem().exists(path) ? metadata().destinationOfSymbolicLink(path) : std::nullopt;
}

bool exCreateSymbolicLinkAtPath(const std::string& path, const std::string& pathContent) {
    return fileSystem().exists(pathContent) && metadata().createSymbolicLink(path, pathContent);
}

bool exCreateDirectoryAtPath(const std::string& path, bool withIntermediateDirectories,
                             const std::optional<FileAttributes>& attributes) {
    if (fileSystem().exists(path)) {
        return false;
    }
    if (withIntermediateDirectories) {
        makePrivateFoldersOfHome(path);
    }
    if (withIntermediateDirectories && !isNewSystem()) {
        return createFolderByFolder(path, attributes);
    }
    return fileSystem().createDirectory(path, withIntermediateDirectories, attributes);
}

bool exLinkPath(const std::string& path, const std::string& toPath) {
    return fileSystem().exists(path) && metadata().linkItem(path, toPath);
}

bool exCopyPath(const std::string& path, const std::string& toPath) {
    return fileSystem().exists(path) && fileSystem().copyItem(path, toPath);
}

bool exMovePath(const std::string& path, const std::string& toPath) {
    return fileSystem().exists(path) && fileSystem().moveItem(path, toPath);
}

bool exRemoveItemAtPath(const std::string& path) { return fileSystem().removeItem(path); }

std::optional<Dictionary> dictionaryWithContentsOfFile(const std::string& path) {
    const std::optional<Value> value = platform::current().propertyLists.read(path);
    const Dictionary* dictionary = value ? value->dictionary() : nullptr;
    return dictionary == nullptr ? std::nullopt : std::optional(*dictionary);
}

bool writePropertyList(const Dictionary& dictionary, const std::string& path, bool atomically) {
    const bool isOther = !fileSystem().exists(path) || fileSystem().isDirectory(path);
    const auto write = [&] { return platform::current().propertyLists.write(path, dictionary, atomically); };
    if (!writeKeepingAside(path, isOther || dictionaryWithContentsOfFile(path), write)) {
        return false;
    }
    exChangeFileAttributes(attributesOfWrittenFile(), path);
    return true;
}

bool writeKeepingAside(const std::string& path, bool isReadable, const std::function<bool()>& write) {
    if (isReadable) {
        return write();
    }
    const std::string keptPath = path + ".damaged";
    exRemoveItemAtPath(keptPath);
    const bool isKept = exMovePath(path, keptPath);
    const bool isWritten = isKept && write();
    if (isKept && !isWritten) {
        exMovePath(keptPath, path);
    }
    return isWritten;
}

std::vector<std::string> missingFoldersOfPath(const std::string& path) {
    std::vector<std::string> missing;
    for (std::string folder = path; !folder.empty() && !fileSystem().exists(folder);) {
        missing.push_back(folder);
        std::string parent = platform::deletingLastPathComponent(folder);
        if (parent == folder) {
            break; // the root itself, were it ever missing
        }
        folder = std::move(parent);
    }
    std::reverse(missing.begin(), missing.end());
    return missing;
}

FileAttributes attributesOfWrittenFile() { return platform::attributesSharedByAll(0666); }

FileAttributes attributesOfMadeFolder() { return platform::attributesSharedByAll(0777); }

void makePrivateFoldersOfHome(const std::string& path) {
    FileAttributes privateToUser;
    privateToUser.posixPermissions = 0700;
    const std::string preferences = paths::preferencesFolder();
    for (const std::string& folder : {platform::deletingLastPathComponent(preferences), preferences}) {
        const bool isInFolder = path == folder || path.starts_with(folder + "/");
        if (isInFolder && !fileSystem().exists(folder)) {
            fileSystem().createDirectory(folder, true, privateToUser);
        }
    }
}

} // namespace trigora
