// Reads choices out of the bytes of a fuzz input.
//
// Where the bytes have run out every choice is 0, and 0 is always the harmless choice. So a short input is a
// good case, and each further byte bends it somewhere.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

namespace drape_fuzz {

class ByteSource {
public:
    ByteSource(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}

    bool empty() const { return left_ == 0; }

    std::uint8_t byte() {
        if (left_ == 0)
            return 0;
        --left_;
        return *data_++;
    }
    int below(int limit) { return byte() % limit; }
    bool flag() { return (byte() & 1) != 0; }

    std::size_t index(std::size_t size) {
        const std::size_t wide = static_cast<std::size_t>(byte()) << 8 | byte();
        return size == 0 ? 0 : wide % size;
    }

    // A small whole number, or one of those at which arithmetic breaks.
    std::int32_t integer() {
        constexpr std::int32_t edge[] = {0,
                                         -1,
                                         1,
                                         2,
                                         std::numeric_limits<std::int32_t>::max(),
                                         std::numeric_limits<std::int32_t>::min(),
                                         std::numeric_limits<std::int32_t>::max() / 2,
                                         std::numeric_limits<std::int32_t>::max() / 3 + 1};
        const std::uint8_t kind = byte();
        return kind < 8 ? edge[kind] : static_cast<std::int32_t>(kind) - 40;
    }

    // A number of ordinary size, a special value, or any eight bytes.
    double real() {
        constexpr double edge[] = {0.0,
                                   -0.0,
                                   std::numeric_limits<double>::quiet_NaN(),
                                   std::numeric_limits<double>::infinity(),
                                   -std::numeric_limits<double>::infinity(),
                                   std::numeric_limits<double>::max(),
                                   std::numeric_limits<double>::denorm_min(),
                                   1e-300,
                                   1e150,
                                   -1e150,
                                   1e9};
        const std::uint8_t kind = byte();
        if (kind < 11)
            return edge[kind];
        if (kind == 11) {
            double any = 0.0;
            for (std::size_t i = 0; i < sizeof any; ++i) {
                const std::uint8_t b = byte();
                std::memcpy(reinterpret_cast<unsigned char*>(&any) + i, &b, 1);
            }
            return any;
        }
        return (static_cast<int>(kind) - 128) / 16.0 + byte() / 4096.0;
    }

    // Between low and high; low where the bytes have run out.
    double between(double low, double high) { return low + (high - low) * (byte() / 255.0); }

private:
    const std::uint8_t* data_;
    std::size_t left_;
};

} // namespace drape_fuzz
