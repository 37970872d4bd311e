#pragma once

#include "modules/module_class.h"
#include "platform/Bundles.h"

#include <string>

namespace trigora::platform {

/// The function table of a class that a loadable module offers, loading the module's code first if need be.
/// Null when the module has no such class, or a table that is too small or of another version; one that is
/// larger has entries that nobody here knows. The table lives as long as the bundle's executable is loaded.
template <typename Table>
const Table* classNamed(Bundle& bundle, const std::string& name, std::uint32_t version) {
    auto* lookUp = functionNamed<TrigoraClassNamedFunction>(bundle, "TrigoraClassNamed");
    const TrigoraClassHeader* header = lookUp == nullptr ? nullptr : lookUp(name.c_str());
    if (header == nullptr || header->size < sizeof(Table) || header->version != version) {
        return nullptr;
    }
    return reinterpret_cast<const Table*>(header);
}

} // namespace trigora::platform
