// The simulated job interface of the document-capture application. "jobs" and "password" of the settings are
// what it has; without them it has three jobs and no password. It serves the scanners listed as "scanners",
// all when there is no such list.

#include "modules/job_interface.h"
#include "simulators/simulation/ClassTables.h"

#include <atomic>
#include <cstdlib>

namespace trigora::simulators {
namespace {

constexpr const char* module = "ScrivanaInterface";

/// An object for one scanner.
struct JobInterface {
    std::string productID;
};

std::atomic<int> livingObjects = 0;

const JobInterface& self(void* object) { return *static_cast<JobInterface*>(object); }

json usualJobs() {
    const auto job = [](const char* name, int resolution, int functionalUnitType, bool isDuplex,
                        const char* format, const char* transporter) {
        return json{{"name", name},
                    {"scanSetting",
                     {{"pixelDataType", 2},
                      {"resolution", resolution},
                      {"functionalUnitType", functionalUnitType},
                      {"duplexScanningEnabled", isDuplex},
                      {"documentType", 3},
                      {"requiresContinueScanning", false}}},
                    {"saveSetting", {{"imageUTType", format}}},
                    {"transportSetting", {{"identifier", transporter}}},
                    {"prohibitsEdit", false}};
    };
    return {job("Documents to PDF", 300, 3, true, "com.adobe.pdf", "com.pelox.LocalTransporter"),
            job("Photo", 600, 0, false, "public.jpeg", "com.pelox.LocalTransporter"),
            job("Letter by mail", 200, 3, false, "com.adobe.pdf", "com.pelox.MailTransporter")};
}

char* newText(const std::string& text) { return strdup(text.c_str()); }

std::uint8_t answer(void* object, const char* operation, json details = json::object()) {
    details["productID"] = self(object).productID;
    return answerCall(module, operation, std::move(details), 1) != 0 ? 1 : 0;
}

void* jobInterfaceForProductID(const char* productID) {
    const std::string wanted = productID == nullptr ? "" : productID;
    const json settings = readObject("settings.json");
    const bool isServed = !settings.contains("scanners") || contains(settings, "scanners", wanted);
    void* object = isServed ? new JobInterface{wanted} : nullptr;
    const int count = isServed ? ++livingObjects : livingObjects.load();
    noteCall(module, "jobInterfaceForProductID",
             {{"productID", textOrNull(productID)}, {"isServed", isServed}, {"livingObjects", count}});
    return object;
}

void release(void* object) {
    const json details{{"productID", self(object).productID}, {"livingObjects", --livingObjects}};
    delete static_cast<JobInterface*>(object);
    noteCall(module, "release", details);
}

void releaseText(char* text) { std::free(text); }

char* jobs(void* object) {
    answer(object, "jobs");
    const json settings = readObject("settings.json");
    const auto entry = settings.find("jobs");
    const json list = entry == settings.end() ? usualJobs() : *entry;
    // A text in place of a list is handed over as it stands, well-formed or not.
    return newText(list.is_string() ? list.get<std::string>()
                                    : list.dump(-1, ' ', false, json::error_handler_t::replace));
}

char* password(void* object) {
    answer(object, "password");
    const std::optional<std::string> text = textAt(readObject("settings.json"), "password");
    return text ? newText(*text) : nullptr;
}

std::uint8_t invokeJobAtIndex(void* object, std::int32_t index, const char* ipAddress, const char* options) {
    const json parsed = options == nullptr ? json() : json::parse(options, nullptr, false);
    return answer(object, "invokeJobAtIndex",
                  {{"index", index},
                   {"ipAddress", textOrNull(ipAddress)},
                   {"options", parsed.is_discarded() ? textOrNull(options) : parsed}});
}

#define TRIGORA_QUESTION(Name)                                                                               \
    std::uint8_t Name(void* object) { return answer(object, #Name); }
TRIGORA_QUESTION(isPushScanSupported)
TRIGORA_QUESTION(isOfficeFormatSupported)
TRIGORA_QUESTION(isMD5HashedPasswordRequired)
TRIGORA_QUESTION(isReady)
TRIGORA_QUESTION(continueJob)
TRIGORA_QUESTION(completeJob)
TRIGORA_QUESTION(cancelJob)
TRIGORA_QUESTION(keepAliveJob)
TRIGORA_QUESTION(completeJobInContext)
#undef TRIGORA_QUESTION

SVJobInterfaceClass currentTable() {
    SVJobInterfaceClass table{};
#define TRIGORA_ENTRY(Name)                                                                                  \
    table.Name = &Name;                                                                                      \
    leaveOutIfMissing(table.Name, #Name);
    TRIGORA_ENTRY(jobInterfaceForProductID)
    TRIGORA_ENTRY(release)
    TRIGORA_ENTRY(releaseText)
    TRIGORA_ENTRY(jobs)
    TRIGORA_ENTRY(isPushScanSupported)
    TRIGORA_ENTRY(isOfficeFormatSupported)
    TRIGORA_ENTRY(isMD5HashedPasswordRequired)
    TRIGORA_ENTRY(password)
    TRIGORA_ENTRY(isReady)
    TRIGORA_ENTRY(invokeJobAtIndex)
    TRIGORA_ENTRY(continueJob)
    TRIGORA_ENTRY(completeJob)
    TRIGORA_ENTRY(cancelJob)
    TRIGORA_ENTRY(keepAliveJob)
    TRIGORA_ENTRY(completeJobInContext)
#undef TRIGORA_ENTRY
    return table;
}

const TrigoraClassHeader* TrigoraClassNamed(const char* className) {
    static ClassTables<SVJobInterfaceClass> tables;
    const bool isKnown = className != nullptr && std::strcmp(className, "SVJobInterface") == 0;
    return isKnown ? tables.keep(currentTable(), SV_JOB_INTERFACE_VERSION) : nullptr;
}

} // namespace
} // namespace trigora::simulators

TRIGORA_SIMULATED_FUNCTION(TrigoraClassNamed, TrigoraClassNamedFunction)
