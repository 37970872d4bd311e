#include "netscan/panel/SVJobInterface.h"

#include "agent/log/Guarded.h"
#include "agent/log/PSlog.h"
#include "files/InstalledPaths.h"
#include "platform/Formats.h"
#include "platform/ModuleClass.h"
#include "platform/Platform.h"
#include "platform/Text.h"

namespace trigora {

std::shared_ptr<platform::Bundle> GetSVInterfaceBundle() {
    platform::Bundles& bundles = platform::current().bundles;
    const std::shared_ptr<platform::Bundle> application = bundles.create(paths::documentCaptureApplication());
    if (!application) {
        return nullptr;
    }
    const std::optional<std::string> module = application->resourcePath("ScrivanaInterface", "bundle");
    return module ? bundles.create(*module) : nullptr;
}

namespace {

std::shared_ptr<SVJobInterface> makeJobInterface(const std::optional<std::string>& productID) {
    std::shared_ptr<platform::Bundle> module = productID ? GetSVInterfaceBundle() : nullptr;
    if (!module) {
        return nullptr;
    }
    const auto* operations =
        platform::classNamed<SVJobInterfaceClass>(*module, "SVJobInterface", SV_JOB_INTERFACE_VERSION);
    if (operations == nullptr || operations->jobInterfaceForProductID == nullptr) {
        return nullptr;
    }
    void* object = operations->jobInterfaceForProductID(productID->c_str());
    return object == nullptr ? nullptr
                             : std::make_shared<SVJobInterface>(std::move(module), *operations, object);
}

} // namespace

std::shared_ptr<SVJobInterface>
SVJobInterface::jobInterfaceForProductID(const std::optional<std::string>& productID) {
    std::shared_ptr<SVJobInterface> jobInterface = makeJobInterface(productID);
    if (!jobInterface) {
        PSlog("jobif is null");
    }
    return jobInterface;
}

SVJobInterface::SVJobInterface(std::shared_ptr<platform::Bundle> module,
                               const SVJobInterfaceClass& operations, void* object)
    : module_(std::move(module)), operations_(operations), object_(object) {}

SVJobInterface::~SVJobInterface() {
    if (operations_.release != nullptr) {
        guarded("-[SVJobInterface release]", [this] { operations_.release(object_); });
    }
}

std::optional<std::string> SVJobInterface::text(TextOperation operation) const {
    char* text = operation == nullptr ? nullptr : operation(object_);
    if (text == nullptr) {
        return std::nullopt;
    }
    std::string copy(text);
    if (operations_.releaseText != nullptr) {
        operations_.releaseText(text);
    }
    return platform::isValidUtf8(copy) ? std::optional(std::move(copy)) : std::nullopt;
}

std::vector<Dictionary> SVJobInterface::jobs() const {
    const std::optional<std::string> json = text(operations_.jobs);
    const std::optional<Value> list = json ? platform::current().json.read(*json) : std::nullopt;
    std::vector<Dictionary> jobs;
    if (list && list->array() != nullptr) {
        for (const Value& job : *list->array()) {
            jobs.push_back(job.dictionary() == nullptr ? Dictionary() : *job.dictionary());
        }
    }
    return jobs;
}

bool SVJobInterface::isPushScanSupported() const { return ask(operations_.isPushScanSupported); }

bool SVJobInterface::isOfficeFormatSupported() const { return ask(operations_.isOfficeFormatSupported); }

bool SVJobInterface::isMD5HashedPasswordRequired() const {
    return operations_.isMD5HashedPasswordRequired == nullptr || ask(operations_.isMD5HashedPasswordRequired);
}

std::optional<std::string> SVJobInterface::password() const { return text(operations_.password); }

bool SVJobInterface::isReady() const { return ask(operations_.isReady); }

bool SVJobInterface::invokeJobAtIndex(std::int32_t index, const std::optional<std::string>& ipAddress,
                                      const Dictionary& options) const {
    if (operations_.invokeJobAtIndex == nullptr) {
        return false;
    }
    const std::string json = platform::current().json.write(options);
    return operations_.invokeJobAtIndex(object_, index, ipAddress ? ipAddress->c_str() : nullptr,
                                        json.c_str()) != 0;
}

bool SVJobInterface::continueJob() const { return ask(operations_.continueJob); }

bool SVJobInterface::completeJob() const { return ask(operations_.completeJob); }

bool SVJobInterface::cancelJob() const { return ask(operations_.cancelJob); }

bool SVJobInterface::keepAliveJob() const { return ask(operations_.keepAliveJob); }

bool SVJobInterface::completeJobInContext() const { return ask(operations_.completeJobInContext); }

} // namespace trigora
