// The simulated panel driver. Every list that it is given goes into the journal, byte for byte and decoded;
// what the user chose at the panel is in choices.json.

#include "modules/panel_driver.h"
#include "simulators/simulation/LowBlock.h"
#include "simulators/simulation/PanelCommands.h"
#include "simulators/simulation/Simulation.h"

#include <deque>
#include <mutex>
#include <set>
#include <vector>

namespace trigora::simulators {
namespace {

constexpr const char* module = "PanelDriver";
constexpr std::uint32_t mostEntries = 1000;
constexpr std::size_t mostConnections = 1024;
constexpr std::size_t mostKeptLists = 256;
constexpr std::uint32_t contextMark = 0x50440001;

/// The connections that are open; the oldest is forgotten when there are too many.
class Connections {
public:
    std::uint32_t open() {
        const std::lock_guard lock(mutex_);
        if (handles_.size() >= mostConnections) {
            handles_.erase(handles_.begin());
        }
        handles_.insert(++last_);
        return last_;
    }
    bool close(std::uint32_t handle) {
        const std::lock_guard lock(mutex_);
        return handles_.erase(handle) != 0;
    }
    bool isOpen(std::uint32_t handle) {
        const std::lock_guard lock(mutex_);
        return handles_.count(handle) != 0;
    }

private:
    std::mutex mutex_;
    std::uint32_t last_ = 0;
    std::set<std::uint32_t> handles_;
};

/// Encoded lists, which outlive the calls that made them. The oldest goes when there are too many.
class KeptLists {
public:
    /// Null when there is no memory.
    void* keep(const std::vector<std::uint8_t>& bytes) {
        LowBlock block(bytes.size());
        if (block.bytes() == nullptr) {
            return nullptr;
        }
        std::memcpy(block.bytes(), bytes.data(), bytes.size());
        const std::lock_guard lock(mutex_);
        blocks_.push_back(std::move(block));
        if (blocks_.size() > mostKeptLists) {
            blocks_.pop_front();
        }
        return blocks_.back().bytes();
    }

private:
    std::mutex mutex_;
    std::deque<LowBlock> blocks_;
};

Connections connections;
KeptLists keptLists;

json describeHeader(const PanelJobHeader& header) {
    json object{{"passwordKind", header.passwordKind}, {"bytes", hexadecimal(&header, sizeof header)}};
    if (header.passwordKind == PANEL_PASSWORD_PLAIN) {
        address32 password = 0;
        std::memcpy(&password, header.password, sizeof password);
        object["password"] = textOrNull(static_cast<const char*>(trigora_pointer(password)));
    }
    return object;
}

const char* nameOf(const PanelJobEntry& entry) {
    return static_cast<const char*>(trigora_pointer(entry.wcJobName));
}

json describeEntry(const PanelJobEntry& entry) {
    return {{"wcJobName", textOrNull(nameOf(entry))},
            {"ucJobNumber", entry.ucJobNumber},
            {"jobFlags", entry.jobFlags},
            {"ucImageType", entry.ucImageType},
            {"ucResolution", entry.ucResolution},
            {"usCustomResolution", entry.usCustomResolution},
            {"ucScanningDevice", entry.ucScanningDevice},
            {"ucDocumentSize", entry.ucDocumentSize},
            {"ucSaveFormat", entry.ucSaveFormat},
            {"destinationType", entry.destinationType},
            {"bytes", hexadecimal(&entry, sizeof entry)}};
}

/// A list as it is written down: with the zeroed entry behind the others as "lastBytes".
json describeList(const PanelJobHeader* header, std::uint32_t count, const PanelJobEntry* entries) {
    if (header == nullptr || entries == nullptr || count > mostEntries) {
        return {{"count", count}, {"problem", "no list"}};
    }
    json jobs = json::array();
    for (std::uint32_t i = 0; i < count; ++i) {
        jobs.push_back(describeEntry(entries[i]));
    }
    return {{"header", describeHeader(*header)},
            {"count", count},
            {"entries", jobs},
            {"lastBytes", hexadecimal(entries + count, sizeof *entries)}};
}

json describeConnection(std::uint32_t handle, const std::uint32_t* context) {
    return {{"handle", handle},
            {"isOpen", connections.isOpen(handle)},
            {"context", context == nullptr ? json(nullptr) : json(*context)}};
}

std::uint8_t answer(const char* operation, json details) {
    return static_cast<std::uint8_t>(answerCall(module, operation, std::move(details), 1));
}

void append(std::vector<std::uint8_t>& bytes, const void* more, std::size_t count) {
    const auto* first = static_cast<const std::uint8_t*>(more);
    bytes.insert(bytes.end(), first, first + count);
}

/// The panel's own encoding: "TPJL", the version, header, count, and each entry with its name behind it.
std::vector<std::uint8_t> encoded(const PanelJobHeader& header, std::uint16_t protocolVersion,
                                  std::uint32_t count, const PanelJobEntry* entries) {
    std::vector<std::uint8_t> bytes{'T', 'P', 'J', 'L'};
    append(bytes, &protocolVersion, sizeof protocolVersion);
    append(bytes, &header, sizeof header);
    append(bytes, &count, sizeof count);
    for (std::uint32_t i = 0; i < count; ++i) {
        PanelJobEntry entry = entries[i];
        entry.wcJobName = 0;
        append(bytes, &entry, sizeof entry);
        const std::string name = textOrNull(nameOf(entries[i])).is_null() ? "" : nameOf(entries[i]);
        append(bytes, name.c_str(), name.size() + 1);
    }
    return bytes;
}

std::uint8_t PDOpen(const PanelOpenBlock* block, std::uint32_t* handle, std::uint32_t* context) {
    if (block == nullptr || handle == nullptr || context == nullptr) {
        return answer("PDOpen", {{"problem", "an argument is missing"}});
    }
    const auto report = reinterpret_cast<PanelProgressCallback>(trigora_pointer(block->progressCallback));
    if (report != nullptr) {
        report(0, nullptr, 0);
    }
    json details = describeConnection(0, context);
    details["connectionKind"] = block->connectionKind;
    details["ipAddress"] = std::string(block->ipAddress, strnlen(block->ipAddress, sizeof block->ipAddress));
    details["hasProgressCallback"] = report != nullptr;
    details["bytes"] = hexadecimal(block, sizeof *block);
    *handle = connections.open();
    *context = contextMark;
    details["handle"] = *handle;
    const std::uint8_t result = answer("PDOpen", details);
    if (result == 0) {
        connections.close(*handle);
    }
    return result;
}

std::uint8_t PDLock(std::uint32_t handle, std::uint32_t* context) {
    return answer("PDLock", describeConnection(handle, context));
}

std::uint8_t PDUnLock(std::uint32_t handle, std::uint32_t* context) {
    return answer("PDUnLock", describeConnection(handle, context));
}

std::uint8_t PDClose(std::uint32_t handle, std::uint32_t* context) {
    const json details = describeConnection(handle, context);
    connections.close(handle);
    return answer("PDClose", details);
}

std::uint8_t PDSendJobData(std::uint32_t handle, const PanelJobHeader* header, std::uint32_t reserved,
                           std::uint32_t listKind, std::uint32_t count, const PanelJobEntry* entries,
                           std::uint32_t* context) {
    json details = describeList(header, count, entries);
    details.update(describeConnection(handle, context));
    details["reserved"] = reserved;
    details["listKind"] = listKind;
    return answer("PDSendJobData", details);
}

std::uint8_t PDSendJobData2(std::uint32_t handle, const PanelJobHeader* header, std::uint32_t reserved,
                            std::uint16_t protocolVersion, std::uint32_t count, const PanelJobEntry* entries,
                            std::uint32_t* context) {
    json details = describeList(header, count, entries);
    details.update(describeConnection(handle, context));
    details["reserved"] = reserved;
    details["protocolVersion"] = protocolVersion;
    return answer("PDSendJobData2", details);
}

std::uint8_t PDRecvJobData(std::uint32_t handle, stRecvJobData* choices, std::uint32_t* context) {
    json details = describeConnection(handle, context);
    if (choices != nullptr) {
        details["before"] = hexadecimal(choices, sizeof *choices);
        *choices = choicesOf(readObject("choices.json"));
        details["choices"] = describe(*choices);
    }
    return answer("PDRecvJobData", details);
}

std::uint8_t PDCreateJobData2(const PanelJobHeader* header, std::uint32_t reserved,
                              std::uint16_t protocolVersion, std::uint32_t count,
                              const PanelJobEntry* entries, void** data, std::uint32_t* length) {
    json details = describeList(header, count, entries);
    details["reserved"] = reserved;
    details["protocolVersion"] = protocolVersion;
    if (!details.contains("problem") && data != nullptr && length != nullptr) {
        const std::vector<std::uint8_t> bytes = encoded(*header, protocolVersion, count, entries);
        *data = keptLists.keep(bytes);
        *length = *data == nullptr ? 0 : static_cast<std::uint32_t>(bytes.size());
        details["jobData"] = hexadecimal(*data, *length);
    }
    return answer("PDCreateJobData2", details);
}

std::uint8_t PDDecodeData(stRecvJobData* choices, const void* data, std::uint32_t length) {
    const std::optional<stRecvJobData> decoded = decodeChoices(data, length);
    json details{{"length", length}, {"isKnownEncoding", decoded.has_value()}};
    if (decoded && choices != nullptr) {
        *choices = *decoded;
        details["choices"] = describe(*decoded);
    }
    return answer("PDDecodeData", details);
}

} // namespace
} // namespace trigora::simulators

TRIGORA_SIMULATED_FUNCTION(PDOpen, PDOpenFunction)
TRIGORA_SIMULATED_FUNCTION(PDLock, PDLockFunction)
TRIGORA_SIMULATED_FUNCTION(PDSendJobData, PDSendJobDataFunction)
TRIGORA_SIMULATED_FUNCTION(PDSendJobData2, PDSendJobData2Function)
TRIGORA_SIMULATED_FUNCTION(PDRecvJobData, PDRecvJobDataFunction)
TRIGORA_SIMULATED_FUNCTION(PDUnLock, PDUnLockFunction)
TRIGORA_SIMULATED_FUNCTION(PDClose, PDCloseFunction)
TRIGORA_SIMULATED_FUNCTION(PDCreateJobData2, PDCreateJobData2Function)
TRIGORA_SIMULATED_FUNCTION(PDDecodeData, PDDecodeDataFunction)
