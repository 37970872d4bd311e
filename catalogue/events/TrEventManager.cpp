#include "catalogue/events/TrEventManager.h"

#include "agent/log/PSlog.h"
#include "catalogue/events/TrEventInformation.h"
#include "catalogue/events/TrMonitorEventInformation.h"
#include "files/FileManagerExtension.h"
#include "files/InstalledPaths.h"
#include "files/TrFilePathUtility.h"
#include "platform/Platform.h"
#include "platform/Text.h"

#include <algorithm>
#include <set>

namespace trigora {

namespace {

constexpr std::int64_t firstJobEventID = 200; ///< the template's; the jobs themselves are 201, 202, …
constexpr std::int64_t lastJobEventID = 299;
constexpr int monitorFolderCount = 3;

std::int64_t numberOf(const TrEventInformation& event) {
    return platform::integerValue(event.eventID().value_or(""));
}

bool isOfType(const TrEventInformation& event, std::int32_t typeMask) {
    return (event.eventType().value_or(0) & typeMask) != 0;
}

/// A folder in the file's place is kept aside like a file that cannot be read.
bool writeDictionary(const std::string& path, const Dictionary& dictionary) {
    TrFilePathUtility::sharedFilePathUtility()->createFolderPath(platform::deletingLastPathComponent(path));
    return writeKeepingAside(path, !platform::current().fileSystem.isDirectory(path),
                             [&] { return writePropertyList(dictionary, path, true); });
}

/// The binding files that have been there since the process began. One of them that is missing later was
/// deleted: its user wants no bindings, and least of all the legacy ones.
class SeenBindingFiles {
public:
    /// Whether the file is there or ever was.
    bool contains(const std::string& path) {
        if (itemExistsAtPath(path)) {
            paths_.insert(path);
        }
        return paths_.contains(path);
    }

private:
    std::set<std::string> paths_;
};

/// The project that the legacy bindings give to the folder at the index, which counts from 0: of the keys
/// that end with the index, the last one counts.
std::optional<std::string> formerProjectOfFolder(const Dictionary& bindings, int index) {
    std::optional<std::string> projectID;
    if (static_cast<std::size_t>(index) >= bindings.size()) {
        return projectID;
    }
    const std::string ending = std::to_string(index);
    for (const auto& [key, value] : bindings) {
        if (key.ends_with(ending) && value.text() != nullptr) {
            projectID = *value.text();
        }
    }
    return projectID;
}

Dictionary formerWatchedFolderSettings() {
    const Dictionary bindings =
        dictionaryWithContentsOfFile(paths::formerWatchedFolderBindingsFile()).value_or(Dictionary());
    Dictionary settings;
    for (int number = 1; number <= monitorFolderCount; ++number) {
        Dictionary entry = dictionaryWithContentsOfFile(paths::formerWatchedFolderSettingsFile(number))
                               .value_or(Dictionary());
        if (const auto projectID = formerProjectOfFolder(bindings, number - 1)) {
            entry["executiveProjectID"] = *projectID;
        }
        settings[std::to_string(number)] = std::move(entry);
    }
    return settings;
}

/// Puts the text in, or, when it is empty, takes out what was there before; a value that is not text is only
/// ever replaced.
void replaceText(Dictionary& entry, const std::string& key, const std::optional<std::string>& text) {
    if (text && !text->empty()) {
        entry[key] = *text;
    } else if (platform::textAt(entry, key)) {
        entry.erase(key);
    }
}

/// The watched-folder settings of the event as they are to be written in the place of `asRead`, which may
/// be null.
Value settingsOfEvent(const TrMonitorEventInformation& event, const Value* asRead) {
    const std::optional<std::string> projectID = event.connectedProjectID(nullptr);
    const bool isDefaultProject = projectID == event.defaultProjectID(nullptr);
    const bool isUnset = !event.monitorFolderPath() && !event.timeInterval() && isDefaultProject;
    if (asRead != nullptr && asRead->dictionary() == nullptr && isUnset) {
        return *asRead;
    }
    Dictionary entry =
        asRead != nullptr && asRead->dictionary() != nullptr ? *asRead->dictionary() : Dictionary();
    const Value* projectAsRead = platform::find(entry, "executiveProjectID");
    const bool isForeign = projectAsRead != nullptr && projectAsRead->text() == nullptr;
    if (!isForeign || !isDefaultProject) {
        replaceText(entry, "executiveProjectID", projectID);
    }
    replaceText(entry, "folderPath", event.monitorFolderPath());
    if (event.timeInterval()) {
        entry["intervalTime"] = *event.timeInterval();
    } else {
        entry.erase("intervalTime");
    }
    return entry;
}

} // namespace

std::shared_ptr<EventBindingStore> sharedEventBindingStore() { return TrEventManager::sharedEventManager(); }

std::shared_ptr<TrEventManager> TrEventManager::sharedEventManager() {
    return platform::shared<TrEventManager>();
}

void TrEventManager::releaseSharedManager() { platform::releaseShared<TrEventManager>(); }

TrEventManager::TrEventManager() { EM_Initialize(); }

void TrEventManager::EM_Initialize() {
    const std::string scratchFolder = paths::loginScratchFolder();
    exRemoveItemAtPath(scratchFolder);
    exCreateDirectoryAtPath(scratchFolder, false, std::nullopt);
    EM_ReadEventInformation();
}

void TrEventManager::EM_ReadEventInformation() {
    for (const std::string& path : pathsWithExtension(paths::eventFolder(), "plg")) {
        const auto event = TrEventInformation::initWithPath(path);
        if (!event) {
            continue;
        }
        mutableArray_EventList.push_back(event);
        if (event->isMonitorEvent() && mutableArray_MonitorEventList.empty()) {
            EM_CreateMonitorEvents(*event);
        }
    }
}

void TrEventManager::EM_CreateMonitorEvents(const TrEventInformation& installedEvent) {
    EM_ReadWatchedFolderSettings();
    for (int number = 1; number <= monitorFolderCount; ++number) {
        const std::string digit = std::to_string(number);
        auto event =
            TrMonitorEventInformation::createMonitorEventInforamtionWithEventInformation(installedEvent);
        event->setEventName(installedEvent.eventName().value_or("") + digit);
        event->setMonitorInformation(
            platform::dictionaryAt(watchedFolderSettings_, digit).value_or(Dictionary()));
        mutableArray_MonitorEventList.push_back(std::move(event));
    }
}

void TrEventManager::EM_ReadWatchedFolderSettings() {
    std::optional<Dictionary> settings = dictionaryWithContentsOfFile(paths::watchedFolderSettingsFile());
    watchedFolderSettings_ = settings ? std::move(*settings) : formerWatchedFolderSettings();
}

void TrEventManager::EM_WriteWatchedFolderSettings() {
    if (mutableArray_MonitorEventList.empty()) {
        return; // nothing was read, so writing would wipe out what the file holds
    }
    int number = 0;
    for (const auto& event : mutableArray_MonitorEventList) {
        const std::string key = std::to_string(++number);
        watchedFolderSettings_[key] = settingsOfEvent(*event, platform::find(watchedFolderSettings_, key));
    }
    writeDictionary(paths::watchedFolderSettingsFile(), watchedFolderSettings_);
}

std::shared_ptr<TrEventInformation>
TrEventManager::eventInformationWithEventID(const std::string& eventID) const {
    const auto event =
        std::find_if(mutableArray_EventList.begin(), mutableArray_EventList.end(),
                     [&eventID](const auto& candidate) { return candidate->eventID() == eventID; });
    if (event != mutableArray_EventList.end()) {
        return *event;
    }
    const std::int32_t number = platform::integerValue(eventID);
    const bool isJobEvent = number >= firstJobEventID && number <= lastJobEventID;
    return isJobEvent ? allocDefaultJobEvent(eventID) : nullptr;
}

TrEventManager::EventList TrEventManager::eventListWithEventType(std::int32_t typeMask,
                                                                 std::uint32_t count) const {
    const bool isJobList = typeMask == TrEventInformation::jobEventType;
    EventList list;
    for (const auto& event : mutableArray_EventList) {
        if (isOfType(*event, typeMask) && !(isJobList && numberOf(*event) == firstJobEventID)) {
            list.push_back(event);
        }
    }
    EM_EventIDSort(list);
    if (list.size() > count) {
        list.resize(count);
    }
    if (isJobList) {
        createJobEvent(list, count);
    }
    EM_EventIDSort(list);
    return list;
}

std::shared_ptr<TrMonitorEventInformation>
TrEventManager::monitorEventInformationWithMonitorEventName(const std::string& name) const {
    const auto event =
        std::find_if(mutableArray_MonitorEventList.begin(), mutableArray_MonitorEventList.end(),
                     [&name](const auto& candidate) { return candidate->eventName() == name; });
    return event == mutableArray_MonitorEventList.end() ? nullptr : *event;
}

std::optional<std::string> TrEventManager::projectIDWithEventID(const std::string& eventID) {
    if (!bindings_) {
        setScanEventPathWithModelID(std::nullopt);
    }
    return platform::textAt(*bindings_, eventID);
}

void TrEventManager::setProjectID(const std::optional<std::string>& projectID,
                                  const std::optional<std::string>& eventID) {
    if (bindings_ && projectID && eventID) {
        (*bindings_)[*eventID] = *projectID;
    }
}

void TrEventManager::removeProjectIDWithEventID(const std::string& eventID) {
    if (bindings_) {
        bindings_->erase(eventID);
    }
}

void TrEventManager::setScanEventPathWithModelID(const std::optional<std::string>& modelID) {
    EM_WriteScanEventInformation();
    string_CurrentScanFilePath = paths::buttonBindingsFile(modelID);
    string_OldCurrentScanFilePath = paths::formerButtonBindingsFile(modelID);
    EM_ReadScanEventInformation();
}

void TrEventManager::EM_ReadScanEventInformation() {
    hadNoFile_ = !itemExistsAtPath(*string_CurrentScanFilePath);
    const bool isNew = !platform::shared<SeenBindingFiles>()->contains(*string_CurrentScanFilePath);
    bindingsAsRead_ =
        dictionaryWithContentsOfFile(isNew ? *string_OldCurrentScanFilePath : *string_CurrentScanFilePath)
            .value_or(Dictionary());
    bindings_ = bindingsAsRead_;
}

void TrEventManager::EM_WriteScanEventInformation() {
    if (!string_CurrentScanFilePath || !bindings_) {
        return;
    }
    // Unchanged bindings are older than what another program may have written to the file since.
    const bool isFirstSave = hadNoFile_ && !itemExistsAtPath(*string_CurrentScanFilePath);
    if ((bindings_ != bindingsAsRead_ || isFirstSave) &&
        writeDictionary(*string_CurrentScanFilePath, *bindings_)) {
        bindingsAsRead_ = *bindings_;
        hadNoFile_ = false;
        platform::shared<SeenBindingFiles>()->contains(*string_CurrentScanFilePath);
    }
}

void TrEventManager::saveEventInformation() {
    if (!string_CurrentScanFilePath) {
        setScanEventPathWithModelID(std::nullopt);
    }
    EM_WriteScanEventInformation();
    EM_WriteWatchedFolderSettings();
}

void TrEventManager::reloadEventInformation() {
    mutableArray_EventList.clear();
    mutableArray_MonitorEventList.clear();
    EM_ReadEventInformation();
}

std::shared_ptr<TrEventInformation> TrEventManager::allocDefaultJobEvent(const std::string& eventID) {
    auto event = TrEventInformation::initWithPath(paths::defaultJobEventFile());
    if (event) {
        event->setEventID(eventID);
        event->setEventName(std::nullopt);
        event->setIconFilePath(std::nullopt);
    }
    return event;
}

std::shared_ptr<TrEventInformation> TrEventManager::jobEventTemplate() const {
    const auto event =
        std::find_if(mutableArray_EventList.begin(), mutableArray_EventList.end(), [](const auto& candidate) {
            return isOfType(*candidate, TrEventInformation::jobEventType) &&
                   numberOf(*candidate) == firstJobEventID;
        });
    return event == mutableArray_EventList.end() ? nullptr : *event;
}

void TrEventManager::createJobEvent(EventList& list, std::uint32_t count) const {
    // The IDs run on from the size of the list, not from its highest ID; one that cannot be made leaves a
    // gap.
    for (std::size_t index = list.size(); index < count; ++index) {
        if (auto event = allocDefaultJobEvent(
                std::to_string(static_cast<std::int64_t>(index) + firstJobEventID + 1))) {
            list.push_back(std::move(event));
        }
    }
    const auto jobTemplate = jobEventTemplate();
    for (const auto& event : list) {
        const std::int64_t number = numberOf(*event) - firstJobEventID;
        if (jobTemplate && number == 1) {
            event->setIconFilePath(jobTemplate->iconFilePath());
            event->setEventName(stringWithFormat("%@ %02d", jobTemplate->eventName().value_or(""), number));
        } else {
            event->setEventName(stringWithFormat("%02d", number));
        }
    }
}

void TrEventManager::EM_EventIDSort(EventList& list) {
    std::stable_sort(list.begin(), list.end(),
                     [](const auto& left, const auto& right) { return numberOf(*left) < numberOf(*right); });
}

} // namespace trigora
