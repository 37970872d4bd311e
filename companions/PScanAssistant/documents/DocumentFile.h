#pragma once

#include "platform/Value.h"

#include <cstdint>
#include <optional>
#include <string>

namespace trigora::companions {

/// The names of a scan's files: prefix, number in three digits or more, extension.
struct NumberedName {
    std::string prefix;
    std::int64_t number = 1;
    std::string extension;

    std::string text() const;
};

/// A file that nobody sees until it is whole. It has no name while it is written; `publish` gives it the
/// first free one. Dropped without being published, or with the program killed, nothing of it stays. Where
/// the file system knows no files without a name, it has a hidden one in the meantime.
class DocumentFile {
public:
    // Where one of these fails, errno tells why.

    /// In an existing folder on the disk; none when no file can be made there.
    static std::optional<DocumentFile> create(const std::string& folder);

    DocumentFile(DocumentFile&& other) noexcept;
    DocumentFile& operator=(DocumentFile&& other) = delete;
    DocumentFile(const DocumentFile&) = delete;
    DocumentFile& operator=(const DocumentFile&) = delete;
    ~DocumentFile();

    /// Open for reading and writing; stays the file's own.
    int descriptor() const { return descriptor_; }
    bool write(const std::uint8_t* bytes, std::size_t count) const;
    /// Whether the disk has so many bytes left, as far as it tells.
    bool hasRoomFor(double bytes) const;
    /// Gives the file its name for good, counting the number up past names that are taken; no existing file
    /// is ever replaced. False when it could not be written out or no name is free.
    bool publish(NumberedName& name);

private:
    DocumentFile(std::string folder, int descriptor, std::string hiddenPath)
        : folder_(std::move(folder)), descriptor_(descriptor), hiddenPath_(std::move(hiddenPath)) {}

    /// 0, or the error number.
    int giveName(const std::string& path) const;

    std::string folder_;
    int descriptor_;
    std::string hiddenPath_; ///< empty for a file without a name
};

} // namespace trigora::companions
