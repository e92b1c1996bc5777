// One drape: what it may be asked for, the run, and its arrays and figures.
#include "python/bindings/show.h"
#include "python/bindings/surface.h"

#include "drape.h"
#include "host/cloth/area_by_shear.h"
#include "host/cloth/curve.h"
#include "host/cloth/fibre_map.h"
#include "host/cloth/net_pattern.h"
#include "host/search/default_start.h"
#include "tool/report.h"
#include "tool/scenes.h"
#include "tool/write/writers.h"

#include <cstddef>

namespace drape::python {

using namespace drape::host;

namespace {

TrialWishes wishesOf(const std::optional<std::array<double, 2>>& step, const std::optional<Point>& rosette,
                     const std::optional<Point>& warp, const std::optional<double>& tolerance,
                     bool pivotByGridLine, double lockingAngle, const std::optional<double>& within,
                     bool withinLargest, const std::optional<std::int32_t>& mostNodes) {
    TrialWishes wishes;
    if (step) {
        wishes.start.stepA = (*step)[0];
        wishes.start.stepB = (*step)[1];
    }
    wishes.start.rosette = rosette;
    wishes.start.warp = warp;
    wishes.start.tolerance = tolerance;
    wishes.start.pivotByGridLine = pivotByGridLine;
    wishes.lockingAngle = lockingAngle;
    wishes.within = within;
    wishes.withinLargest = withinLargest;
    wishes.mostNodes = mostNodes;
    return wishes;
}

// Without a seed a drape starts as the program's does: where the mould's own seed says, in the middle for a
// patch, else where the cloth shears least around the middle. `inMiddle` asks for the middle in any case.
std::shared_ptr<HeldPly> drapeMould(const std::shared_ptr<const HeldMould>& mould, const TrialWishes& wishes,
                                    const std::optional<Point>& seed, bool inMiddle, double angle) {
    const py::gil_scoped_release unlocked;
    auto ply = std::make_shared<HeldPly>();
    ply->mould = mould;
    Point from = seed.value_or(mould->surface.defaultSeed);
    const auto surface = mould->surfaceFor(wishes, from);
    if (!seed && !inMiddle && !mould->seedNamed && !wishes.within && !wishes.withinLargest) {
        const Point middle = from;
        from = bestStart(*surface, wishes, angle);
        if (vec::distance(from, middle) > finestOf(surface->steps)) {
            ply->passedOver = middle;
        }
    }
    ply->surface = surface;
    ply->wishes = wishes;
    ply->wasMeasured = wishes.within || wishes.withinLargest;
    TrialWishes runOnly = wishes;
    runOnly.measured = false;
    ply->trial = drapeFrom(*surface, runOnly, from, angle, ply->notes);
    return ply;
}

auto gridInts(std::vector<std::int32_t> Grid::*values) {
    return [values](const py::object& self) {
        const auto& v = py::cast<const HeldPly&>(self).trial.grid.*values;
        return rowsOf(v.data(), v.size(), 1, self);
    };
}

auto gridRows(std::vector<double> Grid::*values, py::ssize_t columns) {
    return [values, columns](const py::object& self) {
        const auto& v = py::cast<const HeldPly&>(self).trial.grid.*values;
        return rowsOf(v.data(), v.size() / static_cast<std::size_t>(columns), columns, self);
    };
}

// One member of each record of a list, as an array over the records themselves.
template <class T, class Record>
py::array memberOf(const std::vector<Record>& records, std::size_t offset, py::ssize_t columns,
                   const py::handle& owner) {
    const auto* first = reinterpret_cast<const T*>(reinterpret_cast<const char*>(records.data()) + offset);
    const auto count = static_cast<py::ssize_t>(records.size());
    const py::ssize_t stride = sizeof(Record);
    const py::ssize_t size = sizeof(T);
    return columns == 1 ? viewOf<T>(first, {count}, {stride}, owner)
                        : viewOf<T>(first, {count, columns}, {stride, size}, owner);
}

template <class T>
auto cellMember(std::size_t offset, py::ssize_t columns) {
    return [offset, columns](const py::object& self) {
        return memberOf<T>(py::cast<const HeldPly&>(self).sheared().measures.cells, offset, columns, self);
    };
}

// Warp, weft, shear, cover and cell of each triangle of the draped mould.
py::tuple fibresOf(const HeldPly& ply) {
    using Fibres = std::vector<TriangleFibres>;
    auto* fibres = new Fibres;
    const py::capsule owner(fibres, [](void* held) { delete static_cast<Fibres*>(held); });
    {
        const py::gil_scoped_release unlocked;
        const Trial& trial = ply.sheared();
        *fibres = mapFibres(*trial.mould, trial.grid, trial.measures);
    }
    static_assert(sizeof(Cover) == sizeof(std::int32_t));
    return py::make_tuple(memberOf<double>(*fibres, offsetof(TriangleFibres, warp), 3, owner),
                          memberOf<double>(*fibres, offsetof(TriangleFibres, weft), 3, owner),
                          memberOf<double>(*fibres, offsetof(TriangleFibres, shear), 1, owner),
                          memberOf<std::int32_t>(*fibres, offsetof(TriangleFibres, cover), 1, owner),
                          memberOf<std::int32_t>(*fibres, offsetof(TriangleFibres, cell), 1, owner));
}

// Loops with their points in space, borders, area and length; then the figures of the whole pattern.
py::tuple netOf(const py::object& self) {
    const NetPattern& net = py::cast<const HeldPly&>(self).measured().measures.net;
    static_assert(sizeof(NetBorder) == sizeof(std::int32_t));
    py::list loops;
    for (const NetLoop& loop : net.loops) {
        const auto* borders = reinterpret_cast<const std::int32_t*>(loop.borders.data());
        loops.append(py::make_tuple(
            rowsOf(reinterpret_cast<const double*>(loop.flat.data()), loop.flat.size(), 2, self),
            rowsOf(reinterpret_cast<const double*>(loop.space.data()), loop.space.size(), 3, self),
            rowsOf(borders, loop.borders.size(), 1, self), loop.area, loop.length));
    }
    return py::make_tuple(loops, net.area, net.extent, net.clothEdgeLength, net.overlapArea);
}

py::dict choiceOf(const HeldPly& ply) {
    const Choice& c = ply.trial.choice;
    py::dict choice;
    choice["seed"] = c.seed;
    choice["warp"] = c.warp;
    choice["weft"] = c.weft;
    choice["normal"] = c.normal;
    choice["rosette"] = c.rosette;
    choice["ply_angle"] = plyAngle(c);
    choice["angle"] = ply.trial.angle;
    choice["step"] = std::array<double, 2>{c.stepA, c.stepB};
    choice["tolerance"] = c.tolerance;
    choice["pivot"] = c.pivotByGridLine ? "grid" : "shear";
    return choice;
}

// What the program would have been told.
tool::Settings settingsOf(const HeldPly& ply, const Show& show) {
    tool::Settings settings = settingsOf(*ply.mould, show);
    settings.surface = ply.mould->asked;
    settings.trial = ply.wishes;
    settings.angle = ply.trial.angle;
    for (const HeldCurve& curve : show.curves) {
        settings.curves.push_back(curve.file);
        settings.cutCurves = settings.cutCurves || curve.cut;
    }
    return settings;
}

// What is shown of a drape, held together.
struct Shown {
    Shown(const HeldPly& ply, const Show& show)
        : settings(settingsOf(ply, show)), curves(show.carried()),
          cut(tool::cutLinesOf(ply.measured().measures.net, show.allowance)),
          story{
              settings,   ply.trial,      cut,
              curves,     nullptr,        ply.trial.seconds,
              ply.good(), ply.passedOver, areaByShear(*ply.trial.mould, ply.trial.grid, ply.trial.measures)},
          report(tool::jsonOf(story)) {}

