#pragma once

#include "platform/AppleEvents.h"
#include "platform/Clock.h"
#include "platform/Desktop.h"
#include "platform/DistributedNotifications.h"
#include "platform/FileSystem.h"
#include "platform/Processes.h"
#include "platform/RunLoop.h"
#include "platform/Text.h"
#include "platform/Workspace.h"
#include "tests/fakes/Journal.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <stdexcept>

namespace trigora::test {

/// Time stands still until a test or a sleep moves it. The wall clock begins at 2026-01-02 03:04:05 UTC.
class FakeClock final : public platform::Clock {
public:
    platform::WallTime wallTime() override {
        const std::lock_guard lock(mutex_);
        const std::int64_t micros = wallMicroseconds_;
        return {micros / 1000000, static_cast<std::int32_t>(micros % 1000000)};
    }
    double monotonicSeconds() override {
        const std::lock_guard lock(mutex_);
        return static_cast<double>(monotonicMicroseconds_) / 1e6;
    }
    std::int64_t processorTime() override {
        const std::lock_guard lock(mutex_);
        return processorTime_;
    }
    void sleepMicroseconds(std::int64_t microseconds) override {
        advanceMicroseconds(microseconds);
        if (onSleep) {
            onSleep();
        }
    }

    void advanceMicroseconds(std::int64_t microseconds) {
        const std::lock_guard lock(mutex_);
        monotonicMicroseconds_ += microseconds;
        wallMicroseconds_ += microseconds;
        processorTime_ += static_cast<std::int64_t>(static_cast<double>(microseconds) * processorShare);
    }
    void setWallMicroseconds(std::int64_t microseconds) {
        const std::lock_guard lock(mutex_);
        wallMicroseconds_ = microseconds;
    }

    /// Processor time that passes per unit of time slept.
    double processorShare = 1.0;
    /// Called after every sleep, e.g. to let the world move on during a wait.
    std::function<void()> onSleep;

private:
    std::mutex mutex_;
    std::int64_t monotonicMicroseconds_ = 1000000;
    std::int64_t wallMicroseconds_ = 1767323045000000;
    std::int64_t processorTime_ = 0;
};

/// Moves only when told to.
class FakeRunLoop final : public platform::RunLoop {
public:
    explicit FakeRunLoop(FakeClock& clock) : clock_(clock) {}

    TimerID addRepeatingTimer(double seconds, std::function<void()> handler) override {
        timers_[++lastTimer_] = {seconds, clock_.monotonicSeconds() + seconds, std::move(handler)};
        return lastTimer_;
    }
    void cancelTimer(TimerID timer) override { timers_.erase(timer); }
    void whenProcessExits(std::int32_t processID, std::function<void()> handler) override {
        exitHandlers_.emplace(processID, std::move(handler));
    }
    void performOnMainThread(std::function<void()> work) override {
        const std::lock_guard lock(mutex_);
        work_.push_back(std::move(work));
    }
    int run() override {
        isEnding_ = false;
        runPending();
        return exitCode_;
    }
    void stop(int exitCode) override {
        exitCode_ = exitCode;
        isEnding_ = true;
    }
    bool isEnding() override { return isEnding_; }

    /// Has those called who wait for the process's exit.
    void processExited(std::int32_t processID);
    /// Does the handed-in work, also what that work hands in.
    void runPending();
    /// Moves time on, firing the timers that come due and doing the work handed in.
    void advance(double seconds);
    std::size_t timerCount() const { return timers_.size(); }

private:
    struct Timer {
        double period;
        double due;
        std::function<void()> handler;
    };

    FakeClock& clock_;
    std::map<TimerID, Timer> timers_;
    TimerID lastTimer_ = 0;
    std::multimap<std::int32_t, std::function<void()>> exitHandlers_;
    std::mutex mutex_;
    std::deque<std::function<void()>> work_;
    int exitCode_ = 0;
    std::atomic<bool> isEnding_ = false;
};

/// Writes posts into the journal and delivers them to the observers when the loop turns.
class FakeNotifications final : public platform::DistributedNotifications {
public:
    FakeNotifications(FakeRunLoop& loop, Journal& journal) : loop_(loop), journal_(journal) {}

