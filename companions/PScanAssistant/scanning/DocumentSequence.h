#pragma once

#include "companions/PScanAssistant/documents/UnfinishedDocuments.h"
#include "companions/PScanAssistant/scanners/ScanFailure.h"
#include "companions/PScanAssistant/settings/ScanSettings.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace trigora::companions {

/// Where a scan's documents go; all folders are on the disk.
struct ScanPlace {
    std::string folder;                    ///< exists when the scan begins
    std::string workFolder;                ///< for what is not whole yet; nobody watches it
    std::vector<std::string> otherFolders; ///< take the documents when the folder does not any more
};

/// Puts pages into files, one after another or all into one. One thread at a time.
class DocumentSequence {
public:
    /// All of these outlive it.
    DocumentSequence(const ScanSettings& settings, const ScanPlace& place);

    /// Makes the next document's file. Done before paper is fed, so that a folder that cannot take the file
    /// costs nobody a stack.
    bool begin(double bytesNeeded);
    bool add(const PageImage& page);
    /// Completes the document under way, if it has a page; also after a page that could not be added.
    bool complete();

    /// Of the documents that are complete.
    const std::vector<std::string>& paths() const { return paths_; }
    std::size_t pageCount() const { return pageCount_; }
    /// Why the first of the functions above that failed did.
    const ScanFailure& failure() const { return failure_; }

private:
    bool fail();
    void drop();

    const ScanSettings& settings_;
    const ScanPlace& place_;
    NumberedName name_;
    std::vector<std::string> paths_;
    std::size_t pageCount_ = 0;
    ScanFailure failure_;
    std::optional<DocumentFile> file_; // outlives its writer
    std::unique_ptr<DocumentWriter> writer_;
    std::size_t pagesInDocument_ = 0;
    std::string unfinishedPath_; ///< of the document under way, when a note is kept about it
};

} // namespace trigora::companions
