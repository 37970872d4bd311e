#pragma once

#include "tools/rehearsal/PressRehearsal.h"

#include <optional>
#include <string>
#include <vector>

namespace trigora::tools {

/// One stage of a press with its reason.
struct ExplainedStep {
    std::string name; ///< e.g. "device table"
    std::string text;
};

/// What a rehearsed press would come to, in words.
struct PressExplanation {
    std::vector<ExplainedStep> steps;
    std::string outcome; ///< one sentence
};

/// `modelIDSource` tells where the device information comes from, e.g. "as given".
PressExplanation explain(PressRehearsal& rehearsal, const RehearsedPress& press,
                         const std::string& modelIDSource);

} // namespace trigora::tools
