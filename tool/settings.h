// What the command line asks for, once it is understood.
#pragma once

#include "clip.h"
#include "drape_data.h"

#include <optional>
#include <string>
#include <vector>

namespace tool {

struct SweepSettings {
    bool wanted = false;
    std::string seeds;  // a count, a grid "AxB", a list "x,y,z;x,y,z" or "@file"; empty for the default
    std::string angles; // degrees, a list "0,30" or a range "0:90:15"; empty for the default
    int part = 1;
    int parts = 1;
    int jobs = 0; // 0 for one per core
};

struct Settings {
    std::string input;
    std::vector<std::string> outputs;
    std::string curve;

    std::optional<Point> seed;
    std::optional<std::int64_t> seedVertex; // 1-based, as the file counts
    Point warp{1.0, 0.0, 0.0};
    double angle = 0.0; // degrees
    double bias = 0.0;  // degrees
    std::optional<double> stepA;
    std::optional<double> stepB;
    std::optional<double> tolerance;
    bool pivotByGridLine = true;
    std::optional<std::int32_t> mostNodes;
    double lockingAngle = 45.0;

    std::vector<Plane> clips;
    bool weld = true;
    bool fillHoles = false;
    std::optional<double> within;
    bool withinLargest = false;

    SweepSettings sweep;
    double millimetresPerUnit = 1.0;
    bool quiet = false;
    bool verbose = false;
};

} // namespace tool
