// The 64-byte-aligned allocator handed to the host, and its release helpers.
//
// Block layout: p lies 1..64 bytes into a system block of size + 64 bytes and
// p[-1] holds that distance, so LumoFree finds the block start without any
// bookkeeping. A block start already on a 64-byte boundary steps a full 64
// bytes so that the distance byte always exists.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "lumomath/LumoUtility.h"

namespace {

constexpr uint32_t kAlignment = 64;

void* AlignedBlock(uint32_t size) {
    // Sizes are 32-bit; a size within 64 of 2^32 would wrap the request to a
    // few bytes and hand the caller a pointer to far less than it asked for.
    if (size > UINT32_MAX - kAlignment) return nullptr;
    const uint32_t request = size + kAlignment;
    auto* block = static_cast<unsigned char*>(std::malloc(request));
    if (block == nullptr) return nullptr;
    const auto start = reinterpret_cast<uintptr_t>(block);
    const auto distance = static_cast<uint32_t>(kAlignment - (start % kAlignment));  // 1..64
    std::memset(block, 0, kAlignment);
    unsigned char* p = block + distance;
    p[-1] = static_cast<unsigned char>(distance);
    return p;
}

}  // namespace

void* CLumoRuntime::LumoMalloc(uint32_t size) { return AlignedBlock(size); }

void* CLumoRuntime::LumoCalloc(uint32_t size) {
    void* p = AlignedBlock(size);
    if (p != nullptr) std::memset(p, 0, size);
    return p;
}

void CLumoRuntime::LumoFree(void* p) {
    if (p == nullptr) return;
    auto* bytes = static_cast<unsigned char*>(p);
    std::free(bytes - bytes[-1]);
}

void __releaseLumoMallocPointerList(std::vector<void*>& list) {
    for (void*& p : list) {
        if (p != nullptr) {
            CLumoRuntime::LumoFree(p);
            p = nullptr;
        }
    }
}

void __releaseLumoMallocPointer(std::vector<void*>& list, void* p) {
    const auto it = std::find(list.begin(), list.end(), p);
    if (it == list.end()) return;
    CLumoRuntime::LumoFree(p);
    list.erase(it);
}
