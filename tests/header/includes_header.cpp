#include "drape.h"

#include <type_traits>

// The names stand outside every namespace and have C linkage, and the types are the promised ones.
static_assert(std::is_same<decltype(&::nptfpt), int32_t (*)(const double*, const double*, const double*,
                                                            double*, int32_t*)>::value,
              "nptfpt has another type");
static_assert(DRAPE_CORNER_FRONT_INDEX + 1 == DRAPE_CORNER_FIELDS,
              "a corner record's last field is its index");
