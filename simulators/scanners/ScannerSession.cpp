#include "simulators/scanners/ScannerSession.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <sys/file.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace trigora::simulators {

namespace {

constexpr std::int64_t shortWait = 5'000'000; // nanoseconds

void pause(std::int64_t nanoseconds) {
    if (nanoseconds > 0) {
        std::this_thread::sleep_for(std::chrono::nanoseconds(nanoseconds));
    }
}

/// The fault that this call is to have, which is used up by it.
Fault faultOf(ScannerState& state, Call call, const char* option) {
    Fault& fault = state.faults[static_cast<std::size_t>(call)];
    const bool isMeant = fault.option[0] == '\0' || std::strcmp(fault.option.data(), option) == 0;
    if (fault.failure == Failure::none || !isMeant || fault.times <= 0) {
        return {};
    }
    if (fault.skip > 0) {
        --fault.skip;
        return {};
    }
    --fault.times;
    return fault;
}

[[noreturn]] void crash() {
    const rlimit nothing{};
    setrlimit(RLIMIT_CORE, &nothing);
    std::signal(SIGABRT, SIG_DFL);
    std::abort();
}

/// The node's descriptor; a negative one when it cannot be claimed, with the status.
int claim(ScannerFile& scanner, SANE_Status& status) {
    const auto [path, takes] = scanner.with([](const ScannerState& state) {
        return std::pair(std::string(state.node.data()), state.claimTakes);
    });
    const int node = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (node < 0) {
        status = errno == EACCES ? SANE_STATUS_ACCESS_DENIED : SANE_STATUS_INVAL;
        return node;
    }
    pause(takes);
    if (flock(node, LOCK_EX | LOCK_NB) != 0) {
        close(node);
        scanner.with([](ScannerState& state) { ++state.refusals; });
        status = SANE_STATUS_DEVICE_BUSY;
        return -1;
    }
    return node;
}

} // namespace

SANE_Status suffer(ScannerFile& scanner, Call call, const char* option) {
    const Fault fault = scanner.with([&](ScannerState& state) { return faultOf(state, call, option); });
    switch (fault.failure) {
    case Failure::none:
        return SANE_STATUS_GOOD;
    case Failure::slow:
        pause(fault.takes);
        return SANE_STATUS_GOOD;
    case Failure::hang:
        while (scanner.with([&](const ScannerState& state) {
            return state.faults[static_cast<std::size_t>(call)].failure == Failure::hang;
        })) {
            pause(shortWait);
        }
        return SANE_STATUS_GOOD;
    case Failure::crash:
        crash();
    case Failure::vanish:
        unplug(scanner);
        return SANE_STATUS_IO_ERROR;
    case Failure::status:
        return static_cast<SANE_Status>(fault.status);
    }
    return SANE_STATUS_GOOD;
}

void unplug(ScannerFile& scanner) {
    const std::string node = scanner.with([](ScannerState& state) {
        state.isPlugged = 0;
        ++state.session;
        return std::string(state.node.data());
    });
    if (!node.empty()) {
        unlink(node.c_str());
    }
}

void lookAtNode(ScannerFile& scanner) {
    const auto [path, takes] = scanner.with([](const ScannerState& state) {
        return std::pair(std::string(state.node.data()), state.lookingTakes);
    });
    const int node = path.empty() ? -1 : ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (node >= 0) {
        pause(takes);
        close(node);
    }
}

std::unique_ptr<ScannerSession> ScannerSession::open(std::shared_ptr<ScannerFile> scanner,
                                                     SANE_Status& status) {
    status = suffer(*scanner, Call::open);
    const auto [isPlugged, isOnBus] = scanner->with(
        [](const ScannerState& state) { return std::pair(state.isPlugged != 0, state.node[0] != '\0'); });
    if (status == SANE_STATUS_GOOD && !isPlugged) {
        status = SANE_STATUS_INVAL;
    }
    if (status != SANE_STATUS_GOOD) {
        return nullptr;
    }
    const int node = isOnBus ? claim(*scanner, status) : -1;
    if (isOnBus && node < 0) {
        return nullptr;
    }
    return std::unique_ptr<ScannerSession>(new ScannerSession(std::move(scanner), node));
}

