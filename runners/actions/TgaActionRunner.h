#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace trigora {

class TrActionInformation;

/// Carries out what a project does once its event has been accepted: launches an application, or hands the
/// scanned files to one or to a script.
///
/// The usual order: made and filled when its project is run, made the current runner, given the scanned
/// files when there are any, told to perform its action when the scanning side reports back, and dropped.
/// What a kind of runner needs to know besides the action it says by its further bases (RunnerInputs.h).
/// Main thread only.
class TgaActionRunner {
public:
    TgaActionRunner() = default;
    TgaActionRunner(const TgaActionRunner&) = delete;
    TgaActionRunner& operator=(const TgaActionRunner&) = delete;
    virtual ~TgaActionRunner() = default;

    /// Null for none.
    void setAction(std::shared_ptr<TrActionInformation> action) { actionInformation_ = std::move(action); }
    const std::shared_ptr<TrActionInformation>& actionInformation() const { return actionInformation_; }
    /// Paths of the scanned files, in the order of their pages.
    void setScanDataFileList(std::vector<std::string> files) { scanDataFileList_ = std::move(files); }

    /// 0, or why the action ended early: a small negative number of the runner or an error number of the
    /// platform. May block the thread while a program starts or a message is shown.
    virtual std::int32_t performAction() { return 0; }

protected:
    const std::vector<std::string>& scanDataFileList() const { return scanDataFileList_; }

private:
    std::shared_ptr<TrActionInformation> actionInformation_;
    std::vector<std::string> scanDataFileList_;
};

} // namespace trigora
