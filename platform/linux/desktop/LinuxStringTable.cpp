#include "platform/linux/desktop/LinuxStringTable.h"

namespace trigora::platform {

std::string LinuxStringTable::localizedString(const std::string& key) {
    std::call_once(once_, [this] { readTables(); });
    for (const Dictionary& table : tables_) {
        if (const std::optional<std::string> text = textAt(table, key)) {
            return *text;
        }
    }
    return key;
}

void LinuxStringTable::readTables() {
    const std::shared_ptr<Bundle> bundle = bundles_.mainBundle();
    if (!bundle) {
        return;
    }
    for (const std::string& language : languages()) {
        const auto path = bundle->resourcePath(language + ".lproj/Localizable", "strings");
        const std::optional<Value> table = path ? propertyLists_.read(*path) : std::nullopt;
        if (table && table->dictionary() != nullptr) {
            tables_.push_back(*table->dictionary());
        }
    }
}

std::vector<std::string> LinuxStringTable::languages() {
    std::vector<std::string> languages;
    const std::optional<Value> preferred = userDefaults_.value("AppleLanguages");
    const std::optional<Value> locale = userDefaults_.value("AppleLocale");
    const Array* list = preferred ? preferred->array() : nullptr;
    const std::string* first = list == nullptr || list->empty() ? nullptr : list->front().text();
    // What differs from country to country, such as the usual paper, stands in a table of the country's own.
    if (first != nullptr && locale && locale->text() != nullptr &&
        locale->text()->starts_with(*first + "_")) {
        languages.push_back(*locale->text());
    }
    for (const Value& entry : list == nullptr ? Array() : *list) {
        if (const std::string* language = entry.text()) {
            languages.push_back(*language);
            languages.push_back(language->substr(0, language->find_first_of("-_")));
        }
    }
    languages.emplace_back("en");
    return languages;
}

} // namespace trigora::platform
