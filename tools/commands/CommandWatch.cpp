#include "tools/commands/CommandWatch.h"

#include "tools/frame/ChangeReport.h"
#include "tools/frame/Report.h"
#include "tools/settings/SettingsSession.h"
#include "tools/settings/WatchedFolders.h"

#include <array>

namespace trigora::tools {

namespace {

constexpr std::array watchOptions{Option{"every", "SECONDS", "how often to look, 1 to 86400", true},
                                  Option{"project", "ID", "folder project to run on new files", true},
                                  jsonOption, rootOption};
constexpr std::array unwatchOptions{jsonOption, rootOption};

constexpr std::string_view watchExamples = "  trigoractl watch 1 ~/Scans --every 10 --project 701\n";
constexpr std::string_view unwatchExamples = "  trigoractl unwatch 1\n";

ExitCode watch(const Arguments& arguments, std::ostream& out, std::ostream&) {
    const std::vector<std::string> operands = arguments.requireOperands({"N", "FOLDER"});
    const std::int64_t seconds = arguments.integer("every", 0, 1, longestWatchInterval);
    SettingsSession session(rootOf(arguments));
    print(watchFolder(session, operands[0], {operands[1], seconds, arguments.text("project").value_or("")}),
          arguments, out);
    return done;
}

ExitCode unwatch(const Arguments& arguments, std::ostream& out, std::ostream&) {
    const std::vector<std::string> operands = arguments.requireOperands({"N"});
    SettingsSession session(rootOf(arguments));
    print(unwatchFolder(session, operands[0]), arguments, out);
    return done;
}

} // namespace

Command watchCommand() {
    return {.name = "watch",
            .operands = "N FOLDER",
            .summary = "Sets watched folder N, 1 to 3: new files in it run a folder project.",
            .options = watchOptions,
            .run = watch,
            .details =
                "trigoractl projects --folder lists the folder projects; trigoractl project new --folder\n"
                "makes one.\n",
            .examples = watchExamples,
            .usesPlatform = true};
}

Command unwatchCommand() {
    return {.name = "unwatch",
            .operands = "N",
            .summary = "Has watched folder N, 1 to 3, no longer watched.",
            .options = unwatchOptions,
            .run = unwatch,
            .examples = unwatchExamples,
            .usesPlatform = true};
}

} // namespace trigora::tools
