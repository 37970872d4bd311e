#pragma once

#include <string>
#include <vector>

namespace trigora::tools {

/// Something wrong with a file.
struct Finding {
    std::string file;
    std::string key; ///< where in the file, e.g. "EventID" or "line 3"; empty for the whole of it
    std::string problem;
    std::string consequence;
    /// What may well be meant so, such as a separate product that is not installed.
    bool isNote = false;
};
using Findings = std::vector<Finding>;

} // namespace trigora::tools
