#include "tools/commands/CommandTestScan.h"

#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "files/NotificationNames.h"
#include "platform/DistributedNotifications.h"
#include "platform/Platform.h"
#include "platform/RunLoop.h"
#include "platform/Text.h"
#include "projects/information/TrProjectInformation.h"
#include "runners/launch/TrLaunchApplicationManager.h"
#include "tools/bus/AgentStatus.h"
#include "tools/bus/SessionBus.h"
#include "tools/frame/Report.h"
#include "tools/settings/EventCatalogue.h"
#include "tools/settings/ProjectCatalogue.h"
#include "tools/settings/ScannerModels.h"
#include "tools/settings/SettingsSession.h"
#include "tools/words/Wording.h"

#include <array>

namespace trigora::tools {

namespace {

constexpr std::array testScanOptions{
    Option{"driver", "NAME", "driver name of the scanner, e.g. \"SANE Test Scanner\"", true},
    Option{"model-id", "ID", "scanner model, e.g. 0F01 (default: the scan assistant is asked)"},
    Option{"event", "ID", "event to run the project for (default: 100)"},
    Option{"timeout", "SECONDS", "give up after so many seconds (default: 300)"},
    jsonOption,
    rootOption};

constexpr std::string_view testScanDetails =
    "Scans with the project's settings and gives the pages to its application, as the settings application\n"
    "does to try a project; no button need be bound to it. Without --model-id the scan assistant is first\n"
    "asked about the scanner.\n"
    "Exit codes: 0 pages were scanned; 1 the scan failed or did not end in time; 3 there is no agent, no "
    "such\n"
    "project or no such scanner.\n";
constexpr std::string_view testScanExamples =
    "  trigoractl test-scan 610 --driver \"SANE Test Scanner\"\n"
    "  trigoractl test-scan 701 --driver \"SANE Test Scanner\" --model-id 0F01 --timeout 60 --json\n";

constexpr double confirmationSeconds = 60;
constexpr double agentAnswerSeconds = 3;

/// Hears notifications for as long as it lives.
class Waiting {
public:
    explicit Waiting(std::initializer_list<const char*> names) {
        for (const char* name : names) {
            observers_.push_back(
                platform::current().notifications.observe(name, [this](const platform::Notification& heard) {
                    heard_[heard.name] = heard.userInfo.value_or(Dictionary());
                    if (heard.name == wanted_) {
                        platform::current().runLoop.stop(0);
                    }
                }));
        }
    }
    ~Waiting() {
        for (const auto observer : observers_) {
            platform::current().notifications.removeObserver(observer);
        }
    }
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;

