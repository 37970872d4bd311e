#pragma once

#include "companions/PScanAssistant/scanners/SaneScanners.h"
#include "tests/fakes/PlatformTest.h"

#include <cstdlib>
#include <fstream>

namespace trigora::test {

/// SANE's own test device "test:0", configured by a file of this test's alone. Its picture is a chequered
/// grid of 10 millimetres; the first square is white.
class SaneTestDevice {
public:
    /// Further lines of the device's configuration, e.g. "hand-scanner true".
    explicit SaneTestDevice(const std::string& configuration = "") {
        std::ofstream(folder().path() + "/dll.conf") << "test\n";
        std::ofstream(folder().path() + "/test.conf") << "number_of_devices 1\ntest-picture \"Grid\"\n"
                                                      << configuration << '\n';
        setenv("SANE_CONFIG_DIR", folder().path().c_str(), 1);
    }

    std::unique_ptr<companions::Scanner> open() {
        companions::ScannerRefusal refusal;
        return scanners.open("test:0", refusal);
    }

    companions::SaneScanners scanners;

private:
    /// One for the whole program: the library looks at the variable only once.
    static TemporaryFolder& folder() {
        static TemporaryFolder folder;
        return folder;
    }
};

} // namespace trigora::test
