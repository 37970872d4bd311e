#include "tools/rehearsal/RehearsalPlatform.h"

#include "files/InstalledPaths.h"
#include "files/NotificationNames.h"
#include "platform/Bundles.h"
#include "platform/Clock.h"
#include "platform/Desktop.h"
#include "platform/Processes.h"
#include "platform/RunLoop.h"
#include "platform/Text.h"
#include "platform/Workspace.h"
#include "tools/overlay/OverlayDisk.h"
#include "tools/overlay/PlatformWith.h"
#include "tools/words/Wording.h"

#include <algorithm>
#include <map>
#include <utility>

namespace trigora::tools {

namespace {

using Kind = RehearsedEffect::Kind;
using Effects = std::vector<RehearsedEffect>;

/// Given to what is "launched"; no process has it.
constexpr std::int32_t rehearsedProcess = -1;

std::string codeText(std::uint32_t code) {
    std::string text;
    for (unsigned shift = 32; shift > 0; shift -= 8) {
        const auto byte = static_cast<unsigned char>(code >> (shift - 8));
        text += byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '?';
    }
    return text;
}

/// Time moves by being slept away.
class RehearsalClock final : public platform::Clock {
public:
    explicit RehearsalClock(platform::Clock& clock) : clock_(clock) {}

    platform::WallTime wallTime() override { return clock_.wallTime(); }
    double monotonicSeconds() override { return seconds_; }
    std::int64_t processorTime() override { return clock_.processorTime(); }
    void sleepMicroseconds(std::int64_t microseconds) override {
        seconds_ += static_cast<double>(microseconds) / 1e6;
    }

private:
    platform::Clock& clock_;
    double seconds_ = 0;
};

/// Nothing happens later: the rehearsal is over before any timer.
class RehearsalRunLoop final : public platform::RunLoop {
public:
    TimerID addRepeatingTimer(double, std::function<void()>) override { return ++lastTimer_; }
    void cancelTimer(TimerID) override {}
    void whenProcessExits(std::int32_t, std::function<void()>) override {}
    void performOnMainThread(std::function<void()> work) override { work(); }
    int run() override { return 0; }
    void stop(int) override {}

private:
    TimerID lastTimer_ = 0;
};

/// The real ones, except that the scan assistant is an imagined one.
class RehearsalProcesses final : public platform::Processes {
public:
    RehearsalProcesses(platform::Processes& processes, platform::FileSystem& files, platform::Clock& clock,
                       Effects& effects)
        : processes_(processes), files_(files), clock_(clock), effects_(effects),
          assistant_(platform::lastPathComponent(paths::scanAssistantExecutable())) {
        if (files_.exists(paths::scanAssistantExecutable())) {
            assistantListedFrom_ = 0;
        }
    }

    std::vector<platform::ProcessInformation> list() override {
        std::vector<platform::ProcessInformation> processes = processes_.list();
        std::erase_if(processes, [&](const auto& process) { return process.name == assistant_; });
        if (assistantListedFrom_ && clock_.monotonicSeconds() >= *assistantListedFrom_) {
            processes.insert(processes.begin(),
                             {rehearsedProcess, assistant_, paths::scanAssistantExecutable(), 0, 0, 0});
        }
        return processes;
    }

    std::optional<std::int32_t> launch(const std::string& executablePath,
                                       const std::vector<std::string>& arguments) override {
        const bool isThere = files_.exists(executablePath) && !files_.isDirectory(executablePath);
        effects_.push_back(
            {Kind::launch, executablePath, arguments, {}, isThere ? std::nullopt : std::optional(missing)});
        if (!isThere) {
            return std::nullopt;
        }
        if (executablePath == paths::scanAssistantExecutable()) {
            assistantListedFrom_ = clock_.monotonicSeconds() + secondsUntilListed;
        }
        return rehearsedProcess;
    }
    int waitForExit(std::int32_t) override { return 0; }
    bool isRunning(std::int32_t) override { return false; }
    std::int32_t ownProcessID() override { return processes_.ownProcessID(); }

    void endAssistant() { assistantListedFrom_.reset(); }

private:
    static constexpr double secondsUntilListed = 0.5;
    static constexpr const char* missing = "there is no such program";

