#include "tools/Command.h"
#include "tools/CommandActions.h"
#include "tools/CommandBind.h"
#include "tools/CommandCheck.h"
#include "tools/CommandDrivers.h"
#include "tools/CommandEvents.h"
#include "tools/CommandExplain.h"
#include "tools/CommandListen.h"
#include "tools/CommandLog.h"
#include "tools/CommandPanel.h"
#include "tools/CommandPress.h"
#include "tools/CommandProject.h"
#include "tools/CommandProjects.h"
#include "tools/CommandStatus.h"
#include "tools/CommandTestScan.h"
#include "tools/CommandWatch.h"

#include <array>

namespace trigora::tools {

std::span<const Command> commands() {
    static const std::array all{
        eventsCommand(),     projectsCommand(),    actionsCommand(),    driversCommand(),
        bindCommand(),       unbindCommand(),      watchCommand(),      unwatchCommand(),
        projectNewCommand(), projectCopyCommand(), projectSetCommand(), projectDeleteCommand(),
        pressCommand(),      listenCommand(),      panelCommand(),      explainPressCommand(),
        checkCommand(),      statusCommand(),      logOnCommand(),      logOffCommand(),
        logFollowCommand(),  testScanCommand()};
    return all;
}

} // namespace trigora::tools
