#pragma once

#include "agent/service/DeviceTable.h"
#include "agent/service/ScanAssistantWatch.h"
#include "agent/service/ScanPress.h"
#include "agent/service/UnansweredRequests.h"
#include "platform/AppleEvents.h"
#include "platform/DistributedNotifications.h"
#include "platform/Value.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace trigora {

class TgaActionRunner;
class TgaSurveillant;
class TrProjectInformation;
class TrScannerDriverInformation;

/// The centre of the agent: takes the scanner driver's button event, finds the project bound to it and has
/// it run, and hears what the other applications report.
///
/// A button press goes through two states. Waiting for confirmation: the event has arrived, the scan
/// assistant has been launched and asked to confirm the scanner; the current event holds the press.
/// Running: the confirmation has come, the current event is gone, and the project manager and the action
/// runners own the job until the scan is over. The usual order of events is
///
///     Apple Event 'PLsc'/'OPtw'                               -> launch, ask for confirmation
///     "DidFinishScannerConfirmationDistributedNotification"   -> map, look up, run the project
///     "DidFinishScanDistributedNotification"                  -> the runner's action, tidy up
///
/// A scan assistant that exits without an answer ends the run that it was at work for; a press that has not
/// waited long for its confirmation is put to a new one, once, and refused otherwise. So is a press that was
/// confirmed when its assistant had gone or was still scanning for another, and one that a test scan came
/// before. An assistant that came up too late to hear the request is asked again as soon as it is on the bus.
///
/// A second press while one waits for its confirmation replaces it: the later press wins. Every press that
/// fails, and every scan that ends, posts "ScanEventDidFinishNotification" exactly once.
///
/// Everything runs on the main thread, except what handles the current event and the reported driver name,
/// which the callbacks of the loaded modules use: that may be called from any thread.
class TgaServiceManager {
public:
    /// The one instance, which lives as long as the process.
    static std::shared_ptr<TgaServiceManager> sharedServiceManager();

    TgaServiceManager();
    ~TgaServiceManager();
    TgaServiceManager(const TgaServiceManager&) = delete;
    TgaServiceManager& operator=(const TgaServiceManager&) = delete;

    /// Reads the device table, takes the button event, observes the other applications and watches the
    /// monitor folders. No step depends on the success of an earlier one.
    void setupService();

    /// Puts a press with this event into the place of the one in progress. Any thread.
    ScanPress setCurrentEvent(Dictionary currentEvent);
    /// The event in progress as it is now. Any thread.
    ScanPress currentPress() const;
    /// The folders that are watched now.
    std::vector<std::string> watchedFolders() const;

    /// The driver name that the scanning application last reported; none until then. Any thread.
    std::optional<std::string> getDriverName() const;
    /// Forgets it, before a driver is asked for anew. Any thread.
    void forgetDriverName();
    /// Whether an answer has come since it was forgotten, with a name or without. Any thread.
    bool isDriverNameAnswered() const;

private:
    using Observer = void (TgaServiceManager::*)(const platform::Notification&);

    /// A press that waits for the confirmation of its scanner.
    struct WaitingPress {
        ScanPress press;
        double since;                          ///< monotonic seconds
        std::optional<std::int32_t> assistant; ///< that was asked and may still answer: its process ID
        bool isRepeated = false; ///< the request was put to another assistant, which is done once
    };

    // Set-up and refresh.
    void SM_RegistrationAppleEvent();
    void SM_RemoveAppleEvent();
    void SM_RegistrationDistributedNotification();
    void SM_RemoveDistributedNotification();
    /// Drops every watcher, then makes one per monitor event.
    void SM_RunMonitorFolder();
    /// A scan assistant that runs already may have been asked by an agent before this one.
    void noteFormerAssistant();
    void observe(const std::string& name, Observer handler);

