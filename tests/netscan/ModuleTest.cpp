#include "tests/netscan/ModuleTest.h"

#include "files/InstalledPaths.h"
#include "platform/LowMemory.h"

#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <map>

namespace trigora::test {

namespace {

constexpr std::uint32_t connectionHandle = 0x1234;
constexpr std::uint32_t connectionContext = 0x5678;

const std::map<std::string, std::string> moduleFiles = {
    {"NetScan", MODULE_NetScan},
    {"NetScanOnlyStart", MODULE_NetScanOnlyStart},
    {"Empty", MODULE_Empty},
    {"PanelDriver", MODULE_PanelDriver},
    {"PanelDriverWithoutSend", MODULE_PanelDriverWithoutSend},
    {"UsbScan", MODULE_UsbScan},
    {"Classes", MODULE_Classes}};

/// What the thread's connection has been handed, which must stay as it is until the end.
class HandedIn {
public:
    void addRecord(const void* record, std::size_t size) {
        records_.emplace_back(record, hexadecimal(record, size));
    }
    void addText(address32 text) { texts_.emplace_back(text, textThere(text)); }
    void expectUnchanged(const std::string& call) const {
        for (const auto& [address, text] : texts_) { // first: where these are gone, records may be, too
            ASSERT_EQ(textThere(address), text) << call;
        }
        for (const auto& [record, bytes] : records_) {
            EXPECT_EQ(hexadecimal(record, bytes.size() / 2), bytes) << call;
        }
    }

private:
    static std::optional<std::string> textThere(address32 address) {
        return platform::current().lowMemory.textAt(address, 1000);
    }

    std::vector<std::pair<const void*, std::string>> records_;
    std::vector<std::pair<address32, std::optional<std::string>>> texts_;
};
thread_local HandedIn handedIn;

std::string textAt(address32 address) {
    return address == 0 ? "(none)" : static_cast<const char*>(trigora_pointer(address));
}

} // namespace

std::string hexadecimal(const void* bytes, std::size_t size) {
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        const unsigned byte = static_cast<const std::uint8_t*>(bytes)[i];
        text += {"0123456789abcdef"[byte / 16], "0123456789abcdef"[byte % 16]};
    }
    return text;
}

ModuleTest::ModuleTest() {
    self = this;
    jobOperations = {{sizeof(SVJobInterfaceClass), SV_JOB_INTERFACE_VERSION},
                     [](const char* productID) -> void* {
                         self->journal.add(std::string("jobs for ") + productID);
                         self->objectsOut += self->jobs.areThere ? 1 : 0;
                         return self->jobs.areThere ? &self->jobs : nullptr;
                     },
                     [](void*) { --self->objectsOut; },
                     [](char* text) {
                         --self->objectsOut;
                         std::free(text);
                     },
                     [](void*) {
                         ++self->objectsOut;
                         return strdup(self->jobs.list.c_str());
                     },
                     [](void*) { return answer(self->jobs.supportsPushScan); },
                     [](void*) { return answer(self->jobs.knowsOfficeFormats); },
                     [](void*) { return answer(self->jobs.needsDigest); },
                     [](void*) -> char* {
                         self->objectsOut += self->jobs.password ? 1 : 0;
                         return self->jobs.password ? strdup(self->jobs.password->c_str()) : nullptr;
                     },
                     [](void*) { return answer(self->jobs.isReady); },
                     [](void*, std::int32_t index, const char* address, const char* options) {
                         const std::lock_guard lock(self->jobs.mutex);
                         self->jobs.options = options;
                         self->journal.add("invoke " + std::to_string(index) + (address ? " " : "") +
                                           (address ? address : ""));
                         return answer(self->jobs.accepts);
                     },
                     [](void*) { return command("continueJob"); },
                     [](void*) { return command("completeJob"); },
                     [](void*) { return command("cancelJob"); },
                     [](void*) { return command("keepAliveJob"); },
                     [](void*) { return command("completeJobInContext"); }};
    buttonOperations = {{sizeof(ButtonManagerClass), BUTTON_MANAGER_VERSION},
                        []() -> void* {
                            ++self->objectsOut;
                            return self;
                        },
                        [](void*) { --self->objectsOut; },
                        [](void*) { self->journal.add("ButtonManager initialize"); },
                        [](void*) { self->journal.add("ButtonManager startNWDeviceObservation"); },
                        [](void*) { self->journal.add("ButtonManager stopNWDeviceObservation"); },
                        [](void*, const char*) { return answer(self->buttonManagerServes); },
                        [](void*, std::int32_t event, const char* productID, const char* address) {
                            self->journal.add("processEvent " + std::to_string(event) + " " + productID +
                                              " " + address);
                        }};
}

