// Every page has a head line with what it is of and a foot line with its number. Patterns are drawn as large
// as they fit, with a bar for their scale; the files for cutting are true to size.
#include "tool/draw/ply_book.h"

#include "host/mesh/text.h"
#include "tool/draw/canvas.h"
#include "tool/draw/core_column.h"
#include "tool/draw/cover_scene.h"
#include "tool/draw/labels.h"
#include "tool/draw/pattern_art.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <numbers>

namespace tool {
namespace {

// Millimetres.
constexpr double pageWidth = 297.0;
constexpr double pageHeight = 210.0;
constexpr double margin = 12.0;
constexpr double headHeight = 14.0;
constexpr double textSize = 3.2;
constexpr double rowHeight = 5.6;
constexpr double pixelsPerMillimetre = 5.0; // of smoothed pictures: sharp in print, and quick for many plies

constexpr Colour band{0.94, 0.95, 0.97};
constexpr Colour warningColour{0.75, 0.05, 0.10};
constexpr Colour dimensionColour{0.16, 0.33, 0.62};

constexpr std::size_t rowsPerPage = 26;
constexpr std::size_t coresPerPage = 2;

constexpr double leastInSquareMetres = 1e5; // square millimetres

struct Column {
    const char* head;
    double right; // of its text, from the left edge of the page; below 0 for text that begins there
};
constexpr Column columns[] = {{"No", 20.0},      {"Ply", -24.0},        {"Cloth", -66.0},
                              {"Angle", 118.0},  {"Thickness", 138.0},  {"Net area", 160.0},
                              {"Mass", 180.0},   {"Mean shear", 204.0}, {"Largest", 224.0},
                              {"Locked", 243.0}, {"Covers", 262.0},     {"Follows", -266.0}};

class Writer {
public:
    explicit Writer(const PlyBook& book)
        : book_(book), canvas_(Drawing::pdf, PageUnit::millimetre, pageWidth, pageHeight, 1.0) {}

    std::string bytes() {
        const std::size_t tables =
            std::max<std::size_t>(1, (book_.sheets.size() + rowsPerPage - 1) / rowsPerPage);
        const std::size_t corePages = (book_.cores.size() + coresPerPage - 1) / coresPerPage;
        const auto& plies = book_.laminate.plies;
        const auto sets =
            std::count_if(plies.begin(), plies.end(), [](const LaidPly& ply) { return ply.inPieces(); });
        pages_ = tables + book_.sheets.size() + static_cast<std::size_t>(sets) + corePages;
        for (std::size_t t = 0; t < tables; ++t) {
            tablePage(t * rowsPerPage, t + 1 == tables);
        }
        for (const auto& sheet : book_.sheets) {
            if (sheet->piece == 1) {
                piecesPage(*sheet);
            }
            plyPage(*sheet);
        }
        for (std::size_t c = 0; c < book_.cores.size(); c += coresPerPage) {
            corePage(c);
        }
        return canvas_.bytes();
    }

private:
    void beginPage(const std::string& title, const std::string& right) {
        if (++page_ > 1) {
            canvas_.nextPage(pageWidth, pageHeight);
        }
        canvas_.colour(ink);
        canvas_.textWithin(margin, margin + 4.5, 6.0, 0.62 * pageWidth, title);
        canvas_.text(pageWidth - margin, margin + 4.5, textSize, right, Align::right);
        canvas_.path({{margin, margin + 8.0}, {pageWidth - margin, margin + 8.0}}, false);
        canvas_.stroke(0.4);
        canvas_.colour(paleInk);
        canvas_.textWithin(margin, pageHeight - 6.0, 0.85 * textSize, 0.8 * pageWidth,
                           "Mould " + book_.mouldName + ", layup " + book_.layupName);
        canvas_.text(pageWidth - margin, pageHeight - 6.0, 0.85 * textSize,
                     "page " + std::to_string(page_) + " of " + std::to_string(pages_), Align::right);
        canvas_.colour(ink);
    }

    std::string millimetres(double length) const { return number(length * book_.millimetresPerUnit) + " mm"; }

    // Areas to be compared are told in one unit: the one that suits the `largest` of them.
    std::string areaText(double area, double largest) const {
        const double perSquare = book_.millimetresPerUnit * book_.millimetresPerUnit;
        return perSquare * largest >= leastInSquareMetres ? number(perSquare * area * 1e-6) + " m²"
                                                          : number(perSquare * area) + " mm²";
    }