    tool::Settings settings;
    std::vector<CurveResult> curves;
    tool::CutLines cut;
    tool::Story story;
    std::string report;
};

std::string reportOf(const HeldPly& ply, const Show& show) {
    return Shown(ply, show).report;
}

// A surface without what it was made of goes into the page as it lies, with its side and cells named.
std::string pageOf(const HeldPly& ply, Shown& shown, const Show& show, const std::string& pageFile) {
    const HeldMould& mould = *ply.mould;
    std::shared_ptr<const tool::PagePart> part = mould.part;
    if (!part) {
        const Choice& choice = ply.trial.choice;
        part = std::make_shared<const tool::PagePart>(tool::pagePartOf(*mould.surface.mould));
        shown.settings.surface = {};
        shown.settings.surface.weld = false;
        shown.settings.surface.side = tool::sideOf(*mould.surface.mould, choice);
        shown.settings.trial.start.stepA = choice.stepA;
        shown.settings.trial.start.stepB = choice.stepB;
    }
    std::vector<DrawnCurve> drawn;
    for (const HeldCurve& curve : show.curves) {
        drawn.push_back(curve.drawn);
    }
    return tool::pageOf(pageFile, shown.story, *part, drawn, shown.report);
}

// `pageFile` is the page's template, for a page.
void writePly(const HeldPly& ply, const std::string& path, const Show& show, const std::string& pageFile) {
    orOutputError([&] {
        Shown shown(ply, show);
        if (tool::isPage(path)) {
            tool::writeWhole(path, pageOf(ply, shown, show, pageFile));
        } else {
            tool::writeOutput(path, tool::sceneOf(shown.settings, ply.trial, shown.cut, shown.curves,
                                                  shown.report, shown.settings.ply));
        }
    });
}

using Part = const Trial& (HeldPly::*)() const; // `sheared` or `measured`

template <class T>
auto figure(T Measures::*value, Part part = &HeldPly::sheared) {
    return [value, part](const HeldPly& ply) { return (ply.*part)().measures.*value; };
}

// The lock is let go before a wait for another thread that measures.
template <class Work>
void withoutLock(Work work) {
    if (PyGILState_Check() != 0) {
        const py::gil_scoped_release unlocked;
        work();
    } else {
        work();
    }
}

} // namespace

void HeldPly::shearOnce() const {
    std::call_once(shear_, [this] {
        if (!wasMeasured) {
            trial.measures = measureShear(trial.grid, wishes.lockingAngle);
        }
    });
}

void HeldPly::measureOnce() const {
    shearOnce();
    std::call_once(all_, [this] {
        if (!wasMeasured) {
            measureCover(*trial.mould, trial.grid, trial.measures);
        }
    });
}

const Trial& HeldPly::sheared() const {
    withoutLock([this] { shearOnce(); });
    return trial;
}

const Trial& HeldPly::measured() const {
    withoutLock([this] { measureOnce(); });
    return trial;
}

const tool::GoodPart* HeldPly::good() const {
    withoutLock([this] {
        std::call_once(good_, [this] {
            tool::Settings settings;
            settings.trial = wishes;
            goodPart_ = tool::goodPartOf(settings, *surface, trial, inTurn);
        });
    });
    return goodPart_ ? &*goodPart_ : nullptr;
}

void bindPly(py::module_& module) {
    py::class_<TrialWishes>(module, "Wishes").def(py::init(&wishesOf));
    module.def("drape", &drapeMould);
    py::class_<tool::Paper>(module, "Paper");
    module.def("paper_named", &tool::paperNamed);
    module.def("paper_of", &tool::paperOf);
    py::class_<Show>(module, "Show")
        .def(py::init([](double millimetresPerUnit, double allowance, const std::string& name,
                         const std::optional<tool::Paper>& paper, const std::vector<HeldCurve>& curves) {
            return Show{millimetresPerUnit, allowance, name, paper, curves};
        }));
    py::class_<HeldPly, std::shared_ptr<HeldPly>>(module, "Ply")
        .def_property_readonly("positions", gridRows(&Grid::position, 3))
        .def_property_readonly("flat", gridRows(&Grid::flat, 2))
        .def_property_readonly("normals", gridRows(&Grid::normal, 3))
        .def_property_readonly("link1", gridInts(&Grid::link1))
        .def_property_readonly("link2", gridInts(&Grid::link2))
        .def_property_readonly("link3", gridInts(&Grid::link3))
        .def_property_readonly("link4", gridInts(&Grid::link4))
        .def_property_readonly("columns", gridInts(&Grid::i))
        .def_property_readonly("rows", gridInts(&Grid::j))
        .def_property_readonly("node_status", gridInts(&Grid::nodeStatus))
        .def_property_readonly("node_triangle", gridInts(&Grid::triangle))
        .def_property_readonly("cells", cellMember<std::int32_t>(offsetof(Cell, nodes), 4))
        .def_property_readonly("shear", cellMember<double>(offsetof(Cell, shear), 1))
        .def_property_readonly("on_surface", cellMember<bool>(offsetof(Cell, onSurface), 1))
        .def_property_readonly("status", [](const HeldPly& ply) { return ply.trial.grid.status; })
        .def_property_readonly("end_text", [](const HeldPly& ply) { return tool::endOf(ply.trial); })
        .def_property_readonly("seconds", [](const HeldPly& ply) { return ply.trial.seconds; })
        .def_property_readonly("within", [](const HeldPly& ply) { return ply.trial.within; })
        .def_property_readonly("mean_shear", figure(&Measures::meanShear))
        .def_property_readonly("largest_shear", figure(&Measures::largestShear))
        .def_property_readonly("locking_angle", figure(&Measures::lockingAngle))
        .def_property_readonly("largest_turn", figure(&Measures::largestTurn))
        .def_property_readonly("share_beyond_locking", figure(&Measures::shareBeyondLocking))
        .def_property_readonly("cells_on_surface", figure(&Measures::cellsOnSurface))
        .def_property_readonly("mould_area", figure(&Measures::mouldArea, &HeldPly::measured))
        .def_property_readonly("covered_share", figure(&Measures::coveredShare, &HeldPly::measured))
        .def_property_readonly("doubled_share", figure(&Measures::doubledShare, &HeldPly::measured))
        .def_property_readonly("choice", choiceOf)
        .def_property_readonly("notes", [](const HeldPly& ply) { return textsOf(ply.notes); })
        .def("fibres", fibresOf)
        .def("net", netOf)
        .def("report_json", reportOf)
        .def("write", writePly);
}

} // namespace drape::python
