#include "platform/linux/modules/LinuxLowMemory.h"

#include "modules/trigora_memory.h"

#include <algorithm>
#include <cstring>

#include <sys/uio.h>
#include <unistd.h>

namespace trigora::platform {

namespace {

// A jump to any 64-bit address, as machine code with the address in its place.
#if defined(__x86_64__)
constexpr std::uint8_t jump[] = {0x48, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xE0}; // mov rax, …; jmp rax
constexpr std::size_t jumpTarget = 2;
#elif defined(__aarch64__)
constexpr std::uint8_t jump[] = {0x50, 0, 0, 0x58, 0, 0x02, 0x1F, 0xD6,
                                 0,    0, 0, 0,    0, 0,    0,    0}; // ldr x16; br x16
constexpr std::size_t jumpTarget = 8;
#else
constexpr std::uint8_t jump[1] = {};
constexpr std::size_t jumpTarget = 0;
#endif

std::uint32_t makeJump(void (*function)()) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void* memory = sizeof jump > sizeof function ? trigora_low_alloc(page) : nullptr;
    if (memory == nullptr) {
        return 0;
    }
    std::memcpy(memory, jump, sizeof jump);
    std::memcpy(static_cast<std::uint8_t*>(memory) + jumpTarget, &function, sizeof function);
    __builtin___clear_cache(static_cast<char*>(memory), static_cast<char*>(memory) + sizeof jump);
    if (mprotect(memory, page, PROT_READ | PROT_EXEC) != 0) {
        trigora_low_free(memory, page);
        return 0;
    }
    return trigora_address32(memory);
}

/// Copies memory of this process that may not be there; the number of bytes that could be copied.
std::size_t copyIfReadable(std::uint32_t address, char* destination, std::size_t size) {
    const iovec to{destination, size};
    const iovec from{trigora_pointer(address), size};
    const ssize_t copied = process_vm_readv(getpid(), &to, 1, &from, 1, 0);
    return copied < 0 ? 0 : static_cast<std::size_t>(copied);
}

} // namespace

std::shared_ptr<void> LinuxLowMemory::allocate(std::size_t size) {
    void* memory = trigora_low_alloc(size);
    if (memory == nullptr) {
        return nullptr;
    }
    return {memory, [size](void* block) { trigora_low_free(block, size); }};
}

std::uint32_t LinuxLowMemory::addressOfFunction(void (*function)()) {
    const auto address = reinterpret_cast<std::uintptr_t>(function);
    if (address <= UINT32_MAX) {
        return static_cast<std::uint32_t>(address);
    }
    const std::lock_guard lock(mutex_);
    const auto known = functions_.find(function);
    if (known != functions_.end()) {
        return known->second;
    }
    const std::uint32_t made = makeJump(function);
    if (made != 0) {
        functions_[function] = made;
    }
    return made;
}

std::optional<std::string> LinuxLowMemory::textAt(std::uint32_t address, std::size_t limit) {
    // Copied piece by piece, none across a page's end, so that a text just before unreadable memory is
    // read whole.
    constexpr std::size_t piece = 256;
    std::string text;
    while (address != 0 && text.size() < limit) {
        char bytes[piece];
        const std::size_t wanted = std::min({piece - address % piece, limit - text.size()});
        const std::size_t copied = copyIfReadable(address, bytes, wanted);
        const std::size_t length = strnlen(bytes, copied);
        text.append(bytes, length);
        if (length < copied) {
            return text;
        }
        if (copied < wanted) {
            return std::nullopt;
        }
        address += static_cast<std::uint32_t>(copied);
    }
    return address == 0 && text.empty() ? std::nullopt : std::optional(text);
}

bool LinuxLowMemory::isReadable(std::uint32_t address, std::size_t size) {
    const auto page = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    const std::uint64_t end = std::uint64_t{address} + size;
    char byte = 0;
    for (std::uint64_t next = address; next < end; next = next - next % page + page) {
        if (next > UINT32_MAX || copyIfReadable(static_cast<std::uint32_t>(next), &byte, 1) != 1) {
            return false;
        }
    }
    return address != 0;
}

} // namespace trigora::platform
