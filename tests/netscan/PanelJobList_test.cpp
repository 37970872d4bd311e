#include "netscan/panel/PanelDriver.h"
#include "netscan/panel/PanelRecords.h"
#include "platform/Bundles.h"
#include "platform/Platform.h"
#include "tests/netscan/NetworkPanelTest.h"

#include <map>

namespace trigora {
namespace {

using test::hexadecimal;
using test::Lines;
using test::setField;

class PanelJobLists : public test::NetworkPanelTest {
protected:
    /// Has the list sent and gives the bytes of an entry behind its name.
    std::string entry(std::size_t index) {
        return hexadecimal(&panel.entries.at(index).ucJobNumber, sizeof(PanelJobEntry) - sizeof(address32));
    }
    static std::string zeros(std::size_t bytes) { return std::string(2 * bytes, '0'); }
};

TEST_F(PanelJobLists, EntriesTellTheJobsSettingsInThePanelsCodes) {
    struct Row {
        int pixelDataType, resolution, functionalUnitType;
        bool isDuplex;
        int documentType;
        const char* imageUTType;
        const char* transporter;
        const char* bytes; // type, resolution, its number, device, size, 0, format, destination
    };
    const Row rows[] = {
        {1, 300, 3, true, 2, "com.adobe.pdf", "com.pelox.LocalTransporter", "01012c01020400020100"},
        {2, 600, 3, false, 3, "public.jpeg", "com.pelox.PrintTransporter", "02025802010100000200"},
        {-1, 200, -1, true, 4, "public.tiff", "com.pelox.MailTransporter", "0300c800030200010000"},
        {0, 400, 0, true, 5, "public.png", "com.pelox.FTPTransporter", "00039001000300050300"},
        {3, 0, 5, true, 6, "com.microsoft.word.doc", "com.pelox.WebDAVTransporter", "00030000000600060500"},
        {-2, 70000, 4, false, 7, "com.microsoft.excel.xls", "com.pelox.GoogleDocsTransporter",
         "00037011000a00070600"},
        {1, -1, -2, false, -1, "com.microsoft.powerpoint.ppt", "com.pelox.EvernoteTransporter",
         "0103ffff000a00080600"},
        {1, 300, 0, false, 9, "", "com.pelox.SugarSyncTransporter", "01012c01000500000600"},
        {1, 300, 0, false, 11, "COM.ADOBE.PDF", "", "01012c01000700000100"},
        {1, 300, 0, false, 13, "public.jpeg", "com.pelox.OtherTransporter", "01012c01000800000600"},
        {1, 300, 0, false, 29, "public.jpeg", "", "01012c01000400000100"},
        {1, 300, 0, false, 38, "public.jpeg", "", "01012c01000600000100"},
        {1, 300, 0, false, 53, "public.jpeg", "", "01012c01000d00000100"},
        {1, 300, 0, false, 1000, "public.jpeg", "", "01012c01000f00000100"},
        {1, 300, 0, false, 8, "public.jpeg", "", "01012c01000000000100"},
        {1, 300, 0, false, 1, "public.jpeg", "", "01012c01000000000100"}};
    Array list;
    for (const Row& row : rows) {
        list.emplace_back(
            Dictionary{{"name", "Job"},
                       {"scanSetting", Dictionary{{"pixelDataType", row.pixelDataType},
                                                  {"resolution", row.resolution},
                                                  {"functionalUnitType", row.functionalUnitType},
                                                  {"duplexScanningEnabled", row.isDuplex},
                                                  {"documentType", row.documentType}}},
                       {"saveSetting", Dictionary{{"imageUTType", row.imageUTType}}},
                       {"transportSetting", Dictionary{{"identifier", row.transporter}}}});
    }
    jobs.list = platform::current().json.write(list);
    for (const std::int32_t version : {newList - 1, newList}) {
        record.protocolVersion = version;
        ASSERT_EQ(event(NSM_EVENT_JOB_LIST), PANEL_RESULT_DONE);
        std::uint8_t number = 0;
        for (const Row& row : rows) {
            const std::string expected = hexadecimal(&++number, 1) + "00" + row.bytes + zeros(120);
            EXPECT_EQ(entry(number - 1U), expected) << version;
        }
        EXPECT_EQ(hexadecimal(&panel.entries.back(), sizeof(PanelJobEntry)), zeros(136));
    }
}

TEST_F(PanelJobLists, SettingsThatAreMissingOrWrongGiveTheDefaults) {
    jobs.list = R"([{}, 7, {"name": 5, "scanSetting": [], "saveSetting": "x", "transportSetting": 1},
                    {"name": "größe\u0000x", "scanSetting": {"resolution": 4294967596, "documentType": "3"},
                     "saveSetting": {}, "transportSetting": {}}])";
    ASSERT_EQ(event(NSM_EVENT_JOB_LIST), PANEL_RESULT_DONE);
    EXPECT_EQ(panel.names, (Lines{"", "", "", "größe", "(none)"}));
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(entry(i).substr(2, 22), "0000030000000000000100") << i;
    }
    EXPECT_EQ(entry(3).substr(2, 22), "000003ffff000100000100");

    for (const char* list : {"", "{}", "null", "[", "\xFF"}) {
        jobs.list = list;
        EXPECT_EQ(event(NSM_EVENT_JOB_LIST), PANEL_RESULT_DONE);
        EXPECT_EQ(panel.names, Lines{"(none)"}) << list;
    }
}

