#include "companions/PScanAssistant/scanning/ScanJob.h"

#include "companions/PScanAssistant/documents/DocumentWriter.h"
#include "companions/PScanAssistant/scanners/ScannerSetup.h"
#include "companions/PScanAssistant/scanning/PageReader.h"

#include <cerrno>
#include <system_error>

namespace trigora::companions {

namespace {

/// What a page of the settings takes at the very least: a quarter of it where it is not compressed, as papers
/// are often smaller than the settings say, else a hundredth.
double leastBytes(const ScanSettings& settings, double resolution) {
    constexpr double millimetresPerInch = 25.4;
    const double dotsPerMillimetre = resolution / millimetresPerInch;
    const double pixels =
        settings.paper.width * settings.paper.height * dotsPerMillimetre * dotsPerMillimetre;
    const bool isBlackAndWhite = settings.imageType == ImageType::blackAndWhite;
    const double bytesPerPixel = isBlackAndWhite ? 1.0 / 8 : settings.imageType == ImageType::colour ? 3 : 1;
    const bool isCompressed =
        settings.fileFormat == FileFormat::jpeg || settings.fileFormat == FileFormat::pdf ||
        (settings.fileFormat != FileFormat::bmp && settings.tiffGroup4 && isBlackAndWhite);
    return pixels * bytesPerPixel / (isCompressed ? 100 : 4);
}

/// Puts pages into files, one after another or all into one.
class DocumentSequence {
public:
    DocumentSequence(const ScanSettings& settings, const std::string& folder)
        : settings_(settings),
          folder_(folder), name_{settings.prefix, settings.startNumber, extensionOf(settings.fileFormat)} {}

    /// Makes the next document's file. Done before paper is fed, so that a folder that cannot take the file
    /// costs nobody a stack.
    bool begin(double bytesNeeded) {
        errno = 0;
        std::optional<DocumentFile> made = DocumentFile::create(folder_);
        if (!made || !made->hasRoomFor(bytesNeeded)) {
            return fail();
        }
        file_.emplace(std::move(*made));
        writer_ = makeDocumentWriter(settings_, *file_);
        return writer_ != nullptr || fail();
    }

    bool add(const PageImage& page) {
        if (!writer_ && !begin(0)) {
            return false;
        }
        errno = 0;
        if (!writer_->addPage(page)) {
            fail();
            discard();
            return false;
        }
        hasPages_ = true;
        return isMultiPage(settings_.fileFormat) || complete();
    }

    /// Completes the document under way, if it has a page.
    bool complete() {
        if (!hasPages_) {
            return true;
        }
        errno = 0;
        const bool published = (writer_->finish() && file_->publish(name_)) || fail();
        discard();
        if (published) {
            names_.push_back(name_.text());
            ++name_.number;
        }
        return published;
    }

    const std::vector<std::string>& names() const { return names_; }
    /// Why the last of the functions above that failed did.
    const std::string& failure() const { return failure_; }

private:
    /// Always false. Not all writers come from this system, but all leave the reason in errno.
    bool fail() {
        failure_ = "the document could not be written into " + folder_;
        if (errno != 0) {
            failure_ += ": " + std::system_category().message(errno);
        }
        return false;
    }

    void discard() {
        writer_.reset();
        file_.reset();
        hasPages_ = false;
    }

    const ScanSettings& settings_;
    const std::string& folder_;
    NumberedName name_;
    std::vector<std::string> names_;
    std::string failure_;
    std::optional<DocumentFile> file_; // outlives its writer
    std::unique_ptr<DocumentWriter> writer_;
    bool hasPages_ = false;
};

std::string withComplaint(const std::string& failure, const Scanner& scanner) {
    const std::string complaint = scanner.complaint();
    return complaint.empty() ? failure : failure + ": " + complaint;
}

std::string failureOf(ScannerStatus status, ScanWish wish, const Scanner& scanner) {
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
        return withComplaint("the scanner reports a failure", scanner);
    }
}

} // namespace

ScanOutcome scanDocument(Scanner& scanner, const ScanSettings& settings, const std::string& folder,
                         const ScanProgress& progress) {
    const std::optional<ScannerSetup> setup = setUp(scanner, settings);
    if (!setup) {
        return {{}, withComplaint("the scanner refuses the settings", scanner)};
    }
    DocumentSequence documents(settings, folder);
    if (!documents.begin(leastBytes(settings, setup->resolution))) {
        return {{}, documents.failure()};
    }
    std::string failure;
    for (bool isFirst = true; isFirst || setup->takesPages; isFirst = false) {
        const auto result = readPage(scanner, settings.imageType, setup->resolution, progress);
        if (const auto* status = std::get_if<ScannerStatus>(&result)) {
            if (isFirst || *status != ScannerStatus::noDocuments) {
                failure = failureOf(*status, progress(false), scanner);
            }
            break;
        }
        if (!documents.add(std::get<PageImage>(result))) {
            failure = documents.failure();
            break;
        }
    }
    if (progress(false) != ScanWish::discard && !documents.complete() && failure.empty()) {
        failure = documents.failure();
    }
    return {documents.names(), failure};
}

} // namespace trigora::companions
