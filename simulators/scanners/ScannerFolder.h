#pragma once

#include "simulators/scanners/ScannerControl.h"

#include <string>
#include <vector>

namespace trigora::simulators {

/// What is plugged in. Texts of up to 255 bytes.
struct ScannerDescription {
    std::string backend = "genesys"; ///< one of scannerKinds()
    std::string vendor = "Trigora";
    std::string model = "Simulated Scanner";
    std::string type = "flatbed scanner";
    bool isOnNetwork = false;
    std::string address; ///< of a scanner on the network, what follows the back-end's name
};

/// SANE and its scanners for one test, below a folder of the test's own:
///
///     dll.conf         the back-ends that SANE is to load; SANE_CONFIG_DIR names the folder
///     scanners/        a file for each scanner, which the back-ends read and the test writes
///     usb/001/004      a file for each scanner on the bus: its USB node. Back-ends open every node while
///     they
///                      look for scanners and claim that of the scanner that they open.
class ScannerFolder {
public:
    /// Makes what is not there. SANE loads all simulated back-ends when none are named.
    explicit ScannerFolder(std::string path, const std::vector<std::string>& backends = {});

    /// Throws std::invalid_argument for an unknown back-end, std::runtime_error when it cannot be made.
    ScannerControl plugIn(const ScannerDescription& description = {});
    /// All that have ever been plugged in.
    std::vector<ScannerControl> scanners() const;

    const std::string& path() const { return path_; }
    /// Where the nodes are: stands for /dev/bus/usb.
    std::string usbFolder() const { return path_ + "/usb"; }
    /// What SANE needs to find the back-ends and the scanners, as NAME=VALUE.
    std::vector<std::string> environment() const;
    /// Sets it for this process. SANE looks when it is initialised for the first time.
    void useHere() const;

private:
    std::string path_;
};

} // namespace trigora::simulators
