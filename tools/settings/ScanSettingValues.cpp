#include "tools/settings/ScanSettingValues.h"

#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "projects/settings/ScanSettingSchema.h"
#include "tools/settings/SettingsError.h"
#include "tools/words/NearMatches.h"
#include "tools/words/Numbers.h"
#include "tools/words/Wording.h"

#include <algorithm>
#include <array>
#include <filesystem>

namespace trigora::tools {

namespace {

using Kind = ScanSetting::Kind;

std::string range(const ScanSetting& setting) {
    return std::to_string(setting.least) + " to " + std::to_string(setting.most);
}

[[noreturn]] void refuse(const ScanSetting& setting, const std::string& given) {
    throw SettingsError(SettingsError::Code::invalid, std::string(setting.key) + " cannot be \"" +
                                                          printable(given) + "\": allowed is " +
                                                          allowedValues(setting));
}

std::int64_t numberOf(const ScanSetting& setting, const std::string& given) {
    const auto name = std::ranges::find_if(setting.choices, [&](const ScanSetting::Choice& choice) {
        return platform::lowercased(choice.word) == platform::lowercased(given);
    });
    if (name != setting.choices.end()) {
        return setting.least + (name - setting.choices.begin());
    }
    const std::optional<std::int64_t> number = wholeNumber(given);
    if (!number || *number < setting.least || *number > setting.most) {
        refuse(setting, given);
    }
    return *number;
}

bool flagOf(const ScanSetting& setting, const std::string& given) {
    constexpr std::array<std::pair<std::string_view, bool>, 6> words{
        {{"yes", true}, {"no", false}, {"true", true}, {"false", false}, {"1", true}, {"0", false}}};
    const auto* word = std::ranges::find(words, platform::lowercased(given),
                                         [](const auto& pair) { return std::string(pair.first); });
    if (word == words.end()) {
        refuse(setting, given);
    }
    return word->second;
}

std::string textOf(const ScanSetting& setting, const std::string& given) {
    if (!platform::isValidUtf8(given) || given != printable(given) ||
        (setting.kind == Kind::fileName && given.find('/') != std::string::npos)) {
        refuse(setting, given);
    }
    return given;
}

std::string saveFolderOf(const ScanSetting& setting, const std::string& given) {
    std::string folder = existingFolder(given);
    if (folder.find('%') != std::string::npos) {
        throw SettingsError(SettingsError::Code::invalid,
                            std::string(setting.key) + " cannot be " + printable(folder) +
                                ": a path with \"%\" is read as one below the home folder");
    }
    return folder;
}

std::optional<Value> valueOf(const ScanSetting& setting, const std::string& given) {
    if (setting.isRemovable && given.empty()) {
        return std::nullopt;
    }
    switch (setting.kind) {
    case Kind::number:
        return numberOf(setting, given);
    case Kind::flag:
        return flagOf(setting, given);
    case Kind::folder:
        return saveFolderOf(setting, given);
    case Kind::fixed:
        throw SettingsError(SettingsError::Code::invalid,
                            std::string(setting.key) + " cannot be set: it is kept by the system");
    case Kind::fileName:
    case Kind::text:
        break;
    }
    return textOf(setting, given);
}

const ScanSetting& settingNamed(const std::string& name) {
    const auto* setting = std::ranges::find(scan_settings::all, std::string_view(name), &ScanSetting::key);
    if (setting != scan_settings::all.end()) {
        return *setting;
    }
    std::vector<std::string> names;
    names.reserve(scan_settings::all.size());
    for (const ScanSetting& candidate : scan_settings::all) {
        names.emplace_back(candidate.key);
    }
    throw SettingsError(SettingsError::Code::invalid,
                        "scan settings have no key " + printable(name) + didYouMean(name, names));
}

} // namespace

std::string allowedValues(const ScanSetting& setting) {
    switch (setting.kind) {
    case Kind::number: {
        std::string text = setting.choices.empty() ? range(setting) : "";
        for (std::size_t i = 0; i < setting.choices.size(); ++i) {
            text += (i == 0 ? "" : ", ") + std::to_string(setting.least + static_cast<std::int64_t>(i)) +
                    " " + std::string(setting.choices[i].word);
        }
        return text + (setting.isRemovable ? ", or empty" : "");
    }
    case Kind::flag:
        return "yes or no";
    case Kind::folder:
        return "a folder";
    case Kind::fixed:
        return "cannot be set";
    case Kind::fileName:
    case Kind::text:
        break;
    }
    return std::string(setting.kind == Kind::fileName ? "text without \"/\"" : "text") +
           (setting.isRemovable ? ", or empty" : "");
}

std::optional<std::string> problemOfScanSetting(const ScanSetting& setting, const Value& value) {
    const std::string* text = value.text();
    std::optional<std::int64_t> number = platform::integerOf(value);
    if (text != nullptr && text->find_first_not_of("-0123456789") != std::string::npos) {
        number.reset();
    }
    bool isGood = true;
    switch (setting.kind) {
    case Kind::number:
        isGood = number && *number >= setting.least && *number <= setting.most;
        break;
    case Kind::flag:
        isGood = text != nullptr || number;
        break;
    case Kind::text:
    case Kind::fileName:
    case Kind::folder:
        isGood = text != nullptr;
        break;
    case Kind::fixed:
        break;
    }
    return isGood ? std::nullopt
                  : std::optional(printable(value.description()) +
                                  " is not what the key may hold: " + allowedValues(setting));
}

ScanSettingChange readScanSettingChange(const std::string& key, const std::string& text) {
    const ScanSetting& setting = settingNamed(key);
    return {&setting, valueOf(setting, text)};
}

std::string existingFolder(const std::string& path) {
    std::error_code error;
    if (path.empty()) {
        throw SettingsError(SettingsError::Code::invalid, "a folder is needed, not an empty path");
    }
    const std::filesystem::path absolute =
        std::filesystem::absolute(platform::expandingTildeInPath(path), error).lexically_normal();
    std::string folder = error || path.empty() ? path : absolute.string();
    if (folder.size() > 1 && folder.back() == '/') {
        folder.pop_back();
    }
    if (!platform::isValidUtf8(folder) || folder != printable(folder)) {
        throw SettingsError(SettingsError::Code::invalid,
                            "the path " + printable(folder) + " cannot be kept in the settings");
    }
    platform::FileSystem& files = platform::current().fileSystem;
    if (!files.isDirectory(folder)) {
        throw SettingsError(SettingsError::Code::notFound,
                            (files.exists(folder)
                                 ? folder + " is no folder"
                                 : "there is no folder " + printable(folder) + "; make it first"));
    }
    return folder;
}

} // namespace trigora::tools
