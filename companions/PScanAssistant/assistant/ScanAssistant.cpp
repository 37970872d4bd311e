#include "companions/PScanAssistant/assistant/ScanAssistant.h"

#include "agent/log/PSlog.h"
#include "companions/PScanAssistant/scanners/DeviceInformation.h"
#include "companions/PScanAssistant/scanning/ScanJob.h"
#include "files/NotificationNames.h"
#include "platform/FileSystem.h"
#include "platform/Text.h"
#include "platform/Workspace.h"

#include <memory>
#include <mutex>
#include <new>
#include <utility>

namespace trigora::companions {

namespace {

using namespace platform;

constexpr const char* noAnswer = "the scanner does not answer";
constexpr int confirmationFailed = -1;

void post(const char* name, const Dictionary& userInfo) {
    current().notifications.post(name, userInfo, true);
}

struct Confirmation {
    std::optional<Dictionary> information; ///< about the scanner; none when it could not be confirmed
    std::string failure;
};

void answerConfirmation(const DriverEntry& entry, const Confirmation& confirmation) {
    const auto& [information, failure] = confirmation;
    PSlog("scanner of %@: %@", entry.driverName, information ? "confirmed" : failure);
    Dictionary answer{{"ScannerConfirmResult", information ? 0 : confirmationFailed}};
    if (information) {
        answer["UpdatedDeviceInfo"] = Dictionary{{entry.driverName, *information}};
        answer["ScannerVersion"] = entry.version;
    } else {
        answer["Reason"] = failure;
    }
    post(notifications::didFinishScannerConfirmation, answer);
}

/// What the work on the scanner thread has come to so far, for the main thread to see at any time.
template <typename Value> class Outcome {
public:
    explicit Outcome(Value value) : value_(std::move(value)) {}
    void set(Value value) {
        const std::lock_guard lock(mutex_);
        value_ = std::move(value);
    }
    Value get() const {
        const std::lock_guard lock(mutex_);
        return value_;
    }

private:
    mutable std::mutex mutex_;
    Value value_;
};

/// Lets the control know the scanner for as long as this lives.
class UseOfScanner {
public:
    UseOfScanner(ScanControl& control, Scanner& scanner) : control_(control) { control_.use(&scanner); }
    UseOfScanner(const UseOfScanner&) = delete;
    UseOfScanner& operator=(const UseOfScanner&) = delete;
    ~UseOfScanner() { control_.use(nullptr); }

private:
    ScanControl& control_;
};

/// Opens the scanner, which the control knows while the function uses it. Gives why that failed, else
/// nothing.
template <typename Function>
std::string withScanner(Scanners& scanners, const DriverEntry& entry, ScanControl& control,
                        Function function) {
    try {
        std::string reason;
        const std::unique_ptr<Scanner> scanner = openScanner(scanners, entry, reason);
        if (scanner && control.progress() == ScanWish::goOn) {
            const UseOfScanner use(control, *scanner);
            function(*scanner);
        }
        return reason;
    } catch (const std::bad_alloc&) {
        return "there is not enough memory";
    } catch (const std::exception& exception) {
        return exception.what();
    }
}

/// The folder to scan into, made when missing; none when there is none.
std::optional<std::string> targetFolder(const std::string& wanted) {
    Platform& platform = current();
    std::string folder = expandingTildeInPath(wanted);
    if (!folder.starts_with('/')) {
        folder = platform.folders.documents().value_or("");
    }
    if (folder.empty() || (!platform.fileSystem.isDirectory(folder) &&
                           !platform.fileSystem.createDirectory(folder, true, std::nullopt))) {
        return std::nullopt;
    }
    return folder;
}

} // namespace

ScanAssistant::ScanAssistant(Scanners& scanners, FolderOnDisk folderOnDisk, double timeLimit)
    : scanners_(scanners), folderOnDisk_(std::move(folderOnDisk)),
      thread_(current().runLoop, current().clock, timeLimit) {
    observe(notifications::replyScannerConfirmation, &ScanAssistant::confirmScanner);
    observe(notifications::replyScan, &ScanAssistant::scan);
    observe(notifications::replyDriverNameWithIPAddress, &ScanAssistant::findDriverAtAddress);
    observe(notifications::replySetCurrentDriver, &ScanAssistant::setCurrentDriver);
    observe(notifications::replyLaunchPlScan, &ScanAssistant::launchScanningApplication);
    observe(notifications::didFinishLaunchingSA, &ScanAssistant::beginAnew);
    observe(notifications::replySAQuit, &ScanAssistant::quit);
}

ScanAssistant::~ScanAssistant() {
    for (const auto observer : observers_) {
        current().notifications.removeObserver(observer);
    }
}

void ScanAssistant::observe(const std::string& name, void (ScanAssistant::*handler)(const Dictionary&)) {
    observers_.push_back(
        current().notifications.observe(name, [this, handler](const Notification& notification) {
            (this->*handler)(notification.userInfo.value_or(Dictionary{}));
        }));
}

void ScanAssistant::confirmScanner(const Dictionary& request) {
    const std::string driverName = textAt(request, "DriverName").value_or(currentDriverName_);
    const DriverEntry entry = directory_.entry(driverName, networkAddress(request, "IPAddress"));
    auto outcome = std::make_shared<Outcome<Confirmation>>(Confirmation{std::nullopt, noAnswer});
    // When the scanner does not come back from being closed, it has still told what it is.
    const auto answer = [entry, outcome] { answerConfirmation(entry, outcome->get()); };
    thread_.perform({.perform =
                         [this, entry, outcome](ScanControl& control) {
                             const std::string failure =
                                 withScanner(scanners_, entry, control, [&](Scanner& scanner) {
                                     outcome->set({deviceInformation(scanner, entry), {}});
                                 });
                             if (!failure.empty()) {
                                 outcome->set({std::nullopt, failure});
                             }
                         },
                     .finished = answer,
                     .gaveUp = answer});
}

void ScanAssistant::scan(const Dictionary& request) {
    const ScanSettings settings =
        readScanSettings(dictionaryAt(request, "ScanSettings").value_or(Dictionary{}));
    const std::string& driverName = settings.driverName.empty() ? currentDriverName_ : settings.driverName;
    const std::optional<std::string> folder = targetFolder(settings.folderPath);
    if (!folder) {
        answerScan({}, "the folder " + settings.folderPath + " cannot be made");
        return;
    }
    const DriverEntry entry = directory_.entry(driverName, settings.address);
    auto outcome = std::make_shared<Outcome<ScanOutcome>>(ScanOutcome{{}, noAnswer});
    // When the scanner does not come back from being closed, the documents are there all the same.
    const auto answer = [this, folder = *folder, outcome] {
        const ScanOutcome made = outcome->get();
        std::vector<std::string> paths;
        for (const std::string& name : made.fileNames) {
            paths.push_back(appendingPathComponent(folder, name));
        }
        answerScan(paths, made.failure);
    };
    thread_.perform(
        {.perform =
             [this, entry, settings, onDisk = folderOnDisk_(*folder), outcome](ScanControl& control) {
                 const std::string failure = withScanner(scanners_, entry, control, [&](Scanner& scanner) {
                     outcome->set(scanDocument(scanner, settings, onDisk, [&control](bool hasMoved) {
                         return control.progress(hasMoved);
                     }));
                 });
                 if (!failure.empty()) {
                     outcome->set({{}, failure});
                 }
             },
         .finished = answer,
         .gaveUp = answer});
}

void ScanAssistant::answerScan(const std::vector<std::string>& paths, const std::string& failure) {
    const Array files(paths.begin(), paths.end());
    PSlog("scanned: %@", Value(files));
    if (failure.empty()) {
        post(notifications::didFinishScan, {{"ScanResult", files}});
        return;
    }
    std::string reason = failure;
    if (!paths.empty()) {
        reason += "; what was scanned before is kept in " + paths.front();
        reason += paths.size() > 1 ? " to " + paths.back() : "";
    }
    PSlog("scan failed: %@", reason);
    post(notifications::didFinishScan,
         {{"ScanResult", Array{notifications::failedScanMark}}, {"Reason", reason}});
}

void ScanAssistant::findDriverAtAddress(const Dictionary& request) {
    const std::string address = networkAddress(request, "IPAddress");
    auto driverName = std::make_shared<std::optional<std::string>>(directory_.driverNameAtAddress(address));
    // Without a name the answer is of use, too: the agent then knows that nothing more comes.
    const auto answer = [driverName] {
        post(notifications::didGetDriverNameWithIPAddress,
             *driverName ? Dictionary{{"DriverName", **driverName}} : Dictionary{});
    };
    thread_.perform({.perform =
                         [this, address, driverName](ScanControl& /*control*/) {
                             if (!*driverName) {
                                 *driverName = driverNameFoundAtAddress(scanners_, address);
                             }
                         },
                     .finished = answer,
                     .gaveUp = [] { post(notifications::didGetDriverNameWithIPAddress, {}); }});
}

void ScanAssistant::setCurrentDriver(const Dictionary& request) {
    currentDriverName_ = textAt(request, "CurrentDriverName").value_or("");
}

void ScanAssistant::launchScanningApplication(const Dictionary& request) {
    const Dictionary settings = dictionaryAt(request, "PlScanSettings").value_or(Dictionary{});
    const std::string path = textAt(settings, "NextAssistantPath").value_or("");
    // Installed applications only: the path came over the bus.
    const bool isInstalled = path.starts_with("/Applications/") && path.find("/../") == std::string::npos;
    if (!isInstalled || current().workspace.launchApplication(path).status != 0) {
        PSlog("there is no scanning application at %@", path);
        current().runLoop.stop(0);
    }
}

void ScanAssistant::beginAnew(const Dictionary& /*request*/) {
    directory_.reload();
    currentDriverName_.clear();
}

void ScanAssistant::quit(const Dictionary& /*request*/) { current().runLoop.stop(0); }

} // namespace trigora::companions
