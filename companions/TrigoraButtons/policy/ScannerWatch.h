#pragma once

#include "companions/TrigoraButtons/policy/DelayedCall.h"
#include "companions/TrigoraButtons/policy/ScannerReader.h"
#include "companions/TrigoraButtons/policy/TakeUpTurns.h"
#include "platform/Clock.h"

namespace trigora::buttons {

/// Watches over the buttons of one scanner and is never in anybody's way. The states:
///
///     free       nobody of ours has it; it is taken up when that is due and allowed
///     takingUp   it is being opened
///     holding    it is open and read
///     lettingGo  it is being closed
///
/// Usual order: free, takingUp, holding; at a press lettingGo and free, until the scan is over, and so on.
/// When another program opens the node, the scanner is let go at once and taken up again some seconds after
/// the last one has closed it. A scanner that cannot be opened or read is tried again, later each time, for
/// ever.
class ScannerWatch {
public:
    enum class State { free, takingUp, holding, lettingGo };

    struct Surroundings {
        ScannerReader& reader;
        DeviceNodes& nodes;
        TakeUpTurns& turns;
        platform::RunLoop& loop;
        platform::Clock& clock;
        /// Presses, of which there is at least one.
        std::function<void(const ScannerWatch&, const std::vector<SensorPress>&)> pressed;
        /// Something that a user who looks for a fault has to know.
        std::function<void(const ScannerWatch&, const std::string& sentence)> told;
    };

    // In seconds.
    static constexpr double quietTime = 3;            ///< since the last use by another program
    static constexpr double patienceForOthers = 0.05; ///< that a reading may go on when another one wants it
    static constexpr double patienceForScan = 1;
    static constexpr double longestBackOff = 60;

    /// The rows are those of the scanner's own sensors.
    ScannerWatch(FoundScanner scanner, const BackEndRules& rules, Surroundings surroundings);
    ScannerWatch(const ScannerWatch&) = delete;
    ScannerWatch& operator=(const ScannerWatch&) = delete;
    ~ScannerWatch();

    const FoundScanner& scanner() const { return scanner_; }
    State state() const { return state_; }
    /// What the last failure was, in words; empty when there was none since.
    const std::string& problem() const { return problem_; }
    std::optional<Refusal> refusal() const { return refusal_; }
    bool isUsedByOthers() const { return isUsedByOthers_; }
    std::vector<std::string> flickering() const { return detector_.flickering(); }

    /// Whether the scanner may be read at all; not while another user works at the desk. What was pressed
    /// meanwhile was not for this user.
    void allow(bool isAllowed);
    /// Closes the scanner, calls back when it is free, and stays away until `comeBack`.
    void stayAway(std::function<void()> whenFree);
    void comeBack();

    /// Another program has opened the node.
    void nodeOpened();
    void nodeClosed();
    void nodeChanged();

private:
    void reconsider();
    void takeUpIn(double seconds);
    void takeUpIfUnused();
    void takeUp();
    void opened(const std::string& node);
    void read(const SensorReading& reading);
    void ended(const ReaderEnd& end);
    void letGo(double patience);
    void becomeFree();
    void fail(const ReaderEnd& end);
    double now() const { return surroundings_.clock.monotonicSeconds(); }

    FoundScanner scanner_;
    const HoldPlan plan_;
    Surroundings surroundings_;
    PressDetector detector_;
    State state_ = State::free;
    bool isAllowed_ = false;
    bool isAway_ = false;
    bool isUsedByOthers_ = false;
    int failures_ = 0;
    std::string problem_;
    std::optional<Refusal> refusal_;
    double lastUseByOthers_ = -quietTime;
    std::function<void()> whenFree_;
    DelayedCall timer_;
    std::unique_ptr<Hold> hold_;
};

} // namespace trigora::buttons
