#pragma once

#include <stdexcept>
#include <string>

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

} // namespace trigora::tools
