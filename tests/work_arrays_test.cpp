// The work-array layer by itself: handles, the table that holds them, and what it refuses.
#include "services/work_arrays.h"

#include "drape.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <vector>

namespace {

struct Taken {
    std::int32_t result, handle, status;
};
Taken takeInts(std::int32_t count) {
    const std::int32_t base = 0;
    Taken taken{0, 77, 0};
    std::int64_t offset = 0;
    taken.result = giali4(&base, &count, &taken.handle, &offset, &taken.status);
    return taken;
}
std::int32_t codeOfRelease(std::int32_t handle) {
    std::int32_t status = 0;
    const std::int32_t result = giares(&handle, &status);
    EXPECT_EQ(result, status == 0 ? 0 : 1);
    return status;
}

TEST(WorkArrays, HandlesAreUsedAgainAndTheTableGrows) {
    std::set<std::int32_t> handles;
    for (int round = 0; round < 3; ++round) {
        std::vector<std::int32_t> held;
        for (int k = 0; k < 300; ++k) {
            const Taken taken = takeInts(k % 7);
            ASSERT_EQ(taken.result, 0);
            ASSERT_GT(taken.handle, 0);
            ASSERT_EQ(std::count(held.begin(), held.end(), taken.handle), 0);
            held.push_back(taken.handle);
            handles.insert(taken.handle);
        }
        // In no order, as operations give them back.
        std::rotate(held.begin(), held.begin() + 100 * round, held.end());
        for (const std::int32_t handle : held)
            EXPECT_EQ(codeOfRelease(handle), 0);
    }
    EXPECT_EQ(handles.size(), 300u);
}

TEST(WorkArrays, RefusesWhatIsNotHeldAndWhatCannotBe) {
    const Taken taken = takeInts(5);
    EXPECT_EQ(codeOfRelease(taken.handle), 0);
    for (const std::int32_t handle : {taken.handle, 0, -1, 2000000000})
        EXPECT_EQ(codeOfRelease(handle), DRAPE_UNKNOWN_HANDLE);
    const Taken refused = takeInts(-1);
    EXPECT_EQ(refused.result, 1);
    EXPECT_EQ(refused.status, DRAPE_BAD_ARRAY_SIZE);
    EXPECT_EQ(refused.handle, 0);
    drape::WorkArray<double> array;
    for (const std::int64_t count : {std::int64_t{-1}, std::int64_t{1} << 31, (std::int64_t{1} << 32) + 4}) {
        std::int32_t status = 0;
        EXPECT_FALSE(array.take(count, status));
        EXPECT_EQ(status, DRAPE_BAD_ARRAY_SIZE);
        EXPECT_FALSE(array.held());
    }
}

TEST(WorkArrays, HoldWhatIsWrittenApartFromEachOther) {
    std::int32_t status = 0;
    drape::WorkArray<std::int32_t> ints[2];
    drape::WorkArray<double> doubles[2];
    for (int k = 0; k < 2; ++k) {
        ASSERT_TRUE(ints[k].take(1000, status) && doubles[k].take(1000, status));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(doubles[k].data()) % alignof(double), 0u);
        std::fill_n(ints[k].data(), 1000, 5 + k);
        std::fill_n(doubles[k].data(), 1000, 0.5 + k);
    }
    ints[0].swap(ints[1]);
    drape::clear(doubles[0].data(), 999);
    const std::int32_t bytes = 8, none = 0, fill = 1;
    crcmac(ints[0].data(), &bytes, &fill);
    crcmac(ints[0].data() + 3, &none, &fill);
    EXPECT_EQ(ints[0].data()[1], 0x01010101);
    for (int k = 2; k < 1000; ++k)
        ASSERT_TRUE(ints[0].data()[k] == 6 && ints[1].data()[k] == 5 && doubles[1].data()[k] == 1.5);
    EXPECT_EQ(doubles[0].data()[998], 0.0);
    EXPECT_EQ(doubles[0].data()[999], 0.5);
    ints[0].release(status);
    EXPECT_FALSE(ints[0].held());
    ints[0].release(status); // nothing is held any more
    EXPECT_EQ(status, 0);
}

} // namespace
