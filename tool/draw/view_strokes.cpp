// A stretch of a line is drawn if its middle can be seen.
#include "tool/draw/view_strokes.h"

#include "host/mesh/point.h"

#include <cmath>
#include <cstring>

namespace tool {

void placeImage(Canvas& canvas, const DepthImage& image, double x, double y) {
    const auto pixels = image.averaged();
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, image.width(), image.height());
    unsigned char* data = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    for (int row = 0; data != nullptr && row < image.height(); ++row) {
        for (int column = 0; column < image.width(); ++column) {
            const auto& rgb = pixels[static_cast<std::size_t>(row) * static_cast<std::size_t>(image.width()) +
                                     static_cast<std::size_t>(column)];
            const std::uint32_t packed =
                static_cast<std::uint32_t>(rgb[0]) << 16U | static_cast<std::uint32_t>(rgb[1]) << 8U | rgb[2];
            std::memcpy(data + static_cast<std::ptrdiff_t>(row) * stride + 4 * column, &packed,
                        sizeof packed);
        }
    }
    cairo_surface_mark_dirty(surface);
    cairo_set_source_surface(canvas.cairo(), surface, x, y);
    cairo_paint(canvas.cairo());
    cairo_surface_destroy(surface);
}

void addVisible(Canvas& canvas, const MouldView& view, const DepthImage& image,
                const std::vector<Point>& chain, double lift) {
    std::vector<std::array<double, 2>> stretch;
    const auto finish = [&] {
        if (stretch.size() > 1) {
            canvas.path(stretch, false);
        }
        stretch.clear();
    };
    for (std::size_t k = 1; k < chain.size(); ++k) {
        const Seen from = view.see(chain[k - 1]);
        const Seen to = view.see(chain[k]);
        const Seen middle = view.see(vec::mix(chain[k - 1], chain[k], 0.5));
        if (!std::isfinite(from.near + to.near + from.x + to.x + from.y + to.y) ||
            !image.sees(middle, lift)) {
            finish();
            continue;
        }
        if (stretch.empty()) {
            stretch.push_back({from.x, from.y});
        }
        stretch.push_back({to.x, to.y});
    }
    finish();
}

} // namespace tool
