// cairo draws the same strokes into all three formats; what differs is the unit of the page and a date that
// would make two equal runs write different PDF files.
#include "tool/draw/canvas.h"

#include "host/cloth/status_text.h"
#include "host/mesh/text.h"

#include <algorithm>
#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cmath>
#include <numbers>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace tool {
namespace {

constexpr double pointsPerMillimetre = 72.0 / 25.4;
constexpr double whiteRim = 0.3; // of the size of letters, half of it outside them

cairo_status_t collect(void* target, const unsigned char* data, unsigned int length) {
    static_cast<std::string*>(target)->append(reinterpret_cast<const char*>(data), length);
    return CAIRO_STATUS_SUCCESS;
}

// cairo counts the surfaces of a process, and what was drawn before would show in the file.
void forgetNumber(std::string& svg) {
    constexpr std::string_view before = "<g id=\"surface";
    const std::size_t found = svg.find(before);
    if (found != std::string::npos) {
        const std::size_t first = found + before.size();
        svg.replace(first, svg.find('"', first) - first, "1");
    }
}

void check(cairo_status_t status) {
    if (status != CAIRO_STATUS_SUCCESS) {
        throw std::runtime_error(std::string("drawing failed: ") + cairo_status_to_string(status));
    }
}

// Where an angle lies on a colour bar.
struct Bar {
    Box box;
    double top; // degrees

    bool upright() const { return box.height > box.width; }

    double place(double angle) const {
        return upright() ? box.y + box.height * (1.0 - angle / top) : box.x + box.width * angle / top;
    }

    void addBand(cairo_t* cairo, double from, double to) const {
        if (upright()) {
            cairo_rectangle(cairo, box.x, place(to), box.width, place(from) - place(to));
        } else {
            cairo_rectangle(cairo, place(from), box.y, place(to) - place(from), box.height);
        }
    }

    void drawTick(Canvas& canvas, double angle, const std::string& label, bool across, double size) const {
        const double at = place(angle);
        const double end = (upright() ? box.x + box.width : box.y + box.height) + 0.3 * size;
        const double start = across ? (upright() ? box.x : box.y) : end - 0.3 * size;
        if (upright()) {
            canvas.path({{start, at}, {end, at}}, false);
            canvas.stroke(0.08 * size);
            canvas.text(end + 0.3 * size, at + 0.36 * size, size, label);
        } else {
            canvas.path({{at, start}, {at, end}}, false);
            canvas.stroke(0.08 * size);
            canvas.text(at, end + size, size, label, Align::centre);
        }
    }
};

double tickStep(double top) {
    for (const double step : {0.2, 0.5, 1.0, 2.0, 5.0, 10.0}) {
        if (top / step <= 6.0) {
            return step;
        }
    }
    return 15.0;
}

} // namespace

