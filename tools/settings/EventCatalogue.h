#pragma once

#include "catalogue/events/TrEventManager.h"
#include "platform/Value.h"
#include "tools/settings/ProjectCatalogue.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace trigora::tools {

/// The kinds of events, as users name them.
struct EventKind {
    std::int32_t mask = 0;
    std::string_view name;
};
/// "button", "folder", "job", "kind4", "kind5" or "unknown".
std::string eventKindName(std::int32_t mask);
/// The mask of a name, or of a number such as 0x4000. Throws a `SettingsError` for anything else.
std::int32_t eventKindOf(const std::string& text);

/// A button's event with what it runs on a driver.
struct ListedEvent {
    std::shared_ptr<TrEventInformation> event;
    std::optional<std::string> boundProject;   ///< none when the user has bound none
    std::optional<std::string> defaultProject; ///< of the driver
    /// Why the event would not run its project; none when it would.
    std::optional<std::string> problem;

    /// The ID of the project that the event runs; none when it runs none.
    std::optional<std::string> project() const;
};

/// The events that a driver's device offers (null: all installed button events) and every other one that the
/// user has bound for the model. Goes over to the bindings of the driver's model.
std::vector<ListedEvent> listedEvents(const std::shared_ptr<TrScannerDriverInformation>& driver,
                                      const ListedProjects& projects);

/// What to note about a binding: that the model (of the driver; null for none) does not offer the event, or
/// that scanners with a model ID do not follow it. None when all is well.
std::optional<std::string> bindingNote(const TrEventInformation& event,
                                       const std::shared_ptr<TrScannerDriverInformation>& driver);

/// The event with that ID; throws a `SettingsError` that lists near matches.
std::shared_ptr<TrEventInformation> requireEvent(const std::string& eventID);
/// The ID and the name, e.g. "100 (Start)".
std::string idAndName(const TrEventInformation& event);

} // namespace trigora::tools
