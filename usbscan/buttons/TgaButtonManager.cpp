#include "usbscan/buttons/TgaButtonManager.h"

#include "agent/log/Guarded.h"
#include "files/InstalledPaths.h"
#include "platform/Bundles.h"
#include "platform/FileSystem.h"
#include "platform/ModuleClass.h"

namespace trigora {

namespace {

/// The event that the module is told of a request to scan by.
constexpr std::int32_t scanRequestEvent = 2;

bool exists(const std::string& path) { return platform::current().fileSystem.exists(path); }

} // namespace

class TgaButtonManager::ModuleObject {
public:
    ModuleObject(std::shared_ptr<platform::Bundle> module, const ButtonManagerClass& operations, void* object)
        : module_(std::move(module)), operations_(operations), object_(object) {}
    ModuleObject(const ModuleObject&) = delete;
    ModuleObject& operator=(const ModuleObject&) = delete;
    ~ModuleObject() {
        guarded("-[ButtonManager release]", [this] { call(operations_.release); });
    }

    void initialize() const { call(operations_.initialize); }
    void startNWDeviceObservation() const { call(operations_.startNWDeviceObservation); }
    void stopNWDeviceObservation() const { call(operations_.stopNWDeviceObservation); }

    bool isPushScanSupported(const std::string& productID) const {
        return operations_.isPushScanSupported != nullptr &&
               operations_.isPushScanSupported(object_, productID.c_str()) != 0;
    }

    void processEvent(std::int32_t event, const std::string& pidStr, const std::string& ipAddress) const {
        if (operations_.processEvent != nullptr) {
            operations_.processEvent(object_, event, pidStr.c_str(), ipAddress.c_str());
        }
    }

private:
    void call(void (*operation)(void*)) const {
        if (operation != nullptr) {
            operation(object_);
        }
    }

    std::shared_ptr<platform::Bundle> module_;
    const ButtonManagerClass& operations_;
    void* object_;
};

std::shared_ptr<platform::Bundle> TgaButtonManager::buttonManagerInterfaceBundle() {
    for (const std::string& path : {paths::quilloButtonManagerModule(), paths::fotrixButtonManagerModule()}) {
        if (exists(path)) {
            return platform::current().bundles.create(path);
        }
    }
    return nullptr;
}

void TgaButtonManager::start() {
    if (!isApplicationInstalled()) {
        return;
    }
    const std::shared_ptr<const ModuleObject> object = createModuleObject();
    if (!object) {
        return;
    }
    object->initialize(); // before the other modules' threads, which run already, can ask it anything
    {
        const std::lock_guard lock(mutex_);
        buttonManager_ = object;
    }
    object->startNWDeviceObservation();
}

void TgaButtonManager::stop() {
    if (const std::shared_ptr<const ModuleObject> object = moduleObject()) {
        object->stopNWDeviceObservation();
    }
}

bool TgaButtonManager::isPushScanSupported(const std::string& productID) const {
    const std::shared_ptr<const ModuleObject> object = moduleObject();
    return object && isApplicationInstalled() && object->isPushScanSupported(productID);
}

bool TgaButtonManager::invokeButtonManagerJobWithPidString(const std::string& pidString,
                                                           const std::string& ipAddress) const {
    if (!isPushScanSupported(pidString)) {
        return false;
    }
    moduleObject()->processEvent(scanRequestEvent, pidString, ipAddress);
    return true;
}

bool TgaButtonManager::isApplicationInstalled() {
    return exists(paths::quilloApplication()) || exists(paths::fotrixApplication());
}

std::shared_ptr<const TgaButtonManager::ModuleObject> TgaButtonManager::createModuleObject() {
    std::shared_ptr<platform::Bundle> module = buttonManagerInterfaceBundle();
    if (!module) {
        return nullptr;
    }
    const auto* operations =
        platform::classNamed<ButtonManagerClass>(*module, "ButtonManager", BUTTON_MANAGER_VERSION);
    void* object = operations == nullptr || operations->create == nullptr ? nullptr : operations->create();
    return object == nullptr ? nullptr
                             : std::make_shared<const ModuleObject>(std::move(module), *operations, object);
}

std::shared_ptr<const TgaButtonManager::ModuleObject> TgaButtonManager::moduleObject() const {
    const std::lock_guard lock(mutex_);
    return buttonManager_;
}

} // namespace trigora
