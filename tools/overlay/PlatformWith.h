#pragma once

#include "platform/AppleEvents.h"
#include "platform/Bundles.h"
#include "platform/Clock.h"
#include "platform/Desktop.h"
#include "platform/DistributedNotifications.h"
#include "platform/FileSystem.h"
#include "platform/Formats.h"
#include "platform/LowMemory.h"
#include "platform/Platform.h"
#include "platform/Processes.h"
#include "platform/RunLoop.h"
#include "platform/Workspace.h"

#include <type_traits>

namespace trigora::tools {

/// The first of the replacements that is an Interface, else the former one.
template <typename Interface> Interface& chosen(Interface& former) { return former; }
template <typename Interface, typename Replacement, typename... Others>
Interface& chosen(Interface& former, Replacement& replacement, Others&... others) {
    if constexpr (std::is_convertible_v<Replacement*, Interface*>) {
        return replacement;
    } else {
        return chosen(former, others...);
    }
}

/// The platform with other members: each replacement takes the place of every interface that it implements.
/// The replacements must outlive the result.
template <typename... Replacements>
platform::Platform platformWith(platform::Platform& former, Replacements&... replacements) {
    return {.runLoop = chosen(former.runLoop, replacements...),
            .clock = chosen(former.clock, replacements...),
            .notifications = chosen(former.notifications, replacements...),
            .appleEvents = chosen(former.appleEvents, replacements...),
            .processes = chosen(former.processes, replacements...),
            .workspace = chosen(former.workspace, replacements...),
            .bundles = chosen(former.bundles, replacements...),
            .fileSystem = chosen(former.fileSystem, replacements...),
            .fileContents = chosen(former.fileContents, replacements...),
            .fileMetadata = chosen(former.fileMetadata, replacements...),
            .folders = chosen(former.folders, replacements...),
            .textEncodings = chosen(former.textEncodings, replacements...),
            .propertyLists = chosen(former.propertyLists, replacements...),
            .json = chosen(former.json, replacements...),
            .messageDigest = chosen(former.messageDigest, replacements...),
            .images = chosen(former.images, replacements...),
            .userDefaults = chosen(former.userDefaults, replacements...),
            .systemInformation = chosen(former.systemInformation, replacements...),
            .alertPanel = chosen(former.alertPanel, replacements...),
            .stringTable = chosen(former.stringTable, replacements...),
            .console = chosen(former.console, replacements...),
            .idConverter = chosen(former.idConverter, replacements...),
            .lowMemory = chosen(former.lowMemory, replacements...),
            .sharedInstances = chosen(former.sharedInstances, replacements...)};
}

} // namespace trigora::tools
