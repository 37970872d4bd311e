#include "tools/Command.h"
#include "tools/CommandListen.h"
#include "tools/CommandPanel.h"
#include "tools/CommandPress.h"

#include <array>

namespace trigora::tools {

std::span<const Command> commands() {
    static const std::array all{pressCommand(), listenCommand(), panelCommand()};
    return all;
}

} // namespace trigora::tools
