#include "files/KeyedText.h"

#include "files/StringHelpers.h"
#include "platform/Text.h"

namespace trigora {

void addKeyedText(KeyedText& entries, std::string_view text) {
    for (const std::string& line : componentsSeparatedByParagraph(text)) {
        std::vector<std::string> pieces = platform::componentsSeparatedByString(line, "=");
        if (pieces.size() == 2) {
            entries[std::move(pieces[0])] = std::move(pieces[1]);
        }
    }
}

} // namespace trigora
