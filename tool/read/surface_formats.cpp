// CGAL's stream readers do the work. What they let pass in silence (a face cut off in mid-line, a text STL
// without its end) is looked for here.
#include "tool/read/surface_formats.h"

#include "host/mesh/error.h"

#include <CGAL/IO/OBJ.h>
#include <CGAL/IO/OFF.h>
#include <CGAL/IO/PLY.h>
#include <CGAL/IO/STL.h>
#include <CGAL/Simple_cartesian.h>
#include <algorithm>
#include <sstream>

namespace tool {
namespace {

using ReaderPoint = CGAL::Simple_cartesian<double>::Point_3;

struct ReaderSoup {
    std::vector<ReaderPoint> points;
    std::vector<std::vector<std::size_t>> polygons;
};

PolygonSoup checkedSoup(const ReaderSoup& read) {
    PolygonSoup soup;
    soup.points.reserve(read.points.size());
    for (const ReaderPoint& p : read.points) {
        soup.points.push_back({p.x(), p.y(), p.z()});
    }
    soup.polygons.reserve(read.polygons.size());
    for (const auto& polygon : read.polygons) {
        auto& corners = soup.polygons.emplace_back();
        for (std::size_t point : polygon) {
            if (point >= read.points.size()) {
                throw InputError("face " + std::to_string(soup.polygons.size()) +
                                 " names a vertex that isn't in the file, which has " +
                                 std::to_string(read.points.size()));
            }
            corners.push_back(static_cast<std::int32_t>(point));
        }
    }
    return soup;
}

// The lines of an OBJ file that make its surface, one blank between words, with the number of words of each
// face so that a face of which only a part could be read is noticed.
struct ObjLines {
    std::stringstream text;
    std::vector<std::size_t> corners;
};

void collectObjLines(std::istream& in, ObjLines& lines) {
    std::string line;
    std::string more;
    while (std::getline(in, line)) {
        std::string_view end = "\r";
        while (!line.empty() && end.find(line.back()) != std::string_view::npos) {
            line.pop_back();
        }
        while (!line.empty() && line.back() == '\\' && std::getline(in, more)) {
            line.back() = ' ';
            line += more.substr(0, more.find('\r'));
        }
        std::istringstream words(line);
        std::string word;
        if (!(words >> word) || (word != "v" && word != "f")) {
            continue;
        }
        const bool face = word == "f";
        std::size_t count = 0;
        lines.text << word;
        while (words >> word && word.front() != '#') {
            lines.text << ' ' << word;
            ++count;
        }
        lines.text << '\n';
        if (face) {
            lines.corners.push_back(count);
        }
    }
}

PolygonSoup readObj(std::istream& in) {
    ObjLines lines;
    collectObjLines(in, lines);
    ReaderSoup soup;
    const bool read = CGAL::IO::read_OBJ(lines.text, soup.points, soup.polygons);
    for (std::size_t i = 0; i < soup.polygons.size(); ++i) {
        if (soup.polygons[i].size() != lines.corners[i]) {
            throw InputError("face " + std::to_string(i + 1) + " can't be read to its end");
        }
    }
    if (!read && soup.polygons.empty() && !lines.corners.empty()) {
        throw InputError("vertex " + std::to_string(soup.points.size() + 1) + " isn't three finite numbers");
    }
    if (!soup.polygons.empty() && soup.polygons.back().size() < 3) {
        throw InputError("its last face has fewer than three corners; it was probably cut off");
    }
    PolygonSoup checked = checkedSoup(soup);
    if (!read && !checked.polygons.empty()) {
        throw InputError("vertex " + std::to_string(soup.points.size() + 1) +
                         " isn't three finite numbers, or a face names a vertex that isn't there");
    }
    return checked;
}

// A text STL ends with its own word; without it the file was cut off. A binary one carries its size.
void checkStlEnd(std::istream& in) {
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    in.clear();
    in.seekg(0);
    const std::size_t binaryHead = 84;
    const std::size_t binaryFacet = 50;
    if (bytes.size() >= binaryHead) {
        std::uint32_t facets = 0;
        std::copy_n(bytes.data() + 80, 4, reinterpret_cast<char*>(&facets));
        if (bytes.size() == binaryHead + binaryFacet * facets) {
            return;
        }
        if (bytes.compare(0, 5, "solid") != 0) {
            if (bytes.size() < binaryHead + binaryFacet * facets) {
                throw InputError("it announces " + std::to_string(facets) +
                                 " facets and ends before the last");
            }
            return;
        }
    }
    const std::size_t facet = bytes.rfind("endfacet");
    if (bytes.find("endsolid", facet == std::string::npos ? 0 : facet) == std::string::npos) {
        throw InputError("it ends before its \"endsolid\"; it was probably cut off");
    }
}

} // namespace

bool isSurfaceFormat(const std::string& ending) {
    return ending == "obj" || ending == "off" || ending == "ply" || ending == "stl";
}

PolygonSoup readSurface(std::istream& in, const std::string& ending) {
    ReaderSoup soup;
    bool read = false;
    if (ending == "obj") {
        return readObj(in);
    }
    if (ending == "off") {
        read = CGAL::IO::read_OFF(in, soup.points, soup.polygons);
    } else if (ending == "ply") {
        read = CGAL::IO::read_PLY(in, soup.points, soup.polygons);
    } else {
        checkStlEnd(in);
        read = CGAL::IO::read_STL(in, soup.points, soup.polygons);
    }
    if (!read) {
        throw InputError("its contents don't make a whole " + ending + " surface; read up to vertex " +
                         std::to_string(soup.points.size()) + ", face " +
                         std::to_string(soup.polygons.size()));
    }
    return checkedSoup(soup);
}

void requireSurface(const PolygonSoup& soup) {
    for (std::size_t i = 0; i < soup.points.size(); ++i) {
        if (!vec::isFinite(soup.points[i])) {
            throw InputError("vertex " + std::to_string(i + 1) + " isn't three finite numbers");
        }
    }
    if (soup.polygons.empty()) {
        throw InputError("it holds no faces" + std::string(soup.points.empty() ? "" : ", only points"));
    }
}

} // namespace tool
