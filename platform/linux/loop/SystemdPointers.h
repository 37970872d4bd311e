#pragma once

#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

#include <memory>

/// Owning pointers to the objects of the event and bus library. The library counts references without
/// locks: a connection and everything made from it belong to one thread at a time.
namespace trigora::platform {

template <auto release> struct ReleasedBy {
    template <typename T> void operator()(T* object) const { release(object); }
};

using EventPointer = std::unique_ptr<sd_event, ReleasedBy<sd_event_unref>>;
using EventSourcePointer = std::unique_ptr<sd_event_source, ReleasedBy<sd_event_source_disable_unref>>;
/// Closes the connection without waiting for what is still queued.
using BusPointer = std::unique_ptr<sd_bus, ReleasedBy<sd_bus_close_unref>>;
using BusSlotPointer = std::unique_ptr<sd_bus_slot, ReleasedBy<sd_bus_slot_unref>>;
using BusMessagePointer = std::unique_ptr<sd_bus_message, ReleasedBy<sd_bus_message_unref>>;

} // namespace trigora::platform
