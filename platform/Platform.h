#pragma once

#include "platform/SharedInstances.h"

namespace trigora::platform {

class AlertPanel;
class AppleEvents;
class Bundles;
class Clock;
class Console;
class DistributedNotifications;
class FileContents;
class FileMetadata;
class FileSystem;
class Folders;
class IDConverter;
class Images;
class Json;
class LowMemory;
class MessageDigest;
class Processes;
class PropertyLists;
class RunLoop;
class StringTable;
class SystemInformation;
class TextEncodings;
class UserDefaults;
class Workspace;

/// Everything that the system needs from what it runs on. The program builds one set at its start and
/// installs it for its whole life; each test builds its own.
struct Platform {
    RunLoop& runLoop;
    Clock& clock;
    DistributedNotifications& notifications;
    AppleEvents& appleEvents;
    Processes& processes;
    Workspace& workspace;
    Bundles& bundles;
    FileSystem& fileSystem;
    FileContents& fileContents;
    FileMetadata& fileMetadata;
    Folders& folders;
    TextEncodings& textEncodings;
    PropertyLists& propertyLists;
    Json& json;
    MessageDigest& messageDigest;
    Images& images;
    UserDefaults& userDefaults;
    SystemInformation& systemInformation;
    AlertPanel& alertPanel;
    StringTable& stringTable;
    Console& console;
    IDConverter& idConverter;
    LowMemory& lowMemory;
    SharedInstances& sharedInstances;
};

/// The platform in use. Calling it before `install` ends the program. Any thread.
Platform& current();

/// Puts a platform in use, or none (null). The caller keeps it alive while it is in use, and has no other
/// thread running inside the system while it changes it.
void install(Platform* platform);

/// The process-wide instance of T: made on first use, the same ever after until it is released. Any
/// thread; only one is ever made.
template <typename T> std::shared_ptr<T> shared() { return current().sharedInstances.get<T>(); }

/// Drops the instance; whoever still holds it keeps it alive. The next use makes a new one.
template <typename T> void releaseShared() { current().sharedInstances.release<T>(); }

} // namespace trigora::platform