    platform::Processes& processes_;
    platform::FileSystem& files_;
    platform::Clock& clock_;
    Effects& effects_;
    const std::string assistant_;
    std::optional<double> assistantListedFrom_;
};

class RehearsalNotifications final : public platform::DistributedNotifications {
public:
    RehearsalNotifications(RehearsalProcesses& processes, Effects& effects)
        : processes_(processes), effects_(effects) {}

    ObserverID observe(std::string name, Handler handler) override {
        observers_[++lastObserver_] = {std::move(name), std::move(handler)};
        return lastObserver_;
    }
    void removeObserver(ObserverID observer) override { observers_.erase(observer); }
    void post(const std::string& name, const std::optional<Dictionary>& userInfo, bool) override {
        if (name == notifications::replySAQuit) {
            processes_.endAssistant();
        }
        effects_.push_back({Kind::post, name, {}, userInfo, {}});
    }

    void receive(const platform::Notification& notification) {
        const auto observers = observers_;
        for (const auto& [identifier, observer] : observers) {
            if (observer.first == notification.name) {
                observer.second(notification);
            }
        }
    }

private:
    RehearsalProcesses& processes_;
    Effects& effects_;
    std::map<ObserverID, std::pair<std::string, Handler>> observers_;
    ObserverID lastObserver_ = 0;
};

class RehearsalAppleEvents final : public platform::AppleEvents {
public:
    explicit RehearsalAppleEvents(Effects& effects) : effects_(effects) {}

    void setEventHandler(std::uint32_t eventClass, std::uint32_t eventID, Handler handler) override {
        handlers_[{eventClass, eventID}] = std::move(handler);
    }
    void removeEventHandler(std::uint32_t eventClass, std::uint32_t eventID) override {
        handlers_.erase({eventClass, eventID});
    }
    std::int32_t sendWithoutReply(const platform::AppleEventTarget&,
                                  const platform::AppleEvent& event) override {
        effects_.push_back(
            {Kind::send, codeText(event.eventClass) + "/" + codeText(event.eventID), {}, {}, {}});
        return 0;
    }
    platform::AppleEventReply sendWaitingForReply(const platform::AppleEventTarget& target,
                                                  const platform::AppleEvent& event) override {
        return {sendWithoutReply(target, event), {}};
    }
    platform::AppleEventReply sendUnlessGivenUp(const platform::AppleEventTarget& target,
                                                const platform::AppleEvent& event,
                                                const std::function<bool()>&) override {
        return {sendWithoutReply(target, event), {}};
    }
    bool isPresent(const platform::AppleEventTarget&) override { return true; }

    void receive(const platform::AppleEvent& event) {
        const auto handler = handlers_.find({event.eventClass, event.eventID});
        if (handler != handlers_.end()) {
            platform::AppleEvent reply;
            handler->second(event, reply);
        }
    }

private:
    Effects& effects_;
    std::map<std::pair<std::uint32_t, std::uint32_t>, Handler> handlers_;
};

class RehearsalWorkspace final : public platform::Workspace {
public:
    RehearsalWorkspace(platform::Workspace& workspace, platform::FileSystem& files,
                       platform::Bundles& bundles, Effects& effects)
        : workspace_(workspace), files_(files), bundles_(bundles), effects_(effects) {}

    bool openFile(const std::string& path, const std::string& application) override {
        effects_.push_back({Kind::open, application, {path}, {}, problemOf(application)});
        return true;
    }
    platform::ApplicationLaunch launchApplication(const std::string& path) override {
        constexpr std::int32_t noSuchFile = -43;
        const auto problem = problemOf(path);
        effects_.push_back({Kind::launch, path, {}, {}, problem});
        return problem ? platform::ApplicationLaunch{noSuchFile, 0}
                       : platform::ApplicationLaunch{0, rehearsedProcess};
    }
    std::optional<std::string> findApplication(const std::string& bundleIdentifier) override {
        return workspace_.findApplication(bundleIdentifier);
    }

private:
    /// Why an application would not start; none for one that would, as far as its files tell.
    std::optional<std::string> problemOf(const std::string& application) {
        if (!application.starts_with('/')) {
            return std::nullopt; // a name, such as "Finder"
        }
        if (!files_.exists(application)) {
            return "there is no such application";
        }
        const auto bundle = bundles_.create(application);
        return bundle && !bundle->executablePath() ? std::optional("the application has no executable")
                                                   : std::nullopt;
    }

