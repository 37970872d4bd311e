#pragma once

/// What the product's programs call what they tell each other. Every other program in the session knows these
/// names, so that they never change.
namespace trigora::notifications {

// To the scan assistant.
constexpr const char* replyScannerConfirmation = "ReplyScannerConfirmationDistributedNotification";
constexpr const char* replyScan = "ReplyScanDistributedNotification";
constexpr const char* replyDriverNameWithIPAddress = "ReplyDriverNameWithIPAddressDistributedNotification";
constexpr const char* replySetCurrentDriver = "ReplySetCurrentDriverDistributedNotification";
constexpr const char* replyLaunchPlScan = "ReplyLaunchPlScanDistributedNotification";
constexpr const char* didFinishLaunchingSA = "DidFinishLaunchingSADistributedNotification";
/// Ends the scan that is under way; what was read is kept.
constexpr const char* replyScanCancel = "ReplyScanCancelDistributedNotification";
constexpr const char* replySAQuit = "ReplySAQuitDistributedNotification";

// From the scan assistant.
constexpr const char* didFinishScannerConfirmation = "DidFinishScannerConfirmationDistributedNotification";
constexpr const char* didFinishScan = "DidFinishScanDistributedNotification";
constexpr const char* didGetDriverNameWithIPAddress = "DidGetDriverNameWithIPAddressDistributedNotification";
/// Stands in "ScanResult" in the place of a file when the scan has failed.
constexpr const char* failedScanMark = "Scan is not succeed!";

// From the scanning application.
constexpr const char* didFinishLaunchingPlScan = "DidFinishLaunchingPlScanDistributedNotification";

// From whoever changes settings.
constexpr const char* scanSettingsDidChange = "ScanSettingsDidChangeNotification";
constexpr const char* monitorFolderSettingsDidChange = "MonitorFolderSettingsDidChangeNotification";
constexpr const char* networkSettingsDidChange = "NetworkSettingsDidChangeNotification";
constexpr const char* didSetCurrentDriver = "DidSetCurrentDriverDistributedNotification";
/// Three n's in a row: the settings application posts it under exactly this name.
constexpr const char* testScanningWillStart = "TestScannningWillStartNotification";

// From the agent.
constexpr const char* scanEventDidFinish = "ScanEventDidFinishNotification";

// From the scanner buttons service.
/// "Driver", "Sensor", "Device" (texts) and "Button" (number) of a press, before anything comes of it.
constexpr const char* scannerButtonPressed = "ScannerButtonPressedNotification";

} // namespace trigora::notifications
