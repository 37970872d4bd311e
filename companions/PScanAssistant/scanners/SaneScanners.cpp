#include "companions/PScanAssistant/scanners/SaneScanners.h"

#include <sane/sane.h>

#include <algorithm>
#include <cmath>

namespace trigora::companions {

namespace {

std::string textOf(const char* text) { return text != nullptr ? text : ""; }

double numberOf(const SANE_Option_Descriptor& descriptor, SANE_Word word) {
    return descriptor.type == SANE_TYPE_FIXED ? SANE_UNFIX(word) : static_cast<double>(word);
}

SANE_Word wordOf(const SANE_Option_Descriptor& descriptor, double number) {
    if (descriptor.type == SANE_TYPE_FIXED) {
        constexpr double largestFixed = 32767.0;
        return static_cast<SANE_Word>(
            std::lround(std::clamp(number, -largestFixed, largestFixed) * (1 << SANE_FIXED_SCALE_SHIFT)));
    }
    constexpr double largestWord = 2147483647.0;
    return static_cast<SANE_Word>(std::lround(std::clamp(number, -largestWord, largestWord)));
}

// What a back-end says about itself can be wrong; more than this is not believed.
constexpr SANE_Int mostOptions = 1000;
constexpr SANE_Int longestList = 10'000;
constexpr SANE_Int longestText = 64 << 10;

/// Whether it holds one value of a kind that can be set (no button, no group, no table of words).
bool isSingleValue(const SANE_Option_Descriptor& descriptor) {
    switch (descriptor.type) {
    case SANE_TYPE_BOOL:
    case SANE_TYPE_INT:
    case SANE_TYPE_FIXED:
        return descriptor.size == static_cast<SANE_Int>(sizeof(SANE_Word));
    case SANE_TYPE_STRING:
        return descriptor.size > 0 && descriptor.size <= longestText;
    default:
        return false;
    }
}

void readConstraint(const SANE_Option_Descriptor& descriptor, ScannerOption& option) {
    if (descriptor.constraint.range == nullptr) { // as all members of the union
        return;
    }
    switch (descriptor.constraint_type) {
    case SANE_CONSTRAINT_RANGE:
        option.least = numberOf(descriptor, descriptor.constraint.range->min);
        option.most = numberOf(descriptor, descriptor.constraint.range->max);
        break;
    case SANE_CONSTRAINT_WORD_LIST:
        for (SANE_Int i = 1; i <= std::min(descriptor.constraint.word_list[0], longestList); ++i) {
            option.numbers.push_back(numberOf(descriptor, descriptor.constraint.word_list[i]));
        }
        break;
    case SANE_CONSTRAINT_STRING_LIST:
        for (const SANE_String_Const* text = descriptor.constraint.string_list; *text != nullptr; ++text) {
            option.texts.emplace_back(*text);
        }
        break;
    case SANE_CONSTRAINT_NONE:
        break;
    }
}

ScannerOption describe(const SANE_Option_Descriptor& descriptor) {
    ScannerOption option;
    option.name = textOf(descriptor.name);
    option.settable = SANE_OPTION_IS_ACTIVE(descriptor.cap) && SANE_OPTION_IS_SETTABLE(descriptor.cap);
    option.isText = descriptor.type == SANE_TYPE_STRING;
    option.isBoolean = descriptor.type == SANE_TYPE_BOOL;
    if (descriptor.unit == SANE_UNIT_PIXEL) {
        option.unit = ScannerOption::Unit::pixels;
    } else if (descriptor.unit == SANE_UNIT_MM) {
        option.unit = ScannerOption::Unit::millimetres;
    }
    readConstraint(descriptor, option);
    return option;
}

FrameParameters::Content contentOf(SANE_Frame format) {
    switch (format) {
    case SANE_FRAME_RGB:
        return FrameParameters::Content::colour;
    case SANE_FRAME_RED:
        return FrameParameters::Content::red;
    case SANE_FRAME_GREEN:
        return FrameParameters::Content::green;
    case SANE_FRAME_BLUE:
        return FrameParameters::Content::blue;
    default:
        return FrameParameters::Content::grey;
    }
}

ScannerStatus statusOf(SANE_Status status) {
    switch (status) {
    case SANE_STATUS_GOOD:
        return ScannerStatus::good;
    case SANE_STATUS_EOF:
        return ScannerStatus::endOfFrame;
    case SANE_STATUS_NO_DOCS:
        return ScannerStatus::noDocuments;
    case SANE_STATUS_CANCELLED:
        return ScannerStatus::cancelled;
    case SANE_STATUS_DEVICE_BUSY:
        return ScannerStatus::busy;
    case SANE_STATUS_JAMMED:
        return ScannerStatus::jammed;
    case SANE_STATUS_COVER_OPEN:
        return ScannerStatus::coverOpen;
    case SANE_STATUS_IO_ERROR:
        return ScannerStatus::lost;
    default:
        return ScannerStatus::failed;
    }
}

class SaneScanner final : public Scanner {
public:
    explicit SaneScanner(SANE_Handle handle) : handle_(handle) {}
    SaneScanner(const SaneScanner&) = delete;
    SaneScanner& operator=(const SaneScanner&) = delete;
    ~SaneScanner() override {
        // Not every backend minds that a scan is still under way when it is closed.
        sane_cancel(handle_);
        sane_close(handle_);
    }

