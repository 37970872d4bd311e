#include "tests/fakes/PlatformTest.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <thread>

namespace trigora::test {

namespace {

std::string codeText(std::uint32_t code) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        text += static_cast<char>((code >> shift) & 0xFF);
    }
    return text;
}

std::string targetText(const platform::AppleEventTarget& target) {
    if (const auto* signature = std::get_if<platform::SignatureTarget>(&target)) {
        return codeText(signature->signature);
    }
    const auto* process = std::get_if<platform::ProcessTarget>(&target);
    return process != nullptr ? "process " + std::to_string(process->processID) : "the agent";
}

std::string sendLine(const platform::AppleEventTarget& target, const platform::AppleEvent& event) {
    std::string line =
        "send " + codeText(event.eventClass) + "/" + codeText(event.eventID) + " to " + targetText(target);
    for (const auto& parameter : event.parameters) {
        line += " " + codeText(parameter.keyword) + ":" + codeText(parameter.type) + ":";
        for (const std::uint8_t byte : parameter.bytes) {
            char digits[3];
            std::snprintf(digits, sizeof digits, "%02x", byte);
            line += digits;
        }
    }
    return line;
}

} // namespace

void FakeRunLoop::processExited(std::int32_t processID) {
    const auto [first, last] = exitHandlers_.equal_range(processID);
    for (auto entry = first; entry != last; ++entry) {
        performOnMainThread(std::move(entry->second));
    }
    exitHandlers_.erase(first, last);
}

void FakeRunLoop::runPending() {
    for (;;) {
        std::function<void()> work;
        {
            const std::lock_guard lock(mutex_);
            if (work_.empty()) {
                return;
            }
            work = std::move(work_.front());
            work_.pop_front();
        }
        work();
    }
}

void FakeRunLoop::advance(double seconds) {
    const double end = clock_.monotonicSeconds() + seconds;
    const auto moveTo = [&](double when) {
        const double distance = when - clock_.monotonicSeconds();
        clock_.advanceMicroseconds(static_cast<std::int64_t>(std::max(0.0, distance) * 1e6 + 0.5));
    };
    runPending();
    for (;;) {
        const auto next = std::min_element(timers_.begin(), timers_.end(), [](const auto& a, const auto& b) {
            return a.second.due < b.second.due;
        });
        if (next == timers_.end() || next->second.due > end + 1e-6) {
            break;
        }
        moveTo(next->second.due);
        next->second.due += next->second.period;
        const std::function<void()> handler = next->second.handler;
        handler();
        runPending();
    }
    moveTo(end);
}

FakeNotifications::ObserverID FakeNotifications::observe(std::string name, Handler handler) {
    if (isBroken) {
        throw std::runtime_error("no bus");
    }
    observers_[++lastObserver_] = {std::move(name), std::move(handler)};
    return lastObserver_;
}

void FakeNotifications::removeObserver(ObserverID observer) { observers_.erase(observer); }

void FakeNotifications::post(const std::string& name, const std::optional<platform::Dictionary>& userInfo,
                             bool deliverImmediately) {
    std::string line = (deliverImmediately ? "post! " : "post ") + name;
    if (userInfo) {
        line += " " + platform::Value(*userInfo).description();
    }
    journal_.add(std::move(line));
    const auto reaction = reactions_.find(name);
    if (reaction != reactions_.end()) {
        reaction->second({name, userInfo});
    }
    loop_.performOnMainThread([this, name, userInfo] { receive(name, userInfo); });
}

void FakeNotifications::receive(const std::string& name,
                                const std::optional<platform::Dictionary>& userInfo) {
    std::vector<ObserverID> called;
    for (const auto& [id, observer] : observers_) {
        if (observer.name == name) {
            called.push_back(id);
        }
    }
    for (const ObserverID id : called) {
        const auto observer = observers_.find(id);
        if (observer != observers_.end()) {
            const Handler handler = observer->second.handler;
            handler({name, userInfo});
        }
    }
}

std::int32_t FakeAppleEvents::sendWithoutReply(const platform::AppleEventTarget& target,
                                               const platform::AppleEvent& event) {
    journal_.add(sendLine(target, event));
    return answer ? answer(target, event).status : 0;
}

platform::AppleEventReply FakeAppleEvents::sendWaitingForReply(const platform::AppleEventTarget& target,
                                                               const platform::AppleEvent& event) {
    journal_.add(sendLine(target, event));
    return answer ? answer(target, event) : platform::AppleEventReply{platform::procNotFound, {}};
}

platform::AppleEventReply FakeAppleEvents::sendUnlessGivenUp(const platform::AppleEventTarget& target,
                                                             const platform::AppleEvent& event,
                                                             const std::function<bool()>& givesUp) {
    platform::AppleEventReply reply = sendWaitingForReply(target, event);
    while (isSilent && !givesUp()) {
        reply.status = platform::errAETimeout;
        std::this_thread::yield();
    }
    return reply;
}

platform::AppleEventReply FakeAppleEvents::receive(const platform::AppleEvent& event) {
    const auto handler = handlers_.find({event.eventClass, event.eventID});
    if (handler == handlers_.end()) {
        return {platform::errAEEventNotHandled, {}};
    }
    platform::AppleEventReply reply;
    const Handler call = handler->second;
    call(event, reply.event);
    return reply;
}

std::optional<platform::ProcessInformation> FakeProcesses::find(const std::string& name) {
    {
        const std::lock_guard lock(mutex_);
        const auto launched = firstLooks_.find(name);
        if (hidesLaunches && launched != firstLooks_.end()) {
            launched->second = std::min(launched->second, clock_.monotonicSeconds());
            if (clock_.monotonicSeconds() - launched->second < 0.5) {
                return std::nullopt;
            }
        }
    }
    return Processes::find(name);
}

