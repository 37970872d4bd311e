#include "projects/settings/ScanSettingSchema.h"

#include <algorithm>
#include <string>

namespace trigora {

namespace {

/// Choices fill their range, and a default lies in it.
constexpr bool isConsistent(const ScanSetting& setting) {
    const auto* number = std::get_if<std::int64_t>(&setting.byDefault);
    return (setting.choices.empty() ||
            static_cast<std::int64_t>(setting.choices.size()) == setting.most - setting.least + 1) &&
           (number == nullptr || (*number >= setting.least && *number <= setting.most));
}
static_assert(std::ranges::all_of(scan_settings::all, isConsistent));

} // namespace

std::optional<Value> defaultOf(const ScanSetting& setting) {
    if (const bool* flag = std::get_if<bool>(&setting.byDefault)) {
        return Value(*flag);
    }
    if (const auto* number = std::get_if<std::int64_t>(&setting.byDefault)) {
        return Value(*number);
    }
    const auto* text = std::get_if<std::string_view>(&setting.byDefault);
    return text ? std::optional(Value(std::string(*text))) : std::nullopt;
}

std::int64_t numberIn(const Dictionary& scanSettings, const ScanSetting& setting) {
    const std::optional<std::int64_t> number = platform::integerAt(scanSettings, setting.key);
    return number && *number >= setting.least && *number <= setting.most ? *number : setting.defaultNumber();
}

} // namespace trigora
