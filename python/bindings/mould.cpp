// Moulds: surfaces out of files and arrays, their arrays, and what a pickle keeps of them.
#include "python/bindings/surface.h"

#include "host/mesh/patch.h"
#include "tool/read/mesh_import.h"

#include <span>

namespace drape::python {

using namespace drape::host;

namespace {

using Points = py::array_t<double, py::array::c_style>;
using Numbers = py::array_t<std::int32_t, py::array::c_style>;
using MaybePoint = std::optional<Point>;
using PointPair = std::array<Point, 2>;

SurfaceWishes wishesOf(const MaybePoint& seed, const std::vector<PointPair>& clips, const MaybePoint& side,
                       bool weld, bool fillHoles) {
    SurfaceWishes wishes;
    wishes.seed = seed;
    wishes.startsInMiddle = false;
    for (const PointPair& clip : clips) {
        wishes.clips.push_back({clip[0], clip[1]});
    }
    wishes.side = side;
    wishes.weld = weld;
    wishes.fillHoles = fillHoles;
    return wishes;
}

std::shared_ptr<HeldMould> mouldOfSoup(const PolygonSoup& soup, const SurfaceWishes& wishes,
                                       const std::string& source) {
    auto held = std::make_shared<HeldMould>();
    held->surface = preparedSurface(soup, wishes, {}, held->notes);
    held->source = source;
    held->seedNamed = wishes.seed.has_value();
    held->asked = wishes;
    held->part = std::make_shared<const tool::PagePart>(tool::pagePartOf(soup));
    return held;
}

// Both arrays have been looked at: rows of three, rows of at least three that name points.
PolygonSoup soupOf(const Points& vertices, const Numbers& faces) {
    PolygonSoup soup;
    soup.points.resize(static_cast<std::size_t>(vertices.shape(0)));
    std::copy_n(vertices.data(), vertices.size(), reinterpret_cast<double*>(soup.points.data()));
    const std::size_t corners = static_cast<std::size_t>(faces.shape(1));
    const std::span all(faces.data(), static_cast<std::size_t>(faces.size()));
    for (std::size_t first = 0; first < all.size(); first += corners) {
        const auto row = all.subspan(first, corners);
        soup.polygons.emplace_back(row.begin(), row.end());
    }
    return soup;
}

py::tuple stateOf(const py::object& self) {
    const auto& mould = py::cast<const HeldMould&>(self);
    const Surface& s = mould.surface;
    py::list notes;
    for (const Note& note : mould.notes) {
        notes.append(py::make_tuple(static_cast<int>(note.kind), note.text));
    }
    return py::make_tuple(self.attr("vertices"), self.attr("triangles"), self.attr("source_faces"),
                          s.defaultSeed, s.steps, static_cast<int>(s.side.rule), s.side.towards, notes,
                          mould.source, mould.seedNamed);
}

template <class T, class Array>
std::vector<T> valuesOf(const py::handle& array) {
    const auto packed = py::cast<Array>(array);
    const auto* first = reinterpret_cast<const T*>(packed.data());
    return {first, first + static_cast<std::size_t>(packed.nbytes()) / sizeof(T)};
}

std::shared_ptr<HeldMould> mouldOfState(const py::tuple& state) {
    auto held = std::make_shared<HeldMould>();
    Surface& s = held->surface;
    s.mesh.positions = valuesOf<Point, Points>(state[0]);
    s.mesh.triangles = valuesOf<Triangle, Numbers>(state[1]);
    s.mesh.sourceFaces = valuesOf<std::int32_t, Numbers>(state[2]);
    s.defaultSeed = py::cast<Point>(state[3]);
    s.steps = py::cast<std::array<double, 2>>(state[4]);
    s.side = {static_cast<SideRule>(py::cast<int>(state[5])), py::cast<Point>(state[6])};
    for (const auto& note : py::cast<std::vector<std::pair<int, std::string>>>(state[7])) {
        held->notes.push_back({static_cast<NoteKind>(note.first), note.second});
    }
    held->source = py::cast<std::string>(state[8]);
    held->seedNamed = py::cast<bool>(state[9]);
    const py::gil_scoped_release unlocked;
    s.mould = std::make_shared<const Mould>(mouldOf(s.mesh));
    return held;
}

py::list loopsOf(const py::object& self) {
    py::list loops;
    for (const Loop& loop : py::cast<const HeldMould&>(self).surface.mould->loops) {
        loops.append(rowsOf(loop.vertices.data(), loop.vertices.size(), 1, self));
    }
    return loops;
}

} // namespace

std::shared_ptr<const Surface> HeldMould::surfaceFor(const TrialWishes& wishes, const Point& from) const {
    double area = surface.mould->area;
    if (wishes.within && !wishes.start.stepA) {
        const SurfacePoint middle = nearestPoint(*surface.mould, from);
        const auto distances = distancesAlong(surface.mesh, middle);
        area = areaOf(patchWithin(surface.mesh, middle, distances, *wishes.within));
    }
    const auto steps = stepsFor(wishes.start, area);
    checkTolerance(wishes.start, steps);
    const std::lock_guard<std::mutex> alone(lock_);
    if (!last_ || last_->steps != steps) {
        auto other = std::make_shared<Surface>(surface);
        other->steps = steps;
        last_ = std::move(other);
    }
    return last_;
}

py::list textsOf(const Notes& notes) {
    py::list texts;
    for (const Note& note : notes) {
        texts.append(note.text);
    }
    return texts;
}

void bindMould(py::module_& module) {
    py::class_<HeldMould, std::shared_ptr<HeldMould>>(module, "Mould")
        .def_property_readonly("vertices",
                               [](const py::object& self) {
                                   const auto& p = py::cast<const HeldMould&>(self).surface.mesh.positions;
                                   return rowsOf(reinterpret_cast<const double*>(p.data()), p.size(), 3,
                                                 self);
                               })
        .def_property_readonly("triangles",
                               [](const py::object& self) {
                                   const auto& t = py::cast<const HeldMould&>(self).surface.mesh.triangles;
                                   return rowsOf(reinterpret_cast<const std::int32_t*>(t.data()), t.size(), 3,
                                                 self);
                               })
        .def_property_readonly("source_faces",
                               [](const py::object& self) {
                                   const auto& f = py::cast<const HeldMould&>(self).surface.mesh.sourceFaces;
                                   return rowsOf(f.data(), f.size(), 1, self);
                               })
        .def_property_readonly("loops", loopsOf)
        .def_property_readonly("area", [](const HeldMould& m) { return m.surface.mould->area; })
        .def_property_readonly("default_seed", [](const HeldMould& m) { return m.surface.defaultSeed; })
        .def_property_readonly("default_steps", [](const HeldMould& m) { return m.surface.steps; })
        .def_property_readonly("side", [](const HeldMould& m) { return textOf(m.surface.side); })
        .def_property_readonly("notes", [](const HeldMould& m) { return textsOf(m.notes); })
        .def_readonly("source", &HeldMould::source)
        .def(py::pickle(&stateOf, &mouldOfState));
    module.def("read_mould", [](const std::string& path, const MaybePoint& seed,
                                const std::vector<PointPair>& clips, const MaybePoint& side, bool weld,
                                bool fillHoles) {
        const py::gil_scoped_release unlocked;
        return mouldOfSoup(tool::importMesh(path), wishesOf(seed, clips, side, weld, fillHoles), path);
    });
    module.def("mould_of_arrays", [](const Points& vertices, const Numbers& faces, const std::string& source,
                                     const MaybePoint& seed, const std::vector<PointPair>& clips,
                                     const MaybePoint& side, bool weld, bool fillHoles) {
        const PolygonSoup soup = soupOf(vertices, faces);
        const py::gil_scoped_release unlocked;
        return mouldOfSoup(soup, wishesOf(seed, clips, side, weld, fillHoles), source);
    });
}

} // namespace drape::python
