#include "platform/linux/LinuxPlatform.h"

#include "platform/linux/OfflineBus.h"
#include "platform/linux/bus/BusAppleEvents.h"
#include "platform/linux/bus/BusConnection.h"
#include "platform/linux/bus/BusNames.h"
#include "platform/linux/bus/BusNotifications.h"
#include "platform/linux/desktop/LinuxAlertPanel.h"
#include "platform/linux/desktop/LinuxStringTable.h"
#include "platform/linux/desktop/LinuxSystemInformation.h"
#include "platform/linux/desktop/LinuxUserDefaults.h"
#include "platform/linux/desktop/LinuxWorkspace.h"
#include "platform/linux/desktop/StandardErrorConsole.h"
#include "platform/linux/files/LinuxFiles.h"
#include "platform/linux/formats/LinuxFormats.h"
#include "platform/linux/loop/LinuxClock.h"
#include "platform/linux/loop/LinuxRunLoop.h"
#include "platform/linux/modules/LinuxBundles.h"
#include "platform/linux/modules/LinuxIDConverter.h"
#include "platform/linux/modules/LinuxLowMemory.h"
#include "platform/linux/processes/LinuxProcesses.h"

#include <systemd/sd-daemon.h>

#include <csignal>
#include <filesystem>

namespace trigora::platform {

namespace {

/// The bundle that the executable lies in, as an installed path; empty when it lies in none.
std::string bundleOfThisProgram(const InstallationRoot& root) {
    std::error_code error;
    const std::string executable = std::filesystem::read_symlink("/proc/self/exe", error).string();
    const std::string bundle = error ? std::string() : bundleOfExecutable(executable);
    return bundle.empty() ? bundle : root.asInstalled(bundle);
}

} // namespace

/// In the order in which one part needs another.
struct LinuxPlatform::Parts {
    Parts(const InstallationRoot& chosenRoot, const std::string& mainBundlePath)
        : root(chosenRoot), bundles(root, fileSystem, propertyLists, mainBundlePath) {}

    /// True when there is a bus.
    bool connect(std::string& error) {
        connection = BusConnection::open(runLoop, error);
        if (!connection) {
            notifications = std::make_unique<OfflineNotifications>();
            appleEvents = std::make_unique<OfflineAppleEvents>();
            return false;
        }
        notifications = std::make_unique<BusNotifications>(*connection);
        appleEvents = std::make_unique<BusAppleEvents>(*connection);
        return true;
    }

    /// The processes that have taken a name on the bus.
    std::vector<std::int32_t> namedProcesses() {
        std::vector<std::int32_t> processIDs;
        for (const std::string& name : connection ? connection->names() : std::vector<std::string>()) {
            if (const auto processID = bus::processIDIn(name)) {
                processIDs.push_back(*processID);
            }
        }
        return processIDs;
    }

    void assemble() {
        platform = std::make_unique<Platform>(Platform{
            .runLoop = runLoop,
            .clock = clock,
            .notifications = *notifications,
            .appleEvents = *appleEvents,
            .processes = processes,
            .workspace = workspace,
            .bundles = bundles,
            .fileSystem = fileSystem,
            .fileContents = fileContents,
            .fileMetadata = fileMetadata,
            .folders = folders,
            .textEncodings = textEncodings,
            .propertyLists = propertyLists,
            .json = json,
            .messageDigest = messageDigest,
            .images = images,
            .userDefaults = userDefaults,
            .systemInformation = systemInformation,
            .alertPanel = alertPanel,
            .stringTable = stringTable,
            .console = console,
            .idConverter = idConverter,
            .lowMemory = lowMemory,
            .sharedInstances = sharedInstances,
        });
    }

    const InstallationRoot root;
    LinuxRunLoop runLoop;
    LinuxClock clock;
    std::unique_ptr<BusConnection> connection;
    std::unique_ptr<DistributedNotifications> notifications;
    std::unique_ptr<AppleEvents> appleEvents;
    StandardErrorConsole console;
    LinuxFileSystem fileSystem{root};
    LinuxFileContents fileContents{root};
    LinuxFileMetadata fileMetadata{root};
    LinuxFolders folders{root};
    IconvTextEncodings textEncodings;
    LinuxPropertyLists propertyLists{fileContents};
    LinuxJson json;
    LinuxMessageDigest messageDigest;
    PngImages images{fileContents};
    LinuxBundles bundles;
    LinuxProcesses processes{root, bundles, runLoop, [this] { return namedProcesses(); }};
    LinuxWorkspace workspace{root, fileSystem, bundles, processes};
    LinuxUserDefaults userDefaults{fileSystem, folders, propertyLists};
    LinuxSystemInformation systemInformation{propertyLists};
    LinuxAlertPanel alertPanel{console, runLoop};
    LinuxStringTable stringTable{bundles, propertyLists, userDefaults};
    LinuxIDConverter idConverter{root};
    LinuxLowMemory lowMemory;
    SharedInstances sharedInstances;
    std::unique_ptr<Platform> platform;
};

std::unique_ptr<LinuxPlatform> LinuxPlatform::create(const Options& options, std::string& error) {
    ::signal(SIGPIPE, SIG_IGN);
    const InstallationRoot root = InstallationRoot::choose(options.root);
    auto parts = std::make_unique<Parts>(root, options.mainBundlePath.empty() ? bundleOfThisProgram(root)
                                                                              : options.mainBundlePath);
    std::string busError;
    if (!parts->connect(busError) && options.needsBus) {
        error = busError;
        return nullptr;
    }
    parts->assemble();
    return std::unique_ptr<LinuxPlatform>(new LinuxPlatform(std::move(parts)));
}

LinuxPlatform::LinuxPlatform(std::unique_ptr<Parts> parts) : parts_(std::move(parts)) {}

LinuxPlatform::~LinuxPlatform() {
    parts_->sharedInstances.removeAll();
    install(nullptr);
}

Platform& LinuxPlatform::platform() { return *parts_->platform; }

const InstallationRoot& LinuxPlatform::root() const { return parts_->root; }

LinuxRunLoop& LinuxPlatform::runLoop() { return parts_->runLoop; }

BusConnection* LinuxPlatform::bus() { return parts_->connection.get(); }

void LinuxPlatform::notifyReady() { sd_notify(0, "READY=1"); }

void LinuxPlatform::notifyStopping() { sd_notify(0, "STOPPING=1"); }

} // namespace trigora::platform
