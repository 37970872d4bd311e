#pragma once

#include "companions/PScanAssistant/documents/PageImage.h"

#include <optional>

namespace trigora::companions {

/// The page as a JPEG file; black and white is written in grey. None when it cannot be encoded (a side longer
/// than 65500 pixels). Quality from 1 to 100.
std::optional<Data> encodeJpeg(const PageImage& page, int quality);

} // namespace trigora::companions
