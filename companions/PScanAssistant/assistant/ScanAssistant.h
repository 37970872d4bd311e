#pragma once

#include "companions/PScanAssistant/assistant/ScanReporter.h"
#include "companions/PScanAssistant/scanners/ScannerDirectory.h"
#include "companions/PScanAssistant/scanning/ScannerThread.h"
#include "companions/PScanAssistant/settings/ScanSettings.h"
#include "platform/DistributedNotifications.h"
#include "platform/Platform.h"

#include <string>

namespace trigora::companions {

/// The agent's partner at the scanner. It has no window; it is launched by the agent, listens to the
/// notifications below and is told to quit when its job is done:
///
///     ReplyScannerConfirmation…     opens the scanner, answers DidFinishScannerConfirmation…
///     ReplyScan…                    scans into files, answers DidFinishScan… (also when it failed)
///     ReplyDriverNameWithIPAddress… answers DidGetDriverNameWithIPAddress… when it knows the scanner
///     ReplySetCurrentDriver…        remembers the driver for scans that name none
///     ReplyLaunchPlScan…            starts the scanning application that the settings name
///     DidFinishLaunchingSA…         begins anew, as if just launched
///     ReplyScanCancel…              ends the scan that is under way; its pages are kept
///     ReplySAQuit…                  cancels what is under way and stops the loop
///
/// What an assistant before it has left unfinished is completed first. Requests are answered in their order;
/// one is never left without an answer, however the scanner behaves. Main thread; the work with the scanner
/// is done on a thread of its own.
class ScanAssistant {
public:
    /// How `folderOnDisk` maps a folder as the system spells it to the one to write in.
    using FolderOnDisk = std::function<std::string(const std::string&)>;

    /// Begins to listen. The scanners are used on the scanner thread only.
    ScanAssistant(Scanners& scanners, FolderOnDisk folderOnDisk, ScanReporter& reporter);
    ScanAssistant(const ScanAssistant&) = delete;
    ScanAssistant& operator=(const ScanAssistant&) = delete;
    ~ScanAssistant();

    /// After the loop: cancels what is under way. False when the scanner does not let go; the program then
    /// has to end without tidying up.
    bool end() { return thread_.end(); }

private:
    void observe(const std::string& name, void (ScanAssistant::*handler)(const Dictionary&));

    void confirmScanner(const Dictionary& request);
    void scan(const Dictionary& request);
    void findDriverAtAddress(const Dictionary& request);
    void setCurrentDriver(const Dictionary& request);
    void launchScanningApplication(const Dictionary& request);
    void beginAnew(const Dictionary& request);
    void cancelScan(const Dictionary& request);
    void quit(const Dictionary& request);

    void rescueUnfinishedScans();

    Scanners& scanners_;
    FolderOnDisk folderOnDisk_;
    ScanReporter& reporter_;
    ScannerDirectory directory_;
    std::string currentDriverName_;
    std::vector<platform::DistributedNotifications::ObserverID> observers_;
    ScannerThread thread_;
};

} // namespace trigora::companions
