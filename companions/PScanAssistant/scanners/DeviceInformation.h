#pragma once

#include "companions/PScanAssistant/scanners/ScannerDirectory.h"
#include "platform/Value.h"

namespace trigora::companions {

/// What the agent is told about an open scanner. Areas are in tenths of a millimetre, resolutions in dots
/// per inch; what the scanner does not have or tell is 0 or false. Leaves the scanner's source changed.
Dictionary deviceInformation(Scanner& scanner, const DriverEntry& entry);

} // namespace trigora::companions
