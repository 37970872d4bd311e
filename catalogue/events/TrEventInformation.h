#pragma once

#include "catalogue/identifiers/EventKinds.h"
#include "platform/Formats.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace trigora {

class TrScannerDriverInformation;

/// One thing that can start a job: a button on a scanner or its panel, or a watched folder. Read once from
/// its event file when the catalogue is read. Which project the user has bound to it is kept in the
/// catalogue, not here. Main thread only.
class TrEventInformation {
public:
    /// The kind of an event, a bit each; -1 when the event file names none that is known.
    static constexpr std::int32_t monitorEventType = event_kinds::folder;
    static constexpr std::int32_t jobEventType = event_kinds::job;

    using StringList = std::vector<std::string>;

    TrEventInformation() = default;
    virtual ~TrEventInformation() = default;
    TrEventInformation(const TrEventInformation&) = delete;
    TrEventInformation& operator=(const TrEventInformation&) = delete;

    /// Null when there is no readable file at the path. What the file says may depend on the current
    /// scanner driver: its texts, its icon and its default project.
    static std::shared_ptr<TrEventInformation> initWithPath(const std::string& path);

    const std::optional<std::string>& eventID() const { return string_EventID; }
    void setEventID(std::optional<std::string> eventID) { string_EventID = std::move(eventID); }
    bool isShow() const { return bool_IsShow; }
    void setIsShow(bool isShow) { bool_IsShow = isShow; }
    bool isDisableEventMapping() const { return bool_IsDisableEventMapping; }
    void setIsDisableEventSetting(bool isDisabled) { bool_IsDisableEventMapping = isDisabled; }
    std::optional<std::int32_t> eventType() const { return number_Type; }
    void setEventType(std::optional<std::int32_t> type) { number_Type = type; }
    const std::optional<std::string>& version() const { return string_Version; }
    void setVersion(std::optional<std::string> version) { string_Version = std::move(version); }
    const std::optional<std::string>& eventName() const { return string_EventName; }
    void setEventName(std::optional<std::string> name) { string_EventName = std::move(name); }
    const std::optional<std::string>& description() const { return string_Description; }
    void setDescription(std::optional<std::string> description) {
        string_Description = std::move(description);
    }
    const std::optional<std::string>& iconFilePath() const { return string_IconFilePath; }
    void setIconFilePath(std::optional<std::string> path) { string_IconFilePath = std::move(path); }
    /// The lists may be shared with a monitor event made from this one; null counts as empty.
    const std::shared_ptr<StringList>& supportProjectIDList() const {
        return mutableArray_SupportProjectIDList;
    }
    void setSupportProjectIDList(std::shared_ptr<StringList> list) {
        mutableArray_SupportProjectIDList = std::move(list);
    }
    const std::shared_ptr<StringList>& supportProjectTypeList() const { return mutableArray_SupportTypeList; }
    void setSupportProjectTypeList(std::shared_ptr<StringList> list) {
        mutableArray_SupportTypeList = std::move(list);
    }
    void setDefaultProjectID(std::optional<std::string> projectID) {
        string_DefaultProjectID = std::move(projectID);
    }

    /// Of the file that it was read from; none for an event that was read from none.
    const std::optional<std::string>& eventFilePath() const { return string_EventFilePath; }

    /// From the shared image cache; null when the file is missing or no picture.
    std::shared_ptr<const platform::Image> iconImage() const;

    /// The project that the event runs on that driver while the user has bound none. The driver may be null.
    std::optional<std::string>
    defaultProjectID(const std::shared_ptr<const TrScannerDriverInformation>& driver) const;

    /// The project bound to this event: the user's binding, else the default for the driver.
    virtual std::optional<std::string>
    connectedProjectID(const std::shared_ptr<const TrScannerDriverInformation>& driver) const;
    /// Binds the event in the catalogue; none changes nothing.
    virtual void setConnectedProjectID(const std::optional<std::string>& projectID);

    /// Whether the event may run the project. An entry "700" admits every project of the user.
    bool isSupportProjectID(const std::string& projectID) const;
    bool isSupportProjectType(const std::string& projectType) const;
    bool isMonitorEvent() const { return number_Type == monitorEventType; }

private:
    /// Where an event's texts come from, and the key prefix of a model's own entries, if it has one.
    struct Resources {
        std::string folder;
        std::optional<std::string> alias;
    };

    void EI_ReadEventFile(const std::string& path);
    void readShow(const std::string& show);
    Resources chooseResources() const;
    std::string numberedResourceFolder(const std::string& normalFolder, std::int32_t numberOfButton) const;
    std::string folderBesideEventFile(const std::string& name) const;
    void readTexts(const std::string& resourceFolder);
    void readProjects();
    void readAcceptableProjectTypes();
    /// The value under `<alias>.key`; none without an alias.
    std::optional<std::string> aliasValue(const std::optional<std::string>& alias,
                                          const std::string& key) const;
    /// The value under `<alias>.key` or, when that is missing or empty, under `key`.
    std::optional<std::string> valueWithAlias(const std::optional<std::string>& alias,
                                              const std::string& key) const;
    std::optional<std::string> value(const std::string& key) const;

    std::optional<std::string> string_EventID;
    bool bool_IsShow = false;
    bool bool_IsDisableEventMapping = false;
    std::optional<std::int32_t> number_Type;
    std::optional<std::string> string_Version;
    std::optional<std::string> string_EventName;
    std::optional<std::string> string_Description;
    std::optional<std::string> string_IconFilePath;
    std::optional<std::string> string_DefaultProjectID;
    std::shared_ptr<StringList> mutableArray_SupportProjectIDList = std::make_shared<StringList>();
    std::shared_ptr<StringList> mutableArray_SupportTypeList = std::make_shared<StringList>();
    std::optional<std::string> string_EventFilePath;
};

} // namespace trigora
