#include "companions/TrigoraButtons/devices/PlugMonitor.h"

#include "companions/TrigoraButtons/devices/UsbProperties.h"
#include "platform/Guarded.h"

#include <sys/epoll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <utility>

namespace trigora::buttons {

namespace {

std::string property(sd_device* device, const char* name) {
    const char* value = nullptr;
    return ::sd_device_get_property_value(device, name, &value) >= 0 && value != nullptr ? value : "";
}

class SystemMonitor final : public PlugMonitor {
public:
    SystemMonitor(platform::LinuxRunLoop& loop, Events events) : events_(std::move(events)) {
        sd_device_monitor* monitor = nullptr;
        if (::sd_device_monitor_new(&monitor) < 0) {
            platform::reportFailure("scanners that are plugged in later will not be noticed: "
                                    "the system's device events cannot be heard");
            return;
        }
        monitor_.reset(monitor);
        ::sd_device_monitor_filter_add_match_subsystem_devtype(monitor, "usb", "usb_device");
        ::sd_device_monitor_attach_event(monitor, loop.event());
        ::sd_device_monitor_start(monitor, arrived, this);
    }

private:
    static int arrived(sd_device_monitor*, sd_device* device, void* monitor) {
        platform::guarded([&] { static_cast<SystemMonitor*>(monitor)->tell(device); });
        return 0;
    }

    void tell(sd_device* device) const {
        sd_device_action_t action{};
        const char* node = nullptr;
        if (::sd_device_get_action(device, &action) < 0 || ::sd_device_get_devname(device, &node) < 0) {
            return;
        }
        if (action == SD_DEVICE_REMOVE) {
            events_.unplugged(node);
        } else if (action == SD_DEVICE_ADD && mayBeScanner(property(device, "libsane_matched") == "yes",
                                                           property(device, "ID_USB_INTERFACES"))) {
            events_.plugged();
        }
    }

    struct Release {
        void operator()(sd_device_monitor* monitor) const { ::sd_device_monitor_unref(monitor); }
    };

    const Events events_;
    std::unique_ptr<sd_device_monitor, Release> monitor_;
};

class FolderMonitor final : public PlugMonitor {
public:
    FolderMonitor(platform::LinuxRunLoop& loop, const std::string& folder, Events events)
        : events_(std::move(events)), folder_(folder),
          descriptor_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
        sd_event_source* source = nullptr;
        if (descriptor_) {
            ::sd_event_add_io(loop.event(), &source, descriptor_.get(), EPOLLIN, arrived, this);
        }
        source_.reset(source);
        watch(folder);
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
            if (entry.is_directory(error)) {
                watch(entry.path());
            }
        }
    }

private:
    void watch(const std::string& folder) {
        const int number =
            ::inotify_add_watch(descriptor_.get(), folder.c_str(),
                                IN_CREATE | IN_DELETE | IN_MOVED_TO | IN_MOVED_FROM | IN_ONLYDIR);
        if (number >= 0) {
            folders_[number] = folder;
        }
    }

    static int arrived(sd_event_source*, int, std::uint32_t, void* monitor) {
        platform::guarded([&] { static_cast<FolderMonitor*>(monitor)->readAll(); });
        return 0;
    }

    void readAll() {
        alignas(inotify_event) std::array<char, 4096> buffer;
        ssize_t length = 0;
        while ((length = ::read(descriptor_.get(), buffer.data(), buffer.size())) > 0) {
            for (ssize_t at = 0; at < length;) {
                inotify_event event{};
                std::memcpy(&event, buffer.data() + at, sizeof event);
                const char* name = buffer.data() + at + sizeof event;
                at += static_cast<ssize_t>(sizeof event + event.len);
                tell(event, event.len > 0 ? name : "");
            }
        }
    }

    void tell(const inotify_event& event, const std::string& name) {
        const auto found = folders_.find(event.wd);
        if (found == folders_.end()) {
            return;
        }
        const std::string path = found->second + '/' + name;
        const bool hasCome = (event.mask & (IN_CREATE | IN_MOVED_TO)) != 0;
        if ((event.mask & IN_ISDIR) != 0) {
            if (hasCome) {
                watch(path);
                events_.plugged(); // it may have something in it already
            }
        } else if (hasCome) {
            events_.plugged();
        } else if ((event.mask & (IN_DELETE | IN_MOVED_FROM)) != 0) {
            events_.unplugged(path);
        }
    }

    const Events events_;
    const std::string folder_;
    platform::FileDescriptor descriptor_;
    platform::EventSourcePointer source_; // goes before the descriptor
    std::map<int, std::string> folders_;
};

} // namespace

std::unique_ptr<PlugMonitor> PlugMonitor::ofSystem(platform::LinuxRunLoop& loop, Events events) {
    return std::make_unique<SystemMonitor>(loop, std::move(events));
}

std::unique_ptr<PlugMonitor> PlugMonitor::ofFolder(platform::LinuxRunLoop& loop, const std::string& folder,
                                                   Events events) {
    return std::make_unique<FolderMonitor>(loop, folder, std::move(events));
}

} // namespace trigora::buttons
