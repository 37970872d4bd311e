/* Memory that records can refer to.
 *
 * The records that modules and the agent exchange are fixed byte for byte: little-endian fields, and
 * pointers of 32 bits on 64-bit machines too. A pointer field is an address32: the address of memory that
 * lies below 4 GiB. These functions get such memory, for texts, encoded data and functions that a record
 * is to refer to. They are safe from any thread. Everything is static inline; nothing needs linking.
 */
#ifndef TRIGORA_MEMORY_H
#define TRIGORA_MEMORY_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>
#include <sys/mman.h>

/* Standard C keeps it back. */
#ifndef MAP_ANONYMOUS
#include <asm/mman.h>
#endif

#ifdef __cplusplus
extern "C" {
#define TRIGORA_STATIC_ASSERT(condition, message) static_assert(condition, message)
#else
#define TRIGORA_STATIC_ASSERT(condition, message) _Static_assert(condition, message)
#endif

#if __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "the records are little-endian"
#endif

/* The address of memory below 4 GiB; 0 is no address. */
typedef uint32_t address32;

/* Whether the address fits an address32. Null fits, as 0. */
static inline int trigora_fits_address32(const void* pointer) { return (uintptr_t)pointer <= UINT32_MAX; }

/* The address32 of a pointer; 0 when it does not fit. An address is never cut. */
static inline address32 trigora_address32(const void* pointer) {
    return trigora_fits_address32(pointer) ? (address32)(uintptr_t)pointer : 0;
}

/* The pointer that an address32 stands for. */
static inline void* trigora_pointer(address32 address) { return (void*)(uintptr_t)address; }

/* Zeroed memory below 4 GiB, in whole pages; null when there is none. It belongs to the caller, who gives
 * it back with trigora_low_free and the same size. */
static inline void* trigora_low_alloc(size_t size) {
    const uintptr_t first = 0x10000000u, last = 0xF0000000u, step = 0x01000000u, shift = 0x00010000u;
    uintptr_t offset, hint;
    if (size == 0 || size > last - first - step) {
        return NULL;
    }
    /* The kernel takes a hint only when just that address is free. Wide steps find room soon; shifted by and
     * by they come to every place. */
    for (offset = 0; offset < step; offset += shift) {
        for (hint = first + offset; hint <= last - size; hint += step) {
            void* memory =
                mmap((void*)hint, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
            if (memory == MAP_FAILED) {
                return NULL;
            }
            if ((uintptr_t)memory + size - 1 <= UINT32_MAX) {
                return memory;
            }
            munmap(memory, size);
        }
    }
    return NULL;
}

/* Null is passed over. */
static inline void trigora_low_free(void* memory, size_t size) {
    if (memory != NULL && size != 0) {
        munmap(memory, size);
    }
}

#ifdef __cplusplus
}
#endif

#endif
