// The unit normal of two vectors, for hosts.
#include "drape.h"
#include "services/vectors.h"

extern "C" void parbisfortran(const double* a, const double* b, double* result, const int32_t* dimension) {
    if (*dimension != 3)
        return;
    drape::store(result, drape::unitNormal(drape::load(a), drape::load(b)));
}
