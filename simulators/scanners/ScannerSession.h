#pragma once

#include "simulators/scanners/ScanOptions.h"
#include "simulators/scanners/SensorReader.h"
#include "simulators/scanners/SimulatedPage.h"

#include <atomic>
#include <memory>
#include <optional>

namespace trigora::simulators {

/// Lets the call go wrong where the scanner's user wants it to; the status that it returns then. The option
/// is that of get and set.
SANE_Status suffer(ScannerFile& scanner, Call call, const char* option = "");
/// Pulls the plug: the node is gone, and whoever has the scanner open finds it dead.
void unplug(ScannerFile& scanner);
/// Opens the scanner's node and closes it again, as every program does that looks for scanners.
void lookAtNode(ScannerFile& scanner);

/// A scanner that a program has open. Claimed by this one alone until it is destroyed.
class ScannerSession {
public:
    /// Null when it cannot be opened; the status says why.
    static std::unique_ptr<ScannerSession> open(std::shared_ptr<ScannerFile> scanner, SANE_Status& status);
    ScannerSession(const ScannerSession&) = delete;
    ScannerSession& operator=(const ScannerSession&) = delete;
    ~ScannerSession();

    const SANE_Option_Descriptor* descriptor(SANE_Int option);
    SANE_Status control(SANE_Int option, SANE_Action action, void* value, SANE_Int* information);
    SANE_Status parameters(SANE_Parameters& parameters);
    SANE_Status start();
    SANE_Status read(std::span<std::uint8_t> bytes, SANE_Int& length);
    /// May come from any thread.
    void cancel();

private:
    ScannerSession(std::shared_ptr<ScannerFile> scanner, int node);

    bool isAlive() const;
    SANE_Status readSensor(std::size_t sensor, SANE_Value_Type type, void* value);
    std::int64_t bytesToSend() const;
    std::int64_t bytesReady() const;

    std::shared_ptr<ScannerFile> scanner_;
    int node_;
    int session_ = 0;
    ScanOptions options_;
    SensorReader sensors_;

    std::optional<SimulatedPage> page_;
    ScanMode mode_;
    bool backIsNext_ = false;
    std::int64_t sent_ = 0;
    std::int64_t startedAt_ = 0;
    std::atomic<bool> isCancelled_ = false;
};

} // namespace trigora::simulators