    ObserverID observe(std::string name, Handler handler) override;
    void removeObserver(ObserverID observer) override;
    void post(const std::string& name, const std::optional<platform::Dictionary>& userInfo,
              bool deliverImmediately) override;

    /// A post by somebody else: delivered now, not written into the journal.
    void receive(const std::string& name, const std::optional<platform::Dictionary>& userInfo = std::nullopt);
    /// Reacts inside `post`, as another process would on its own time.
    void onPost(const std::string& name, Handler reaction) { reactions_[name] = std::move(reaction); }
    std::size_t observerCount() const { return observers_.size(); }

    bool isBroken = false; ///< takes no observers

private:
    struct Observer {
        std::string name;
        Handler handler;
    };

    FakeRunLoop& loop_;
    Journal& journal_;
    std::map<ObserverID, Observer> observers_;
    ObserverID lastObserver_ = 0;
    std::map<std::string, Handler> reactions_;
};

class FakeAppleEvents final : public platform::AppleEvents {
public:
    explicit FakeAppleEvents(Journal& journal) : journal_(journal) {}

    void setEventHandler(std::uint32_t eventClass, std::uint32_t eventID, Handler handler) override {
        if (isBroken) {
            throw std::runtime_error("no bus");
        }
        handlers_[{eventClass, eventID}] = std::move(handler);
    }
    void removeEventHandler(std::uint32_t eventClass, std::uint32_t eventID) override {
        handlers_.erase({eventClass, eventID});
    }
    std::int32_t sendWithoutReply(const platform::AppleEventTarget& target,
                                  const platform::AppleEvent& event) override;
    platform::AppleEventReply sendWaitingForReply(const platform::AppleEventTarget& target,
                                                  const platform::AppleEvent& event) override;
    platform::AppleEventReply sendUnlessGivenUp(const platform::AppleEventTarget& target,
                                                const platform::AppleEvent& event,
                                                const std::function<bool()>& givesUp) override;
    bool isPresent(const platform::AppleEventTarget&) override { return isAnybodyPresent; }

    bool isAnybodyPresent = true;
    bool isBroken = false; ///< takes no handlers

    /// An event from outside; gives the reply that the handler filled in, or the status -1708.
    platform::AppleEventReply receive(const platform::AppleEvent& event);

    /// Nobody answers who may give up: they wait until they do.
    bool isSilent = false;

    /// Answers `sendWaitingForReply` and gives the status of `sendWithoutReply`; -600 when not set.
    std::function<platform::AppleEventReply(const platform::AppleEventTarget&, const platform::AppleEvent&)>
        answer;

private:
    Journal& journal_;
    std::map<std::pair<std::uint32_t, std::uint32_t>, Handler> handlers_;
};

/// Processes that a test starts and ends with `appear` and `exit`. A name that was launched is not found for
/// half a second of the fake clock after the first look for it, as on the real system.
class FakeProcesses final : public platform::Processes {
public:
    FakeProcesses(FakeClock& clock, Journal& journal) : clock_(clock), journal_(journal) {}

    std::vector<platform::ProcessInformation> list() override {
        const std::lock_guard lock(mutex_);
        return entries_;
    }
    std::optional<platform::ProcessInformation> find(const std::string& name) override;
    std::optional<std::int32_t> launch(const std::string& executablePath,
                                       const std::vector<std::string>& arguments) override;
    int waitForExit(std::int32_t processID) override;
    bool isRunning(std::int32_t processID) override;
    std::int32_t ownProcessID() override { return 1; }

    std::int32_t appear(const std::string& name, std::uint32_t type = 0, std::uint32_t signature = 0);
    /// Ends every process of that name.
    void exit(const std::string& name);

    /// Called with the ID of each process that has ended.
    std::function<void(std::int32_t)> onExit;
    /// Whether launches succeed.
    bool launches = true;
    /// Whether what was launched is not found at first.
    bool hidesLaunches = true;
    /// Called at each launch with path and arguments.
    std::function<void(const std::string&, const std::vector<std::string>&)> onLaunch;

private:
    /// Ends those that the condition holds for.
    void remove(const std::function<bool(const platform::ProcessInformation&)>& condition);

