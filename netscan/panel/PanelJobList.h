#pragma once

#include "modules/panel_driver.h"
#include "platform/Value.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace trigora {

/// Whether a panel of this protocol version takes the old kind of list, without a job's flags.
bool isOldJobList(std::int32_t protocolVersion);

/// Codes that a job's settings have on a panel.
std::uint8_t GetSaveFormat(const std::optional<std::string>& imageUTType);
std::uint8_t GetDestinationTyoe(const std::optional<std::string>& identifier);

/// The MD5 digest of the password followed by ":"-joined pairs of the scanner's hardware address (12
/// characters, in the case in which the scanner sent them); of no bytes when that is not ASCII. Writes 16
/// bytes.
void CreateHash(const char* hardwareAddress, const std::string& password, std::uint8_t* digest);

/// A list of jobs as it goes to a panel: header and entries, with the texts that they refer to. The panel
/// driver may use it as long as this object lives.
class PanelJobList {
public:
    static constexpr std::size_t mostJobs = 30;

    /// The first 30 of the jobs (dictionaries as in modules/job_interface.h). Flags and the log line per
    /// field are those of new lists. None when there is no memory that records can refer to.
    static std::optional<PanelJobList> withJobs(const std::vector<Dictionary>& jobs, bool isOldList,
                                                bool honoursProhibitsEdit);
    /// The one placeholder job that a panel is given when another application serves its scanner.
    static std::optional<PanelJobList> placeholder();

    /// Protects the list by the digest that `CreateHash` makes.
    void setDigestedPassword(const char* hardwareAddress, const std::string& password);
    /// Protects the list by the password as it stands; false when there is no memory to refer to.
    bool setPlainPassword(const std::string& password);

    const PanelJobHeader& header() const { return header_; }
    std::uint32_t count() const { return static_cast<std::uint32_t>(entries_.size() - 1); }
    /// One zeroed entry more than the count.
    const PanelJobEntry* entries() const { return entries_.data(); }

private:
    PanelJobList() = default;
    /// The entries get their names from one block of memory; false when there is none.
    bool setNames(const std::vector<std::string>& names);

    PanelJobHeader header_{};
    std::vector<PanelJobEntry> entries_;
    std::vector<std::shared_ptr<void>> texts_;
};

} // namespace trigora
