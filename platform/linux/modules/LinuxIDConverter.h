#pragma once

#include "platform/Desktop.h"
#include "platform/linux/files/InstallationRoot.h"

#include <mutex>

namespace trigora::platform {

/// The maker's `libPeloxIDConverter.so.1`, looked for in "/Library/Frameworks" and then where the system's
/// loader looks, at the first use. It stays loaded as long as the program runs. Its functions:
///
///     int32_t PS2GetModelIDWithTwainID(const char* utf8Name, char* buffer, uint32_t bufferSize);
///     int32_t PS2GetTwainIDWithProductID(const char* productID, char* buffer256);
class LinuxIDConverter final : public IDConverter {
public:
    explicit LinuxIDConverter(const InstallationRoot& root) : root_(root) {}

    bool hasModelIDWithTwainID() override;
    /// -1 when the function is missing.
    std::int32_t PS2GetModelIDWithTwainID(const std::string& twainID, std::size_t bufferSize) override;
    /// Also none for a name that is not UTF-8.
    std::optional<std::string> PS2GetTwainIDWithProductID(const std::string& productID) override;

private:
    using ModelIDFunction = std::int32_t(const char*, char*, std::uint32_t);
    using TwainIDFunction = std::int32_t(const char*, char*);

    void load();

    const InstallationRoot& root_;
    std::once_flag once_;
    ModelIDFunction* modelIDFunction_ = nullptr;
    TwainIDFunction* twainIDFunction_ = nullptr;
};

} // namespace trigora::platform
