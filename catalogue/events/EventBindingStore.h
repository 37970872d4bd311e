#pragma once

#include <memory>
#include <optional>
#include <string>

namespace trigora {

/// Where the user's bindings of events to projects are kept. An event asks for the store each time and holds
/// on to nothing, so that a catalogue that has been dropped dies and the next one is found in its place.
class EventBindingStore {
public:
    virtual ~EventBindingStore() = default;

    /// The project bound to the event; none when the user has bound none.
    virtual std::optional<std::string> projectIDWithEventID(const std::string& eventID) = 0;
    /// Does nothing unless both are given.
    virtual void setProjectID(const std::optional<std::string>& projectID,
                              const std::optional<std::string>& eventID) = 0;
};

/// The store in use; the event catalogue provides it. Never null.
std::shared_ptr<EventBindingStore> sharedEventBindingStore();

} // namespace trigora
