#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace trigora::tools {

/// The candidates that somebody may have meant who wrote `word`, nearest first, at most three: those that
/// begin with it and those that differ by few letters, in any case of ASCII letters.
std::vector<std::string> nearMatches(std::string_view word, const std::vector<std::string>& candidates);

/// "; did you mean A, B or C?", or nothing without a near match.
std::string didYouMean(std::string_view word, const std::vector<std::string>& candidates);
/// The same for matches that are known already; "; there are A, B" for all there are when none is near.
std::string listOfMatches(const std::vector<std::string>& near, const std::vector<std::string>& all);

} // namespace trigora::tools
