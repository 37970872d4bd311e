#include "companions/PScanAssistant/documents/DocumentWriter.h"
#include "companions/PScanAssistant/documents/Group4Encoder.h"
#include "companions/PScanAssistant/documents/JpegEncoder.h"

#include "platform/Clock.h"
#include "platform/Formats.h"
#include "platform/Platform.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string_view>
#include <vector>

namespace trigora::companions {

namespace {

constexpr double pointsPerInch = 72.0;
// What a page of the format can measure, in points.
constexpr double shortestSide = 3.0;
constexpr double longestSide = 14400.0;

// What stands in the file: a head; for each page its picture, what is drawn and the page itself; at the end
// three objects that know all pages, the table of all objects and where that begins. Only the end needs to
// know more than its own place, so that every page can go to the disk as soon as it is there.
constexpr std::string_view head = "%PDF-1.5\n%\xE2\xE3\xCF\xD3\n";
constexpr int pagesObject = 1;
constexpr int catalogueObject = 2;
constexpr int informationObject = 3;
constexpr int firstPageObject = 4;
constexpr std::size_t objectsPerPage = 3;
constexpr std::string_view endOfStream = "\nendstream\nendobj\n";
constexpr std::string_view endOfObject = "endobj\n";
// Room for the end, which grows by less than a hundred bytes with each page.
constexpr std::uint64_t roomForEnd = 256 << 10;

__attribute__((format(printf, 1, 2))) std::string formatted(const char* format, ...) {
    std::array<char, 512> text{};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    return text.data();
}

double points(std::size_t pixels, double resolution) {
    return std::clamp(static_cast<double>(pixels) / resolution * pointsPerInch, shortestSide, longestSide);
}

/// A text string in UTF-16, which every reader understands.
std::string textString(const std::string& text) {
    const std::optional<Data> bytes =
        platform::current().textEncodings.encode(text, platform::Encoding::unicode);
    if (!bytes) {
        return "()";
    }
    std::string result = "<";
    for (std::size_t i = 0; i + 1 < bytes->size(); i += 2) { // the byte-order mark, too, is turned round
        result += formatted("%02X%02X", unsigned{(*bytes)[i + 1]}, unsigned{(*bytes)[i]});
    }
    return result + '>';
}

/// Now, with the time zone: "D:20261122010203+01'00'".
std::string creationDate() {
    const std::time_t now = platform::current().clock.wallTime().seconds;
    std::tm local{};
    ::localtime_r(&now, &local);
    const long minutes = std::labs(local.tm_gmtoff) / 60;
    return formatted("D:%04d%02d%02d%02d%02d%02d%c%02ld'%02ld'", local.tm_year + 1900, local.tm_mon + 1,
                     local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                     local.tm_gmtoff < 0 ? '-' : '+', minutes / 60, minutes % 60);
}

/// Where the objects of the pages begin in the file.
class PdfFile {
public:
    explicit PdfFile(const DocumentFile& file) : file_(file) {}

    bool begin() { return append(head); }

    /// The next object; `text` follows its number.
    bool appendObject(std::string_view text) {
        offsets_.push_back(length_);
        return append(formatted("%d 0 obj\n", firstPageObject + static_cast<int>(offsets_.size()) - 1)) &&
               append(text);
    }
    bool append(std::string_view text) {
        length_ += text.size();
        return file_.write(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    }

    /// Forgets a page that has not been written as a whole.
    bool cutToWholePages(std::uint64_t length) {
        offsets_.resize(offsets_.size() / objectsPerPage * objectsPerPage);
        if (length < length_) {
            while (!offsets_.empty() && offsets_.back() >= length) {
                offsets_.resize(offsets_.size() - objectsPerPage);
            }
        }
        length_ = length;
        return file_.cut(length);
    }

    bool end(const std::string& title) {
        std::string kids;
        for (std::size_t page = 0; page < pageCount(); ++page) {
            kids += formatted("%zu 0 R ", nextObject(page) + 2);
        }
        std::array<std::uint64_t, firstPageObject> fixed{};
        const auto put = [&](int number, const std::string& text) {
            fixed.at(static_cast<std::size_t>(number)) = length_;
            return append(formatted("%d 0 obj\n", number)) && append(text) && append(endOfObject);
        };
        if (!put(pagesObject,
                 "<< /Type /Pages /Count " + std::to_string(pageCount()) + " /Kids [ " + kids + "] >>\n") ||
            !put(catalogueObject, formatted("<< /Type /Catalog /Pages %d 0 R >>\n", pagesObject)) ||
            !put(informationObject, "<< /Title " + textString(title) +
                                        " /Producer (Trigora) /CreationDate (" + creationDate() + ") >>\n")) {
            return false;
        }
        const std::uint64_t table = length_;
        std::string end = formatted("xref\n0 %zu\n0000000000 65535 f \n", firstPageObject + offsets_.size());
        const auto row = [&end](std::uint64_t offset) {
            end += formatted("%010llu 00000 n \n", static_cast<unsigned long long>(offset));
        };
        std::for_each(fixed.begin() + 1, fixed.end(), row);
        std::ranges::for_each(offsets_, row);
        end += formatted("trailer\n<< /Size %zu /Root %d 0 R /Info %d 0 R >>\nstartxref\n%llu\n%%%%EOF\n",
                         firstPageObject + offsets_.size(), catalogueObject, informationObject,
                         static_cast<unsigned long long>(table));
        return append(end);
    }

    /// Finds the whole pages of a file that has no end; false when it is no such file.
    bool readPages() {
        if (textAt(0, head.size()) != head) {
            return false;
        }
        length_ = head.size();
        std::vector<std::uint64_t> found;
        for (std::uint64_t at = length_;;) {
            found.push_back(at);
            const std::optional<std::uint64_t> next = endOfObjectAt(at, offsets_.size() + found.size() - 1);
            if (!next) {
                return true;
            }
            at = *next;
            if (found.size() == objectsPerPage) {
                offsets_.insert(offsets_.end(), found.begin(), found.end());
                found.clear();
                length_ = at;
            }
        }
    }

    std::size_t pageCount() const { return offsets_.size() / objectsPerPage; }
    std::uint64_t length() const { return length_; }
    /// The number of the first object of a page.
    static std::size_t nextObject(std::size_t page) { return firstPageObject + page * objectsPerPage; }

private:
    std::string textAt(std::uint64_t offset, std::size_t length) const {
        std::string text(length, '\0');
        const ssize_t count = ::pread(file_.descriptor(), text.data(), length, static_cast<off_t>(offset));
        text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return text;
    }

    /// Where the object at a place ends, when it is there as a whole.
    std::optional<std::uint64_t> endOfObjectAt(std::uint64_t offset, std::size_t index) const {
        constexpr std::size_t longestDictionary = 512;
        const std::string text = textAt(offset, longestDictionary);
        if (!text.starts_with(formatted("%zu 0 obj\n", firstPageObject + index))) {
            return std::nullopt;
        }
        std::size_t end = text.find(endOfObject);
        const std::size_t stream = text.find(">>\nstream\n");
        if (stream == std::string::npos || end < stream) {
            return end == std::string::npos ? std::nullopt : std::optional(offset + end + endOfObject.size());
        }
        const std::size_t key = text.find("/Length ");
        if (key == std::string::npos || key > stream) {
            return std::nullopt;
        }
        const std::uint64_t begin = offset + text.find('\n', stream + 3) + 1;
        const std::uint64_t ending = begin + std::strtoull(text.c_str() + key + 8, nullptr, 10);
        if (ending < begin || textAt(ending, endOfStream.size()) != endOfStream) {
            return std::nullopt;
        }
        return ending + endOfStream.size();
    }

    const DocumentFile& file_;
    std::vector<std::uint64_t> offsets_;
    std::uint64_t length_ = 0;
};

/// Every page is one picture in its true size: colour and grey as JPEG, black and white as Group 4.
class PdfWriter final : public DocumentWriter {
public:
    PdfWriter(int quality, const DocumentFile& file) : quality_(quality), file_(file), pdf_(file) {}

