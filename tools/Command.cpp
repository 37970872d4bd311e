#include "tools/Command.h"

#include <algorithm>
#include <iomanip>

namespace trigora::tools {

namespace {

constexpr int nameColumn = 22;

void printOverview(std::span<const Command> commands, std::ostream& out) {
    out << "usage: trigoractl COMMAND [OPTION…]\n\nCommands:\n";
    for (const Command& command : commands) {
        out << "  " << std::left << std::setw(nameColumn) << command.name << command.summary << '\n';
    }
    out << "\ntrigoractl COMMAND --help tells more about one.\n"
           "Exit codes: 0 done, 1 failed, 2 wrong usage, 3 no session bus or no agent.\n";
}

void printHelp(const Command& command, std::ostream& out) {
    out << "usage: trigoractl " << command.name;
    for (const Option& option : command.options) {
        out << (option.required ? " --" : " [--") << option.name;
        if (!option.value.empty()) {
            out << ' ' << option.value;
        }
        out << (option.required ? "" : "]");
    }
    if (!command.operands.empty()) {
        out << ' ' << command.operands;
    }
    out << "\n\n" << command.summary << "\n\n";
    for (const Option& option : command.options) {
        const std::string name =
            "--" + std::string(option.name) + (option.value.empty() ? "" : " ") + std::string(option.value);
        out << "  " << std::left << std::setw(nameColumn) << name << option.help << '\n';
    }
}

} // namespace

ExitCode complain(std::ostream& err, const UsageError& error) {
    err << "trigoractl: " << error.sentence << " (see --help)\n";
    return wrongUsage;
}

ExitCode runCommandLine(std::span<const Command> commands, std::span<const std::string> words,
                        std::ostream& out, std::ostream& err) {
    if (words.empty()) {
        printOverview(commands, err);
        return wrongUsage;
    }
    if (words[0] == "--help" || words[0] == "help") {
        printOverview(commands, out);
        return done;
    }
    const auto command = std::ranges::find(commands, std::string_view(words[0]), &Command::name);
    if (command == commands.end()) {
        return complain(err, {"there is no command " + words[0]});
    }
    const std::span<const std::string> rest = words.subspan(1);
    if (std::ranges::find(rest, "--help") != rest.end()) {
        printHelp(*command, out);
        return done;
    }
    const std::variant<Arguments, UsageError> parsed = Arguments::parse(command->options, rest);
    if (const auto* error = std::get_if<UsageError>(&parsed)) {
        return complain(err, *error);
    }
    const Arguments& arguments = std::get<Arguments>(parsed);
    if (command->operands.empty() && !arguments.operands().empty()) {
        return complain(err, {"what is " + arguments.operands().front() + "?"});
    }
    return command->run(arguments, out, err);
}

} // namespace trigora::tools
