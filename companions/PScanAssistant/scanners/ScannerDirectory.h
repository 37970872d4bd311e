#pragma once

#include "companions/PScanAssistant/scanners/ScanFailure.h"
#include "companions/PScanAssistant/scanners/Scanner.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace trigora::companions {

/// What is known about a driver before its scanner is open.
struct DriverEntry {
    std::string driverName;
    std::string address;       ///< the scanner's network address; empty for a local one
    std::string device;        ///< what to open; empty when it has to be looked for
    std::uint32_t modelID = 0; ///< 0 when unknown
    std::string version;
};

/// The drivers that the two files ScannerDrivers.ini tell of, the user's own before the installed one: a
/// section per driver name with the keys Device, ModelID (hexadecimal) and Version, and the section
/// Addresses with the driver name for each network address. Main thread only.
class ScannerDirectory {
public:
    /// A driver in neither file has the name alone.
    DriverEntry entry(const std::string& driverName, const std::string& address) const;
    std::optional<std::string> driverNameAtAddress(const std::string& address) const;
    /// Forgets what the files said.
    void reload();

private:
    std::optional<std::string> value(const std::string& section, const std::string& key) const;
};

/// Opens the scanner of a driver: the device that the entry names, or where there is no such device any more
/// the one of the scanners found whose device is the driver's name, whose vendor and model are, whose model
/// is, or that has the address, or that is the only one by USB with the same back-end as the device: such
/// devices get another name whenever they are plugged in. Null when there is none or it cannot be opened,
/// with the reason. May take seconds.
std::unique_ptr<Scanner> openScanner(Scanners& scanners, const DriverEntry& entry, ScanFailure& failure);

/// The driver name for a scanner found at a network address: its vendor and model. None when there is none.
std::optional<std::string> driverNameFoundAtAddress(Scanners& scanners, const std::string& address);

} // namespace trigora::companions