    std::string pieceArea(const PlySheet& sheet) const {
        double largest = 0.0;
        for (const auto& other : book_.sheets) {
            largest = std::max(largest, other->area);
        }
        return areaText(sheet.area, largest);
    }

    static std::string share(double value) { return fixed(100.0 * value, 1) + " %"; }

    void cell(const Column& column, double y, const std::string& words) {
        if (column.right < 0.0) {
            const double left = -column.right;
            double end = pageWidth - margin;
            for (const Column& other : columns) {
                // The next column's text may begin 20 before its right end.
                const double begin = other.right < 0.0 ? -other.right : other.right - 16.0;
                end = begin > left + 1.0 ? std::min(end, begin) : end;
            }
            canvas_.textWithin(left, y, textSize, end - left - 2.0, words);
        } else {
            canvas_.text(column.right, y, textSize, words, Align::right);
        }
    }

    void tablePage(std::size_t first, bool last) {
        const std::size_t plies = book_.laminate.plies.size();
        beginPage("Ply book",
                  counted(plies, "ply", "plies") +
                      (book_.sheets.size() > plies ? " in " + counted(book_.sheets.size(), "piece", "pieces")
                                                   : std::string()));
        double y = margin + headHeight;
        canvas_.text(margin, y, textSize,
                     "Plies are laid in this order, the first on the mould. Rosette " +
                         pointText(book_.laminate.rosette) +
                         "; angles count from it, anticlockwise seen from the cloth's side, which faces " +
                         textOf(book_.laminate.side) + ".");
        y += 1.6 * rowHeight;
        for (const Column& column : columns) {
            cell(column, y, column.head);
        }
        canvas_.path({{margin, y + 1.6}, {pageWidth - margin, y + 1.6}}, false);
        canvas_.stroke(0.25);
        for (std::size_t k = first; k < std::min(first + rowsPerPage, book_.sheets.size()); ++k) {
            y += rowHeight;
            row(*book_.sheets[k], y, k % 2 == 1);
        }
        if (last) {
            totals(y + 1.4 * rowHeight);
        }
    }

    void row(const PlySheet& sheet, double y, bool shaded) {
        if (shaded) {
            canvas_.colour(band);
            cairo_rectangle(canvas_.cairo(), margin, y - 0.72 * rowHeight, pageWidth - 2.0 * margin,
                            rowHeight);
            cairo_fill(canvas_.cairo());
        }
        const PlyWish& wish = sheet.ply->wish;
        const Measures& m = sheet.measures;
        canvas_.colour(sheet.ply->trouble.empty() ? ink : warningColour);
        std::string follows;
        for (const std::string& name : wish.after) {
            follows += (follows.empty() ? "" : ", ") + name;
        }
        std::vector<std::string> words{
            sheet.number(), sheet.name(), wish.cloth.name + (sheet.ply->onOtherSide ? ", other side" : ""),
            number(wish.angle) + "°", wish.cloth.thickness > 0.0 ? millimetres(wish.cloth.thickness) : "-"};
        if (sheet.isDraped()) {
            words.insert(words.end(), {pieceArea(sheet), sheet.mass ? number(*sheet.mass, 3) + " g" : "-",
                                       fixed(m.meanShear, 1) + "°", fixed(m.largestShear, 1) + "°",
                                       share(m.shareBeyondLocking), share(sheet.coveredShare), follows});
        } else {
            words.insert(words.end(), {"not draped", "", "", "", "", "", follows});
        }
        for (std::size_t c = 0; c < words.size(); ++c) {
            cell(columns[c], y, words[c]);
        }
        canvas_.colour(ink);
    }

    void totals(double y) {
        double area = 0.0;
        double mass = 0.0;
        bool weighed = !book_.sheets.empty();
        for (const auto& sheet : book_.sheets) {
            area += sheet->area;
            mass += sheet->mass.value_or(0.0);
            weighed = weighed && sheet->mass.has_value();
        }
        canvas_.text(margin, y, textSize,
                     "Flat cloth of all plies: " + areaText(area, area) +
                         (weighed ? ", " + number(mass) + " g" : ", mass not known for every cloth"));
    }

