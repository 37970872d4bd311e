#include "agent/service/TgaServiceManager.h"
#include "netscan/panel/PanelDriver.h"
#include "platform/LowMemory.h"
#include "projects/manager/ProjectRunning.h"
#include "tests/netscan/NetworkPanelTest.h"
#include "usbscan/buttons/TgaButtonManager.h"

namespace trigora {

void test::NetworkPanelTest::startButtonManager() {
    makeFolder(paths::quilloApplication());
    installButtonManager(paths::quilloButtonManagerModule());
    TgaButtonManager::sharedButtonManager()->start();
    journal.take();
}

namespace {

using test::Lines;
using test::setField;

class PanelEvents : public test::NetworkPanelTest {
protected:
    PanelEvents() {
        setField(request.productID, "PID 0142");
        setField(request.modelName, "Scanner One");
        setField(request.ipAddress, "192.168.0.1");
    }
    /// What has been done to the panel, without the questions for jobs.
    Lines panelCalls() {
        Lines calls = journal.take();
        std::erase_if(calls, [](const std::string& line) { return line.rfind("jobs for ", 0) == 0; });
        return calls;
    }
    /// The confirmation that the main thread asks for; empty when it asks for none.
    std::string askedFor() {
        writeFile(paths::scanAssistantExecutable(), "");
        processes.appear("PScanAssistant");
        loop.runPending();
        const Lines lines = journal.take();
        return lines.size() == 1 ? lines[0] : std::to_string(lines.size());
    }

