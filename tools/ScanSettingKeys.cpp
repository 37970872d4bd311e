#include "tools/ScanSettingKeys.h"

#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "tools/Command.h"
#include "tools/NearMatches.h"
#include "tools/Report.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <limits>
#include <sstream>

namespace trigora::tools {

namespace {

using Kind = ScanSettingKey::Kind;
using Names = std::string_view;

constexpr std::array<Names, 9> documentSizes{"A4",      "Letter", "Legal", "A5", "B5",
                                             "Tabloid", "B4",     "A3",    "A6"};
constexpr std::array<Names, 5> fileFormats{"JPEG", "PDF", "BMP", "TIFF", "MultiTIFF"};
constexpr std::array<Names, 3> imageTypes{"color", "grayscale", "bw"};
constexpr std::array<Names, 4> documentSources{"auto", "table", "adf", "duplex"};
constexpr std::array<Names, 4> qualityTypes{"speed", "standard", "best", "custom"};
constexpr std::array<Names, 2> byteOrders{"big", "little"};
constexpr std::array<Names, 2> tiffCompressions{"none", "G4"};

constexpr std::int64_t mostFeatureBits = std::numeric_limits<std::uint32_t>::max();

// In the order in which scan settings get their defaults.
constexpr std::array keys{
    ScanSettingKey{"documentType", Kind::number, "kind of document; 3 is a photo", 0, 9},
    ScanSettingKey{"documentSize", Kind::number, "paper size", 0, 8, documentSizes},
    ScanSettingKey{"fileFormat", Kind::number, "format of the scanned files", 0, 4, fileFormats},
    ScanSettingKey{"imageType", Kind::number, "colours", 0, 2, imageTypes},
    ScanSettingKey{"documentSource", Kind::number, "where the paper lies", 0, 3, documentSources},
    ScanSettingKey{"resolution", Kind::number, "dots per inch", 1, 9600},
    ScanSettingKey{"qualityType", Kind::number, "quality", 0, 3, qualityTypes},
    ScanSettingKey{"orientation", Kind::number, "orientation, as the driver counts", 0, 3},
    ScanSettingKey{"unSharpMark", Kind::flag, "sharpen the picture (the key is spelt so)"},
    ScanSettingKey{"descreen", Kind::flag, "remove the pattern of printed pictures"},
    ScanSettingKey{"autoEnhance", Kind::flag, "enhance the picture"},
    ScanSettingKey{"JPEGCompression", Kind::number, "quality of JPEG files", 1, 100},
    ScanSettingKey{"byteOrder", Kind::number, "byte order of TIFF files", 0, 1, byteOrders},
    ScanSettingKey{"TIFFCompression", Kind::number, "compression of TIFF files", 0, 1, tiffCompressions},
    ScanSettingKey{"folderPath", Kind::folder, "folder to save into; it must exist"},
    ScanSettingKey{"prefix", Kind::text, "beginning of the files' names, without \"/\""},
    ScanSettingKey{"startNumber", Kind::number, "number of the first file", 0, 999'999},
    ScanSettingKey{"pdfCompression", Kind::text, "compression of PDF files, or DEFAULT"},
    ScanSettingKey{"pdfSettingFolder", Kind::fixed, "folder of the scan settings"},
    ScanSettingKey{"driverName", Kind::text, "scanner driver; a button press puts its own in"},
    ScanSettingKey{"TwainUI", Kind::flag, "show the driver's own dialog"},
    ScanSettingKey{"NoneUI", Kind::flag, "scan without any dialog"},
    ScanSettingKey{"projectID", Kind::fixed, "ID of the project"},
    ScanSettingKey{"extFeatureBit",
                   Kind::number,
                   "bits of the button; a press puts its own in",
                   0,
                   mostFeatureBits,
                   {},
                   true},
    ScanSettingKey{"ipAddress", Kind::text, "network address, or L for a local scanner", 0, 0, {}, true},
};

std::string range(const ScanSettingKey& key) {
    return std::to_string(key.least) + " to " + std::to_string(key.most);
}

std::string allowedValues(const ScanSettingKey& key) {
    switch (key.kind) {
    case Kind::number: {
        std::string text = key.names.empty() ? range(key) : "";
        for (std::size_t i = 0; i < key.names.size(); ++i) {
            text += (i == 0 ? "" : ", ") + std::to_string(key.least + static_cast<std::int64_t>(i)) + " " +
                    std::string(key.names[i]);
        }
        return text + (key.isRemovable ? ", or empty" : "");
    }
    case Kind::flag:
        return "yes or no";
    case Kind::folder:
        return "a folder";
    case Kind::fixed:
        return "cannot be set";
    case Kind::text:
        break;
    }
    return std::string(key.name == "prefix" ? "text without \"/\"" : "text") +
           (key.isRemovable ? ", or empty" : "");
}

[[noreturn]] void refuse(const ScanSettingKey& key, const std::string& given) {
    throw Failure(wrongUsage, std::string(key.name) + " cannot be \"" + printable(given) + "\": allowed is " +
                                  allowedValues(key));
}

std::int64_t numberOf(const ScanSettingKey& key, const std::string& given) {
    const auto name = std::ranges::find_if(key.names, [&](std::string_view candidate) {
        return platform::lowercased(candidate) == platform::lowercased(given);
    });
    if (name != key.names.end()) {
        return key.least + (name - key.names.begin());
    }
    std::int64_t number = 0;
    const char* end = given.data() + given.size();
    const auto [stopped, error] = std::from_chars(given.data(), end, number);
    if (error != std::errc() || stopped != end || number < key.least || number > key.most) {
        refuse(key, given);
    }
    return number;
}

bool flagOf(const ScanSettingKey& key, const std::string& given) {
    constexpr std::array<std::pair<std::string_view, bool>, 6> words{
        {{"yes", true}, {"no", false}, {"true", true}, {"false", false}, {"1", true}, {"0", false}}};
    const auto* word = std::ranges::find(words, platform::lowercased(given),
                                         [](const auto& pair) { return std::string(pair.first); });
    if (word == words.end()) {
        refuse(key, given);
    }
    return word->second;
}

std::string textOf(const ScanSettingKey& key, const std::string& given) {
    const bool isFileName = key.name == "prefix";
    if (!platform::isValidUtf8(given) || given != printable(given) ||
        (isFileName && given.find('/') != std::string::npos)) {
        refuse(key, given);
    }
    return given;
}

std::string saveFolderOf(const ScanSettingKey& key, const std::string& given) {
    std::string folder = existingFolder(given);
    if (folder.find('%') != std::string::npos) {
        throw Failure(wrongUsage, std::string(key.name) + " cannot be " + printable(folder) +
                                      ": a path with \"%\" is read as one below the home folder");
    }
    return folder;
}

std::optional<Value> valueOf(const ScanSettingKey& key, const std::string& given) {
    if (key.isRemovable && given.empty()) {
        return std::nullopt;
    }
    switch (key.kind) {
    case Kind::number:
        return numberOf(key, given);
    case Kind::flag:
        return flagOf(key, given);
    case Kind::folder:
        return saveFolderOf(key, given);
    case Kind::fixed:
        throw Failure(wrongUsage, std::string(key.name) + " cannot be set: it is kept by the system");
    case Kind::text:
        break;
    }
    return textOf(key, given);
}

const ScanSettingKey& keyNamed(const std::string& name) {
    const auto* key = std::ranges::find(keys, std::string_view(name), &ScanSettingKey::name);
    if (key != keys.end()) {
        return *key;
    }
    std::vector<std::string> names;
    names.reserve(keys.size());
    for (const ScanSettingKey& candidate : keys) {
        names.emplace_back(candidate.name);
    }
    throw Failure(wrongUsage, "scan settings have no key " + printable(name) + didYouMean(name, names));
}

std::string madeHelp() {
    constexpr std::size_t nameColumn = 18;
    constexpr std::size_t meaningColumn = 46;
    std::ostringstream text;
    text << "Keys of the scan settings, with the values that are allowed:\n";
    for (const ScanSettingKey& key : keys) {
        const auto padded = [](std::string_view word, std::size_t width) {
            return std::string(word) + std::string(word.size() < width ? width - word.size() : 1, ' ');
        };
        text << "  " << padded(key.name, nameColumn) << padded(key.meaning, meaningColumn)
             << allowedValues(key) << '\n';
    }
    return text.str();
}

} // namespace

std::span<const ScanSettingKey> scanSettingKeys() { return keys; }

std::optional<std::string> problemOfScanSetting(const ScanSettingKey& key, const Value& value) {
    const std::string* text = value.text();
    std::optional<std::int64_t> number = platform::integerOf(value);
    if (text != nullptr && text->find_first_not_of("-0123456789") != std::string::npos) {
        number.reset();
    }
    bool isGood = true;
    switch (key.kind) {
    case Kind::number:
        isGood = number && *number >= key.least && *number <= key.most;
        break;
    case Kind::flag:
        isGood = text != nullptr || number;
        break;
    case Kind::text:
    case Kind::folder:
        isGood = text != nullptr;
        break;
    case Kind::fixed:
        break;
    }
    return isGood ? std::nullopt
                  : std::optional(printable(value.description()) +
                                  " is not what the key may hold: " + allowedValues(key));
}

std::vector<ScanSettingChange> readScanSettingChanges(std::span<const std::string> words) {
    std::vector<ScanSettingChange> changes;
    for (const std::string& word : words) {
        const std::size_t equals = word.find('=');
        if (equals == std::string::npos) {
            throw Failure(wrongUsage, "what is " + printable(word) + "? Scan settings are written KEY=VALUE");
        }
        const ScanSettingKey& key = keyNamed(word.substr(0, equals));
        changes.push_back({&key, valueOf(key, word.substr(equals + 1))});
    }
    return changes;
}

const std::string& scanSettingHelp() {
    static const std::string help = madeHelp();
    return help;
}

std::string existingFolder(const std::string& path) {
    std::error_code error;
    if (path.empty()) {
        throw Failure(wrongUsage, "a folder is needed, not an empty path");
    }
    const std::filesystem::path absolute =
        std::filesystem::absolute(platform::expandingTildeInPath(path), error).lexically_normal();
    std::string folder = error || path.empty() ? path : absolute.string();
    if (folder.size() > 1 && folder.back() == '/') {
        folder.pop_back();
    }
    if (!platform::isValidUtf8(folder) || folder != printable(folder)) {
        throw Failure(wrongUsage, "the path " + printable(folder) + " cannot be kept in the settings");
    }
    platform::FileSystem& files = platform::current().fileSystem;
    if (!files.isDirectory(folder)) {
        throw Failure(notFound,
                      (files.exists(folder) ? folder + " is no folder"
                                            : "there is no folder " + printable(folder) + "; make it first"));
    }
    return folder;
}

} // namespace trigora::tools
