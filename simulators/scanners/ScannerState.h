#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <pthread.h>

/// What the hardware of a simulated scanner is like right now. It lies in a file that every process maps: the
/// programs that use the scanner through SANE and the test that plays its user. Times are nanoseconds of the
/// monotonic clock, areas millimetres.
namespace trigora::simulators {

inline constexpr std::int64_t endOfTime = std::numeric_limits<std::int64_t>::max();
inline constexpr std::int32_t scannerLayout = 0x54530001; ///< changes with the layout

/// How a back-end and its hardware give away what their sensors saw.
enum class Reading : std::int32_t {
    level,           ///< what is at this moment
    queue,           ///< the changes seen at the readings of any button of the session, the oldest first
    latchedByFirst,  ///< pressed since the last reading, looked at only when the first button is read
    latched,         ///< pressed since the last reading
    message,         ///< a text with the display's number and the buttons since the last reading
    storedText,      ///< the name of the button that was pressed last, until it is read
    stickyInSession, ///< set by a press for as long as the session lasts; a reading waits for one
    twice,           ///< all as it was when an option was last read for the second time
    oncePerSecond,   ///< all as it was at the first reading of this second
};

enum class SensorType : std::int32_t { boolean, number, text };

struct Sensor {
    std::array<char, 64> option; ///< its name in SANE
    std::array<char, 64> title;
    SensorType type;
    std::int32_t isButton;
    std::int32_t isSetByHardware; ///< says so to SANE
    std::int32_t isActive;
    std::int32_t isFeeder;  ///< tells whether paper is in the feeder
    std::int32_t value;     ///< of what is not a button
    std::int64_t readUntil; ///< presses up to here have been read
};

/// A button's going down and up, once or again and again.
struct Press {
    std::int32_t sensor;
    std::array<char, 36> text; ///< what a text sensor says of it
    std::int64_t downAt;
    std::int64_t length; ///< endOfTime while it is held
    std::int64_t period; ///< from one to the next
    std::int64_t count;
};

/// The calls of SANE that can go wrong.
enum class Call : std::int32_t {
    init,
    getDevices,
    open,
    close,
    describe,
    get,
    set,
    start,
    parameters,
    read,
    cancel,
    count
};

enum class Failure : std::int32_t {
    none,
    slow,   ///< works, but takes its time
    hang,   ///< does not return until the failure is taken back
    crash,  ///< ends the process
    vanish, ///< the scanner is unplugged at this moment
    status, ///< returns a status of SANE's
};

struct Fault {
    Failure failure;
    std::int32_t status;
    std::int64_t takes;          ///< of a slow call
    std::int64_t skip;           ///< calls that go well first
    std::int64_t times;          ///< calls that fail
    std::array<char, 64> option; ///< of get and set: this one alone; empty for any
};

/// What the scanner says of its pages that is not so; 0 where it says the truth.
struct Lies {
    std::int32_t lines; ///< -1: it does not know
    std::int32_t depth;
    std::int32_t pixelsPerLine;
    std::int32_t bytesPerLine;
    std::int32_t linesSent; ///< this many come; -1: they never end, -2: none
};

struct ScannerState {
    std::int32_t layout;
    pthread_mutex_t mutex;
    std::array<char, 32> backend;
    std::array<char, 256> address; ///< what follows the back-end's name
    std::array<char, 256> vendor;
    std::array<char, 256> model;
    std::array<char, 256> type;
    std::array<char, 256> node; ///< path of its USB node; empty for a scanner on the network
    std::int32_t number;        ///< on the bus; never used again
    std::int32_t isPlugged;
    std::int32_t session; ///< grows at each unplugging: sessions from before are dead

    Reading reading;
    std::int32_t readsInOpen;
    std::int32_t forgetsUnread; ///< a new look at the buttons replaces what nobody has read of the one before
    std::int64_t readingTakes;
    std::int32_t swallowsErrors; ///< sensors of an unplugged scanner read as before instead of failing
    std::int64_t lookingTakes;   ///< while its node is open because a program looks for scanners
    std::int64_t claimTakes;     ///< from opening its node to claiming it
    std::int32_t display;        ///< number on it, 1 to 9; 0 for none
    std::int32_t sensorCount;
    std::array<Sensor, 32> sensors;
    std::int32_t pressCount;
    std::array<Press, 1024> presses;

    std::array<Fault, static_cast<std::size_t>(Call::count)> faults;

    std::int32_t hasTable;
    std::int32_t hasFeeder;
    std::int32_t hasDuplex;
    std::int32_t sheets;     ///< in the feeder
    std::int32_t blankBacks; ///< the backs of the sheets are empty
    std::int32_t pages;      ///< scanned since the scanner was made
    std::int64_t pageTakes;
    Lies lies;

    std::int32_t holder; ///< process that has it open; 0 for none
    std::int32_t opens;
    std::int32_t refusals; ///< openings that found it claimed by another one
    std::int32_t readings; ///< of sensors
};

} // namespace trigora::simulators
