#pragma once

#include "platform/linux/loop/SystemdPointers.h"

#include <mutex>
#include <string>

namespace trigora::platform {

/// The desktop's file manager (org.freedesktop.FileManager1), over a bus connection of its own. Any thread.
class FileManager {
public:
    /// Has it show an item in its folder and waits for nothing; the path lies on the disk and is absolute.
    /// False when the desktop has no file manager that can.
    bool show(const std::string& path);

private:
    bool isThere();

    std::mutex mutex_;
    /// Stays open: what is sent to a program that the bus has yet to start is dropped with its sender.
    /// Guarded by mutex_.
    BusPointer bus_;
};

} // namespace trigora::platform
