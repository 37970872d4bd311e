#pragma once

#include "platform/AppleEvents.h"
#include "platform/DistributedNotifications.h"
#include "platform/Platform.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace trigora::tools {

class OverlayFiles;

/// One thing that would have left the system.
struct RehearsedEffect {
    enum class Kind {
        post,   ///< a notification: `target` is its name, `userInfo` what it carries
        launch, ///< a program or an application
        open,   ///< `arguments` holds what the application `target` would open
        send,   ///< an Apple Event; `target` is "class/ID", as text
        message ///< on the screen
    };

    Kind kind = Kind::post;
    std::string target;
    std::vector<std::string> arguments;
    std::optional<Dictionary> userInfo;
    /// Why it would come to nothing; none when all is well.
    std::optional<std::string> problem;

    /// e.g. "open /home/a/img001.pdf with /Applications/Viewer.app".
    std::string description() const;
};

/// The platform in use for as long as this lives, for a rehearsal: the system's classes work as they do in
/// the agent, on the real files and settings, but nothing is launched, opened, posted or sent, and what is
/// written stays in memory. What would have left the system is listed. A scan assistant that is installed
/// counts as running until it is asked to quit. The system's shared classes are made afresh for the rehearsal
/// and die with it. One thread only.
class RehearsalPlatform {
public:
    RehearsalPlatform();
    ~RehearsalPlatform();
    RehearsalPlatform(const RehearsalPlatform&) = delete;
    RehearsalPlatform& operator=(const RehearsalPlatform&) = delete;

    OverlayFiles& files();
    /// What has come up since the last call, in order.
    std::vector<RehearsedEffect> takeEffects();
    /// What another program would send or post; handled before it returns.
    void receive(const platform::AppleEvent& event);
    void receive(const std::string& notification, const Dictionary& userInfo);

private:
    struct Parts;

    platform::Platform& former_;
    std::unique_ptr<Parts> parts_;
};

} // namespace trigora::tools
