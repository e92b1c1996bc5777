#include "drape.h"

/* A use of each kind of thing that the header gives, so that it is more than parsed. */
int32_t drapeHeaderInC(int32_t* status);

int32_t drapeHeaderInC(int32_t* status) {
    const double triangle[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    const double point[3] = {0.25, 0.25, 0.0};
    double mapped[3];
    int32_t front[DRAPE_FRONT_FIELDS] = {DRAPE_DIRECTION_1};
    (void)front;
    return nptfpt(triangle, triangle, point, mapped, status) == 1 ? *status : DRAPE_OK;
}
