#include "tools/rehearsal/PressExplanation.h"

#include "catalogue/actions/TrActionInformation.h"
#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "catalogue/events/TrEventInformation.h"
#include "catalogue/events/TrEventManager.h"
#include "files/InstalledPaths.h"
#include "files/NotificationNames.h"
#include "files/PxIniParser.h"
#include "files/StringHelpers.h"
#include "files/TrFilePathUtility.h"
#include "platform/Text.h"
#include "projects/information/TrProjectInformation.h"
#include "projects/manager/ActionRunnerChoice.h"
#include "projects/manager/DeviceProjects.h"
#include "tools/overlay/OverlayFiles.h"
#include "tools/settings/DamagedFiles.h"
#include "tools/settings/EventCatalogue.h"
#include "tools/settings/ProjectCatalogue.h"
#include "tools/settings/ScannerModels.h"
#include "tools/settings/SettingsSession.h"
#include "tools/words/Wording.h"

#include <algorithm>

namespace trigora::tools {

namespace {

using Outcome = ScanEventProject::Outcome;

std::string quoted(const std::optional<std::string>& text) {
    return text ? "\"" + printable(*text) + "\"" : "none";
}

std::string withHexadecimal(std::int32_t number) {
    return std::to_string(number) + " (0x" +
           hexadecimalStringWithValue(static_cast<std::uint32_t>(number), 0) + ")";
}

std::string projectTitle(const TrProjectInformation& project) {
    return textOrDash(project.projectID()) +
           (project.projectName() ? " (" + printable(*project.projectName()) + ")" : "");
}

/// Builds the steps of one press; each function is one of them.
class Explainer {
public:
    Explainer(PressRehearsal& rehearsal, const RehearsedPress& press, const std::string& modelIDSource)
        : rehearsal_(rehearsal), press_(press), modelIDSource_(modelIDSource) {}

    PressExplanation result() {
        tellRecord();
        tellDriver();
        tellAddress();
        tellAssistant();
        if (rehearsal_.isConfirmed()) {
            tellDevice();
            tellCapabilities();
            tellDeviceTable();
            tellEventID();
        }
        if (rehearsal_.isConfirmed() && rehearsal_.driver()) {
            projects_ = scanProjects(rehearsal_.driver());
            tellEvent();
            tellProjects();
            tellBinding();
            tellProject();
        }
        if (runs()) {
            tellRunner();
        }
        tellEffects();
        return {steps_, outcome()};
    }

private:
    void tell(const char* name, std::string text) { steps_.push_back({name, std::move(text)}); }

    bool runs() const { return rehearsal_.isConfirmed() && rehearsal_.project().outcome == Outcome::runs; }
    const TrProjectInformation& project() const { return *rehearsal_.project().project; }
    std::optional<std::string> modelID() const { return rehearsal_.driver()->hexadecimalModelID(); }

    void tellRecord() {
        tell("button", "status " + withHexadecimal(eventStatusOf(rehearsal_.event())) + ", driver " +
                           quoted(press_.driver) + ", model " + quoted(press_.model));
    }

    void tellDriver() {
        if (press_.driver == sharedDriverName) {
            tell("driver", quoted(rehearsal_.driverName()) + ": the driver \"" + sharedDriverName +
                               "\" serves many models, so the model's name counts");
        } else {
            tell("driver", quoted(rehearsal_.driverName()) + ", as the button's record says");
        }
    }

    void tellAddress() {
        const ScanSettingsVersion& version = rehearsal_.settingsVersion();
        std::string source = "no scan-settings application is installed";
        if (version.source == ScanSettingsVersion::Source::driver) {
            source = "the maker's ID converter knows the driver";
        } else if (version.source == ScanSettingsVersion::Source::application) {
            source = "from " + version.path;
        }
        const auto address = platform::textAt(rehearsal_.event(), "IPAddress");
        tell("address", (address ? "\"" + *address + "\", a local scanner" : "none") +
                            ": the scan settings' version is " + std::to_string(version.version) + " (" +
                            source + "), and only above " + std::to_string(lastVersionWithoutLocalAddress) +
                            " there is one");
    }