    /// The user information of the notification, heard already or within the seconds; none when it is not.
    std::optional<Dictionary> wait(const char* name, double seconds) {
        wanted_ = name;
        platform::RunLoop& loop = platform::current().runLoop;
        if (!heard_.contains(name)) {
            const auto timer = loop.addRepeatingTimer(seconds, [&loop] { loop.stop(0); });
            loop.run();
            loop.cancelTimer(timer);
        }
        return heard(name);
    }
    std::optional<Dictionary> heard(const char* name) const {
        const auto found = heard_.find(name);
        return found == heard_.end() ? std::nullopt : std::optional(found->second);
    }

private:
    std::string wanted_;
    std::map<std::string, Dictionary> heard_;
    std::vector<platform::DistributedNotifications::ObserverID> observers_;
};

/// There must be an agent. A test would end a run or a press of it that is under way.
void requireIdleAgent() {
    std::string error;
    const std::optional<SessionBus> bus = SessionBus::open(error);
    if (!bus) {
        throw Failure(unreachable, error);
    }
    if (!bus->agentProcessID()) {
        throw Failure(unreachable, agentMissingSentence);
    }
    const auto status = statusOfAgent(*bus, error);
    if (status && (platform::dictionaryAt(*status, "press") ||
                   platform::booleanAt(*status, "projectIsRunning").value_or(false))) {
        throw Failure(failed, "the agent is busy with a press; try again when it is done");
    }
}

/// What the scan assistant says of the scanner. The agent hears the answer, too, and takes it for that to a
/// press that it knows nothing of; so its end of that is waited for.
Dictionary deviceInfoFromAssistant(const std::string& driverName) {
    Waiting waiting({notifications::didFinishScannerConfirmation, notifications::scanEventDidFinish});
    if (!TrLaunchApplicationManager::sharedLaunchApplicationManager()->launchScanAssistantWithWait()) {
        throw Failure(notFound, "the scan assistant, which knows the scanners, cannot be launched");
    }
    platform::current().notifications.post(notifications::replyScannerConfirmation,
                                           Dictionary{{"DriverName", driverName}}, true);
    const auto answer = waiting.wait(notifications::didFinishScannerConfirmation, confirmationSeconds);
    if (!answer) {
        throw Failure(failed, "the scan assistant does not answer");
    }
    waiting.wait(notifications::scanEventDidFinish, agentAnswerSeconds);
    const auto devices = platform::dictionaryAt(*answer, "UpdatedDeviceInfo").value_or(Dictionary());
    const auto device = platform::dictionaryAt(devices, driverName);
    if (platform::integerAt(*answer, "ScannerConfirmResult").value_or(-1) != 0 || !device) {
        throw Failure(notFound, "the scan assistant finds no scanner of the driver " + printable(driverName));
    }
    return *device;
}

/// The project as it would be run for the driver; a `Failure` for one that does not scan.
ListedProject projectToTest(const std::string& projectID, const Dictionary& deviceInfo) {
    const auto driver = TrScannerDriverInformation::initWithDriverInformation({});
    driver->setDeviceInfo(deviceInfo);
    ListedProject listed = requireProject(scanProjects(driver), projectID);
    if (!listed.isAvailable || !listed.project->isScanAble()) {
        throw Failure(notFound,
                      "project " + listed.idAndName() +
                          (listed.origin == ListedProject::Origin::noAction ? " does nothing at all"
                           : listed.isAvailable ? " does not scan by itself: it launches an application"
                                                : " is not available: " + listed.problem.value_or("")));
    }
    return listed;
}

/// Files that were scanned; none when the scan failed.
std::optional<std::vector<std::string>> scannedFiles(const Dictionary& result) {
    std::vector<std::string> files;
    for (const Value& file : platform::arrayAt(result, "ScanResult").value_or(Array())) {
        if (file.text() != nullptr) {
            files.push_back(*file.text());
        }
    }
    const bool isFailed = files.empty() || files.front() == notifications::failedScanMark;
    return isFailed ? std::nullopt : std::optional(files);
}

ExitCode tell(const ListedProject& listed, const std::vector<std::string>& files, bool asJson,
              std::ostream& out) {
    if (asJson) {
        printJson(out, Dictionary{{"project", listed.id()}, {"files", Array(files.begin(), files.end())}});
        return done;
    }
    out << "Project " << listed.idAndName() << " scanned:\n";
    for (const std::string& file : files) {
        out << "  " << printable(file) << '\n';
    }
    return done;
}

ExitCode testScan(const Arguments& arguments, std::ostream& out, std::ostream&) {
    constexpr std::int64_t defaultTimeOutSeconds = 300;
    const std::string projectID = arguments.requireOperands({"PROJECT"}).front();
    const std::string driverName = arguments.text("driver").value_or("");
    const std::int64_t seconds = arguments.integer("timeout", defaultTimeOutSeconds, 1, secondsOfDay);
    const std::optional<std::string> modelID = arguments.text("model-id");
    const SettingsSession session(rootOf(arguments));
    const std::string eventID = arguments.text("event").value_or("100");
    if (arguments.has("event")) {
        requireEvent(eventID);
    }
    requireIdleAgent();
    const Dictionary deviceInfo =
        modelID ? Dictionary{{"DeviceInfoModelID",
                              std::int64_t{platform::hexadecimalValue(requireModelID(*modelID))}}}
                : deviceInfoFromAssistant(driverName);
    const ListedProject listed = projectToTest(projectID, deviceInfo);

    Waiting waiting({notifications::didFinishScan, notifications::scanEventDidFinish});
    platform::current().notifications.post(
        notifications::testScanningWillStart,
        Dictionary{{"TestScanDriverInfo",
                    Dictionary{{"DriverInfoDrivername", driverName}, {"DriverInfoMakerName", "PELOX"}}},
                   {"TestScanDeviceInfo", deviceInfo},
                   {"TestScanProjectFilePath", listed.path},
                   {"TestScanScanSettings", listed.project->scanSettings()},
                   {"TestScanEventID", eventID}},
        true);
    const bool isOver =
        waiting.wait(notifications::scanEventDidFinish, static_cast<double>(seconds)).has_value();
    const std::optional<Dictionary> result = waiting.heard(notifications::didFinishScan);
    if (result) {
        if (const auto files = scannedFiles(*result)) {
            return tell(listed, *files, arguments.has("json"), out);
        }
        throw Failure(failed, "the scan failed; is the scanner attached and is there paper?");
    }
    throw Failure(failed, isOver ? "the agent ended the test without a scan; trigoractl log on tells more"
                                 : "the scan did not end within " + std::to_string(seconds) +
                                       " seconds; it goes on, and only the waiting is over");
}

} // namespace

Command testScanCommand() {
    return {.name = "test-scan",
            .operands = "PROJECT",
            .summary = "Has the agent scan with a project, to try it.",
            .options = testScanOptions,
            .run = testScan,
            .details = testScanDetails,
            .examples = testScanExamples,
            .usesPlatform = true};
}

} // namespace trigora::tools
