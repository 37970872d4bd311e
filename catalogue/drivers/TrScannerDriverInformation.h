#pragma once

#include "files/ScannerDriverModel.h"
#include "platform/Value.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace trigora {

/// One scanner as the agent sees it: its driver, what the scan assistant reported about the attached device,
/// and the entries of its model in the installed capability file.
///
/// The usual order: made from a driver information dictionary, then given the device information, which also
/// reads the model's capability entries. The device information comes from another process; an entry of an
/// unusable type counts as missing.
/// Main thread only.
class TrScannerDriverInformation final : public ScannerDriverModel {
public:
    /// "JobDeviceType" of a model whose buttons stand for the jobs of its panel.
    static constexpr std::int32_t typeWithJobButtons = 1;

    /// Name, version and maker from "DriverInfoDrivername", "DriverInfoDriverVersion" and
    /// "DriverInfoMakerName"; none where missing. Everything else starts empty, 0 or false. Never null.
    static std::shared_ptr<TrScannerDriverInformation>
    initWithDriverInformation(const Dictionary& driverInformation);

    /// Replaces the device information and reads the model's capability entries anew. None only empties the
    /// device information; the capability entries then keep their values.
    void setDeviceInfo(const std::optional<Dictionary>& deviceInfo);
    const Dictionary& deviceInfo() const { return mutableDictionary_DeviceInfo; }

    const std::optional<std::string>& driverName() const { return string_DriverName; }
    const std::optional<std::string>& version() const { return string_Version; }
    const std::optional<std::string>& makerName() const { return string_MakerName; }

    /// Four upper-case hexadecimal digits; none without a model ID of at least 1.
    std::optional<std::string> hexadecimalModelID() const override;

    /// The kinds of events that the device offers: the bits of an event's kind, and 1 where the device has
    /// no fixed set of buttons.
    std::int32_t supportEventType() const;

    // Device information; a missing entry reads as none, or false.
    std::optional<std::int64_t> modelID() const;
    std::optional<std::int64_t> flatbedScanAreaWidth() const;
    std::optional<std::int64_t> flatbedScanAreaHeight() const;
    std::optional<std::int64_t> adfScanAreaWidth() const;
    std::optional<std::int64_t> adfScanAreaHeight() const;
    std::optional<std::int64_t> duplexAdfScanAreaWidth() const;
    std::optional<std::int64_t> duplexAdfScanAreaHeight() const;
    bool isFlatSupport() const;
    bool isADFSupport() const;
    bool isDuplexSupport() const;
    bool isADFHasPaper() const;
    std::optional<std::int64_t> xDPIMinimum() const;
    std::optional<std::int64_t> xDPIMaximum() const;
    std::optional<std::int64_t> yDPIMinimum() const;
    std::optional<std::int64_t> yDPIMaximum() const;
    bool isNoneUI() const;
    bool isRunICAMode() const;
    bool isDeviceConnected() const;

    // Capability entries of the model.
    std::int32_t driverType() const { return number_DeviceType; }
    std::int32_t numberOfButton() const { return number_NumberOfButton; }
    bool isDependency() const override { return bool_IsDependency; }
    const std::optional<std::string>& deviceSettingAlias() const { return string_DeviceSettingAlias; }
    const std::optional<std::string>& eventAliasKeyName() const { return string_EventAliasKeyName; }
    const std::optional<std::string>& duplexPaperMinSize() const { return string_DuplexPaperMinSize; }
    const std::optional<std::string>& duplexPaperMaxSize() const { return string_DuplexPaperMaxSize; }

private:
    void SDI_ReadCapability();

    std::optional<std::string> string_DriverName;
    std::optional<std::string> string_Version;
    std::optional<std::string> string_MakerName;
    Dictionary mutableDictionary_DeviceInfo;
    std::int32_t number_DeviceType = 0;
    std::int32_t number_NumberOfButton = 0;
    bool bool_IsDependency = false;
    std::optional<std::string> string_DeviceSettingAlias;
    std::optional<std::string> string_EventAliasKeyName;
    std::optional<std::string> string_DuplexPaperMinSize;
    std::optional<std::string> string_DuplexPaperMaxSize;
};

} // namespace trigora
