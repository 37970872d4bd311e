#pragma once

#include <optional>
#include <string>

/// Where the installed and the per-user files lie. Together with `TrFilePathUtility`, which builds its
/// answers from here, this is the one place that spells such paths. Per-user paths come with the home folder
/// filled in. Nothing here touches the disk. Any thread.
namespace trigora::paths {

// The product's own resources.

/// "…/Trigora.app/Contents/Resources"
std::string resourcesFolder();
/// The device table "DevInf.def".
std::string deviceTableFile();
/// What each scanner model can do: "ScannerDevCap.ini".
std::string scannerCapabilityFile();
/// The scanner drivers that the scan assistant knows: "ScannerDrivers.ini".
std::string scannerDriversFile();
/// Which sensors of a scanner are buttons: "ScannerButtons.ini".
std::string scannerButtonsFile();
/// Holds the installed event files (extension "plg").
std::string eventFolder();
/// The event file that new job events are made from.
std::string defaultJobEventFile();
/// Holds the installed action files (extension "adi").
std::string actionFolder();
/// Holds the predefined projects (extension "plg").
std::string predefinedProjectFolder();
/// Holds one folder of settings per device or model.
std::string deviceSettingsFolder();
/// The picture of the project that does nothing.
std::string noActionProjectIcon();
/// The picture of the user's projects.
std::string customProjectIcon();

// The product's programs and modules.

std::string agentApplication();
std::string agentExecutable();
std::string scanAssistantExecutable();
/// Shows the desktop notification of a scan.
std::string scanNoticeExecutable();
std::string buttonServiceExecutable();
/// The program that the button service reads scanners with.
std::string buttonReaderExecutable();
std::string panelDriverModule();
/// The module in the bundle of the running agent, which is given.
std::string networkScanModule(const std::string& agentBundle);
std::string usbScanModule(const std::string& agentBundle);

// Other applications.

std::string scanApplication();
/// Where the scanning application lay before it moved into the maker's folder.
std::string formerScanApplication();
/// The newer scanning application, "Pelox Scan 2.app".
std::string newerScanApplication();
std::string scanSettingsApplication();
/// Where it may lie instead.
std::string scanSettingsApplicationInUtilities();
std::string copyApplication();
std::string photoApplication();
std::string documentCaptureApplication();
std::string quilloApplication();
std::string quilloButtonManagerModule();
std::string fotrixApplication();
std::string fotrixButtonManagerModule();
/// The maker's scanner driver.
std::string imageCaptureDriver();
/// The program that runs scripts.
std::string scriptProgram();

// The user's settings. A model ID is written into the path as it is given.

/// "~/Library/Preferences"
std::string preferencesFolder();
/// "~/Library/Preferences/PELOX/Trigora"
std::string userFolder();
std::string settingsFolder();
/// The settings folder of an earlier version.
std::string formerSettingsFolder();
/// Button bindings of one model, or of none.
std::string buttonBindingsFile(const std::optional<std::string>& modelID);
std::string formerButtonBindingsFile(const std::optional<std::string>& modelID);
std::string watchedFolderSettingsFile();
/// The user's own "ScannerDrivers.ini", which counts before the installed one.
std::string userScannerDriversFile();
/// The user's own "ScannerButtons.ini", whose lines count before the installed ones.
std::string userScannerButtonsFile();
/// An earlier version kept each watched folder in a file of its own: 1, 2 or 3.
std::string formerWatchedFolderSettingsFile(int number);
std::string formerWatchedFolderBindingsFile();
/// Documents that are being scanned, and what is left of them when the scan assistant is killed.
std::string unfinishedScansFolder();
/// The agent's temporary files.
std::string temporaryFolder();
/// Emptied whenever the events are read.
std::string loginScratchFolder();

} // namespace trigora::paths
