#pragma once

#include <set>
#include <string>

namespace trigora::buttons {

/// The device nodes that this process has open: what lies in the folder of the USB nodes or in /dev.
class OpenNodes {
public:
    explicit OpenNodes(std::string usbFolder);

    /// The node that has been opened since this object was made; empty when there is none.
    std::string opened() const;

private:
    std::set<std::string> now() const;

    const std::string usbFolder_;
    const std::set<std::string> before_;
};

} // namespace trigora::buttons
