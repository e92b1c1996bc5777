// What --sweep-seeds, --sweep-angles and --part say, read strictly.
#include "tool/errors.h"
#include "tool/read/numbers.h"
#include "tool/sweep.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>

namespace tool {
namespace {

[[noreturn]] void badSeeds(const std::string& text) {
    throw UsageError("--sweep-seeds " + text +
                     ": give a count (9), a grid (5x3), points (x,y,z;x,y,z) or a file of points (@file)");
}

bool readCount(const std::string& text, std::size_t& count) {
    double value = 0.0;
    if (!readNumber(text, value) || value < 1.0 || value > 1e6 || value != std::floor(value)) {
        return false;
    }
    count = static_cast<std::size_t>(value);
    return true;
}

std::vector<Point> listedSeeds(const std::string& text, const std::string& named) {
    std::vector<Point> seeds;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = std::min(text.find_first_of(";\n", start), text.size());
        std::string entry = text.substr(start, end - start);
        start = end + 1;
        if (entry.find_first_not_of(" \t\r") == std::string::npos) {
            continue;
        }
        entry.erase(0, entry.find_first_not_of(" \t\r"));
        entry.erase(entry.find_last_not_of(" \t\r") + 1);
        if (entry.find(',') == std::string::npos) {
            std::replace(entry.begin(), entry.end(), ' ', ',');
        }
        std::vector<double> values;
        if (!readNumbers(entry, values) || values.size() != 3) {
            badSeeds(named);
        }
        seeds.push_back({values[0], values[1], values[2]});
    }
    if (seeds.empty()) {
        badSeeds(named);
    }
    return seeds;
}

std::vector<Point> seedsOf(const std::string& text, const Surface& surface) {
    std::size_t count = defaultSeeds;
    if (text.empty() || readCount(text, count)) {
        return spreadSeeds(surface, count);
    }
    if (text[0] == '@') {
        std::ifstream in(text.substr(1));
        if (!in) {
            throw InputError("can't open the seeds " + text.substr(1));
        }
        return listedSeeds({std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()}, text);
    }
    const std::size_t cross = text.find('x');
    std::size_t rows = 0;
    if (cross != std::string::npos && readCount(text.substr(0, cross), count) &&
        readCount(text.substr(cross + 1), rows) && count * rows <= mostCandidates) {
        return gridSeeds(surface, count, rows);
    }
    return listedSeeds(text, text);
}

std::vector<double> anglesOf(const Settings& settings, const Surface& surface) {
    const std::string& text = settings.sweep.angles;
    std::vector<double> values;
    if (text.empty()) {
        return usualAngles(surface);
    }
    if (text.find(':') == std::string::npos) {
        if (!readNumbers(text, values)) {
            throw UsageError("--sweep-angles " + text +
                             ": give degrees (0,30,45) or from:below:step (0:90:15)");
        }
        return values;
    }
    std::string list = text;
    std::replace(list.begin(), list.end(), ':', ',');
    if (!readNumbers(list, values) || values.size() != 3 || !(values[2] > 0.0) || !(values[1] > values[0]) ||
        (values[1] - values[0]) / values[2] > 1e6) {
        throw UsageError("--sweep-angles " + text +
                         ": a range is from:below:step with a step above 0, such as 0:90:15");
    }
    return angleRange(values[0], values[1], values[2]);
}

} // namespace

std::vector<Candidate> candidatesFor(const Settings& settings, const Surface& surface) {
    const std::vector<Point> seeds = seedsOf(settings.sweep.seeds, surface);
    std::vector<double> angles = anglesOf(settings, surface);
    for (double& angle : angles) {
        angle = settings.angle + angle;
    }
    if (seeds.size() * angles.size() > mostCandidates) {
        throw UsageError("the sweep has more than " + std::to_string(mostCandidates) + " candidates");
    }
    return shareOf(candidatesOf(seeds, angles), static_cast<std::size_t>(settings.sweep.part),
                   static_cast<std::size_t>(settings.sweep.parts));
}

} // namespace tool
