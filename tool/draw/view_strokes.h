// Lines over a picture in three dimensions, drawn where they can be seen, and the picture itself on a page.
#pragma once

#include "tool/draw/canvas.h"
#include "tool/draw/depth_image.h"

namespace tool {

// Puts the image on the page with its corner at x, y.
void placeImage(Canvas& canvas, const DepthImage& image, double x, double y);

// Adds the stretches of a chain of points that can be seen to the current path. `lift` is how far the points
// lie over what they run along, in pixels.
void addVisible(Canvas& canvas, const MouldView& view, const DepthImage& image,
                const std::vector<Point>& chain, double lift);

} // namespace tool
