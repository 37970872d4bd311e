// Gives every file in the folders named as arguments to the target that this is linked with. Needs no fuzzer,
// so the kept inputs run with the tests.

#include "fuzz/FuzzInput.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

int main(int argc, char** argv) {
    std::vector<std::filesystem::path> inputs;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            inputs.push_back(entry.path());
        }
    }
    std::sort(inputs.begin(), inputs.end());
    for (const auto& input : inputs) {
        std::printf("%s\n", input.c_str());
        std::fflush(stdout); // the last one named is the one that fails
        std::ifstream file(input, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }
    std::printf("%zu inputs replayed\n", inputs.size());
    return inputs.empty() ? EXIT_FAILURE : EXIT_SUCCESS;
}
