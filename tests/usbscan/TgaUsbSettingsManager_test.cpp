#include "usbscan/settings/TgaUsbSettingsManager.h"

#include "files/InstalledPaths.h"
#include "platform/Text.h"
#include "tests/netscan/ModuleTest.h"

#include <cstring>

namespace trigora {
namespace {

using platform::fourCharCode;
using test::hexadecimal;
using test::Lines;

class UsbScan : public test::ModuleTest {
protected:
    UsbScan() {
        installPanelDriver();
        installJobInterface();
        std::copy_n("001A2b3C4d5E", 12, record.hardwareAddress);
        record.jobIndex = 12;
        record.timeout = 60;
        record.protocolVersion = 0x10070;
        manager->setPid(0x12A);
    }
    void installUsbScan() {
        writePropertyList(std::string(agentBundlePath) + "/Contents/Info.plist", Dictionary{});
        install("UsbScan", modulePath,
                test::UsbScanFunctions{[](std::uint32_t productID, std::uint32_t reserved,
                                          UsbEventCallback callback, void* context) {
                    self->journal.add("StartEvent " + std::to_string(productID) + " " +
                                      std::to_string(reserved));
                    EXPECT_EQ(callback(nullptr, 7, nullptr, 0, context), 8);
                }});
    }
    /// A scanner announces itself with these bytes as its product ID; none when it does not say.
    void announce(const std::optional<Data>& productID) {
        platform::AppleEvent event{fourCharCode("PLsc"), fourCharCode("UbPo"), {}};
        if (productID) {
            event.parameters.push_back({fourCharCode("UsId"), fourCharCode("long"), *productID});
        }
        appleEvents.receive(event);
    }
    std::int32_t request(std::int32_t kind) { return request(kind, &record); }
    std::int32_t request(std::int32_t kind, UsbPanelScanJobInfo* data) {
        return UsbEventCallbackProc(nullptr, kind, data, 0, static_cast<PanelJobFlags*>(manager.get()));
    }

    const std::string modulePath = std::string(agentBundlePath) + "/Contents/PlugIns/UsbScanBundle.bundle";
    const Lines beginning = {"Start Usb Event", "JobIF = PID 012a"};
    UsbPanelScanJobInfo record{};
    std::shared_ptr<TgaUsbSettingsManager> manager = TgaUsbSettingsManager::sharedUsbSettingsManager();
};

Lines operator+(Lines lines, const Lines& more) {
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

TEST_F(UsbScan, AnAnnouncementStartsTheModule) {
    logged();
    manager->registerEvent();
    announce(Data{0x42, 0x01, 0, 0});
    EXPECT_EQ(logged(), (Lines{"handleScanEvent Received", "pid = 322", "start", "UsbScanBundle Not Found",
                               "StartEvent proc not found"}));
    writePropertyList(std::string(agentBundlePath) + "/Contents/Info.plist", Dictionary{});
    writePropertyList(modulePath + "/Contents/Info.plist", Dictionary{{"CFBundleExecutable", "Module"}});
    writeFile(modulePath + "/Contents/MacOS/Module", "no code");
    manager->start();
    EXPECT_EQ(logged(), (Lines{"start", "UsbScanBundle CFBundleLoadExecutable fails"}));
    remove(modulePath);
    installUsbScan();
    const std::pair<Data, Lines> rows[] = {
        {{0xFA}, {"StartEvent 250 0", "jobs for PID 00fa"}},
        {{0x2A, 0xF1}, {"StartEvent 61738 0", "jobs for PID f12a"}},
        {{0x2A, 1, 0, 0}, {"StartEvent 298 0", "jobs for PID 012a"}},
        {{0x2B, 1, 0, 0, 0, 0, 0, 0}, {"StartEvent 299 0", "jobs for PID 012b"}},
        {{0x2C, 1, 0, 0, 1, 0, 0, 0}, {}},
        {{}, {}},
        {{1, 2, 3}, {}}};
    for (const auto& [bytes, calls] : rows) {
        announce(bytes);
        EXPECT_EQ(journal.take(), calls) << bytes.size() << " bytes";
    }
    announce(std::nullopt);
    EXPECT_EQ(journal.take(), Lines{});
    EXPECT_EQ(manager->pid(), 0x12BU);

    manager.reset();
    platform::releaseShared<TgaUsbSettingsManager>();
    EXPECT_EQ(appleEvents.receive({fourCharCode("PLsc"), fourCharCode("UbPo"), {}}).status,
              platform::errAEEventNotHandled);
}

TEST_F(UsbScan, AModuleWithoutItsFunctionIsNotStarted) {
    writePropertyList(std::string(agentBundlePath) + "/Contents/Info.plist", Dictionary{});
    installEmpty(modulePath);
    logged();
    manager->start();
    EXPECT_EQ(logged(), (Lines{"start", "StartEvent proc not found"}));
}

TEST_F(UsbScan, TheProductIDHasFourLowerCaseDigits) {
    const std::pair<std::uint32_t, const char*> rows[] = {
        {0x12A, "PID 012a"}, {0, "PID 0000"}, {0xABCD, "PID abcd"}, {0xFFFFFFFF, "PID ffffffff"}};
    for (const auto& [pid, text] : rows) {
        manager->setPid(pid);
        request(6);
        EXPECT_EQ(journal.take().front(), std::string("jobs for ") + text);
    }
}

TEST_F(UsbScan, AListIsEncodedIntoTheRecord) {
    jobs.list = R"([{"name": "Bills", "scanSetting": {"requiresContinueScanning": true},
                     "prohibitsEdit": true}])";
    jobs.password = "secret";
    jobs.knowsOfficeFormats = false;
    record.capabilityFlags = 15;
    panel.encoded = "encoded";
    logged();
    EXPECT_EQ(request(5), 1);
    EXPECT_EQ(journal.take(), (Lines{"jobs for PID 012a", "PDCreateJobData2 112 1"}));
    EXPECT_STREQ(static_cast<const char*>(trigora_pointer(record.jobData)), "encoded");
    EXPECT_EQ(record.jobDataLength, 7U);
    EXPECT_EQ(record.capabilityFlags, 14U);
    EXPECT_TRUE(manager->isConituneScanningAvailable() && manager->isErrorRecoveryAvailable());
    EXPECT_EQ(panel.names, (Lines{"Bills", "(none)"}));
    EXPECT_EQ(hexadecimal(&panel.entries[0].ucJobNumber, 11), "0103000300000000000001");
    EXPECT_EQ(hexadecimal(&panel.header, 20), "02000000273f2a82d52711b84f3085b853acd301");
    const Lines log = logged();
    EXPECT_EQ(Lines(log.begin(), log.begin() + 5),
              beginning + Lines({"PSML_STRUCT_PANELSCAN_JOBLIST", "[jobif isOfficeFormatSupported] == NO",
                                 "jobData2.wcJobName = Bills"}));
    EXPECT_EQ(Lines(log.end() - 3, log.end()),
              (Lines{"[password] passwordString = secret", "MD5 hash convert", "Finish Usb Event"}));
}

