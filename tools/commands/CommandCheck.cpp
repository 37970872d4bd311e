#include "tools/commands/CommandCheck.h"

#include "tools/check/CheckCatalogue.h"
#include "tools/check/CheckModules.h"
#include "tools/check/CheckScannerFiles.h"
#include "tools/check/CheckUserSettings.h"
#include "tools/frame/Report.h"
#include "tools/settings/SettingsSession.h"
#include "tools/words/Wording.h"

#include <algorithm>
#include <array>

namespace trigora::tools {

namespace {

constexpr std::array checkOptions{jsonOption, rootOption};

constexpr std::string_view checkDetails =
    "Reads every installed and user file that the agent reads, loads each module of other makers in a "
    "process\n"
    "of its own, and says what is wrong with it and what comes of it. Nothing is changed. A note is no "
    "fault,\n"
    "such as a separate product that is not installed.\n"
    "Exit codes: 0 nothing is wrong, though there may be notes; 1 there are findings.\n";

constexpr std::string_view checkExamples = "  trigoractl check\n"
                                           "  trigoractl check --root /opt/trigora --json\n";

Findings allFindings() {
    Findings findings;
    checkPrograms(findings);
    checkScannerFiles(findings);
    checkDeviceTable(findings);
    checkEvents(findings);
    checkActions(findings);
    checkProjects(findings);
    checkBindings(findings);
    checkWatchedFolders(findings);
    checkNetworkSettings(findings);
    checkModules(findings);
    checkWhoMayEnter(findings);
    return findings;
}

void print(const Findings& findings, bool areNotes, const platform::InstallationRoot& root,
           std::ostream& out) {
    for (const Finding& finding : findings) {
        if (finding.isNote == areNotes) {
            out << (areNotes ? "note: " : "") << printable(root.onDisk(finding.file))
                << (finding.key.empty() ? "" : ": " + printable(finding.key)) << '\n'
                << "    " << printable(finding.problem) << "; " << finding.consequence << ".\n";
        }
    }
}

Array described(const Findings& findings, bool areNotes, const platform::InstallationRoot& root) {
    Array list;
    for (const Finding& finding : findings) {
        if (finding.isNote == areNotes) {
            list.push_back(Dictionary{{"file", root.onDisk(finding.file)},
                                      {"key", finding.key.empty() ? Value() : Value(finding.key)},
                                      {"problem", finding.problem},
                                      {"consequence", finding.consequence}});
        }
    }
    return list;
}

ExitCode check(const Arguments& arguments, std::ostream& out, std::ostream&) {
    const platform::InstallationRoot root = rootOf(arguments);
    const SettingsSession session(root);
    const Findings findings = allFindings();
    const auto count = std::ranges::count(findings, false, &Finding::isNote);
    if (arguments.has("json")) {
        printJson(out, Dictionary{{"findings", described(findings, false, root)},
                                  {"notes", described(findings, true, root)}});
    } else {
        print(findings, true, root, out);
        print(findings, false, root, out);
        out << (count == 0   ? "Nothing is wrong."
                : count == 1 ? "1 finding."
                             : std::to_string(count) + " findings.")
            << '\n';
    }
    return count == 0 ? done : failed;
}

} // namespace

Command checkCommand() {
    return {.name = "check",
            .operands = "",
            .summary = "Looks for what is wrong with the installed files and the settings.",
            .options = checkOptions,
            .run = check,
            .details = checkDetails,
            .examples = checkExamples,
            .usesPlatform = true};
}

} // namespace trigora::tools