    std::string clothText(const LaidPly& ply) const {
        const PlyWish& wish = ply.wish;
        return wish.cloth.name + " at " + number(wish.angle) + "°" +
               (wish.cloth.thickness > 0.0 ? ", " + millimetres(wish.cloth.thickness) + " thick" : "") +
               (ply.onOtherSide ? ", on the mould's other side" : "");
    }

    // How the pieces of a ply lie together, in front of their own pages.
    void piecesPage(const PlySheet& first) {
        const PieceSet& set = *first.ply->pieces;
        beginPage(std::to_string(first.sequence) + "  " + first.ply->wish.name, clothText(*first.ply));
        CoverScene scene{&set, set.claims.get(), {}, "", "", {}};
        for (const auto& sheet : book_.sheets) {
            if (sheet->ply == first.ply) {
                scene.pieces.push_back(sheet->scene);
            }
        }
        const double top = margin + headHeight;
        const double lines = 5.0 * 1.5 * textSize;
        drawPiecesIn(canvas_, scene, {margin, top, pageWidth - 2.0 * margin, pageHeight - top - 16.0 - lines},
                     pixelsPerMillimetre);
        double y = pageHeight - 14.0 - lines;
        std::vector<std::string> words{
            counted(set.pieces.size(), "piece", "pieces") + " cover " + share(set.coveredShare) +
                " of the mould, " + share(set.overlapShare) + " under more than one",
            "seams of " + millimetres(set.seamLength) + " in all, drawn in dashes on the patterns"};
        for (const Note& note : first.ply->notes) {
            if (weightOf(note.kind) == Weight::warning) {
                words.push_back(note.text);
            }
        }
        for (const std::string& line : words) {
            canvas_.textWithin(margin, y += 1.5 * textSize, textSize, pageWidth - 2.0 * margin, line);
        }
    }

    void plyPage(const PlySheet& sheet) {
        beginPage(sheet.number() + "  " + sheet.name(), clothText(*sheet.ply));
        if (!sheet.isDraped()) {
            canvas_.colour(warningColour);
            canvas_.textWithin(margin, margin + 2.0 * headHeight, 1.2 * textSize, pageWidth - 2.0 * margin,
                               "Not draped: " + sheet.ply->trouble);
            canvas_.colour(ink);
            return;
        }
        const double middle = 0.5 * pageWidth;
        const double top = margin + headHeight;
        picture(sheet, {margin, top, middle - 1.5 * margin, 105.0});
        pattern(sheet, {middle + 4.0, top, pageWidth - margin - middle - 4.0, 128.0});
        facts(sheet, top + 116.0);
    }

    // Plies that are alike share their drape, and so its picture, which is drawn once and kept for the
    // others.
    void picture(const PlySheet& sheet, const Box& box) {
        const auto isSame = [&](const auto& other) {
            return other->drape == sheet.drape && other->ply->region.empty();
        };
        const auto last = std::find_if(book_.sheets.rbegin(), book_.sheets.rend(), isSame);
        auto known = pictures_.find(sheet.drape);
        if (!sheet.ply->region.empty() || (known == pictures_.end() && last->get() == &sheet)) {
            drawMouldIn(canvas_, sheet.scene, box, pixelsPerMillimetre);
            return;
        }
        cairo_t* cairo = canvas_.cairo();
        if (known == pictures_.end()) {
            cairo_push_group(cairo);
            drawMouldIn(canvas_, sheet.scene, box, pixelsPerMillimetre);
            known =
                pictures_.emplace(sheet.drape, Picture(cairo_pop_group(cairo), &cairo_pattern_destroy)).first;
        }
        cairo_set_source(cairo, known->second.get());
        cairo_paint(cairo);
        if (last->get() == &sheet) {
            pictures_.erase(known);
        }
    }