ModuleTest::~ModuleTest() {
    platform::current().sharedInstances.removeAll();
    EXPECT_EQ(objectsOut, 0) << "not given back to the modules";
    for (void* library : libraries_) {
        dlclose(library);
    }
    self = nullptr;
}

void* ModuleTest::installModule(const std::string& module, const std::string& bundlePath) {
    // What is loaded stays loaded under its path, so that a module that takes another's place needs a name of
    // its own.
    const std::string name = "Module" + std::to_string(libraries_.size());
    writePropertyList(bundlePath + "/Contents/Info.plist", Dictionary{{"CFBundleExecutable", name}});
    makeFolder(bundlePath + "/Contents/MacOS");
    const std::string file = onDisk(bundlePath + "/Contents/MacOS/" + name);
    std::filesystem::copy_file(moduleFiles.at(module), file);
    libraries_.push_back(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL));
    void* functions = libraries_.back() ? dlsym(libraries_.back(), "functions") : nullptr;
    EXPECT_NE(functions, nullptr) << dlerror();
    return functions;
}

void ModuleTest::installPanelDriver(const std::string& module) {
    install(module, paths::panelDriverModule(), panelDriverFunctions());
}

void ModuleTest::installJobInterface() {
    const std::string application = paths::documentCaptureApplication();
    writePropertyList(application + "/Contents/Info.plist", Dictionary{});
    install("Classes", application + "/Contents/Resources/ScrivanaInterface.bundle",
            ClassFunctions{[](const char* name) -> const TrigoraClassHeader* {
                return std::string_view(name) == "SVJobInterface" ? &self->jobOperations.header : nullptr;
            }});
}

void ModuleTest::installButtonManager(const std::string& modulePath) {
    install("Classes", modulePath, ClassFunctions{[](const char* name) -> const TrigoraClassHeader* {
                return std::string_view(name) == "ButtonManager" ? &self->buttonOperations.header : nullptr;
            }});
}

void ModuleTest::remove(const std::string& path) { std::filesystem::remove_all(onDisk(path)); }

address32 ModuleTest::lowText(const std::string& text) {
    const std::shared_ptr<void> block = platform::current().lowMemory.allocate(text.size() + 1);
    std::memcpy(block.get(), text.c_str(), text.size() + 1);
    const std::lock_guard lock(lowMemoryMutex_);
    lowMemory_.push_back(block);
    return trigora_address32(block.get());
}

Lines ModuleTest::logged() {
    makeFolder("/Users/Shared/PELOX/Button");
    Lines messages;
    for (const std::string& line : console.take()) {
        const std::string message = line.substr(line.find(']') + 1);
        messages.push_back(platform::trimmed(message, " \n"));
    }
    return messages;
}

void ModuleTest::addConnectionCall(const std::string& call, std::uint32_t handle,
                                   const std::uint32_t* context) {
    EXPECT_EQ(handle, connectionHandle);
    EXPECT_EQ(*context, connectionContext);
    handedIn.expectUnchanged(call);
    self->journal.add(call);
}

void ModuleTest::take(const PanelJobHeader* header, std::uint32_t count, const PanelJobEntry* entries) {
    const std::lock_guard lock(self->panel.mutex);
    self->panel.header = *header;
    self->panel.entries.assign(entries, entries + count + 1);
    self->panel.names.clear();
    for (const PanelJobEntry& entry : self->panel.entries) {
        self->panel.names.push_back(textAt(entry.wcJobName));
    }
    if (header->passwordKind == PANEL_PASSWORD_PLAIN) {
        address32 address = 0;
        std::memcpy(&address, header->password, sizeof address);
        self->panel.plainPassword = textAt(address);
    }
}

