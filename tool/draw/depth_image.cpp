// Triangles are filled by the signs of their three edge functions; nearness and normal run evenly across
// them. A pixel is shaded when the picture is asked for, once all is drawn.
#include "tool/draw/depth_image.h"

#include "host/mesh/point.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tool {
namespace {

constexpr int fineness = 3;              // fine pixels along one pixel of the picture
constexpr double ambient = 0.42;         // light from everywhere
constexpr double brightest = 1.06;       // full light
constexpr double gloss = 0.10;           // share of the highlight
constexpr double silhouetteShade = 0.35; // part of the colour that a silhouette keeps

// Linear light, 0 to 1, as the byte of an sRGB pixel; by table, for it is asked for each pixel.
std::uint8_t byteOf(double light) {
    constexpr std::size_t entries = 4096;
    static const std::vector<std::uint8_t> table = [] {
        std::vector<std::uint8_t> bytes(entries);
        for (std::size_t k = 0; k < entries; ++k) {
            const double component = fromLinear(static_cast<double>(k) / (entries - 1));
            bytes[k] = static_cast<std::uint8_t>(255.0 * component + 0.5);
        }
        return bytes;
    }();
    return table[static_cast<std::size_t>(std::clamp(light, 0.0, 1.0) * (entries - 1) + 0.5)];
}

Colour linearOf(const Colour& colour) {
    return {toLinear(colour.red), toLinear(colour.green), toLinear(colour.blue)};
}

// The rows and columns of fine pixels that a triangle reaches.
struct Footprint {
    int left = 0, right = -1, top = 0, bottom = -1;

    Footprint(const std::array<double, 3>& x, const std::array<double, 3>& y, int width, int height)
        : left(first(x, width)), right(last(x, width)), top(first(y, height)), bottom(last(y, height)) {}

private:
    static int first(const std::array<double, 3>& v, int size) {
        return static_cast<int>(std::clamp(std::floor(std::min({v[0], v[1], v[2]})), 0.0, 1.0 * size));
    }
    static int last(const std::array<double, 3>& v, int size) {
        return static_cast<int>(std::clamp(std::ceil(std::max({v[0], v[1], v[2]})), -1.0, size - 1.0));
    }
};

} // namespace

DepthImage::DepthImage(int width, int height, const MouldView& view)
    : width_(width), height_(height), fineWidth_(width * fineness), fineHeight_(height * fineness),
      eye_(view.toEye),
      light_(vec::unit(vec::add(vec::scale(view.toEye, 0.65),
                                vec::add(vec::scale(view.up, 0.75), vec::scale(view.right, -0.55))))),
      halfway_(vec::unit(vec::add(eye_, light_))) {
    const std::size_t count = static_cast<std::size_t>(fineWidth_) * static_cast<std::size_t>(fineHeight_);
    near_.assign(count, -std::numeric_limits<float>::infinity());
    drawn_.assign(count, nothing);
}

Colour DepthImage::lightFrom(const Colour& linear, const Point& normal) const {
    const double side = vec::dot(normal, eye_) < 0.0 ? -1.0 : 1.0;
    const double wrapped =
        std::max(0.0, (side * vec::dot(normal, light_) + 0.25) / 1.25); // soft edge of shade
    const double mirrored = std::max(0.0, side * vec::dot(normal, halfway_));
    const double mirrored2 = mirrored * mirrored;
    const double mirrored4 = mirrored2 * mirrored2;
    const double mirrored8 = mirrored4 * mirrored4;
    const double shine = gloss * mirrored8 * mirrored8 * mirrored8;
    const double strength = ambient + (brightest - ambient) * wrapped;
    const double share = strength * strength; // even steps to the eye
    return {share * linear.red + shine, share * linear.green + shine, share * linear.blue + shine};
}

Colour DepthImage::shaded(const Colour& colour, const Point& normal) const {
    const Colour light = lightFrom(linearOf(colour), normal);
    return {fromLinear(light.red), fromLinear(light.green), fromLinear(light.blue)};
}

