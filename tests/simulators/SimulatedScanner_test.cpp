#include "simulators/scanners/ScannerFolder.h"
#include "simulators/scanners/ScannerKind.h"
#include "tests/fakes/PlatformTest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <map>
#include <sane/sane.h>

namespace {

using namespace trigora::simulators;
using namespace std::chrono_literals;

/// An open scanner, by nothing but SANE's own calls.
class Opened {
public:
    explicit Opened(const std::string& device) : status(sane_open(device.c_str(), &handle_)) {
        for (SANE_Int i = 1; status == SANE_STATUS_GOOD; ++i) {
            const SANE_Option_Descriptor* option = sane_get_option_descriptor(handle_, i);
            if (option == nullptr) {
                break;
            }
            options_[option->name] = {i, option};
        }
    }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;
    ~Opened() {
        if (status == SANE_STATUS_GOOD) {
            sane_close(handle_);
        }
    }

    /// A number or text as text; the status when it cannot be read.
    std::string get(const std::string& option) {
        const auto& [index, descriptor] = options_.at(option);
        std::vector<char> bytes(static_cast<std::size_t>(descriptor->size));
        const SANE_Status got =
            sane_control_option(handle_, index, SANE_ACTION_GET_VALUE, bytes.data(), nullptr);
        if (got != SANE_STATUS_GOOD) {
            return sane_strstatus(got);
        }
        return descriptor->type == SANE_TYPE_STRING
                   ? std::string(bytes.data())
                   : std::to_string(*reinterpret_cast<const SANE_Word*>(bytes.data()));
    }
    SANE_Int set(const std::string& option, std::string value) {
        SANE_Int information = 0;
        EXPECT_EQ(sane_control_option(handle_, options_.at(option).first, SANE_ACTION_SET_VALUE, value.data(),
                                      &information),
                  SANE_STATUS_GOOD);
        return information;
    }
    SANE_Int set(const std::string& option, SANE_Word value) {
        SANE_Int information = 0;
        EXPECT_EQ(sane_control_option(handle_, options_.at(option).first, SANE_ACTION_SET_VALUE, &value,
                                      &information),
                  SANE_STATUS_GOOD);
        return information;
    }
    /// The page's bytes; the status in words in place of a page.
    std::string scan() {
        SANE_Status result = sane_start(handle_);
        std::string page;
        std::array<SANE_Byte, 65536> bytes{};
        SANE_Int length = 0;
        while (result == SANE_STATUS_GOOD && page.size() < largestPage) {
            result = sane_read(handle_, bytes.data(), static_cast<SANE_Int>(bytes.size()), &length);
            page.append(bytes.begin(), bytes.begin() + length);
        }
        return result == SANE_STATUS_EOF || result == SANE_STATUS_GOOD ? page : sane_strstatus(result);
    }
    SANE_Parameters parameters() {
        SANE_Parameters parameters{};
        EXPECT_EQ(sane_get_parameters(handle_, &parameters), SANE_STATUS_GOOD);
        return parameters;
    }

    static constexpr std::size_t largestPage = 20'000'000;

private:
    SANE_Handle handle_ = nullptr;
    std::map<std::string, std::pair<SANE_Int, const SANE_Option_Descriptor*>> options_;

public:
    const SANE_Status status;
};

class SimulatedScanner : public testing::Test {
protected:
    static ScannerFolder& folder() {
        // One for the whole program: SANE looks at the variables only once.
        static trigora::test::TemporaryFolder place;
        static ScannerFolder folder(place.path());
        return folder;
    }

    SimulatedScanner() {
        folder().useHere();
        sane_init(nullptr, nullptr);
    }
    ~SimulatedScanner() override {
        sane_exit();
        for (ScannerControl& scanner : folder().scanners()) {
            scanner.unplug();
        }
    }

