#include "agent/delegate/StatusReport.h"

#include "agent/event/StatusRequest.h"
#include "agent/log/Guarded.h"
#include "agent/log/PSlog.h"
#include "agent/service/TgaServiceManager.h"
#include "catalogue/actions/TrActionInformation.h"
#include "platform/Bundles.h"
#include "platform/Clock.h"
#include "platform/Formats.h"
#include "platform/Platform.h"
#include "platform/Processes.h"
#include "platform/Text.h"
#include "projects/manager/ProjectRunning.h"
#include "runners/actions/TgaActionRunner.h"
#include "runners/actions/TgaActionRunnerManager.h"

namespace trigora {

namespace {

Array listOf(const std::vector<std::string>& texts) { return {texts.begin(), texts.end()}; }

Array failedModules() {
    Array list;
    for (const platform::ModuleFailure& failure : platform::current().bundles.failedModules()) {
        list.push_back(Dictionary{{"path", failure.path}, {"reason", failure.reason}});
    }
    return list;
}

/// Of the runner that waits for its scan; nothing when there is none.
Value applicationOfRun() {
    const auto runner = TgaActionRunnerManager::sharedActionRunnerManager()->currentActionRunner();
    const auto action = runner ? runner->actionInformation() : nullptr;
    const auto path = action ? action->applicationPath() : std::nullopt;
    return path ? Value(*path) : Value();
}

} // namespace

StatusReport::StatusReport(std::string root)
    : root_(std::move(root)), startSeconds_(platform::current().clock.monotonicSeconds()) {
    platform::current().appleEvents.setEventHandler(
        platform::productEventClass, statusEventID,
        [this](const platform::AppleEvent&, platform::AppleEvent& reply) {
            guarded("-[StatusReport status]", [&] {
                const std::string text = platform::current().json.write(status());
                reply.parameters.push_back(
                    {platform::keyDirectObject, platform::typeUTF8Text, Data(text.begin(), text.end())});
            });
        });
}

StatusReport::~StatusReport() {
    platform::current().appleEvents.removeEventHandler(platform::productEventClass, statusEventID);
}

Dictionary StatusReport::status() const {
    platform::Platform& platform = platform::current();
    const auto service = TgaServiceManager::sharedServiceManager();
    const Dictionary press = service->currentPress().event;
    return {{"processID", std::int64_t{platform.processes.ownProcessID()}},
            {"root", root_},
            {"uptime", platform.clock.monotonicSeconds() - startSeconds_},
            {"log", isLogSwitchedOn()},
            {"press", press.empty() ? Value() : Value(press)},
            {"projectIsRunning", platform::shared<ProjectRunning>()->isRunning()},
            {"application", applicationOfRun()},
            {"watchedFolders", listOf(service->watchedFolders())},
            {"modules", listOf(platform.bundles.loadedModules())},
            {"failedModules", failedModules()}};
}

} // namespace trigora
