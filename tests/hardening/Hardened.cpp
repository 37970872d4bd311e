// Gives each of the checks something to check: a buffer on the stack, a copy of a length that is not known,
// and an index.

#include <cstddef>
#include <cstring>
#include <vector>

extern "C" char hardened(const char* text, std::size_t length, const std::vector<char>& list);

extern "C" char hardened(const char* text, std::size_t length, const std::vector<char>& list) {
    char buffer[16] = {};
    std::memcpy(buffer, text, length);
    return static_cast<char>(buffer[length / 2] + list[length]);
}

int main(int argc, char** argv) {
    const std::vector<char> list(16);
    return hardened(argv[0], static_cast<std::size_t>(argc), list);
}
