// The flat pattern for a cutting table: closed polylines in millimetres in the ASCII form of DXF R2000, the
// first that has light polylines and says its unit. Layers: CUT (the line to cut, outlines and holes), NET
// (outlines of the net pattern) and HOLE (its holes), CURVE (transferred curves), SEAM (where
// neighbouring pieces meet), DART (its sides, from the mouth to the tip and back), WARP (an arrow), TEXT
// (name, side, angle and mould) and SEED (a point at 0, 0).
#include "host/mesh/box.h"
#include "tool/draw/labels.h"
#include "tool/draw/pattern_reach.h"
#include "tool/write/file_numbers.h"
#include "tool/write/writers.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace tool {
namespace {

// Digits that place a point of a part of kilometres to a millionth of a millimetre.
constexpr int digits = 12;

constexpr int blockRecordTable = 0x1, layerTable = 0x2, styleTable = 0x3, lineTypeTable = 0x5,
              viewTable = 0x6, ucsTable = 0x7, portTable = 0x8, applicationTable = 0x9, dimensionTable = 0xA,
              rootDictionary = 0xC, groupDictionary = 0xD, modelSpace = 0x1F, paperSpace = 0x1B;

struct Layer {
    std::string_view name, colour;
};
constexpr std::array<Layer, 10> layers{{{"0", "7"},
                                        {"CUT", "1"},
                                        {"NET", "7"},
                                        {"HOLE", "4"},
                                        {"CURVE", "6"},
                                        {"SEAM", "2"},
                                        {"DART", "30"},
                                        {"WARP", "5"},
                                        {"TEXT", "7"},
                                        {"SEED", "3"}}};

// Characters beyond ASCII as this form of the format writes them.
std::string escaped(std::string_view text) {
    std::string result;
    for (std::size_t k = 0; k < text.size(); ++k) {
        const auto byte = static_cast<unsigned char>(text[k]);
        const int more = byte >= 0xF0 ? 3 : byte >= 0xE0 ? 2 : byte >= 0xC0 ? 1 : 0;
        if (byte < 0x20 || (byte >= 0x80 && more == 0)) {
            result += '_';
        } else if (more == 0) {
            result += text[k];
        } else {
            unsigned value = byte & (0x3FU >> more);
            for (int m = 0; m < more && k + 1 < text.size(); ++m) {
                value = value << 6U | (static_cast<unsigned char>(text[++k]) & 0x3FU);
            }
            std::array<char, 16> code{};
            std::snprintf(code.data(), code.size(), "\\U+%04X", value & 0xFFFFU);
            result += code.data();
        }
    }
    return result;
}

class DxfFile {
public:
    DxfFile(const FlatPoint& low, const FlatPoint& high) : low_(low), high_(high) {
        begin("CLASSES");
        end();
        addTables();
        addBlocks();
        begin("ENTITIES");
    }

    void polyline(std::string_view layer, const std::vector<FlatPoint>& points, bool closed) {
        if (points.size() < 2) {
            return;
        }
        entity("LWPOLYLINE", layer, "AcDbPolyline");
        group(90, std::to_string(points.size()));
        group(70, closed ? "1" : "0");
        for (const FlatPoint& point : points) {
            group(10, fileNumber(point[0], digits));
            group(20, fileNumber(point[1], digits));
        }
    }

    void point(std::string_view layer, const FlatPoint& at) {
        entity("POINT", layer, "AcDbPoint");
        place(at);
    }

    void text(const FlatPoint& at, double height, const std::string& words) {
        entity("TEXT", "TEXT", "AcDbText");
        place(at);
        group(40, fileNumber(height, digits));
        group(1, escaped(words));
        group(100, "AcDbText");
    }

    std::string bytes() {
        end();
        addObjects();
        group(0, "EOF");
        std::string entities = std::move(text_);
        text_.clear();
        addHeader();
        return text_ + entities;
    }

private:
    void group(int code, std::string_view value) {
        const std::string number = std::to_string(code);
        text_.append(number.size() < 3 ? 3 - number.size() : 0, ' ');
        text_ += number + "\n";
        text_ += value;
        text_ += "\n";
    }

    void handle(int code, int value) {
        std::array<char, 16> hex{};
        std::snprintf(hex.data(), hex.size(), "%X", static_cast<unsigned>(value));
        group(code, hex.data());
    }

    void place(const FlatPoint& at) {
        group(10, fileNumber(at[0], digits));
        group(20, fileNumber(at[1], digits));
        group(30, "0");
    }

    void begin(std::string_view section) {
        group(0, "SECTION");
        group(2, section);
    }

    void end() { group(0, "ENDSEC"); }

