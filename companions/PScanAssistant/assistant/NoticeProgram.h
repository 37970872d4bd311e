#pragma once

#include "companions/PScanAssistant/assistant/ScanReporter.h"
#include "platform/Value.h"

#include <mutex>

namespace trigora::companions {

/// Reports to a program of its own, which shows the notification and answers its buttons also when the scan
/// assistant has ended. The program is started with the first report; without it nobody is told.
class NoticeProgram final : public ScanReporter {
public:
    /// The program's path on the disk.
    explicit NoticeProgram(std::string program) : program_(std::move(program)) {}
    NoticeProgram(const NoticeProgram&) = delete;
    NoticeProgram& operator=(const NoticeProgram&) = delete;
    ~NoticeProgram() override;

    void report(const ScanReport& report) override;

private:
    bool start();

    const std::string program_;
    std::mutex mutex_;
    int channel_ = -1;      // guarded by mutex_
    bool hasTried_ = false; // guarded by mutex_
};

/// The report as a line of the program's input; TrigoraNotice's `ScanNotice` tells of its entries.
Dictionary described(const ScanReport& report);

} // namespace trigora::companions