    NSMScanRequest request{};
};

/// A panel that answers, or does not.
enum Trouble { noTrouble, noDriver, emptyDriver, noOpening, noLock, noJobs, noSending };

TEST_F(PanelEvents, EveryWayAListCanGoIsDoneInOrder) {
    const Lines all = {"PDOpen 192.168.0.1", "PDLock", "PDSendJobData2 110 1", "PDUnLock", "PDClose"};
    struct {
        Trouble trouble;
        std::int32_t result;
        Lines calls;
        std::int32_t resultForPlaceholder;
        Lines callsForPlaceholder;
    } const rows[] = {
        {noTrouble, 1, all, 1, all},
        {noSending, 8, all, 8, all},
        {noOpening, 1, {all[0]}, 1, {all[0]}},
        {noLock, 1, {all[0], all[1]}, 1, {all[0], all[1], "PDClose"}},
        {noJobs, 1, {all[0], all[1], "PDClose"}, 1, all},
        {noDriver, 8, {}, 8, {}},
        {emptyDriver, 1, {}, 1, {}},
    };
    startButtonManager();
    jobs.list = "[{}]";
    for (const auto& row : rows) {
        panel.opens = row.trouble != noOpening;
        panel.locks = row.trouble != noLock;
        panel.sends = row.trouble != noSending;
        jobs.areThere = row.trouble != noJobs;
        if (row.trouble == noDriver) {
            remove(paths::panelDriverModule());
        }
        if (row.trouble == emptyDriver) {
            installEmpty(paths::panelDriverModule());
        }
        buttonManagerServes = false;
        EXPECT_EQ(event(NSM_EVENT_JOB_LIST), row.result) << row.trouble;
        EXPECT_EQ(panelCalls(), row.calls) << row.trouble;
        buttonManagerServes = true;
        EXPECT_EQ(event(NSM_EVENT_JOB_LIST), row.resultForPlaceholder) << row.trouble;
        EXPECT_EQ(journal.take(), row.callsForPlaceholder) << row.trouble;
    }
}

TEST_F(PanelEvents, EveryByteButZeroIsYes) {
    yes = 255;
    jobs.list = "[{}]";
    jobs.password = "secret";
    record.capabilityFlags = PANEL_OFFERS_OFFICE_FORMATS;
    EXPECT_EQ(event(NSM_EVENT_JOB_LIST), 1);
    EXPECT_EQ(panelCalls(),
              (Lines{"PDOpen 192.168.0.1", "PDLock", "PDSendJobData2 110 1", "PDUnLock", "PDClose"}));
    EXPECT_EQ(record.capabilityFlags, std::uint32_t{PANEL_OFFERS_OFFICE_FORMATS});
    EXPECT_EQ(panel.header.passwordKind, std::uint32_t{PANEL_PASSWORD_MD5});
    record.protocolVersion = newList - 1;
    EXPECT_EQ(event(NSM_EVENT_JOB_LIST), 1);
    for (record.command = 0; record.command <= 4; ++record.command) {
        EXPECT_EQ(event(NSM_EVENT_START_JOB), 1) << record.command;
    }
    EXPECT_EQ(event(NSM_EVENT_END_JOB), 1);
    startButtonManager();
    EXPECT_EQ(event(NSM_EVENT_SIMPLE_SCAN, &request), 1);
    EXPECT_EQ(journal.take(), Lines{"processEvent 2 PID 0142 192.168.0.1"});
}

TEST_F(PanelEvents, AListThatCannotBeSentFails) {
    startButtonManager();
    panel.sends = false;
    for (const char* driver : {"PanelDriver", "PanelDriverWithoutSend"}) {
        remove(paths::panelDriverModule());
        installPanelDriver(driver);
        for (const bool isServedElsewhere : {false, true}) {
            buttonManagerServes = isServedElsewhere;
            for (const std::int32_t version : {newList - 1, newList}) {
                record.protocolVersion = version;
                EXPECT_EQ(event(NSM_EVENT_JOB_LIST), 8) << driver << version << isServedElsewhere;
                EXPECT_EQ(panelCalls().back(), "PDClose");
            }
        }
    }
}

TEST_F(PanelEvents, APanelIsGivenBackWhateverIsThrown) {
    const auto jobsThatWork = jobOperations.jobs;
    jobOperations.jobs = [](void*) -> char* { throw std::bad_alloc(); };
    EXPECT_EQ(event(NSM_EVENT_JOB_LIST), 8);
    EXPECT_EQ(panelCalls(), (Lines{"PDOpen 192.168.0.1", "PDLock", "PDUnLock", "PDClose"}));
    jobOperations.jobs = jobsThatWork;
    jobOperations.release = [](void*) {
        --self->objectsOut;
        throw std::bad_alloc();
    };
    panel.throwsAtUnlock = true;
    EXPECT_EQ(event(NSM_EVENT_JOB_LIST), 1);
    EXPECT_EQ(panelCalls(),
              (Lines{"PDOpen 192.168.0.1", "PDLock", "PDSendJobData2 110 0", "PDUnLock", "PDClose"}));
}

TEST_F(PanelEvents, ModulesThatCannotBeLoadedDoNothing) {
    const auto spoil = [&](const std::string& bundle) {
        remove(bundle);
        writePropertyList(bundle + "/Contents/Info.plist", Dictionary{{"CFBundleExecutable", "Module"}});
        writeFile(bundle + "/Contents/MacOS/Module", "no code");
    };
    const auto answers = [&] { return std::vector{event(4), event(5), event(6)}; };
    spoil(paths::panelDriverModule());
    EXPECT_EQ(answers(), (std::vector{1, 1, 1}));
    EXPECT_EQ(panelCalls(), Lines{"completeJobInContext"});
    remove(paths::panelDriverModule());
    installPanelDriver();
    spoil(paths::documentCaptureApplication() + "/Contents/Resources/ScrivanaInterface.bundle");
    EXPECT_EQ(answers(), (std::vector{8, 1, 8}));
    EXPECT_EQ(panelCalls(), (Lines{"PDOpen 192.168.0.1", "PDLock", "PDClose"}));
    makeFolder(paths::quilloApplication());
    spoil(paths::quilloButtonManagerModule());
    TgaButtonManager::sharedButtonManager()->start();
    EXPECT_FALSE(TgaButtonManager::sharedButtonManager()->isPushScanSupported("PID 0142"));
}

TEST_F(PanelEvents, TheLogSaysWhatWasAskedAndWhyItWasNotDone) {
    const auto expectReason = [&](std::int32_t kind, void* data, const char* reason, std::int32_t result) {
        logged();
        EXPECT_EQ(event(kind, data), result) << reason;
        EXPECT_EQ(logged(), (Lines{"eventCallback kind = " + std::to_string(kind), reason,
                                   "eventCallback result = " + std::to_string(result)}));
    };
    expectReason(4, nullptr, "the request is missing", 8);
    record.protocolVersion = newList - 1; // has no lines of its own
    panel.sends = false;
    expectReason(5, &record, "the panel was not sent the job list", 8);
    panel.locks = false;
    expectReason(5, &record, "the panel at 192.168.0.1 is locked", 1);
    panel.opens = false;
    expectReason(5, &record, "no connection to the panel at 192.168.0.1", 1);
    expectReason(4, &record, "no connection to the panel", 1);
    panel.opens = true;
    jobs.accepts = false;
    record.command = PANEL_COMMAND_CANCEL;
    expectReason(4, &record, "the job interface refused", 8);
    jobs.isReady = false;
    record.command = PANEL_COMMAND_START;
    expectReason(4, &record, "scanner is busy", 9);
    jobs.areThere = false;
    expectReason(6, &record, "jobif is null", 8);
    remove(paths::panelDriverModule());
    expectReason(5, &record, "panelBundle is null", 8);
    EXPECT_EQ(event(3, &request), 1);
    loop.runPending();
    EXPECT_NE(logged().back().find("the scan assistant does not start"), std::string::npos);
    platform::shared<ProjectRunning>()->begin();
    expectReason(3, &request, "a project is running", 9);
    platform::shared<ProjectRunning>()->set(false);
    setField(request.ipAddress, "");
    expectReason(3, &request, "the request does not say which scanner it is", 9);
}

TEST_F(PanelEvents, TheProtocolsVersionPicksTheKindOfList) {
    const std::pair<std::int32_t, const char*> rows[] = {{-1, "PDSendJobData 0"},
                                                         {109, "PDSendJobData 0"},
                                                         {110, "PDSendJobData2 110 0"},
                                                         {0x1006F, "PDSendJobData2 111 0"}};
    for (const auto& [version, call] : rows) {
        record.protocolVersion = version;
        EXPECT_EQ(event(NSM_EVENT_JOB_LIST), 1);
        EXPECT_EQ(panelCalls().at(2), call);
    }
}

TEST_F(PanelEvents, WhatThePanelSaysOfItselfIsKeptWithRealLists) {
    for (std::uint32_t capabilities = 0; capabilities < 16; ++capabilities) {
        jobs.knowsOfficeFormats = capabilities < 8;
        record.capabilityFlags = capabilities;
        event(NSM_EVENT_JOB_LIST);
        EXPECT_EQ(manager->isErrorRecoveryAvailable(), (capabilities & 2) != 0);
        EXPECT_EQ(manager->isConituneScanningAvailable(), (capabilities & 4) != 0);
        EXPECT_EQ(record.capabilityFlags, jobs.knowsOfficeFormats ? capabilities : capabilities & ~1U);
    }
    jobs.areThere = false;
    record.capabilityFlags = 15;
    event(NSM_EVENT_JOB_LIST);
    EXPECT_EQ(record.capabilityFlags, 14U) << "no jobs, no office formats";
    startButtonManager();
    record.capabilityFlags = 1;
    event(NSM_EVENT_JOB_LIST);
    EXPECT_TRUE(manager->isErrorRecoveryAvailable()) << "a placeholder list says nothing";
    EXPECT_EQ(record.capabilityFlags, 1U);
}

TEST_F(PanelEvents, AFieldEndsWhereTheRecordSaysSo) {
    setField(record.productID, std::string(66, 'P'));
    setField(record.ipAddress, std::string(32, '1'));
    event(NSM_EVENT_JOB_LIST);
    const Lines calls = journal.take();
    EXPECT_EQ(calls.at(0), "jobs for " + std::string(66, 'P'));
    EXPECT_EQ(calls.at(1), "PDOpen " + std::string(32, '1'));
}

TEST_F(PanelEvents, OtherKindsAreAnsweredWithoutDoingAnything) {
    const std::pair<std::int32_t, std::int32_t> rows[] = {{0, 1}, {1, 8}, {2, 1}, {7, 1}, {-1, 1}};
    for (const auto& [kind, result] : rows) {
        EXPECT_EQ(event(kind), result) << kind;
    }
    EXPECT_EQ(event(3, nullptr), 9);
    for (const std::int32_t kind : {4, 5, 6}) {
        EXPECT_EQ(event(kind, nullptr), 8);
        EXPECT_EQ(eventCallback(nullptr, kind, &record, 0, nullptr), 8);
    }
    EXPECT_EQ(eventCallback(nullptr, 3, &request, 0, nullptr), 9);
    EXPECT_EQ(journal.take(), Lines{});
}

TEST_F(PanelEvents, ASimpleScanIsConfirmedOnTheMainThread) {
    request.eventStatus = 0x10002;
    EXPECT_EQ(event(3, &request), 1);
    EXPECT_EQ(journal.take(), Lines{});
    EXPECT_EQ(TgaServiceManager::sharedServiceManager()->currentPress().event,
              (Dictionary{{"initiator", 0},
                          {"eventStatus", 0x10002},
                          {"modelName", "Scanner One"},
                          {"driverName", "Scanner One"},
                          {"IPAddress", "192.168.0.1"}}));
    EXPECT_EQ(askedFor(), "post! ReplyScannerConfirmationDistributedNotification "
                          "{DriverName = Scanner One; IPAddress = 192.168.0.1;}");

    setField(request.modelName, std::string(34, 'M'));
    setField(request.ipAddress, std::string(34, '1'));
    EXPECT_EQ(event(3, &request), 1);
    EXPECT_EQ(askedFor(), "post! ReplyScannerConfirmationDistributedNotification {DriverName = " +
                              std::string(34, 'M') + "; IPAddress = " + std::string(34, '1') + ";}");
}

TEST_F(PanelEvents, AScannerWithoutAModelGoesByItsDriver) {
    setField(request.modelName, "");
    EXPECT_EQ(event(3, &request), 9) << "nobody knows its driver";
    TgaServiceManager::sharedServiceManager()->setupService();
    notifications.receive("DidGetDriverNameWithIPAddressDistributedNotification",
                          Dictionary{{"DriverName", "Reported"}});
    manager->setDSName("", "PID 0142"); // no name
    EXPECT_EQ(event(3, &request), 1);
    EXPECT_EQ(askedFor(), "post! ReplyScannerConfirmationDistributedNotification "
                          "{DriverName = Reported; IPAddress = 192.168.0.1;}");
    manager->setDSName("Known", "PID 0142");
    setField(request.modelName, "\xFF");
    EXPECT_EQ(event(3, &request), 1);
    EXPECT_EQ(askedFor(), "post! ReplyScannerConfirmationDistributedNotification "
                          "{DriverName = Known; IPAddress = 192.168.0.1;}");
}

TEST_F(PanelEvents, ASimpleScanThatCannotBeMadeIsBusy) {
    platform::shared<ProjectRunning>()->begin();
    EXPECT_EQ(event(3, &request), 9);
    platform::shared<ProjectRunning>()->set(false);
    for (const char* address : {"", "\xFF"}) {
        setField(request.ipAddress, address);
        EXPECT_EQ(event(3, &request), 9);
    }
    EXPECT_EQ(askedFor(), "0");
}

TEST_F(PanelEvents, WorkForTheMainThreadDoesNotOutliveItsManager) {
    event(3, &request);
    manager.reset();
    platform::current().sharedInstances.removeAll();
    EXPECT_EQ(askedFor(), "0");
}

TEST_F(PanelEvents, AServedScannersRequestsAreHandedOver) {
    startButtonManager();
    EXPECT_EQ(event(3, &request), 1);
    EXPECT_EQ(journal.take(), Lines{"processEvent 2 PID 0142 192.168.0.1"});
    setField(request.productID, std::string(32, 'P'));
    setField(request.ipAddress, "C0A80001");
    EXPECT_EQ(event(3, &request), 1);
    EXPECT_EQ(journal.take(), Lines{"processEvent 2 " + std::string(32, 'P') + " C0A80001"});

    EXPECT_EQ(event(4), 1);
    const Lines all = {"PDOpen 192.168.0.1", "PDLock",  "PDRecvJobData",
                       "PDUnLock",           "PDClose", "processEvent 2 PID 0142 192.168.0.1"};
    EXPECT_EQ(journal.take(), all);
    panel.locks = false;
    EXPECT_EQ(event(4), 1);
    EXPECT_EQ(journal.take(), (Lines{all[0], all[1], all[4], all[5]}));
    panel.opens = false;
    EXPECT_EQ(event(4), 1);
    EXPECT_EQ(journal.take(), Lines{all[0]});
    EXPECT_EQ(event(6), 1) << "the end of a job is the agent's";
    EXPECT_EQ(journal.take(), (Lines{"jobs for PID 0142", "completeJobInContext"}));
    remove(paths::panelDriverModule());
    EXPECT_EQ(event(4), 8);
    EXPECT_EQ(journal.take(), Lines{});
}

TEST_F(PanelEvents, ARequestThatTheButtonManagerLetsGoFails) {
    startButtonManager();
    // Served when asked first, no longer when handed over.
    buttonOperations.isPushScanSupported = [](void*, const char*) {
        return std::uint8_t{self->buttonManagerServes.exchange(false)};
    };
    EXPECT_EQ(event(3, &request), 8);
    buttonManagerServes = true;
    EXPECT_EQ(event(4), 1);
    EXPECT_EQ(panelCalls().back(), "PDClose");
}

/// A process that has no memory below 4 GiB left.
class NoLowMemory final : public platform::LowMemory {
public:
    std::shared_ptr<void> allocate(std::size_t) override { return nullptr; }
    std::uint32_t addressOfFunction(void (*)()) override { return hasFunctions ? 1 : 0; }
    std::optional<std::string> textAt(std::uint32_t, std::size_t) override { return std::nullopt; }
    bool isReadable(std::uint32_t, std::size_t) override { return false; }

