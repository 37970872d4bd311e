#pragma once

#include "companions/PScanAssistant/documents/PageImage.h"

#include <optional>

namespace trigora::companions {

/// The rows of a page in black and white, compressed as fax machines of group 4 do. None without memory.
std::optional<Data> encodeGroup4(const PageImage& page);

} // namespace trigora::companions
