#include "tools/frame/ChangeReport.h"

#include "tools/bus/AgentNotice.h"
#include "tools/frame/Report.h"
#include "tools/settings/SettingsSession.h"
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

void ChangeReport::addNote(const std::optional<std::string>& note) {
    if (note) {
        notes.push_back(*note);
    }
}

void ChangeReport::print(const Arguments& arguments, std::ostream& out) const {
    const AgentNotice notice = agentNotice();
    if (arguments.has("json")) {
        Dictionary object = facts;
        object["notes"] = Array(notes.begin(), notes.end());
        object["agent"] = noticeWord(notice);
        printJson(out, object);
        return;
    }
    out << printable(sentence) << '\n';
    for (const std::string& note : notes) {
        out << "Note: " << printable(note) << ".\n";
    }
    out << noticeSentence(notice) << '\n';
}

} // namespace trigora::tools