    bool hasFunctions = false;
};

TEST_F(PanelEvents, WithoutMemoryThatRecordsCanReferToEventsFail) {
    NoLowMemory none;
    platform::Platform& p = platform::current();
    platform::Platform poor{
        p.runLoop,       p.clock,       p.notifications, p.appleEvents,  p.processes,    p.workspace,
        p.bundles,       p.fileSystem,  p.fileContents,  p.fileMetadata, p.folders,      p.textEncodings,
        p.propertyLists, p.json,        p.messageDigest, p.images,       p.userDefaults, p.systemInformation,
        p.alertPanel,    p.stringTable, p.console,       p.idConverter,  none,           p.sharedInstances};
    logged();
    platform::install(&poor);
    EXPECT_EQ(event(4), 8);
    EXPECT_EQ(event(5), 8);
    EXPECT_EQ(journal.take(), Lines{});
    none.hasFunctions = true;
    EXPECT_EQ(event(5), 8);
    EXPECT_EQ(panelCalls(), (Lines{"PDOpen 192.168.0.1", "PDLock", "PDUnLock", "PDClose"}));
    platform::install(&p);
    const Lines log = logged();
    EXPECT_EQ(log.size(), 9U) << "a reason for each";
    EXPECT_NE(log.at(7).find("no memory for the job list"), std::string::npos) << log.at(7);
}

} // namespace
} // namespace trigora
