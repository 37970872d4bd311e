#pragma once

#include "agent/event/ScanEventRecord.h"
#include "companions/TrigoraButtons/policy/ButtonService.h"
#include "files/InstalledPaths.h"
#include "tests/fakes/PlatformTest.h"

namespace trigora::buttons {

/// A desk with scanners that a test plugs in and presses, and other programs that use them. What the service
/// does with them goes into the journal:
///
///     look            searches for scanners
///     hold DEVICE     begins to open it          let go DEVICE   asks the reader to close it
///     end DEVICE      ends the reader at once    tell TEXT       a message to the user
class FakeDesk : public test::PlatformTest, protected ScannerReader, protected DeviceNodes {
protected:
    class FakeHold final : public Hold {
    public:
        FakeHold(FakeDesk& desk, std::string device, Events events)
            : desk_(desk), device_(std::move(device)), events_(std::move(events)) {
            desk_.journal.add("hold " + device_);
            desk_.holds_[device_] = this;
        }
        FakeHold(const FakeHold&) = delete;
        FakeHold& operator=(const FakeHold&) = delete;
        ~FakeHold() override {
            desk_.holds_.erase(device_);
            if (!hasEnded_) {
                desk_.journal.add("end " + device_);
            }
        }
        void letGo() override { desk_.journal.add("let go " + device_); }

        void open() const { Events(events_).opened("node of " + device_); }
        void read(const std::vector<std::string>& values) const {
            SensorReading reading(values.begin(), values.end());
            Events(events_).read(reading);
        }
        void end(const ReaderEnd& end) {
            hasEnded_ = true;
            Events(events_).ended(end);
        }

    private:
        FakeDesk& desk_;
        const std::string device_;
        const Events events_;
        bool hasEnded_ = false;
    };

    class FakeLook final : public Look {
    public:
        explicit FakeLook(FakeDesk& desk) : desk_(desk) {}
        FakeLook(const FakeLook&) = delete;
        FakeLook& operator=(const FakeLook&) = delete;
        ~FakeLook() override { desk_.lookEvents_ = {}; }

    private:
        FakeDesk& desk_;
    };

    FakeDesk() {
        writeFile(paths::scannerButtonsFile(),
                  "[genesys]\nscan=level 1\ncopy=level 2\n[hp5590]\nbutton-pressed=text scan:1 copy:2\n");
        service = std::make_unique<ButtonService>(ButtonService::Surroundings{
            .reader = *this,
            .nodes = *this,
            .tellUser = [this](const std::string&, const std::string& text) { journal.add("tell " + text); },
            .log = [this](const std::string& line) { log.push_back(line); }});
    }
    ~FakeDesk() override { service.reset(); }

    /// A scanner whose sensors are those of its back-end.
    static FoundScanner scanner(const std::string& device, const std::string& model = "M") {
        FoundScanner made{.device = device,
                          .vendor = "V",
                          .model = model,
                          .node = "node of " + device,
                          .refusal = {},
                          .sensors = {{"scan", "Scan"}, {"copy", "Copy"}}};
        if (device.starts_with("hp5590")) {
            made.sensors = {{"button-pressed", "Last button"}};
        }
        return made;
    }
    /// The search under way finds these and ends.
    void find(const std::vector<FoundScanner>& scanners) {
        for (const FoundScanner& found : scanners) {
            lookEvents_.found(found);
        }
        const Look::Events events = lookEvents_;
        events.ended({.isInOrder = true, .words = {}}, "");
        loop.advance(0.01);
    }
    /// From the start to a scanner that is read and at rest; the journal is empty then.
    void watch(const std::vector<std::string>& devices) {
        std::vector<FoundScanner> scanners;
        for (const std::string& device : devices) {
            scanners.push_back(scanner(device, device));
        }
        service->start(true);
        find(scanners);
        for (const std::string& device : devices) {
            openAndRead(device);
        }
        loop.advance(10);
        journal.take();
    }
    void openAndRead(const std::string& device) {
        loop.advance(0.01);
        hold(device).open();
        hold(device).read({device.starts_with("hp5590") ? "none" : "0", "0"});
        loop.advance(0.01);
    }
    /// Presses button 1 of a scanner that is read.
    void press(const std::string& device) {
        hold(device).read({device.starts_with("hp5590") ? "scan" : "1", "0"});
        loop.advance(0.01);
    }
    /// The reader says that the scanner is closed.
    void close(const std::string& device) {
        hold(device).end({.isInOrder = true, .words = {}});
        loop.advance(0.01);
    }
    FakeHold& hold(const std::string& device) {
        if (!holds_.contains(device)) {
            throw std::logic_error("nobody holds " + device);
        }
        return *holds_.at(device);
    }
    bool isHeld(const std::string& device) const { return holds_.contains(device); }
    bool isLooking() const { return lookEvents_.ended != nullptr; }
    void failLook(const std::string& device) {
        const Look::Events events = lookEvents_;
        events.ended({.words = "it hangs"}, device);
        loop.advance(0.01);
    }

