#include "companions/TrigoraButtons/policy/ButtonService.h"

#include "agent/log/PSlog.h"
#include "files/NotificationNames.h"
#include "files/StringHelpers.h"
#include "platform/Desktop.h"
#include "platform/Platform.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace trigora::buttons {

namespace {

std::string localized(const std::string& key) { return platform::current().stringTable.localizedString(key); }

std::string hexadecimal(std::uint32_t modelID) {
    char digits[9];
    std::snprintf(digits, sizeof digits, "%04X", modelID);
    return modelID == 0 ? "" : digits;
}

const SensorRow* rowFor(const BackEndRules& rules, const std::string& option) {
    const auto found = std::ranges::find(rules.rows, option, &SensorRow::option);
    return found == rules.rows.end() ? nullptr : &*found;
}

bool hasButtons(const FoundScanner& scanner, const BackEndRules& rules) {
    return std::ranges::any_of(
        scanner.sensors, [&](const FoundSensor& sensor) { return rowFor(rules, sensor.option) != nullptr; });
}

const char* stateName(const ScannerWatch& watch) {
    switch (watch.state()) {
    case ScannerWatch::State::takingUp:
        return "opening";
    case ScannerWatch::State::holding:
        return "watched";
    case ScannerWatch::State::lettingGo:
        return "closing";
    case ScannerWatch::State::free:
        break;
    }
    return watch.isUsedByOthers() ? "used by another program" : watch.refusal() ? "tried again" : "free";
}

} // namespace

ButtonService::ButtonService(Surroundings surroundings)
    : surroundings_(std::move(surroundings)), table_(SensorTable::read()),
      delivery_(
          {.stayAway =
               [this](const std::string& device, std::function<void()> whenFree) {
                   if (ScannerWatch* watch = watchOf(device)) {
                       watch->stayAway(std::move(whenFree));
                   } else {
                       whenFree();
                   }
               },
           .comeBack =
               [this](const std::string& device) {
                   if (ScannerWatch* watch = watchOf(device)) {
                       watch->comeBack();
                   }
               },
           .isUsedByOthers =
               [this](const std::string& device) {
                   const ScannerWatch* watch = watchOf(device);
                   return watch != nullptr && surroundings_.nodes.isUsedByOthers(watch->scanner().node);
               },
           .dropped = [this](const KeptPress& press, PressDelivery::Loss loss) { dropped(press, loss); }}),
      lookTimer_(platform::current().runLoop) {
    for (const std::string& problem : table_.problems()) {
        surroundings_.log(problem);
    }
}

ButtonService::~ButtonService() {
    remove([](const FoundScanner&) { return true; });
}

void ButtonService::start(bool isActive) {
    isActive_ = isActive;
    look();
}

void ButtonService::plugged() {
    suspects_.clear();
    looks_ = 0;
    lookTimer_.in(settlingTime, [this] { look(); });
}

void ButtonService::unplugged(const std::string& node) {
    remove([&](const FoundScanner& scanner) { return scanner.node == node; });
    const auto isUnknown = [](const FoundScanner& scanner) { return scanner.node.empty(); };
    if (std::ranges::any_of(attached_, isUnknown, &Attached::scanner)) {
        remove(isUnknown); // it may have been any of these
        plugged();
    }
}

void ButtonService::seatChanged(bool isActive) {
    isActive_ = isActive;
    for (const Attached& attached : attached_) {
        if (attached.watch) {
            attached.watch->allow(isActive);
        }
    }
}

void ButtonService::look() {
    if (look_) {
        looksAgain_ = true;
    } else {
        turns_.ask(this, [this] { beginLook(); });
    }
}

void ButtonService::beginLook() {
    ++looks_;
    looksAgain_ = false;
    problem_.clear();
    found_.clear();
    table_ = SensorTable::read();
    remove([](const FoundScanner& scanner) { return scanner.refusal.has_value(); }); // these are tried again
    std::vector<std::string> known(suspects_.begin(), suspects_.end());
    for (const Attached& attached : attached_) {
        known.push_back(attached.scanner.device);
    }
    look_ = surroundings_.reader.look(
        known,
        {.found = [this](FoundScanner scanner) { found_.push_back(std::move(scanner)); },
         .ended = [this](const ReaderEnd& end, const std::string& device) { lookEnded(end, device); }});
}

