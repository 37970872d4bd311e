#include "catalogue/events/TrEventInformation.h"

#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "catalogue/drivers/TrScannerDriverManager.h"
#include "catalogue/events/EventBindingStore.h"
#include "catalogue/identifiers/UserProjects.h"
#include "files/PxDefParser.h"
#include "files/PxIniParser.h"
#include "files/StringHelpers.h"
#include "files/TrFilePathUtility.h"
#include "files/TrImageLoadManager.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Text.h"

#include <algorithm>

namespace trigora {

namespace {

constexpr std::uint32_t shownBit = 0x10;
constexpr std::uint32_t disableMappingBit = 0x20;

/// Models from this ID on may have texts, icons and default projects of their own.
constexpr std::int64_t firstModelWithOwnResources = 254;
constexpr std::int32_t pdfEventID = 120;
constexpr std::int32_t lastNumberedResourcesEventID = 122;

/// Every event runs projects of these types, whatever its file says.
constexpr const char* predefinedProjectTypes[] = {"0x8001", "0x8002", "0x8003"};

std::int32_t eventTypeOfShow(const std::string& show) {
    if (show == "0x310") {
        return TrEventInformation::jobEventType; // its fourth character alone would say 0x1000
    }
    constexpr std::size_t decidingPosition = 3;
    switch (show.size() > decidingPosition ? show[decidingPosition] : '\0') {
    case '1':
        return event_kinds::button;
    case '2':
        return TrEventInformation::monitorEventType;
    case '3':
        return TrEventInformation::jobEventType;
    case '4':
        return event_kinds::fourth;
    case '5':
        return event_kinds::fifth;
    default:
        return -1;
    }
}

bool contains(const std::shared_ptr<TrEventInformation::StringList>& list, std::string_view text) {
    return list && std::find(list->begin(), list->end(), text) != list->end();
}

bool hasOwnResources(const TrScannerDriverInformation& driver) {
    return driver.modelID().value_or(0) >= firstModelWithOwnResources;
}

/// The events of the scan-mode buttons, whose resources for newer models lie in a folder with "2" at the
/// end of its name.
bool hasNumberedResources(const std::optional<std::string>& eventID) {
    const std::int32_t number = platform::integerValue(eventID.value_or(""));
    return number >= pdfEventID && number <= lastNumberedResourcesEventID;
}

bool isReadable(const std::string& path) {
    return exStringWithContentsOfFile(path, platform::Encoding::unicode).has_value();
}

} // namespace

std::shared_ptr<TrEventInformation> TrEventInformation::initWithPath(const std::string& path) {
    if (!isReadable(path)) {
        return nullptr;
    }
    auto event = std::make_shared<TrEventInformation>();
    event->EI_ReadEventFile(path);
    return event;
}

void TrEventInformation::EI_ReadEventFile(const std::string& path) {
    string_EventFilePath = path;
    string_EventID = value("EventID").value_or("200");
    readShow(value("Show").value_or(""));
    string_Version = value("EventVersion");

    const Resources resources = chooseResources();
    readTexts(resources.folder);
    string_IconFilePath = valueWithAlias(resources.alias, "Icon");
    if (!string_IconFilePath || string_IconFilePath->empty()) {
        string_IconFilePath =
            platform::appendingPathComponent(platform::deletingPathExtension(path), "icon.png");
    }
    readProjects();
    string_DefaultProjectID = valueWithAlias(resources.alias, "DefaultProject");
    readAcceptableProjectTypes();
}

void TrEventInformation::readShow(const std::string& show) {
    const std::uint32_t flags = platform::hexadecimalValue(show);
    bool_IsShow = (flags & shownBit) != 0;
    bool_IsDisableEventMapping = (flags & disableMappingBit) != 0;
    number_Type = eventTypeOfShow(show);
}

TrEventInformation::Resources TrEventInformation::chooseResources() const {
    const std::string normalFolder = platform::deletingPathExtension(*string_EventFilePath);
    const auto driver =
        TrScannerDriverManager::sharedScannerDriverManager()->currentScannerDriverInformation();
    if (!driver || !hasOwnResources(*driver)) {
        return {normalFolder, std::nullopt};
    }
    if (hasNumberedResources(string_EventID)) {
        return {numberedResourceFolder(normalFolder, driver->numberOfButton()), std::nullopt};
    }
    const std::optional<std::string> alias = driver->eventAliasKeyName();
    const std::optional<std::string> name = aliasValue(alias, "Resources");
    if (name && !name->empty()) {
        std::string folder = folderBesideEventFile(*name);
        if (platform::current().fileSystem.isDirectory(folder)) {
            return {std::move(folder), alias};
        }
    }
    return {normalFolder, alias};
}

std::string TrEventInformation::numberedResourceFolder(const std::string& normalFolder,
                                                       std::int32_t numberOfButton) const {
    // A scanner whose one button means "scan to PDF" has texts of its own, where they are installed.
    if (numberOfButton == 1 && platform::integerValue(*string_EventID) == pdfEventID) {
        const std::string folder = folderBesideEventFile("Scan to PDF2");
        return platform::current().fileSystem.isDirectory(folder) ? folder : normalFolder;
    }
    return normalFolder + "2";
}

std::string TrEventInformation::folderBesideEventFile(const std::string& name) const {
    return platform::appendingPathComponent(platform::deletingLastPathComponent(*string_EventFilePath), name);
}

void TrEventInformation::readTexts(const std::string& resourceFolder) {
    const auto defParser = PxDefParser::sharedDefParser();
    const std::string path =
        TrFilePathUtility::sharedFilePathUtility()->stringDefaultPathWithEventFolder(resourceFolder);
    string_EventName = defParser->valueWithFilePath(path, "Caption");
    string_Description = defParser->valueWithFilePath(path, "Description");
}

void TrEventInformation::readProjects() {
    if (const std::optional<std::string> projects = value("Project")) {
        *mutableArray_SupportProjectIDList = platform::componentsSeparatedByString(*projects, ",");
    }
}

void TrEventInformation::readAcceptableProjectTypes() {
    if (const std::optional<std::string> types = value("AcceptableProjectType")) {
        for (const std::string& type : platform::componentsSeparatedByString(*types, ",")) {
            mutableArray_SupportTypeList->push_back(platform::trimmed(type, " \t"));
        }
    }
    for (const char* type : predefinedProjectTypes) {
        if (!isSupportProjectType(type)) {
            mutableArray_SupportTypeList->emplace_back(type);
        }
    }
}

std::optional<std::string> TrEventInformation::value(const std::string& key) const {
    if (!string_EventFilePath) {
        return std::nullopt;
    }
    return PxIniParser::sharedParser()->valueWithFilePath(*string_EventFilePath, "Event", key);
}

std::optional<std::string> TrEventInformation::aliasValue(const std::optional<std::string>& alias,
                                                          const std::string& key) const {
    return alias ? value(*alias + "." + key) : std::nullopt;
}

std::optional<std::string> TrEventInformation::valueWithAlias(const std::optional<std::string>& alias,
                                                              const std::string& key) const {
    std::optional<std::string> own = aliasValue(alias, key);
    return own && !own->empty() ? own : value(key);
}

std::shared_ptr<const platform::Image> TrEventInformation::iconImage() const {
    if (!string_IconFilePath) {
        return nullptr;
    }
    return TrImageLoadManager::sharedImageLoadManager()->imageWithFilePath(*string_IconFilePath);
}

std::optional<std::string>
TrEventInformation::defaultProjectID(const std::shared_ptr<const TrScannerDriverInformation>& driver) const {
    if (!driver || !hasOwnResources(*driver) || hasNumberedResources(string_EventID)) {
        return string_DefaultProjectID;
    }
    std::optional<std::string> own = aliasValue(driver->eventAliasKeyName(), "DefaultProject");
    return own ? own : string_DefaultProjectID;
}

std::optional<std::string> TrEventInformation::connectedProjectID(
    const std::shared_ptr<const TrScannerDriverInformation>& driver) const {
    std::optional<std::string> bound;
    if (string_EventID) {
        bound = sharedEventBindingStore()->projectIDWithEventID(*string_EventID);
    }
    return bound ? bound : defaultProjectID(driver);
}

void TrEventInformation::setConnectedProjectID(const std::optional<std::string>& projectID) {
    sharedEventBindingStore()->setProjectID(projectID, string_EventID);
}

bool TrEventInformation::isSupportProjectID(const std::string& projectID) const {
    const bool isOfUser = isUserProject(platform::integerValue(projectID));
    return contains(mutableArray_SupportProjectIDList, isOfUser ? anyUserProjectID : projectID);
}

bool TrEventInformation::isSupportProjectType(const std::string& projectType) const {
    return contains(mutableArray_SupportTypeList, projectType);
}

} // namespace trigora
