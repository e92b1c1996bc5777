// Sweeps: where candidates start, what came of each as a row of a table, and their ranking. Which worker
// drapes what is settled in Python, over whatever executor the user has.
#include "python/bindings/surface.h"

#include "host/search/candidates.h"
#include "host/search/ranking.h"
#include "tool/write/sweep_table.h"
#include "tool/write/writers.h"

#include <cstddef>

namespace drape::python {

using namespace drape::host;

namespace {

using Seeds = std::vector<Point>;

// Rows of a table are the host's own results, so they go from worker to worker as they lie in memory.
py::dtype rowType() {
    py::list names, formats, offsets;
    const auto field = [&](const char* name, const char* format, std::size_t offset) {
        names.append(name);
        formats.append(format);
        offsets.append(offset);
    };
    constexpr std::size_t candidate = offsetof(SweepResult, candidate);
    field("candidate", "u8", candidate + offsetof(Candidate, number));
    field("seed", "3f8", candidate + offsetof(Candidate, seed));
    field("angle", "f8", candidate + offsetof(Candidate, angle));
    field("ran", "?", offsetof(SweepResult, ran));
    field("status", "i4", offsetof(SweepResult, status));
    field("nodes", "i4", offsetof(SweepResult, nodes));
    field("cells", "i8", offsetof(SweepResult, cells));
    field("mean_shear", "f8", offsetof(SweepResult, meanShear));
    field("largest_shear", "f8", offsetof(SweepResult, largestShear));
    field("share_beyond_locking", "f8", offsetof(SweepResult, shareBeyondLocking));
    field("covered_share", "f8", offsetof(SweepResult, coveredShare));
    field("doubled_share", "f8", offsetof(SweepResult, doubledShare));
    field("net_area", "f8", offsetof(SweepResult, netArea));
    field("net_width", "f8", offsetof(SweepResult, netWidth));
    field("net_height", "f8", offsetof(SweepResult, netHeight));
    field("within", "f8", offsetof(SweepResult, within));
    return {names, formats, offsets, sizeof(SweepResult)};
}

py::array tableOf(const std::vector<SweepResult>& results) {
    return {rowType(), static_cast<py::ssize_t>(results.size()), results.data()};
}

std::vector<SweepResult> resultsOf(const py::array& table) {
    if (!table.dtype().equal(rowType()) || (table.flags() & py::array::c_style) == 0) {
        throw py::type_error("that isn't a table of a sweep");
    }
    const auto* first = static_cast<const SweepResult*>(table.data());
    return {first, first + table.size()};
}

py::array tryCandidates(const HeldMould& mould, const TrialWishes& wishes, std::size_t firstNumber,
                        const Seeds& seeds, const std::vector<double>& angles) {
    std::vector<SweepResult> results;
    {
        const py::gil_scoped_release unlocked;
        const auto surface = mould.surfaceFor(wishes, mould.surface.defaultSeed);
        for (std::size_t i = 0; i < seeds.size(); ++i) {
            results.push_back(tried(*surface, wishes, {firstNumber + i, seeds[i], angles[i]}));
        }
    }
    return tableOf(results);
}

Seeds spread(const HeldMould& mould, std::size_t count) {
    const py::gil_scoped_release unlocked;
    return spreadSeeds(mould.surface, count);
}

Seeds inGrid(const HeldMould& mould, std::size_t columns, std::size_t rows) {
    const py::gil_scoped_release unlocked;
    return gridSeeds(mould.surface, columns, rows);
}

} // namespace

void bindSearch(py::module_& module) {
    module.def("spread_seeds", &spread);
    module.def("grid_seeds", &inGrid);
    module.def("usual_angles", [](const HeldMould& mould, const TrialWishes& wishes) {
        return usualAngles(*mould.surfaceFor(wishes, mould.surface.defaultSeed));
    });
    module.def("sweep_steps", [](const HeldMould& mould, const TrialWishes& wishes) {
        return mould.surfaceFor(wishes, mould.surface.defaultSeed)->steps;
    });
    module.def("try_candidates", &tryCandidates);
    module.def("row_type", &rowType);
    module.def("ranked", [](const py::array& table, bool byCloth) {
        auto results = resultsOf(table);
        rank(results, byCloth);
        return tableOf(results);
    });
    module.def("is_whole", [](const py::array& table) {
        std::vector<bool> whole;
        for (const SweepResult& result : resultsOf(table)) {
            whole.push_back(isWhole(result));
        }
        return whole;
    });
    module.def("write_sweep", [](const py::array& table, const std::string& path) {
        tool::writeWhole(path, tool::sweepCsv(resultsOf(table), true));
    });
}

} // namespace drape::python
