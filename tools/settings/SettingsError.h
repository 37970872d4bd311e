#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace trigora::tools {

/// Why something of the settings could not be read or changed: a code, a sentence about what is wrong, and
/// what helps at the command line. Nothing has been changed, unless the sentence says so.
class SettingsError : public std::runtime_error {
public:
    enum class Code {
        invalid,  ///< what was given makes no sense
        notFound, ///< what was given does not exist or is not available
        failed,   ///< it could not be done
    };

    SettingsError(Code code, const std::string& sentence, std::string advice = {})
        : std::runtime_error(sentence), code_(code), advice_(std::move(advice)) {}

    Code code() const { return code_; }
    /// Goes on with the sentence, for users of trigoractl; may be empty. A window has its own ways to offer.
    const std::string& advice() const { return advice_; }

private:
    Code code_;
    std::string advice_;
};

} // namespace trigora::tools
