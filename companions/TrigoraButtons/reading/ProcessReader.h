#pragma once

#include "companions/TrigoraButtons/reading/ReaderProcess.h"

namespace trigora::buttons {

/// Reads scanners through processes of the program TrigoraButtonReader, one per scanner that is open.
class ProcessReader final : public ScannerReader {
public:
    /// Both paths as they lie on the disk.
    ProcessReader(platform::LinuxRunLoop& loop, std::string program, std::string usbFolder)
        : loop_(loop), program_(std::move(program)), usbFolder_(std::move(usbFolder)) {}

    std::unique_ptr<Hold> hold(const HoldPlan& plan, Hold::Events events) override;
    std::unique_ptr<Look> look(const std::vector<std::string>& known, Look::Events events) override;

    const ReaderProcessIDs& processes() const { return running_; }

private:
    platform::LinuxRunLoop& loop_;
    const std::string program_;
    const std::string usbFolder_;
    ReaderProcessIDs running_;
};

} // namespace trigora::buttons
