#pragma once

#include "catalogue/events/TrEventInformation.h"
#include "platform/Value.h"

namespace trigora {

/// The event of one watched ("monitor") folder: new files in it start the bound project. Unlike a button's,
/// its binding is kept in the event itself and saved with the folder's other settings. Main thread only.
class TrMonitorEventInformation final : public TrEventInformation {
public:
    /// A new event that takes over what the given one offers. The two then have the same lists, not copies.
    static std::shared_ptr<TrMonitorEventInformation>
    createMonitorEventInforamtionWithEventInformation(const TrEventInformation& event);

    /// Takes "folderPath", "intervalTime" and "executiveProjectID" from one entry of the watched-folder
    /// settings; a missing entry, and a path or project that is not text, reads as none.
    void setMonitorInformation(const Dictionary& settings);

    const std::optional<std::string>& monitorFolderPath() const { return monitorFolderPath_; }
    void setMonitorFolderPath(std::optional<std::string> path) { monitorFolderPath_ = std::move(path); }
    /// Seconds between two looks at the folder, of whatever type the settings hold (a number or text): it is
    /// written back as it was read. `platform::integerOf` reads it. An empty text is none.
    const std::optional<Value>& timeInterval() const { return timeInterval_; }
    void setTimeInterval(std::optional<Value> interval);

    /// The event's own project, else the default for the driver.
    std::optional<std::string>
    connectedProjectID(const std::shared_ptr<const TrScannerDriverInformation>& driver) const override;
    /// None goes back to the default.
    void setConnectedProjectID(const std::optional<std::string>& projectID) override;

private:
    std::optional<std::string> string_ConnectedProjectID;
    std::optional<std::string> monitorFolderPath_;
    std::optional<Value> timeInterval_;
};

} // namespace trigora
