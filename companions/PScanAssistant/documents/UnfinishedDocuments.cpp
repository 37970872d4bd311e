#include "companions/PScanAssistant/documents/UnfinishedDocuments.h"

#include "platform/Text.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace trigora::companions {

namespace {

using namespace platform;

constexpr const char* noteExtension = ".note";
// A note is read as it was written: format, number, prefix and folder, each with a zero byte behind it.
constexpr std::size_t fieldCount = 4;
constexpr std::size_t longestNote = 64 << 10;

struct Note {
    FileFormat format = FileFormat::pdf;
    NumberedName name;
    std::string folder;
};

std::optional<Note> readNote(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text(longestNote, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    const std::vector<std::string> fields = componentsSeparatedByString(text, std::string_view("\0", 1));
    if (fields.size() != fieldCount + 1) {
        return std::nullopt;
    }
    Note note;
    const std::int32_t format = integerValue(fields[0]);
    if (format != static_cast<int>(FileFormat::pdf) &&
        format != static_cast<int>(FileFormat::multiPageTiff)) {
        return std::nullopt;
    }
    note.format = static_cast<FileFormat>(format);
    note.name = {fields[2], integerValue(fields[1]), extensionOf(note.format)};
    note.folder = fields[3];
    const bool isSafe = note.name.prefix.find('/') == std::string::npos && note.folder.starts_with('/');
    return isSafe ? std::optional(note) : std::nullopt;
}

} // namespace

void noteUnfinished(const DocumentFile& file, FileFormat format, const std::string& folder,
                    const NumberedName& name) {
    if (file.workPath().empty()) {
        return;
    }
    std::ofstream note(file.workPath() + noteExtension, std::ios::binary);
    note << static_cast<int>(format) << '\0' << name.number << '\0' << name.prefix << '\0' << folder << '\0';
}

void forgetUnfinished(const std::string& workPath) {
    if (!workPath.empty()) {
        ::unlink((workPath + noteExtension).c_str());
    }
}

std::vector<RescuedDocument> rescueUnfinished(const std::string& workFolder,
                                              const std::vector<std::string>& otherFolders) {
    std::vector<std::string> notes;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(workFolder, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string path = entry->path();
        if (path.ends_with(noteExtension)) {
            notes.push_back(path);
        } else if (std::error_code missing; !std::filesystem::exists(path + noteExtension, missing)) {
            DocumentFile::reopen(path); // which removes it: a single page that was not whole
        }
    }
    std::ranges::sort(notes);
    std::vector<RescuedDocument> rescued;
    for (const std::string& notePath : notes) {
        const std::string workPath = deletingPathExtension(notePath);
        std::optional<Note> note = readNote(notePath);
        std::optional<DocumentFile> file = DocumentFile::reopen(workPath);
        if (!file) {
            if (errno == ENOENT) {
                forgetUnfinished(workPath);
            }
            continue;
        }
        const std::size_t pages = note ? completeDocument(note->format, *file, note->name.title()) : 0;
        const std::optional<std::string> path =
            pages > 0 ? publishSomewhere(*file, note->folder, otherFolders, note->name) : std::nullopt;
        if (path) {
            rescued.push_back({*path, pages});
        } else if (pages > 0) {
            file->stay(); // there will be another time
            continue;
        }
        forgetUnfinished(workPath);
    }
    return rescued;
}

std::optional<std::string> publishSomewhere(DocumentFile& file, const std::string& folder,
                                            const std::vector<std::string>& otherFolders,
                                            NumberedName& name) {
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    if (file.publish(folder, name)) {
        return appendingPathComponent(folder, name.text());
    }
    const int firstError = errno;
    for (const std::string& other : otherFolders) {
        NumberedName otherName = name;
        if (other != folder && file.publish(other, otherName)) {
            return appendingPathComponent(other, otherName.text());
        }
    }
    errno = firstError;
    return std::nullopt;
}

} // namespace trigora::companions
