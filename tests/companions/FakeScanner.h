#pragma once

#include "companions/PScanAssistant/scanners/Scanner.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>

namespace trigora::test {

/// A scanner that a test describes. It accepts what its options allow, sends the pages in its feeder and
/// then says that there are no more; or it stalls in the middle of the last page until it is cancelled. What
/// lies on its glass is sent while its source is "Flatbed".
class FakeScanner final : public companions::Scanner {
public:
    using Values = std::map<std::string, companions::ScannerValue>;

    struct Frame {
        companions::FrameParameters parameters;
        std::vector<std::uint8_t> bytes;
        companions::ScannerStatus end = companions::ScannerStatus::endOfFrame;
        bool isEndless = false; ///< its bytes are sent again and again
    };

    std::vector<companions::ScannerOption> options() override { return allOptions; }
    bool set(const std::string& option, const companions::ScannerValue& value) override {
        if (refused == option) {
            return false;
        }
        values[option] = value;
        return true;
    }
    std::optional<companions::ScannerValue> value(const std::string& option) override {
        const auto found = values.find(option);
        return found == values.end() ? std::nullopt : std::optional(found->second);
    }
    companions::ScannerStatus start() override {
        ++startCount;
        if (onStart) {
            onStart();
        }
        if (busyStarts > 0) {
            --busyStarts;
            return companions::ScannerStatus::busy;
        }
        if (!onGlass.empty() && value("source") == companions::ScannerValue("Flatbed")) {
            frames = onGlass;
        }
        if (frames.empty()) {
            return companions::ScannerStatus::noDocuments;
        }
        sent_ = 0;
        const std::lock_guard lock(mutex_);
        isCancelled_ = false;
        return companions::ScannerStatus::good;
    }
    std::optional<companions::FrameParameters> parameters() override { return frames.front().parameters; }
    companions::ScannerStatus read(std::span<std::uint8_t> buffer, std::size_t& length) override {
        if (frames.size() <= 1 && (hangs || sendsNothing)) {
            return stall(length);
        }
        const Frame& frame = frames.front();
        if (frame.isEndless) {
            sent_ = 0;
        }
        const std::size_t rest = frame.bytes.size() - sent_;
        length = std::min({buffer.size(), rest, std::max(std::size_t{7}, rest / 4)});
        std::copy_n(frame.bytes.begin() + static_cast<std::ptrdiff_t>(sent_), length, buffer.begin());
        sent_ += length;
        bytesSent += length;
        if (length > 0) {
            return companions::ScannerStatus::good;
        }
        const companions::ScannerStatus end = frame.end;
        frames.pop_front();
        return end;
    }
    std::string complaint() const override { return {}; }
    void cancel() override {
        std::unique_lock lock(mutex_);
        ++cancelCount_;
        isCancelled_ = true;
        changed_.notify_all();
        changed_.wait(lock, [this] { return !cancelHangs; });
    }
    /// Lets a `cancel` that hangs return.
    void release() {
        const std::lock_guard lock(mutex_);
        cancelHangs = false;
        changed_.notify_all();
    }

    /// Returns once the scanner has come to where it hangs or sends nothing.
    void waitUntilStalling() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return isStalling_; });
        isStalling_ = false;
    }
    void waitUntilCancelled() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return cancelCount_ > 0; });
    }
    int cancelCount() {
        const std::lock_guard lock(mutex_);
        return cancelCount_;
    }

    std::vector<companions::ScannerOption> allOptions;
    std::string refused; ///< the option that cannot be set after all
    Values values;
    std::deque<Frame> frames;
    std::deque<Frame> onGlass;
    int busyStarts = 0; ///< how often it is in use before it starts
    std::function<void()> onStart;
    int startCount = 0;
    std::size_t bytesSent = 0;
    bool hangs = false;        ///< at the last page
    bool sendsNothing = false; ///< at the last page, but says that all is well
    bool cancelHangs = false;  ///< until `release`; nothing else of the scanner returns either

private:
    companions::ScannerStatus stall(std::size_t& length) {
        length = 0;
        std::unique_lock lock(mutex_);
        isStalling_ = true;
        changed_.notify_all();
        if (hangs) {
            changed_.wait(lock, [this] { return isCancelled_ && !cancelHangs; });
        }
        return isCancelled_ ? companions::ScannerStatus::cancelled : companions::ScannerStatus::good;
    }

    std::size_t sent_ = 0;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool isStalling_ = false;
    bool isCancelled_ = false;
    int cancelCount_ = 0;
};

inline companions::ScannerOption textOption(const std::string& name, std::vector<std::string> texts) {
    companions::ScannerOption option;
    option.name = name;
    option.settable = true;
    option.isText = true;
    option.texts = std::move(texts);
    return option;
}

/// Of yes and no; one that is only read tells of the scanner's state.
inline companions::ScannerOption switchOption(const std::string& name, bool settable = true) {
    companions::ScannerOption option;
    option.name = name;
    option.settable = settable;
    option.isBoolean = true;
    return option;
}

inline companions::ScannerOption rangeOption(const std::string& name, double least, double most) {
    companions::ScannerOption option;
    option.name = name;
    option.settable = true;
    option.unit = companions::ScannerOption::Unit::millimetres;
    option.least = least;
    option.most = most;
    return option;
}

/// A grey page of one shade, 8 bits a pixel.
inline FakeScanner::Frame greyFrame(std::size_t width, std::size_t height, std::uint8_t shade) {
    FakeScanner::Frame frame;
    frame.parameters.pixelsPerLine = width;
    frame.parameters.bytesPerLine = width;
    frame.parameters.lines = height;
    frame.bytes.assign(width * height, shade);
    return frame;
}

} // namespace trigora::test
