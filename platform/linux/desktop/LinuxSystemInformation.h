#pragma once

#include "platform/Desktop.h"
#include "platform/Formats.h"

namespace trigora::platform {

/// The version that the system behaves for: 0x1068 unless "SystemVersion" of the installation's settings,
/// a number or text such as "0x1050", says another. It is read once.
class LinuxSystemInformation final : public SystemInformation {
public:
    explicit LinuxSystemInformation(PropertyLists& propertyLists);

    std::int32_t systemVersion() override { return systemVersion_; }

private:
    const std::int32_t systemVersion_;
};

} // namespace trigora::platform
