#include "tools/check/CheckTextFile.h"

#include "files/StringHelpers.h"
#include "files/TrFilePathUtility.h"
#include "platform/FileSystem.h"
#include "platform/Formats.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "tools/words/Wording.h"

#include <algorithm>
#include <optional>
#include <set>

namespace trigora::tools {

namespace {

constexpr std::size_t shownLength = 60;

std::string shown(const std::string& text) {
    return "\"" + printable(text.size() > shownLength ? text.substr(0, shownLength) + "…" : text) + "\"";
}

/// Two-byte characters without a mark at the beginning: every other byte of plain text is 0.
bool looksLikeUnmarkedUtf16(const Data& bytes) {
    const bool isMarked = bytes.size() > 1 &&
                          ((bytes[0] == 0xFF && bytes[1] == 0xFE) || (bytes[0] == 0xFE && bytes[1] == 0xFF));
    return !isMarked && std::ranges::find(bytes, 0) != bytes.end();
}

/// The file as the parsers read it; none, with a finding, when they cannot.
std::optional<std::string> readText(const std::string& path, Findings& findings) {
    platform::Platform& platform = platform::current();
    constexpr const char* ignored = "nothing in it counts";
    if (!platform.fileSystem.exists(path)) {
        findings.push_back({path, "", "there is no such file", ignored});
        return std::nullopt;
    }
    constexpr std::size_t longest = platform::FileContents::longestSettings;
    const auto attributes = platform.fileMetadata.attributes(path, true);
    if (attributes && !attributes->isDirectory && attributes->size > longest) {
        findings.push_back({path, "", "longer than 1 MiB, which no file of its kind is", ignored});
        return std::nullopt;
    }
    const std::optional<Data> bytes = platform.fileContents.read(path, longest);
    if (!bytes) {
        findings.push_back({path, "", "cannot be read", ignored});
        return std::nullopt;
    }
    if (looksLikeUnmarkedUtf16(*bytes)) {
        findings.push_back({path, "", "UTF-16 text without a byte-order mark, or no text at all", ignored});
        return std::nullopt;
    }
    std::optional<std::string> text = exStringWithContentsOfFile(path, platform::Encoding::unicode);
    if (!text) {
        findings.push_back({path, "", "damaged: its UTF-16 text cannot be decoded", ignored});
    }
    return text;
}

/// A line counts only with one "=". Text without any is taken for a remark.
void checkLines(const std::string& path, const std::string& text, int firstLine, Findings& findings) {
    int number = firstLine;
    for (const std::string& line : componentsSeparatedByParagraph(text)) {
        if (std::ranges::count(line, '=') > 1) {
            findings.push_back({path, "line " + std::to_string(number),
                                shown(line) + " has more than one \"=\"", "the line is ignored"});
        }
        ++number;
    }
}

int lineBreaksIn(const std::string& text) {
    return static_cast<int>(componentsSeparatedByParagraph(text).size()) - 1;
}

} // namespace

bool checkDefinitionFile(const std::string& path, Findings& findings) {
    const std::optional<std::string> text = readText(path, findings);
    if (text) {
        checkLines(path, *text, 1, findings);
    }
    return text.has_value();
}

bool checkSectionFile(const std::string& path, Findings& findings) {
    const std::optional<std::string> text = readText(path, findings);
    if (!text) {
        return false;
    }
    std::set<std::string> names;
    int line = 1;
    bool isBeforeFirstSection = true;
    for (const std::string& piece : platform::componentsSeparatedByString(*text, "[")) {
        const std::string where = "line " + std::to_string(line);
        const auto brackets = std::ranges::count(piece, ']');
        const std::string name = piece.substr(0, piece.find(']'));
        if (brackets == 1) {
            checkLines(path, piece.substr(name.size()), line + lineBreaksIn(name), findings);
            if (!names.insert(name).second) {
                findings.push_back({path, where, "a second section [" + printable(name) + "]",
                                    "the first one is ignored whole"});
            }
        } else if (brackets > 1 || !isBeforeFirstSection) {
            findings.push_back({path, where,
                                "the section " + shown(name.substr(0, name.find_first_of("\r\n"))) +
                                    " is broken by a bracket",
                                "the lines from there to the next section are ignored"});
        }
        line += lineBreaksIn(piece);
        isBeforeFirstSection = false;
    }
    return true;
}

void checkLinesOfSections(const std::string& path, Findings& findings) {
    const auto text = exStringWithContentsOfFile(path, platform::Encoding::unicode);
    int number = 0;
    bool isInSection = false;
    for (const std::string& line : componentsSeparatedByParagraph(text.value_or(""))) {
        ++number;
        const std::string words = platform::trimmed(line, " \t\r\n");
        isInSection = isInSection || words.starts_with('[');
        if (isInSection && !words.empty() && words.find_first_of("[]=") == std::string::npos &&
            words[0] != ';' && words[0] != '#') {
            findings.push_back({path, "line " + std::to_string(number), shown(line) + " has no \"=\"",
                                "the line is ignored"});
        }
    }
}

void checkTexts(const std::string& folder, Findings& findings) {
    const std::string path =
        TrFilePathUtility::sharedFilePathUtility()->stringDefaultPathWithEventFolder(folder);
    if (!platform::current().fileSystem.exists(path)) {
        findings.push_back({path, "", "there is no such file", "it is shown without a name"});
        return;
    }
    checkDefinitionFile(path, findings);
}

void checkPicture(const std::string& path, const std::string& namedBy, const std::string& key,
                  Findings& findings) {
    platform::Platform& platform = platform::current();
    if (path.empty()) {
        return;
    }
    const bool isThere = platform.fileSystem.exists(path);
    if (!isThere || !platform.images.load(path)) {
        findings.push_back({namedBy, key,
                            "the picture " + path + (isThere ? " is no PNG picture" : " is missing"),
                            "it is shown without its picture"});
    }
}

} // namespace trigora::tools
