#pragma once

#include "companions/TrigoraButtons/policy/PressDelivery.h"
#include "companions/TrigoraButtons/policy/ScannerWatch.h"
#include "platform/Value.h"

#include <set>

namespace trigora::buttons {

/// The buttons of all scanners at this desk. Usual order: it looks for scanners once at the start and again
/// after something was plugged in; each scanner with buttons gets a `ScannerWatch`; their presses go through
/// the `PressDelivery` to the agent. While it looks, no scanner is opened for reading.
class ButtonService {
public:
    struct Surroundings {
        ScannerReader& reader;
        DeviceNodes& nodes;
        std::function<void(const std::string& title, const std::string& text)> tellUser;
        std::function<void(const std::string& line)> log;
        std::function<void()> looked = {}; ///< a search is over and no other one is due; may be empty
    };

    static constexpr double settlingTime = 1; ///< seconds from plugging in to looking
    static constexpr int mostLooks = 3;       ///< one after the other, when back-ends hang or die

    explicit ButtonService(Surroundings surroundings);
    ButtonService(const ButtonService&) = delete;
    ButtonService& operator=(const ButtonService&) = delete;
    ~ButtonService();

    /// Looks for scanners. `isActive`: whether the user works at the desk.
    void start(bool isActive);
    void plugged();
    void unplugged(const std::string& node);
    void seatChanged(bool isActive);
    void agentChanged(bool isPresent) { delivery_.agentChanged(isPresent); }

    /// What is there and what stands in the way, with the keys that docs/buttons.md tells.
    Dictionary status() const;
    bool isLooking() const { return look_ != nullptr || lookTimer_.isDue(); }

private:
    struct Attached {
        FoundScanner scanner;
        std::unique_ptr<ScannerWatch> watch; ///< null for one without buttons
        std::string reason;                  ///< why its sensors are not watched; empty when they are
    };

    void look();
    void beginLook();
    void lookEnded(const ReaderEnd& end, const std::string& device);
    void add(FoundScanner scanner);
    void remove(const std::function<bool(const FoundScanner&)>& condition);
    std::string reasonAgainst(const FoundScanner& scanner) const;
    void watchNode(const FoundScanner& scanner);
    ScannerWatch* watchOf(const std::string& device);
    void nodeOpened(const std::string& device, const std::string& node);
    void nodeClosed(const std::string& device);
    void nodeChanged(const std::string& device);
    bool isOpeningScanners() const { return look_ != nullptr || turns_.isAnybodysTurn(); }
    void pressed(const ScannerWatch& watch, const std::vector<SensorPress>& presses);
    void dropped(const KeptPress& press, PressDelivery::Loss loss);
    std::vector<FoundScanner> attachedScanners() const;
    Dictionary statusOf(const Attached& attached) const;
    Value sensorsOf(const FoundScanner& scanner) const;

    Surroundings surroundings_;
    SensorTable table_;
    TakeUpTurns turns_;
    PressDelivery delivery_;
    std::vector<Attached> attached_;
    std::vector<FoundScanner> found_; ///< by the look under way
    std::set<std::string> suspects_;  ///< devices that are not opened while looking, until the next event
    std::string problem_;             ///< with finding scanners
    bool isActive_ = false;
    bool looksAgain_ = false;
    int looks_ = 0;
    DelayedCall lookTimer_;
    std::unique_ptr<Look> look_;
};

} // namespace trigora::buttons
