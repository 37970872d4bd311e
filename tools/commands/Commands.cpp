#include "tools/commands/Commands.h"

#include "tools/buttons/CommandButtons.h"
#include "tools/commands/CommandActions.h"
#include "tools/commands/CommandBind.h"
#include "tools/commands/CommandCheck.h"
#include "tools/commands/CommandDrivers.h"
#include "tools/commands/CommandEvents.h"
#include "tools/commands/CommandExplain.h"
#include "tools/commands/CommandListen.h"
#include "tools/commands/CommandLog.h"
#include "tools/commands/CommandPress.h"
#include "tools/commands/CommandProject.h"
#include "tools/commands/CommandProjects.h"
#include "tools/commands/CommandStatus.h"
#include "tools/commands/CommandTestScan.h"
#include "tools/commands/CommandWatch.h"
#include "tools/panel/CommandPanel.h"

#include <array>

namespace trigora::tools {

std::span<const Command> commands() {
    static const std::array all{
        eventsCommand(),        projectsCommand(),   actionsCommand(),     driversCommand(),
        buttonsCommand(),       bindCommand(),       unbindCommand(),      watchCommand(),
        unwatchCommand(),       projectNewCommand(), projectCopyCommand(), projectSetCommand(),
        projectDeleteCommand(), pressCommand(),      listenCommand(),      panelCommand(),
        explainPressCommand(),  checkCommand(),      statusCommand(),      logOnCommand(),
        logOffCommand(),        logFollowCommand(),  testScanCommand()};
    return all;
}

} // namespace trigora::tools
