#include "companions/TrigoraNotice/notice/DesktopNotice.h"
#include "companions/TrigoraNotice/notice/ScanNotice.h"
#include "files/NotificationNames.h"
#include "platform/DistributedNotifications.h"
#include "platform/Formats.h"
#include "platform/Guarded.h"
#include "platform/Workspace.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/bus/BusConnection.h"
#include "platform/linux/loop/LinuxRunLoop.h"

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>

namespace {

using namespace trigora;
using namespace trigora::companions;

// The program of the scan before gives way: there is one notification, not a row of them.
constexpr const char* busName = "com.pelox.TrigoraNotice";
constexpr double longestStay = 3600; // seconds

/// Shows one scan from its first report to the user's last click.
class NoticeProgram {
public:
    NoticeProgram(platform::LinuxPlatform& real, DesktopNotice& notice)
        : loop_(real.runLoop()), bus_(*real.bus()), notice_(notice) {
        notice_.onAction([this](const std::string& action) { act(action); });
        notice_.onClosed([this] { endIfOver(); });
    }
    NoticeProgram(const NoticeProgram&) = delete;
    NoticeProgram& operator=(const NoticeProgram&) = delete;
    ~NoticeProgram() = default;

    bool begin() {
        sd_bus_slot* slot = nullptr;
        const int result =
            ::sd_bus_match_signal(bus_.mainBus(), &slot, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                  "org.freedesktop.DBus", "NameLost", nameLost, this);
        nameSlot_.reset(slot);
        return result >= 0 &&
               ::sd_bus_request_name(bus_.mainBus(), busName,
                                     SD_BUS_NAME_ALLOW_REPLACEMENT | SD_BUS_NAME_REPLACE_EXISTING) >= 0;
    }

    void take(const std::string& line) {
        const std::optional<Value> report = platform::current().json.read(line);
        if (report && report->dictionary() != nullptr) {
            scan_.take(*report->dictionary());
            show();
        }
    }
    void assistantEnded() {
        const bool wasOver = scan_.isOver();
        scan_.assistantEnded();
        if (!wasOver) {
            show();
        }
    }

private:
    void show() {
        notice_.show(scan_.content());
        if (scan_.isOver()) {
            loop_.addRepeatingTimer(longestStay, [this] { loop_.stop(EXIT_SUCCESS); });
        }
    }

    void act(const std::string& action) {
        platform::Platform& platform = platform::current();
        const std::string document = scan_.document();
        if (action == ScanNotice::cancel) {
            platform.notifications.post(notifications::replyScanCancel, std::nullopt, true);
        } else if (action == ScanNotice::showInFolder) {
            platform.workspace.openFile(document, "Finder");
        } else if (!document.empty()) {
            platform.workspace.openFile(document, "xdg-open");
        }
    }

    void endIfOver() {
        if (scan_.isOver()) {
            loop_.stop(EXIT_SUCCESS);
        }
    }

    static int nameLost(sd_bus_message* signal, void* program, sd_bus_error* /*error*/) {
        auto* self = static_cast<NoticeProgram*>(program);
        const char* name = nullptr;
        if (::sd_bus_message_read(signal, "s", &name) > 0 && std::string(name) == busName &&
            self->scan_.isOver()) {
            self->notice_.close();
            self->loop_.stop(EXIT_SUCCESS);
        }
        return 0;
    }

    platform::LinuxRunLoop& loop_;
    platform::BusConnection& bus_;
    DesktopNotice& notice_;
    ScanNotice scan_;
    platform::BusSlotPointer nameSlot_;
};

int runNotice() {
    std::string error;
    const auto real = platform::LinuxPlatform::create({}, error);
    if (!real) {
        platform::reportFailure(error);
        return EXIT_FAILURE;
    }
    platform::install(&real->platform());
    platform::LinuxRunLoop& loop = real->runLoop();
    const std::unique_ptr<DesktopNotice> notice = DesktopNotice::create(*real->bus());
    if (!notice) {
        return EXIT_SUCCESS; // nobody to show it
    }
    for (const int signal : {SIGTERM, SIGINT}) {
        loop.onSignal(signal, [&loop] { loop.stop(EXIT_SUCCESS); });
    }
    real->bus()->onLost([&loop] { loop.stop(EXIT_SUCCESS); });
    NoticeProgram program(*real, *notice);
    if (!program.begin()) {
        return EXIT_FAILURE;
    }
    // Whoever started this writes the reports to its standard input, a line each.
    std::thread([&loop, &program] {
        for (std::string line; std::getline(std::cin, line);) {
            loop.performOnMainThread([&program, line] { program.take(line); });
        }
        loop.performOnMainThread([&program] { program.assistantEnded(); });
    }).detach();
    const int exitCode = loop.run();
    // The thread may still wait for a line.
    std::_Exit(exitCode);
}

} // namespace

int main() {
    int exitCode = EXIT_FAILURE;
    platform::guarded([&exitCode] { exitCode = runNotice(); });
    return exitCode;
}