ScannerSession::ScannerSession(std::shared_ptr<ScannerFile> scanner, int node)
    : scanner_(std::move(scanner)), node_(node), options_(*scanner_), sensors_(scanner_) {
    scanner_->with([this](ScannerState& state) {
        ++state.opens;
        state.holder = getpid();
        session_ = state.session;
    });
}

ScannerSession::~ScannerSession() {
    suffer(*scanner_, Call::close);
    scanner_->with([](ScannerState& state) {
        if (state.holder == getpid()) {
            state.holder = 0;
        }
    });
    if (node_ >= 0) {
        close(node_);
    }
}

bool ScannerSession::isAlive() const {
    return scanner_->with(
        [this](const ScannerState& state) { return state.isPlugged != 0 && state.session == session_; });
}

const SANE_Option_Descriptor* ScannerSession::descriptor(SANE_Int option) {
    return suffer(*scanner_, Call::describe) == SANE_STATUS_GOOD ? options_.descriptor(option) : nullptr;
}

SANE_Status ScannerSession::control(SANE_Int option, SANE_Action action, void* value, SANE_Int* information) {
    const SANE_Option_Descriptor* descriptor = options_.descriptor(option);
    if (descriptor == nullptr || descriptor->type == SANE_TYPE_GROUP ||
        !SANE_OPTION_IS_ACTIVE(descriptor->cap) || action == SANE_ACTION_SET_AUTO ||
        (value == nullptr && descriptor->size > 0)) {
        return SANE_STATUS_INVAL;
    }
    const bool isGet = action == SANE_ACTION_GET_VALUE;
    const SANE_Status status = suffer(*scanner_, isGet ? Call::get : Call::set, descriptor->name);
    if (status != SANE_STATUS_GOOD) {
        return status;
    }
    if (isGet) {
        const int sensor = options_.sensorOf(option);
        return sensor >= 0 ? readSensor(static_cast<std::size_t>(sensor), descriptor->type, value)
                           : options_.get(option, value);
    }
    SANE_Int changes = 0;
    const SANE_Status result = isAlive() ? options_.set(option, value, changes) : SANE_STATUS_IO_ERROR;
    if (information != nullptr) {
        *information = changes;
    }
    return result;
}

SANE_Status ScannerSession::readSensor(std::size_t sensor, SANE_Value_Type type, void* value) {
    const bool isText = type == SANE_TYPE_STRING;
    if (!isAlive()) {
        if (scanner_->with([](const ScannerState& state) { return state.swallowsErrors == 0; })) {
            return SANE_STATUS_IO_ERROR;
        }
        if (isText) {
            *static_cast<char*>(value) = '\0';
        } else {
            *static_cast<SANE_Word*>(value) = sensors_.lastNumber(sensor);
        }
    } else if (isText) {
        const std::string text = sensors_.text(sensor).substr(0, 128);
        *std::ranges::copy(text, static_cast<char*>(value)).out = '\0';
    } else {
        *static_cast<SANE_Word*>(value) = sensors_.number(sensor);
    }
    return SANE_STATUS_GOOD;
}