Canvas::Canvas(Drawing drawing, PageUnit unit, double width, double height, double pixelsPerUnit)
    : drawing_(drawing) {
    if (drawing == Drawing::png) {
        surface_ = cairo_image_surface_create(CAIRO_FORMAT_RGB24,
                                              static_cast<int>(std::lround(width * pixelsPerUnit)),
                                              static_cast<int>(std::lround(height * pixelsPerUnit)));
    } else if (drawing == Drawing::pdf) {
        const double scale = unit == PageUnit::millimetre ? pointsPerMillimetre : 1.0;
        surface_ = cairo_pdf_surface_create_for_stream(collect, &bytes_, width * scale, height * scale);
        cairo_pdf_surface_set_metadata(surface_, CAIRO_PDF_METADATA_CREATE_DATE, "2000-01-01T00:00:00Z");
        cairo_pdf_surface_set_metadata(surface_, CAIRO_PDF_METADATA_CREATOR, "drape");
    } else {
        surface_ = cairo_svg_surface_create_for_stream(collect, &bytes_, width, height);
        cairo_svg_surface_set_document_unit(surface_, unit == PageUnit::millimetre ? CAIRO_SVG_UNIT_MM
                                                                                   : CAIRO_SVG_UNIT_PX);
    }
    cairo_ = cairo_create(surface_);
    check(cairo_status(cairo_));
    if (drawing == Drawing::png) {
        cairo_scale(cairo_, pixelsPerUnit, pixelsPerUnit);
    } else if (drawing == Drawing::pdf && unit == PageUnit::millimetre) {
        cairo_scale(cairo_, pointsPerMillimetre, pointsPerMillimetre);
    }
    cairo_set_source_rgb(cairo_, 1.0, 1.0, 1.0);
    cairo_paint(cairo_);
    cairo_set_line_join(cairo_, CAIRO_LINE_JOIN_ROUND);
    cairo_set_line_cap(cairo_, CAIRO_LINE_CAP_ROUND);
    cairo_select_font_face(cairo_, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
}

Canvas::~Canvas() {
    cairo_destroy(cairo_);
    cairo_surface_destroy(surface_);
}

void Canvas::colour(const Colour& colour, double opacity) {
    cairo_set_source_rgba(cairo_, colour.red, colour.green, colour.blue, opacity);
}

void Canvas::path(const std::vector<std::array<double, 2>>& points, bool closed) {
    cairo_new_sub_path(cairo_);
    for (const auto& point : points) {
        cairo_line_to(cairo_, point[0], point[1]);
    }
    if (closed && !points.empty()) {
        cairo_close_path(cairo_);
    }
}

void Canvas::stroke(double width) {
    cairo_set_line_width(cairo_, width);
    cairo_stroke(cairo_);
}

double Canvas::leftOf(double x, double size, const std::string& words, Align align) {
    cairo_set_font_size(cairo_, size);
    cairo_text_extents_t extents{};
    cairo_text_extents(cairo_, words.c_str(), &extents);
    const double share = align == Align::left ? 0.0 : align == Align::centre ? 0.5 : 1.0;
    return x - share * extents.x_advance;
}

void Canvas::text(double x, double y, double size, const std::string& words, Align align) {
    cairo_move_to(cairo_, leftOf(x, size, words, align), y);
    cairo_show_text(cairo_, words.c_str());
    cairo_new_path(cairo_);
}

void Canvas::textOnWhite(double x, double y, double size, const std::string& words, Align align) {
    cairo_save(cairo_);
    cairo_move_to(cairo_, leftOf(x, size, words, align), y);
    cairo_text_path(cairo_, words.c_str());
    colour({1.0, 1.0, 1.0});
    cairo_set_line_join(cairo_, CAIRO_LINE_JOIN_ROUND);
    stroke(whiteRim * size);
    cairo_restore(cairo_);
    text(x, y, size, words, align);
}

void Canvas::textWithin(double x, double y, double size, double room, const std::string& words) {
    cairo_set_font_size(cairo_, size);
    cairo_text_extents_t extents{};
    cairo_text_extents(cairo_, words.c_str(), &extents);
    text(x, y, extents.x_advance > room ? size * room / extents.x_advance : size, words);
}

std::vector<std::string> Canvas::wrapped(double size, double room, const std::string& words) {
    cairo_set_font_size(cairo_, size);
    std::vector<std::string> lines(1);
    std::istringstream in(words);
    for (std::string word; in >> word;) {
        const std::string longer = lines.back() + (lines.back().empty() ? "" : " ") + word;
        cairo_text_extents_t extents{};
        cairo_text_extents(cairo_, longer.c_str(), &extents);
        if (extents.x_advance > room && !lines.back().empty()) {
            lines.push_back(word);
        } else {
            lines.back() = longer;
        }
    }
    return lines;
}

void Canvas::nextPage(double width, double height) {
    cairo_show_page(cairo_);
    cairo_pdf_surface_set_size(surface_, width * pointsPerMillimetre, height * pointsPerMillimetre);
}

void goToPage(std::unique_ptr<Canvas>& canvas, double width, double height) {
    if (canvas) {
        canvas->nextPage(width, height);
    } else {
        canvas = std::make_unique<Canvas>(Drawing::pdf, PageUnit::millimetre, width, height, 1.0);
    }
}

std::string Canvas::bytes() {
    check(cairo_status(cairo_));
    cairo_surface_flush(surface_);
    if (drawing_ == Drawing::png) {
        check(cairo_surface_write_to_png_stream(surface_, collect, &bytes_));
    }
    cairo_surface_finish(surface_);
    check(cairo_surface_status(surface_));
    if (drawing_ == Drawing::svg) {
        forgetNumber(bytes_);
    }
    return std::move(bytes_);
}

void drawColourBar(Canvas& canvas, const Box& box, const ShearScale& scale, double textSize) {
    constexpr int bands = 120;
    const Bar bar{box, scale.top};
    for (int k = 0; k < bands; ++k) {
        const double more = k + 1 < bands ? 0.3 : 0.0; // no gap between two bands
        canvas.colour(shearColour(scale, scale.top * (k + 0.5) / bands));
        bar.addBand(canvas.cairo(), scale.top * k / bands, scale.top * (k + 1.0 + more) / bands);
        cairo_fill(canvas.cairo());
    }
    canvas.colour(ink);
    cairo_rectangle(canvas.cairo(), box.x, box.y, box.width, box.height);
    canvas.stroke(0.06 * textSize);
    const double step = tickStep(scale.top);
    const bool locks = scale.locking < scale.top;
    // Of the label of the locking angle, which is wider than it is high.
    const double room = std::max(0.6 * step, bar.upright() ? 0.0 : 3.6 * textSize * scale.top / box.width);
    for (double angle = 0.0; angle <= scale.top + 1e-9; angle += step) {
        if (!locks || std::abs(angle - scale.locking) > room) {
            bar.drawTick(canvas, angle, number(angle) + "°", false, textSize);
        }
    }
    if (locks) {
        bar.drawTick(canvas, scale.locking, number(scale.locking) + "° lock", true, textSize);
    }
}

double roundLength(double longest) {
    if (!(longest > 0.0) || !std::isfinite(longest)) {
        return 1.0;
    }
    const double zeros = std::pow(10.0, std::floor(std::log10(longest)));
    for (const double digit : {5.0, 2.0}) {
        if (digit * zeros <= longest) {
            return digit * zeros;
        }
    }
    return zeros;
}

void drawScaleBar(Canvas& canvas, double x, double y, double width, double millimetres, double textSize) {
    const double end = 0.35 * textSize;
    canvas.colour(ink);
    canvas.path({{x, y - end}, {x, y + end}}, false);
    canvas.path({{x + width, y - end}, {x + width, y + end}}, false);
    canvas.path({{x, y}, {x + width, y}}, false);
    canvas.stroke(0.12 * textSize);
    canvas.text(x + 0.5 * width, y - 0.5 * textSize, textSize, number(millimetres) + " mm", Align::centre);
}

void drawSeedMark(Canvas& canvas, double x, double y, double radius) {
    cairo_t* cairo = canvas.cairo();
    cairo_arc(cairo, x, y, radius, 0.0, 2.0 * std::numbers::pi);
    canvas.colour({1.0, 1.0, 1.0});
    cairo_fill_preserve(cairo);
    canvas.colour(ink);
    canvas.stroke(0.35 * radius);
    cairo_arc(cairo, x, y, 0.4 * radius, 0.0, 2.0 * std::numbers::pi);
    cairo_fill(cairo);
}

std::string captionOf(const Scene& scene) {
    const Measures& measures = *scene.measures;
    const auto cells = static_cast<std::size_t>(std::count_if(
        measures.cells.begin(), measures.cells.end(), [](const Cell& cell) { return cell.onSurface; }));
    const double scale = scene.millimetresPerUnit;
    std::string caption = counted(cells, "cell", "cells") + " of " + number(scene.choice->stepA * scale, 3) +
                          " × " + number(scene.choice->stepB * scale, 3) + " mm";
    if (cells > 0) {
        caption += "   mean shear " + fixed(measures.meanShear, 1) + "°   largest " +
                   fixed(measures.largestShear, 1) + "°";
    }
    if (measures.shareBeyondLocking > 0.0) {
        caption += "   " + fixed(100.0 * measures.shareBeyondLocking, 1) + " % beyond " +
                   number(measures.lockingAngle) + "°";
    }
    return caption;
}

std::string warningOf(const Scene& scene) {
    const std::int32_t status = scene.grid->status;
    return status == 0
               ? ""
               : "partial drape: " + textOfStatus(status).meaning + " (code " + std::to_string(status) + ")";
}

} // namespace tool
