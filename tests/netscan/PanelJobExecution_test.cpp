#include "tests/netscan/NetworkPanelTest.h"

namespace trigora {
namespace {

using test::Lines;

class PanelJobs : public test::NetworkPanelTest {
protected:
    PanelJobs() { record.jobIndex = 12; }

    const Lines exchange = {"jobs for PID 0142", "PDOpen 192.168.0.1", "PDLock",
                            "PDRecvJobData",     "PDUnLock",           "PDClose"};
    Lines exchangeAnd(const std::string& last) const {
        Lines lines = exchange;
        lines.push_back(last);
        return lines;
    }
};

TEST_F(PanelJobs, CommandsGoToTheJobInterfaceOnceTheChoicesWereRead) {
    struct {
        std::int32_t command;
        const char* call;
        std::int32_t resultWhenRefused;
    } const rows[] = {
        {0, "invoke 12 192.168.0.1", 8}, {1, "continueJob", 8}, {2, "completeJob", 8}, {3, "cancelJob", 8},
        {4, "keepAliveJob", 8},          {5, nullptr, 1},       {-1, nullptr, 1}};
    for (const auto& row : rows) {
        record.command = row.command;
        for (const bool accepts : {true, false}) {
            jobs.accepts = accepts;
            EXPECT_EQ(event(4), accepts ? 1 : row.resultWhenRefused) << row.command;
            EXPECT_EQ(journal.take(), row.call ? exchangeAnd(row.call) : exchange) << row.command;
        }
    }
}

TEST_F(PanelJobs, TheEndOfAJobNeedsNoPanel) {
    EXPECT_EQ(event(6), 1);
    EXPECT_EQ(journal.take(), (Lines{"jobs for PID 0142", "completeJobInContext"}));
    jobs.accepts = false;
    EXPECT_EQ(event(6), 8);
}

TEST_F(PanelJobs, AnApplicationThatIsNotReadyIsBusy) {
    jobs.isReady = false;
    EXPECT_EQ(event(4), 9);
    EXPECT_EQ(journal.take(), exchange);
    record.command = 1;
    EXPECT_EQ(event(4), 1) << "a running job goes on";
}

TEST_F(PanelJobs, APanelThatHasGoneStartsNothingAndABusyOneIsNotRead) {
    panel.locks = false;
    EXPECT_EQ(event(4), 1);
    EXPECT_EQ(journal.take(),
              (Lines{exchange[0], exchange[1], exchange[2], "PDClose", "invoke 12 192.168.0.1"}));
    panel.opens = false;
    EXPECT_EQ(event(4), 1);
    EXPECT_EQ(journal.take(), (Lines{exchange[0], exchange[1]}));
}

TEST_F(PanelJobs, WhatIsNotInstalledFails) {
    const auto expectFailure = [&](const char* what, const Lines& calls) {
        for (const std::int32_t kind : {4, 6}) {
            EXPECT_EQ(event(kind), 8) << what;
            EXPECT_EQ(journal.take(), calls) << what;
        }
    };
    jobs.areThere = false;
    expectFailure("no jobs for the scanner", {exchange[0]});
    jobs.areThere = true;
    jobOperations.header.version += 1;
    expectFailure("another version", {});
    jobOperations.header.version -= 1;
    jobOperations.header.size -= 8;
    expectFailure("a smaller table", {});
    jobOperations.header.size += 16; // with an entry that the agent does not know
    EXPECT_EQ(event(6), 1);
    journal.take();
    jobOperations.header.size -= 8;
    auto* const maker = std::exchange(jobOperations.jobInterfaceForProductID, nullptr);
    expectFailure("no maker of objects", {});
    jobOperations.jobInterfaceForProductID = maker;
    const std::string module =
        paths::documentCaptureApplication() + "/Contents/Resources/ScrivanaInterface.bundle";
    remove(module);
    installEmpty(module);
    expectFailure("no classes", {});
    remove(module);
    expectFailure("no module", {});
    remove(paths::documentCaptureApplication());
    expectFailure("no application", {});
    installJobInterface();
    EXPECT_EQ(event(6), 1);
    journal.take();
    remove(paths::panelDriverModule());
    expectFailure("no panel driver", {});
}

TEST_F(PanelJobs, OperationsThatTheObjectDoesNotAnswerToAreRefused) {
    SVJobInterfaceClass bare{};
    bare.header = jobOperations.header;
    bare.jobInterfaceForProductID = [](const char*) -> void* { return self; };
    jobOperations = bare;
    record.capabilityFlags = 1;
    EXPECT_EQ(event(5), 1);
    EXPECT_EQ(record.capabilityFlags, 0U);
    EXPECT_EQ(panel.header.passwordKind, 0U);
    EXPECT_EQ(event(4), 9);
    jobOperations.isReady = [](void*) { return std::uint8_t{1}; };
    for (record.command = 0; record.command <= 4; ++record.command) {
        EXPECT_EQ(event(4), 8) << record.command;
    }
    EXPECT_EQ(event(6), 8);
}

/// The codes of one choice and what they become.
struct ChoiceRow {
    std::vector<std::uint8_t> codes;
    const char* options; // a part of them
};

TEST_F(PanelJobs, ChoicesBecomeTheOptionsOfTheJob) {
    const struct {
        std::uint8_t stRecvJobData::*choice;
        std::vector<ChoiceRow> rows;
    } choices[] = {{&stRecvJobData::ucImageType,
                    {{{0, 4, 255}, R"("pixelDataType":0)"},
                     {{1}, R"("pixelDataType":1)"},
                     {{2}, R"("pixelDataType":2)"},
                     {{3}, R"("pixelDataType":-1)"}}},
                   {&stRecvJobData::ucResolution,
                    {{{0, 4, 255}, R"("resolution":200)"},
                     {{1}, R"("resolution":300)"},
                     {{2}, R"("resolution":600)"},
                     {{3}, R"("resolution":null)"}}},
                   {&stRecvJobData::ucScanningDevice,
                    {{{0}, R"("functionalUnitType":0)"},
                     {{0, 3, 4, 255}, R"("duplexScanningEnabled":null)"},
                     {{1, 2, 4, 255}, R"("functionalUnitType":3)"},
                     {{1}, R"("duplexScanningEnabled":false)"},
                     {{2}, R"("duplexScanningEnabled":true)"},
                     {{3}, R"("functionalUnitType":-1)"}}},
                   {&stRecvJobData::ucDocumentSize,
                    {{{9, 10, 11, 12, 14, 16, 255}, R"("documentType":-1)"},
                     {{0}, R"("documentType":1,)"},
                     {{1}, R"("documentType":3,)"},
                     {{2}, R"("documentType":4,)"},
                     {{3}, R"("documentType":5,)"},
                     {{4}, R"("documentType":2,)"},
                     {{5}, R"("documentType":9,)"},
                     {{6}, R"("documentType":38,)"},
                     {{7}, R"("documentType":11,)"},
                     {{8}, R"("documentType":13,)"},
                     {{13}, R"("documentType":53,)"},
                     {{15}, R"("documentType":1000,)"}}},
                   {&stRecvJobData::ucDocumentOrientation,
                    {{{0, 2, 255}, R"("landscapeEnabled":0)"}, {{1}, R"("landscapeEnabled":1)"}}},
                   {&stRecvJobData::ucSaveFormat,
                    {{{0}, R"("formatSetting":{},"imageUTType":"public.jpeg")"},
                     {{1}, R"("formatSetting":{"savesAsOneFile":false},"imageUTType":"public.tiff")"},
                     {{2, 9, 255}, R"("formatSetting":{},"imageUTType":"com.adobe.pdf")"},
                     {{3}, R"("formatSetting":{},"imageUTType":null)"},
                     {{4}, R"("formatSetting":{"savesAsOneFile":true},"imageUTType":"public.tiff")"},
                     {{5}, R"("formatSetting":{},"imageUTType":"public.png")"},
                     {{6}, R"("formatSetting":{},"imageUTType":"com.microsoft.word.doc")"},
                     {{7}, R"("formatSetting":{},"imageUTType":"com.microsoft.excel.xls")"},
                     {{8}, R"("formatSetting":{},"imageUTType":"com.microsoft.powerpoint.ppt")"}}}};
    for (const auto& [choice, rows] : choices) {
        for (const ChoiceRow& row : rows) {
            for (const std::uint8_t code : row.codes) {
                panel.choices = {};
                panel.choices.*choice = code;
                ASSERT_EQ(event(4), 1);
                EXPECT_NE(jobs.options.find(row.options), std::string::npos)
                    << int{code} << " " << row.options << " in " << jobs.options;
            }
        }
    }
}

TEST_F(PanelJobs, TheOptionsAreWholeAndLogged) {
    logged();
    record.timeout = -7;
    panel.choices.ucScanToNo = panel.choices.ucPrintNum = 9;
    const std::string settings =
        R"("jobSetting":{"saveSetting":{"formatSetting":{},"imageUTType":"public.jpeg"},)"
        R"("scanSetting":{"documentType":1,"duplexScanningEnabled":null,"functionalUnitType":0,)"
        R"("landscapeEnabled":0,"pixelDataType":0,"resolution":200}},"timeout":-7)";
    event(4);
    EXPECT_EQ(jobs.options, R"({"continue":0,"errorRecovery":0,)" + settings + "}");
    const Lines log = logged();
    ASSERT_EQ(log.size(), 3U);
    EXPECT_EQ(log[1].rfind("Options For SV = {continue = 0; errorRecovery = 0; jobSetting = {", 0), 0U)
        << log[1];
    manager->setIsConituneScanningAvailable(true);
    event(4);
    EXPECT_EQ(jobs.options, R"({"continue":1,"errorRecovery":0,)" + settings + "}");
    manager->setIsErrorRecoveryAvailable(true);
    manager->setIsConituneScanningAvailable(false);
    event(4);
    EXPECT_EQ(jobs.options, R"({"continue":0,"errorRecovery":1,)" + settings + "}");
}

} // namespace
} // namespace trigora