    // The flat pattern with its width and height beside it.
    void pattern(const PlySheet& sheet, const Box& box) {
        constexpr double room = 12.0; // for the dimensions, left and below
        const auto [low, high] = reachOf(sheet.scene);
        const double width = std::max(high[0] - low[0], 1e-12);
        const double height = std::max(high[1] - low[1], 1e-12);
        Placement page;
        page.perUnit = std::min((box.width - room) / width, (box.height - room) / height);
        page.originX = box.x + room + 0.5 * (box.width - room - page.perUnit * width) - page.perUnit * low[0];
        page.originY = box.y + 0.5 * (box.height - room - page.perUnit * height) + page.perUnit * high[1];
        cairo_save(canvas_.cairo());
        for (const auto& loop : sheet.cut.loops) {
            std::vector<FlatPoint> line;
            for (const FlatPoint& p : loop) {
                line.push_back(page.place(p));
            }
            canvas_.path(line, true);
        }
        if (!sheet.ply->region.empty()) {
            cairo_clip(canvas_.cairo());
        }
        cairo_new_path(canvas_.cairo());
        drawPattern(canvas_, page, sheet.scene, shearScale(sheet.measures),
                    {0.0, 0.0, pageWidth, pageHeight});
        cairo_restore(canvas_.cairo());
        if (!sheet.ply->region.empty()) {
            drawPatternLines(canvas_, page, sheet.scene);
        }
        dimensions(sheet, page);
        const double bar = roundLength(0.3 * box.width / page.perUnit * book_.millimetresPerUnit);
        drawScaleBar(canvas_, box.x + room, box.y + box.height + 6.0,
                     bar / book_.millimetresPerUnit * page.perUnit, bar, textSize);
        drawColourBar(canvas_, {box.x + box.width - 60.0, box.y + box.height + 3.0, 50.0, 3.2},
                      shearScale(sheet.measures), 0.85 * textSize);
        canvas_.colour(ink);
        canvas_.text(box.x + box.width - 62.0, box.y + box.height + 5.8, 0.85 * textSize, "shear",
                     Align::right);
    }

    void dimensions(const PlySheet& sheet, const Placement& page) {
        const auto& e = sheet.measures.net.extent;
        const FlatPoint low = page.place({e[0], e[1]});
        const FlatPoint high = page.place({e[2], e[3]});
        const double below = low[1] + 5.0;
        const double beside = low[0] - 5.0;
        constexpr double tick = 1.2;
        canvas_.colour(dimensionColour);
        canvas_.path({{low[0], below}, {high[0], below}}, false);
        canvas_.path({{low[0], below - tick}, {low[0], below + tick}}, false);
        canvas_.path({{high[0], below - tick}, {high[0], below + tick}}, false);
        canvas_.path({{beside, low[1]}, {beside, high[1]}}, false);
        canvas_.path({{beside - tick, low[1]}, {beside + tick, low[1]}}, false);
        canvas_.path({{beside - tick, high[1]}, {beside + tick, high[1]}}, false);
        canvas_.stroke(0.2);
        canvas_.text(0.5 * (low[0] + high[0]), below + 3.6, textSize, millimetres(e[2] - e[0]),
                     Align::centre);
        cairo_save(canvas_.cairo());
        cairo_translate(canvas_.cairo(), beside - 1.4, 0.5 * (low[1] + high[1]));
        cairo_rotate(canvas_.cairo(), -0.5 * std::numbers::pi);
        canvas_.text(0.0, 0.0, textSize, millimetres(e[3] - e[1]), Align::centre);
        cairo_restore(canvas_.cairo());
        canvas_.colour(ink);
    }

    // The rosette with the warp, seen from the cloth's side.
    void rosette(const PlySheet& sheet, double x, double y, double radius) {
        cairo_t* cairo = canvas_.cairo();
        cairo_arc(cairo, x, y, radius, 0.0, 2.0 * std::numbers::pi);
        canvas_.colour(paleInk);
        canvas_.stroke(0.15);
        const double angle = plyAngle(sheet.drape->choice) * std::numbers::pi / 180.0;
        const auto ray = [&](double turn, double length) {
            canvas_.path({{x, y}, {x + length * std::cos(turn), y - length * std::sin(turn)}}, false);
        };
        for (int k = 0; k < 8; ++k) {
            ray(0.25 * std::numbers::pi * k, radius);
        }
        canvas_.stroke(0.1);
        canvas_.colour(ink);
        ray(0.0, 1.25 * radius);
        canvas_.stroke(0.3);
        canvas_.text(x + 1.3 * radius, y + 0.35 * textSize, 0.85 * textSize, "0°");
        canvas_.colour(dimensionColour);
        ray(angle, 1.1 * radius);
        canvas_.stroke(0.8);
        ray(angle + 0.5 * std::numbers::pi, 0.7 * radius);
        canvas_.stroke(0.35);
        canvas_.text(x, y + radius + 1.3 * textSize, 0.85 * textSize,
                     "warp at " + number(plyAngle(sheet.drape->choice)) + "°", Align::centre);
        canvas_.colour(ink);
    }