    void tellAssistant() {
        if (!rehearsal_.isAssistantInstalled()) {
            tell("scan assistant", "missing: there is no " + paths::scanAssistantExecutable());
            return;
        }
        const auto note = noteOnDriver();
        tell("scan assistant", "is launched unless it runs, and asked whether the scanner is there; taken to "
                               "say yes" +
                                   (note ? ", but " + *note : std::string()));
    }

    std::optional<std::string> noteOnDriver() const {
        const auto name = rehearsal_.driverName();
        return name ? driverNameNote(*name) : std::nullopt;
    }

    void tellDevice() {
        tell("device", "model ID " + rehearsal_.mapping().modelID + ", " + modelIDSource_ +
                           "; driver version " + press_.scannerVersion);
    }

    void tellCapabilities() {
        const ScanEventMapping& mapping = rehearsal_.mapping();
        const std::string section = "[Model" + mapping.modelID + "]";
        const std::string file = paths::scannerCapabilityFile();
        if (!hasCapabilities(mapping.modelID)) {
            tell("capabilities", "no section " + section + " in " + file);
            return;
        }
        std::string text = section + " of " + file + ": ";
        text += mapping.featureBits != 0
                    ? "ModifiedEvent takes the bits " + withHexadecimal(mapping.featureBits) +
                          " off the status, which leaves button " + std::to_string(mapping.button)
                    : "no feature bits, so it is button " + std::to_string(mapping.button);
        tell("capabilities", text + "; JobDeviceType " + textOrDash(mapping.jobDeviceType));
    }

    void tellDeviceTable() {
        const ScanEventMapping& mapping = rehearsal_.mapping();
        using Rule = ScanEventMapping::Rule;
        if (mapping.rule == Rule::jobButtons) {
            tell("device table", "not looked at: JobDeviceType 1 is a device with job buttons");
            return;
        }
        const std::string searched = "the model name " + quoted(modelName()) + " in the column " +
                                     mapping.nameColumn + ", or a row for all models (\"*\") of the driver " +
                                     quoted(mapping.driverKey) +
                                     (mapping.isAlias ? " (DevInfAlias of the model)" : "");
        const std::string file = paths::deviceTableFile();
        if (!rehearsal_.hasDeviceTable()) {
            tell("device table", file + " is missing or cannot be read");
        } else if (!mapping.row) {
            tell("device table", "no row of " + file + " fits " + searched);
        } else {
            tell("device table", "line " + std::to_string(*mapping.row + 1) + " of " + file +
                                     " is the first that fits " + searched);
        }
    }

    std::optional<std::string> modelName() const { return platform::textAt(rehearsal_.event(), "modelName"); }

    void tellEventID() {
        const ScanEventMapping& mapping = rehearsal_.mapping();
        const std::string sum = std::to_string(mapping.eventID);
        std::string text;
        switch (mapping.rule) {
        case ScanEventMapping::Rule::jobButtons:
            text =
                sum + " = " + std::to_string(firstJobEvent) + " + button " + std::to_string(mapping.button);
            break;
        case ScanEventMapping::Rule::noRow:
            text = sum + " = " + std::to_string(firstUnmappedEvent) + " + button " +
                   std::to_string(mapping.button) + ", as no row maps it";
            break;
        case ScanEventMapping::Rule::beyondRow:
            text = sum + " = " + std::to_string(firstUnmappedEvent) + " + button " +
                   std::to_string(mapping.button) + ", as the row's NavBtnNum ends before that button";
            break;
        case ScanEventMapping::Rule::column:
            text = sum + ", from the row's column " + mapping.buttonColumn;
            break;
        }
        if (isRefusedEvent(mapping.eventID)) {
            text += "; 103 and 104 are refused: no scanner supports them";
        }
        tell("event ID", text);
    }

    void tellEvent() {
        const auto& event = rehearsal_.project().event;
        tell("event", event ? idAndName(*event) + " from " + textOrDash(event->eventFilePath())
                            : "no event file in " + paths::eventFolder() + " has the EventID " + eventID());
    }

    std::string eventID() const { return std::to_string(rehearsal_.mapping().eventID); }

