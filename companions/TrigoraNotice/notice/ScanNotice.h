#pragma once

#include "companions/TrigoraNotice/notice/DesktopNotice.h"
#include "platform/Value.h"

#include <string>
#include <vector>

namespace trigora::companions {

/// What the scan assistant reports of a scan, in the user's language. A report is a dictionary:
///
///     State     "scanning", "busy", "finished" or "failed"
///     Driver    the scanner's driver name
///     Pages     how many pages have been read; of a failed scan, how many are kept
///     Files     list of the documents' paths
///     Failure   of a failed scan: its kind, as in the string tables after "Failure."
///     Reason    the same in English, for a kind without a text
///     Notes     list of dictionaries: Key (in the string tables), Text (the same in English) and Arguments
class ScanNotice {
public:
    // What the actions are called.
    static constexpr const char* cancel = "cancel";
    static constexpr const char* open = "default"; // a click on the notification itself, too
    static constexpr const char* openButton = "open";
    static constexpr const char* showInFolder = "folder";

    void take(Dictionary report) { report_ = std::move(report); }
    /// The assistant has ended, with its last word spoken or not.
    void assistantEnded();

    bool isOver() const;
    /// The document to open; empty when there is none.
    std::string document() const;
    NoticeContent content() const;

private:
    NoticeContent ongoing() const;
    NoticeContent finished() const;
    NoticeContent failed() const;
    std::string notes() const;
    void addDocumentActions(NoticeContent& content) const;

    Dictionary report_;
};

} // namespace trigora::companions
