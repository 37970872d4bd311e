#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace trigora {
class TrScannerDriverInformation;
}

namespace trigora::tools {

/// A scanner model or driver that the installed files, or the user's, tell of.
struct KnownScanner {
    std::optional<std::string> driverName; ///< none for a model that only has capabilities
    std::optional<std::string> modelID;    ///< four digits; none when the driver's entry names none
    bool isOfUser = false;                 ///< whether the entry is the user's own
};

/// The drivers in ascending order of their names, then the models that no driver names.
std::vector<KnownScanner> knownScanners();

/// What to note about a driver's name that no entry of ScannerDrivers.ini has; none when one has it. Such a
/// scanner is found only by the name that SANE gives it, which this program does not know.
std::optional<std::string> driverNameNote(const std::string& driverName);

/// A driver as the agent makes one for a model, with the name of a known driver of that model.
std::shared_ptr<TrScannerDriverInformation> driverOfModel(const std::string& modelID);
/// The model ID that an entry of a ScannerDrivers.ini names, in four digits; none when it names none.
std::optional<std::string> modelIDOfDriverEntry(const std::string& file, const std::string& driverName);
/// Whether the capability file has an entry for the model.
bool hasCapabilities(const std::string& modelID);

/// Whether a driver's entry names the model, or the capability file has an entry for it.
bool isKnownModel(const std::string& modelID);
/// The model ID in capital letters. Throws a `SettingsError` for what is none.
std::string requireModelID(const std::string& text);
/// The driver's model ID; none for no driver.
std::optional<std::string> modelOf(const std::shared_ptr<TrScannerDriverInformation>& driver);
/// What to note about the model, e.g. that nothing is known of it; none when all is well.
std::optional<std::string> modelNote(const std::shared_ptr<TrScannerDriverInformation>& driver);
/// " of model 0F01", or nothing for no driver.
std::string ofModel(const std::shared_ptr<TrScannerDriverInformation>& driver);
} // namespace trigora::tools
