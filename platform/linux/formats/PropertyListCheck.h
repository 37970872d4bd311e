#pragma once

#include "platform/Value.h"

#include <cstddef>
#include <string_view>

/// The property-list library recurses as deep as a file is nested, follows every reference of a binary
/// file as often as it stands there, and takes quadratic time over very large dictionaries. A hostile file
/// of a few kilobytes could so end or hang the program; these checks are made before the library sees it.
namespace trigora::platform {

/// Levels of lists and dictionaries; no settings file comes near.
constexpr int deepestPropertyList = 128;
/// Values and keys together; no settings file comes near.
constexpr std::size_t largestPropertyList = 50000;

/// Whether an XML file keeps to the limits. It may still be malformed.
bool isHarmlessXmlPropertyList(std::string_view text);

/// Whether a binary file keeps to the limits, also after every reference is followed, and its references
/// stay inside the file and do not run in a circle.
bool isHarmlessBinaryPropertyList(const Data& file);

} // namespace trigora::platform
