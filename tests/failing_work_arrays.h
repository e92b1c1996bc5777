// What a test asks of the work-array layer that stands in for the library's own.
#pragma once

#include <cstdint>
#include <vector>

namespace drape_test {

// Starts counting anew: request number `failing` (from 1, 0 for none) is refused, and what is handed out is
// filled with `fill`, since an operation may not rely on what it finds in an array.
void beginRequests(std::int64_t failing, unsigned char fill);

// Lets release number `failing` (from 1, 0 for none) report a code of its own, though the array is given
// back; a layer may do so without the result of a failure.
constexpr std::int32_t RELEASE_FAILED = 399;
void failRelease(std::int64_t failing, std::int32_t result = 1);

std::int64_t releasesMade();
// The numbers of the requests whose arrays have been given back since the count began, in that order.
const std::vector<std::int64_t>& releaseOrder();
std::int64_t requestsMade();
std::int64_t arraysHeld();
std::int64_t mostBytesHeld(); // at any time since the count began

} // namespace drape_test
