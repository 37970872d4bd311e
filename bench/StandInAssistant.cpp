// Stands in for the scan assistant: a process of its name that runs. The measuring program plays the
// assistant's part on the bus; this one only echoes what it is sent, which is the bare round trip that
// everything else is compared with.

#include "bench/Echo.h"
#include "platform/linux/bus/BusNames.h"
#include "platform/linux/loop/SystemdPointers.h"

#include <cstdlib>
#include <unistd.h>

namespace {

namespace echo = trigora::bench::echo;

int echoCalled(sd_bus_message* call, void*, sd_bus_error*) {
    const void* bytes = nullptr;
    size_t size = 0;
    if (sd_bus_message_read_array(call, 'y', &bytes, &size) < 0) {
        return -EBADMSG;
    }
    sd_bus_message* made = nullptr;
    int result = sd_bus_message_new_method_return(call, &made);
    const trigora::platform::BusMessagePointer answer(made);
    if (result >= 0) {
        result = sd_bus_message_append_array(made, 'y', bytes, size);
    }
    return result < 0 ? result : sd_bus_send(nullptr, made, nullptr);
}

} // namespace

int main() {
    static const sd_bus_vtable methods[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD(echo::method, "ay", "ay", echoCalled, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END,
    };
    sd_bus* bus = nullptr;
    if (sd_bus_open_user(&bus) < 0) {
        return EXIT_FAILURE;
    }
    const trigora::platform::BusPointer owned(bus);
    if (sd_bus_add_object_vtable(bus, nullptr, echo::path, echo::interface, methods, nullptr) < 0 ||
        sd_bus_request_name(bus, echo::name, 0) < 0 ||
        sd_bus_request_name(bus, trigora::platform::bus::processName(::getpid()).c_str(), 0) < 0) {
        return EXIT_FAILURE;
    }
    for (int result = 0; result >= 0;) {
        result = sd_bus_process(bus, nullptr);
        if (result == 0) {
            result = sd_bus_wait(bus, UINT64_MAX);
        }
    }
    return EXIT_SUCCESS;
}
