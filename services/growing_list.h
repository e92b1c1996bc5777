// A list with a fixed table that a work array takes over from when it is full.
#pragma once

#include "services/work_arrays.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <type_traits>

namespace drape {

template <class T, std::int64_t FIXED>
class GrowingList {
    static_assert(std::is_trivially_copyable_v<T> && alignof(T) <= alignof(double));

public:
    // Empties the list and gives a work array back.
    void reset() {
        std::int32_t unreported = 0;
        taken_.release(unreported);
        entries_ = fixed_;
        capacity_ = FIXED;
        size_ = 0;
    }

    bool push(const T& entry, std::int32_t& status) {
        if (size_ == capacity_ && !grow(status))
            return false;
        entries_[size_++] = entry;
        return true;
    }

    void pop() { --size_; }
    void truncate(std::int64_t size) { size_ = size; }
    T& top() { return entries_[size_ - 1]; }
    bool empty() const { return size_ == 0; }
    std::int64_t size() const { return size_; }
    T& operator[](std::int64_t k) { return entries_[k]; }
    T* begin() { return entries_; }
    T* end() { return entries_ + size_; }

private:
    bool grow(std::int32_t& status) {
        constexpr std::int64_t doubles = (sizeof(T) + sizeof(double) - 1) / sizeof(double);
        const std::int64_t grown = 2 * capacity_;
        WorkArray<double> larger;
        if (!larger.take(grown * doubles, status))
            return false;
        T* moved = reinterpret_cast<T*>(larger.data());
        std::uninitialized_copy(entries_, entries_ + size_, moved);
        taken_.swap(larger);
        entries_ = moved;
        capacity_ = grown;
        return true;
    }

    T fixed_[FIXED];
    T* entries_ = fixed_;
    std::int64_t capacity_ = FIXED;
    std::int64_t size_ = 0;
    WorkArray<double> taken_;
};

} // namespace drape
