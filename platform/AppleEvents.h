#pragma once

#include "platform/Text.h"
#include "platform/Value.h"

#include <cstdint>
#include <functional>
#include <variant>
#include <vector>

namespace trigora::platform {

constexpr std::uint32_t keyDirectObject = fourCharCode("----"); ///< what the event is about
constexpr std::uint32_t typeWildCard = fourCharCode("****");    ///< plain bytes
constexpr std::uint32_t typeUTF8Text = fourCharCode("utf8");
/// The class of the events among the product's programs.
constexpr std::uint32_t productEventClass = fourCharCode("PLsc");

struct AppleEventParameter {
    std::uint32_t keyword = 0;
    std::uint32_t type = 0;
    Data bytes;
};

/// An event or a reply: class, ID and parameters; all codes are four-character codes.
struct AppleEvent {
    std::uint32_t eventClass = 0;
    std::uint32_t eventID = 0;
    std::vector<AppleEventParameter> parameters;

    /// The first parameter with the keyword, or null.
    const AppleEventParameter* parameter(std::uint32_t keyword) const;
};

/// Whom an event is for: an application by its signature, one process by its ID, or the agent.
struct SignatureTarget {
    std::uint32_t signature = 0;
};
struct ProcessTarget {
    std::int32_t processID = 0;
};
struct AgentTarget {};
using AppleEventTarget = std::variant<SignatureTarget, ProcessTarget, AgentTarget>;

constexpr std::int32_t procNotFound = -600;          ///< no such process (yet)
constexpr std::int32_t errAEEventNotHandled = -1708; ///< the target has no handler, or refused
constexpr std::int32_t errAETimeout = -1712;
constexpr std::int32_t errAECoercionFail = -1700; ///< the target could not read the event

struct AppleEventReply {
    std::int32_t status = 0; ///< 0 when the event was sent (and answered, when a reply was wanted)
    AppleEvent event;
};

class AppleEvents {
public:
    using Handler = std::function<void(const AppleEvent& event, AppleEvent& reply)>;

    virtual ~AppleEvents() = default;

    /// One handler per class and ID; a new one replaces the old. It runs on the main thread.
    virtual void setEventHandler(std::uint32_t eventClass, std::uint32_t eventID, Handler handler) = 0;
    virtual void removeEventHandler(std::uint32_t eventClass, std::uint32_t eventID) = 0;
    /// Sends without wanting an answer and waits for nobody. Returns -600 when there is no such target. A
    /// process that was launched a moment ago has the default time-out to be able to take events: what is for
    /// it is kept until then and delivered in its order. Any thread.
    virtual std::int32_t sendWithoutReply(const AppleEventTarget& target, const AppleEvent& event) = 0;
    /// Sends, once a process that was launched a moment ago can take it, and waits for the answer, each up to
    /// the default time-out, or until this program ends. Any thread.
    virtual AppleEventReply sendWaitingForReply(const AppleEventTarget& target, const AppleEvent& event) = 0;
    /// The same for a sender that may no longer want the answer: within half a second after the function says
    /// so it gets the status -1712. The function is called on the sender's thread.
    virtual AppleEventReply sendUnlessGivenUp(const AppleEventTarget& target, const AppleEvent& event,
                                              const std::function<bool()>& givesUp) = 0;
    /// Whether the target is there to take events; waits for nobody. Any thread.
    virtual bool isPresent(const AppleEventTarget& target) = 0;
};

} // namespace trigora::platform