    void tellProjects() {
        const std::string folder =
            TrFilePathUtility::sharedFilePathUtility()->customProjectPathWithScannerDriver(
                rehearsal_.driver());
        std::string text = "the predefined ones and those in " + folder;
        if (rehearsal_.wouldMakeProjectFolder()) {
            const auto source = deviceProjectFolder(*rehearsal_.driver());
            text += ", a folder that would first be made, " +
                    (source ? "with the projects from " + *source : std::string("empty"));
        }
        tell("projects", text + ": " + listOfIDs());
    }

    /// Those of the agent's list.
    std::string listOfIDs() const {
        std::string ids;
        for (const ListedProject& listed : projects_) {
            if (listed.project && listed.isAvailable) {
                ids += (ids.empty() ? "" : ", ") + textOrDash(listed.id());
            }
        }
        return ids.empty() ? "none" : ids;
    }

    void tellBinding() {
        const auto& event = rehearsal_.project().event;
        if (!event) {
            return;
        }
        const auto bound = TrEventManager::sharedEventManager()->projectIDWithEventID(eventID());
        std::string text;
        if (bound) {
            text = "project " + printable(*bound) + ", bound by the user: key " + eventID() + " of " +
                   textOrDash(rehearsal_.bindingsFile());
        } else if (const auto& projectID = rehearsal_.project().projectID) {
            text = "project " + printable(*projectID) + ", the event's default: DefaultProject of " +
                   textOrDash(event->eventFilePath()) + "; the user has bound none in " +
                   rehearsal_.bindingsFile().value_or(paths::buttonBindingsFile(modelID()));
        } else {
            text = "none: the user has bound no project, and the event has no default one";
        }
        for (const std::string& damaged : damagedBindingFiles(modelID())) {
            text += "; " + damaged + " is damaged, so its bindings do not count";
        }
        tell("binding", text);
    }

    void tellProject() {
        switch (rehearsal_.project().outcome) {
        case Outcome::noEvent:
        case Outcome::notBound:
            return;
        case Outcome::noAction:
            tell("project", "0 is the one that does nothing");
            return;
        case Outcome::noProject:
            tell("project", reasonOfMissingProject());
            return;
        case Outcome::notAvailable:
            tell("project", projectTitle(project()) + " is not available: " + reasonOfUnavailability());
            return;
        case Outcome::runs:
            break;
        }
        const auto& action = project().actionInformation();
        std::string text = projectTitle(project()) + ", type " + textOrDash(project().type()) + ", from " +
                           textOrDash(project().projectFilePath()) + "; available; action " +
                           textOrDash(action ? action->actionID() : std::nullopt) + ", application " +
                           textOrDash(action ? action->applicationPath() : std::nullopt);
        if (const auto problem = problemOfProject()) {
            text += "; " + *problem;
        }
        tell("project", text);
    }

    std::optional<std::string> problemOfProject() const {
        const ListedProject* listed = findProject(projects_, rehearsal_.project().projectID.value_or(""));
        return listed != nullptr ? listed->problem : std::nullopt;
    }

    /// Why the driver's list has no project with the ID that is bound.
    std::string reasonOfMissingProject() const {
        const std::string projectID = printable(rehearsal_.project().projectID.value_or(""));
        const ListedProject* leftOut = findProject(projects_, projectID);
        if (leftOut == nullptr) {
            return "there is no project " + projectID + " among them";
        }
        return leftOut->idAndName() + " is left out: " + leftOut->problem.value_or("it cannot run") + " (" +
               leftOut->path + ")";
    }

    std::string reasonOfUnavailability() const {
        const TrScannerDriverInformation& driver = *rehearsal_.driver();
        return std::string(driver.isRunICAMode() ? "the driver runs in ICA mode"
                                                 : "the newer scanning application serves the driver") +
               ", and projects 110, 500 and 520 do not work with that";
    }

    void tellRunner() {
        const ActionRunnerChoice& choice = actionRunnerChoice(project());
        const std::string name = choice.className.empty() ? "none" : std::string(choice.className);
        tell("runner", name + ": " + std::string(choice.reason));
    }

    void tellEffects() {
        tellEffects("at the press", rehearsal_.request());
        tellEffects("once confirmed", rehearsal_.start());
        tellEffects(rehearsal_.wouldScan() ? "after the scan" : "then", rehearsal_.action());
    }

