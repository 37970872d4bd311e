#pragma once

#include "companions/TrigoraButtons/policy/DelayedCall.h"
#include "companions/TrigoraButtons/policy/ScannerNames.h"
#include "platform/DistributedNotifications.h"

#include <deque>

namespace trigora::buttons {

struct KeptPress {
    ScannerNames scanner;
    std::string device;
    SensorPress press;
    double made = 0; ///< monotonic seconds
};

/// Takes presses to the agent, one at a time and in their order. The states:
///
///     idle     nothing is under way; a press is taken up at once when there is an agent
///     freeing  the pressed scanner is being let go, so that the scan assistant finds it free
///     running  the agent has the press, or is at work without one of ours; until it says that it has
///     finished
///
/// A press waits a minute at most. What becomes of one that has waited longer, or that is one too many, is
/// told.
class PressDelivery {
public:
    enum class Loss { agentMissing, agentBusy, tooMany };

    struct Surroundings {
        /// Lets the scanner go and calls back; at once when there is no such scanner any more.
        std::function<void(const std::string& device, std::function<void()> whenFree)> stayAway;
        std::function<void(const std::string& device)> comeBack;
        std::function<bool(const std::string& device)> isUsedByOthers;
        std::function<void(const KeptPress&, Loss)> dropped;
    };

    // In seconds.
    static constexpr double longestWait = 60;
    static constexpr double timeLimit = 90;   ///< for a scan of which nothing is seen or heard
    static constexpr double longerLimit = 30; ///< as long as the scanner is in use
    static constexpr std::size_t mostKept = 10;

    /// Begins to listen to what the agent posts.
    explicit PressDelivery(Surroundings surroundings);
    PressDelivery(const PressDelivery&) = delete;
    PressDelivery& operator=(const PressDelivery&) = delete;
    ~PressDelivery();

    void add(KeptPress press);
    /// The agent has come or gone.
    void agentChanged(bool isPresent);

    std::size_t keptPresses() const { return kept_.size(); }
    bool isScanning() const { return state_ == State::running; }

private:
    enum class State { idle, freeing, running };

    void observe(const char* name, std::function<void()> handler);
    void deliverNext();
    void send();
    void begin(std::string device);
    void finish();
    void checkLimit();
    void dropOldPresses();

    Surroundings surroundings_;
    State state_ = State::idle;
    bool isAgentBusy_ = false; ///< it has begun something and not said yet that it has finished
    std::string device_;       ///< that the press under way came from; empty for another's
    std::deque<KeptPress> kept_;
    DelayedCall limit_;
    DelayedCall oldest_;
    std::vector<platform::DistributedNotifications::ObserverID> observers_;
};

} // namespace trigora::buttons
