#include "tools/frame/Command.h"

#include "tools/settings/SettingsError.h"
#include "tools/words/NearMatches.h"

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
    out << "\ntrigoractl COMMAND --help, or trigoractl help COMMAND, tells more about one; trigoractl "
           "--version\n"
           "tells the version.\n"
           "Exit codes: 0 done; 1 failed; 2 wrong usage; 3 not found or not available, also when there is\n"
           "no session bus or no agent where one is needed.\n"
           "\nExamples:\n"
           "  trigoractl events --model 0F01\n"
           "  trigoractl explain press --driver \"SANE Test Scanner\" --button 1\n"
           "  trigoractl check\n";
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
    if (!command.details.empty()) {
        out << '\n' << command.details;
    }
    if (!command.examples.empty()) {
        out << "\nExamples:\n" << command.examples;
    }
}

bool isOfGroup(const Command& command, std::string_view group) {
    return command.name.size() > group.size() && command.name.starts_with(group) &&
           command.name[group.size()] == ' ';
}

/// The commands of a group, or all that the help shows.
std::vector<Command> commandsOfGroup(std::span<const Command> commands, std::string_view group) {
    std::vector<Command> found;
    std::ranges::copy_if(commands, std::back_inserter(found),
                         [&](const Command& command) { return isOfGroup(command, group); });
    return found;
}

/// The command that the line begins with, and how many words its name takes; null when there is none.
std::pair<const Command*, std::size_t> commandOf(std::span<const Command> commands,
                                                 std::span<const std::string> words) {
    std::string name = words[0];
    for (std::size_t count = 1; count <= 2; ++count) {
        const auto command = std::ranges::find(commands, std::string_view(name), &Command::name);
        if (command != commands.end()) {
            return {&*command, count};
        }
        if (words.size() == count) {
            break;
        }
        name += ' ' + words[count];
    }
    return {nullptr, 0};
}

ExitCode complain(std::ostream& err, const std::string& sentence) {
    err << "trigoractl: " << sentence << " (see --help)\n";
    return wrongUsage;
}

bool isHelp(const std::string& word) { return word == "--help" || word == "-h"; }

/// How many words before the command are options that many commands have.
std::size_t leadingOptions(std::span<const std::string> words) {
    std::size_t count = 0;
    while (count < words.size()) {
        if (words[count] == "--root") {
            count += 2;
        } else if (words[count] == "--json" || words[count].starts_with("--root=")) {
            ++count;
        } else {
            break;
        }
    }
    return std::min(count, words.size());
}

ExitCode complainAboutCommand(std::span<const Command> commands, std::span<const std::string> words,
                              std::ostream& out, std::ostream& err) {
    const std::vector<Command> group = commandsOfGroup(commands, words[0]);
    if (!group.empty() && words.size() == 1) {
        printOverview(group, err);
        return wrongUsage;
    }
    if (!group.empty() && isHelp(words[1])) {
        printOverview(group, out);
        return done;
    }
    const std::string given = group.empty() ? words[0] : words[0] + ' ' + words[1];
    std::vector<std::string> names;
    for (const Command& command : commands) {
        names.emplace_back(command.name);
    }
    return complain(err, "there is no command " + given + didYouMean(given, names));
}

ExitCode complainOfSettings(const SettingsError& error, std::ostream& err) {
    const std::string sentence = error.what() + error.advice();
    if (error.code() == SettingsError::Code::invalid) {
        return complain(err, sentence);
    }
    err << "trigoractl: " << sentence << '\n';
    return error.code() == SettingsError::Code::notFound ? notFound : failed;
}

ExitCode runCommand(const Command& command, std::span<const std::string> words, std::ostream& out,
                    std::ostream& err, const std::function<void(const Arguments&)>& prepare) {
    try {
        const Arguments arguments = Arguments::parse(command.options, words);
        if (command.operands.empty()) {
            arguments.requireOperands({});
        }
        if (command.usesPlatform && prepare) {
            prepare(arguments);
        }
        return command.run(arguments, out, err);
    } catch (const SettingsError& error) {
        return complainOfSettings(error, err);
    } catch (const Failure& failure) {
        if (failure.code() == wrongUsage) {
            return complain(err, failure.what());
        }
        err << "trigoractl: " << failure.what() << '\n';
        return failure.code();
    }
}

} // namespace

ExitCode runCommandLine(std::span<const Command> commands, std::span<const std::string> words,
                        std::ostream& out, std::ostream& err,
                        const std::function<void(const Arguments&)>& prepare) {
    if (words.empty()) {
        printOverview(commands, err);
        return wrongUsage;
    }
    if (words[0] == "--version") {
        out << "trigoractl " << TRIGORA_VERSION << '\n';
        return done;
    }
    if (words[0] == "help" && words.size() > 1) {
        std::vector<std::string> asked(words.begin() + 1, words.end());
        asked.emplace_back("--help");
        return runCommandLine(commands, asked, out, err, prepare);
    }
    if (isHelp(words[0]) || words[0] == "help") {
        printOverview(commands, out);
        return done;
    }
    const std::size_t leading = leadingOptions(words);
    const std::span<const std::string> line = words.subspan(leading);
    if (line.empty()) {
        return complain(err, "a command is needed");
    }
    const auto [command, nameLength] = commandOf(commands, line);
    if (command == nullptr) {
        return complainAboutCommand(commands, line, out, err);
    }
    std::vector<std::string> rest(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(leading));
    rest.insert(rest.end(), line.begin() + static_cast<std::ptrdiff_t>(nameLength), line.end());
    if (std::any_of(rest.begin(), std::ranges::find(rest, "--"), isHelp)) {
        printHelp(*command, out);
        return done;
    }
    return runCommand(*command, rest, out, err, prepare);
}

} // namespace trigora::tools
