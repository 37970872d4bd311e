#pragma once

#include "platform/Desktop.h"
#include "platform/FileSystem.h"
#include "platform/Formats.h"

namespace trigora::platform {

/// The user's global preferences are "~/Library/Preferences/.GlobalPreferences.plist" where that has the
/// key; otherwise "AppleLanguages" and "AppleLocale" come from the variables LANGUAGE, LC_ALL, LC_MESSAGES
/// and LANG. A named domain is "~/Library/Preferences/NAME.plist".
///
///     LANGUAGE     LANG          AppleLanguages   AppleLocale
///                  de_AT.UTF-8   de               de_AT
///     fr_CA:de     de_DE         fr, de           fr_CA
///                  zh_CN         zh-Hans          zh_CN
///                  C             en               en
///
/// Any thread; the variables must not be changed while the program runs.
class LinuxUserDefaults final : public UserDefaults {
public:
    LinuxUserDefaults(FileSystem& fileSystem, Folders& folders, PropertyLists& propertyLists)
        : fileSystem_(fileSystem), folders_(folders), propertyLists_(propertyLists) {}

    std::optional<Value> value(const std::string& key) override;
    std::optional<Dictionary> persistentDomain(const std::string& name) override;
    /// False for a name that is none of a file's.
    bool setPersistentDomain(const std::string& name, const Dictionary& domain) override;
    std::string currentLocaleIdentifier() override;

private:
    FileSystem& fileSystem_;
    Folders& folders_;
    PropertyLists& propertyLists_;
};

} // namespace trigora::platform
