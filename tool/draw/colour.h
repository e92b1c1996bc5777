// Shear as colour. One map for all files: it darkens evenly with the shear, so that it reads in print and for
// colour-blind eyes, and changes to reds beyond the locking angle, where the cloth starts to wrinkle.
#pragma once

#include "host/cloth/measure.h"

namespace tool {

using namespace drape::host;

// Red, green and blue, 0 to 1, as a screen takes them (sRGB).
struct Colour {
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
};

// Angles in degrees: the top of the colour bar, and where on it the reds start (the top if nowhere).
struct ShearScale {
    double top = 1.0;
    double locking = 1.0;
};

// A scale whose top is a round number of degrees at or above the largest shear.
ShearScale shearScale(const Measures& measures);

Colour shearColour(const ShearScale& scale, double shear);

// Part of the way from one colour to another, evenly to the eye.
Colour mix(const Colour& from, const Colour& to, double part);

// sRGB component as linear light, which 3D formats ask for, and back.
double toLinear(double component);
double fromLinear(double component);

} // namespace tool
