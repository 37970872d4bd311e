#pragma once

#include "platform/RunLoop.h"
#include "runners/launch/OpeningQueue.h"

#include <memory>
#include <string>
#include <vector>

namespace trigora {

class TrMonitorEventInformation;

/// Watches one folder and asks an application to open what newly appears in it.
///
/// Idle from its making until a successful set-up; then watching, which means that a repeating timer compares
/// the folder's listing with the one before; stopped by `invalidateMonitorFolder` or its end. A new
/// set-up that succeeds takes the place of the one before. Main thread only.
class TgaSurveillant {
public:
    TgaSurveillant() = default;
    ~TgaSurveillant();
    TgaSurveillant(const TgaSurveillant&) = delete;
    TgaSurveillant& operator=(const TgaSurveillant&) = delete;

    /// Starts watching when the event names an existing folder, a period of at least one second and a bound
    /// project whose action has an existing application. The result carries no meaning.
    bool setupMonitorSettings(const std::shared_ptr<TrMonitorEventInformation>& monitorEvent);

    /// Stops the timer, and drops the new items that have not been opened yet.
    void invalidateMonitorFolder();

    bool isWatching() const { return timer_Monitor != 0; }
    /// Empty before a successful set-up.
    const std::string& monitorPath() const { return string_MonitorPath; }

private:
    /// One look at the folder: what the snapshot does not hold is new.
    void SU_CheckMonitorFolder();
    void openItems(const std::vector<std::string>& names);

    std::string string_MonitorPath;
    /// Names at the last look, in ascending order of their bytes.
    std::vector<std::string> array_FolderContents;
    /// A path, or "Finder".
    std::string string_LaunchApplicationPath;
    /// Open the folder itself instead of each new item.
    bool bool_IsOptionFolder = false;
    /// 0 when there is none.
    platform::RunLoop::TimerID timer_Monitor = 0;
    /// New items, in the order of the listings.
    OpeningQueue openings_;
};

} // namespace trigora