TEST_F(UsbScan, EncodedDataThatARecordCannotReferToFails) {
    char onTheStack = 0;
    panel.encodedAt = &onTheStack;
    record.jobData = 7;
    EXPECT_EQ(request(5), 8);
    EXPECT_EQ(record.jobData, 7U) << "not cut";
}

TEST_F(UsbScan, CommandsGoToTheJobInterfaceOnceTheChoicesWereDecoded) {
    struct {
        std::int32_t command;
        Lines calls;
        Lines log;
        std::int32_t resultWhenRefused;
    } const rows[] = {{0, {"invoke 12"}, {"jobif invokeJobAtIndex"}, 8},
                      {1, {"continueJob"}, {"jobif continueJob"}, 8},
                      {2, {"completeJob"}, {"jobif completeJob"}, 8},
                      {3, {"cancelJob"}, {"jobif cancelJob"}, 8},
                      {4, {"keepAliveJob"}, {"jobif keepAliveJob"}, 8},
                      {5, {}, {}, 1},
                      {-1, {}, {}, 1}};
    logged();
    panel.choices = {1, 2, 3, 4, 5, 6, 7, 8};
    record.jobData = lowText("ab");
    record.jobDataLength = 2;
    for (const auto& row : rows) {
        record.command = row.command;
        for (const bool accepts : {true, false}) {
            jobs.accepts = accepts;
            const std::int32_t result = accepts ? 1 : row.resultWhenRefused;
            EXPECT_EQ(request(4), result) << row.command;
            EXPECT_EQ(journal.take(), Lines({"jobs for PID 012a", "PDDecodeData 6162"}) + row.calls);
            Lines log = logged();
            std::erase_if(log, [](const std::string& line) { return line.rfind("Options For SV", 0) == 0; });
            EXPECT_EQ(log,
                      beginning +
                          Lines({"PSML_STRUCT_PANELSCAN_START", "stRecvJobData.ucImageType = 1",
                                 "stRecvJobData.ucResolution = 2", "stRecvJobData.ucScanningDevice = 3",
                                 "stRecvJobData.ucDocumentSize = 4",
                                 "stRecvJobData.ucDocumentOrientation = 5", "stRecvJobData.ucSaveFormat = 6",
                                 "stRecvJobData.ucScanToNo = 7", "stRecvJobData.ucPrintNum= 8"}) +
                          row.log + Lines{result == 1 ? "Finish Usb Event" : "result is false"});
        }
    }
}

