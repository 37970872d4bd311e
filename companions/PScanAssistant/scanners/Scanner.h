#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace trigora::companions {

using ScannerValue = std::variant<bool, double, std::string>;

/// One thing that can be set on a scanner.
struct ScannerOption {
    enum class Unit { none, pixels, millimetres };

    std::string name;
    bool settable = false; ///< by a program, in the scanner's present state
    bool isText = false;
    bool isBoolean = false;
    Unit unit = Unit::none;
    std::vector<std::string> texts; ///< what a text option can be; empty when anything
    std::vector<double> numbers;    ///< what a number can be; empty when a range or anything
    std::optional<double> least;    ///< ends of the range of a number, where it has one
    std::optional<double> most;
};

enum class ScannerStatus {
    good,
    endOfFrame,
    noDocuments, ///< the feeder is empty
    cancelled,
    busy,      ///< somebody else uses it, or it is not ready yet
    jammed,    ///< in the feeder
    coverOpen, ///< or the feeder's flap
    lost,      ///< it cannot be reached (any more)
    failed,
};

/// What the scanner is about to send: `lines` rows of `bytesPerLine` bytes, samples of `depth` bits.
struct FrameParameters {
    enum class Content { grey, colour, red, green, blue };

    Content content = Content::grey;
    bool isLast = true; ///< no further frame belongs to this page
    std::size_t pixelsPerLine = 0;
    std::size_t bytesPerLine = 0;
    std::optional<std::size_t> lines; ///< none when the scanner does not know
    int depth = 8;
};

/// An open scanner. One thread uses it; only `cancel` may come from another one. A page is: `start`,
/// `parameters`, `read` until the end of the frame, the same again for each further frame of the page.
/// Destroying it ends the scan.
class Scanner {
public:
    virtual ~Scanner() = default;

    virtual std::vector<ScannerOption> options() = 0;
    /// False when the scanner refuses. Setting one option may change the others.
    virtual bool set(const std::string& option, const ScannerValue& value) = 0;
    virtual std::optional<ScannerValue> value(const std::string& option) = 0;
    virtual ScannerStatus start() = 0;
    virtual std::optional<FrameParameters> parameters() = 0;
    /// Waits for data; `length` tells how much came.
    virtual ScannerStatus read(std::span<std::uint8_t> buffer, std::size_t& length) = 0;
    /// What the scanner says about its last refusal or failure, in words; empty when nothing.
    virtual std::string complaint() const = 0;
    /// Ends the scan; a `read` under way on another thread returns soon.
    virtual void cancel() = 0;
};

struct AttachedScanner {
    std::string device; ///< what to open it by
    std::string vendor;
    std::string model;
};

/// Why a scanner could not be opened.
struct ScannerRefusal {
    ScannerStatus status = ScannerStatus::failed;
    std::string reason; ///< in words
};

/// The scanners of this computer and its network. All calls come from one thread.
class Scanners {
public:
    virtual ~Scanners() = default;

    /// Looks for them, which can take seconds.
    virtual std::vector<AttachedScanner> list() = 0;
    /// Null when there is no such scanner or it is in use, with the reason.
    virtual std::unique_ptr<Scanner> open(const std::string& device, ScannerRefusal& refusal) = 0;
};

} // namespace trigora::companions