    std::vector<ScannerOption> options() override {
        std::vector<ScannerOption> all;
        forEachOption([&](SANE_Int /*index*/, const SANE_Option_Descriptor& descriptor) {
            all.push_back(describe(descriptor));
            return false;
        });
        return all;
    }

    bool set(const std::string& option, const ScannerValue& value) override {
        return forEachOption([&](SANE_Int index, const SANE_Option_Descriptor& descriptor) {
            return option == textOf(descriptor.name) && setOption(index, descriptor, value);
        });
    }

    std::optional<ScannerValue> value(const std::string& option) override {
        std::optional<ScannerValue> found;
        forEachOption([&](SANE_Int index, const SANE_Option_Descriptor& descriptor) {
            if (option == textOf(descriptor.name) && SANE_OPTION_IS_ACTIVE(descriptor.cap)) {
                found = valueOf(index, descriptor);
            }
            return found.has_value();
        });
        return found;
    }

    ScannerStatus start() override { return statusOf(noted(sane_start(handle_))); }

    std::optional<FrameParameters> parameters() override {
        SANE_Parameters parameters{};
        if (noted(sane_get_parameters(handle_, &parameters)) != SANE_STATUS_GOOD ||
            parameters.bytes_per_line <= 0 || parameters.pixels_per_line <= 0) {
            return std::nullopt;
        }
        FrameParameters frame;
        frame.content = contentOf(parameters.format);
        frame.isLast = parameters.last_frame != SANE_FALSE;
        frame.pixelsPerLine = static_cast<std::size_t>(parameters.pixels_per_line);
        frame.bytesPerLine = static_cast<std::size_t>(parameters.bytes_per_line);
        if (parameters.lines >= 0) {
            frame.lines = static_cast<std::size_t>(parameters.lines);
        }
        frame.depth = parameters.depth;
        return frame;
    }

    ScannerStatus read(std::span<std::uint8_t> buffer, std::size_t& length) override {
        SANE_Int received = 0;
        const SANE_Status status =
            sane_read(handle_, buffer.data(), static_cast<SANE_Int>(buffer.size()), &received);
        length = received > 0 ? static_cast<std::size_t>(received) : 0;
        return statusOf(noted(status));
    }

    std::string complaint() const override { return complaint_; }

    void cancel() override { sane_cancel(handle_); }

private:
    SANE_Status noted(SANE_Status status) {
        const bool isAllWell = status == SANE_STATUS_GOOD || status == SANE_STATUS_EOF;
        complaint_ = isAllWell ? "" : textOf(sane_strstatus(status));
        return status;
    }

