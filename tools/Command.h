#pragma once

#include "tools/Arguments.h"

#include <functional>
#include <ostream>
#include <span>
#include <stdexcept>
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
    notFound = 3,    ///< what the command line names does not exist or is not available
    wouldNotRun = 3, ///< a rehearsed press would run no project
};

/// Ends a command from within with an exit code and a sentence about what is wrong and what to do.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode code, const std::string& sentence) : std::runtime_error(sentence), code_(code) {}

    ExitCode code() const { return code_; }

private:
    ExitCode code_;
};

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

/// All commands, as the help lists them.
std::span<const Command> commands();

/// Runs a command line (without the program's name). `prepare` is called before a command that needs the
/// platform and puts one in use; it may throw a `Failure`.
ExitCode runCommandLine(std::span<const Command> commands, std::span<const std::string> words,
                        std::ostream& out, std::ostream& err,
                        const std::function<void(const Arguments&)>& prepare = {});

} // namespace trigora::tools
