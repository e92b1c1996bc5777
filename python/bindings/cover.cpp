// Several pieces of cloth over one mould: what a candidate covers, the search, and what came out of it.
#include "python/bindings/show.h"
#include "python/bindings/surface.h"

#include "host/cloth/mould_mesh.h"
#include "host/search/cover.h"
#include "host/search/dart_search.h"
#include "tool/cover_report.h"
#include "tool/scenes.h"
#include "tool/write/writers.h"

namespace drape::python {

using namespace drape::host;

namespace {

// What all candidates over a mould share; it never changes, so threads do too.
struct HeldGround {
    std::shared_ptr<const HeldMould> mould;
    std::shared_ptr<const Surface> surface;
    CoverGround ground;
};

struct HeldCover {
    std::shared_ptr<const HeldMould> mould;
    std::shared_ptr<const Surface> surface; // with the cell lengths of all pieces
    TrialWishes trial;
    CoverWishes wishes;
    PieceSet set;
};

std::shared_ptr<HeldGround> groundOf(const std::shared_ptr<const HeldMould>& mould, const TrialWishes& wishes,
                                     const std::array<double, 2>& most) {
    const py::gil_scoped_release unlocked;
    const auto surface = mould->surfaceFor(wishes, mould->surface.defaultSeed);
    return std::make_shared<HeldGround>(HeldGround{mould, surface, coverGroundOf(*surface, wishes, most)});
}

template <class T>
py::bytes bytesOf(const std::vector<T>& values) {
    return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T)};
}

template <class T>
std::vector<T> valuesOf(const py::handle& bytes) {
    const auto all = py::cast<std::string_view>(bytes);
    std::vector<T> values(all.size() / sizeof(T));
    std::copy_n(all.data(), values.size() * sizeof(T), reinterpret_cast<char*>(values.data()));
    return values;
}

// As plain values, so that one process can hand it to another.
py::tuple territoryFrom(const HeldGround& held, const Point& seed, double angle, const py::object& room,
                        std::size_t darts) {
    Territory territory;
    PieceTry piece{{seed, angle}, nullptr, darts};
    if (!room.is_none()) {
        piece.room = std::make_shared<const Room>(valuesOf<float>(room));
    }
    {
        const py::gil_scoped_release unlocked;
        territory = dartedTerritory(held.ground, piece, inTurn);
    }
    return py::make_tuple(territory.start.seed, territory.start.angle, bytesOf(territory.vertices),
                          bytesOf(territory.depths), territory.area, bytesOf(territory.bare),
                          bytesOf(territory.slits));
}

Territory territoryFrom(const py::tuple& given) {
    return {{py::cast<Point>(given[0]), py::cast<double>(given[1])},
            valuesOf<std::int32_t>(given[2]),
            valuesOf<float>(given[3]),
            py::cast<double>(given[4]),
            valuesOf<std::int32_t>(given[5]),
            valuesOf<SlitWay>(given[6])};
}

// `spread` is handed a list of (seed, angle, room, darts) and gives what `territory` made of each, in order;
// `heard` is told how far the search is and says whether it goes on.
std::shared_ptr<HeldCover> coverMould(const std::shared_ptr<const HeldMould>& mould, const TrialWishes& trial,
                                      double share, double angle, bool freeAngles, double overlap,
                                      const std::array<double, 2>& most, std::size_t darts,
                                      const py::function& spread, const py::function& heard, bool endless) {
    auto held = std::make_shared<HeldCover>();
    held->mould = mould;
    held->trial = trial;
    held->wishes = {share, angle, freeAngles, overlap, most};
    held->wishes.darts = darts;
    const TerritorySpread spreadOut = [&](const std::vector<PieceTry>& tries, const auto&) {
        const py::gil_scoped_acquire locked;
        py::list given;
        py::object room = py::none(); // the one of the try before, which is that of most
        const Room* known = nullptr;
        for (const PieceTry& piece : tries) {
            if (piece.room.get() != known) {
                known = piece.room.get();
                room = known == nullptr ? py::object(py::none()) : py::object(bytesOf(*known));
            }
            given.append(py::make_tuple(piece.start.seed, piece.start.angle, room, piece.darts));
        }
        std::vector<Territory> territories;
        for (const py::handle& found : spread(given)) {
            territories.push_back(territoryFrom(py::cast<py::tuple>(found)));
        }
        return territories;
    };
    const GoOn goesOn = [&](const CoverProgress& progress) {
        const py::gil_scoped_acquire locked;
        return py::cast<bool>(heard(progress.tried, progress.pieces, progress.coveredShare));
    };
    const py::gil_scoped_release unlocked;
    held->surface = mould->surfaceFor(trial, mould->surface.defaultSeed);
    held->set = coveredBy(*held->surface, trial, held->wishes, spreadOut, inTurn, goesOn, endless);
    return held;
}