    void tellEffects(const char* name, const std::vector<RehearsedEffect>& effects) {
        std::string text;
        for (const RehearsedEffect& effect : effects) {
            text += (text.empty() ? "" : "; ") + printable(effect.description());
        }
        if (!text.empty()) {
            tell(name, text);
        }
    }

    std::string outcome() const {
        const auto note = rehearsal_.wouldRun() ? noteOnDriver() : std::nullopt;
        return sentenceOfOutcome() + (note ? " But " + *note + (note->ends_with('?') ? "" : ".") : "");
    }

    std::string sentenceOfOutcome() const {
        const std::string reason = rehearsal_.wouldRun() ? "" : reasonOfNothing();
        if (!reason.empty()) {
            return "Nothing would run: " + reason + ".";
        }
        std::string sentence = "The press would run project " + projectTitle(project()) +
                               (rehearsal_.wouldScan() ? ": scan into " + scanFolder() : "");
        const std::string then = work(rehearsal_.action());
        if (!then.empty()) {
            return sentence + (rehearsal_.wouldScan() ? ", then " : ": ") + then + ".";
        }
        return sentence + ", and then do nothing with the pages: " +
               problemOfProject().value_or("the project has no action") + ".";
    }

    std::string reasonOfNothing() const {
        if (!rehearsal_.driverName()) {
            return "the button's record names no driver";
        }
        if (!rehearsal_.isAssistantInstalled()) {
            return "the scan assistant, which confirms the scanner, is missing (" +
                   paths::scanAssistantExecutable() + ")";
        }
        if (isRefusedEvent(rehearsal_.mapping().eventID)) {
            return "event " + eventID() +
                   " is refused, and the user is told that the button is not supported";
        }
        switch (rehearsal_.project().outcome) {
        case Outcome::noEvent:
            return "no event " + eventID() + " is installed";
        case Outcome::notBound:
            return "no project is bound to event " + eventID() + ", and it has no default one";
        case Outcome::noAction:
            return "event " + eventID() + " is bound to the project that does nothing";
        case Outcome::noProject:
            return "event " + eventID() + " is bound to project " +
                   printable(rehearsal_.project().projectID.value_or("")) + ", but " +
                   reasonOfMissingProject();
        case Outcome::notAvailable:
            return "project " + projectTitle(project()) + " is not available: " + reasonOfUnavailability();
        case Outcome::runs:
            break;
        }
        return "project " + projectTitle(project()) + " would be started, but " + reasonOfFailedRun();
    }

    /// Of a project without a scan, which gives no application anything to do.
    std::string reasonOfFailedRun() const {
        for (const auto* effects : {&rehearsal_.start(), &rehearsal_.action()}) {
            for (const RehearsedEffect& effect : *effects) {
                if (effect.kind == RehearsedEffect::Kind::message) {
                    return "the user would be told: " + printable(effect.target) +
                           (effect.arguments.empty() ? "" : ": " + printable(effect.arguments.front()));
                }
                if (effect.problem) {
                    return "it could not " + printable(effect.description());
                }
            }
        }
        return problemOfProject().value_or("its application is missing");
    }

    std::string scanFolder() const {
        return printable(project().folderPathFromScanSettings().value_or("the documents folder"));
    }

    /// What the applications are given to do, without what only tells that it is over.
    static std::string work(const std::vector<RehearsedEffect>& effects) {
        std::string text;
        for (const RehearsedEffect& effect : effects) {
            const bool isSignOff = effect.kind == RehearsedEffect::Kind::post &&
                                   effect.target != notifications::replyLaunchPlScan;
            if (!isSignOff) {
                text += (text.empty() ? "" : ", ") + printable(effect.description());
            }
        }
        return text;
    }

    PressRehearsal& rehearsal_;
    const RehearsedPress& press_;
    const std::string& modelIDSource_;
    ListedProjects projects_;
    std::vector<ExplainedStep> steps_;
};

} // namespace

PressExplanation explain(PressRehearsal& rehearsal, const RehearsedPress& press,
                         const std::string& modelIDSource) {
    return Explainer(rehearsal, press, modelIDSource).result();
}

} // namespace trigora::tools
