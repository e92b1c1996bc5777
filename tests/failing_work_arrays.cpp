// A work-array layer that counts what is held, refuses one request or fails one release.
//
// It takes the place of services/work_arrays.cpp when the test is linked, and each array is a heap block of
// exactly the length asked for, so that a sanitizer sees every step outside it.
#include "failing_work_arrays.h"

#include "drape.h"
#include "services/work_arrays.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>

namespace {

struct Block {
    void* start;
    std::int64_t bytes;
    std::int64_t request; // by its number
};

std::map<std::int32_t, Block> blocks;
std::vector<std::int64_t> released;
std::int64_t bytesHeld = 0;
std::int64_t mostBytes = 0;
std::int32_t lastHandle = 0;
std::int64_t requests = 0;
std::int64_t refused = 0;
std::int64_t releases = 0;
std::int64_t failingRelease = 0;
std::int32_t failingResult = 1;
unsigned char filling = 0;

template <class T>
std::int32_t take(const T* base, std::int32_t count, std::int32_t& handle, std::int64_t& offset,
                  std::int32_t& status) {
    if (count < 0) {
        status = DRAPE_BAD_ARRAY_SIZE;
        return 1;
    }
    if (++requests == refused) {
        status = DRAPE_NO_MEMORY;
        return 1;
    }
    const std::size_t bytes = static_cast<std::size_t>(count) * sizeof(T);
    void* block = std::malloc(bytes > 0 ? bytes : 1);
    if (bytes > 0)
        std::memset(block, filling, bytes);
    handle = ++lastHandle;
    blocks[handle] = {block, static_cast<std::int64_t>(bytes), requests};
    bytesHeld += static_cast<std::int64_t>(bytes);
    mostBytes = std::max(mostBytes, bytesHeld);
    offset = static_cast<std::intptr_t>(reinterpret_cast<std::uintptr_t>(block) -
                                        reinterpret_cast<std::uintptr_t>(base)) /
             std::int64_t{sizeof(T)};
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
    const auto held = blocks.find(*handle);
    if (held == blocks.end()) {
        *status = DRAPE_UNKNOWN_HANDLE;
        return 1;
    }
    std::free(held->second.start);
    bytesHeld -= held->second.bytes;
    released.push_back(held->second.request);
    blocks.erase(held);
    if (++releases != failingRelease)
        return 0;
    *status = drape_test::RELEASE_FAILED;
    return failingResult;
}

void crcmac(void* target, const std::int32_t* byteCount, const std::int32_t* fillValue) {
    if (*byteCount > 0)
        std::memset(target, *fillValue, static_cast<std::size_t>(*byteCount));
}

namespace drape_test {

void beginRequests(std::int64_t failing, unsigned char fill) {
    released.clear();
    requests = 0;
    refused = failing;
    filling = fill;
    mostBytes = bytesHeld;
    releases = failingRelease = 0;
}

void failRelease(std::int64_t failing, std::int32_t result) {
    releases = 0;
    failingRelease = failing;
    failingResult = result;
}

std::int64_t releasesMade() {
    return releases;
}

const std::vector<std::int64_t>& releaseOrder() {
    return released;
}

std::int64_t requestsMade() {
    return requests;
}

std::int64_t mostBytesHeld() {
    return mostBytes;
}

std::int64_t arraysHeld() {
    return static_cast<std::int64_t>(blocks.size());
}

} // namespace drape_test