void ButtonService::lookEnded(const ReaderEnd& end, const std::string& device) {
    surroundings_.nodes.catchUp(); // what our own looking did to the nodes
    look_.reset();
    for (FoundScanner& scanner : std::exchange(found_, {})) {
        add(std::move(scanner));
    }
    if (!end.isInOrder) {
        problem_ = (device.empty() ? std::string() : "the back-end of " + device + ": ") + end.words;
        surroundings_.log("looking for scanners failed: " + problem_);
        if (!device.empty()) {
            suspects_.insert(device);
            looksAgain_ = looksAgain_ || looks_ < mostLooks;
        }
    }
    turns_.giveBack(this);
    if (looksAgain_) {
        look();
    } else if (surroundings_.looked) {
        surroundings_.looked();
    }
}

void ButtonService::add(FoundScanner scanner) {
    remove([&](const FoundScanner& other) { return other.device == scanner.device; });
    const std::string reason = reasonAgainst(scanner);
    surroundings_.log(scanner.device + " (" + scanner.vendor + ' ' + scanner.model +
                      "): " + (reason.empty() ? "its buttons are watched" : reason));
    std::unique_ptr<ScannerWatch> watch;
    if (reason.empty()) {
        watch = std::make_unique<ScannerWatch>(
            scanner, table_.rulesOf(backEndOf(scanner.device)),
            ScannerWatch::Surroundings{
                .reader = surroundings_.reader,
                .nodes = surroundings_.nodes,
                .turns = turns_,
                .loop = platform::current().runLoop,
                .clock = platform::current().clock,
                .pressed =
                    [this](const ScannerWatch& pressedWatch, const std::vector<SensorPress>& presses) {
                        pressed(pressedWatch, presses);
                    },
                .told =
                    [this](const ScannerWatch& tellingWatch, const std::string& sentence) {
                        surroundings_.log(tellingWatch.scanner().device + ": " + sentence);
                    }});
    }
    if (!scanner.node.empty() && (watch || scanner.refusal)) {
        watchNode(scanner);
    }
    attached_.push_back({std::move(scanner), std::move(watch), reason});
    if (attached_.back().watch) {
        attached_.back().watch->allow(isActive_);
    }
}

void ButtonService::remove(const std::function<bool(const FoundScanner&)>& condition) {
    // Taken out first: a watch that goes may deliver its press, which asks for the others.
    std::vector<Attached> gone;
    for (auto attached = attached_.begin(); attached != attached_.end();) {
        if (condition(attached->scanner)) {
            gone.push_back(std::move(*attached));
            attached = attached_.erase(attached);
        } else {
            ++attached;
        }
    }
    for (Attached& attached : gone) {
        if (attached.watch || attached.scanner.refusal) {
            surroundings_.nodes.unwatch(attached.scanner.node);
        }
        attached.watch.reset();
    }
}

std::string ButtonService::reasonAgainst(const FoundScanner& scanner) const {
    if (scanner.refusal) {
        return *scanner.refusal == Refusal::busy           ? "another program has it in use"
               : *scanner.refusal == Refusal::accessDenied ? "you are not allowed to use it"
                                                           : "it cannot be opened";
    }
    if (!hasButtons(scanner, table_.rulesOf(backEndOf(scanner.device)))) {
        return "it has no sensor that is known as a button";
    }
    if (scanner.node.empty()) {
        return "its device node is not known, so that nobody could tell when another program wants it";
    }
    const bool isTaken = std::ranges::any_of(attached_, [&](const Attached& attached) {
        return attached.watch && attached.scanner.node == scanner.node;
    });
    return isTaken ? "it is watched under another name" : "";
}

void ButtonService::watchNode(const FoundScanner& scanner) {
    surroundings_.nodes.watch(
        scanner.node,
        {.opened = [this, device = scanner.device, node = scanner.node] { nodeOpened(device, node); },
         .closed = [this, device = scanner.device] { nodeClosed(device); },
         .changed = [this, device = scanner.device] { nodeChanged(device); }});
}

ScannerWatch* ButtonService::watchOf(const std::string& device) {
    const auto found = std::ranges::find_if(
        attached_, [&](const Attached& attached) { return attached.scanner.device == device; });
    return found == attached_.end() ? nullptr : found->watch.get();
}

void ButtonService::nodeOpened(const std::string& device, const std::string& node) {
    ScannerWatch* watch = watchOf(device);
    if (watch != nullptr && (!isOpeningScanners() || surroundings_.nodes.isUsedByOthers(node))) {
        watch->nodeOpened();
    }
}

void ButtonService::nodeClosed(const std::string& device) {
    if (ScannerWatch* watch = watchOf(device)) {
        if (!isOpeningScanners() || watch->isUsedByOthers()) {
            watch->nodeClosed();
        }
    } else if (!isOpeningScanners()) {
        lookTimer_.in(ScannerWatch::quietTime, [this] { look(); }); // it was in use when we looked
    }
}

