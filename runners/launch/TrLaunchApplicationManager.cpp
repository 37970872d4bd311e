#include "runners/launch/TrLaunchApplicationManager.h"

#include "agent/log/PSlog.h"
#include "files/InstalledPaths.h"
#include "files/NotificationNames.h"
#include "platform/Bundles.h"
#include "platform/Clock.h"
#include "platform/Desktop.h"
#include "platform/DistributedNotifications.h"
#include "platform/FileSystem.h"
#include "platform/Processes.h"
#include "platform/RunLoop.h"
#include "platform/Text.h"

#include <algorithm>
#include <optional>

namespace trigora {

namespace {

constexpr const char* agentName = "TrigoraAgent";
constexpr const char* scanAssistantName = "PScanAssistant";
constexpr const char* loginDomain = "loginwindow";
constexpr const char* loginItemsKey = "AutoLaunchedApplicationDictionary";

constexpr std::int64_t microsecondsPerSecond = 1000000;
constexpr std::int64_t quitPollMicroseconds = 100000;
constexpr std::int64_t startPollMicroseconds = 10000;
constexpr double startSeconds = 2.0;

std::optional<platform::ProcessInformation> processNamed(const std::string& name) {
    return platform::current().processes.find(name);
}

/// Starts an installed program without arguments; -1 when there is no such file. Whether the program then
/// comes up is not looked at.
std::int32_t launchInstalled(const std::string& executable) {
    if (!platform::current().fileSystem.exists(executable)) {
        return -1;
    }
    platform::current().processes.launch(executable, {});
    return 0;
}

/// No wait goes on then.
bool isEnding() { return platform::current().runLoop.isEnding(); }

/// In short sleeps, because a single one may end early.
void waitMonotonic(double seconds) {
    platform::Clock& clock = platform::current().clock;
    const double start = clock.monotonicSeconds();
    while (!isEnding() && clock.monotonicSeconds() - start < seconds) {
        clock.sleepMicroseconds(startPollMicroseconds);
    }
}

bool isLoginItemOfAgent(const Value& item) {
    return item.dictionary() != nullptr && textAt(*item.dictionary(), "Path") == paths::agentApplication();
}

} // namespace

void TrLaunchApplicationManager::launchApplicationAtPath(const std::string& path,
                                                         const std::string& /*appName*/,
                                                         const std::vector<std::string>& withArgs) const {
    const std::shared_ptr<platform::Bundle> bundle = platform::current().bundles.create(path);
    const auto executable = bundle ? bundle->executablePath() : std::nullopt;
    if (executable) {
        platform::current().processes.launch(*executable, withArgs);
    }
}

bool TrLaunchApplicationManager::findProcess(std::uint32_t type, std::uint32_t withCreator) const {
    return processID(type, withCreator).has_value();
}

std::optional<std::int32_t> TrLaunchApplicationManager::processID(std::uint32_t type,
                                                                  std::uint32_t withCreator) const {
    const std::vector<platform::ProcessInformation> processes = platform::current().processes.list();
    const auto found = std::find_if(processes.begin(), processes.end(), [&](const auto& process) {
        return process.signature == withCreator && process.type == type;
    });
    return found == processes.end() ? std::nullopt : std::optional(found->processID);
}

bool TrLaunchApplicationManager::LAM_IsLaunchApplication(const std::string& name) const {
    return processNamed(name).has_value();
}

std::uint32_t TrLaunchApplicationManager::LAM_ApplicationActiveTime(const std::string& name) const {
    const std::optional<platform::ProcessInformation> process = processNamed(name);
    return process ? process->activeTime : 0;
}

bool TrLaunchApplicationManager::isLaunchScanAssistant() const {
    return LAM_IsLaunchApplication(scanAssistantName);
}

std::optional<std::int32_t> TrLaunchApplicationManager::scanAssistantProcessID() const {
    const std::optional<platform::ProcessInformation> process = processNamed(scanAssistantName);
    return process ? std::optional(process->processID) : std::nullopt;
}

std::int32_t TrLaunchApplicationManager::launchScanAssistant() const {
    constexpr const char* function = "-[TrLaunchApplicationManager launchScanAssistant]";
    PSlog("%s Enter [Line %d] ", function, __LINE__);
    std::int32_t result = 0;
    if (isLaunchScanAssistant()) {
        platform::current().notifications.post(notifications::didFinishLaunchingSA, std::nullopt, false);
    } else {
        result = launchInstalled(paths::scanAssistantExecutable());
    }
    PSlog("%s Leave [Line %d] result_OSErr = %d", function, __LINE__, result);
    return result;
}

bool TrLaunchApplicationManager::launchScanAssistantWithWait() const {
    constexpr const char* function = "-[TrLaunchApplicationManager launchScanAssistantWithWait]";
    PSlog("%s Enter [Line %d] ", function, __LINE__);
    const std::lock_guard lock(startingMutex_);
    bool isRunning = isLaunchScanAssistant();
    if (!isRunning) {
        if (launchScanAssistant() == 0) {
            // On purpose it waits while the assistant is seen: one that has just been launched is not listed
            // yet, and the two seconds are what lets it start.
            while (!isEnding() && isLaunchScanAssistant()) {
                platform::current().clock.sleepMicroseconds(microsecondsPerSecond);
            }
            waitMonotonic(startSeconds);
        }
        isRunning = isLaunchScanAssistant();
    }
    PSlog("%s Leave [Line %d] ", function, __LINE__);
    return isRunning;
}

void TrLaunchApplicationManager::terminateScanAssistant() const {
    platform::current().notifications.post(notifications::replySAQuit, std::nullopt, true);
}

void TrLaunchApplicationManager::terminateScanAssistantWithWait() const {
    if (!isLaunchScanAssistant()) {
        return;
    }
    terminateScanAssistant();
    while (!isEnding() && isLaunchScanAssistant()) {
        terminateScanAssistant();
        platform::current().clock.sleepMicroseconds(quitPollMicroseconds);
    }
}

std::int32_t TrLaunchApplicationManager::launchTrigoraAgent() const {
    return LAM_IsLaunchApplication(agentName) ? -1 : launchInstalled(paths::agentExecutable());
}

void TrLaunchApplicationManager::loginTrigoraAgent() const {
    constexpr std::int32_t lastSystemWithLoginItems = 0x105F;
    auto& platform = platform::current();
    if (platform.systemInformation.systemVersion() > lastSystemWithLoginItems) {
        return;
    }
    Dictionary domain = platform.userDefaults.persistentDomain(loginDomain).value_or(Dictionary());
    const Value* stored = find(domain, loginItemsKey);
    if (stored != nullptr && stored->array() == nullptr) {
        return; // not ours to replace, whatever it is
    }
    Array items = stored == nullptr ? Array() : *stored->array();
    if (std::any_of(items.begin(), items.end(), isLoginItemOfAgent)) {
        return;
    }
    items.emplace_back(Dictionary{{"Path", paths::agentApplication()}, {"Hide", false}});
    domain[loginItemsKey] = std::move(items);
    platform.userDefaults.setPersistentDomain(loginDomain, domain);
}

} // namespace trigora
