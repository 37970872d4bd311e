#include "tools/check/CheckCatalogue.h"

#include "agent/service/DeviceTable.h"
#include "agent/service/ScanEventMapping.h"
#include "catalogue/actions/TrActionInformation.h"
#include "catalogue/events/TrEventInformation.h"
#include "catalogue/events/TrEventManager.h"
#include "files/InstalledPaths.h"
#include "files/StringHelpers.h"
#include "platform/FileSystem.h"
#include "platform/Formats.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "tools/check/CheckTextFile.h"
#include "tools/settings/InstalledActions.h"
#include "tools/settings/ProjectCatalogue.h"
#include "tools/words/Wording.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>

namespace trigora::tools {

namespace {

constexpr std::int32_t columnCount = 10;

bool existsAt(const std::string& path) { return platform::current().fileSystem.exists(path); }

std::string lineKey(std::size_t row) { return "line " + std::to_string(row + 1); }

/// Whether the earlier row fits every button that the later one fits, as far as one column of model names
/// goes.
bool hides(const Dictionary& earlier, const Dictionary& later, const std::string& nameColumn) {
    const auto name = platform::textAt(later, nameColumn);
    const auto earlierName = platform::textAt(earlier, nameColumn);
    if (!name || !earlierName) {
        return !name;
    }
    const auto driver = platform::textAt(earlier, "TwainName");
    if (earlierName == "*") {
        return driver == "*" || (name == "*" && driver == platform::textAt(later, "TwainName"));
    }
    return earlierName == name;
}

/// The earlier row because of which a row never counts; none when it may.
std::optional<std::size_t> hidingRow(const DeviceTable& table, std::size_t row) {
    std::optional<std::size_t> hiding;
    for (const char* column : {"InterDevicename", "JpDevicename"}) {
        std::size_t earlier = 0;
        while (earlier < row && !hides(table[earlier], table[row], column)) {
            ++earlier;
        }
        if (earlier == row) {
            return std::nullopt;
        }
        hiding = hiding.value_or(earlier);
    }
    return hiding;
}

bool isNumber(const std::string& field) {
    const std::string digits = platform::trimmed(field, " \t");
    return !digits.empty() && digits.find_first_not_of("0123456789") == std::string::npos;
}

/// Blanks count, also those around the quotes.
void checkNames(const std::vector<std::string>& fields, std::size_t row, Findings& findings) {
    constexpr std::size_t nameFields = 3;
    for (std::size_t i = 0; i < std::min(fields.size(), nameFields); ++i) {
        if (platform::trimmed(fields[i], " \t") != fields[i]) {
            findings.push_back({paths::deviceTableFile(), lineKey(row),
                                "there are blanks around " + printable(platform::trimmed(fields[i], " \t")) +
                                    ", and they count",
                                "the name fits no scanner"});
            return;
        }
    }
}

/// The row's numbers, as they are written.
void checkNumbers(const std::vector<std::string>& fields, std::size_t row, Findings& findings) {
    constexpr std::size_t numberField = 3;
    const std::string file = paths::deviceTableFile();
    const std::string count =
        fields.size() > numberField ? platform::trimmed(fields[numberField], "\"") : std::string();
    if (!isNumber(count)) {
        findings.push_back({file, lineKey(row), "NavBtnNum \"" + printable(count) + "\" is no number",
                            "the row maps no button"});
    } else if (platform::integerValue(count) > columnCount) {
        findings.push_back({file, lineKey(row), "NavBtnNum " + printable(count) + " is above 10",
                            "the buttons from 11 on stand for the event 0, which there is not"});
    }
}

/// The events that the row's columns name.
void checkEventsOfRow(const Dictionary& row, std::size_t index, Findings& findings) {
    const auto count = std::min<std::int64_t>(platform::integerAt(row, "NavBtnNum").value_or(0), columnCount);
    for (std::int64_t button = 1; button <= count; ++button) {
        const std::string column = "NavBtn" + std::to_string(button);
        const std::int64_t eventID = platform::integerAt(row, column).value_or(0);
        if (isRefusedEvent(static_cast<std::int32_t>(eventID))) {
            findings.push_back({paths::deviceTableFile(), lineKey(index) + ", " + column,
                                "the event " + std::to_string(eventID) + " is always refused",
                                "the user is told that the button is not supported", true});
        } else if (!TrEventManager::sharedEventManager()->eventInformationWithEventID(
                       std::to_string(eventID))) {
            findings.push_back({paths::deviceTableFile(), lineKey(index) + ", " + column,
                                "no event " + std::to_string(eventID) + " is installed",
                                "the button does nothing"});
        }
    }
}

/// What runs while the user has bound nothing.
void checkDefaultProject(const TrEventInformation& event, const std::string& path,
                         const ListedProjects& projects, Findings& findings) {
    const std::string projectID = event.defaultProjectID(nullptr).value_or("");
    constexpr const char* consequence = "the event runs nothing until a project is bound to it";
    if (projectID.empty()) {
        findings.push_back({path, "DefaultProject", "the event has no default project", consequence, true});
        return;
    }
    const ListedProject* project = findProject(projects, projectID);
    const bool areProjectsInstalled = std::ranges::find(projects, ListedProject::Origin::predefined,
                                                        &ListedProject::origin) != projects.end();
    if (platform::integerValue(projectID) == 0 || (project == nullptr && !areProjectsInstalled)) {
        return; // on purpose, or there is one finding for all
    }
    if (project == nullptr) {
        findings.push_back(
            {path, "DefaultProject", "there is no project " + printable(projectID), consequence});
    } else if (!project->isAvailable) {
        // The project's own file has the finding, if there is one.
        findings.push_back({path, "DefaultProject",
                            "project " + project->idAndName() +
                                " is not available: " + project->problem.value_or("it cannot run"),
                            consequence, true});
    }
}

void checkEventFile(const std::string& path, const ListedProjects& projects,
                    std::map<std::string, std::string>& fileOfID, Findings& findings) {
    if (!checkSectionFile(path, findings)) {
        return;
    }
    const auto eventID = valueInFile(path, "Event", "EventID");
    if (!eventID || eventID->empty()) {
        findings.push_back({path, "EventID", "the event has no ID", "no button reaches it as its own event"});
    } else if (const auto [other, isNew] = fileOfID.emplace(*eventID, path); !isNew) {
        findings.push_back({path, "EventID", "the ID " + printable(*eventID) + " is that of " + other->second,
                            "the event is never found"});
    }
    const auto event = TrEventInformation::initWithPath(path);
    if (!event) {
        return;
    }
    if (event->eventType() == -1) {
        findings.push_back({path, "Show",
                            "\"" + printable(valueInFile(path, "Event", "Show").value_or("")) +
                                "\" names no known kind of event",
                            "no device offers the event"});
    }
    if (!event->isMonitorEvent()) {
        checkDefaultProject(*event, path, projects, findings);
    }
    checkTexts(platform::deletingPathExtension(path), findings);
    const bool isNamed = !valueInFile(path, "Event", "Icon").value_or("").empty();
    const std::string icon = event->iconFilePath().value_or("");
    if (isNamed || existsAt(icon)) {
        checkPicture(icon, path, "Icon", findings);
    }
}

void checkApplication(const InstalledAction& installed, Findings& findings) {
    const std::string& application = installed.namedApplication;
    if (application.empty()) {
        findings.push_back({installed.path, "AppPath", "the action names no application",
                            "projects with this action are left out"});
    } else if (!installed.action->isRunableAction()) {
        const bool isSeparate = isSeparateProduct(application);
        findings.push_back({installed.path, "AppPath",
                            (isSeparate ? "the separate product " : "the application ") + application +
                                (isSeparate ? " is not installed" : " is missing"),
                            "projects with this action are left out, or open nothing", isSeparate});
    } else if (const auto problem = applicationProblem(application)) {
        findings.push_back({installed.path, "AppPath", application + ": " + *problem,
                            "projects with this action open nothing"});
    }
}

} // namespace

bool isSeparateProduct(const std::string& application) {
    const std::array products{paths::scanApplication(),      paths::formerScanApplication(),
                              paths::newerScanApplication(), paths::copyApplication(),
                              paths::photoApplication(),     paths::documentCaptureApplication(),
                              paths::quilloApplication(),    paths::fotrixApplication()};
    return std::ranges::find(products, application) != products.end();
}

void checkDeviceTable(Findings& findings) {
    const std::string file = paths::deviceTableFile();
    const std::optional<DeviceTable> table = readDeviceTable();
    const auto text = table ? exStringWithContentsOfFile(file, platform::Encoding::utf8) : std::nullopt;
    if (!text) {
        findings.push_back({file, "",
                            existsAt(file) ? "cannot be read: it is no UTF-8 text, or far too large"
                                           : "there is no such file",
                            "every button N stands for the event 100 + N"});
        return;
    }
    if (platform::trimmed(*text, " \t\r\n").empty()) {
        findings.push_back({file, "", "the file is empty", "every button N stands for the event 100 + N"});
    }
    const std::vector<std::string> lines = componentsSeparatedByParagraph(*text);
    for (std::size_t row = 0; row < std::min(lines.size(), table->size()); ++row) {
        if (platform::trimmed(lines[row], " \t").empty()) {
            continue;
        }
        if (const auto hiding = hidingRow(*table, row)) {
            findings.push_back({file, lineKey(row),
                                "the row is never reached: line " + std::to_string(*hiding + 1) +
                                    " fits first, or it names no model",
                                "the row is ignored"});
        }
        const std::vector<std::string> fields = platform::componentsSeparatedByString(lines[row], ",");
        checkNames(fields, row, findings);
        checkNumbers(fields, row, findings);
        checkEventsOfRow((*table)[row], row, findings);
    }
}

void checkEvents(Findings& findings) {
    std::map<std::string, std::string> fileOfID;
    const std::vector<std::string> files = filesInFolder(paths::eventFolder(), "plg");
    if (files.empty()) {
        findings.push_back({paths::eventFolder(), "", "no events are installed", "no button does anything"});
    }
    const ListedProjects projects = scanProjects(nullptr);
    for (const std::string& path : files) {
        checkEventFile(path, projects, fileOfID, findings);
    }
}

void checkActions(Findings& findings) {
    std::map<std::string, std::string> fileOfID;
    for (const InstalledAction& installed : installedActions()) {
        if (!checkSectionFile(installed.path, findings)) {
            continue;
        }
        const std::string actionID = installed.action->actionID().value_or("");
        if (actionID.empty()) {
            findings.push_back({installed.path, "ID", "the action has no ID", "no project can use it"});
        } else if (const auto [other, isNew] = fileOfID.emplace(actionID, installed.path); !isNew) {
            findings.push_back({installed.path, "ID",
                                "the ID " + printable(actionID) + " is that of " + other->second,
                                "the action is never used"});
        }
        checkApplication(installed, findings);
        checkTexts(platform::deletingPathExtension(installed.path), findings);
    }
}

void checkPrograms(Findings& findings) {
    const std::pair<std::string, const char*> programs[] = {
        {paths::agentExecutable(), "there is no agent, and no button does anything"},
        {paths::scanAssistantExecutable(), "no scanner is confirmed, and no press does anything"},
        {paths::scriptProgram(), "actions that are scripts do nothing"}};
    for (const auto& [path, consequence] : programs) {
        if (!existsAt(path) || platform::current().fileSystem.isDirectory(path)) {
            findings.push_back({path, "", "the program is missing", consequence});
        } else if (!isExecutable(path)) {
            findings.push_back({path, "", "the program is empty or may not be executed", consequence});
        }
    }
    const std::string resources = paths::agentApplication() + "/Contents/Resources";
    bool hasEnglish = false;
    for (const std::string& folder : filesInFolder(resources, "lproj")) {
        const std::string table = folder + "/Localizable.strings";
        const auto value = platform::current().propertyLists.read(table);
        hasEnglish = hasEnglish || platform::lastPathComponent(folder) == "en.lproj";
        if (!value || value->dictionary() == nullptr) {
            findings.push_back({table, "", existsAt(table) ? "damaged" : "there is no such file",
                                "messages show their keys in the place of texts"});
        }
    }
    if (!hasEnglish) {
        findings.push_back({resources + "/en.lproj/Localizable.strings", "", "there is no such file",
                            "messages show their keys in the place of texts"});
    }
}

} // namespace trigora::tools
