#include "companions/TrigoraNotice/notice/ScanNotice.h"

#include "tests/fakes/PlatformTest.h"

namespace trigora::companions {
namespace {

using namespace test;

class ScanNoticeTest : public PlatformTest {
protected:
    ScanNoticeTest() {
        stringTable.texts = {{"Notice.OnePage", "%@ page"},         {"Notice.Pages", "%@ pages"},
                             {"Notice.Progress", "%@ has sent %@"}, {"Notice.Starting", "%@ warms up"},
                             {"Notice.Busy", "%@ is in use"},       {"Notice.Kept", "%@ in %@"},
                             {"Failure.jammed", "%@ is stuck"},     {"Failure.interrupted", "ended"},
                             {"Scan.Note.Size", "not %@ but %@"}};
    }
    static Dictionary report(const std::string& state, int pages, const Array& files = {},
                             const std::string& failure = "none") {
        return {{"State", state}, {"Driver", "A & B"},  {"Pages", pages},
                {"Files", files}, {"Failure", failure}, {"Reason", "the reason"}};
    }
    static std::string buttons(const NoticeContent& content) {
        std::string names;
        for (const auto& [name, words] : content.actions) {
            names += name + ' ';
        }
        return names;
    }
};

TEST_F(ScanNoticeTest, EachReportIsToldInTheUsersWordsWithTheButtonsThatHelp) {
    struct Case {
        Dictionary report;
        std::string text;
        std::string buttons;
        bool isOver;
        bool isFailure;
    };
    Dictionary noted = report("finished", 2, {"/scans/img001.pdf"});
    noted["Notes"] = Array{
        Dictionary{{"Key", "Scan.Note.Size"}, {"Text", "?"}, {"Arguments", Array{"A3", "A4"}}},
        Dictionary{{"Key", "Scan.Note.New"}, {"Text", "as %@ said"}, {"Arguments", Array{"I"}}}, "nonsense"};
    const std::array<Case, 9> cases{{
        {{}, " warms up", "cancel ", false, false},
        {report("scanning", 0), "A & B warms up", "cancel ", false, false},
        {report("busy", 0), "A & B is in use", "cancel ", false, false},
        {report("scanning", 1), "A & B has sent 1 page", "cancel ", false, false},
        {report("finished", 2, {"/scans/img001.pdf", "/scans/img002.pdf"}), "2 pages: img001.pdf",
         "default open folder ", true, false},
        {noted, "2 pages: img001.pdf\nnot A3 but A4\nas I said", "default open folder ", true, false},
        {report("failed", 0, {}, "jammed"), "A & B is stuck", "", true, true},
        {report("failed", 3, {"/scans/img001.pdf"}, "jammed"), "A & B is stuck\n3 pages in /scans/img001.pdf",
         "default open folder ", true, true},
        {report("failed", 0, {}, "cancelled"), "the reason", "", true, false},
    }};
    for (const Case& one : cases) {
        SCOPED_TRACE(Value(one.report).description());
        ScanNotice notice;
        notice.take(one.report);
        EXPECT_EQ(notice.content().text, one.text);
        EXPECT_EQ(buttons(notice.content()), one.buttons);
        EXPECT_EQ(notice.content().isFailure, one.isFailure);
        EXPECT_EQ(notice.isOver(), one.isOver);
        notice.assistantEnded();
        EXPECT_TRUE(notice.isOver());
        EXPECT_EQ(notice.content().text, one.isOver ? one.text : "ended");
    }
}

} // namespace
} // namespace trigora::companions
