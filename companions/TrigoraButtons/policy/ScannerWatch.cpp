#include "companions/TrigoraButtons/policy/ScannerWatch.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace trigora::buttons {

namespace {

std::vector<SensorRow> rowsOf(const FoundScanner& scanner, const BackEndRules& rules) {
    std::vector<SensorRow> rows;
    std::ranges::copy_if(rules.rows, std::back_inserter(rows), [&](const SensorRow& row) {
        return std::ranges::find(scanner.sensors, row.option, &FoundSensor::option) != scanner.sensors.end();
    });
    return rows;
}

HoldPlan planFor(const FoundScanner& scanner, const BackEndRules& rules) {
    HoldPlan plan{
        .device = scanner.device, .interval = rules.interval, .readsTwice = rules.readsTwice, .options = {}};
    for (const SensorRow& row : rowsOf(scanner, rules)) {
        plan.options.push_back(row.option);
    }
    return plan;
}

} // namespace

ScannerWatch::ScannerWatch(FoundScanner scanner, const BackEndRules& rules, Surroundings surroundings)
    : scanner_(std::move(scanner)), plan_(planFor(scanner_, rules)), surroundings_(std::move(surroundings)),
      detector_(rowsOf(scanner_, rules)), timer_(surroundings_.loop) {}

ScannerWatch::~ScannerWatch() {
    hold_.reset();
    surroundings_.turns.giveBack(this);
    if (whenFree_) {
        whenFree_();
    }
}

void ScannerWatch::allow(bool isAllowed) {
    if (isAllowed_ != isAllowed) {
        isAllowed_ = isAllowed;
        detector_.expectBaseline();
        reconsider();
    }
}

void ScannerWatch::stayAway(std::function<void()> whenFree) {
    isAway_ = true;
    whenFree_ = std::move(whenFree);
    reconsider();
}

void ScannerWatch::comeBack() {
    isAway_ = false;
    isUsedByOthers_ = false; // the scan assistant was meant to; whether somebody still does is looked at
    reconsider();
}

void ScannerWatch::nodeOpened() {
    lastUseByOthers_ = now();
    isUsedByOthers_ = true;
    if (state_ == State::takingUp || state_ == State::holding || state_ == State::lettingGo) {
        letGo(patienceForOthers);
    } else {
        reconsider();
    }
}

void ScannerWatch::nodeClosed() {
    const bool wasBusy = state_ == State::free && refusal_ == Refusal::busy;
    if (isUsedByOthers_ || wasBusy) {
        failures_ = 0;
        isUsedByOthers_ = true;
        lastUseByOthers_ = now();
        reconsider();
    }
}

void ScannerWatch::nodeChanged() {
    if (state_ == State::free && refusal_ == Refusal::accessDenied) {
        failures_ = 0;
        reconsider();
    }
}

/// Does what fits the wishes of the moment.
void ScannerWatch::reconsider() {
    const bool isWanted = isAllowed_ && !isAway_;
    if (!isWanted && (state_ == State::takingUp || state_ == State::holding)) {
        letGo(patienceForScan);
    } else if (state_ == State::free && !isWanted) {
        timer_.cancel();
        surroundings_.turns.giveBack(this);
        if (whenFree_) {
            std::exchange(whenFree_, nullptr)();
        }
    } else if (state_ == State::free) {
        surroundings_.turns.giveBack(this); // it may wait for its turn, which is no longer due
        const double quietAt = isUsedByOthers_ ? lastUseByOthers_ + quietTime : now();
        const double backOff =
            failures_ == 0 ? 0 : std::min(std::exp2(std::min(failures_, 10) - 1), longestBackOff);
        takeUpIn(std::max(quietAt - now(), backOff));
    }
}

void ScannerWatch::takeUpIn(double seconds) {
    timer_.in(seconds, [this] { takeUpIfUnused(); });
}

void ScannerWatch::takeUpIfUnused() {
    isUsedByOthers_ = !scanner_.node.empty() && surroundings_.nodes.isUsedByOthers(scanner_.node);
    if (!isUsedByOthers_) { // otherwise its closing is told
        surroundings_.turns.ask(this, [this] { takeUp(); });
    }
}

void ScannerWatch::takeUp() {
    state_ = State::takingUp;
    hold_ = surroundings_.reader.hold(plan_, {.opened = [this](const std::string& node) { opened(node); },
                                              .read = [this](const SensorReading& reading) { read(reading); },
                                              .ended = [this](const ReaderEnd& end) { ended(end); }});
}

void ScannerWatch::opened(const std::string& node) {
    if (state_ != State::takingUp) {
        return;
    }
    // What our own opening did to the nodes must not count as another program's.
    surroundings_.nodes.catchUp();
    state_ = State::holding;
    detector_.sessionBegins(now());
    surroundings_.turns.giveBack(this);
    if (!node.empty() && surroundings_.nodes.isUsedByOthers(node)) {
        nodeOpened();
    }
}

void ScannerWatch::read(const SensorReading& reading) {
    failures_ = 0;
    problem_.clear();
    refusal_.reset();
    const std::vector<std::string> flickered = detector_.flickering();
    const std::vector<SensorPress> presses = detector_.take(reading, now());
    if (detector_.flickering().size() > flickered.size()) {
        surroundings_.told(
            *this, "a button is pressed again and again without a pause and is left alone until it rests");
    }
    if (!presses.empty()) {
        surroundings_.pressed(*this, presses);
    }
}

void ScannerWatch::ended(const ReaderEnd& end) {
    surroundings_.nodes.catchUp();
    hold_.reset();
    if (state_ != State::lettingGo) {
        fail(end);
    }
    becomeFree();
}

void ScannerWatch::letGo(double patience) {
    if (state_ == State::takingUp || !hold_) {
        becomeFree();
        return;
    }
    state_ = State::lettingGo;
    hold_->letGo();
    timer_.in(patience, [this] { becomeFree(); });
}

void ScannerWatch::becomeFree() {
    hold_.reset();
    state_ = State::free;
    timer_.cancel();
    surroundings_.turns.giveBack(this);
    reconsider();
}

void ScannerWatch::fail(const ReaderEnd& end) {
    ++failures_;
    refusal_ = end.refusal;
    if (problem_ != end.words) {
        problem_ = end.words;
        surroundings_.told(*this, problem_);
    }
}

} // namespace trigora::buttons
