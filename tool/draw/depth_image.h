// An image of shaded triangles in which each pixel keeps what is nearest to the eye. It's made finer than the
// picture that it ends up in, so that averaging gives smooth edges.
#pragma once

#include "tool/draw/colour.h"
#include "tool/draw/mould_view.h"

#include <array>
#include <cstdint>
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

    // Darkens the pixels beyond which the ground drops by more than `drop` pixels.
    void drawSilhouettes(double drop);

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
    Colour lightFrom(const Colour& linear, const Point& normal) const;

    std::size_t index(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(fineWidth_) +
               static_cast<std::size_t>(x);
    }

    int width_, height_, fineWidth_, fineHeight_;
    Point eye_, light_, halfway_;
    std::vector<float> near_;
    std::vector<std::uint32_t> owner_;
    std::vector<std::array<std::uint8_t, 3>> pixels_;
};

} // namespace tool
