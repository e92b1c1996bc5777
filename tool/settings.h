// What the command line asks for, once it is understood.
#pragma once

#include "host/cloth/surface.h"
#include "host/search/cover.h"
#include "host/search/trial.h"
#include "tool/draw/scene.h"
#include "tool/read/mesh_import.h"
#include "tool/write/laminate_files.h"

#include <optional>
#include <string>
#include <vector>

namespace tool {

using namespace drape::host;

struct SweepSettings {
    bool wanted = false;
    std::string seeds;  // a count, a grid "AxB", a list "x,y,z;x,y,z" or "@file"; empty for the default
    std::string angles; // degrees, a list "0,30" or a range "0:90:15"; empty for the default
    int part = 1;
    int parts = 1;
    int jobs = 0; // 0 for one per core
};

struct CoverSettings {
    bool wanted = false;
    CoverWishes wishes;
    std::optional<double> seconds; // to improve the set in, else a fixed number of steps
};

struct LayupSettings {
    std::string file; // empty for a drape of one ply
    bool buildUp = false;
    std::vector<Point> cores; // where to take core samples
    ShellReference reference = ShellReference::middle;
};

struct Settings {
    std::string input;
    ImportWishes import;
    std::vector<std::string> outputs;
    std::vector<std::string> curves; // files
    bool cutCurves = false;          // where they leave the cloth

    SurfaceWishes surface;
    TrialWishes trial;
    std::optional<std::int64_t> seedVertex; // as the file counts, or numbers, its vertices
    bool startAtMiddle = false;             // where no seed is named, else at the best place around it
    double angle = 0.0;                     // degrees

    SweepSettings sweep;
    CoverSettings cover;
    bool keepGood = false; // of a drape, the good region alone
    LayupSettings layup;
    double allowance = 0.0; // of the cut line beyond the net line, in the file's unit
    std::string ply;        // its name on drawings
    std::optional<Paper> paper;
    double millimetresPerUnit = 1.0;
    bool unitGiven = false;
    bool quiet = false;
    bool verbose = false;
};

} // namespace tool
