#pragma once

#include "platform/Desktop.h"
#include "platform/Formats.h"

namespace trigora::platform {

/// The version that the system behaves for: 0x1068 unless "SystemVersion" of the installation's settings,
/// a number or text such as "0x1050", says another. The newer driver is there unless "NewerDriver", a
/// boolean, says that it is not. Both are read once.
class LinuxSystemInformation final : public SystemInformation {
public:
    explicit LinuxSystemInformation(PropertyLists& propertyLists);

    std::int32_t systemVersion() override { return systemVersion_; }
    bool isNewerDriverInstalled() override { return isNewerDriverInstalled_; }

private:
    explicit LinuxSystemInformation(const Dictionary& settings);

    const std::int32_t systemVersion_;
    const bool isNewerDriverInstalled_;
};

} // namespace trigora::platform
