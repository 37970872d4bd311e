#pragma once

#include "companions/PScanAssistant/scanners/Scanner.h"

namespace trigora::companions {

/// Scanners through the SANE library, which is started by the first call.
class SaneScanners final : public Scanners {
public:
    SaneScanners() = default;
    SaneScanners(const SaneScanners&) = delete;
    SaneScanners& operator=(const SaneScanners&) = delete;
    ~SaneScanners() override;

    std::vector<AttachedScanner> list() override;
    std::unique_ptr<Scanner> open(const std::string& device, ScannerRefusal& refusal) override;

private:
    bool isReady();

    bool initialized_ = false;
};

} // namespace trigora::companions