void ModuleTest::takeForConnection(const PanelJobHeader* header, std::uint32_t count,
                                   const PanelJobEntry* entries) {
    take(header, count, entries);
    handedIn.addRecord(header, sizeof *header);
    handedIn.addRecord(entries, (count + 1) * sizeof *entries);
    for (std::uint32_t i = 0; i < count; ++i) {
        handedIn.addText(entries[i].wcJobName);
    }
}

std::uint8_t ModuleTest::command(const char* name) {
    self->journal.add(name);
    return answer(self->jobs.accepts);
}

const PanelDriverFunctions& ModuleTest::panelDriverFunctions() {
    static const PanelDriverFunctions functions = {
        [](const PanelOpenBlock* block, std::uint32_t* handle, std::uint32_t* context) {
            EXPECT_EQ(*context, 0U);
            *handle = connectionHandle;
            *context = connectionContext;
            self->journal.add(std::string("PDOpen ") + block->ipAddress);
            handedIn = {};
            handedIn.addRecord(block, sizeof *block);
            const std::lock_guard lock(self->panel.mutex);
            self->panel.block = *block;
            return answer(self->panel.opens);
        },
        [](std::uint32_t handle, std::uint32_t* context) {
            addConnectionCall("PDLock", handle, context);
            return answer(self->panel.locks);
        },
        [](std::uint32_t handle, const PanelJobHeader* header, std::uint32_t reserved, std::uint32_t listKind,
           std::uint32_t count, const PanelJobEntry* entries, std::uint32_t* context) {
            EXPECT_EQ(reserved, 0U);
            EXPECT_EQ(listKind, 2057U);
            addConnectionCall("PDSendJobData " + std::to_string(count), handle, context);
            takeForConnection(header, count, entries);
            return answer(self->panel.sends);
        },
        [](std::uint32_t handle, const PanelJobHeader* header, std::uint32_t reserved, std::uint16_t version,
           std::uint32_t count, const PanelJobEntry* entries, std::uint32_t* context) {
            EXPECT_EQ(reserved, 0U);
            addConnectionCall("PDSendJobData2 " + std::to_string(version) + " " + std::to_string(count),
                              handle, context);
            takeForConnection(header, count, entries);
            return answer(self->panel.sends);
        },
        [](std::uint32_t handle, stRecvJobData* choices, std::uint32_t* context) {
            EXPECT_EQ(hexadecimal(choices, sizeof *choices), "0000000000000000");
            addConnectionCall("PDRecvJobData", handle, context);
            *choices = self->panel.choices;
            return answer(true);
        },
        [](std::uint32_t handle, std::uint32_t* context) {
            addConnectionCall("PDUnLock", handle, context);
            return self->panel.throwsAtUnlock ? throw std::bad_alloc() : answer(true);
        },
        [](std::uint32_t handle, std::uint32_t* context) {
            addConnectionCall("PDClose", handle, context);
            return answer(true);
        },
        [](const PanelJobHeader* header, std::uint32_t reserved, std::uint16_t version, std::uint32_t count,
           const PanelJobEntry* entries, void** data, std::uint32_t* length) {
            EXPECT_EQ(reserved, 0U);
            self->journal.add("PDCreateJobData2 " + std::to_string(version) + " " + std::to_string(count));
            take(header, count, entries);
            *data = self->panel.encodedAt ? self->panel.encodedAt
                                          : trigora_pointer(self->lowText(self->panel.encoded));
            *length = static_cast<std::uint32_t>(self->panel.encoded.size());
            return answer(true);
        },
        [](stRecvJobData* choices, const void* data, std::uint32_t length) {
            EXPECT_EQ(hexadecimal(choices, sizeof *choices), "0000000000000000");
            self->journal.add("PDDecodeData " + (data ? hexadecimal(data, length) : "null"));
            *choices = self->panel.choices;
            return answer(true);
        }};
    return functions;
}

} // namespace trigora::test
