#pragma once

#include "tools/check/Findings.h"

namespace trigora::tools {

/// The capabilities of the models and the drivers of the scanners, installed and the user's own: what of
/// their files never counts.
void checkScannerFiles(Findings& findings);

} // namespace trigora::tools
