#include "files/TrFilePathUtility.h"

#include "files/FileManagerExtension.h"
#include "files/InstalledPaths.h"
#include "platform/Desktop.h"
#include "platform/Text.h"

#include <algorithm>
#include <initializer_list>

namespace trigora {

namespace {

/// Number of bytes that the first two characters take; 0 for fewer than two.
std::size_t lengthOfTwoCharacters(const std::string& text) {
    std::size_t characters = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool beginsCharacter = (static_cast<unsigned char>(text[i]) & 0xC0) != 0x80;
        if (beginsCharacter && ++characters == 3) {
            return i;
        }
    }
    return characters == 2 ? text.size() : 0;
}

bool isOneOf(const std::optional<std::string>& text, std::initializer_list<const char*> list) {
    return text && std::find(list.begin(), list.end(), *text) != list.end();
}

std::optional<std::string> preferredLocale() {
    const std::optional<Value> value = platform::current().userDefaults.value("AppleLocale");
    const std::string* text = value ? value->text() : nullptr;
    return text == nullptr ? std::nullopt : std::optional(*text);
}

void createMissingFolders(const std::string& path) {
    makePrivateFoldersOfHome(path);
    for (const std::string& folder : missingFoldersOfPath(path)) {
        exCreateDirectoryAtPath(folder, false, attributesOfMadeFolder());
    }
}

/// Copies what the source holds. Links to folders are followed once: below one of them, links are copied as
/// links, so that a link to a folder around itself comes to an end.
void copyContents(const std::string& source, const std::string& destination, const std::string& wholeCopy,
                  bool isBelowLink) {
    // Listed before the destination is made, which may lie inside the source.
    const auto names = exDirectoryContentsAtPath(source).value_or(std::vector<std::string>());
    createMissingFolders(destination);
    auto& platform = platform::current();
    for (const std::string& name : names) {
        const std::string from = platform::appendingPathComponent(source, name);
        if (name.front() == '.' || from == wholeCopy) {
            continue;
        }
        const std::string to = platform::appendingPathComponent(destination, name);
        const bool isLink = platform.fileMetadata.destinationOfSymbolicLink(from).has_value();
        if (platform.fileSystem.isDirectory(from) && !(isLink && isBelowLink)) {
            copyContents(from, to, wholeCopy, isLink || isBelowLink);
        } else {
            exCopyPath(from, to);
        }
    }
}

} // namespace

std::string TrFilePathUtility::defaultCustomProjectFolderPath() const {
    return paths::userFolder() + "/AppInfo1";
}

std::string TrFilePathUtility::customProjectPathWithScannerDriver(
    const std::shared_ptr<const ScannerDriverModel>& driver) const {
    std::string path = defaultCustomProjectFolderPath();
    const auto modelID = driver && driver->isDependency() ? driver->hexadecimalModelID() : std::nullopt;
    if (!modelID) {
        return path;
    }
    const std::string modelFolder =
        platform::appendingPathComponent(platform::deletingLastPathComponent(path), "Model" + *modelID);
    return platform::appendingPathComponent(modelFolder, platform::lastPathComponent(path));
}

std::string TrFilePathUtility::customFolderProjectFolderPath() const {
    return paths::userFolder() + "/MonitorFolder/AppInfo1";
}

std::string TrFilePathUtility::scanSettingsFileName() const { return "ScanSetting.plist"; }

std::string TrFilePathUtility::customProjectIconPath() const { return paths::customProjectIcon(); }

std::string TrFilePathUtility::networkScanSettingPath() const {
    return paths::settingsFolder() + "/NetWorkScanSetting.plist";
}

std::string TrFilePathUtility::oldNetworkScanSettingPath() const {
    return paths::formerSettingsFolder() + "/NetWorkScanStting.plist"; // the earlier version's spelling
}

std::string TrFilePathUtility::networkLogInfoPath() const {
    return paths::settingsFolder() + "/NetWorkLogInfo.plist";
}