void DepthImage::draw(const std::array<SeenCorner, 3>& corners, const Colour& colour, std::uint32_t owner,
                      double lift) {
    Triangle triangle;
    bool sound = true;
    for (std::size_t k = 0; k < 3; ++k) {
        const Seen& place = corners[k].place;
        triangle.x[k] = place.x * fineness;
        triangle.y[k] = place.y * fineness;
        triangle.normals[k] = corners[k].normal;
        sound = sound && std::isfinite(triangle.x[k]) && std::isfinite(triangle.y[k]) &&
                std::isfinite(place.near);
    }
    const auto &x = triangle.x, &y = triangle.y;
    triangle.area = (x[1] - x[0]) * (y[2] - y[0]) - (x[2] - x[0]) * (y[1] - y[0]);
    if (!sound || triangle.area == 0.0) {
        return;
    }
    triangle.linear = linearOf(colour);
    triangle.owner = owner;
    const auto number = static_cast<std::uint32_t>(triangles_.size());
    triangles_.push_back(triangle);
    const Footprint print(x, y, fineWidth_, fineHeight_);
    for (int row = print.top; row <= print.bottom; ++row) {
        for (int column = print.left; column <= print.right; ++column) {
            const auto [w0, w1, w2] = triangle.shares(column, row);
            if (!(w0 >= 0.0 && w1 >= 0.0 && w2 >= 0.0)) {
                continue;
            }
            const auto near = static_cast<float>(w0 * corners[0].place.near + w1 * corners[1].place.near +
                                                 w2 * corners[2].place.near + lift);
            const std::size_t at = index(column, row);
            if (near > near_[at]) {
                near_[at] = near;
                drawn_[at] = number;
            }
        }
    }
}

bool DepthImage::isSilhouette(int x, int y) const {
    const float limit = near_[index(x, y)] - static_cast<float>(silhouetteDrop_);
    const auto below = [&](int column, int row) {
        return column < 0 || row < 0 || column >= fineWidth_ || row >= fineHeight_ ||
               near_[index(column, row)] < limit;
    };
    for (int reach = 1; reach < fineness; ++reach) {
        if (below(x - reach, y) || below(x + reach, y) || below(x, y - reach) || below(x, y + reach)) {
            return true;
        }
    }
    return false;
}

std::array<std::uint8_t, 3> DepthImage::pixel(int x, int y) const {
    const std::uint32_t number = drawn_[index(x, y)];
    if (number == nothing) {
        return {255, 255, 255};
    }
    const Triangle& triangle = triangles_[number];
    const auto [w0, w1, w2] = triangle.shares(x, y);
    const Point normal =
        vec::add(vec::scale(triangle.normals[0], w0),
                 vec::add(vec::scale(triangle.normals[1], w1), vec::scale(triangle.normals[2], w2)));
    const Colour shade = lightFrom(triangle.linear, vec::unit(normal));
    std::array<std::uint8_t, 3> bytes{byteOf(shade.red), byteOf(shade.green), byteOf(shade.blue)};
    if (std::isfinite(silhouetteDrop_) && isSilhouette(x, y)) {
        for (std::uint8_t& byte : bytes) {
            byte = static_cast<std::uint8_t>(silhouetteShade * byte);
        }
    }
    return bytes;
}

bool DepthImage::sees(const Seen& place, double lift) const {
    const double x = std::floor(place.x * fineness);
    const double y = std::floor(place.y * fineness);
    if (!(x >= 0.0 && y >= 0.0 && x < fineWidth_ && y < fineHeight_)) {
        return false;
    }
    return place.near + lift >= static_cast<double>(near_[index(static_cast<int>(x), static_cast<int>(y))]);
}

std::vector<std::uint32_t> DepthImage::seenOwners() const {
    std::vector<std::uint32_t> owners;
    for (const std::uint32_t number : drawn_) {
        if (number != nothing && (owners.empty() || owners.back() != triangles_[number].owner)) {
            owners.push_back(triangles_[number].owner);
        }
    }
    std::sort(owners.begin(), owners.end());
    owners.erase(std::unique(owners.begin(), owners.end()), owners.end());
    return owners;
}

std::vector<std::array<std::uint8_t, 3>> DepthImage::averaged() const {
    std::vector<std::array<std::uint8_t, 3>> picture;
    picture.reserve(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_));
    constexpr int samples = fineness * fineness;
    for (int y = 0; y < height_; ++y) {
        for (int x = 0; x < width_; ++x) {
            std::array<int, 3> sum{};
            for (int k = 0; k < samples; ++k) {
                const auto fine = pixel(x * fineness + k % fineness, y * fineness + k / fineness);
                for (std::size_t c = 0; c < 3; ++c) {
                    sum[c] += fine[c];
                }
            }
            picture.push_back({});
            for (std::size_t c = 0; c < 3; ++c) {
                picture.back()[c] = static_cast<std::uint8_t>((sum[c] + samples / 2) / samples);
            }
        }
    }
    return picture;
}

} // namespace tool
