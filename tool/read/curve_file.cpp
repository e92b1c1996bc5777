// OBJ files give a curve as line elements, often one per edge and in any order, so these are chained end to
// end.
#include "tool/read/curve_file.h"

#include "host/mesh/error.h"
#include "tool/read/numbers.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace tool {
namespace {

constexpr std::size_t mostPoints = 100000000;

std::vector<std::string> wordsOf(const std::string& line) {
    std::string text = line.substr(0, line.find('#'));
    std::replace(text.begin(), text.end(), ',', ' ');
    std::replace(text.begin(), text.end(), ';', ' ');
    std::istringstream in(text);
    std::vector<std::string> words;
    std::string word;
    while (in >> word) {
        words.push_back(word);
    }
    return words;
}

Point pointFrom(const std::vector<std::string>& words, std::size_t first, std::size_t line) {
    Point p{};
    for (std::size_t k = 0; k < 3; ++k) {
        if (first + k >= words.size() || !readNumber(words[first + k], p[k])) {
            throw InputError("line " + std::to_string(line) + " isn't three finite numbers");
        }
    }
    return p;
}

// The neighbours of each vertex along the lines of an OBJ file; a closed curve gives each of its vertices
// two.
class LineGraph {
public:
    void addVertex(const Point& p) {
        points_.push_back(p);
        ends_.emplace_back();
    }

    void addLine(const std::vector<std::string>& words, std::size_t line) {
        std::size_t before = 0;
        for (std::size_t k = 1; k < words.size(); ++k) {
            double value = 0.0;
            const bool read = readNumber(words[k].substr(0, words[k].find('/')), value);
            const double count = static_cast<double>(points_.size());
            value = value < 0.0 ? value + count + 1.0 : value;
            if (!read || !(value >= 1.0) || value > count) {
                throw InputError("line " + std::to_string(line) + " names a vertex that isn't there");
            }
            const auto vertex = static_cast<std::size_t>(value) - 1;
            if (k > 1 && vertex != before) {
                ends_[before].push_back(vertex);
                ends_[vertex].push_back(before);
            }
            before = vertex;
        }
    }

    bool hasLines() const {
        return std::any_of(ends_.begin(), ends_.end(), [](const auto& e) { return !e.empty(); });
    }

    std::vector<Point> loop() const {
        std::size_t first = 0;
        std::size_t used = 0;
        for (std::size_t v = ends_.size(); v-- > 0;) {
            first = ends_[v].empty() ? first : v;
            used += ends_[v].empty() ? 0 : 1;
            if (ends_[v].size() > 2) {
                throw InputError("its lines branch at vertex " + std::to_string(v + 1));
            }
        }
        // An open curve is taken from one of its ends and closed.
        for (std::size_t v = ends_.size(); v-- > 0;) {
            first = ends_[v].size() == 1 ? v : first;
        }
        std::vector<Point> points;
        std::vector<char> seen(ends_.size(), 0);
        std::size_t v = first;
        while (seen[v] == 0) {
            seen[v] = 1;
            points.push_back(points_[v]);
            for (const std::size_t next : ends_[v]) {
                if (seen[next] == 0) {
                    v = next;
                    break;
                }
            }
        }
        if (points.size() != used) {
            throw InputError("its lines make more than one curve; give one file per curve");
        }
        return points;
    }

    const std::vector<Point>& points() const { return points_; }

private:
    std::vector<Point> points_;
    std::vector<std::vector<std::size_t>> ends_;
};

DrawnCurve parsed(std::istream& in) {
    DrawnCurve curve;
    LineGraph graph;
    std::string text;
    std::size_t plainLines = 0;
    for (std::size_t line = 1; std::getline(in, text); ++line) {
        const std::vector<std::string> words = wordsOf(text);
        if (words.empty()) {
            continue;
        }
        const char c = words[0][0];
        if (words[0] == "v") {
            graph.addVertex(pointFrom(words, 1, line));
        } else if (words[0] == "l") {
            graph.addLine(words, line);
        } else if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) {
            double value = 0.0;
            if (line > 1 && graph.points().empty() && !readNumber(words[0], value)) {
                throw InputError("line " + std::to_string(line) + " isn't three finite numbers");
            }
        } else {
            ++plainLines;
            curve.points.push_back(pointFrom(words, 0, line));
            if (words.size() >= 6) {
                curve.directions.push_back(pointFrom(words, 3, line));
            }
        }
        if (curve.points.size() > mostPoints) {
            throw InputError("it has more than " + std::to_string(mostPoints) + " points");
        }
    }
    if (plainLines == 0) {
        curve.points = graph.hasLines() ? graph.loop() : graph.points();
    } else if (!curve.directions.empty() && curve.directions.size() != plainLines) {
        throw InputError("some of its lines have a direction and some have none");
    }
    return curve;
}

} // namespace

DrawnCurve readCurve(const std::string& path) {
    std::ifstream in(path);
    if (!in) {
        throw InputError("can't open the curve " + path);
    }
    try {
        DrawnCurve curve = parsed(in);
        curve.name = std::filesystem::path(path).stem().string();
        if (curve.points.size() > 1 && curve.points.front() == curve.points.back()) {
            curve.points.pop_back();
            curve.directions.resize(std::min(curve.directions.size(), curve.points.size()));
        }
        if (curve.points.empty()) {
            throw InputError("it holds no points");
        }
        if (curve.points.size() == 1) {
            throw InputError("it holds one point, which is no line");
        }
        return curve;
    } catch (const InputError& error) {
        throw InputError("can't read the curve " + path + ": " + error.what());
    }
}

} // namespace tool