    static ScannerControl plugIn(const std::string& backend) {
        ScannerDescription description;
        description.backend = backend;
        return folder().plugIn(description);
    }
    static std::vector<std::string> listed(bool localOnly = true) {
        const SANE_Device** devices = nullptr;
        EXPECT_EQ(sane_get_devices(&devices, static_cast<SANE_Bool>(localOnly)), SANE_STATUS_GOOD);
        std::vector<std::string> names;
        for (; *devices != nullptr; ++devices) {
            names.emplace_back((*devices)->name);
        }
        return names;
    }
};

/// What a user does and a program reads, in order: "+x" and "-x" press and release the button, "x" is a tap
/// that is over already, "?o=v" reads the option and expects the value, "!" opens the scanner anew.
struct Story {
    const char* backend;
    std::vector<const char*> steps;
};

void tell(const Story& story, ScannerControl& scanner) {
    auto opened = std::make_unique<Opened>(scanner.device());
    for (const std::string step : story.steps) {
        const std::string rest = step.substr(1);
        const std::size_t equals = rest.find('=');
        switch (step.front()) {
        case '+':
            scanner.press(rest);
            break;
        case '-':
            scanner.release(rest);
            break;
        case '?':
            EXPECT_EQ(opened->get(rest.substr(0, equals)), rest.substr(equals + 1))
                << story.backend << ": " << step;
            break;
        case '!':
            opened.reset();
            opened = std::make_unique<Opened>(scanner.device());
            break;
        default:
            scanner.tap(step, {.length = 0ns});
        }
    }
}

TEST_F(SimulatedScanner, readsItsSensorsAsTheRealBackEndsDo) {
    const std::vector<Story> stories{
        // The changes seen between readings, the oldest first; also those seen in open.
        {"genesys", {"+scan", "?file=0", "-scan", "?file=0", "?scan=1", "?scan=0", "scan", "?scan=0"}},
        {"genesys", {"+copy", "!", "-copy", "?copy=1", "?copy=0"}},
        {"plustek", {"button 1", "?button 1=0", "?button 0=0", "?button 1=1", "?button 1=0"}},
        {"plustek",
         {"button 0", "button 1", "!", "?button 1=1", "?button 0=0", "button 1", "!", "?button 0=0",
          "?button 1=0"}},
        {"hp3900", {"button 2", "!", "?button 2=0", "?button 0=0", "?button 2=1", "?button 2=0"}},
        {"rts8891", {"+button-mail", "?button-mail=1", "?button-mail=0", "-button-mail", "?button-mail=0"}},
        {"avision", {"?message=", "scan", "copy", "?message=scan:copy", "?message="}},
        {"hp5590", {"?button-pressed=none", "scan", "!", "?button-pressed=scan", "?button-pressed=none"}},
        {"pixma", {"button-1", "?button-1=1", "?button-1=1", "!", "?button-1=0"}},
        {"fujitsu", {"?scan=0", "+scan", "?email=0", "?scan=1", "-scan", "?email=0", "?email=0", "?scan=0"}},
        {"canon_dr", {"?start=0", "+start", "?stop=0", "?start=1"}},
        {"hp5400", {"+web", "?web=1", "?web=1", "-web", "?web=0"}},
        {"trigorasim", {"+big-button", "?big-button=1", "?small-button=0"}},
    };
    for (const Story& story : stories) {
        ScannerControl scanner = plugIn(story.backend);
        tell(story, scanner);
    }
    for (const ScannerKind& kind : scannerKinds()) {
        EXPECT_EQ(Opened(plugIn(kind.backend).device()).status, SANE_STATUS_GOOD) << kind.backend;
    }
}

TEST_F(SimulatedScanner, epjitsuAnswersOnceASecondAndAvisionShowsANumber) {
    ScannerControl slow = plugIn("epjitsu");
    slow.with([](ScannerState& state) { state.readingTakes = 10'000'000; });
    const auto second = [] { return nowInNanoseconds() / 1'000'000'000; };
    const std::int64_t first = second();
    Opened opened(slow.device());
    EXPECT_EQ(opened.get("scan"), "0");
    slow.press("scan");
    std::string value;
    for (std::int64_t now = first; value != "1" && now < first + 3; now = second()) {
        value = opened.get("scan");
        EXPECT_TRUE(value == "0" || second() != first) << "a second has not passed";
    }
    EXPECT_EQ(value, "1");
    ScannerControl numbered = plugIn("avision");
    numbered.with([](ScannerState& state) { state.display = 3; });
    Opened shown(numbered.device());
    EXPECT_EQ(shown.get("message"), "3");
    numbered.tap("scan");
    EXPECT_EQ(shown.get("message"), "3:scan");
}

TEST_F(SimulatedScanner, isClaimedByOneProgramAndGetsAnotherNameWhenPluggedInAgain) {
    ScannerControl scanner = plugIn("genesys");
    const std::string device = scanner.device();
    {
        Opened first(device);
        EXPECT_EQ(Opened(device).status, SANE_STATUS_DEVICE_BUSY);
        scanner.unplug();
        EXPECT_EQ(first.get("scan"), sane_strstatus(SANE_STATUS_IO_ERROR));
        EXPECT_TRUE(listed().empty());
        scanner.replug();
        EXPECT_EQ(first.get("scan"), sane_strstatus(SANE_STATUS_IO_ERROR))
            << "a session does not come alive again";
    }
    EXPECT_NE(scanner.device(), device);
    EXPECT_EQ(listed(), std::vector{scanner.device()});
    EXPECT_EQ(Opened(device).status, SANE_STATUS_INVAL);
    EXPECT_EQ(Opened(scanner.device()).status, SANE_STATUS_GOOD);
    EXPECT_EQ(scanner.with([](const ScannerState& state) { return std::pair(state.opens, state.refusals); }),
              std::pair(2, 1));
}

TEST_F(SimulatedScanner, failsAsTold) {
    ScannerControl scanner = plugIn("hp5400");
    scanner.failWith(Call::open, SANE_STATUS_ACCESS_DENIED, 2);
    EXPECT_EQ(Opened(scanner.device()).status, SANE_STATUS_ACCESS_DENIED);
    EXPECT_EQ(Opened(scanner.device()).status, SANE_STATUS_ACCESS_DENIED);
    {
        Opened opened(scanner.device());
        scanner.failWith(Call::get, SANE_STATUS_IO_ERROR, 1, 1);
        scanner.failOnly(Call::get, "copy");
        EXPECT_EQ(opened.get("copy"), "0");
        EXPECT_EQ(opened.get("scan"), "0");
        EXPECT_EQ(opened.get("copy"), sane_strstatus(SANE_STATUS_IO_ERROR));
        scanner.fail(Call::get, Failure::hang);
        std::future<std::string> value = std::async(std::launch::async, [&] { return opened.get("scan"); });
        EXPECT_EQ(value.wait_for(20ms), std::future_status::timeout);
        scanner.heal();
        EXPECT_EQ(value.get(), "0");
        scanner.fail(Call::read, Failure::vanish);
        EXPECT_EQ(opened.scan(), sane_strstatus(SANE_STATUS_IO_ERROR));
        EXPECT_TRUE(listed().empty());
    }
    scanner.replug();
    scanner.fail(Call::open, Failure::crash);
    EXPECT_DEATH(Opened(scanner.device()).get("scan"), "");
}

TEST_F(SimulatedScanner, scansWhatIsInTheFeederInTheModeThatIsSet) {
    ScannerControl scanner = plugIn("fujitsu");
    scanner.loadSheets(1);
    Opened opened(scanner.device());
    EXPECT_EQ(opened.get("page-loaded"), "1");
    opened.set("source", "ADF Duplex");
    EXPECT_NE(opened.set("resolution", 110) & SANE_INFO_INEXACT, 0);
    EXPECT_EQ(opened.get("resolution"), "100");
    opened.set("mode", "Color");
    opened.set("depth", 16);
    opened.set("br-x", SANE_FIX(50.8));
    opened.set("br-y", SANE_FIX(25.4));
    const std::string front = opened.scan();
    EXPECT_EQ(front.size(), 200U * 100 * 6);
    const auto colourAt = [](const std::string& page, std::size_t x, std::size_t y) {
        const auto* pixel = reinterpret_cast<const unsigned char*>(page.data()) + (y * 200 + x) * 6;
        return std::array<int, 3>{pixel[0], pixel[2], pixel[4]};
    };
    EXPECT_EQ(colourAt(front, 45, 60), (std::array{0, 0, 0})) << "the first bar";
    EXPECT_EQ(colourAt(front, 85, 60), (std::array{255, 255, 255}));
    const std::string back = opened.scan();
    EXPECT_EQ(colourAt(back, 85, 60), (std::array{255, 0, 0})) << "the back has two red ones";
    EXPECT_EQ(opened.scan(), sane_strstatus(SANE_STATUS_NO_DOCS));
    opened.set("source", "Flatbed");
    opened.set("mode", "Lineart");
    EXPECT_EQ(opened.scan().size(), 25U * 100);
    scanner.with(
        [](ScannerState& state) { state.lies.lines = -1, state.lies.depth = 7, state.lies.linesSent = 3; });
    EXPECT_EQ(opened.scan().size(), 25U * 3);
    EXPECT_EQ(opened.parameters().lines, -1);
    EXPECT_EQ(opened.parameters().depth, 7);
    scanner.with([](ScannerState& state) { state.lies.linesSent = -1; });
    EXPECT_GE(opened.scan().size(), Opened::largestPage) << "it never ends";
}

TEST_F(SimulatedScanner, theListHoldsFortyAlikeWithLongNamesAndThoseOfTheNetworkOnlyWhenAsked) {
    ScannerDescription description;
    description.model = std::string(200, 'M');
    for (int i = 0; i < 40; ++i) {
        folder().plugIn(description);
    }
    ScannerDescription far{.backend = "epson2", .isOnNetwork = true, .address = "net:192.0.2.7"};
    ScannerControl network = folder().plugIn(far);
    network.beSlow(Call::getDevices, 50ms);
    const Moment before = Moment::clock::now();
    std::vector<std::string> names = listed();
    EXPECT_EQ(names.size(), 40U);
    std::ranges::sort(names);
    EXPECT_EQ(std::ranges::unique(names).size(), 0U);
    const SANE_Device** devices = nullptr;
    sane_get_devices(&devices, SANE_FALSE);
    EXPECT_GE(Moment::clock::now() - before, 50ms);
    while (*devices != nullptr && (*devices)->model != description.model) {
        ++devices;
    }
    EXPECT_NE(*devices, nullptr) << "a name is not whole";
    EXPECT_EQ(Opened("epson2:net:192.0.2.7").status, SANE_STATUS_GOOD);
}

} // namespace
