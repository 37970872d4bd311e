#pragma once

#include "tools/frame/Arguments.h"
#include "tools/frame/Failure.h"

#include <functional>
#include <ostream>
#include <span>
#include <string>
#include <string_view>

/// The frame of trigoractl. A command is one file pair that makes one `Command`; it is listed in
/// the list of all commands and has its help and its usage errors from here.
namespace trigora::tools {

struct Command {
    std::string_view name;     ///< one word, or two for a command of a group, e.g. "project new"
    std::string_view operands; ///< e.g. "FILE"; empty for a command without any
    std::string_view summary;  ///< one line
    std::span<const Option> options;
    /// Prints results to `out` and one sentence about a failure to `err`, unless it throws a `Failure`.
    ExitCode (*run)(const Arguments& arguments, std::ostream& out, std::ostream& err);
    std::string_view details = {};  ///< further paragraphs of the help
    std::string_view examples = {}; ///< whole command lines
    bool usesPlatform = false;      ///< whether the command needs the system's classes and their platform
};

/// Runs a command line (without the program's name). `prepare` is called before a command that needs the
/// platform and puts one in use; it may throw a `Failure`.
ExitCode runCommandLine(std::span<const Command> commands, std::span<const std::string> words,
                        std::ostream& out, std::ostream& err,
                        const std::function<void(const Arguments&)>& prepare = {});

} // namespace trigora::tools