std::string TrFilePathUtility::scanToEmailTempFolderPath() const {
    return paths::preferencesFolder() + "/Mosaro Temp";
}

std::string TrFilePathUtility::tempFolderPath() const { return paths::temporaryFolder(); }

std::optional<std::string> TrFilePathUtility::documentsFolderPath() const {
    return platform::current().folders.documents();
}

std::optional<std::string> TrFilePathUtility::applicationFolderPath() {
    if (!string_ApplicationFolderPath) {
        string_ApplicationFolderPath = platform::current().folders.applications();
    }
    return string_ApplicationFolderPath;
}

std::string TrFilePathUtility::stringDefaultPathWithEventFolder(const std::string& folder) const {
    for (const std::optional<std::string>& code : {currentCountry(), currentLanguage()}) {
        if (!code) {
            continue;
        }
        std::string path = platform::appendingPathComponent(folder, "String_" + *code + ".def");
        if (platform::current().fileSystem.exists(path)) {
            return path;
        }
    }
    return platform::appendingPathComponent(folder, "String.def");
}

std::optional<std::string> TrFilePathUtility::currentLanguage() const {
    const std::optional<std::string> language = platform::firstPreferredLanguage();
    const std::size_t length = language ? lengthOfTwoCharacters(*language) : 0;
    return length == 0 ? language : language->substr(0, length);
}

std::optional<std::string> TrFilePathUtility::currentCountry() const {
    const std::optional<std::string> language = platform::firstPreferredLanguage();
    if (!language) {
        return std::nullopt;
    }
    if (*language == "en") {
        const std::optional<std::string> locale = preferredLocale();
        return isOneOf(locale, {"en_US", "en_CA"}) ? locale : language;
    }
    if (*language == "fr") {
        const std::optional<std::string> locale = preferredLocale();
        return isOneOf(locale, {"fr_CA"}) ? locale : language;
    }
    const std::string locale = platform::current().userDefaults.currentLocaleIdentifier();
    if (isOneOf(locale, {"zh_CN", "zh_TW", "en_US", "en_CA"})) {
        return locale;
    }
    const std::size_t length = lengthOfTwoCharacters(*language);
    return length == 0 ? std::nullopt : std::optional(language->substr(0, length));
}

void TrFilePathUtility::createFolderPath(const std::string& path) const { createMissingFolders(path); }

void TrFilePathUtility::copyFolderPath(const std::string& path, const std::string& toPath) const {
    copyContents(path, toPath, toPath, false);
}

int TrFilePathUtility::createFileWithFork(const std::string& path, std::uint32_t andCreator,
                                          const std::string& /*andForkName*/) const {
    FileReference folder;
    if (const int status = fsRefFromFilePath(platform::deletingLastPathComponent(path), folder)) {
        return status;
    }
    auto& platform = platform::current();
    if (!platform.fileSystem.exists(path) && !platform.fileContents.write(path, {}, false)) {
        return -1;
    }
    FileAttributes attributes = attributesOfWrittenFile();
    attributes.hfsCreatorCode = andCreator;
    return exChangeFileAttributes(attributes, path) ? 0 : -1;
}

int TrFilePathUtility::fsRefFromFilePath(const std::string& path, FileReference& fsRef) const {
    if (path.empty()) {
        return 0;
    }
    if (!platform::current().fileSystem.exists(path)) {
        return -1;
    }
    fsRef.path = path;
    return 0;
}

int TrFilePathUtility::fsSpecFromPath(const std::string& path, FileSpecification& fsSpec) const {
    FileReference reference;
    if (fsRefFromFilePath(path, reference) != 0) {
        return 0;
    }
    if (reference.path.empty()) {
        return platform::fnfErr;
    }
    fsSpec.folder = platform::deletingLastPathComponent(path);
    fsSpec.name = platform::lastPathComponent(path);
    return 0;
}

} // namespace trigora
