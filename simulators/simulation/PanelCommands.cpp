#include "simulators/simulation/PanelCommands.h"

#include <cstring>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace trigora::simulators {

namespace {

constexpr std::int64_t mostThreads = 64;
constexpr std::int64_t mostTimes = 1000;
constexpr char choicesMark[4] = {'T', 'P', 'J', 'C'};
constexpr std::size_t encodedChoicesSize = sizeof choicesMark + sizeof(stRecvJobData);

constexpr std::pair<const char*, PanelEvent> events[] = {
    {"event", {}},
    {"scan", {NSM_EVENT_SIMPLE_SCAN, 0}},
    {"list", {NSM_EVENT_JOB_LIST, 0}},
    {"start", {NSM_EVENT_START_JOB, PANEL_COMMAND_START}},
    {"continue", {NSM_EVENT_START_JOB, PANEL_COMMAND_CONTINUE}},
    {"complete", {NSM_EVENT_START_JOB, PANEL_COMMAND_COMPLETE}},
    {"cancel", {NSM_EVENT_START_JOB, PANEL_COMMAND_CANCEL}},
    {"keep-alive", {NSM_EVENT_START_JOB, PANEL_COMMAND_KEEP_ALIVE}},
    {"end", {NSM_EVENT_END_JOB, 0}},
};

/// Names of the choices, in the order of the bytes of an stRecvJobData.
constexpr const char* choiceNames[] = {"imageType",   "resolution", "scanningDevice", "documentSize",
                                       "orientation", "saveFormat", "scanToNo",       "printNum"};

} // namespace

std::optional<PanelEvent> panelEventOf(const json& command) {
    const std::string name = textAt(command, "command").value_or("");
    for (const auto& [known, event] : events) {
        if (name == known) {
            return PanelEvent{static_cast<std::int32_t>(integerAt(command, "kind", event.kind)),
                              static_cast<std::int32_t>(integerAt(command, "commandCode", event.command))};
        }
    }
    return std::nullopt;
}

json callBack(const json& command, const std::function<bool()>& isStopping,
              const std::function<std::int32_t()>& call) {
    const std::int64_t threadCount =
        std::clamp<std::int64_t>(integerAt(command, "threads", 1), 1, mostThreads);
    const std::int64_t times = std::clamp<std::int64_t>(integerAt(command, "times", 1), 1, mostTimes);
    std::mutex mutex;
    json results = json::array();
    const auto callRepeatedly = [&] {
        for (std::int64_t i = 0; i < times && !isStopping(); ++i) {
            const std::int32_t result = call();
            const std::lock_guard lock(mutex);
            results.push_back(result);
        }
    };
    std::vector<std::thread> threads;
    for (std::int64_t i = 1; i < threadCount; ++i) {
        threads.emplace_back(callRepeatedly);
    }
    callRepeatedly();
    for (std::thread& thread : threads) {
        thread.join();
    }
    return results;
}

stRecvJobData choicesOf(const json& object) {
    std::uint8_t bytes[sizeof(stRecvJobData)];
    for (std::size_t i = 0; i < sizeof bytes; ++i) {
        bytes[i] = static_cast<std::uint8_t>(object.is_object() ? integerAt(object, choiceNames[i], 0) : 0);
    }
    stRecvJobData choices;
    std::memcpy(&choices, bytes, sizeof choices);
    return choices;
}

json describe(const stRecvJobData& choices) {
    std::uint8_t bytes[sizeof choices];
    std::memcpy(bytes, &choices, sizeof choices);
    json object = json::object();
    for (std::size_t i = 0; i < sizeof bytes; ++i) {
        object[choiceNames[i]] = bytes[i];
    }
    return object;
}

std::vector<std::uint8_t> encodedChoices(const stRecvJobData& choices) {
    std::vector<std::uint8_t> bytes(encodedChoicesSize);
    std::memcpy(bytes.data(), choicesMark, sizeof choicesMark);
    std::memcpy(bytes.data() + sizeof choicesMark, &choices, sizeof choices);
    return bytes;
}

std::optional<stRecvJobData> decodeChoices(const void* data, std::size_t size) {
    if (data == nullptr || size != encodedChoicesSize ||
        std::memcmp(data, choicesMark, sizeof choicesMark) != 0) {
        return std::nullopt;
    }
    stRecvJobData choices;
    std::memcpy(&choices, static_cast<const std::uint8_t*>(data) + sizeof choicesMark, sizeof choices);
    return choices;
}

} // namespace trigora::simulators
