// Triangles are filled by the signs of their three edge functions; nearness and normal run evenly across
// them.
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

// A triangle in fine pixels: the rows and columns that it reaches, and the shares of its corners at a place.
struct Footprint {
    std::array<double, 3> x{}, y{};
    double area = 0.0; // twice the area, with its sign
    int left = 0, right = -1, top = 0, bottom = -1;

    Footprint(const std::array<SeenCorner, 3>& corners, int width, int height) {
        bool sound = true;
        for (std::size_t k = 0; k < 3; ++k) {
            x[k] = corners[k].place.x * fineness;
            y[k] = corners[k].place.y * fineness;
            sound =
                sound && std::isfinite(x[k]) && std::isfinite(y[k]) && std::isfinite(corners[k].place.near);
        }
        area = (x[1] - x[0]) * (y[2] - y[0]) - (x[2] - x[0]) * (y[1] - y[0]);
        if (!sound || area == 0.0) {
            return; // no rows
        }
        left = first(x, width);
        right = last(x, width);
        top = first(y, height);
        bottom = last(y, height);
    }

    std::array<double, 3> shares(double px, double py) const {
        const double w1 = ((px - x[0]) * (y[2] - y[0]) - (x[2] - x[0]) * (py - y[0])) / area;
        const double w2 = ((x[1] - x[0]) * (py - y[0]) - (px - x[0]) * (y[1] - y[0])) / area;
        return {1.0 - w1 - w2, w1, w2};
    }

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
    owner_.assign(count, nothing);
    pixels_.assign(count, {255, 255, 255});
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
    const Footprint print(corners, fineWidth_, fineHeight_);
    const Colour linear = linearOf(colour);
    for (int row = print.top; row <= print.bottom; ++row) {
        for (int column = print.left; column <= print.right; ++column) {
            const auto [w0, w1, w2] = print.shares(column + 0.5, row + 0.5);
            if (!(w0 >= 0.0 && w1 >= 0.0 && w2 >= 0.0)) {
                continue;
            }
            const auto near = static_cast<float>(w0 * corners[0].place.near + w1 * corners[1].place.near +
                                                 w2 * corners[2].place.near + lift);
            const std::size_t at = index(column, row);
            if (near <= near_[at]) {
                continue;
            }
            const Point normal =
                vec::add(vec::scale(corners[0].normal, w0),
                         vec::add(vec::scale(corners[1].normal, w1), vec::scale(corners[2].normal, w2)));
            const Colour shade = lightFrom(linear, vec::unit(normal));
            near_[at] = near;
            owner_[at] = owner;
            pixels_[at] = {byteOf(shade.red), byteOf(shade.green), byteOf(shade.blue)};
        }
    }
}

void DepthImage::drawSilhouettes(double drop) {
    const auto below = [&](int x, int y, float near) {
        return x < 0 || y < 0 || x >= fineWidth_ || y >= fineHeight_ ||
               near_[index(x, y)] < near - static_cast<float>(drop);
    };
    for (int y = 0; y < fineHeight_; ++y) {
        for (int x = 0; x < fineWidth_; ++x) {
            const std::size_t at = index(x, y);
            if (owner_[at] == nothing) {
                continue;
            }
            bool edge = false;
            for (int reach = 1; reach < fineness && !edge; ++reach) {
                edge = below(x - reach, y, near_[at]) || below(x + reach, y, near_[at]) ||
                       below(x, y - reach, near_[at]) || below(x, y + reach, near_[at]);
            }
            for (std::size_t k = 0; edge && k < 3; ++k) {
                pixels_[at][k] = static_cast<std::uint8_t>(silhouetteShade * pixels_[at][k]);
            }
        }
    }
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
    for (const std::uint32_t owner : owner_) {
        if (owner != nothing && (owners.empty() || owners.back() != owner)) {
            owners.push_back(owner);
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
                const auto& fine = pixels_[index(x * fineness + k % fineness, y * fineness + k / fineness)];
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
