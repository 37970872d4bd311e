#include "tools/words/NearMatches.h"

#include "platform/Text.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace trigora::tools {

namespace {

constexpr std::size_t mostMatches = 3;
/// Longer words are not names; comparing them would take its time.
constexpr std::size_t longestWord = 200;

/// The number of letters to put in, take out or replace.
std::size_t editDistance(std::string_view from, std::string_view to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < to.size(); ++j) {
            const std::size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

} // namespace

std::vector<std::string> nearMatches(std::string_view word, const std::vector<std::string>& candidates) {
    if (word.empty() || word.size() > longestWord) {
        return {};
    }
    const std::string wanted = platform::lowercased(word);
    std::vector<std::pair<std::size_t, std::string>> found;
    for (const std::string& candidate : candidates) {
        const std::string text = platform::lowercased(candidate.substr(0, longestWord));
        const std::size_t distance = text.starts_with(wanted) ? 0 : editDistance(wanted, text);
        if (distance <= std::max<std::size_t>(1, wanted.size() / 3)) {
            found.emplace_back(distance, candidate);
        }
    }
    std::ranges::stable_sort(found, {}, [](const auto& match) { return match.first; });
    std::vector<std::string> matches;
    for (auto& [distance, candidate] : found) {
        if (matches.size() < mostMatches) {
            matches.push_back(std::move(candidate));
        }
    }
    return matches;
}

std::string didYouMean(std::string_view word, const std::vector<std::string>& candidates) {
    return listOfMatches(nearMatches(word, candidates), {});
}

std::string listOfMatches(const std::vector<std::string>& near, const std::vector<std::string>& all) {
    const std::vector<std::string>& shown = near.empty() ? all : near;
    std::string text;
    for (std::size_t i = 0; i < shown.size(); ++i) {
        const bool isLast = i + 1 == shown.size();
        if (i == 0) {
            text += near.empty() ? "; there are " : "; did you mean ";
        } else {
            text += !isLast ? ", " : near.empty() ? " and " : " or ";
        }
        text += shown[i];
    }
    return near.empty() ? text : text + "?";
}

} // namespace trigora::tools