TEST_F(PanelJobLists, OnlyTheFirstThirtyAreSent) {
    for (const auto& [count, length] : {std::pair(31U, 100000U), std::pair(10000U, 1U)}) {
        Array list(count, Dictionary{{"name", std::string(length, 'n')}});
        jobs.list = platform::current().json.write(list);
        ASSERT_EQ(event(NSM_EVENT_JOB_LIST), PANEL_RESULT_DONE);
        ASSERT_EQ(panel.entries.size(), 31U);
        Lines names(30, std::string(length, 'n'));
        names.emplace_back("(none)");
        EXPECT_EQ(panel.names, names);
        for (std::size_t i = 0; i < 30; ++i) {
            EXPECT_EQ(panel.entries[i].ucJobNumber, i + 1);
        }
    }
}

TEST_F(PanelJobLists, NewListsMarkWhatContinuesAndWhatMustNotBeEdited) {
    jobs.list = R"([{"scanSetting": {"requiresContinueScanning": true}}, {"prohibitsEdit": true},
                    {"scanSetting": {"requiresContinueScanning": true}, "prohibitsEdit": true}, {}])";
    struct {
        std::int32_t version;
        std::uint32_t capabilities;
        std::vector<int> flags;
    } const rows[] = {{newList, 0, {2, 0, 2, 0, 0}},
                      {newList, PANEL_HONOURS_PROHIBITS_EDIT, {2, 1, 3, 0, 0}},
                      {newList - 1, PANEL_HONOURS_PROHIBITS_EDIT, {0, 0, 0, 0, 0}}};
    for (const auto& row : rows) {
        record.protocolVersion = row.version;
        record.capabilityFlags = row.capabilities;
        event(NSM_EVENT_JOB_LIST);
        std::vector<int> flags;
        for (const PanelJobEntry& sent : panel.entries) {
            flags.push_back(sent.jobFlags);
        }
        EXPECT_EQ(flags, row.flags) << row.version;
    }
}

TEST_F(PanelJobLists, APasswordGoesAsDigestUnlessNewListsMayHaveItPlain) {
    enum Requirement { digest, plain, unanswered };
    // The digests of "secret00:1A:2b:3C:4d:5E" and of nothing.
    const std::string secret = "02000000273f2a82d52711b84f3085b853acd301";
    const std::string nothing = "02000000d41d8cd98f00b204e9800998ecf8427e";
    const std::string none = zeros(20);
    struct {
        std::int32_t version;
        std::optional<std::string> password;
        Requirement requirement;
        std::string header;
    } const rows[] = {{newList, "secret", digest, secret},
                      {newList, "secret", unanswered, secret},
                      {newList, "secret", plain, "plain"},
                      {newList - 1, "secret", plain, secret},
                      {newList, "", digest, none},
                      {newList, std::nullopt, digest, none},
                      {newList, std::nullopt, plain, none},
                      {newList - 1, "", digest, none},
                      {newList, "geheimnisträger", digest, nothing}};
    for (const auto& row : rows) {
        record.protocolVersion = row.version;
        jobs.password = row.password;
        jobs.needsDigest = row.requirement == digest;
        auto* const answers = jobOperations.isMD5HashedPasswordRequired;
        if (row.requirement == unanswered) {
            jobOperations.isMD5HashedPasswordRequired = nullptr;
        }
        event(NSM_EVENT_JOB_LIST);
        jobOperations.isMD5HashedPasswordRequired = answers;
        if (row.header == "plain") {
            EXPECT_EQ(panel.header.passwordKind, 1U);
            EXPECT_EQ(panel.plainPassword, *row.password);
            EXPECT_EQ(hexadecimal(panel.header.password + 4, 12), zeros(12));
        } else {
            EXPECT_EQ(hexadecimal(&panel.header, sizeof panel.header), row.header)
                << row.version << row.password.value_or("none");
        }
    }
    setField(record.hardwareAddress, "\xC3\xA4");
    jobs.password = "secret";
    jobs.needsDigest = true;
    event(NSM_EVENT_JOB_LIST);
    EXPECT_EQ(hexadecimal(&panel.header, sizeof panel.header), nothing) << "the address is not ASCII";
}

