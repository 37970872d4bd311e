#pragma once

#include "simulators/scanners/ScannerSession.h"

#include <memory>
#include <string>
#include <vector>

namespace trigora::simulators {

/// One back-end of SANE's: the scanners of its name among those below SANE_CONFIG_DIR.
class SimulatedBackend {
public:
    explicit SimulatedBackend(std::string name);

    /// Looks at the nodes of all scanners, as every program does, whoever they belong to.
    SANE_Status initialise();
    /// The list lives until the next call.
    SANE_Status devices(const SANE_Device**& list, bool localOnly);
    /// Null when there is no such scanner or it cannot be opened; the status says why. Without an address the
    /// first one.
    std::unique_ptr<ScannerSession> open(const std::string& address, SANE_Status& status);

private:
    struct Device {
        std::string address;
        std::string vendor;
        std::string model;
        std::string type;
        SANE_Device device;
    };

    std::vector<std::shared_ptr<ScannerFile>> scanners() const;
    static void lookAtAllNodes(const std::string& folder);

    const std::string name_;
    const std::string folder_;
    std::vector<std::unique_ptr<Device>> devices_;
    std::vector<const SANE_Device*> list_;
};

} // namespace trigora::simulators
