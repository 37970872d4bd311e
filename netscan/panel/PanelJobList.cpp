#include "netscan/panel/PanelJobList.h"

#include "agent/log/PSlog.h"
#include "platform/Formats.h"
#include "platform/LowMemory.h"
#include "platform/Platform.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace trigora {

namespace {

template <typename Key, std::size_t count>
std::uint8_t codeOf(const Key& key, const std::pair<Key, std::uint8_t> (&table)[count],
                    std::uint8_t otherwise) {
    const auto* found = std::find_if(table, table + count, [&](const auto& row) { return row.first == key; });
    return found == table + count ? otherwise : found->second;
}

/// Numbers of a job are 32 bits, larger ones as near as can be; missing ones read 0.
std::int32_t numberAt(const Dictionary& dictionary, std::string_view key) {
    const std::int64_t number = platform::integerAt(dictionary, key).value_or(0);
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(number, INT32_MIN, INT32_MAX));
}

std::uint8_t imageTypeCode(std::int32_t pixelDataType) {
    constexpr std::pair<std::int32_t, std::uint8_t> codes[] = {{1, 1}, {2, 2}, {-1, 3}};
    return codeOf(pixelDataType, codes, 0);
}

std::uint8_t resolutionCode(std::int32_t resolution) {
    constexpr std::pair<std::int32_t, std::uint8_t> codes[] = {{300, 1}, {600, 2}, {200, 0}};
    return codeOf(resolution, codes, 3);
}

std::uint8_t scanningDeviceCode(std::int32_t functionalUnitType, bool isDuplex) {
    if (functionalUnitType == 3) {
        return isDuplex ? 2 : 1;
    }
    return functionalUnitType == -1 ? 3 : 0;
}

std::uint8_t documentSizeCode(std::int32_t documentType) {
    constexpr std::pair<std::int32_t, std::uint8_t> codes[] = {
        {2, 4}, {3, 1},  {4, 2},  {5, 3},  {6, 6},  {7, 10},  {-1, 10},
        {9, 5}, {11, 7}, {13, 8}, {29, 4}, {38, 6}, {53, 13}, {1000, 15}};
    return codeOf(documentType, codes, 0);
}

std::uint8_t jobFlags(const Dictionary& job, const Dictionary& scanSetting, bool honoursProhibitsEdit) {
    unsigned flags = 0;
    if (platform::booleanAt(scanSetting, "requiresContinueScanning").value_or(false)) {
        flags |= PANEL_JOB_CONTINUES_SCANNING;
    }
    if (honoursProhibitsEdit && platform::booleanAt(job, "prohibitsEdit").value_or(false)) {
        flags |= PANEL_JOB_PROHIBITS_EDIT;
    }
    return static_cast<std::uint8_t>(flags);
}

/// Everything of an entry but its name, its number and its flags.
PanelJobEntry entryOfJob(const Dictionary& job, const Dictionary& scanSetting) {
    PanelJobEntry entry{};
    const std::int32_t resolution = numberAt(scanSetting, "resolution");
    entry.ucImageType = imageTypeCode(numberAt(scanSetting, "pixelDataType"));
    entry.ucResolution = resolutionCode(resolution);
    entry.usCustomResolution = static_cast<std::uint16_t>(resolution);
    entry.ucScanningDevice =
        scanningDeviceCode(numberAt(scanSetting, "functionalUnitType"),
                           platform::booleanAt(scanSetting, "duplexScanningEnabled").value_or(false));
    entry.ucDocumentSize = documentSizeCode(numberAt(scanSetting, "documentType"));
    const std::optional<Dictionary> saveSetting = platform::dictionaryAt(job, "saveSetting");
    entry.ucSaveFormat = saveSetting ? GetSaveFormat(platform::textAt(*saveSetting, "imageUTType")) : 0;
    const std::optional<Dictionary> transport = platform::dictionaryAt(job, "transportSetting");
    entry.destinationType = transport ? GetDestinationTyoe(platform::textAt(*transport, "identifier")) : 1;
    return entry;
}

void logEntry(const PanelJobEntry& entry, const std::string& name) {
    PSlog("jobData2.wcJobName = %s", name);
    PSlog("jobData2.ucJobNumber = %d", entry.ucJobNumber);
    PSlog("jobData2.ucImageType = %d", entry.ucImageType);
    PSlog("jobData2.ucResolution = %d", entry.ucResolution);
    PSlog("jobData2.usCustomResolution = %d", entry.usCustomResolution);
    PSlog("jobData2.ucScanningDevice = %d", entry.ucScanningDevice);
    PSlog("jobData2.ucDocumentSize = %d", entry.ucDocumentSize);
    PSlog("jobData2.ucSaveFormat = %d", entry.ucSaveFormat);
}

/// What the scanner sent and what the user chose as password is ASCII, or there is no digest of it.
bool isAscii(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

} // namespace

