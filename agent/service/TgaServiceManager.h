#pragma once

#include "platform/AppleEvents.h"
#include "platform/DistributedNotifications.h"
#include "platform/RunLoop.h"
#include "platform/Value.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace trigora {

class TgaSurveillant;
class TrProjectInformation;

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
/// waited long for its confirmation is put to a new one, once. One that came up too late to hear the request
/// is asked again as soon as it is on the bus.
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

    /// Replaces the event in progress; none when there is none any more. Keys: "initiator" and
    /// "eventStatus" (integers), "modelName", "driverName" and "IPAddress" (texts, each only if known).
    /// Any thread.
    void setCurrentEvent(std::optional<Dictionary> currentEvent);

    /// A copy of the event in progress; empty when there is none. Any thread.
    Dictionary currentEvent() const;
    /// The folders that are watched now.
    std::vector<std::string> watchedFolders() const;

    /// Writes the driver name that the scanning application last reported, or none, into `driverName`. Any
    /// thread.
    void getDriverName(std::optional<std::string>& driverName) const;
    /// Forgets it, before a driver is asked for anew. Any thread.
    void forgetDriverName();
    /// Whether an answer has come since it was forgotten, with a name or without. Any thread.
    bool isDriverNameAnswered() const;

private:
    using Observer = void (TgaServiceManager::*)(const platform::Notification&);

    /// A press that waits for the confirmation of its scanner.
    struct WaitingPress {
        Dictionary event;
        double since;            ///< monotonic seconds
        bool isRepeated = false; ///< the request was put to another assistant, which is done once
    };

    // Set-up and refresh.
    void SM_Initialize();
    void SM_Dealloc();
    void SM_RegistrationAppleEvent();
    void SM_RemoveAppleEvent();
    void SM_RegistrationDistributedNotification();
    void SM_RemoveDistributedNotification();
    /// Drops every watcher, then makes one per monitor event.
    void SM_RunMonitorFolder();
    /// Drops every cached catalogue, so that its next use reads the files afresh.
    void SM_RefreshDataManager();
    void observe(const std::string& name, Observer handler);

    // From a button event to the run of a project.
    void SM_HandleScanEvent(const platform::AppleEvent& event, platform::AppleEvent& replyEvent);
    void SM_ScannerConfirmationDidFinish(const platform::Notification& notification);
    /// The event's project was started, now that the scanner is confirmed.
    bool confirmAction(const Dictionary& userInfo);
    /// Whether a project was started; says so to the user when the button is not supported.
    bool SM_CheckEventInfo(const std::optional<Dictionary>& deviceInfo,
                           const std::optional<std::string>& scannerVersion);
    /// The event ID of the current event's button: 200 + button for a device with job buttons, the device
    /// table's value, or 100 + button for what the table does not map. The model ID has four hexadecimal
    /// digits.
    std::int32_t SM_MappingEventIDWithDevInfo(const std::optional<Dictionary>& deviceInfo,
                                              const std::string& modelID) const;
    /// The bits of the event status that do not number a button; 0 without a model ID.
    std::int32_t SM_FeatureBitOfModelID(const std::optional<std::string>& modelID) const;
    bool SM_EventAction(const std::string& eventID, const std::optional<Dictionary>& deviceInfo,
                        const std::optional<std::string>& scannerVersion);
    /// 375 for a driver that the maker's ID converter knows, else the version of the installed scan-settings
    /// application, 0 without one.
    std::int32_t SM_PeloxScanSettingVersion(const std::optional<std::string>& driverName) const;
    /// "L" for a local scanner with recent scan settings, else none.
    std::optional<std::string> addressOfDriver(const std::optional<std::string>& driverName) const;

    void SM_ReadDevInfFile();
    /// There is no event in progress any more, unless another has taken this one's place.
    void forgetCurrentEvent(const Dictionary& event);
    /// Asks the scan assistant whether the scanner of an event is there.
    static void requestConfirmation(const Dictionary& event);
    /// Tells the other applications that a button event or a scan is over, however it went.
    static void postScanEventDidFinish();

    // When the scan assistant exits without an answer.

    /// Hears of the running scan assistant's end.
    void watchScanAssistant();
    void scanAssistantDidExit();
    /// Ends the run that the scan assistant left behind, and asks a new one for the press that still waits.
    void tidyUpAfterScanAssistant();
    /// Ends a project's run that no scan assistant is at work for any more.
    static void endRunOfDeadScanAssistant();
    void repeatRequestForConfirmation(WaitingPress& press);

    /// Ends the press that waits, without a run.
    void endWaitingPress();

    // When the scan assistant comes up late.

    /// Asks it to confirm the scanner of the press that waits; again when it listens only later.
    void askScanAssistant();
    bool isScanAssistantListening();
    /// A look at the assistant that did not listen when it was asked.
    void lookForScanAssistant();
    void stopWaitingForScanAssistant();

    // What the other applications report.
    void SM_ScanDidFinish(const platform::Notification& notification);
    void SM_PeloxScanLaunchingDidFinish(const platform::Notification& notification);
    void SM_ReplyDriverNameWithIPAddressDidFinish(const platform::Notification& notification);
    void SM_ScanSettingsDidChange(const platform::Notification& notification);
    void SM_MonitorFolderSettingsDidChange(const platform::Notification& notification);
    void SM_TestScanningWillStart(const platform::Notification& notification);
    /// 0 when the test scan's project was handed to the project manager, else -1.
    std::int32_t SM_RunTestScan(const Dictionary& deviceInfo);
    /// The project of the test scan with the scan settings that came with it; null when either is missing.
    std::shared_ptr<TrProjectInformation> testScanProject(const std::optional<std::string>& driverName) const;

    // Read once; none while it has not been read and when it cannot be.
    std::optional<std::vector<Dictionary>> array_DeviceInfoList;
    std::optional<Dictionary> dictionary_CurrentEvent; ///< guarded by mutex_
    std::vector<std::unique_ptr<TgaSurveillant>> mutableArray_MonitorFolder;
    std::optional<Dictionary> dictionary_TestScanInfo; ///< only while a test scan is being started
    std::optional<std::string> string_ScannerName;     ///< guarded by mutex_
    bool isDriverNameAnswered_ = false;                ///< guarded by mutex_

    std::optional<std::int32_t> watchedScanAssistant_; ///< its process ID
    platform::RunLoop::TimerID tidyUpTimer_ = 0;       ///< 0 when there is none
    std::optional<WaitingPress> waitingPress_;
    std::optional<std::int32_t>
        listeningScanAssistant_;                    ///< the process ID of one that has been seen to listen
    platform::RunLoop::TimerID listeningTimer_ = 0; ///< 0 when there is none

    mutable std::mutex mutex_;
    std::vector<platform::DistributedNotifications::ObserverID> observers_;
};

} // namespace trigora