    FakeClock& clock_;
    Journal& journal_;
    std::mutex mutex_;
    std::vector<platform::ProcessInformation> entries_;
    std::map<std::string, double> firstLooks_; ///< for names that were launched; before it, never
    std::int32_t lastProcessID_ = 100;
};

class FakeWorkspace final : public platform::Workspace {
public:
    explicit FakeWorkspace(Journal& journal) : journal_(journal) {}

    bool openFile(const std::string& path, const std::string& application) override {
        if (missing.contains(path)) {
            return false;
        }
        journal_.add("open " + path + " with " + application);
        if (onOpen) {
            onOpen();
        }
        return true;
    }
    platform::ApplicationLaunch launchApplication(const std::string& path) override {
        journal_.add("launch application " + path);
        return launch;
    }
    std::optional<std::string> findApplication(const std::string&) override { return std::nullopt; }

    std::set<std::string> missing; ///< paths that cannot be opened
    std::function<void()> onOpen;
    /// What the next launches give.
    platform::ApplicationLaunch launch{0, 77};

private:
    Journal& journal_;
};

class FakeAlertPanel final : public platform::AlertPanel {
public:
    explicit FakeAlertPanel(Journal& journal) : journal_(journal) {}

    platform::AlertAnswer run(const std::string& title, const std::string& message,
                              const std::string& button) override {
        journal_.add("alert " + title + " | " + message + " | " + button);
        if (whileShown) {
            whileShown();
        }
        return answer;
    }

    platform::AlertAnswer answer = platform::AlertAnswer::defaultButton;
    std::function<void()> whileShown;

private:
    Journal& journal_;
};

/// Preferences as the test sets them; English of the United States to begin with.
class FakeUserDefaults final : public platform::UserDefaults {
public:
    std::optional<platform::Value> value(const std::string& key) override {
        if (onRead) {
            onRead();
        }
        const platform::Value* found = platform::find(values, key);
        return found ? std::optional(*found) : std::nullopt;
    }
    std::optional<platform::Dictionary> persistentDomain(const std::string& name) override {
        return platform::dictionaryAt(domains, name);
    }
    bool setPersistentDomain(const std::string& name, const platform::Dictionary& domain) override {
        domains[name] = domain;
        return true;
    }
    std::string currentLocaleIdentifier() override { return localeIdentifier; }

    platform::Dictionary values{{"AppleLanguages", platform::Array{"en"}}, {"AppleLocale", "en_US"}};
    platform::Dictionary domains;
    std::string localeIdentifier = "en_US";
    std::function<void()> onRead;
};

class FakeSystemInformation final : public platform::SystemInformation {
public:
    std::int32_t systemVersion() override { return version; }
    bool isNewerDriverInstalled() override { return hasNewerDriver; }

    std::int32_t version = 0x1068;
    bool hasNewerDriver = true;
};

/// Gives the texts that the test set, else the key.
class FakeStringTable final : public platform::StringTable {
public:
    std::string localizedString(const std::string& key) override {
        const auto found = texts.find(key);
        return found == texts.end() ? key : found->second;
    }

    std::map<std::string, std::string> texts;
};

class FakeConsole final : public platform::Console {
public:
    void write(std::string_view line) override {
        const std::lock_guard lock(mutex_);
        lines_.emplace_back(line);
    }
    Lines take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(lines_, {});
    }

private:
    std::mutex mutex_;
    Lines lines_;
};

/// Absent unless the test gives it names to know.
class FakeIDConverter final : public platform::IDConverter {
public:
    bool hasModelIDWithTwainID() override { return present; }
    std::int32_t PS2GetModelIDWithTwainID(const std::string& twainID, std::size_t) override {
        const auto& known = knownTwainIDs;
        return present && std::find(known.begin(), known.end(), twainID) != known.end() ? 0 : -1;
    }
    std::optional<std::string> PS2GetTwainIDWithProductID(const std::string& productID) override {
        const auto found = twainIDs.find(productID);
        return found == twainIDs.end() ? std::nullopt : std::optional(found->second);
    }

    bool present = false;
    std::vector<std::string> knownTwainIDs;
    std::map<std::string, std::string> twainIDs; ///< by product ID
};

} // namespace trigora::test
