#pragma once

#include "companions/TrigoraButtons/messages/ReaderMessage.h"
#include "companions/TrigoraButtons/sensors/PressDetector.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// What the service needs of the programs that read scanners. All on the main thread.
namespace trigora::buttons {

struct FoundSensor {
    std::string option;
    std::string title;
};

/// A scanner as SANE tells of it.
struct FoundScanner {
    std::string device;
    std::string vendor;
    std::string model;
    std::string node;               ///< path of its device node; empty when it is not known
    std::optional<Refusal> refusal; ///< why it could not be opened
    std::vector<FoundSensor> sensors;
};

struct HoldPlan {
    std::string device;
    std::chrono::milliseconds interval{100};
    bool readsTwice = false;
    std::vector<std::string> options; ///< in the order of reading
};

/// How a reader has ended.
struct ReaderEnd {
    bool isInOrder = false; ///< it has let go, or has told of all scanners
    Refusal refusal = Refusal::failed;
    std::string words;
};

/// A scanner that is open, or being opened. Destroying it ends it at once, in the middle of whatever the
/// back-end does; nothing is told any more.
class Hold {
public:
    struct Events {
        std::function<void(const std::string& node)> opened;
        std::function<void(const SensorReading& reading)> read; ///< only what differs from the last one
        std::function<void(const ReaderEnd& end)> ended;        ///< once; the hold may be destroyed in it
    };

    virtual ~Hold() = default;

    /// Closes the scanner as soon as the reading under way is over; `ended` tells.
    virtual void letGo() = 0;
};

/// A search for scanners. Destroying it ends it.
class Look {
public:
    struct Events {
        std::function<void(FoundScanner scanner)> found;
        /// Once; the device is the one that was being opened when the search failed, else empty.
        std::function<void(const ReaderEnd& end, const std::string& device)> ended;
    };

    virtual ~Look() = default;
};

class ScannerReader {
public:
    virtual ~ScannerReader() = default;

    virtual std::unique_ptr<Hold> hold(const HoldPlan& plan, Hold::Events events) = 0;
    /// Opens all local scanners but these.
    virtual std::unique_ptr<Look> look(const std::vector<std::string>& known, Look::Events events) = 0;
};

/// What is known about the users of device nodes.
class DeviceNodes {
public:
    struct Events {
        std::function<void()> opened; ///< by anybody, this service's readers included
        std::function<void()> closed;
        std::function<void()> changed; ///< the rights, for example
    };

    virtual ~DeviceNodes() = default;

    /// One set of handlers per node.
    virtual void watch(const std::string& node, Events events) = 0;
    virtual void unwatch(const std::string& node) = 0;
    /// Tells of what has happened so far before it returns.
    virtual void catchUp() = 0;
    /// Whether a process other than this service and its readers has it open, as far as one can see.
    virtual bool isUsedByOthers(const std::string& node) = 0;
};

} // namespace trigora::buttons
