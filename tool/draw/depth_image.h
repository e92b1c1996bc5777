// An image of shaded triangles in which each pixel keeps what is nearest to the eye. It's made finer than the
// picture that it ends up in, so that averaging gives smooth edges.
#pragma once

#include "tool/draw/colour.h"
#include "tool/draw/mould_view.h"

#include <array>
#include <cstdint>
#include <limits>
#include <vector>

namespace tool {

// A corner of a triangle on the picture, with its surface normal in space.
struct SeenCorner {
    Seen place;
    Point normal{};
};

class DepthImage {
public:
    static constexpr std::uint32_t nothing = 0xffffffffU;

    // Size in pixels of the picture; light comes from the view's upper left.
    DepthImage(int width, int height, const MouldView& view);

    // Draws a triangle. `owner` is the number that the pixels carry; `lift` brings it nearer to the eye, in
    // pixels, so that what lies on a surface isn't lost in it.
    void draw(const std::array<SeenCorner, 3>& corners, const Colour& colour, std::uint32_t owner,
              double lift);

    // Darkens in the picture the pixels beyond which the ground drops by more than `drop` pixels.
    void drawSilhouettes(double drop) { silhouetteDrop_ = drop; }

    // Whether a point on the surface, itself lifted by `lift`, can be seen.
    bool sees(const Seen& place, double lift) const;

    // Owners of at least one pixel, ascending.
    std::vector<std::uint32_t> seenOwners() const;

    // Red, green and blue of each pixel of the picture, white where there is nothing.
    std::vector<std::array<std::uint8_t, 3>> averaged() const;

    // Colour of a surface with the given normal, seen from either side.
    Colour shaded(const Colour& colour, const Point& normal) const;

    int width() const { return width_; }
    int height() const { return height_; }

private:
    // In fine pixels.
    struct Triangle {
        std::array<double, 3> x{}, y{};
        double area = 0.0; // twice the area, with its sign
        std::array<Point, 3> normals{};
        Colour linear;
        std::uint32_t owner = nothing;

        // Of its corners, at the middle of a pixel.
        std::array<double, 3> shares(int column, int row) const {
            const double px = column + 0.5, py = row + 0.5;
            const double w1 = ((px - x[0]) * (y[2] - y[0]) - (x[2] - x[0]) * (py - y[0])) / area;
            const double w2 = ((x[1] - x[0]) * (py - y[0]) - (px - x[0]) * (y[1] - y[0])) / area;
            return {1.0 - w1 - w2, w1, w2};
        }
    };

    std::array<std::uint8_t, 3> pixel(int x, int y) const;
    bool isSilhouette(int x, int y) const;
    Colour lightFrom(const Colour& linear, const Point& normal) const;

    std::size_t index(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(fineWidth_) +
               static_cast<std::size_t>(x);
    }

    int width_, height_, fineWidth_, fineHeight_;
    Point eye_, light_, halfway_;
    double silhouetteDrop_ = std::numeric_limits<double>::infinity();
    std::vector<Triangle> triangles_;
    std::vector<float> near_;
    std::vector<std::uint32_t> drawn_; // the triangle at each fine pixel
};

} // namespace tool
