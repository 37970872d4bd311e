#include "platform/linux/files/FolderListing.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <dirent.h>
#include <endian.h>
#include <memory>
#include <numeric>
#include <string_view>

namespace trigora::platform {

namespace {

/// Sorts by the names' bytes. Those of a folder often begin alike, which makes comparing them slow; here the
/// eight bytes behind what all have in common decide first.
void sortNames(std::vector<std::string>& names) {
    struct Entry {
        std::uint64_t leadingBytes;
        std::string* name;
    };
    const auto lengthInCommon = [&](std::size_t length, const std::string& name) {
        const std::string& first = names.front();
        length = std::min(length, name.size());
        return static_cast<std::size_t>(
            std::mismatch(name.begin(), name.begin() + static_cast<std::ptrdiff_t>(length), first.begin())
                .first -
            name.begin());
    };
    const std::size_t common = std::accumulate(names.begin(), names.end(), std::string::npos, lengthInCommon);
    std::vector<Entry> entries;
    entries.reserve(names.size());
    for (std::string& name : names) {
        std::uint64_t bytes = 0;
        name.copy(reinterpret_cast<char*>(&bytes), sizeof bytes, common);
        entries.push_back({be64toh(bytes), &name});
    }
    std::sort(entries.begin(), entries.end(), [](const Entry& left, const Entry& right) {
        return left.leadingBytes != right.leadingBytes ? left.leadingBytes < right.leadingBytes
                                                       : *left.name < *right.name;
    });
    std::vector<std::string> sorted;
    sorted.reserve(names.size());
    for (const Entry& entry : entries) {
        sorted.push_back(std::move(*entry.name));
    }
    names = std::move(sorted);
}

struct FolderCloser {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

} // namespace

/// Watched folders with very many files are listed every few seconds: this takes half the time of the
/// standard library's iterator, which makes paths of the names.
bool visitNamesIn(const std::string& folder, const std::function<void(const char*)>& visit) {
    const std::unique_ptr<DIR, FolderCloser> opened(::opendir(folder.c_str()));
    if (!opened) {
        return false;
    }
    errno = 0;
    while (const dirent* entry = ::readdir(opened.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            visit(entry->d_name);
        }
        errno = 0;
    }
    return errno == 0;
}

std::optional<std::vector<std::string>> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    if (!visitNamesIn(folder, [&](const char* name) { names.emplace_back(name); })) {
        return std::nullopt;
    }
    sortNames(names);
    return names;
}

} // namespace trigora::platform
