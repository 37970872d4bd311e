#include "projects/manager/ActionRunnerChoice.h"

#include "platform/Text.h"
#include "projects/information/TrProjectInformation.h"
#include "runners/actions/TgaActionRunnerCopy.h"
#include "runners/actions/TgaActionRunnerEPS.h"
#include "runners/actions/TgaActionRunnerLauncher.h"
#include "runners/actions/TgaActionRunnerPageManager.h"
#include "runners/actions/TgaActionRunnerPeloxScan.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace trigora {

namespace {

using RunnerPointer = std::shared_ptr<TgaActionRunner>;

template <typename Runner> RunnerPointer make() { return std::make_shared<Runner>(); }
RunnerPointer makeNone() { return nullptr; }

constexpr std::int32_t anyProjectID = -1;

struct Rule {
    std::string_view projectType;
    std::int32_t projectID; ///< or `anyProjectID`
    ActionRunnerChoice choice;
};

/// The first row that fits decides.
constexpr std::array rules{
    Rule{"0x8002",
         110,
         {"TgaActionRunnerPeloxScan", "type 0x8002 and ID 110", make<TgaActionRunnerPeloxScan>}},
    Rule{"0x8002",
         520,
         {"TgaActionRunnerPeloxScan", "type 0x8002 and ID 520", make<TgaActionRunnerPeloxScan>}},
    Rule{"0x8002",
         910,
         {"TgaActionRunnerPageManager", "type 0x8002 and ID 910", make<TgaActionRunnerPageManager>}},
    Rule{"0x8002",
         911,
         {"TgaActionRunnerPageManager", "type 0x8002 and ID 911", make<TgaActionRunnerPageManager>}},
    Rule{"0x8002",
         912,
         {"TgaActionRunnerPageManager", "type 0x8002 and ID 912", make<TgaActionRunnerPageManager>}},
    Rule{"0x8002", 340, {"TgaActionRunnerCopy", "type 0x8002 and ID 340", make<TgaActionRunnerCopy>}},
    Rule{"0x8002", 380, {"TgaActionRunnerEPS", "type 0x8002 and ID 380", make<TgaActionRunnerEPS>}},
    Rule{"0x8003", 500, {"TgaActionRunnerLauncher", "type 0x8003 and ID 500", make<TgaActionRunnerLauncher>}},
    Rule{"0x8003", anyProjectID, {"", "type 0x8003 and an ID other than 500", makeNone}},
};

constexpr ActionRunnerChoice everyOther{"TgaActionRunnerLauncher", "no other runner serves its type and ID",
                                        make<TgaActionRunnerLauncher>};

} // namespace

const ActionRunnerChoice& actionRunnerChoice(const TrProjectInformation& project) {
    const std::int32_t projectID = platform::integerValue(project.projectID().value_or(""));
    const auto fits = [&](const Rule& rule) {
        return project.type() == rule.projectType &&
               (rule.projectID == anyProjectID || rule.projectID == projectID);
    };
    const auto* rule = std::ranges::find_if(rules, fits);
    return rule == rules.end() ? everyOther : rule->choice;
}

} // namespace trigora
