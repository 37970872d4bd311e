#include "tools/frame/ChangeReport.h"

#include "tools/bus/AgentNotice.h"
#include "tools/frame/Report.h"
#include "tools/words/Wording.h"

namespace trigora::tools {

namespace {

const char* noticeWord(AgentNotice notice) {
    switch (notice) {
    case AgentNotice::told:
        return "told";
    case AgentNotice::notRunning:
        return "not running";
    case AgentNotice::noBus:
        break;
    }
    return "no session bus";
}

} // namespace

void print(const SettingsChange& change, const Arguments& arguments, std::ostream& out) {
    const AgentNotice notice = agentNotice();
    if (arguments.has("json")) {
        Dictionary object = change.facts;
        object["notes"] = Array(change.notes.begin(), change.notes.end());
        object["agent"] = noticeWord(notice);
        printJson(out, object);
        return;
    }
    out << printable(change.sentence) << '\n';
    for (const std::string& note : change.notes) {
        out << "Note: " << printable(note) << ".\n";
    }
    out << noticeSentence(notice) << '\n';
}

} // namespace trigora::tools
