#pragma once

#include "modules/button_manager.h"
#include "modules/job_interface.h"
#include "tests/fakes/PlatformTest.h"
#include "tests/netscan/modules/FunctionTables.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace trigora::test {

/// Bytes in hexadecimal.
std::string hexadecimal(const void* bytes, std::size_t size);

/// Writes a text into a record's field; the rest is zeroed, a text that fills the field is not terminated.
template <std::size_t size> void setField(char (&field)[size], const std::string& text) {
    std::fill(std::begin(field), std::end(field), '\0');
    std::copy_n(text.begin(), std::min(text.size(), size), field);
}

/// A platform with real loadable modules, whose functions are the test's own. What the agent has them do goes
/// into the journal:
///
///     PDOpen ADDRESS, PDLock, PDSendJobData COUNT, PDSendJobData2 VERSION COUNT, PDRecvJobData, PDUnLock,
///     PDClose, PDCreateJobData2 VERSION COUNT, PDDecodeData BYTES
///     jobs for PRODUCT; invoke INDEX ADDRESS; continueJob, completeJob …
///     ButtonManager initialize …; processEvent NUMBER PRODUCT ADDRESS
class ModuleTest : public PlatformTest {
public:
    // What the modules' functions reach, which know nothing but the test that runs.
    static inline ModuleTest* self = nullptr;
    using PlatformTest::journal;
    /// Whether the button manager serves scanners.
    std::atomic<bool> buttonManagerServes = true;
    /// Objects and texts that the agent has not given back.
    std::atomic<int> objectsOut = 0;
    /// The byte that the modules' functions give for yes.
    std::uint8_t yes = 1;

protected:
    ModuleTest();
    ~ModuleTest() override;

    /// Makes a bundle of a test module ("NetScan", "Empty" …) and fills its functions in.
    template <typename Functions>
    void install(const std::string& module, const std::string& bundlePath, const Functions& functions) {
        *static_cast<Functions*>(installModule(module, bundlePath)) = functions;
    }
    /// Makes a bundle of the module without functions.
    void installEmpty(const std::string& bundlePath) { installModule("Empty", bundlePath); }
    /// "PanelDriver", or "PanelDriverWithoutSend" that cannot send lists.
    void installPanelDriver(const std::string& module = "PanelDriver");
    void installJobInterface();
    /// At the module path in the application's bundle.
    void installButtonManager(const std::string& modulePath);
    /// Takes something installed away.
    void remove(const std::string& path);

    /// The text where a record can refer to it, for the rest of the test. Any thread.
    address32 lowText(const std::string& text);
    /// What has been logged since the last call; the log is on from the first call on.
    Lines logged();

    /// How the panel behaves, and what it was handed last.
    struct Panel {
        bool opens = true;
        bool locks = true;
        bool sends = true;
        bool throwsAtUnlock = false;
        stRecvJobData choices{};
        std::string encoded = "list"; ///< what a list becomes
        void* encodedAt = nullptr;    ///< where, when it is not below 4 GiB

        std::mutex mutex; ///< guards what follows
        PanelOpenBlock block{};
        PanelJobHeader header{};
        std::vector<PanelJobEntry> entries; ///< with the one behind the count
        Lines names;
        std::string plainPassword;
    } panel;

    /// How the document-capture application behaves, and what it was handed last.
    struct Jobs {
        bool areThere = true;
        std::string list = "[]";
        std::optional<std::string> password;
        bool needsDigest = true;
        bool knowsOfficeFormats = true;
        bool supportsPushScan = true;
        bool isReady = true;
        bool accepts = true;

        std::mutex mutex; ///< guards what follows
        std::string options;
    } jobs;
    /// Operations can be taken out, or the header changed, before the module is used.
    SVJobInterfaceClass jobOperations;
    ButtonManagerClass buttonOperations;

private:
    void* installModule(const std::string& module, const std::string& bundlePath);
    /// A call on the connection: with the handle and the context word that it was opened with.
    static void addConnectionCall(const std::string& call, std::uint32_t handle,
                                  const std::uint32_t* context);
    static void take(const PanelJobHeader* header, std::uint32_t count, const PanelJobEntry* entries);
    static void takeForConnection(const PanelJobHeader* header, std::uint32_t count,
                                  const PanelJobEntry* entries);
    static std::uint8_t answer(bool isYes) { return isYes ? self->yes : 0; }
    static std::uint8_t command(const char* name);
    static const PanelDriverFunctions& panelDriverFunctions();

    std::vector<void*> libraries_;
    std::mutex lowMemoryMutex_;
    std::vector<std::shared_ptr<void>> lowMemory_; ///< guarded by lowMemoryMutex_
};

} // namespace trigora::test
