// The functions that SANE finds in a back-end's library by their names. TRIGORA_BACKEND is the back-end's.
#include "simulators/scanners/SimulatedBackend.h"

#include <new>

#define TRIGORA_JOINED(Backend, Function) sane_##Backend##_##Function
#define TRIGORA_NAMED(Backend, Function) TRIGORA_JOINED(Backend, Function)
#define TRIGORA_ENTRY(Function) TRIGORA_NAMED(TRIGORA_BACKEND, Function)
#define TRIGORA_TEXT_OF(Name) #Name
#define TRIGORA_TEXT(Name) TRIGORA_TEXT_OF(Name)

namespace {

using trigora::simulators::ScannerSession;
using trigora::simulators::SimulatedBackend;

SimulatedBackend* backend = nullptr;

ScannerSession& session(SANE_Handle handle) { return *static_cast<ScannerSession*>(handle); }

/// What the function returns; without memory a failure.
template <typename Function> SANE_Status guarded(Function function) {
    try {
        return function();
    } catch (const std::bad_alloc&) {
        return SANE_STATUS_NO_MEM;
    } catch (...) {
        return SANE_STATUS_INVAL;
    }
}

} // namespace

extern "C" {

SANE_Status TRIGORA_ENTRY(init)(SANE_Int* version, SANE_Auth_Callback /*authorize*/) {
    if (version != nullptr) {
        *version = SANE_VERSION_CODE(SANE_CURRENT_MAJOR, 1, 0);
    }
    return guarded([] {
        backend = new SimulatedBackend(TRIGORA_TEXT(TRIGORA_BACKEND));
        return backend->initialise();
    });
}

void TRIGORA_ENTRY(exit)() {
    delete backend;
    backend = nullptr;
}

SANE_Status TRIGORA_ENTRY(get_devices)(const SANE_Device*** list, SANE_Bool localOnly) {
    return guarded([&] { return backend->devices(*list, localOnly != SANE_FALSE); });
}

SANE_Status TRIGORA_ENTRY(open)(SANE_String_Const name, SANE_Handle* handle) {
    return guarded([&] {
        SANE_Status status = SANE_STATUS_GOOD;
        *handle = backend->open(name != nullptr ? name : "", status).release();
        return status;
    });
}

void TRIGORA_ENTRY(close)(SANE_Handle handle) { delete &session(handle); }

const SANE_Option_Descriptor* TRIGORA_ENTRY(get_option_descriptor)(SANE_Handle handle, SANE_Int option) {
    return session(handle).descriptor(option);
}

SANE_Status TRIGORA_ENTRY(control_option)(SANE_Handle handle, SANE_Int option, SANE_Action action,
                                          void* value, SANE_Int* information) {
    return guarded([&] { return session(handle).control(option, action, value, information); });
}

SANE_Status TRIGORA_ENTRY(get_parameters)(SANE_Handle handle, SANE_Parameters* parameters) {
    return guarded([&] { return session(handle).parameters(*parameters); });
}

SANE_Status TRIGORA_ENTRY(start)(SANE_Handle handle) {
    return guarded([&] { return session(handle).start(); });
}

SANE_Status TRIGORA_ENTRY(read)(SANE_Handle handle, SANE_Byte* buffer, SANE_Int size, SANE_Int* length) {
    return guarded([&] {
        return session(handle).read({buffer, static_cast<std::size_t>(std::max(size, 0))}, *length);
    });
}

void TRIGORA_ENTRY(cancel)(SANE_Handle handle) { session(handle).cancel(); }

SANE_Status TRIGORA_ENTRY(set_io_mode)(SANE_Handle /*handle*/, SANE_Bool nonBlocking) {
    return nonBlocking != SANE_FALSE ? SANE_STATUS_UNSUPPORTED : SANE_STATUS_GOOD;
}

SANE_Status TRIGORA_ENTRY(get_select_fd)(SANE_Handle /*handle*/, SANE_Int* /*descriptor*/) {
    return SANE_STATUS_UNSUPPORTED;
}

} // extern "C"