SANE_Status ScannerSession::parameters(SANE_Parameters& parameters) {
    const SANE_Status status = suffer(*scanner_, Call::parameters);
    const ScanMode mode = page_ ? mode_ : options_.mode();
    const SimulatedPage page = page_.value_or(SimulatedPage(mode, 0, false));
    const Lies lies = scanner_->with([](const ScannerState& state) { return state.lies; });
    const auto told = [](int lie, int truth) { return lie != 0 ? lie : truth; };
    parameters.format = mode.colours == ScanMode::Colours::colour ? SANE_FRAME_RGB : SANE_FRAME_GRAY;
    parameters.last_frame = SANE_TRUE;
    parameters.lines = told(lies.lines, page.lines());
    parameters.depth = told(lies.depth, mode.depth);
    parameters.pixels_per_line = told(lies.pixelsPerLine, page.pixelsPerLine());
    parameters.bytes_per_line = told(lies.bytesPerLine, page.bytesPerLine());
    return status;
}

SANE_Status ScannerSession::start() {
    isCancelled_ = false;
    page_.reset();
    const SANE_Status status = suffer(*scanner_, Call::start);
    if (status != SANE_STATUS_GOOD || !isAlive()) {
        return status != SANE_STATUS_GOOD ? status : SANE_STATUS_IO_ERROR;
    }
    mode_ = options_.mode();
    if (mode_.right <= mode_.left || mode_.bottom <= mode_.top) {
        return SANE_STATUS_INVAL;
    }
    const bool isBack = std::exchange(backIsNext_, false);
    const int bars = scanner_->with([&](ScannerState& state) {
        if (mode_.isFromFeeder && !isBack) {
            if (state.sheets <= 0) {
                return -1;
            }
            --state.sheets;
        }
        ++state.pages;
        return isBack && state.blankBacks != 0 ? 0 : state.pages;
    });
    if (bars < 0) {
        return SANE_STATUS_NO_DOCS;
    }
    backIsNext_ = mode_.hasBothSides && !isBack;
    page_.emplace(mode_, bars, isBack);
    sent_ = 0;
    startedAt_ = nowInNanoseconds();
    return SANE_STATUS_GOOD;
}

std::int64_t ScannerSession::bytesToSend() const {
    const int lie = scanner_->with([](const ScannerState& state) { return state.lies.linesSent; });
    if (lie == -1) {
        return std::numeric_limits<std::int64_t>::max();
    }
    return std::int64_t{page_->bytesPerLine()} * (lie == 0 ? page_->lines() : std::max(lie, 0));
}

/// As much of the page as the lamp has passed.
std::int64_t ScannerSession::bytesReady() const {
    const std::int64_t takes = scanner_->with([](const ScannerState& state) { return state.pageTakes; });
    const std::int64_t passed = nowInNanoseconds() - startedAt_;
    const std::int64_t all = bytesToSend();
    if (takes <= 0 || (passed >= takes && all < std::numeric_limits<std::int64_t>::max())) {
        return all;
    }
    const double share = static_cast<double>(passed) / static_cast<double>(takes);
    return static_cast<std::int64_t>(share * page_->bytesPerLine() * page_->lines());
}

SANE_Status ScannerSession::read(std::span<std::uint8_t> bytes, SANE_Int& length) {
    length = 0;
    const SANE_Status status = suffer(*scanner_, Call::read);
    if (status != SANE_STATUS_GOOD) {
        return status;
    }
    while (page_ && !isCancelled_) {
        if (!isAlive()) {
            return SANE_STATUS_IO_ERROR;
        }
        if (sent_ >= bytesToSend()) {
            return SANE_STATUS_EOF;
        }
        const std::int64_t count = std::min(bytesReady() - sent_, static_cast<std::int64_t>(bytes.size()));
        if (count > 0) {
            page_->fill(sent_, bytes.first(static_cast<std::size_t>(count)));
            sent_ += count;
            length = static_cast<SANE_Int>(count);
            return SANE_STATUS_GOOD;
        }
        pause(shortWait);
    }
    return isCancelled_ ? SANE_STATUS_CANCELLED : SANE_STATUS_INVAL;
}

void ScannerSession::cancel() {
    suffer(*scanner_, Call::cancel);
    isCancelled_ = true;
    backIsNext_ = false;
}

} // namespace trigora::simulators
