#include "companions/TrigoraButtons/devices/InotifyNodes.h"

#include "companions/TrigoraButtons/devices/NodeUsers.h"
#include "platform/Guarded.h"

#include <sys/epoll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <utility>

namespace trigora::buttons {

InotifyNodes::InotifyNodes(platform::LinuxRunLoop& loop, const std::set<std::int32_t>& ownProcesses)
    : ownProcesses_(ownProcesses), descriptor_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    sd_event_source* source = nullptr;
    if (descriptor_) {
        ::sd_event_add_io(loop.event(), &source, descriptor_.get(), EPOLLIN, arrived, this);
    }
    source_.reset(source);
    if (source != nullptr) {
        // Somebody waits for the scanner: before everything else.
        ::sd_event_source_set_priority(source, SD_EVENT_PRIORITY_IMPORTANT);
    }
}

void InotifyNodes::watch(const std::string& node, Events events) {
    unwatch(node);
    const int watch = ::inotify_add_watch(descriptor_.get(), node.c_str(), IN_OPEN | IN_CLOSE | IN_ATTRIB);
    if (watch >= 0) {
        watched_[watch] = {node, std::make_shared<const Events>(std::move(events))};
    }
}

void InotifyNodes::unwatch(const std::string& node) {
    for (auto entry = watched_.begin(); entry != watched_.end();) {
        if (entry->second.node == node) {
            ::inotify_rm_watch(descriptor_.get(), entry->first);
            entry = watched_.erase(entry);
        } else {
            ++entry;
        }
    }
}

void InotifyNodes::catchUp() {
    alignas(inotify_event) std::array<char, 4096> buffer;
    ssize_t length = 0;
    while ((length = ::read(descriptor_.get(), buffer.data(), buffer.size())) > 0) {
        for (ssize_t at = 0; at < length;) {
            inotify_event event{};
            std::memcpy(&event, buffer.data() + at, sizeof event);
            at += static_cast<ssize_t>(sizeof event + event.len);
            tell(event.wd, event.mask);
        }
    }
}

bool InotifyNodes::isUsedByOthers(const std::string& node) { return isNodeUsed(node, ownProcesses_); }

int InotifyNodes::arrived(sd_event_source*, int, std::uint32_t, void* nodes) {
    platform::guarded([nodes] { static_cast<InotifyNodes*>(nodes)->catchUp(); });
    return 0;
}

void InotifyNodes::tell(int watch, std::uint32_t mask) const {
    const auto found = watched_.find(watch);
    if (found == watched_.end()) {
        return;
    }
    const std::shared_ptr<const Events> events = found->second.events; // it may be unwatched in the call
    if ((mask & IN_OPEN) != 0) {
        events->opened();
    }
    if ((mask & IN_CLOSE) != 0) {
        events->closed();
    }
    if ((mask & IN_ATTRIB) != 0) {
        events->changed();
    }
}

} // namespace trigora::buttons
