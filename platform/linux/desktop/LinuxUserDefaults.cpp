#include "platform/linux/desktop/LinuxUserDefaults.h"

#include "platform/Text.h"

#include <algorithm>
#include <cstdlib>
#include <set>

namespace trigora::platform {

namespace {

constexpr const char* globalDomain = ".GlobalPreferences";

/// A locale of the C library taken apart, e.g. "de_AT.UTF-8@euro" into "de" and "AT".
struct Locale {
    std::string language = "en"; ///< "C" and anything without a proper language count as English
    std::string country;         ///< empty for none

    std::string identifier() const { return country.empty() ? language : language + "_" + country; }

    /// Chinese is told apart by its script, every other language is its code.
    std::string languageCode() const {
        static const std::set<std::string> traditional = {"TW", "HK", "MO"};
        if (language != "zh") {
            return language;
        }
        return traditional.count(country) > 0 ? "zh-Hant" : "zh-Hans";
    }
};

bool isAllOf(std::string_view text, char first, char last) {
    return std::all_of(text.begin(), text.end(), [&](char c) { return c >= first && c <= last; });
}

Locale localeOf(std::string_view text) {
    text = text.substr(0, text.find_first_of(".@"));
    const std::size_t separator = text.find_first_of("_-");
    const std::string_view language = text.substr(0, separator);
    if (language.size() < 2 || language.size() > 3 || !isAllOf(language, 'a', 'z')) {
        return {};
    }
    const std::string_view country =
        separator == std::string_view::npos ? std::string_view() : text.substr(separator + 1);
    const bool isCountry = country.size() == 2 && isAllOf(country, 'A', 'Z');
    return {std::string(language), isCountry ? std::string(country) : std::string()};
}

/// The first variable that is set and not empty, as the C library looks them up.
std::string messageLocale() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(name);
        if (value != nullptr && *value != '\0') {
            return value;
        }
    }
    return "C";
}

/// The user's locales, the preferred one first; never empty. As everywhere, LANGUAGE does not count while
/// the locale is "C".
std::vector<Locale> preferredLocales() {
    const std::string locale = messageLocale();
    const bool isUntranslated = locale == "C" || locale == "POSIX" || locale.rfind("C.", 0) == 0;
    const char* languages = isUntranslated ? nullptr : std::getenv("LANGUAGE");
    std::vector<Locale> locales;
    for (const std::string& name : componentsSeparatedByString(languages == nullptr ? "" : languages, ":")) {
        if (!name.empty()) {
            locales.push_back(localeOf(name));
        }
    }
    locales.push_back(localeOf(locale));
    return locales;
}

Array languagesOfEnvironment() {
    Array languages;
    for (const Locale& locale : preferredLocales()) {
        const Value code = locale.languageCode();
        if (std::find(languages.begin(), languages.end(), code) == languages.end()) {
            languages.push_back(code);
        }
    }
    return languages;
}

/// The preferred language with the first country that is named for it.
std::string localeOfEnvironment() {
    const std::vector<Locale> locales = preferredLocales();
    const auto complete = std::find_if(locales.begin(), locales.end(), [&](const Locale& locale) {
        return locale.language == locales.front().language && !locale.country.empty();
    });
    return complete == locales.end() ? locales.front().identifier() : complete->identifier();
}

} // namespace

std::optional<Value> LinuxUserDefaults::value(const std::string& key) {
    const std::optional<Dictionary> preferences = persistentDomain(globalDomain);
    const Value* found = preferences ? find(*preferences, key) : nullptr;
    if (found != nullptr) {
        return *found;
    }
    if (key == "AppleLanguages") {
        return languagesOfEnvironment();
    }
    return key == "AppleLocale" ? std::optional<Value>(localeOfEnvironment()) : std::nullopt;
}

std::optional<Dictionary> LinuxUserDefaults::persistentDomain(const std::string& name) {
    const auto domain = propertyLists_.read(folders_.home() + "/Library/Preferences/" + name + ".plist");
    const bool isDomain = domain && domain->dictionary() != nullptr && !domain->dictionary()->empty();
    return isDomain ? std::optional(*domain->dictionary()) : std::nullopt;
}

bool LinuxUserDefaults::setPersistentDomain(const std::string& name, const Dictionary& domain) {
    const std::string folder = folders_.home() + "/Library/Preferences";
    if (name.empty() || name.find('/') != std::string::npos) {
        return false;
    }
    FileAttributes privateToUser;
    privateToUser.posixPermissions = 0700;
    return fileSystem_.createDirectory(folder, true, privateToUser) &&
           propertyLists_.write(folder + "/" + name + ".plist", domain, true);
}

std::string LinuxUserDefaults::currentLocaleIdentifier() {
    const std::optional<Value> locale = value("AppleLocale");
    return locale && locale->text() != nullptr ? *locale->text() : localeOfEnvironment();
}

} // namespace trigora::platform
