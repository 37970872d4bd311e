#pragma once

#include "platform/AppleEvents.h"
#include "platform/DistributedNotifications.h"

namespace trigora::platform {

// What a program has that may do without a session bus, when there is none: it hears nothing, what it posts
// reaches nobody, and nobody is there to take its events.

class OfflineNotifications final : public DistributedNotifications {
public:
    ObserverID observe(std::string, Handler) override { return ++lastObserver_; }
    void removeObserver(ObserverID) override {}
    void post(const std::string&, const std::optional<Dictionary>&, bool) override {}

private:
    ObserverID lastObserver_ = 0;
};

class OfflineAppleEvents final : public AppleEvents {
public:
    void setEventHandler(std::uint32_t, std::uint32_t, Handler) override {}
    void removeEventHandler(std::uint32_t, std::uint32_t) override {}
    std::int32_t sendWithoutReply(const AppleEventTarget&, const AppleEvent&) override {
        return procNotFound;
    }
    AppleEventReply sendWaitingForReply(const AppleEventTarget&, const AppleEvent&) override {
        return {procNotFound, {}};
    }
    AppleEventReply sendUnlessGivenUp(const AppleEventTarget&, const AppleEvent&,
                                      const std::function<bool()>&) override {
        return {procNotFound, {}};
    }
    bool isPresent(const AppleEventTarget&) override { return false; }
};

} // namespace trigora::platform
