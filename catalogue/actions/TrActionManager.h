#pragma once

#include <memory>
#include <optional>
#include <vector>

namespace trigora {

class TrActionInformation;

/// The installed ("predefined") actions, read once when the list is made. Main thread only.
class TrActionManager {
public:
    using ActionList = std::vector<std::shared_ptr<TrActionInformation>>;

    static std::shared_ptr<TrActionManager> sharedActionManager();
    /// The next use reads the installed actions again.
    static void releaseSharedManager();

    TrActionManager();

    /// In the order of their file names; none when no action is installed.
    const std::optional<ActionList>& predefinedActionList() const { return array_PredefinedActionList; }

private:
    void AM_Initialize();

    std::optional<ActionList> array_PredefinedActionList;
};

} // namespace trigora
