#pragma once

#include "tools/check/Findings.h"

namespace trigora::tools {

// What the makers have installed, apart from the projects.

/// The device table: rows that no button can ever reach, and numbers that are none.
void checkDeviceTable(Findings& findings);
void checkEvents(Findings& findings);
void checkActions(Findings& findings);
/// The programs that the system consists of, and the texts of its messages.
void checkPrograms(Findings& findings);

/// Whether the path is that of a product that is sold apart from the system: that it is missing is no fault.
bool isSeparateProduct(const std::string& application);

} // namespace trigora::tools
