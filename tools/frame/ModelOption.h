#pragma once

#include "tools/frame/Arguments.h"

#include <memory>
#include <string>

namespace trigora {
class TrScannerDriverInformation;
}

namespace trigora::tools {

constexpr Option modelOption{"model", "ID", "scanner model, four hexadecimal digits, e.g. 00FE"};

/// The driver that "--model" names; null without the option. Throws a `SettingsError` for what is not a model
/// ID.
std::shared_ptr<TrScannerDriverInformation> driverOption(const Arguments& arguments);
/// " --model 0F01", or nothing for no driver.
std::string modelOptionText(const std::shared_ptr<TrScannerDriverInformation>& driver);

} // namespace trigora::tools
