#pragma once

#include "tools/Arguments.h"

#include <ostream>
#include <span>
#include <string>
#include <string_view>

/// The frame of trigoractl. A command is one file pair that gives one `Command`; it is listed in
/// Commands.cpp and has its help and its usage errors from here.
namespace trigora::tools {

enum ExitCode : int {
    done = 0,
    failed = 1,      ///< what was asked for could not be done
    wrongUsage = 2,  ///< the command line makes no sense
    unreachable = 3, ///< there is no session bus, or no agent on it
};

struct Command {
    std::string_view name;
    std::string_view operands; ///< e.g. "FILE"; empty for a command without any
    std::string_view summary;  ///< one line
    std::span<const Option> options;
    /// Prints results to `out` and one sentence about a failure to `err`.
    ExitCode (*run)(const Arguments& arguments, std::ostream& out, std::ostream& err);
};

/// All commands, as the help lists them.
std::span<const Command> commands();

/// Runs a command line (without the program's name).
ExitCode runCommandLine(std::span<const Command> commands, std::span<const std::string> words,
                        std::ostream& out, std::ostream& err);

/// Says on `err` what is wrong with a command's arguments.
ExitCode complain(std::ostream& err, const UsageError& error);

} // namespace trigora::tools
