#include "companions/PScanAssistant/scanning/DocumentSequence.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace trigora::companions {

DocumentSequence::DocumentSequence(const ScanSettings& settings, const ScanPlace& place)
    : settings_(settings),
      place_(place), name_{settings.prefix, settings.startNumber, extensionOf(settings.fileFormat)} {}

bool DocumentSequence::begin(double bytesNeeded) {
    errno = 0;
    const bool severalPages = isMultiPage(settings_.fileFormat);
    std::optional<DocumentFile> made = DocumentFile::create(place_.folder, place_.workFolder, severalPages);
    if (!made || !made->hasRoomFor(place_.folder, bytesNeeded)) {
        return fail();
    }
    file_.emplace(std::move(*made));
    if (severalPages) {
        unfinishedPath_ = file_->workPath();
        noteUnfinished(*file_, settings_.fileFormat, place_.folder, name_);
    }
    writer_ = makeDocumentWriter(settings_, *file_);
    if (!writer_) {
        fail();
        drop();
    }
    return writer_ != nullptr;
}

bool DocumentSequence::add(const PageImage& page) {
    if (writer_ && pagesInDocument_ > 0 && !writer_->hasRoomFor(page) && !complete()) {
        return false;
    }
    if (!writer_ && !begin(0)) {
        return false;
    }
    errno = 0;
    if (!writer_->addPage(page)) {
        return fail();
    }
    ++pagesInDocument_;
    return isMultiPage(settings_.fileFormat) || complete();
}

bool DocumentSequence::complete() {
    if (pagesInDocument_ == 0) {
        drop();
        return true;
    }
    errno = 0;
    const std::optional<std::string> path =
        writer_->finish(name_.title()) ? publishSomewhere(*file_, place_.folder, place_.otherFolders, name_)
                                       : std::nullopt;
    if (path) {
        paths_.push_back(*path);
        pageCount_ += pagesInDocument_;
        ++name_.number;
    } else {
        fail();
        if (!file_->workPath().empty()) {
            failure_.reason += "; what was scanned is in " + file_->workPath() + " until it can be";
            file_->stay();
            unfinishedPath_.clear();
        }
    }
    drop();
    return path.has_value();
}

/// Always false. Not all writers come from this system, but all leave the reason in errno.
bool DocumentSequence::fail() {
    if (!failure_) {
        const int error = errno;
        failure_ = {error == ENOSPC || error == EDQUOT ? ScanFailure::Kind::fullDisk
                                                       : ScanFailure::Kind::folder,
                    "the document could not be written into " + place_.folder};
        if (error != 0) {
            failure_.reason += ": " + std::system_category().message(error);
        }
    }
    return false;
}

void DocumentSequence::drop() {
    writer_.reset();
    file_.reset();
    forgetUnfinished(std::exchange(unfinishedPath_, {}));
    pagesInDocument_ = 0;
}

} // namespace trigora::companions