    /// Calls the visitor with each option of a single value until it answers true; whether it did.
    template <typename Visitor> bool forEachOption(const Visitor& visit) {
        // Option 0 holds the number of options, itself included.
        SANE_Int count = 0;
        if (sane_control_option(handle_, 0, SANE_ACTION_GET_VALUE, &count, nullptr) != SANE_STATUS_GOOD) {
            return false;
        }
        for (SANE_Int index = 1; index < std::min(count, mostOptions); ++index) {
            const SANE_Option_Descriptor* descriptor = sane_get_option_descriptor(handle_, index);
            if (descriptor != nullptr && isSingleValue(*descriptor) && visit(index, *descriptor)) {
                return true;
            }
        }
        return false;
    }

    bool setOption(SANE_Int index, const SANE_Option_Descriptor& descriptor, const ScannerValue& value) {
        if (descriptor.type == SANE_TYPE_STRING) {
            const auto* text = std::get_if<std::string>(&value);
            const auto size = static_cast<std::size_t>(descriptor.size);
            if (text == nullptr || text->size() >= size) {
                return false;
            }
            std::vector<char> buffer(size, '\0');
            std::ranges::copy(*text, buffer.begin());
            return control(index, buffer.data());
        }
        SANE_Word word = 0;
        if (const auto* boolean = std::get_if<bool>(&value)) {
            word = *boolean ? SANE_TRUE : SANE_FALSE;
        } else if (const auto* number = std::get_if<double>(&value)) {
            word = wordOf(descriptor, *number);
        } else {
            return false;
        }
        return control(index, &word);
    }

    bool control(SANE_Int index, void* value) {
        SANE_Int information = 0;
        return noted(sane_control_option(handle_, index, SANE_ACTION_SET_VALUE, value, &information)) ==
               SANE_STATUS_GOOD;
    }

    std::optional<ScannerValue> valueOf(SANE_Int index, const SANE_Option_Descriptor& descriptor) {
        std::vector<char> text(static_cast<std::size_t>(descriptor.size) + 1, '\0');
        SANE_Word word = 0;
        void* value = descriptor.type == SANE_TYPE_STRING ? static_cast<void*>(text.data()) : &word;
        if (sane_control_option(handle_, index, SANE_ACTION_GET_VALUE, value, nullptr) != SANE_STATUS_GOOD) {
            return std::nullopt;
        }
        if (descriptor.type == SANE_TYPE_STRING) {
            return std::string(text.data());
        }
        if (descriptor.type == SANE_TYPE_BOOL) {
            return word != SANE_FALSE;
        }
        return numberOf(descriptor, word);
    }

    SANE_Handle handle_;
    std::string complaint_;
};

} // namespace

SaneScanners::~SaneScanners() {
    if (initialized_) {
        sane_exit();
    }
}

std::vector<AttachedScanner> SaneScanners::list() {
    const SANE_Device** devices = nullptr;
    if (!isReady() || sane_get_devices(&devices, SANE_FALSE) != SANE_STATUS_GOOD || devices == nullptr) {
        return {};
    }
    std::vector<AttachedScanner> scanners;
    for (; *devices != nullptr; ++devices) {
        scanners.push_back({textOf((*devices)->name), textOf((*devices)->vendor), textOf((*devices)->model)});
    }
    return scanners;
}

std::unique_ptr<Scanner> SaneScanners::open(const std::string& device, ScannerRefusal& refusal) {
    if (!isReady()) {
        refusal = {ScannerStatus::failed, "SANE cannot be started"};
        return nullptr;
    }
    SANE_Handle handle = nullptr;
    const SANE_Status status = sane_open(device.c_str(), &handle);
    if (status != SANE_STATUS_GOOD) {
        refusal = {statusOf(status), textOf(sane_strstatus(status))};
        return nullptr;
    }
    return std::make_unique<SaneScanner>(handle);
}

bool SaneScanners::isReady() {
    if (!initialized_) {
        initialized_ = sane_init(nullptr, nullptr) == SANE_STATUS_GOOD;
    }
    return initialized_;
}

} // namespace trigora::companions
