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
    /// Without extension, as a document's title.
    std::string title() const;
};

/// A file that nobody sees in its folder until it is whole; `publish` gives it the first free name there. It
/// is written in one of two ways:
///
/// - without any name, in its folder: dropped without being published, or with the program killed, nothing of
///   it stays;
/// - under a name in a work folder that nobody watches, where the folder's file system knows no files without
///   names, or where what has been written is to survive the program. Dropped without being published, it
///   goes, too, unless it is told to stay.
class DocumentFile {
public:
    // Where one of these fails, errno tells why.

    /// For an existing folder on the disk that can be written; none when no file can be made.
    static std::optional<DocumentFile> create(const std::string& folder, const std::string& workFolder,
                                              bool survives);
    /// One that an earlier program has left in the work folder.
    static std::optional<DocumentFile> reopen(const std::string& workPath);

    DocumentFile(DocumentFile&& other) noexcept;
    DocumentFile& operator=(DocumentFile&& other) = delete;
    DocumentFile(const DocumentFile&) = delete;
    DocumentFile& operator=(const DocumentFile&) = delete;
    ~DocumentFile();

    /// Open for reading and writing; stays the file's own.
    int descriptor() const { return descriptor_; }
    /// Where it lies in the work folder; empty for a file without a name.
    const std::string& workPath() const { return workPath_; }
    bool write(const std::uint8_t* bytes, std::size_t count) const;
    /// Whether the disk of the file and that of the folder have so many bytes left, as far as they tell.
    bool hasRoomFor(const std::string& folder, double bytes) const;
    /// Sets so many bytes behind the end aside, so that writing them does not fail on a full disk. True also
    /// where the file system cannot.
    bool reserve(std::uint64_t bytes) const;
    /// Back to an earlier length, from where writing goes on.
    bool cut(std::uint64_t length) const;
    /// Gives the file its name in an existing folder for good, counting the number up past names that are
    /// taken; no existing file is ever replaced. False when it could not be written out or no name is free.
    bool publish(const std::string& folder, NumberedName& name);
    /// Leaves an unpublished file in the work folder.
    void stay() { workPath_.clear(); }

private:
    DocumentFile(int descriptor, std::string workPath)
        : descriptor_(descriptor), workPath_(std::move(workPath)) {}

    /// 0, or the error number.
    int giveName(const std::string& path) const;
    bool copyInto(const std::string& folder, NumberedName& name) const;

    int descriptor_;
    std::string workPath_;
};

} // namespace trigora::companions
