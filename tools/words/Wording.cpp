#include "tools/words/Wording.h"

#include <algorithm>

namespace trigora::tools {

std::string printable(std::string text) {
    std::ranges::replace_if(
        text, [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; }, '?');
    return text;
}

std::string joined(const std::vector<std::string>& words, std::string_view separator) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : std::string(separator)) + word;
    }
    return text;
}

std::string textOrDash(const std::optional<std::string>& text) {
    return text && !text->empty() ? *text : "-";
}

} // namespace trigora::tools