    bool begin() { return pdf_.begin(); }

    bool addPage(const PageImage& page) override {
        const bool isBlackAndWhite = page.type == ImageType::blackAndWhite;
        const std::optional<Data> picture = isBlackAndWhite ? encodeGroup4(page) : encodeJpeg(page, quality_);
        if (!picture) {
            errno = ENOMEM;
            return false;
        }
        const std::uint64_t before = pdf_.length();
        if (file_.reserve(picture->size() + roomForEnd) && write(page, *picture)) {
            return true;
        }
        const int error = errno;
        pdf_.cutToWholePages(before);
        errno = error;
        return false;
    }

    bool finish(const std::string& title) override { return pdf_.end(title); }

private:
    bool write(const PageImage& page, const Data& picture) {
        const std::string encoding =
            page.type == ImageType::blackAndWhite
                ? formatted("/BitsPerComponent 1 /ColorSpace /DeviceGray /Filter /CCITTFaxDecode "
                            "/DecodeParms << /K -1 /Columns %zu /Rows %zu >>",
                            page.width, page.height)
                : formatted("/BitsPerComponent 8 /ColorSpace /%s /Filter /DCTDecode",
                            page.type == ImageType::colour ? "DeviceRGB" : "DeviceGray");
        const std::size_t number = PdfFile::nextObject(pdf_.pageCount());
        const double width = points(page.width, page.resolution);
        const double height = points(page.height, page.resolution);
        const std::string drawing = formatted("q %.2f 0 0 %.2f 0 0 cm /Page Do Q", width, height);
        return pdf_.appendObject(formatted("<< /Type /XObject /Subtype /Image /Width %zu /Height %zu %s "
                                           "/Length %zu >>\nstream\n",
                                           page.width, page.height, encoding.c_str(), picture.size())) &&
               pdf_.append({reinterpret_cast<const char*>(picture.data()), picture.size()}) &&
               pdf_.append(endOfStream) &&
               pdf_.appendObject(formatted("<< /Length %zu >>\nstream\n", drawing.size())) &&
               pdf_.append(drawing) && pdf_.append(endOfStream) &&
               pdf_.appendObject(formatted("<< /Type /Page\n/Parent %d 0 R /MediaBox [ 0 0 %.2f %.2f ] "
                                           "/Contents %zu 0 R\n/Resources << /XObject << /Page %zu 0 R >> >> "
                                           ">>\n",
                                           pagesObject, width, height, number + 1, number)) &&
               pdf_.append(endOfObject);
    }

    int quality_;
    const DocumentFile& file_;
    PdfFile pdf_;
};

} // namespace

std::unique_ptr<DocumentWriter> makePdfWriter(const ScanSettings& settings, const DocumentFile& file) {
    auto writer = std::make_unique<PdfWriter>(settings.jpegQuality, file);
    return writer->begin() ? std::move(writer) : nullptr;
}

std::size_t completePdf(const DocumentFile& file, const std::string& title) {
    PdfFile pdf(file);
    return pdf.readPages() && pdf.pageCount() > 0 && pdf.cutToWholePages(pdf.length()) && pdf.end(title)
               ? pdf.pageCount()
               : 0;
}

} // namespace trigora::companions
