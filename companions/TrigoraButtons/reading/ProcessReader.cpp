#include "companions/TrigoraButtons/reading/ProcessReader.h"

#include <utility>

namespace trigora::buttons {

namespace {

using Kind = ReaderMessage::Kind;

SensorReading readingOf(const std::vector<std::string>& fields) {
    SensorReading reading;
    for (const std::string& field : fields) {
        reading.push_back(field.empty() ? std::nullopt : std::optional(field.substr(1)));
    }
    return reading;
}

/// None for fields that are not those of a scanner.
std::optional<FoundScanner> scannerOf(const std::vector<std::string>& fields) {
    constexpr std::size_t fixed = 5;
    if (fields.size() < fixed || fields[0].empty()) {
        return std::nullopt;
    }
    FoundScanner scanner{.device = fields[0],
                         .vendor = fields[1],
                         .model = fields[2],
                         .node = fields[3],
                         .refusal = fields[4].empty() ? std::nullopt : std::optional(refusalNamed(fields[4])),
                         .sensors = {}};
    for (std::size_t i = fixed; i + 1 < fields.size(); i += 2) {
        scanner.sensors.push_back({fields[i], fields[i + 1]});
    }
    return scanner;
}

class ProcessHold final : public Hold {
public:
    ProcessHold(platform::LinuxRunLoop& loop, ReaderProcessIDs& running, const std::string& program,
                const std::vector<std::string>& arguments, const Hold::Events& events)
        : process_(loop, running, program, arguments,
                   {.received =
                        [events](const ReaderMessage& message) {
                            if (message.kind == Kind::opened) {
                                events.opened(message.fields.empty() ? "" : message.fields[0]);
                            } else if (message.kind == Kind::reading) {
                                events.read(readingOf(message.fields));
                            }
                        },
                    .ended = events.ended}) {}

    void letGo() override { process_.send({.kind = Kind::letGo, .fields = {}}); }

private:
    ReaderProcess process_;
};

class ProcessLook final : public Look {
public:
    ProcessLook(platform::LinuxRunLoop& loop, ReaderProcessIDs& running, const std::string& program,
                const std::vector<std::string>& arguments, const Look::Events& events)
        : process_(loop, running, program, arguments,
                   {.received =
                        [events, device = device_](const ReaderMessage& message) {
                            if (message.kind == Kind::opening && !message.fields.empty()) {
                                *device = message.fields[0];
                            } else if (message.kind == Kind::scanner) {
                                device->clear();
                                if (auto scanner = scannerOf(message.fields)) {
                                    events.found(std::move(*scanner));
                                }
                            }
                        },
                    .ended =
                        [events, device = device_](const ReaderEnd& end) {
                            const std::string last = *device;
                            events.ended(end, last);
                        }}) {}

private:
    std::shared_ptr<std::string> device_ = std::make_shared<std::string>(); ///< that is being opened
    ReaderProcess process_;
};

} // namespace

std::unique_ptr<Hold> ProcessReader::hold(const HoldPlan& plan, Hold::Events events) {
    std::vector<std::string> arguments{"hold", usbFolder_, plan.device, std::to_string(plan.interval.count()),
                                       plan.readsTwice ? "twice" : "once"};
    arguments.insert(arguments.end(), plan.options.begin(), plan.options.end());
    return std::make_unique<ProcessHold>(loop_, running_, program_, arguments, events);
}

std::unique_ptr<Look> ProcessReader::look(const std::vector<std::string>& known, Look::Events events) {
    std::vector<std::string> arguments{"look", usbFolder_};
    arguments.insert(arguments.end(), known.begin(), known.end());
    return std::make_unique<ProcessLook>(loop_, running_, program_, arguments, events);
}

} // namespace trigora::buttons