    void facts(const PlySheet& sheet, double y) {
        const Trial& trial = *sheet.drape;
        const Measures& m = sheet.measures;
        const PlyWish& wish = sheet.ply->wish;
        const double radius = 11.0;
        rosette(sheet, margin + radius + 2.0, y + radius + 2.0, radius);
        const double left = margin + 42.0;
        const double room = 0.5 * pageWidth - left - 4.0;
        std::vector<std::string> lines{
            sideLabel(sheet.scene),
            "seed " + pointText(trial.choice.seed) + ", cells " + millimetres(trial.choice.stepA) + " by " +
                millimetres(trial.choice.stepB),
            "shear: mean " + fixed(m.meanShear, 1) + "°, largest " + fixed(m.largestShear, 1) + "°, " +
                share(m.shareBeyondLocking) + " beyond " + number(m.lockingAngle) + "°",
            "net area " + pieceArea(sheet) + (sheet.mass ? ", " + number(*sheet.mass, 3) + " g" : "") +
                (sheet.cut.allowance > 0.0 ? ", cut line " + millimetres(sheet.cut.allowance) + " outside"
                                           : ""),
            "covers " + share(sheet.coveredShare) + " of the mould" +
                (sheet.piece > 0 ? ", up to its seams" : "")};
        for (std::size_t d = 0; d < sheet.scene.darts.size(); ++d) {
            lines.push_back(dartLabel(sheet.scene.darts[d], d + 1, book_.millimetresPerUnit));
        }
        if (!wish.region.empty()) {
            lines.push_back("cut off at " + wish.region);
        }
        if (wish.cloth.width) {
            const double width = m.net.extent[3] - m.net.extent[1];
            lines.push_back((width > *wish.cloth.width ? "TOO WIDE for the roll of " : "fits the roll of ") +
                            millimetres(*wish.cloth.width));
        }
        for (const std::string& line : lines) {
            canvas_.textWithin(left, y += 1.5 * textSize, textSize, room, line);
        }
        canvas_.colour(warningColour);
        std::vector<std::string> warnings;
        if (!sheet.ply->trouble.empty()) {
            warnings.push_back(sheet.ply->trouble);
        }
        if (liesOverItself(m.net)) {
            warnings.push_back("the pattern lies over itself and can't be cut in one piece");
        }
        for (const Note& note : sheet.ply->notes) {
            if (weightOf(note.kind) == Weight::warning && note.kind != NoteKind::coverShort) {
                warnings.push_back(note.text);
            }
        }
        for (const std::string& warning : warnings) {
            for (const std::string& line : canvas_.wrapped(textSize, room, warning)) {
                canvas_.textWithin(left, y += 1.5 * textSize, textSize, room, line);
            }
        }
        canvas_.colour(ink);
    }

    void corePage(std::size_t first) {
        beginPage("Core samples", counted(book_.cores.size(), "sample", "samples"));
        const double width = (pageWidth - 2.0 * margin) / coresPerPage;
        for (std::size_t k = first; k < std::min(first + coresPerPage, book_.cores.size()); ++k) {
            drawCore(canvas_, book_.laminate, book_.cores[k], book_.millimetresPerUnit,
                     {margin + width * static_cast<double>(k - first), margin + headHeight, width - 8.0,
                      pageHeight - 2.0 * margin - headHeight - 4.0});
        }
    }

    const PlyBook& book_;
    Canvas canvas_;
    using Picture = std::unique_ptr<cairo_pattern_t, decltype(&cairo_pattern_destroy)>;
    std::map<const Trial*, Picture> pictures_; // that further pages show
    std::size_t page_ = 0;
    std::size_t pages_ = 0;
};

} // namespace

std::string plyBookPdf(const PlyBook& book) {
    return Writer(book).bytes();
}

std::string coreDrawing(const PlyBook& book, Drawing drawing) {
    constexpr double width = 130.0;
    constexpr double height = 160.0;
    const auto count = static_cast<double>(std::max<std::size_t>(1, book.cores.size()));
    Canvas canvas(drawing, PageUnit::millimetre, width * count, height, pixelsPerMillimetre);
    for (std::size_t k = 0; k < book.cores.size(); ++k) {
        drawCore(canvas, book.laminate, book.cores[k], book.millimetresPerUnit,
                 {width * static_cast<double>(k) + 5.0, 5.0, width - 10.0, height - 10.0});
    }
    return canvas.bytes();
}

} // namespace tool
