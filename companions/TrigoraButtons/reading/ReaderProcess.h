#pragma once

#include "companions/TrigoraButtons/messages/ReaderMessage.h"
#include "companions/TrigoraButtons/policy/ScannerReader.h"
#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/loop/LinuxRunLoop.h"

#include <functional>
#include <set>

namespace trigora::buttons {

/// The processes that read scanners at the moment.
using ReaderProcessIDs = std::set<std::int32_t>;

/// One process that reads a scanner, and the socket to it. Destroying it kills the process at once. The
/// process goes when the service does, however that ends.
class ReaderProcess {
public:
    struct Events {
        std::function<void(const ReaderMessage& message)> received;
        /// Once, after the last message; this may be destroyed in it.
        std::function<void(const ReaderEnd& end)> ended;
    };

    /// A program that cannot be started is told as one that has ended, soon.
    ReaderProcess(platform::LinuxRunLoop& loop, ReaderProcessIDs& running, const std::string& program,
                  const std::vector<std::string>& arguments, Events events);
    ReaderProcess(const ReaderProcess&) = delete;
    ReaderProcess& operator=(const ReaderProcess&) = delete;
    ~ReaderProcess();

    void send(const ReaderMessage& message) const;

private:
    void start(const std::string& program, const std::vector<std::string>& arguments);
    static int arrived(sd_event_source* source, int descriptor, std::uint32_t events, void* process);
    /// False when this has been destroyed meanwhile, or there is nothing more to come.
    bool receiveOne();
    void channelEnded();

    platform::LinuxRunLoop& loop_;
    ReaderProcessIDs& running_;
    Events events_;
    std::int32_t processID_ = 0; ///< 0 once it has been waited for
    platform::FileDescriptor channel_;
    platform::EventSourcePointer source_;
    std::optional<ReaderEnd> end_; ///< as the process has said itself
    std::shared_ptr<ReaderProcess*> alive_ = std::make_shared<ReaderProcess*>(this);
};

} // namespace trigora::buttons
