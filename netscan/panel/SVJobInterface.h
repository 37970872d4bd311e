#pragma once

#include "modules/job_interface.h"
#include "platform/Value.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace trigora {

namespace platform {
class Bundle;
}

/// The document-capture application's module with its saved jobs; null when that is not installed.
std::shared_ptr<platform::Bundle> GetSVInterfaceBundle();

/// The saved jobs for one scanner. An operation that the module's object does not answer to returns false or
/// nothing, unless said otherwise. Any thread.
class SVJobInterface {
public:
    /// Null, which is logged, when there is no module, or when it has nothing for this scanner; none is no
    /// scanner.
    static std::shared_ptr<SVJobInterface>
    jobInterfaceForProductID(const std::optional<std::string>& productID);

    SVJobInterface(std::shared_ptr<platform::Bundle> module, const SVJobInterfaceClass& operations,
                   void* object);
    SVJobInterface(const SVJobInterface&) = delete;
    SVJobInterface& operator=(const SVJobInterface&) = delete;
    ~SVJobInterface();

    /// The job dictionaries, described in modules/job_interface.h. What is not a dictionary counts as a job
    /// without settings, because jobs are started by their place in the list.
    std::vector<Dictionary> jobs() const;
    bool isPushScanSupported() const;
    bool isOfficeFormatSupported() const;
    /// True when the object does not answer.
    bool isMD5HashedPasswordRequired() const;
    std::optional<std::string> password() const;

    bool isReady() const;
    /// No address for a USB scanner.
    bool invokeJobAtIndex(std::int32_t index, const std::optional<std::string>& ipAddress,
                          const Dictionary& options) const;
    bool continueJob() const;
    bool completeJob() const;
    bool cancelJob() const;
    bool keepAliveJob() const;
    bool completeJobInContext() const;

private:
    using Question = std::uint8_t (*)(void*);
    using TextOperation = char* (*)(void*);

    bool ask(Question question) const { return question != nullptr && question(object_) != 0; }
    std::optional<std::string> text(TextOperation operation) const;

    std::shared_ptr<platform::Bundle> module_;
    const SVJobInterfaceClass& operations_;
    void* object_;
};

} // namespace trigora
