#include "companions/PScanAssistant/assistant/ScanAssistant.h"

#include "agent/log/PSlog.h"
#include "companions/PScanAssistant/scanners/DeviceInformation.h"
#include "companions/PScanAssistant/scanning/ScanJob.h"
#include "files/FileManagerExtension.h"
#include "files/InstalledPaths.h"
#include "files/NotificationNames.h"
#include "platform/Clock.h"
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

const ScanFailure noAnswer{ScanFailure::Kind::noAnswer, "the scanner does not answer"};
constexpr int confirmationFailed = -1;
// How long an open scanner may be silent, in seconds; slow ones warm up for a minute.
constexpr double scanTimeLimit = 120;

void post(const char* name, const Dictionary& userInfo) {
    current().notifications.post(name, userInfo, true);
}

struct Confirmation {
    std::optional<Dictionary> information; ///< about the scanner; none when it could not be confirmed
    ScanFailure failure;
};

void answerConfirmation(const DriverEntry& entry, const Confirmation& confirmation) {
    const auto& [information, failure] = confirmation;
    PSlog("scanner of %@: %@", entry.driverName, information ? "confirmed" : failure.reason);
    Dictionary answer{{"ScannerConfirmResult", information ? 0 : confirmationFailed}};
    if (information) {
        answer["UpdatedDeviceInfo"] = Dictionary{{entry.driverName, *information}};
        answer["ScannerVersion"] = entry.version;
    } else {
        answer["Reason"] = failure.reason;
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

/// Lets the scan know what is wanted of it, and reports how it goes.
class ControlledScan final : public ScanWatch {
public:
    ControlledScan(ScanControl& control, ScanReporter& reporter, const std::string& driverName)
        : control_(control), reporter_(reporter) {
        report_.driverName = driverName;
        reporter_.report(report_);
    }
    ScanWish progress(bool hasMoved) override { return control_.progress(hasMoved); }
    void pagesRead(std::size_t count) override {
        report_.state = ScanReport::State::scanning;
        report_.pageCount = count;
        reporter_.report(report_);
    }
    void scannerIsBusy() override {
        report_.state = ScanReport::State::busy;
        reporter_.report(report_);
    }

private:
    ScanControl& control_;
    ScanReporter& reporter_;
    ScanReport report_;
};

/// A scanner in use is tried again for some seconds, which whoever watches hears of.
std::unique_ptr<Scanner> openPatiently(Scanners& scanners, const DriverEntry& entry, ScanControl& control,
                                       ScanWatch* watch, ScanFailure& failure) {
    Clock& clock = current().clock;
    const double end = clock.monotonicSeconds() + secondsOfPatience;
    for (;;) {
        failure = {};
        std::unique_ptr<Scanner> scanner = openScanner(scanners, entry, failure);
        if (failure.kind != ScanFailure::Kind::busy || clock.monotonicSeconds() >= end ||
            control.progress() != ScanWish::goOn) {
            return scanner;
        }
        if (watch != nullptr) {
            watch->scannerIsBusy();
        }
        clock.sleepMicroseconds(microsecondsBetweenTries);
    }
}

/// Opens the scanner, which the control knows while the function uses it. Returns why that failed.
template <typename Function>
ScanFailure withScanner(Scanners& scanners, const DriverEntry& entry, ScanControl& control, ScanWatch* watch,
                        Function function) {
    try {
        ScanFailure failure;
        const std::unique_ptr<Scanner> scanner = openPatiently(scanners, entry, control, watch, failure);
        if (scanner && control.progress() == ScanWish::goOn) {
            control.setTimeLimit(scanTimeLimit);
            const UseOfScanner use(control, *scanner);
            function(*scanner);
        }
        return failure;
    } catch (const std::bad_alloc&) {
        return {ScanFailure::Kind::noMemory, "there is not enough memory"};
    } catch (const std::exception& exception) {
        return {ScanFailure::Kind::broken, exception.what()};
    }
}

/// Where documents go whose own folder does not take them any more.
std::vector<std::string> otherFolders() {
    Folders& folders = current().folders;
    std::vector<std::string> others{folders.home()};
    if (const std::optional<std::string> documents = folders.documents()) {
        others.insert(others.begin(), *documents);
    }
    return others;
}

/// Made when missing.
std::string workFolder() {
    std::string folder = paths::unfinishedScansFolder();
    current().fileSystem.createDirectory(folder, true, std::nullopt);
    return folder;
}

void tellScanned(const std::vector<std::string>& paths, const ScanOutcome& outcome) {
    const Array files(paths.begin(), paths.end());
    PSlog("scanned: %@", Value(files));
    Dictionary answer{{"ScanResult", files}};
    if (outcome.failure) {
        std::string reason = outcome.failure.reason;
        if (!paths.empty()) {
            reason += "; what was scanned before is kept in " + paths.front();
            reason += paths.size() > 1 ? " to " + paths.back() : "";
        }
        PSlog("scan failed: %@", reason);
        answer = {{"ScanResult", Array{notifications::failedScanMark}}, {"Reason", reason}};
    }
    if (!outcome.notes.empty()) {
        Array notes;
        for (const ScanNote& note : outcome.notes) {
            notes.emplace_back(note.text());
        }
        PSlog("scan notes: %@", Value(notes));
        answer["Notes"] = notes;
    }
    post(notifications::didFinishScan, answer);
}

/// The documents as the system spells their folder, which is not always how the disk does.
std::vector<std::string> spelled(const std::vector<std::string>& onDisk, const std::string& folderOnDisk,
                                 const std::string& folder) {
    std::vector<std::string> paths;
    for (const std::string& path : onDisk) {
        const bool isInFolder = deletingLastPathComponent(path) == withoutTrailingSlashes(folderOnDisk);
        paths.push_back(isInFolder ? appendingPathComponent(folder, lastPathComponent(path)) : path);
    }
    return paths;
}

/// The folder to scan into, made when missing; none when there is none.
std::optional<std::string> targetFolder(const std::string& wanted) {
    Platform& platform = current();
    std::string folder = expandingTildeInPath(wanted);
    if (!folder.starts_with('/')) {
        folder = platform.folders.documents().value_or("");
    }
    if (folder.empty() ||
        (!platform.fileSystem.isDirectory(folder) && !exCreateDirectoryAtPath(folder, true, std::nullopt))) {
        return std::nullopt;
    }
    return folder;
}

} // namespace

ScanAssistant::ScanAssistant(Scanners& scanners, FolderOnDisk folderOnDisk, ScanReporter& reporter)
    : scanners_(scanners), folderOnDisk_(std::move(folderOnDisk)), reporter_(reporter),
      thread_(current().runLoop, current().clock) {
    observe(notifications::replyScannerConfirmation, &ScanAssistant::confirmScanner);
    observe(notifications::replyScan, &ScanAssistant::scan);
    observe(notifications::replyDriverNameWithIPAddress, &ScanAssistant::findDriverAtAddress);
    observe(notifications::replySetCurrentDriver, &ScanAssistant::setCurrentDriver);
    observe(notifications::replyLaunchPlScan, &ScanAssistant::launchScanningApplication);
    observe(notifications::didFinishLaunchingSA, &ScanAssistant::beginAnew);
    observe(notifications::replyScanCancel, &ScanAssistant::cancelScan);
    observe(notifications::replySAQuit, &ScanAssistant::quit);
    rescueUnfinishedScans();
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
    const auto answer = [this, entry, outcome] {
        const Confirmation confirmation = outcome->get();
        if (!confirmation.information) {
            reporter_.report({.state = ScanReport::State::failed,
                              .driverName = entry.driverName,
                              .pageCount = 0,
                              .paths = {},
                              .failure = confirmation.failure,
                              .notes = {}});
        }
        answerConfirmation(entry, confirmation);
    };
    thread_.perform({.perform =
                         [this, entry, outcome](ScanControl& control) {
                             const ScanFailure failure =
                                 withScanner(scanners_, entry, control, nullptr, [&](Scanner& scanner) {
                                     outcome->set({deviceInformation(scanner, entry), {}});
                                 });
                             if (failure) {
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
        tellScanned({}, {.paths = {},
                         .pageCount = 0,
                         .failure = {ScanFailure::Kind::folder,
                                     "the folder " + settings.folderPath + " cannot be made"},
                         .notes = {}});
        return;
    }
    const DriverEntry entry = directory_.entry(driverName, settings.address);
    const ScanPlace place{folderOnDisk_(*folder), workFolder(), otherFolders()};
    auto outcome = std::make_shared<Outcome<ScanOutcome>>(ScanOutcome{{}, 0, noAnswer, {}});
    const auto report = [this, driverName = entry.driverName, folder = *folder, onDisk = place.folder,
                         outcome] {
        const ScanOutcome made = outcome->get();
        reporter_.report({.state = made.failure ? ScanReport::State::failed : ScanReport::State::finished,
                          .driverName = driverName,
                          .pageCount = made.pageCount,
                          .paths = spelled(made.paths, onDisk, folder),
                          .failure = made.failure,
                          .notes = made.notes});
    };
    const auto answer = [folder = *folder, onDisk = place.folder, outcome] {
        const ScanOutcome made = outcome->get();
        tellScanned(spelled(made.paths, onDisk, folder), made);
    };
    thread_.perform({.perform =
                         [this, entry, settings, place, outcome, report](ScanControl& control) {
                             ControlledScan watch(control, reporter_, entry.driverName);
                             const ScanFailure failure =
                                 withScanner(scanners_, entry, control, &watch, [&](Scanner& scanner) {
                                     outcome->set(scanDocument(scanner, settings, place, watch));
                                     // At once: when told to quit, the program ends without an answer.
                                     report();
                                 });
                             if (failure) {
                                 outcome->set({{}, 0, failure, {}});
                                 report();
                             }
                         },
                     .finished = answer,
                     // When the scanner does not come back from being closed, the documents are there all the
                     // same.
                     .gaveUp =
                         [report, answer] {
                             report();
                             answer();
                         }});
}

void ScanAssistant::rescueUnfinishedScans() {
    const std::string folder = paths::unfinishedScansFolder();
    if (!current().fileSystem.isDirectory(folder)) {
        return;
    }
    thread_.perform({.perform =
                         [folder, others = otherFolders()](ScanControl& control) {
                             control.setTimeLimit(scanTimeLimit);
                             for (const RescuedDocument& document : rescueUnfinished(folder, others)) {
                                 PSlog("completed: %@", document.path);
                             }
                         },
                     .finished = [] {},
                     .gaveUp = [] {}});
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

void ScanAssistant::cancelScan(const Dictionary& /*request*/) { thread_.cancelRunning(); }

void ScanAssistant::quit(const Dictionary& /*request*/) { current().runLoop.stop(0); }

} // namespace trigora::companions
