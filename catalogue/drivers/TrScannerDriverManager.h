#pragma once

#include "platform/Value.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace trigora {

class TrScannerDriverInformation;

/// The known scanner drivers, the one chosen as current, and the fixed map from the event IDs of a device's
/// own events to those of the job buttons. Main thread only; lives as long as the process.
class TrScannerDriverManager {
public:
    static std::shared_ptr<TrScannerDriverManager> sharedScannerDriverManager();

    /// Replaces the known drivers. `list` comes from another process: a list of driver information
    /// dictionaries; anything else empties the list, and entries without a name are skipped. When some
    /// entry is an Image Capture driver, the names of all others end in " - TWAIN".
    void setScannerDriverList(const Value& list);
    const std::vector<std::string>& scannerDriverNameList() const {
        return mutableArray_ScannerDriverNameList;
    }

    /// Makes the named driver current and tells the scan assistant, which is restarted for it: this call
    /// waits until the old one has gone and the new one runs. None leaves no driver current.
    void setCurrentScannerDriverWithName(const std::optional<std::string>& name);
    /// Null when there is none.
    std::shared_ptr<TrScannerDriverInformation> currentScannerDriverInformation() const {
        return currentScannerDriverInformation_;
    }

    const std::map<std::string, std::string>& eventIDMap();

private:
    std::vector<std::string> mutableArray_ScannerDriverNameList;
    std::map<std::string, std::shared_ptr<TrScannerDriverInformation>> mutableDictionary_ScannerDriverMap;
    std::shared_ptr<TrScannerDriverInformation> currentScannerDriverInformation_;
    std::map<std::string, std::string> dictionary_EventIDMap;
};

} // namespace trigora
