// A page to draw on with cairo that ends up as the bytes of an SVG, PDF or PNG file, and the few marks that
// all our drawings share. y runs down the page.
#pragma once

#include "tool/draw/colour.h"
#include "tool/draw/drawings.h"

#include <array>
#include <cairo.h>
#include <memory>
#include <string>
#include <vector>

namespace tool {

enum class PageUnit { millimetre, pixel };
enum class Align { left, centre, right };

class Canvas {
public:
    // Width and height in page units. An image gets `pixelsPerUnit` pixels for each of them.
    Canvas(Drawing drawing, PageUnit unit, double width, double height, double pixelsPerUnit);
    ~Canvas();
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    cairo_t* cairo() const { return cairo_; }
    bool isImage() const { return drawing_ == Drawing::png; }

    void colour(const Colour& colour, double opacity = 1.0);
    void path(const std::vector<std::array<double, 2>>& points, bool closed); // adds to the current path
    void stroke(double width);
    void text(double x, double y, double size, const std::string& words, Align align = Align::left);

    // The same in the current colour with a white rim, to be read on cells and lines.
    void textOnWhite(double x, double y, double size, const std::string& words, Align align = Align::left);

    // The same as `text` in smaller letters if need be, so that it ends within `room`.
    void textWithin(double x, double y, double size, double room, const std::string& words);

    // Parted into lines that end within `room`, as far as single words do.
    std::vector<std::string> wrapped(double size, double room, const std::string& words);

    // Goes on on a further page of a PDF, of the size in millimetres.
    void nextPage(double width, double height);

    // The finished file; nothing can be drawn after it.
    std::string bytes();

private:
    // Where words begin that are to lie at x.
    double leftOf(double x, double size, const std::string& words, Align align);

    Drawing drawing_;
    std::string bytes_;
    cairo_surface_t* surface_ = nullptr;
    cairo_t* cairo_ = nullptr;
};

// Makes a PDF with a first page of this size in millimetres, or goes on on a further one.
void goToPage(std::unique_ptr<Canvas>& canvas, double width, double height);

constexpr Colour ink{0.10, 0.12, 0.15};
constexpr Colour paleInk{0.38, 0.41, 0.45};
constexpr Colour curveColour{0.85, 0.10, 0.40};
constexpr Colour dartColour{0.90, 0.30, 0.0};

// A place and a size on the page.
struct Box {
    double x, y, width, height;
};

// Colour bar with degrees and a mark at the locking angle if it falls inside. Upright if it's higher than
// wide, with the numbers at its right; otherwise lying, with the numbers below.
void drawColourBar(Canvas& canvas, const Box& box, const ShearScale& scale, double textSize);

// A round length at or below `longest` millimetres: 1, 2 or 5 with zeros.
double roundLength(double longest);

// A bar of the length of `millimetres` (`width` on the page) from x, y to the right, with its length above
// it.
void drawScaleBar(Canvas& canvas, double x, double y, double width, double millimetres, double textSize);

// The drape on its mould as an image of `pixelsPerUnit` of the page's unit, as large as it fits into a box.
void drawMouldIn(Canvas& canvas, const Scene& scene, const Box& box, double pixelsPerUnit);

// The same of several pieces on their surface.
void drawPiecesIn(Canvas& canvas, const CoverScene& scene, const Box& box, double pixelsPerUnit);

// A ring with a dot: where the drape began.
void drawSeedMark(Canvas& canvas, double x, double y, double radius);

// "1 234 cells of 8 x 8 mm, mean shear 4.1°, largest 21.3°" with what else the reader should know at once.
std::string captionOf(const Scene& scene);

// Warning for a run that ended early; empty after a whole run.
std::string warningOf(const Scene& scene);

} // namespace tool
