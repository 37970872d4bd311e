#include "tools/frame/ModelOption.h"

#include "tools/settings/ScannerModels.h"

namespace trigora::tools {

std::shared_ptr<TrScannerDriverInformation> driverOption(const Arguments& arguments) {
    const std::optional<std::string> given = arguments.text(modelOption.name);
    return given ? driverOfModel(requireModelID(*given)) : nullptr;
}

std::string modelOptionText(const std::shared_ptr<TrScannerDriverInformation>& driver) {
    return driver ? " --model " + modelOf(driver).value_or("") : std::string();
}

} // namespace trigora::tools