TEST_F(UsbScan, TheOptionsAreThoseOfTheChoicesAndThePanel) {
    manager->setIsConituneScanningAvailable(true);
    panel.choices = {3, 3, 2, 9, 1, 4, 0, 0};
    EXPECT_EQ(request(4), 1);
    EXPECT_EQ(jobs.options,
              R"({"continue":1,"errorRecovery":0,"jobSetting":{"saveSetting":{"formatSetting":)"
              R"({"savesAsOneFile":true},"imageUTType":"public.tiff"},"scanSetting":{"documentType":-1,)"
              R"("duplexScanningEnabled":true,"functionalUnitType":3,"landscapeEnabled":1,)"
              R"("pixelDataType":-1,"resolution":null}},"timeout":60})");
}

TEST_F(UsbScan, DataThatIsNotThereIsNotDecoded) {
    struct {
        address32 data;
        std::uint32_t length;
        bool isDecoded;
        std::int32_t result;
    } const rows[] = {{0, 0, true, 1},           {0, 1, false, 8},
                      {0x10, 4, false, 8},       {lowText("x"), 0x7FFFFFFF, false, 8},
                      {0xFFFFFFFF, 2, false, 8}, {lowText("x"), 1U << 23, false, 8},
                      {lowText("x"), 1, true, 1}};
    for (const auto& row : rows) {
        record.jobData = row.data;
        record.jobDataLength = row.length;
        record.command = 0;
        EXPECT_EQ(request(4), row.result) << row.data << " " << row.length;
        EXPECT_EQ(journal.take().size(), row.isDecoded ? 3U : 1U);
        record.command = 4;
        EXPECT_EQ(request(4), 1) << "a command needs no choices";
        EXPECT_EQ(journal.take().back(), "keepAliveJob");
    }
}

TEST_F(UsbScan, AnApplicationThatIsNotReadyIsBusy) {
    jobs.isReady = false;
    logged();
    EXPECT_EQ(request(4), 9);
    EXPECT_EQ(logged().back(), "scanner is busy");
    EXPECT_EQ(journal.take().back(), "PDDecodeData null");
    record.command = 1;
    EXPECT_EQ(request(4), 1);
}

TEST_F(UsbScan, TheEndOfAJobNeedsNoRecord) {
    logged();
    EXPECT_EQ(request(6, nullptr), 1);
    EXPECT_EQ(journal.take().back(), "completeJobInContext");
    EXPECT_EQ(logged(), beginning + Lines({"PSML_STRUCT_PANELSCAN_END", "Finish Usb Event"}));
    jobs.accepts = false;
    EXPECT_EQ(request(6), 8);
    EXPECT_EQ(logged().back(), "result is false");
}

TEST_F(UsbScan, WhatCannotBeAnsweredFails) {
    EXPECT_EQ(request(4, nullptr), 8);
    EXPECT_EQ(request(5, nullptr), 8);
    EXPECT_EQ(UsbEventCallbackProc(nullptr, 6, &record, 0, nullptr), 8);
    logged();
    for (const std::int32_t kind : {0, 3, 7}) {
        EXPECT_EQ(request(kind), 8);
        EXPECT_EQ(logged(), beginning) << kind;
    }
    jobs.areThere = false;
    EXPECT_EQ(request(6), 8);
    EXPECT_EQ(logged(), beginning + Lines{"jobif is null"});
    remove(paths::panelDriverModule());
    EXPECT_EQ(request(6), 8);
    EXPECT_EQ(logged(), (Lines{"Start Usb Event", "panelBundle is null"}));
}

TEST_F(UsbScan, APanelDriverWithoutFunctionsLeavesEverythingEmpty) {
    remove(paths::panelDriverModule());
    installEmpty(paths::panelDriverModule());
    logged();
    record.jobData = record.jobDataLength = 7;
    EXPECT_EQ(request(5), 1);
    EXPECT_EQ(record.jobData + record.jobDataLength, 0U);
    const Lines list = logged();
    EXPECT_EQ(list.at(list.size() - 2), "createJobData2 Func not loaded");
    EXPECT_EQ(request(4), 1);
    EXPECT_EQ(logged().at(3), "decodeJobData can not loaded");
    EXPECT_NE(jobs.options.find(R"("resolution":200)"), std::string::npos);
}

} // namespace
} // namespace trigora