std::uint8_t GetSaveFormat(const std::optional<std::string>& imageUTType) {
    static const std::pair<std::string, std::uint8_t> codes[] = {{"com.adobe.pdf", 2},
                                                                 {"public.jpeg", 0},
                                                                 {"public.tiff", 1},
                                                                 {"public.png", 5},
                                                                 {"com.microsoft.word.doc", 6},
                                                                 {"com.microsoft.excel.xls", 7},
                                                                 {"com.microsoft.powerpoint.ppt", 8}};
    return imageUTType ? codeOf(*imageUTType, codes, 0) : std::uint8_t{0};
}

std::uint8_t GetDestinationTyoe(const std::optional<std::string>& identifier) {
    static const std::pair<std::string, std::uint8_t> codes[] = {{"", 1},
                                                                 {"com.pelox.LocalTransporter", 1},
                                                                 {"com.pelox.PrintTransporter", 2},
                                                                 {"com.pelox.MailTransporter", 0},
                                                                 {"com.pelox.FTPTransporter", 3},
                                                                 {"com.pelox.WebDAVTransporter", 5},
                                                                 {"com.pelox.GoogleDocsTransporter", 6},
                                                                 {"com.pelox.EvernoteTransporter", 6},
                                                                 {"com.pelox.SugarSyncTransporter", 6}};
    return identifier ? codeOf(*identifier, codes, 6) : std::uint8_t{1};
}

void CreateHash(const char* hardwareAddress, const std::string& password, std::uint8_t* digest) {
    std::string text = password;
    for (std::size_t pair = 0; pair < 6; ++pair) {
        text.append(pair == 0 ? "" : ":").append(hardwareAddress + 2 * pair, 2);
    }
    const Data bytes = isAscii(text) ? Data(text.begin(), text.end()) : Data();
    const std::array<std::uint8_t, 16> md5 = platform::current().messageDigest.md5(bytes);
    std::copy(md5.begin(), md5.end(), digest);
}

std::optional<PanelJobList> PanelJobList::withJobs(const std::vector<Dictionary>& jobs, bool isOldList,
                                                   bool honoursProhibitsEdit) {
    // Asked once for all of the 240 lines, because every asking looks at the disk.
    const bool isLogged = !isOldList && isLogSwitchedOn();
    PanelJobList list;
    std::vector<std::string> names;
    for (std::size_t i = 0; i < std::min(jobs.size(), mostJobs); ++i) {
        const Dictionary& job = jobs[i];
        const Dictionary scanSetting = platform::dictionaryAt(job, "scanSetting").value_or(Dictionary());
        PanelJobEntry entry = entryOfJob(job, scanSetting);
        entry.ucJobNumber = static_cast<std::uint8_t>(i + 1);
        names.push_back(platform::textAt(job, "name").value_or(""));
        if (!isOldList) {
            entry.jobFlags = jobFlags(job, scanSetting, honoursProhibitsEdit);
        }
        if (isLogged) {
            logEntry(entry, names.back());
        }
        list.entries_.push_back(entry);
    }
    return list.setNames(names) ? std::optional(std::move(list)) : std::nullopt;
}

std::optional<PanelJobList> PanelJobList::placeholder() {
    PanelJobEntry entry{};
    entry.ucJobNumber = 1;
    entry.ucImageType = 3;
    entry.usCustomResolution = 200;
    entry.ucScanningDevice = 2;
    entry.ucSaveFormat = 2;
    entry.destinationType = 1;
    PanelJobList list;
    list.entries_.push_back(entry);
    return list.setNames({"Dummy"}) ? std::optional(std::move(list)) : std::nullopt;
}

bool PanelJobList::setNames(const std::vector<std::string>& names) {
    std::size_t size = 1;
    for (const std::string& name : names) {
        size += name.size() + 1;
    }
    const std::shared_ptr<void> block = platform::current().lowMemory.allocate(size);
    if (!block) {
        return false;
    }
    char* text = static_cast<char*>(block.get());
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::memcpy(text, names[i].c_str(), names[i].size() + 1);
        entries_[i].wcJobName = trigora_address32(text);
        text += names[i].size() + 1;
    }
    texts_.push_back(block);
    entries_.emplace_back();
    return true;
}

void PanelJobList::setDigestedPassword(const char* hardwareAddress, const std::string& password) {
    header_ = {};
    header_.passwordKind = PANEL_PASSWORD_MD5;
    CreateHash(hardwareAddress, password, header_.password);
}

bool PanelJobList::setPlainPassword(const std::string& password) {
    const std::shared_ptr<void> block = platform::current().lowMemory.allocate(password.size() + 1);
    if (!block) {
        return false;
    }
    std::memcpy(block.get(), password.c_str(), password.size() + 1);
    const address32 address = trigora_address32(block.get());
    header_ = {};
    header_.passwordKind = PANEL_PASSWORD_PLAIN;
    std::memcpy(header_.password, &address, sizeof address);
    texts_.push_back(block);
    return true;
}

} // namespace trigora
