#pragma once

#include "platform/linux/files/FileDescriptor.h"

#include <string>

struct stat;

namespace trigora::platform {

/// What a link at the end of a path means.
enum class LastLink { isTheItem, isFollowed };

/// An item by its folder, which is held open, and its name there. Nobody can exchange the way to it between
/// two calls, and no link on the way is followed that another user may have put there: one that belongs
/// neither to this user nor to root and lies in a folder that others can write to. What makes, changes or
/// removes items reaches them like this. Movable; the descriptors are its own.
class ItemPlace {
public:
    /// Of a path on this disk. The item itself need not exist. False as a condition when its folder cannot
    /// be entered, or only through such a link.
    static ItemPlace of(const std::string& path, LastLink lastLink);

    explicit operator bool() const { return static_cast<bool>(folder_); }
    /// For the calls of the operating system that take a folder and a name; -1 for no place.
    int folder() const { return folder_.get(); }
    /// Never empty; "." for a folder that is reached by no name of its own, such as "/" and "..".
    const std::string& name() const { return name_; }

    /// Whether the item exists. Never about what a link leads to, for this is the place of the link itself.
    bool readStatus(struct stat& status) const;
    bool isTaken() const;
    /// Opens the item itself; none for a link. Needs no permission for the item with O_PATH.
    FileDescriptor open(int flags) const;
    /// A path to the item that stays right as long as this lives, for calls that take nothing else.
    std::string path() const;

private:
    ItemPlace(FileDescriptor folder, std::string name) : folder_(std::move(folder)), name_(std::move(name)) {}

    FileDescriptor folder_;
    std::string name_;
};

/// A path that names what the descriptor has open.
std::string pathOfDescriptor(const FileDescriptor& file);

} // namespace trigora::platform