    /// Another program opens or closes the scanner's node.
    void foreignOpen(const std::string& device) {
        foreign.insert("node of " + device);
        nodeOpened(device);
    }
    void foreignClose(const std::string& device) {
        foreign.erase("node of " + device);
        nodeClosed(device);
    }
    void nodeOpened(const std::string& device) { events("node of " + device).opened(); }
    void nodeClosed(const std::string& device) { events("node of " + device).closed(); }
    void nodeChanged(const std::string& device) { events("node of " + device).changed(); }
    void finishScan() {
        notifications.receive("ScanEventDidFinishNotification");
        loop.advance(0.01);
    }

    /// The journal without the lines that say nothing of the scanners; events as "send DRIVER BUTTON".
    test::Lines done() {
        test::Lines lines;
        for (const std::string& line : journal.take()) {
            if (line.starts_with("send PLsc/OPtw to the agent")) {
                lines.push_back("send " + sent_.at(0));
                sent_.erase(sent_.begin());
            } else if (!line.starts_with("post")) {
                lines.push_back(line);
            }
        }
        return lines;
    }

    std::unique_ptr<ButtonService> service;
    test::Lines log;
    std::set<std::string> foreign; ///< nodes that other programs have open

private:
    std::unique_ptr<Hold> hold(const HoldPlan& plan, Hold::Events events) override {
        return std::make_unique<FakeHold>(*this, plan.device, std::move(events));
    }
    std::unique_ptr<Look> look(const std::vector<std::string>& known, Look::Events events) override {
        journal.add("look");
        known_ = known;
        lookEvents_ = std::move(events);
        return std::make_unique<FakeLook>(*this);
    }
    void watch(const std::string& node, DeviceNodes::Events events) override {
        nodes_[node] = std::move(events);
    }
    void unwatch(const std::string& node) override { nodes_.erase(node); }
    void catchUp() override {}
    bool isUsedByOthers(const std::string& node) override { return foreign.contains(node); }
    DeviceNodes::Events events(const std::string& node) {
        const auto found = nodes_.find(node);
        return found != nodes_.end() ? found->second : DeviceNodes::Events{[] {}, [] {}, [] {}};
    }

    void SetUp() override {
        appleEvents.answer = [this](const auto&, const platform::AppleEvent& event) {
            if (!appleEvents.isAnybodyPresent) {
                return platform::AppleEventReply{platform::procNotFound, {}};
            }
            const auto press = decodeScanEvent(event.parameters.at(0).bytes);
            sent_.push_back(press->driverName.value_or("") + ' ' + std::to_string(press->eventStatus));
            return platform::AppleEventReply{};
        };
    }

    std::map<std::string, FakeHold*> holds_;
    Look::Events lookEvents_;
    std::map<std::string, DeviceNodes::Events> nodes_;
    test::Lines sent_;

protected:
    std::vector<std::string> known_; ///< that the last search was told of
};

} // namespace trigora::buttons