void ButtonService::nodeChanged(const std::string& device) {
    if (ScannerWatch* watch = watchOf(device)) {
        watch->nodeChanged();
    } else if (!isOpeningScanners()) {
        lookTimer_.in(settlingTime, [this] { look(); });
    }
}

void ButtonService::pressed(const ScannerWatch& watch, const std::vector<SensorPress>& presses) {
    const ScannerNames names = namesOf(watch.scanner(), attachedScanners());
    const std::string device = watch.scanner().device;
    for (const SensorPress& press : presses) {
        platform::current().notifications.post(notifications::scannerButtonPressed,
                                               Dictionary{{"Driver", names.driverName},
                                                          {"Device", device},
                                                          {"Sensor", press.sensor},
                                                          {"Button", std::int64_t{press.button}}},
                                               true);
        delivery_.add({names, device, press, platform::current().clock.monotonicSeconds()});
    }
}

void ButtonService::dropped(const KeptPress& press, PressDelivery::Loss loss) {
    const char* key = loss == PressDelivery::Loss::agentMissing ? "Message.PressDropped.AgentMissing"
                      : loss == PressDelivery::Loss::agentBusy  ? "Message.PressDropped.AgentBusy"
                                                                : "Message.PressDropped.TooMany";
    const std::string text = stringWithFormat(localized(key), press.scanner.driverName, press.press.sensor);
    surroundings_.log(text);
    surroundings_.tellUser(localized("Message.Title"), text);
}

std::vector<FoundScanner> ButtonService::attachedScanners() const {
    std::vector<FoundScanner> scanners;
    std::ranges::transform(attached_, std::back_inserter(scanners), &Attached::scanner);
    return scanners;
}

Dictionary ButtonService::status() const {
    Array scanners;
    for (const Attached& attached : attached_) {
        scanners.push_back(statusOf(attached));
    }
    Array problems(table_.problems().begin(), table_.problems().end());
    if (!problem_.empty()) {
        problems.push_back(problem_);
    }
    return {{"scanners", scanners},
            {"problems", problems},
            {"isLooking", isLooking()},
            {"isActive", isActive_},
            {"keptPresses", static_cast<std::int64_t>(delivery_.keptPresses())},
            {"isScanning", delivery_.isScanning()}};
}

Dictionary ButtonService::statusOf(const Attached& attached) const {
    const FoundScanner& scanner = attached.scanner;
    const ScannerNames names = namesOf(scanner, attachedScanners());
    Dictionary status{{"device", scanner.device},
                      {"vendor", scanner.vendor},
                      {"model", scanner.model},
                      {"driver", names.driverName},
                      {"modelID", hexadecimal(names.modelID)},
                      {"hasDriverEntry", names.hasDriverEntry},
                      {"node", scanner.node},
                      {"reason", attached.reason},
                      {"sensors", sensorsOf(scanner)},
                      {"state", "not watched"},
                      {"refusal", scanner.refusal ? nameOf(*scanner.refusal) : ""},
                      {"problem", ""},
                      {"flickering", Array()}};
    if (attached.watch) {
        const std::vector<std::string> flickering = attached.watch->flickering();
        status["state"] = isActive_ ? stateName(*attached.watch) : "another user is at the desk";
        status["refusal"] = attached.watch->refusal() ? nameOf(*attached.watch->refusal()) : "";
        status["problem"] = attached.watch->problem();
        status["flickering"] = Array(flickering.begin(), flickering.end());
    }
    return status;
}

Value ButtonService::sensorsOf(const FoundScanner& scanner) const {
    const std::string backEnd = backEndOf(scanner.device);
    Array sensors;
    for (const FoundSensor& sensor : scanner.sensors) {
        const SensorRow* row = rowFor(table_.rulesOf(backEnd), sensor.option);
        Dictionary buttons;
        if (row != nullptr && row->kind == SensorKind::text) {
            for (const auto& [word, button] : row->words) {
                buttons[sensor.option + ' ' + word] = std::int64_t{button};
            }
        } else if (row != nullptr) {
            buttons[sensor.option] = std::int64_t{row->button};
        }
        const char* kind = row != nullptr                              ? "button"
                           : table_.isNoButton(backEnd, sensor.option) ? "no button"
                                                                       : "unknown";
        sensors.push_back(Dictionary{
            {"sensor", sensor.option}, {"title", sensor.title}, {"kind", kind}, {"buttons", buttons}});
    }
    return sensors;
}

} // namespace trigora::buttons
