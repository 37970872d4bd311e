#pragma once

#include "platform/LowMemory.h"

#include <map>
#include <mutex>

namespace trigora::platform {

class LinuxLowMemory final : public LowMemory {
public:
    std::shared_ptr<void> allocate(std::size_t size) override;
    std::uint32_t addressOfFunction(void (*function)()) override;
    std::optional<std::string> textAt(std::uint32_t address, std::size_t limit) override;
    bool isReadable(std::uint32_t address, std::size_t size) override;

private:
    std::mutex mutex_;
    std::map<void (*)(), std::uint32_t> functions_;
};

} // namespace trigora::platform
