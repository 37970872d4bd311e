#pragma once

#include "platform/Value.h"

#include <optional>
#include <string>
#include <vector>

namespace trigora {

/// The device table "DevInf.def": one row for each line of the file, in their order. A row has the texts
/// "TwainName" (a driver's name), "InterDevicename" and "JpDevicename" (a model's names), each only when the
/// line has that field, and the numbers "NavBtnNum" (how many buttons it maps) and "NavBtn1" to "NavBtn10"
/// (the event ID of each button).
using DeviceTable = std::vector<Dictionary>;

/// None when the file is missing, cannot be read, or is far too large to be a device table.
std::optional<DeviceTable> readDeviceTable();

/// A line's fields under the keys of their columns, without the double quotes around them. A missing field of
/// a button stands for itself.
Dictionary SM_ConvertDevInfoDictionaryFromString(const std::string& line,
                                                 const std::vector<std::string>& keyList);

} // namespace trigora
