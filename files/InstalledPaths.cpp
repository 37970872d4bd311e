#include "files/InstalledPaths.h"

#include "platform/FileSystem.h"
#include "platform/Text.h"

namespace trigora::paths {

namespace {

std::string resource(const std::string& path) { return resourcesFolder() + "/" + path; }

std::string makersApplication(const std::string& name) { return "/Applications/Pelox Software/" + name; }

std::string perUser(const std::string& path) { return platform::expandingTildeInPath("~/" + path); }

std::string bindingsFile(const std::string& folder, const std::optional<std::string>& modelID) {
    return folder + (modelID ? "/Model" + *modelID : "") + "/ButtonEventProjectInfo.plist";
}

} // namespace

std::string resourcesFolder() { return makersApplication("Trigora.app/Contents/Resources"); }

std::string deviceTableFile() { return resource("Assistants/Trigora/Resources/DevInf.def"); }

std::string scannerCapabilityFile() { return resource("Assistants/Scan Assistant/ScannerDevCap.ini"); }

std::string scannerDriversFile() { return resource("Assistants/Scan Assistant/ScannerDrivers.ini"); }

std::string scannerButtonsFile() { return resource("Assistants/Scanner Buttons/ScannerButtons.ini"); }

std::string eventFolder() { return resource("Common/EventInfo"); }

std::string defaultJobEventFile() { return eventFolder() + "/Job.plg"; }

std::string actionFolder() { return resource("Applications"); }

std::string predefinedProjectFolder() { return resource("Common/AppInfo1"); }

std::string deviceSettingsFolder() { return resource("Devices"); }

std::string noActionProjectIcon() { return resource("Common/AppInfo1/CustomProject/System Default.png"); }

std::string customProjectIcon() { return resource("Common/AppInfo1/CustomProject/Custom Project.png"); }

std::string agentApplication() { return resource("Assistants/Trigora/TrigoraAgent.app"); }

std::string agentExecutable() { return agentApplication() + "/Contents/MacOS/TrigoraAgent"; }

std::string scanAssistantExecutable() {
    return resource("Assistants/Scan Assistant/PScanAssistant.app/Contents/MacOS/PScanAssistant");
}

std::string scanNoticeExecutable() {
    return resource("Assistants/Scan Assistant/TrigoraNotice.app/Contents/MacOS/TrigoraNotice");
}

std::string buttonServiceExecutable() {
    return resource("Assistants/Scanner Buttons/TrigoraButtons.app/Contents/MacOS/TrigoraButtons");
}

std::string buttonReaderExecutable() {
    return resource("Assistants/Scanner Buttons/TrigoraButtons.app/Contents/MacOS/TrigoraButtonReader");
}

std::string panelDriverModule() { return agentApplication() + "/Contents/Resources/PanelDriver.bundle"; }

std::string networkScanModule(const std::string& agentBundle) {
    return platform::appendingPathComponent(agentBundle, "Contents/PlugIns/NetScanBundle.bundle");
}

std::string usbScanModule(const std::string& agentBundle) {
    return platform::appendingPathComponent(agentBundle, "Contents/PlugIns/UsbScanBundle.bundle");
}

std::string scanApplication() { return makersApplication("PELOX Scan.app"); }

std::string formerScanApplication() { return "/Applications/PELOX Scan.app"; }

std::string newerScanApplication() { return makersApplication("Pelox Scan 2.app"); }

std::string scanSettingsApplication() { return makersApplication("PELOX Scan Settings.app"); }

std::string scanSettingsApplicationInUtilities() { return "/Applications/Utilities/PELOX Scan Settings.app"; }

std::string copyApplication() { return makersApplication("Duplora.app"); }

std::string photoApplication() { return makersApplication("Fotilo.app"); }

std::string documentCaptureApplication() { return makersApplication("Scrivana.app"); }

std::string quilloApplication() { return makersApplication("Pelox Quillo.app"); }

std::string quilloButtonManagerModule() {
    return quilloApplication() + "/Contents/Resources/ButtonManager.bundle";
}

std::string fotrixApplication() { return makersApplication("Pelox Fotrix.app"); }

std::string fotrixButtonManagerModule() {
    return fotrixApplication() + "/Contents/Resources/ButtonManager.bundle";
}

std::string imageCaptureDriver() { return "/Library/Image Capture/Devices/PELOX Scanner.app"; }

std::string scriptProgram() { return "/usr/bin/osascript"; }

std::string preferencesFolder() { return perUser("Library/Preferences"); }

std::string userFolder() { return preferencesFolder() + "/PELOX/Trigora"; }

std::string settingsFolder() { return userFolder() + "/Settings"; }

std::string formerSettingsFolder() { return preferencesFolder() + "/MRA2.3"; }

std::string buttonBindingsFile(const std::optional<std::string>& modelID) {
    return bindingsFile(settingsFolder(), modelID);
}

std::string formerButtonBindingsFile(const std::optional<std::string>& modelID) {
    return bindingsFile(formerSettingsFolder(), modelID);
}

std::string watchedFolderSettingsFile() { return settingsFolder() + "/WatchedFolderSetting.plist"; }

std::string userScannerButtonsFile() { return settingsFolder() + "/ScannerButtons.ini"; }

std::string userScannerDriversFile() { return settingsFolder() + "/ScannerDrivers.ini"; }

std::string formerWatchedFolderSettingsFile(int number) {
    return settingsFolder() + "/WatchedFolderSetting" + std::to_string(number) + ".plist";
}

std::string formerWatchedFolderBindingsFile() {
    return formerSettingsFolder() + "/MonitorEventProjectInfo.plist";
}

std::string unfinishedScansFolder() { return userFolder() + "/Unfinished Scans"; }

std::string temporaryFolder() { return userFolder() + "/Temp"; }

std::string loginScratchFolder() { return temporaryFolder() + "/PeloxTrigoraLoginTemp"; }

} // namespace trigora::paths
