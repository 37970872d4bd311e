#include "companions/PScanAssistant/ScanJob.h"

#include "companions/PScanAssistant/DocumentWriter.h"
#include "companions/PScanAssistant/PageReader.h"
#include "companions/PScanAssistant/ScannerSetup.h"

namespace trigora::companions {

namespace {

/// Puts pages into files, one after another or all into one.
class DocumentSequence {
public:
    DocumentSequence(const ScanSettings& settings, const std::string& folder)
        : settings_(settings),
          folder_(folder), name_{settings.prefix, settings.startNumber, extensionOf(settings.fileFormat)} {}

    bool add(const PageImage& page) {
        if (!writer_ && !begin()) {
            return false;
        }
        if (!writer_->addPage(page)) {
            discard();
            return false;
        }
        return isMultiPage(settings_.fileFormat) || complete();
    }

    /// Completes the document under way, if there is one.
    bool complete() {
        if (!writer_) {
            return true;
        }
        const bool published = writer_->finish() && file_->publish(name_);
        discard();
        if (published) {
            names_.push_back(name_.text());
            ++name_.number;
        }
        return published;
    }

    const std::vector<std::string>& names() const { return names_; }

private:
    bool begin() {
        if (std::optional<DocumentFile> made = DocumentFile::create(folder_)) {
            file_.emplace(std::move(*made));
            writer_ = makeDocumentWriter(settings_, *file_);
        }
        return writer_ != nullptr;
    }

    void discard() {
        writer_.reset();
        file_.reset();
    }

    const ScanSettings& settings_;
    const std::string& folder_;
    NumberedName name_;
    std::vector<std::string> names_;
    std::optional<DocumentFile> file_; // outlives its writer
    std::unique_ptr<DocumentWriter> writer_;
};

std::string failureOf(ScannerStatus status, ScanWish wish) {
    if (wish == ScanWish::stop) {
        return "the scanner does not answer";
    }
    if (wish == ScanWish::discard) {
        return "the scan was cancelled";
    }
    switch (status) {
    case ScannerStatus::noDocuments:
        return "there is no document in the feeder";
    case ScannerStatus::cancelled:
        return "the scan was cancelled at the scanner";
    default:
        return "the scanner reports a failure";
    }
}

} // namespace

ScanOutcome scanDocument(Scanner& scanner, const ScanSettings& settings, const std::string& folder,
                         const ScanProgress& progress) {
    const std::optional<ScannerSetup> setup = setUp(scanner, settings);
    if (!setup) {
        return {{}, "the scanner refuses the settings"};
    }
    DocumentSequence documents(settings, folder);
    std::string failure;
    for (bool isFirst = true; isFirst || setup->takesPages; isFirst = false) {
        const auto result = readPage(scanner, settings.imageType, setup->resolution, progress);
        if (const auto* status = std::get_if<ScannerStatus>(&result)) {
            if (isFirst || *status != ScannerStatus::noDocuments) {
                failure = failureOf(*status, progress(false));
            }
            break;
        }
        if (!documents.add(std::get<PageImage>(result))) {
            failure = "the document could not be written";
            break;
        }
    }
    if (progress(false) != ScanWish::discard && !documents.complete() && failure.empty()) {
        failure = "the document could not be written";
    }
    return {documents.names(), failure};
}

} // namespace trigora::companions
