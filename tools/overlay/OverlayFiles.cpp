#include "tools/overlay/OverlayFiles.h"

#include "platform/Text.h"

namespace trigora::tools {

namespace {

/// Links may lead in circles.
constexpr int deepestCopy = 32;

std::string withoutTrailingSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

} // namespace

std::vector<std::string> OverlayFiles::madePaths() const {
    std::vector<std::string> paths;
    for (const auto& [path, item] : made_) {
        paths.push_back(path);
    }
    return paths;
}

const OverlayFiles::MadeItem* OverlayFiles::made(const std::string& path) const {
    const auto item = made_.find(withoutTrailingSlash(path));
    return item == made_.end() ? nullptr : &item->second;
}

bool OverlayFiles::isRemoved(const std::string& path) const {
    std::string current = withoutTrailingSlash(path);
    while (!removed_.contains(current)) {
        std::string parent = platform::deletingLastPathComponent(current);
        if (parent.empty() || parent == current) {
            return false;
        }
        current = std::move(parent);
    }
    return true;
}

bool OverlayFiles::exists(const std::string& path) {
    return made(path) != nullptr || (!isRemoved(path) && realFiles_.exists(path));
}

bool OverlayFiles::isDirectory(const std::string& path) {
    const MadeItem* item = made(path);
    return item != nullptr ? item->isDirectory : !isRemoved(path) && realFiles_.isDirectory(path);
}

std::optional<std::vector<std::string>> OverlayFiles::contentsOfDirectory(const std::string& path) {
    if (!isDirectory(path)) {
        return std::nullopt;
    }
    const std::string folder = withoutTrailingSlash(path);
    const auto real = isRemoved(folder) ? std::nullopt : realFiles_.contentsOfDirectory(folder);
    if (!real && made(folder) == nullptr) {
        return std::nullopt;
    }
    std::set<std::string> names;
    for (const std::string& name : real.value_or(std::vector<std::string>())) {
        if (!isRemoved(platform::appendingPathComponent(folder, name))) {
            names.insert(name);
        }
    }
    for (const auto& [itemPath, item] : made_) {
        if (platform::deletingLastPathComponent(itemPath) == folder) {
            names.insert(platform::lastPathComponent(itemPath));
        }
    }
    return std::vector<std::string>(names.begin(), names.end());
}

bool OverlayFiles::createDirectory(const std::string& path, bool withIntermediateDirectories,
                                   const std::optional<platform::FileAttributes>& attributes) {
    const std::string folder = withoutTrailingSlash(path);
    if (exists(folder)) {
        return withIntermediateDirectories && isDirectory(folder);
    }
    const std::string parent = platform::deletingLastPathComponent(folder);
    if (parent.empty() || parent == folder) {
        return false;
    }
    if (!isDirectory(parent) && !(withIntermediateDirectories && createDirectory(parent, true, attributes))) {
        return false;
    }
    made_[folder] = {true, {}};
    return true;
}

bool OverlayFiles::canTakeItem(const std::string& path) {
    return !exists(path) && isDirectory(platform::deletingLastPathComponent(withoutTrailingSlash(path)));
}

bool OverlayFiles::copyItem(const std::string& path, const std::string& destination) {
    return canTakeItem(destination) && copyTree(path, withoutTrailingSlash(destination), 0);
}

bool OverlayFiles::copyTree(const std::string& path, const std::string& destination, int depth) {
    if (!isDirectory(path)) {
        std::optional<Data> data = read(path, longestPicture);
        if (data) {
            made_[destination] = {false, std::move(*data)};
        }
        return data.has_value();
    }
    const auto names = contentsOfDirectory(path);
    if (!names || depth == deepestCopy) {
        return false;
    }
    made_[destination] = {true, {}};
    bool isComplete = true;
    for (const std::string& name : *names) {
        isComplete = copyTree(platform::appendingPathComponent(path, name),
                              platform::appendingPathComponent(destination, name), depth + 1) &&
                     isComplete;
    }
    return isComplete;
}

bool OverlayFiles::moveItem(const std::string& path, const std::string& destination) {
    return copyItem(path, destination) && removeItem(path);
}

bool OverlayFiles::removeItem(const std::string& path) {
    if (!exists(path)) {
        return false;
    }
    const std::string item = withoutTrailingSlash(path);
    std::erase_if(
        made_, [&](const auto& entry) { return entry.first == item || entry.first.starts_with(item + "/"); });
    removed_.insert(item);
    return true;
}

std::optional<Data> OverlayFiles::read(const std::string& path, std::size_t mostBytes) {
    if (const MadeItem* item = made(path)) {
        return item->isDirectory ? std::nullopt : std::optional(item->data);
    }
    return isRemoved(path) ? std::nullopt : realContents_.read(path, mostBytes);
}

bool OverlayFiles::write(const std::string& path, const Data& data, bool) {
    const bool isWritable = exists(path) ? !isDirectory(path) : canTakeItem(path);
    if (isWritable) {
        made_[withoutTrailingSlash(path)] = {false, data};
    }
    return isWritable;
}

bool OverlayFiles::append(const std::string& path, std::string_view text,
                          const std::optional<platform::FileAttributes>& ofNewFile) {
    std::optional<Data> data = read(path, longestPicture);
    if (!data && ofNewFile && !exists(path)) {
        data.emplace();
    }
    if (!data) {
        return false;
    }
    data->insert(data->end(), text.begin(), text.end());
    return write(path, *data, false);
}

std::optional<platform::FileAttributes> OverlayFiles::attributes(const std::string& path, bool traverseLink) {
    if (const MadeItem* item = made(path)) {
        platform::FileAttributes attributes;
        attributes.isDirectory = item->isDirectory;
        attributes.size = item->data.size();
        return attributes;
    }
    return isRemoved(path) ? std::nullopt : realMetadata_.attributes(path, traverseLink);
}

bool OverlayFiles::setAttributes(const std::string& path, const platform::FileAttributes&) {
    return exists(path);
}

std::optional<platform::FileSystemAttributes> OverlayFiles::fileSystemAttributes(const std::string& path) {
    return realMetadata_.fileSystemAttributes(path);
}

std::optional<std::string> OverlayFiles::destinationOfSymbolicLink(const std::string& path) {
    const bool isReal = made(path) == nullptr && !isRemoved(path);
    return isReal ? realMetadata_.destinationOfSymbolicLink(path) : std::nullopt;
}

bool OverlayFiles::createSymbolicLink(const std::string&, const std::string&) { return false; }

bool OverlayFiles::linkItem(const std::string&, const std::string&) { return false; }

} // namespace trigora::tools