    // From a button event to the run of a project.
    void SM_HandleScanEvent(const platform::AppleEvent& event, platform::AppleEvent& replyEvent);
    void SM_ScannerConfirmationDidFinish(const platform::Notification& notification);
    /// The scanner of the running project is confirmed, or not.
    void executeAction(TgaActionRunner& runner, std::int64_t result);
    /// The scanner of a press is confirmed, or not.
    void confirmPress(const ScanPress& press, const Dictionary& userInfo, std::int64_t result);
    /// Ends a press or a run that failed.
    static void receiveError();
    /// Whether a project was started; says so to the user when the button is not supported.
    bool SM_CheckEventInfo(const Dictionary& event, const std::optional<Dictionary>& deviceInfo,
                           const std::optional<std::string>& scannerVersion);
    bool SM_EventAction(const Dictionary& event, const std::string& eventID,
                        const std::optional<Dictionary>& deviceInfo,
                        const std::optional<std::string>& scannerVersion);

    void SM_ReadDevInfFile();
    /// There is no event in progress any more, unless another has taken this one's place.
    void forgetPress(const ScanPress& press);
    bool isCurrent(const ScanPress& press) const;
    /// Tells the other applications that a button event or a scan is over, however it went.
    static void postScanEventDidFinish();

    // The scan assistant, which may come up late, exit without an answer, or answer what is over.

    /// Has it asked to confirm the scanner of the press that waits; again when it listens only later.
    void askScanAssistant();
    void askScanAssistantThatCameUpLate();
    void scanAssistantHasGone(std::optional<std::int32_t> assistant);
    /// Ends the run that the scan assistant left behind, and asks a new one for the press that still waits.
    void goOnWithWaitingPress();
    /// Puts the press that waits to another assistant, or refuses it.
    void repeatWaitingPress();
    /// Ends the press that waits, without a run.
    void refuseWaitingPress(const std::string& reason);
    /// Has the project manager run a project.
    void runProject(const std::shared_ptr<TrProjectInformation>& project,
                    const std::shared_ptr<TrScannerDriverInformation>& driver, const std::string& eventID,
                    const std::optional<std::string>& address);
    UnansweredRequests::Run currentRun() const;
    /// Ends a project's run that no scan assistant is at work for any more.
    void endRunOfDeadScanAssistant();

    // What the other applications report.
    void SM_ScanDidFinish(const platform::Notification& notification);
    void SM_PeloxScanLaunchingDidFinish(const platform::Notification& notification);
    void SM_ReplyDriverNameWithIPAddressDidFinish(const platform::Notification& notification);
    void SM_ScanSettingsDidChange(const platform::Notification& notification);
    void SM_MonitorFolderSettingsDidChange(const platform::Notification& notification);
    void SM_TestScanningWillStart(const platform::Notification& notification);
    /// 0 when the test scan's project was handed to the project manager, else -1. The dictionary is what came
    /// with the request for it.
    std::int32_t SM_RunTestScan(const Dictionary& deviceInfo, const Dictionary& dictionary_TestScanInfo);

    /// None when there is no readable table.
    std::optional<DeviceTable> array_DeviceInfoList;
    ScanPress dictionary_CurrentEvent; ///< guarded by mutex_
    std::uint64_t lastSerial_ = 0;     ///< guarded by mutex_
    std::vector<std::unique_ptr<TgaSurveillant>> mutableArray_MonitorFolder;
    std::optional<std::string> string_ScannerName; ///< guarded by mutex_
    bool isDriverNameAnswered_ = false;            ///< guarded by mutex_

    std::optional<WaitingPress> waitingPress_;
    bool isRunScanning_ = false; ///< of the run that was started last
    UnansweredRequests unanswered_;
    ScanAssistantWatch assistantWatch_;
    std::optional<std::int32_t> formerAssistant_; ///< one that was there before the agent, and not asked yet

    mutable std::mutex mutex_;
    std::vector<platform::DistributedNotifications::ObserverID> observers_;
};

} // namespace trigora
