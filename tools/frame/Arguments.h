#pragma once

#include <cstdint>
#include <initializer_list>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace trigora::tools {

/// One "--name" of a command.
struct Option {
    std::string_view name;  ///< without the dashes
    std::string_view value; ///< what the help calls its value, e.g. "SECONDS"; empty for a switch
    std::string_view help;
    bool required = false;
};

/// A command's arguments after its name. Options are written "--name value" or "--name=value"; "--" ends
/// them, and only behind it an operand may begin with "-"; everything else is an operand.
class Arguments {
public:
    /// Throws a `Failure` for words that make no sense.
    static Arguments parse(std::span<const Option> options, std::span<const std::string> words);

    bool has(std::string_view option) const { return values_.contains(option); }
    /// None when the option was not given.
    std::optional<std::string> text(std::string_view option) const;
    /// The whole text as a decimal or "0x" number. Throws a `Failure` when it is none or outside the range.
    /// An option that was not given reads as the default, whatever that is.
    std::int64_t integer(std::string_view option, std::int64_t byDefault, std::int64_t least,
                         std::int64_t most) const;
    /// The operands, which must be as many as there are names; else a `Failure` that names what is missing.
    const std::vector<std::string>& requireOperands(std::initializer_list<std::string_view> names) const;
    const std::vector<std::string>& operands() const { return operands_; }

private:
    std::map<std::string, std::string, std::less<>> values_;
    std::vector<std::string> operands_;
};

} // namespace trigora::tools