    void entity(std::string_view kind, std::string_view layer, std::string_view part) {
        group(0, kind);
        handle(5, next_++);
        handle(330, modelSpace);
        group(100, "AcDbEntity");
        group(8, layer);
        group(100, part);
    }

    void addHeader() {
        begin("HEADER");
        const auto variable = [&](std::string_view name, int code, std::string_view value) {
            group(9, name);
            group(code, value);
        };
        variable("$ACADVER", 1, "AC1015");
        variable("$DWGCODEPAGE", 3, "ANSI_1252");
        group(9, "$HANDSEED");
        handle(5, next_);
        variable("$INSUNITS", 70, "4");    // millimetres
        variable("$MEASUREMENT", 70, "1"); // metric
        group(9, "$EXTMIN");
        place(low_);
        group(9, "$EXTMAX");
        place(high_);
        end();
    }

    void table(std::string_view name, int number, std::size_t entries) {
        group(0, "TABLE");
        group(2, name);
        handle(5, number);
        handle(330, 0);
        group(100, "AcDbSymbolTable");
        group(70, std::to_string(entries));
    }

    void record(std::string_view kind, int number, int owner, std::string_view part, std::string_view name) {
        group(0, kind);
        handle(5, number);
        handle(330, owner);
        group(100, "AcDbSymbolTableRecord");
        group(100, part);
        group(2, name);
    }

    void emptyTable(std::string_view name, int number) {
        table(name, number, 0);
        group(0, "ENDTAB");
    }

    void addTables() {
        begin("TABLES");
        emptyTable("VPORT", portTable);
        table("LTYPE", lineTypeTable, 3);
        int number = 0x14;
        for (const std::string_view name : {"ByBlock", "ByLayer", "Continuous"}) {
            record("LTYPE", number++, lineTypeTable, "AcDbLinetypeTableRecord", name);
            group(70, "0");
            group(3, name == "Continuous" ? "Solid line" : "");
            group(72, "65");
            group(73, "0");
            group(40, "0");
        }
        group(0, "ENDTAB");
        table("LAYER", layerTable, layers.size());
        for (const Layer& layer : layers) {
            record("LAYER", next_++, layerTable, "AcDbLayerTableRecord", layer.name);
            group(70, "0");
            group(62, layer.colour);
            group(6, "Continuous");
        }
        group(0, "ENDTAB");
        table("STYLE", styleTable, 1);
        record("STYLE", 0x11, styleTable, "AcDbTextStyleTableRecord", "Standard");
        group(70, "0");
        group(40, "0");
        group(41, "1");
        group(50, "0");
        group(71, "0");
        group(42, "2.5");
        group(3, "txt");
        group(4, "");
        group(0, "ENDTAB");
        emptyTable("VIEW", viewTable);
        emptyTable("UCS", ucsTable);
        table("APPID", applicationTable, 1);
        record("APPID", 0x12, applicationTable, "AcDbRegAppTableRecord", "ACAD");
        group(70, "0");
        group(0, "ENDTAB");
        table("DIMSTYLE", dimensionTable, 0);
        group(100, "AcDbDimStyleTable");
        group(71, "0");
        group(0, "ENDTAB");
        table("BLOCK_RECORD", blockRecordTable, 2);
        record("BLOCK_RECORD", modelSpace, blockRecordTable, "AcDbBlockTableRecord", "*Model_Space");
        record("BLOCK_RECORD", paperSpace, blockRecordTable, "AcDbBlockTableRecord", "*Paper_Space");
        group(0, "ENDTAB");
        end();
    }

    void addBlocks() {
        begin("BLOCKS");
        for (const auto& [owner, name] :
             {std::pair(modelSpace, "*Model_Space"), std::pair(paperSpace, "*Paper_Space")}) {
            group(0, "BLOCK");
            handle(5, next_++);
            handle(330, owner);
            group(100, "AcDbEntity");
            group(8, "0");
            group(100, "AcDbBlockBegin");
            group(2, name);
            group(70, "0");
            place({0.0, 0.0});
            group(3, name);
            group(1, "");
            group(0, "ENDBLK");
            handle(5, next_++);
            handle(330, owner);
            group(100, "AcDbEntity");
            group(8, "0");
            group(100, "AcDbBlockEnd");
        }
        end();
    }

    void addObjects() {
        begin("OBJECTS");
        group(0, "DICTIONARY");
        handle(5, rootDictionary);
        handle(330, 0);
        group(100, "AcDbDictionary");
        group(281, "1");
        group(3, "ACAD_GROUP");
        handle(350, groupDictionary);
        group(0, "DICTIONARY");
        handle(5, groupDictionary);
        handle(330, rootDictionary);
        group(100, "AcDbDictionary");
        group(281, "1");
        end();
    }

