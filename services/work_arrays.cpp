// Work arrays from the C heap.
//
// A handle is a slot of a process-wide table, counted from 1. A released slot goes on a free list and is
// handed out again, so the table stays as long as the largest number of arrays held at once. Runs of several
// threads share the table, so a lock stands before it, held for a few instructions at a time.
#include "services/work_arrays.h"

#include "drape.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <thread>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace {

// Asks for large pages under a large block: bringing in a page takes the system as long as a search takes a
// run. What isn't touched still takes no memory, but for the rest of a page. The hint may come to nothing.
void wantLargePages([[maybe_unused]] void* block, [[maybe_unused]] std::size_t bytes) {
#ifdef MADV_HUGEPAGE
    constexpr std::uintptr_t smallPage = 4096;
    constexpr std::size_t largePage = std::size_t{1} << 21;
    if (bytes < largePage)
        return;
    const std::uintptr_t first = reinterpret_cast<std::uintptr_t>(block) / smallPage * smallPage + smallPage;
    const std::uintptr_t end = (reinterpret_cast<std::uintptr_t>(block) + bytes) / smallPage * smallPage;
    const int before = errno;
    madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
    errno = before;
#endif
}

struct Slot {
    void* block;
    std::int32_t nextFree; // slot number, 0 at the end of the free list
};

// A lock of the standard library's would bring its run-time library in.
class TableLock {
public:
    TableLock() {
        while (taken.test_and_set(std::memory_order_acquire))
            std::this_thread::yield();
    }
    ~TableLock() { taken.clear(std::memory_order_release); }
    TableLock(const TableLock&) = delete;
    TableLock& operator=(const TableLock&) = delete;

private:
    static constinit std::atomic_flag taken;
};
constinit std::atomic_flag TableLock::taken;

Slot* slots = nullptr;
std::int32_t slotCount = 0;
std::int32_t firstFree = 0;

bool growTable() {
    const std::int32_t grown = slotCount == 0 ? 64 : 2 * slotCount;
    auto* table = static_cast<Slot*>(std::realloc(slots, static_cast<std::size_t>(grown) * sizeof(Slot)));
    if (table == nullptr)
        return false;
    slots = table;
    for (std::int32_t i = grown; i > slotCount; --i) {
        slots[i - 1] = {nullptr, firstFree};
        firstFree = i;
    }
    slotCount = grown;
    return true;
}

template <class T>
std::int32_t take(const T* base, std::int32_t count, std::int32_t& handle, std::int64_t& offset,
                  std::int32_t& status) {
    handle = 0;
    constexpr std::size_t most = std::numeric_limits<std::size_t>::max() / sizeof(T); // on a 32-bit machine
    if (count < 0 || static_cast<std::size_t>(count) > most) {
        status = DRAPE_BAD_ARRAY_SIZE;
        return 1;
    }
    // An empty array has an address of its own too.
    void* block = std::malloc(static_cast<std::size_t>(count > 0 ? count : 1) * sizeof(T));
    if (block == nullptr) {
        status = DRAPE_NO_MEMORY;
        return 1;
    }
    wantLargePages(block, static_cast<std::size_t>(count) * sizeof(T));
    const TableLock lock;
    if (firstFree == 0 && !growTable()) {
        std::free(block);
        status = DRAPE_NO_MEMORY;
        return 1;
    }
    handle = firstFree;
    firstFree = slots[handle - 1].nextFree;
    slots[handle - 1].block = block;
    // Both addresses are multiples of the element size, so the division is exact.
    const auto distance = static_cast<std::intptr_t>(reinterpret_cast<std::uintptr_t>(block) -
                                                     reinterpret_cast<std::uintptr_t>(base));
    offset = distance / std::int64_t{sizeof(T)};
    return 0;
}

} // namespace

std::int32_t giali4(const std::int32_t* base, const std::int32_t* count, std::int32_t* handle,
                    std::int64_t* offset, std::int32_t* status) {
    return take(base, *count, *handle, *offset, *status);
}

std::int32_t gialr8(const double* base, const std::int32_t* count, std::int32_t* handle, std::int64_t* offset,
                    std::int32_t* status) {
    return take(base, *count, *handle, *offset, *status);
}

std::int32_t giares(const std::int32_t* handle, std::int32_t* status) {
    const std::int32_t slot = *handle;
    const TableLock lock;
    if (slot < 1 || slot > slotCount || slots[slot - 1].block == nullptr) {
        *status = DRAPE_UNKNOWN_HANDLE;
        return 1;
    }
    std::free(slots[slot - 1].block);
    slots[slot - 1] = {nullptr, firstFree};
    firstFree = slot;
    return 0;
}

void crcmac(void* target, const std::int32_t* byteCount, const std::int32_t* fillValue) {
    if (*byteCount > 0)
        std::memset(target, *fillValue, static_cast<std::size_t>(*byteCount));
}
