#pragma once

#include "platform/linux/files/FileDescriptor.h"

#include <string>

namespace trigora::platform {

/// A new file or folder that nobody else has a name for, made beside the item whose place it takes when it is
/// whole; removed again unless it does. Whoever makes one holds a lock on it, which ends with the process, so
/// that the next one to make one in the folder can tell what a killed writer has left behind, and removes it.
class TemporaryItem {
public:
    enum class Kind { file, folder };

    /// In the open folder, which is to stay open meanwhile. False as a condition when it cannot be made.
    TemporaryItem(int folder, Kind kind);
    TemporaryItem(const TemporaryItem&) = delete;
    TemporaryItem& operator=(const TemporaryItem&) = delete;
    ~TemporaryItem();

    explicit operator bool() const { return static_cast<bool>(item_); }
    /// A file is open for writing.
    const FileDescriptor& descriptor() const { return item_; }

    /// Renames it to the name in the same folder, in the place of a file of that name. 0, or the error
    /// number.
    int replace(const std::string& name);
    /// Renames it to a name in the same folder that is not taken. 0, or the error number.
    int take(const std::string& name);

private:
    bool make(Kind kind);
    bool lock() const;

    int folder_;
    std::string name_;
    FileDescriptor item_;
    bool placed_ = false;
};

/// Renames without replacing anything. 0, or the error number.
int renameOnto(int fromFolder, const std::string& from, int toFolder, const std::string& to);

} // namespace trigora::platform