    FlatPoint low_, high_;
    int next_ = 0x30; // below lie the numbers of tables and their fixed records
    std::string text_;
};

constexpr double gapShare = 0.1; // between pieces, of the widest

// Where a piece lies on the drawing: its seed at `origin`.
struct Lying {
    const Scene& scene;
    FlatPoint origin{};

    FlatPoint place(const FlatPoint& flat) const {
        return {origin[0] + scene.millimetresPerUnit * flat[0],
                origin[1] + scene.millimetresPerUnit * flat[1]};
    }

    std::vector<FlatPoint> placed(std::vector<FlatPoint> points) const {
        std::transform(points.begin(), points.end(), points.begin(),
                       [&](const FlatPoint& point) { return place(point); });
        return points;
    }
};

// A line of the drawing with its layer.
struct DrawnLine {
    std::string_view layer;
    std::vector<FlatPoint> points;
    bool closed = true;
};

std::vector<DrawnLine> linesOf(const Lying& piece) {
    const Scene& scene = piece.scene;
    std::vector<DrawnLine> lines;
    for (const auto& loop : scene.cut->loops) {
        lines.push_back({"CUT", piece.placed(loop)});
    }
    for (const NetLoop& loop : scene.measures->net.loops) {
        lines.push_back({loop.area > 0.0 ? "NET" : "HOLE", piece.placed(loop.flat)});
    }
    for (const CurveResult& curve : scene.curves) {
        for (const CurveStretch& stretch : curve.stretches) {
            lines.push_back({"CURVE", piece.placed(stretch.flat), stretch.closed});
        }
    }
    for (const auto& seam : scene.seams) {
        lines.push_back({"SEAM", piece.placed(seam), false});
    }
    for (const Dart& dart : scene.darts) {
        std::vector<FlatPoint> sides(dart.legs[0].rbegin(), dart.legs[0].rend());
        sides.insert(sides.end(), dart.legs[1].begin(), dart.legs[1].end());
        lines.push_back({"DART", piece.placed(std::move(sides)), false});
    }
    return lines;
}

// Arrow and words at the seed, of a size that goes with the pattern's.
void addMarks(DxfFile& file, const Lying& piece) {
    const Scene& scene = piece.scene;
    const auto& e = scene.measures->net.extent;
    const auto [x, y] = piece.origin;
    const double size = scene.millimetresPerUnit * std::max(e[2] - e[0], e[3] - e[1]);
    const double arrow = size > 0.0 ? 0.2 * size : 4.0 * scene.choice->stepA * scene.millimetresPerUnit;
    const double barb = 0.12 * arrow;
    const double height = 0.08 * arrow;
    file.point("SEED", {x, y});
    file.polyline("WARP", {{x, y}, {x + arrow, y}}, false);
    file.polyline("WARP",
                  {{x + arrow - barb, y + 0.5 * barb}, {x + arrow, y}, {x + arrow - barb, y - 0.5 * barb}},
                  false);
    double line = -2.0 * height;
    for (const std::string& words : plyLabels(scene)) {
        file.text({x, y + line}, height, words);
        line -= 1.6 * height;
    }
}

// Side by side from left to right, the first with its seed at 0, 0.
std::vector<Lying> laidInRow(std::span<const Scene> pieces) {
    double widest = 0.0;
    for (const Scene& scene : pieces) {
        const auto [low, high] = reachOf(scene);
        widest = std::max(widest, scene.millimetresPerUnit * (high[0] - low[0]));
    }
    std::vector<Lying> lying;
    double left = 0.0;
    for (const Scene& scene : pieces) {
        const auto [low, high] = reachOf(scene);
        const double seed = lying.empty() ? 0.0 : left - scene.millimetresPerUnit * low[0];
        lying.push_back({scene, {seed, 0.0}});
        left = seed + scene.millimetresPerUnit * high[0] + gapShare * widest;
    }
    return lying;
}

} // namespace

std::string outlineDxf(std::span<const Scene> pieces) {
    const std::vector<Lying> row = laidInRow(pieces);
    std::vector<DrawnLine> lines;
    Box2 box;
    box.add({0.0, 0.0}); // the first seed, which is drawn too
    for (const Lying& piece : row) {
        for (DrawnLine& line : linesOf(piece)) {
            for (const FlatPoint& point : line.points) {
                box.add(point);
            }
            lines.push_back(std::move(line));
        }
    }
    DxfFile file(box.low, box.high);
    for (const DrawnLine& line : lines) {
        file.polyline(line.layer, line.points, line.closed);
    }
    for (const Lying& piece : row) {
        if (piece.scene.grid->count > 0) {
            addMarks(file, piece);
        }
    }
    return file.bytes();
}

} // namespace tool
