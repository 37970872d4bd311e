#include "tools/frame/Arguments.h"

#include "tools/frame/Failure.h"
#include "tools/words/Numbers.h"

#include <algorithm>

namespace trigora::tools {

namespace {

std::optional<std::int64_t> number(std::string_view text) {
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    return isHexadecimal ? wholeHexadecimalNumber(text.substr(2)) : wholeNumber(text);
}

} // namespace

Arguments Arguments::parse(std::span<const Option> options, std::span<const std::string> words) {
    Arguments arguments;
    bool optionsEnded = false;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string_view word = words[i];
        if (!optionsEnded && word.size() > 1 && word[0] == '-' && word[1] != '-') {
            throw Failure(wrongUsage, "there is no option " + std::string(word) +
                                          "; write -- before words that begin with \"-\"");
        }
        if (optionsEnded || !word.starts_with("--")) {
            arguments.operands_.emplace_back(word);
            continue;
        }
        if (word == "--") {
            optionsEnded = true;
            continue;
        }
        const std::size_t equals = word.find('=');
        const std::string name(word.substr(2, equals == std::string_view::npos ? equals : equals - 2));
        const auto option = std::ranges::find(options, name, &Option::name);
        if (option == options.end()) {
            throw Failure(wrongUsage, "there is no option --" + name);
        }
        const bool hasValue = equals != std::string_view::npos;
        if (option->value.empty()) {
            if (hasValue) {
                throw Failure(wrongUsage, "--" + name + " takes no value");
            }
            arguments.values_[name];
        } else if (hasValue) {
            arguments.values_[name] = word.substr(equals + 1);
        } else if (i + 1 < words.size()) {
            arguments.values_[name] = words[++i];
        } else {
            throw Failure(wrongUsage, "--" + name + " needs a value");
        }
    }
    for (const Option& option : options) {
        if (option.required && !arguments.has(option.name)) {
            throw Failure(wrongUsage, "--" + std::string(option.name) + " is needed");
        }
    }
    return arguments;
}

std::optional<std::string> Arguments::text(std::string_view option) const {
    const auto found = values_.find(option);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
}

std::int64_t Arguments::integer(std::string_view option, std::int64_t byDefault, std::int64_t least,
                                std::int64_t most) const {
    const std::optional<std::string> given = text(option);
    if (!given) {
        return byDefault;
    }
    const std::optional<std::int64_t> value = number(*given);
    if (!value || *value < least || *value > most) {
        throw Failure(wrongUsage, "--" + std::string(option) + " must be a number from " +
                                      std::to_string(least) + " to " + std::to_string(most));
    }
    return *value;
}

const std::vector<std::string>&
Arguments::requireOperands(std::initializer_list<std::string_view> names) const {
    if (operands_.size() < names.size()) {
        throw Failure(wrongUsage, std::string(names.begin()[operands_.size()]) + " is missing");
    }
    if (operands_.size() > names.size()) {
        throw Failure(wrongUsage, "what is " + operands_[names.size()] + "?");
    }
    return operands_;
}

} // namespace trigora::tools
