#pragma once

#include <optional>
#include <string>

namespace trigora {

/// What the folder of a scanner's projects depends on: the model part of a scanner driver description.
class ScannerDriverModel {
public:
    virtual ~ScannerDriverModel() = default;

    /// Whether the projects of this model are kept apart from those of the others.
    virtual bool isDependency() const = 0;
    /// The model as hexadecimal digits; none when no device is known.
    virtual std::optional<std::string> hexadecimalModelID() const = 0;
};

} // namespace trigora
