#pragma once

#include "simulators/scanners/ScannerFile.h"

#include <chrono>
#include <optional>
#include <string>

namespace trigora::simulators {

using Moment = std::chrono::steady_clock::time_point;

/// When a button is pressed. Presses may lie in the future: they happen without anybody's help.
struct Tap {
    std::chrono::nanoseconds length = std::chrono::milliseconds(200);
    std::optional<Moment> at = std::nullopt;                  ///< now without
    std::int64_t count = 1;                                   ///< so many times
    std::chrono::nanoseconds every = std::chrono::seconds(1); ///< from one to the next
};

/// The user's hands on one simulated scanner: presses its buttons, loads paper, pulls the plug, makes it
/// fail. Works on whatever programs have it open, in any process. A button is named by its option in SANE
/// ("scan", "button 0"), or for a back-end that tells buttons by a text by that text ("collect"). Functions
/// throw std::invalid_argument for a button or option that the scanner does not have.
class ScannerControl {
public:
    /// The folder is the one that the scanner's file lies in.
    ScannerControl(std::shared_ptr<ScannerFile> file, std::string folder)
        : file_(std::move(file)), folder_(std::move(folder)) {}

    /// As SANE names it, e.g. "genesys:libusb:001:004".
    std::string device() const;
    /// The file that stands for its USB node; empty for one on the network.
    std::string node() const;

    /// Down until it is released; the moment it went down.
    Moment press(const std::string& button);
    void release(const std::string& button);
    /// The moment it goes down first. At most 1024 of these and of `press` for each scanner.
    Moment tap(const std::string& button, const Tap& tap = {});
    /// What a sensor that is not a button says.
    void set(const std::string& option, int value);
    /// Whether the back-end shows the option as active.
    void activate(const std::string& option, bool isActive);

    void unplug();
    /// Gets the bus's next number, and with it another name and node, as usual; with the same address it
    /// comes back as it was.
    void replug(bool withSameAddress = false);

    /// The next call of that kind, after so many that go well, and as many further ones as `times` says.
    void fail(Call call, Failure failure, std::int64_t times = 1, std::int64_t skip = 0);
    void failWith(Call call, int status, std::int64_t times = 1, std::int64_t skip = 0);
    void beSlow(Call call, std::chrono::nanoseconds takes, std::int64_t times = 1, std::int64_t skip = 0);
    /// Any of the above for that option of get and set alone.
    void failOnly(Call call, const std::string& option);
    /// Ends all failures; calls that hang return.
    void heal();

    void loadSheets(int count);

    /// Whatever else a scanner can do; see ScannerState.h for what there is.
    template <typename Function> auto with(Function function) { return file_->with(function); }

private:
    void setFault(Call call, const Fault& fault);
    Moment add(const std::string& button, Press press);

    std::shared_ptr<ScannerFile> file_;
    std::string folder_;
};

} // namespace trigora::simulators
