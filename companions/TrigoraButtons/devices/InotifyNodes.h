#pragma once

#include "companions/TrigoraButtons/policy/ScannerReader.h"
#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/loop/LinuxRunLoop.h"

#include <map>
#include <set>

namespace trigora::buttons {

/// Hears of every opening and closing of the nodes, whoever does it. It wakes nobody while nothing happens.
class InotifyNodes final : public DeviceNodes {
public:
    /// The processes are those that do not count as others.
    InotifyNodes(platform::LinuxRunLoop& loop, const std::set<std::int32_t>& ownProcesses);
    InotifyNodes(const InotifyNodes&) = delete;
    InotifyNodes& operator=(const InotifyNodes&) = delete;
    ~InotifyNodes() override = default;

    void watch(const std::string& node, Events events) override;
    void unwatch(const std::string& node) override;
    void catchUp() override;
    bool isUsedByOthers(const std::string& node) override;

private:
    struct Watched {
        std::string node;
        std::shared_ptr<const Events> events;
    };

    static int arrived(sd_event_source* source, int descriptor, std::uint32_t events, void* nodes);
    void tell(int watch, std::uint32_t mask) const;

    const std::set<std::int32_t>& ownProcesses_;
    platform::FileDescriptor descriptor_;
    platform::EventSourcePointer source_; // goes before the descriptor
    std::map<int, Watched> watched_;      ///< by the kernel's number
};

} // namespace trigora::buttons
