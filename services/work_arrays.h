// Work arrays: the one seam through which the library gets memory.
//
// Four C functions stand between the library and the heap. They live in work_arrays.cpp alone, so a host
// that links the static library can put its own versions in their place, and a test can make the n-th
// request fail. Threads that are in runs call them at the same time. Everything else goes through WorkArray,
// which knows how to address what they give.
#pragma once

#include <cstdint>
#include <limits>
#include <utility>

extern "C" {

// Take an array of `count` elements. `handle` is non-zero while it is held; `offset`, in elements, leads
// from `base` to the first element, so both have to stand at multiples of the element's size: on a 32-bit
// machine a double by itself needn't. Result 1 with a non-zero status on failure. Contents are undefined.
std::int32_t giali4(const std::int32_t* base, const std::int32_t* count, std::int32_t* handle,
                    std::int64_t* offset, std::int32_t* status);
std::int32_t gialr8(const double* base, const std::int32_t* count, std::int32_t* handle, std::int64_t* offset,
                    std::int32_t* status);

// Give an array back. Result 1 with a non-zero status on failure.
std::int32_t giares(const std::int32_t* handle, std::int32_t* status);

// Set `byteCount` bytes to `fillValue`.
void crcmac(void* target, const std::int32_t* byteCount, const std::int32_t* fillValue);
}

namespace drape {

// Zeroes `count` elements, in pieces that fit the layer's 32-bit byte count.
template <class T>
void clear(T* target, std::int64_t count) {
    constexpr std::int64_t piece = std::numeric_limits<std::int32_t>::max() / std::int64_t{sizeof(T)};
    const std::int32_t zero = 0;
    for (; count > 0; count -= piece, target += piece) {
        const auto bytes =
            static_cast<std::int32_t>((count < piece ? count : piece) * std::int64_t{sizeof(T)});
        crcmac(target, &bytes, &zero);
    }
}

// One work array of int32 or double, held by the operation that took it.
template <class T>
class WorkArray {
public:
    WorkArray() = default;
    WorkArray(const WorkArray&) = delete;
    WorkArray& operator=(const WorkArray&) = delete;
    ~WorkArray() {
        std::int32_t unreported = 0;
        release(unreported);
    }

    // Takes `count` elements; false with the layer's code in `status` if they can't be had.
    bool take(std::int64_t count, std::int32_t& status) {
        // A count that the layer's argument can't hold is refused there like a negative one.
        const auto request = static_cast<std::int32_t>(
            count > std::numeric_limits<std::int32_t>::max() || count < 0 ? -1 : count);
        handle_ = 0;
        std::int64_t offset = 0;
        if (request_(&base_, &request, &handle_, &offset, &status) == 1) {
            handle_ = 0;
            return false;
        }
        // The address is worked out on integers, since the block is no part of `base_`.
        data_ = reinterpret_cast<T*>(reinterpret_cast<std::uintptr_t>(&base_) +
                                     static_cast<std::uintptr_t>(offset) * sizeof(T));
        return true;
    }

    // Gives the array back if it is held; a failure's code goes to `status`, which stays as it is otherwise.
    void release(std::int32_t& status) {
        if (handle_ == 0)
            return;
        std::int32_t code = 0;
        if (giares(&handle_, &code) == 1 || code != 0)
            status = code;
        handle_ = 0;
    }

    bool held() const { return handle_ != 0; }

    T* data() const { return data_; }

    void swap(WorkArray& other) {
        std::swap(handle_, other.handle_);
        std::swap(data_, other.data_);
    }

private:
    static std::int32_t request_(const std::int32_t* base, const std::int32_t* count, std::int32_t* handle,
                                 std::int64_t* offset, std::int32_t* status) {
        return giali4(base, count, handle, offset, status);
    }
    static std::int32_t request_(const double* base, const std::int32_t* count, std::int32_t* handle,
                                 std::int64_t* offset, std::int32_t* status) {
        return gialr8(base, count, handle, offset, status);
    }

    alignas(sizeof(T)) T base_ = 0;
    std::int32_t handle_ = 0;
    T* data_ = nullptr;
};

// In itself a double has half of its size as alignment on some 32-bit machines.
static_assert(alignof(WorkArray<double>) % sizeof(double) == 0);

} // namespace drape
