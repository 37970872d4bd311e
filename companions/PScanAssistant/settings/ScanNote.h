#pragma once

#include <string>
#include <vector>

namespace trigora::companions {

/// Something about a scan that was not as the settings have it, for the user to know.
struct ScanNote {
    std::string key;     ///< of the sentence in the string tables
    std::string english; ///< the sentence, with "%@" where each of the arguments goes
    std::vector<std::string> arguments;

    std::string text() const { return text(english); }
    /// The sentence in another language.
    std::string text(std::string sentence) const {
        std::size_t at = 0;
        for (const std::string& argument : arguments) {
            at = sentence.find("%@", at);
            if (at == std::string::npos) {
                break;
            }
            sentence.replace(at, 2, argument);
            at += argument.size();
        }
        return sentence;
    }
};

} // namespace trigora::companions