    platform::Workspace& workspace_;
    platform::FileSystem& files_;
    platform::Bundles& bundles_;
    Effects& effects_;
};

class RehearsalAlertPanel final : public platform::AlertPanel {
public:
    explicit RehearsalAlertPanel(Effects& effects) : effects_(effects) {}

    platform::AlertAnswer run(const std::string& title, const std::string& message,
                              const std::string&) override {
        effects_.push_back({Kind::message, title, {message}, {}, {}});
        return platform::AlertAnswer::defaultButton;
    }

private:
    Effects& effects_;
};

class RehearsalUserDefaults final : public platform::UserDefaults {
public:
    explicit RehearsalUserDefaults(platform::UserDefaults& defaults) : defaults_(defaults) {}

    std::optional<Value> value(const std::string& key) override { return defaults_.value(key); }
    std::optional<Dictionary> persistentDomain(const std::string& name) override {
        return defaults_.persistentDomain(name);
    }
    bool setPersistentDomain(const std::string&, const Dictionary&) override { return false; }
    std::string currentLocaleIdentifier() override { return defaults_.currentLocaleIdentifier(); }

private:
    platform::UserDefaults& defaults_;
};

/// What the system logs meanwhile is not a log of the agent's.
class SilentConsole final : public platform::Console {
public:
    void write(std::string_view) override {}
};

} // namespace

std::string RehearsedEffect::description() const {
    const std::string suffix = problem ? " (" + *problem + ")" : "";
    switch (kind) {
    case Kind::post:
        return "post " + target;
    case Kind::launch:
        return "launch " + target + (arguments.empty() ? "" : " " + joined(arguments, " ")) + suffix;
    case Kind::open:
        return "open " + joined(arguments, " ") + " with " + target + suffix;
    case Kind::send:
        return "send Apple Event " + target;
    case Kind::message:
        break;
    }
    return "show the message " + target + ": " + joined(arguments, " ");
}

struct RehearsalPlatform::Parts {
    explicit Parts(platform::Platform& real)
        : disk(real), clock(real.clock), processes(real.processes, disk.files, clock, effects),
          notifications(processes, effects), appleEvents(effects),
          workspace(real.workspace, disk.files, real.bundles, effects), alertPanel(effects),
          userDefaults(real.userDefaults),
          platform(platformWith(real, runLoop, clock, notifications, appleEvents, processes, workspace,
                                disk.files, disk.folders, disk.propertyLists, disk.images, userDefaults,
                                alertPanel, console, sharedInstances)) {}

    Effects effects;
    OverlayDisk disk;
    RehearsalRunLoop runLoop;
    RehearsalClock clock;
    RehearsalProcesses processes;
    RehearsalNotifications notifications;
    RehearsalAppleEvents appleEvents;
    RehearsalWorkspace workspace;
    RehearsalAlertPanel alertPanel;
    RehearsalUserDefaults userDefaults;
    SilentConsole console;
    platform::SharedInstances sharedInstances;
    platform::Platform platform;
};

RehearsalPlatform::RehearsalPlatform()
    : former_(platform::current()), parts_(std::make_unique<Parts>(former_)) {
    platform::install(&parts_->platform);
}

RehearsalPlatform::~RehearsalPlatform() {
    parts_->sharedInstances.removeAll();
    platform::install(&former_);
}

OverlayFiles& RehearsalPlatform::files() { return parts_->disk.files; }

std::vector<RehearsedEffect> RehearsalPlatform::takeEffects() { return std::exchange(parts_->effects, {}); }

void RehearsalPlatform::receive(const platform::AppleEvent& event) { parts_->appleEvents.receive(event); }

void RehearsalPlatform::receive(const std::string& notification, const Dictionary& userInfo) {
    parts_->notifications.receive({notification, userInfo});
}

} // namespace trigora::tools
