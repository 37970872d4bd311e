#pragma once

#include "agent/service/DeviceTable.h"
#include "platform/Value.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

/// From a button event to its event ID, with the reasons: the agent acts on the result, `trigoractl explain`
/// tells it. Nothing here changes anything or keeps a state of its own.
namespace trigora {

struct ScanEvent;

/// The driver of this name serves many models: there the model's name tells them apart.
constexpr const char* sharedDriverName = "PELOX Scanner";
/// Up to this version of the scan settings a local scanner has no address.
constexpr std::int32_t lastVersionWithoutLocalAddress = 374;
/// A job button stands for the event with this number and its own; a button that no row maps for the other.
constexpr std::int32_t firstJobEvent = 200;
constexpr std::int32_t firstUnmappedEvent = 100;

/// The press as the agent keeps it until its scanner is confirmed: "initiator" and "eventStatus" (integers),
/// "modelName" and "driverName" (texts, each only if known). The address comes later.
Dictionary currentEventOf(const ScanEvent& event);
/// The status in an event that is in progress; 0 when it has none.
std::int32_t eventStatusOf(const Dictionary& event);

/// How recent the scan settings of a driver are.
struct ScanSettingsVersion {
    enum class Source {
        driver,      ///< the maker's ID converter knows the driver, which says enough
        application, ///< the installed scan-settings application
        none,
    };
    std::int32_t version = 0;
    Source source = Source::none;
    std::string path; ///< of the application that said so
};
ScanSettingsVersion SM_PeloxScanSettingVersion(const std::optional<std::string>& driverName);
/// "L" for a local scanner with recent scan settings, else none.
std::optional<std::string> localAddressOfVersion(std::int32_t version);
/// A bundle's version with the points dropped (3.7.5 is 375); 0 when there is no such bundle.
std::int32_t SM_VersionWithPath(const std::string& path);

/// The bits of the event status that do not number a button; 0 without a model ID.
std::int32_t SM_FeatureBitOfModelID(const std::optional<std::string>& modelID);

/// Which event a button stands for, and by what.
struct ScanEventMapping {
    enum class Rule {
        jobButtons, ///< the device has job buttons: 200 + button
        noRow,      ///< no row of the device table is for it: 100 + button
        beyondRow,  ///< the row maps fewer buttons: 100 + button
        column,     ///< what the row says in the button's column; 0 when it has none
    };

    std::string modelID; ///< of the device: four hexadecimal digits or more; "0000" when it is not known
    std::int32_t eventStatus = 0;
    std::int32_t featureBits = 0; ///< taken off the status
    std::int32_t button = 0;      ///< what is left of it
    std::optional<std::string> jobDeviceType;
    std::string nameColumn;               ///< the column that model names are looked for in
    std::optional<std::string> driverKey; ///< what counts as the driver's name in the table
    bool isAlias = false;                 ///< whether the model's capabilities give that name
    std::optional<std::size_t> row;       ///< of the device table, counted from 0
    std::string buttonColumn;             ///< for the rule `column`
    Rule rule = Rule::noRow;
    std::int32_t eventID = 0;
};
/// For an event in progress. Without a device table no row fits.
ScanEventMapping SM_MappingEventIDWithDevInfo(const Dictionary& event,
                                              const std::optional<Dictionary>& deviceInfo,
                                              const std::optional<DeviceTable>& deviceTable);

/// Whether the user is told that the button is not supported. Only these two are refused, although the table
/// may name others that no project supports.
constexpr bool isRefusedEvent(std::int32_t eventID) { return eventID == 103 || eventID == 104; }

} // namespace trigora
