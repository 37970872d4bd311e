#pragma once

#include "modules/button_manager.h"
#include "platform/Platform.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace trigora {

namespace platform {
class Bundle;
}

/// Hands the panel buttons of some scanners over to the newer scanning applications of the maker, which carry
/// a module of their own for them. A scanner that the module serves is never handled by the agent's own job
/// code.
///
/// Not loaded until `start`. When that finds one of the applications and its module, the module's object
/// stays for the life of the agent; else every question is answered no. `start` and `stop` on the main
/// thread, the questions on any.
class TgaButtonManager {
public:
    static std::shared_ptr<TgaButtonManager> sharedButtonManager() {
        return platform::shared<TgaButtonManager>();
    }
    /// The module of the first application that has one; null when there is none.
    static std::shared_ptr<platform::Bundle> buttonManagerInterfaceBundle();

    /// Loads the module and has it observe the network's devices.
    void start();
    /// Ends the observation.
    void stop();

    /// Whether the module serves the scanner, and its application is still installed.
    bool isPushScanSupported(const std::string& productID) const;
    /// Whether the module took the request.
    bool invokeButtonManagerJobWithPidString(const std::string& pidString,
                                             const std::string& ipAddress) const;

private:
    /// The module's object. The last holder releases it and lets its module go.
    class ModuleObject;

    static bool isApplicationInstalled();
    static std::shared_ptr<const ModuleObject> createModuleObject();
    std::shared_ptr<const ModuleObject> moduleObject() const;

    mutable std::mutex mutex_;
    std::shared_ptr<const ModuleObject> buttonManager_; ///< guarded by mutex_; null without a module
};

} // namespace trigora
