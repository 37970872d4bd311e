#include "tools/commands/CommandBind.h"

#include "tools/frame/ChangeReport.h"
#include "tools/frame/ModelOption.h"
#include "tools/frame/Report.h"
#include "tools/settings/ButtonBindings.h"
#include "tools/settings/SettingsSession.h"

#include <array>

namespace trigora::tools {

namespace {

constexpr std::array bindOptions{modelOption, jsonOption, rootOption};

constexpr std::string_view modelDetails =
    "Each scanner model has its own bindings. Without --model, those are changed that count for scanners\n"
    "without a model ID.\n";

constexpr std::string_view bindExamples = "  trigoractl bind 100 610 --model 0F01\n"
                                          "  trigoractl bind 201 620 --model 0F02\n";
constexpr std::string_view unbindExamples = "  trigoractl unbind 100 --model 0F01\n";

ExitCode bind(const Arguments& arguments, std::ostream& out, std::ostream&) {
    const std::vector<std::string> operands = arguments.requireOperands({"EVENT", "PROJECT"});
    SettingsSession session(rootOf(arguments));
    print(bindEvent(session, driverOption(arguments), operands[0], operands[1]), arguments, out);
    return done;
}

ExitCode unbind(const Arguments& arguments, std::ostream& out, std::ostream&) {
    const std::vector<std::string> operands = arguments.requireOperands({"EVENT"});
    SettingsSession session(rootOf(arguments));
    print(unbindEvent(session, driverOption(arguments), operands[0]), arguments, out);
    return done;
}

} // namespace

Command bindCommand() {
    return {.name = "bind",
            .operands = "EVENT PROJECT",
            .summary = "Has the event of a button run a project, both given by their IDs.",
            .options = bindOptions,
            .run = bind,
            .details = modelDetails,
            .examples = bindExamples,
            .usesPlatform = true};
}

Command unbindCommand() {
    return {.name = "unbind",
            .operands = "EVENT",
            .summary = "Has the event of a button run its default project again.",
            .options = bindOptions,
            .run = unbind,
            .details = modelDetails,
            .examples = unbindExamples,
            .usesPlatform = true};
}

} // namespace trigora::tools