TEST_F(PanelJobLists, TheLogShowsNewListsFieldByField) {
    logged();
    jobs.list = R"([{"name": "Bills", "scanSetting": {"resolution": 400}}])";
    jobs.password = "secret";
    jobs.knowsOfficeFormats = false;
    const Lines beginning = {"eventCallback kind = 5", "[jobif isOfficeFormatSupported] == NO"};
    const Lines fields = {"jobData2.wcJobName = Bills",        "jobData2.ucJobNumber = 1",
                          "jobData2.ucImageType = 0",          "jobData2.ucResolution = 3",
                          "jobData2.usCustomResolution = 400", "jobData2.ucScanningDevice = 0",
                          "jobData2.ucDocumentSize = 0",       "jobData2.ucSaveFormat = 0",
                          "[password] passwordString = secret"};
    const auto expectLog = [&](bool hasFields, const char* last) {
        event(NSM_EVENT_JOB_LIST);
        Lines expected = beginning;
        expected.insert(expected.end(), fields.begin(), hasFields ? fields.end() : fields.begin());
        if (last != nullptr) {
            expected.emplace_back(last);
        }
        expected.emplace_back("eventCallback result = 1");
        EXPECT_EQ(logged(), expected);
    };
    expectLog(true, "MD5 hash convert");
    jobs.needsDigest = false;
    expectLog(true, "Plain text");
    record.protocolVersion = newList - 1;
    expectLog(false, nullptr);
}

TEST_F(PanelJobLists, ThePlaceholderIsOneUnprotectedEntry) {
    startButtonManager();
    for (const std::int32_t version : {newList - 1, newList}) {
        record.protocolVersion = version;
        EXPECT_EQ(event(NSM_EVENT_JOB_LIST), PANEL_RESULT_DONE);
        EXPECT_EQ(journal.take().at(2), version < newList ? "PDSendJobData 1" : "PDSendJobData2 110 1");
        EXPECT_EQ(panel.names, (Lines{"Dummy", "(none)"}));
        EXPECT_EQ(entry(0), "01000300c8000200000201" + zeros(121));
        EXPECT_EQ(hexadecimal(&panel.entries[1], sizeof(PanelJobEntry)), zeros(136));
        EXPECT_EQ(hexadecimal(&panel.header, sizeof panel.header), zeros(20));
    }
}

TEST_F(PanelJobLists, TheOpenBlockNamesThePanelAndACallbackThatCanBeCalled) {
    event(NSM_EVENT_JOB_LIST);
    const std::string block = hexadecimal(&panel.block, sizeof panel.block);
    EXPECT_EQ(block.substr(0, 24), "020000000000000000000000");
    EXPECT_EQ(block.substr(24, 256), hexadecimal("192.168.0.1", 11) + zeros(128 - 11));
    EXPECT_EQ(block.substr(288), zeros(4));
    auto* callback = reinterpret_cast<PanelProgressCallback>(trigora_pointer(panel.block.progressCallback));
    ASSERT_NE(callback, nullptr);
    callback(1, &panel, 2);
}

TEST_F(PanelJobLists, EightHexadecimalDigitsBecomeADottedAddress) {
    const std::pair<std::string, std::string> rows[] = {{"C0A80001", "192.168.0.1"},
                                                        {"ffFF00a0", "255.255.0.160"},
                                                        {"192.168.0.1", "192.168.0.1"},
                                                        {"1.2.3.45", "1.2.3.45"},
                                                        {"C0A8000", "C0A8000"},
                                                        {"C0A800011", "C0A800011"},
                                                        {"C0A8000G", "C0A8000G"},
                                                        {"", ""},
                                                        {std::string(32, '7'), std::string(32, '7')}};
    for (const auto& [field, dotted] : rows) {
        setField(record.ipAddress, field);
        EXPECT_EQ(dottedAddress(record), dotted);
    }
    char buffer[8];
    setField(record.ipAddress, "C0A80001");
    EXPECT_STREQ(GetIpAddress(record, buffer, sizeof buffer), "192.168");
    EXPECT_EQ(GetIpAddress(record, nullptr, 8), nullptr);
}

} // namespace
} // namespace trigora
