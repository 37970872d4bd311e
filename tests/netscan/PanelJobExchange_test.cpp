#include "agent/TgaServiceManager.h"
#include "netscan/PanelDriver.h"
#include "platform/LowMemory.h"
#include "projects/ProjectRunning.h"
#include "tests/netscan/NetworkPanelTest.h"
#include "usbscan/TgaButtonManager.h"

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
    EXPECT_EQ(event(3, &request), 1);
    EXPECT_EQ(journal.take(), Lines{});
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
    EXPECT_EQ(logged().size(), 3U);
}

} // namespace
} // namespace trigora
