#pragma once

#include "platform/Value.h"

#include <optional>
#include <string>
#include <utility>

/// What a runner may want to know besides its action. A kind of runner derives from an input for each thing
/// that it takes; whoever fills runners asks by `dynamic_cast` whether a runner has the input, and so needs
/// to know nothing about the kinds. Everything is none until it is set.
namespace trigora {

/// The job as it is described to a scan assistant: "NextAssistantPath", "driverName" and others.
class ScanAssistantDataInput {
public:
    void setScanAssistantData(std::optional<Dictionary> data) {
        dictionary_ScanAssistantData = std::move(data);
    }
    const std::optional<Dictionary>& scanAssistantData() const { return dictionary_ScanAssistantData; }

protected:
    ~ScanAssistantDataInput() = default;

private:
    std::optional<Dictionary> dictionary_ScanAssistantData;
};

/// Further settings of the event for a scan assistant.
class EventManagerDataInput {
public:
    void setEventManagerData(std::optional<Dictionary> data) { eventManagerData_ = std::move(data); }
    const std::optional<Dictionary>& eventManagerData() const { return eventManagerData_; }

protected:
    ~EventManagerDataInput() = default;

private:
    std::optional<Dictionary> eventManagerData_;
};

/// A decimal version number.
class DriverVersionInput {
public:
    void setDriverVersion(std::optional<std::string> version) { driverVersion_ = std::move(version); }
    const std::optional<std::string>& driverVersion() const { return driverVersion_; }

protected:
    ~DriverVersionInput() = default;

private:
    std::optional<std::string> driverVersion_;
};

class ProjectIDInput {
public:
    void setProjectID(std::optional<std::string> projectID) { projectID_ = std::move(projectID); }
    const std::optional<std::string>& projectID() const { return projectID_; }

protected:
    ~ProjectIDInput() = default;

private:
    std::optional<std::string> projectID_;
};

class DriverNameInput {
public:
    void setDriverName(std::optional<std::string> driverName) { driverName_ = std::move(driverName); }
    const std::optional<std::string>& driverName() const { return driverName_; }

protected:
    ~DriverNameInput() = default;

private:
    std::optional<std::string> driverName_;
};

/// None for a locally attached scanner.
class IPAddressInput {
public:
    void setIPAddress(std::optional<std::string> ipAddress) { ipAddress_ = std::move(ipAddress); }
    const std::optional<std::string>& ipAddress() const { return ipAddress_; }

protected:
    ~IPAddressInput() = default;

private:
    std::optional<std::string> ipAddress_;
};

} // namespace trigora
