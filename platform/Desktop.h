#pragma once

#include "platform/Value.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace trigora::platform {

/// The user's preferences and locale.
class UserDefaults {
public:
    virtual ~UserDefaults() = default;

    /// A value of the user's global preferences such as "AppleLanguages" (a list of language codes, the
    /// preferred one first) or "AppleLocale".
    virtual std::optional<Value> value(const std::string& key) = 0;
    /// All of a named preferences domain; none when it has nothing.
    virtual std::optional<Dictionary> persistentDomain(const std::string& name) = 0;
    virtual bool setPersistentDomain(const std::string& name, const Dictionary& domain) = 0;
    /// Such as "en_US".
    virtual std::string currentLocaleIdentifier() = 0;
};

/// The first entry of "AppleLanguages"; none when the list is missing, empty or no list of texts.
std::optional<std::string> firstPreferredLanguage();

class SystemInformation {
public:
    virtual ~SystemInformation() = default;

    /// A BCD number such as 0x1068 for 10.6.8. Any thread.
    virtual std::int32_t systemVersion() = 0;
    /// Whether the scan assistant's side can tell which driver serves a scanner on the network. Any thread.
    virtual bool isNewerDriverInstalled() = 0;
};

enum class AlertAnswer { defaultButton, closed };

/// A modal message with one button.
class AlertPanel {
public:
    virtual ~AlertPanel() = default;

    /// Returns when the user has answered it, by its button or by dismissing it, or when it was closed
    /// otherwise. Where no desktop can show it, it is written to the console and counts as answered by its
    /// button.
    virtual AlertAnswer run(const std::string& title, const std::string& message,
                            const std::string& button) = 0;
};

/// The running program's own texts in the user's language. Any thread.
class StringTable {
public:
    virtual ~StringTable() = default;

    /// The key itself when the table has no such text.
    virtual std::string localizedString(const std::string& key) = 0;
};

/// The system console. Any thread.
class Console {
public:
    virtual ~Console() = default;

    virtual void write(std::string_view line) = 0;
};

/// The scanner maker's ID converter. It is usually absent, and each function may be missing on its own.
/// Any thread.
class IDConverter {
public:
    virtual ~IDConverter() = default;

    virtual bool hasModelIDWithTwainID() = 0;
    /// Looks a driver name up with a zeroed buffer of the given size; 0 means that the driver is known.
    virtual std::int32_t PS2GetModelIDWithTwainID(const std::string& twainID, std::size_t bufferSize) = 0;
    /// The driver name of a product ID; none when the function is missing or does not know it.
    virtual std::optional<std::string> PS2GetTwainIDWithProductID(const std::string& productID) = 0;
};

/// Whether the ID converter can look drivers up and knows this one; false without a name.
bool isKnownDriver(const std::optional<std::string>& driverName, std::size_t bufferSize);

} // namespace trigora::platform
