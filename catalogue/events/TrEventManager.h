#pragma once

#include "catalogue/events/EventBindingStore.h"
#include "platform/Value.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace trigora {

class TrEventInformation;
class TrMonitorEventInformation;

/// The catalogue of events: every installed event, the three watched-folder events, and the user's bindings
/// of button events to projects, of which each scanner model has its own file.
///
/// The usual order: made and read on first use; `setScanEventPathWithModelID` at each button press, which
/// writes the bindings of the model before, if they changed, and reads those of the new one; dropped when the
/// settings change, so that the next use reads everything again. What is set in memory reaches the files only
/// by a change of model or `saveEventInformation`.
///
/// Button bindings are written when they differ from what was read, or while there is no file, as after
/// taking over those of an earlier version. A press thus never overwrites what another program has written,
/// and costs no write to the disk.
///
/// Entries of the settings files that the agent does not understand are written back as they were, and a file
/// that cannot be read is moved to the same name with ".damaged" before a new one takes its place.
/// Main thread only.
class TrEventManager final : public EventBindingStore {
public:
    using EventList = std::vector<std::shared_ptr<TrEventInformation>>;
    using MonitorEventList = std::vector<std::shared_ptr<TrMonitorEventInformation>>;

    static std::shared_ptr<TrEventManager> sharedEventManager();
    static void releaseSharedManager();

    /// Empties the login scratch folder and reads the installed events and the watched-folder settings.
    TrEventManager();
    TrEventManager(const TrEventManager&) = delete;
    TrEventManager& operator=(const TrEventManager&) = delete;

    /// The installed event with that ID. For an ID of 200 to 299 without one, a new job event; else null.
    std::shared_ptr<TrEventInformation> eventInformationWithEventID(const std::string& eventID) const;
    /// At most `count` installed events whose kind shares a bit with the mask, ascending by ID. For the mask
    /// 0x4000 the job template is left out and the list padded to `count` with job events; all of them are
    /// then renamed.
    EventList eventListWithEventType(std::int32_t typeMask, std::uint32_t count) const;

    const MonitorEventList& monitorEventList() const { return mutableArray_MonitorEventList; }
    /// Null when none has that name.
    std::shared_ptr<TrMonitorEventInformation>
    monitorEventInformationWithMonitorEventName(const std::string& name) const;

    /// Reads the binding file when that has not been done. A value that is not text is not a binding.
    std::optional<std::string> projectIDWithEventID(const std::string& eventID) override;
    /// Binds in memory, once bindings have been read; before that the binding is dropped.
    void setProjectID(const std::optional<std::string>& projectID,
                      const std::optional<std::string>& eventID) override;
    /// Takes a binding back in memory; the event then runs its default project.
    void removeProjectIDWithEventID(const std::string& eventID);
    /// Writes the bindings in memory to their file, if need be, and goes over to those of a model, given by
    /// its hexadecimal ID, or to those without a model. They are read afresh also when the model stays.
    void setScanEventPathWithModelID(const std::optional<std::string>& modelID);

    /// Writes the button bindings, if need be, and the watched-folder settings.
    void saveEventInformation();
    /// Reads the installed events and the watched-folder settings again; the bindings in memory stay.
    void reloadEventInformation();

    /// A new job event with that ID, without name and icon; null when the installed one cannot be read.
    static std::shared_ptr<TrEventInformation> allocDefaultJobEvent(const std::string& eventID);
    /// The installed job event with the ID 200, or null.
    std::shared_ptr<TrEventInformation> jobEventTemplate() const;
    /// Pads the list to `count` with new job events, numbered on from 201, and names all events in the list
    /// by their number; the first job takes the template's caption and icon.
    void createJobEvent(EventList& list, std::uint32_t count) const;

private:
    void EM_Initialize();
    void EM_ReadEventInformation();
    void EM_CreateMonitorEvents(const TrEventInformation& installedEvent);
    void EM_ReadWatchedFolderSettings();
    void EM_WriteWatchedFolderSettings();
    void EM_ReadScanEventInformation();
    void EM_WriteScanEventInformation();
    static void EM_EventIDSort(EventList& list);

    EventList mutableArray_EventList;
    MonitorEventList mutableArray_MonitorEventList;
    std::optional<std::string> string_CurrentScanFilePath;
    std::optional<std::string> string_OldCurrentScanFilePath;
    /// Event ID to project ID; none until first needed.
    std::optional<Dictionary> bindings_;
    /// What was last read from, or written to, the current file, or the legacy file in its place.
    Dictionary bindingsAsRead_;
    bool hadNoFile_ = false; ///< there was no current file then
    /// As read, or as taken over from the legacy files.
    Dictionary watchedFolderSettings_;
};

} // namespace trigora
