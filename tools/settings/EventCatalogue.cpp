#include "tools/settings/EventCatalogue.h"

#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "catalogue/events/TrEventInformation.h"
#include "catalogue/identifiers/EventKinds.h"
#include "platform/Text.h"
#include "tools/settings/ScannerModels.h"
#include "tools/settings/SettingsError.h"
#include "tools/words/NearMatches.h"
#include "tools/words/Wording.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

namespace trigora::tools {

namespace {

constexpr std::array kinds{EventKind{event_kinds::button, "button"}, EventKind{event_kinds::folder, "folder"},
                           EventKind{event_kinds::job, "job"}, EventKind{event_kinds::fourth, "kind4"},
                           EventKind{event_kinds::fifth, "kind5"}};

constexpr std::uint32_t anyCount = std::numeric_limits<std::uint32_t>::max();
constexpr std::int32_t anyKind = -1;
constexpr int firstJob = 201;
constexpr int lastJob = 299;

TrEventManager::EventList eventsOfDriver(const std::shared_ptr<TrScannerDriverInformation>& driver) {
    const auto manager = TrEventManager::sharedEventManager();
    const std::int32_t mask = driver ? driver->supportEventType() : anyKind;
    // Only jobs are counted: their list is filled up to the number of buttons.
    const bool areJobs = mask == TrEventInformation::jobEventType;
    const auto count =
        areJobs ? static_cast<std::uint32_t>(std::clamp(driver->numberOfButton(), 0, 99)) : anyCount;
    TrEventManager::EventList events = manager->eventListWithEventType(mask, count);
    std::erase_if(events, [](const auto& event) { return event->isMonitorEvent(); });
    return events;
}

bool containsID(const TrEventManager::EventList& events, const std::optional<std::string>& eventID) {
    return std::ranges::any_of(events, [&](const auto& event) { return event->eventID() == eventID; });
}

/// What the user has bound is shown even if the device does not offer it.
void addBoundEvents(TrEventManager::EventList& events) {
    const auto manager = TrEventManager::sharedEventManager();
    TrEventManager::EventList others = manager->eventListWithEventType(anyKind, anyCount);
    for (int number = firstJob; number <= lastJob; ++number) {
        const std::string eventID = std::to_string(number);
        if (!containsID(others, eventID) && manager->projectIDWithEventID(eventID)) {
            others.push_back(manager->eventInformationWithEventID(eventID));
        }
    }
    for (const auto& event : others) {
        if (event && !event->isMonitorEvent() && !containsID(events, event->eventID()) &&
            manager->projectIDWithEventID(event->eventID().value_or(""))) {
            events.push_back(event);
        }
    }
}

std::optional<std::string> problemOfProject(const std::optional<std::string>& projectID,
                                            const ListedProjects& projects) {
    if (!projectID || projectID->empty()) {
        return "no project is bound to it";
    }
    const ListedProject* project = findProject(projects, *projectID);
    if (project == nullptr) {
        return "there is no project " + *projectID;
    }
    return project->isAvailable ? std::nullopt
                                : std::optional(project->problem.value_or("its project is not available"));
}

std::string eventsNear(const std::string& eventID) {
    std::vector<std::string> near;
    std::vector<std::string> all;
    for (const auto& event :
         TrEventManager::sharedEventManager()->eventListWithEventType(anyKind, anyCount)) {
        if (event->isMonitorEvent()) {
            continue;
        }
        all.push_back(idAndName(*event));
        if (!nearMatches(eventID, {event->eventID().value_or(""), event->eventName().value_or("")}).empty()) {
            near.push_back(idAndName(*event));
        }
    }
    return listOfMatches(near, all);
}

} // namespace

std::string eventKindName(std::int32_t mask) {
    const auto* kind = std::ranges::find(kinds, mask, &EventKind::mask);
    return kind == kinds.end() ? "unknown" : std::string(kind->name);
}

std::int32_t eventKindOf(const std::string& text) {
    const auto* kind = std::ranges::find(kinds, std::string_view(text), &EventKind::name);
    const bool isMask =
        text.starts_with("0x") && text.find_first_not_of("0123456789abcdefABCDEF", 2) == std::string::npos;
    if (kind == kinds.end() && isMask) {
        const auto mask = static_cast<std::int32_t>(platform::hexadecimalValue(text));
        kind = std::ranges::find(kinds, mask, &EventKind::mask);
    }
    if (kind == kinds.end()) {
        throw SettingsError(SettingsError::Code::invalid,
                            "there is no kind " + printable(text) +
                                "; the kinds are button (0x1000), folder (0x2000), job (0x4000), kind4 "
                                "(0x8000) and kind5 (0x10000)");
    }
    return kind->mask;
}

std::optional<std::string> ListedEvent::project() const {
    return boundProject ? boundProject : defaultProject;
}

std::vector<ListedEvent> listedEvents(const std::shared_ptr<TrScannerDriverInformation>& driver,
                                      const ListedProjects& projects) {
    const auto manager = TrEventManager::sharedEventManager();
    manager->setScanEventPathWithModelID(modelOf(driver));
    TrEventManager::EventList events = eventsOfDriver(driver);
    addBoundEvents(events);
    std::vector<ListedEvent> listed;
    for (const auto& event : events) {
        ListedEvent entry{.event = event,
                          .boundProject = manager->projectIDWithEventID(event->eventID().value_or("")),
                          .defaultProject = event->defaultProjectID(driver),
                          .problem = {}};
        entry.problem = problemOfProject(entry.project(), projects);
        listed.push_back(std::move(entry));
    }
    return listed;
}

std::optional<std::string> bindingNote(const TrEventInformation& event,
                                       const std::shared_ptr<TrScannerDriverInformation>& driver) {
    std::string list;
    const auto add = [&](const std::string& text) { list += (list.empty() ? "" : ", ") + text; };
    if (!driver) {
        for (const KnownScanner& scanner : knownScanners()) {
            if (scanner.modelID) {
                add(*scanner.modelID + (scanner.driverName ? " (" + *scanner.driverName + ")" : ""));
            }
        }
        return list.empty() ? std::nullopt
                            : std::optional("scanners of a known model have bindings of their own and do not "
                                            "follow this one; give --model for " +
                                            list);
    }
    const TrEventManager::EventList offered = eventsOfDriver(driver);
    if (containsID(offered, event.eventID())) {
        return std::nullopt;
    }
    for (const auto& other : offered) {
        add(idAndName(*other));
    }
    return "scanners" + ofModel(driver) + " never send event " + idAndName(event) + "; they send " +
           (list.empty() ? "none" : list);
}

std::shared_ptr<TrEventInformation> requireEvent(const std::string& eventID) {
    const auto manager = TrEventManager::sharedEventManager();
    const bool isNumber = eventID.find_first_not_of("0123456789") == std::string::npos;
    auto event = isNumber ? manager->eventInformationWithEventID(eventID) : nullptr;
    if (event && !event->isMonitorEvent()) {
        return event;
    }
    if (event) {
        throw SettingsError(SettingsError::Code::invalid,
                            "event " + idAndName(*event) +
                                " is that of the watched folders; use trigoractl watch for them");
    }
    throw SettingsError(SettingsError::Code::notFound,
                        "there is no event " + printable(eventID) + eventsNear(eventID));
}

std::string idAndName(const TrEventInformation& event) {
    return textOrDash(event.eventID()) +
           (event.eventName() ? " (" + printable(*event.eventName()) + ")" : std::string());
}

} // namespace trigora::tools