std::optional<std::int32_t> FakeProcesses::launch(const std::string& executablePath,
                                                  const std::vector<std::string>& arguments) {
    std::string line = "launch " + executablePath;
    for (const std::string& argument : arguments) {
        line += " " + argument;
    }
    journal_.add(std::move(line));
    if (!launches) {
        return std::nullopt;
    }
    if (onLaunch) {
        onLaunch(executablePath, arguments);
    }
    const std::lock_guard lock(mutex_);
    const std::string name = platform::lastPathComponent(executablePath);
    firstLooks_[name] = std::numeric_limits<double>::infinity();
    entries_.push_back({++lastProcessID_, name, executablePath, 0, 0, 0});
    return lastProcessID_;
}

int FakeProcesses::waitForExit(std::int32_t processID) {
    journal_.add("wait " + std::to_string(processID));
    remove([&](const auto& process) { return process.processID == processID; });
    return 0;
}

bool FakeProcesses::isRunning(std::int32_t processID) {
    const std::lock_guard lock(mutex_);
    return std::any_of(entries_.begin(), entries_.end(),
                       [&](const auto& process) { return process.processID == processID; });
}

std::int32_t FakeProcesses::appear(const std::string& name, std::uint32_t type, std::uint32_t signature) {
    const std::lock_guard lock(mutex_);
    entries_.push_back({++lastProcessID_, name, {}, type, signature, 0});
    return lastProcessID_;
}

void FakeProcesses::exit(const std::string& name) {
    remove([&](const auto& process) { return process.name == name; });
}

void FakeProcesses::remove(const std::function<bool(const platform::ProcessInformation&)>& condition) {
    std::vector<std::int32_t> ended;
    {
        const std::lock_guard lock(mutex_);
        std::erase_if(entries_, [&](const platform::ProcessInformation& process) {
            const bool ends = condition(process);
            if (ends) {
                ended.push_back(process.processID);
            }
            return ends;
        });
    }
    for (const std::int32_t processID : ended) {
        if (onExit) {
            onExit(processID);
        }
    }
}

TemporaryFolder::TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "trigora-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        std::perror("mkdtemp");
        std::abort();
    }
    path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
}

std::optional<std::string> TestFolders::documents() {
    std::error_code error;
    std::filesystem::create_directories(documentsPath(), error);
    return documentsPath();
}

PlatformTest::PlatformTest()
    : root_(folder_.path() + "/root"),
      home(folder_.path() + "/home"), platform_{
                                          .runLoop = loop,
                                          .clock = clock,
                                          .notifications = notifications,
                                          .appleEvents = appleEvents,
                                          .processes = processes,
                                          .workspace = workspace,
                                          .bundles = bundles_,
                                          .fileSystem = fileSystem_,
                                          .fileContents = fileContents_,
                                          .fileMetadata = fileMetadata_,
                                          .folders = folders_,
                                          .textEncodings = textEncodings_,
                                          .propertyLists = propertyLists_,
                                          .json = json_,
                                          .messageDigest = messageDigest_,
                                          .images = images_,
                                          .userDefaults = userDefaults,
                                          .systemInformation = systemInformation,
                                          .alertPanel = alertPanel,
                                          .stringTable = stringTable,
                                          .console = console,
                                          .idConverter = idConverter,
                                          .lowMemory = lowMemory_,
                                          .sharedInstances = sharedInstances_,
                                      } {
    std::filesystem::create_directories(root_.path());
    std::filesystem::create_directories(home);
    platform::install(&platform_);
    processes.onExit = [this](std::int32_t processID) { loop.processExited(processID); };
}

PlatformTest::~PlatformTest() {
    sharedInstances_.removeAll();
    platform::install(nullptr);
}

std::string PlatformTest::onDisk(const std::string& path) const {
    if (path.rfind("~/", 0) == 0) {
        return home + path.substr(1);
    }
    return root_.onDisk(path);
}

void PlatformTest::makeFolder(const std::string& path) { std::filesystem::create_directories(onDisk(path)); }

void PlatformTest::writeFile(const std::string& path, const std::string& bytes) {
    const std::filesystem::path file = onDisk(path);
    std::filesystem::create_directories(file.parent_path());
    std::ofstream stream(file, std::ios::binary);
    stream << bytes;
    ASSERT_TRUE(stream.good()) << file;
}

void PlatformTest::writePropertyList(const std::string& path, const platform::Value& value) {
    const std::string file = onDisk(path);
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    ASSERT_TRUE(propertyLists_.write(file, value, true)) << file;
}

std::string PlatformTest::readFile(const std::string& path) {
    std::ifstream stream(onDisk(path), std::ios::binary);
    EXPECT_TRUE(stream.good()) << path;
    std::ostringstream bytes;
    bytes << stream.rdbuf();
    return bytes.str();
}

platform::Dictionary PlatformTest::readPropertyList(const std::string& path) {
    const std::optional<platform::Value> value = propertyLists_.read(onDisk(path));
    if (!value || value->dictionary() == nullptr) {
        ADD_FAILURE() << path << " is no dictionary";
        return {};
    }
    return *value->dictionary();
}

bool PlatformTest::exists(const std::string& path) { return std::filesystem::exists(onDisk(path)); }

std::string PlatformTest::utf16(const std::string& text) {
    platform::IconvTextEncodings encodings;
    const std::optional<platform::Data> bytes = encodings.encode(text, platform::Encoding::unicode);
    return bytes ? std::string(bytes->begin(), bytes->end()) : std::string();
}

} // namespace trigora::test
