#pragma once

#include "platform/Bundles.h"
#include "platform/Desktop.h"
#include "platform/Formats.h"

#include <mutex>
#include <vector>

namespace trigora::platform {

/// "LANGUAGE.lproj/Localizable.strings" of the main bundle's resources, which are property lists. A text
/// is looked for in the user's languages in their order ("de-AT" also as "de"), then in English. The
/// tables are read at the first use.
class LinuxStringTable final : public StringTable {
public:
    LinuxStringTable(Bundles& bundles, PropertyLists& propertyLists, UserDefaults& userDefaults)
        : bundles_(bundles), propertyLists_(propertyLists), userDefaults_(userDefaults) {}

    std::string localizedString(const std::string& key) override;

private:
    void readTables();
    std::vector<std::string> languages();

    Bundles& bundles_;
    PropertyLists& propertyLists_;
    UserDefaults& userDefaults_;
    std::once_flag once_;
    std::vector<Dictionary> tables_; ///< in the order in which they are asked
};

} // namespace trigora::platform
