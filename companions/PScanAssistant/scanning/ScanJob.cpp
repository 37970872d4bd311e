#include "companions/PScanAssistant/scanning/ScanJob.h"

#include "companions/PScanAssistant/documents/PageFilters.h"
#include "companions/PScanAssistant/scanners/ScannerSetup.h"
#include "companions/PScanAssistant/scanning/PageReader.h"
#include "companions/PScanAssistant/scanning/PageWriter.h"
#include "platform/Clock.h"
#include "platform/Platform.h"

#include <new>
#include <utility>

namespace trigora::companions {

namespace {

using Kind = ScanFailure::Kind;

// A scanner that never says that its feeder is empty would fill the disk.
constexpr std::size_t mostPages = 9999;

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

std::string withComplaint(const std::string& failure, const Scanner& scanner) {
    const std::string complaint = scanner.complaint();
    return complaint.empty() ? failure : failure + ": " + complaint;
}

ScanFailure failureOf(const PageReading& reading, ScanWish wish, const Scanner& scanner) {
    if (wish == ScanWish::stop) {
        return {Kind::noAnswer, "the scanner does not answer"};
    }
    if (wish == ScanWish::cancel) {
        return {Kind::cancelled, "the scan was cancelled"};
    }
    const std::string reported = withComplaint("the scanner reports a failure", scanner);
    switch (reading.status) {
    case ScannerStatus::noDocuments:
        return {Kind::emptyFeeder, "there is no document in the feeder"};
    case ScannerStatus::cancelled:
        return {Kind::atScanner, "the scan was cancelled at the scanner"};
    case ScannerStatus::busy:
        return {Kind::busy, withComplaint("the scanner is in use", scanner)};
    case ScannerStatus::jammed:
        return {Kind::jammed, reported};
    case ScannerStatus::coverOpen:
        return {Kind::coverOpen, reported};
    case ScannerStatus::lost:
        return {Kind::lost, reported};
    default:
        return {Kind::broken, reading.page ? "the scanner does not end its page" : reported};
    }
}

/// One scan: reads the pages and hands them over to be written.
class ScanJob {
public:
    ScanJob(Scanner& scanner, const ScanSettings& settings, const ScanPlace& place, ScanWatch& watch)
        : scanner_(scanner), settings_(settings), watch_(watch), documents_(settings, place) {}

    ScanOutcome run() {
        const std::optional<ScannerSetup> setup = setUp(scanner_, settings_);
        if (!setup) {
            return {.paths = {},
                    .pageCount = 0,
                    .failure = {Kind::refusedSettings,
                                withComplaint("the scanner refuses the settings", scanner_)},
                    .notes = {}};
        }
        ScanFailure failure;
        if (documents_.begin(leastBytes(settings_, setup->resolution))) {
            failure = takePages(*setup);
            documents_.complete();
        }
        return {documents_.paths(), documents_.pageCount(),
                documents_.failure() ? documents_.failure() : failure, std::move(notes_)};
    }

private:
    ScanFailure takePages(ScannerSetup setup) {
        PageWriter writer([this](PageImage page) {
            const bool isAdded = documents_.add(finished(std::move(page)));
            watch_.progress(true);
            return isAdded;
        });
        try {
            filters_ = setup;
            ScanFailure failure = readPages(setup, writer);
            notes_ = settings_.notes;
            notes_.insert(notes_.end(), setup.notes.begin(), setup.notes.end());
            return writer.finish() || failure ? failure
                                              : ScanFailure{Kind::noMemory, "there is not enough memory"};
        } catch (const std::bad_alloc&) {
            return {Kind::noMemory, "there is not enough memory"};
        }
    }

    ScanFailure readPages(ScannerSetup& setup, PageWriter& writer) {
        for (std::size_t count = 0; count == 0 || setup.takesPages;) {
            PageReading reading = readWhenReady(setup);
            const bool hasPage = reading.page.has_value();
            if (!hasPage && count == 0 && reading.status == ScannerStatus::noDocuments && setup.mayTryTable) {
                if (!useTable(setup)) {
                    return {Kind::refusedSettings,
                            withComplaint("the scanner refuses the settings", scanner_)};
                }
                continue;
            }
            if (hasPage) {
                ++count;
                watch_.pagesRead(count);
                if (!writer.put(std::move(*reading.page))) {
                    return {};
                }
            }
            if (reading.status == ScannerStatus::noDocuments && count > 0) {
                return {};
            }
            if (reading.status != ScannerStatus::good) {
                return failureOf(reading, watch_.progress(false), scanner_);
            }
            if (count == mostPages) {
                return {Kind::broken, "the feeder never becomes empty"};
            }
        }
        return {};
    }

    /// As the settings have it.
    PageImage finished(PageImage page) const {
        page = filters_.descreen ? descreened(std::move(page)) : std::move(page);
        page = filters_.enhance ? enhanced(std::move(page)) : std::move(page);
        page = filters_.sharpen ? sharpened(std::move(page)) : std::move(page);
        return turned(convertedTo(settings_.imageType, std::move(page)), filters_.quarterTurns);
    }

    bool useTable(ScannerSetup& setup) {
        scanner_.cancel();
        ScanSettings settings = settings_;
        settings.documentSource = DocumentSource::table;
        std::optional<ScannerSetup> table = setUp(scanner_, settings);
        if (table) {
            setup = std::move(*table);
            filters_ = setup; // nothing has been read yet
        }
        return table.has_value();
    }

    /// A scanner that is in use or still warming up is tried again for some seconds.
    PageReading readWhenReady(const ScannerSetup& setup) {
        platform::Clock& clock = platform::current().clock;
        const double end = clock.monotonicSeconds() + secondsOfPatience;
        for (;;) {
            PageReading reading = readPage(scanner_, setup.resolution, setup.mostLines,
                                           [this](bool hasMoved) { return watch_.progress(hasMoved); });
            if (reading.status != ScannerStatus::busy || clock.monotonicSeconds() >= end ||
                watch_.progress(true) != ScanWish::goOn) {
                return reading;
            }
            watch_.scannerIsBusy();
            clock.sleepMicroseconds(microsecondsBetweenTries);
        }
    }

    Scanner& scanner_;
    const ScanSettings& settings_;
    ScanWatch& watch_;
    DocumentSequence documents_;
    ScannerSetup filters_;
    std::vector<ScanNote> notes_;
};

} // namespace

ScanOutcome scanDocument(Scanner& scanner, const ScanSettings& settings, const ScanPlace& place,
                         ScanWatch& watch) {
    return ScanJob(scanner, settings, place, watch).run();
}

} // namespace trigora::companions
