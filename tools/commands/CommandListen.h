#pragma once

#include "platform/Value.h"
#include "tools/frame/Command.h"

#include <string>

namespace trigora::tools {

/// A notification as the command prints it.
struct HeardNotification {
    std::string name;
    bool deliverImmediately = false;
    Dictionary userInfo;
};

/// One line: the name and the readable user information, control characters shown as "?".
std::string asText(const HeardNotification& notification);
/// One line: an object with "name", "deliverImmediately" and "userInfo".
std::string asJson(const HeardNotification& notification);

/// `listen`: prints the notifications of the session as they are posted.
Command listenCommand();

} // namespace trigora::tools
