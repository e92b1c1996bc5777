// Sine and cosine out of + - * / alone, so that a direction turned by an angle has the same bits with every C
// library; a quarter turn is one exactly.
#pragma once

#include "host/mesh/point.h"

#include <cmath>
#include <cstdint>
#include <numbers>

namespace drape::host {

struct Turn {
    double cosine, sine;
};

// Both to within two units of the last place.
inline Turn turnOf(double degrees) {
    // Minimax polynomials for at most an eighth of a turn, by the square of the angle; the coefficients are
    // those of fdlibm's kernels (Sun Microsystems, 1993).
    const auto sineOf = [](double x) {
        const double z = x * x;
        return x + x * z *
                       (-1.66666666666666324348e-01 +
                        z * (8.33333333332248946124e-03 +
                             z * (-1.98412698298579493134e-04 +
                                  z * (2.75573137070700676789e-06 +
                                       z * (-2.50507602534068634195e-08 + z * 1.58969099521155010221e-10)))));
    };
    const auto cosineOf = [](double x) {
        const double z = x * x;
        return 1.0 - 0.5 * z +
               z * z *
                   (4.16666666666666019037e-02 +
                    z * (-1.38888888888741095749e-03 +
                         z * (2.48015872894767294178e-05 +
                              z * (-2.75573143513906633035e-07 +
                                   z * (2.08757232129817482790e-09 + z * -1.13596475577881948265e-11)))));
    };
    const double within = std::fmod(degrees, 360.0); // exact, as is what is left of it below
    const double quarters = std::round(within / 90.0);
    const double rest = (within - 90.0 * quarters) * (std::numbers::pi / 180.0);
    Turn turn{cosineOf(rest), sineOf(rest)};
    for (auto k = (static_cast<std::int32_t>(quarters) + 4) % 4; k > 0; --k) {
        turn = {0.0 - turn.sine, turn.cosine};
    }
    return turn;
}

// `v` turned about the unit vector `axis`, to which it is square.
inline Point turned(const Point& v, const Point& axis, double degrees) {
    using namespace vec;
    const Turn turn = turnOf(degrees);
    return turn.cosine * v + turn.sine * cross(axis, v);
}

} // namespace drape::host
