// Any two triangles and any point: a mapped point or the code for a flat triangle.
#include "byte_source.h"
#include "drape.h"

#include <cstdlib>
#include <memory>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    drape_fuzz::ByteSource bytes(data, size);
    const auto take = [&bytes](std::size_t count) {
        auto values = std::make_unique<double[]>(count);
        for (std::size_t i = 0; i < count; ++i)
            values[i] = bytes.real();
        return values;
    };
    const auto source = take(9), target = take(9), point = take(3), mapped = take(3);
    const double before = mapped[0] = 17.0;
    std::int32_t status = -1;
    const std::int32_t result = nptfpt(source.get(), target.get(), point.get(), mapped.get(), &status);
    const bool mappedIt = result == 0 && status == DRAPE_OK;
    const bool refused = result == 1 && status == DRAPE_SOURCE_TRIANGLE_FLAT && mapped[0] == before;
    if (!mappedIt && !refused)
        std::abort();
    return 0;
}