// A piece as a mould and a drape of their own.
py::tuple pieceOf(const HeldCover& held, std::size_t index) {
    const CoverPiece& piece = held.set.pieces.at(index);
    auto mould = std::make_shared<HeldMould>();
    Surface& s = mould->surface;
    s.mould = piece.drape.mould;
    s.mesh = meshOf(*s.mould);
    s.defaultSeed = piece.drape.choice.seed;
    s.steps = held.surface->steps;
    s.side = held.surface->side;
    mould->source = held.mould->source;
    mould->seedNamed = true;
    auto ply = std::make_shared<HeldPly>();
    ply->mould = mould;
    ply->trial = piece.drape;
    ply->surface = {mould, &mould->surface};
    ply->wishes = held.trial;
    ply->wasMeasured = true;
    py::list darts;
    for (const Dart& dart : piece.darts) {
        darts.append(py::make_tuple(dart.isV() ? "V" : "overlap", dart.line.front(), dart.line.back(),
                                    dart.length, dart.width, dart.angle));
    }
    return py::make_tuple(std::const_pointer_cast<const HeldMould>(mould), ply, piece.claimed,
                          piece.seamLength, darts);
}

py::list seamsOf(const py::object& self) {
    py::list seams;
    for (const Seam& seam : py::cast<const HeldCover&>(self).set.seams) {
        seams.append(py::make_tuple(
            py::make_tuple(seam.pieces[0], seam.pieces[1]),
            rowsOf(reinterpret_cast<const double*>(seam.points.data()), seam.points.size(), 3, self),
            seam.length));
    }
    return seams;
}

// The surface cut along the seams: positions, corners counted from 1, and the piece on each triangle.
py::tuple claimsOf(const py::object& self) {
    const PieceSet& set = py::cast<const HeldCover&>(self).set;
    const Mould& claims = *set.claims;
    return py::make_tuple(
        rowsOf(reinterpret_cast<const double*>(claims.positions.data()), claims.positions.size(), 3, self),
        rowsOf(claims.corners.data(), claims.triangleCount(), 3, self),
        rowsOf(set.claimOf.data(), set.claimOf.size(), 1, self));
}

tool::Settings settingsOf(const HeldCover& held, const Show& show) {
    tool::Settings settings = settingsOf(*held.mould, show);
    settings.trial = held.trial;
    settings.angle = held.wishes.angle;
    settings.cover.wishes = held.wishes;
    return settings;
}

std::string reportOf(const HeldCover& held, const Show& show) {
    return tool::coverJson(settingsOf(held, show), *held.surface, held.set, 0.0);
}

std::vector<std::string> writeCover(const HeldCover& held, const std::string& path, const Show& show) {
    return orOutputError([&] {
        const tool::Settings settings = settingsOf(held, show);
        tool::CoverScene scene{&held.set,
                               held.surface->mould.get(),
                               {},
                               tool::coverJson(settings, *held.surface, held.set, 0.0),
                               tool::captionOf(held.set),
                               held.trial.start};
        std::vector<tool::CutLines> cuts;
        for (const CoverPiece& piece : held.set.pieces) {
            cuts.push_back(tool::cutLinesOf(piece.drape.measures.net, settings.allowance));
        }
        for (std::size_t p = 0; p < cuts.size(); ++p) {
            scene.pieces.push_back(tool::sceneOfPiece(settings, held.set, p, cuts[p], scene.reportJson));
        }
        return tool::writeCoverOutput(path, scene);
    });
}

template <class T>
auto figure(T PieceSet::*value) {
    return [value](const HeldCover& held) { return held.set.*value; };
}

} // namespace

void bindCover(py::module_& module) {
    py::class_<HeldGround, std::shared_ptr<HeldGround>>(module, "CoverGround")
        .def(py::init(&groundOf))
        .def("territory", [](const HeldGround& held, const Point& seed, double angle, const py::object& room,
                             std::size_t darts) { return territoryFrom(held, seed, angle, room, darts); });
    module.def("cover", &coverMould);
    py::class_<HeldCover, std::shared_ptr<HeldCover>>(module, "Cover")
        .def_property_readonly("count", [](const HeldCover& held) { return held.set.pieces.size(); })
        .def_property_readonly("steps", [](const HeldCover& held) { return held.surface->steps; })
        .def_property_readonly("covered_share", figure(&PieceSet::coveredShare))
        .def_property_readonly("overlap_share", figure(&PieceSet::overlapShare))
        .def_property_readonly("largest_shear", figure(&PieceSet::largestShear))
        .def_property_readonly("seam_length", figure(&PieceSet::seamLength))
        .def("piece", &pieceOf)
        .def("seams", seamsOf)
        .def("claims", claimsOf)
        .def("report_json", reportOf)
        .def("write", writeCover);
}

} // namespace drape::python
