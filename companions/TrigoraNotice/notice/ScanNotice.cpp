#include "companions/TrigoraNotice/notice/ScanNotice.h"

#include "platform/Desktop.h"
#include "platform/Platform.h"
#include "platform/Text.h"

namespace trigora::companions {

namespace {

using namespace platform;

/// The text of the string tables, or `otherwise` where these have none.
std::string localized(const std::string& key, const std::string& otherwise) {
    const std::string text = current().stringTable.localizedString(key);
    return text == key ? otherwise : text;
}

/// Puts the arguments in the places of "%@".
std::string filled(std::string text, const std::vector<std::string>& arguments) {
    std::size_t at = 0;
    for (const std::string& argument : arguments) {
        at = text.find("%@", at);
        if (at == std::string::npos) {
            break;
        }
        text.replace(at, 2, argument);
        at += argument.size();
    }
    return text;
}

std::string sentence(const std::string& key, const std::vector<std::string>& arguments) {
    return filled(localized(key, key), arguments);
}

std::vector<std::string> textsAt(const Dictionary& dictionary, const std::string& key) {
    std::vector<std::string> texts;
    for (const Value& value : arrayAt(dictionary, key).value_or(Array{})) {
        if (const std::string* text = value.text()) {
            texts.push_back(*text);
        }
    }
    return texts;
}

/// "1 page" or "7 pages".
std::string pageCount(const Dictionary& report) {
    const std::int64_t count = integerAt(report, "Pages").value_or(0);
    return sentence(count == 1 ? "Notice.OnePage" : "Notice.Pages", {std::to_string(count)});
}

} // namespace

void ScanNotice::assistantEnded() {
    if (!isOver()) {
        report_["State"] = "failed";
        report_["Failure"] = "interrupted";
        report_["Pages"] = 0;
        report_["Files"] = Array{};
    }
}

bool ScanNotice::isOver() const {
    const std::string state = textAt(report_, "State").value_or("");
    return state == "finished" || state == "failed";
}

std::string ScanNotice::document() const {
    const std::vector<std::string> files = textsAt(report_, "Files");
    return files.empty() ? "" : files.front();
}

NoticeContent ScanNotice::content() const {
    const std::string state = textAt(report_, "State").value_or("");
    return state == "finished" ? finished() : state == "failed" ? failed() : ongoing();
}

NoticeContent ScanNotice::ongoing() const {
    const std::string driver = textAt(report_, "Driver").value_or("");
    const bool isBusy = textAt(report_, "State") == "busy";
    const std::int64_t pages = integerAt(report_, "Pages").value_or(0);
    NoticeContent content;
    content.title = localized("Notice.Scanning", "Scanning");
    content.text = isBusy       ? sentence("Notice.Busy", {driver})
                   : pages == 0 ? sentence("Notice.Starting", {driver})
                                : sentence("Notice.Progress", {driver, pageCount(report_)});
    content.actions = {{cancel, localized("Notice.Button.Cancel", "Cancel")}};
    content.isOngoing = true;
    return content;
}

NoticeContent ScanNotice::finished() const {
    NoticeContent content;
    content.title = localized("Notice.Finished", "Scanned");
    content.text = pageCount(report_) + ": " + lastPathComponent(document()) + notes();
    addDocumentActions(content);
    return content;
}

NoticeContent ScanNotice::failed() const {
    const std::string kind = textAt(report_, "Failure").value_or("");
    NoticeContent content;
    content.title = localized("Notice.Failed", "The scan did not finish");
    content.text = filled(localized("Failure." + kind, textAt(report_, "Reason").value_or("")),
                          {textAt(report_, "Driver").value_or("")});
    if (!document().empty()) {
        content.text += '\n' + sentence("Notice.Kept", {pageCount(report_), document()});
    }
    content.text += notes();
    content.isFailure = kind != "cancelled" && kind != "atScanner";
    addDocumentActions(content);
    return content;
}

std::string ScanNotice::notes() const {
    std::string text;
    for (const Value& value : arrayAt(report_, "Notes").value_or(Array{})) {
        if (const Dictionary* note = value.dictionary()) {
            const std::string english = textAt(*note, "Text").value_or("");
            text += '\n' + filled(localized(textAt(*note, "Key").value_or(""), english),
                                  textsAt(*note, "Arguments"));
        }
    }
    return text;
}

void ScanNotice::addDocumentActions(NoticeContent& content) const {
    if (!document().empty()) {
        content.actions = {{open, localized("Notice.Button.Open", "Open")},
                           {openButton, localized("Notice.Button.Open", "Open")},
                           {showInFolder, localized("Notice.Button.Show", "Show in folder")}};
    }
}

} // namespace trigora::companions
