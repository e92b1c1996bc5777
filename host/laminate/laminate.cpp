// Plies that ask for the same drape share it: a laminate of two hundred plies has a handful of angles.
// Without build-up the drapes don't wait for each other; with it each ply waits for those below.
#include "host/laminate/laminate.h"

#include "drape.h"
#include "host/cloth/status_text.h"
#include "host/laminate/build_up.h"
#include "host/mesh/error.h"
#include "host/mesh/text.h"
#include "host/search/default_start.h"

#include <algorithm>
#include <array>

namespace drape::host {

using namespace vec;

namespace {

// What two plies must have in common to share a surface.
std::vector<double> surfaceKey(const PlyWish& ply) {
    const Point side = ply.side.value_or(Point{});
    return {side[0], side[1], side[2], ply.stepA.value_or(0.0), ply.stepB.value_or(0.0)};
}

// One drape for all plies that share it.
struct Job {
    std::size_t ply = 0; // the first of them
    std::shared_ptr<const Trial> trial;
    std::shared_ptr<const PieceSet> pieces;
    std::string trouble;
    Notes notes;
};

PlyCloth clothOf(const LaidPly& ply, const std::optional<PieceClaims>& claims) {
    return {ply.drapes(), ply.region, claims ? &*claims : nullptr};
}

std::optional<PieceClaims> claimsOf(const LaidPly& ply) {
    return ply.pieces ? std::optional<PieceClaims>(std::in_place, *ply.pieces) : std::nullopt;
}

class Layer {
public:
    Layer(const PolygonSoup& soup, const LaminateWishes& wishes, const ForEach& forEach)
        : soup_(soup), wishes_(wishes), forEach_(forEach) {}

    TrialWishes trialWishes(const PlyWish& ply) const {
        TrialWishes trial = wishes_.trial;
        if (ply.stepA) {
            trial.start.stepA = ply.stepA;
            trial.start.stepB = ply.stepB;
        }
        trial.start.pivotByGridLine = ply.pivotByGridLine.value_or(trial.start.pivotByGridLine);
        trial.lockingAngle = ply.cloth.lockingAngle.value_or(trial.lockingAngle);
        return trial;
    }

    // What two plies must have in common to share a drape.
    std::vector<double> drapeKey(const PlyWish& ply) const {
        std::vector<double> key = surfaceKey(ply);
        const Point seed = ply.seed.value_or(Point{});
        const std::size_t darts = dartsOf(ply);
        key.insert(key.end(), {seed[0], seed[1], seed[2], ply.seed ? 1.0 : 0.0, ply.angle,
                               ply.pivotByGridLine ? (*ply.pivotByGridLine ? 1.0 : 0.0) : 2.0,
                               ply.cloth.lockingAngle.value_or(-1.0), ply.pieces.value_or(0.0),
                               static_cast<double>(ply.mostPieces.value_or(0)), static_cast<double>(darts),
                               ply.pieces || darts > 0 ? ply.cloth.width.value_or(0.0) : 0.0});
        return key;
    }

    Surface surfaceFor(const PlyWish& ply, Notes& notes) const {
        SurfaceWishes surface = wishes_.surface;
        surface.side = ply.side ? ply.side : surface.side;
        surface.startsInMiddle = wishes_.startAtMiddle && !ply.seed;
        return preparedSurface(soup_, surface, trialWishes(ply).start, notes);
    }

    void drape(const PlyWish& ply, const Surface& surface, Job& job) const {
        const TrialWishes trial = trialWishes(ply);
        try {
            if (ply.pieces) {
                cover(ply, surface, trial, job);
                return;
            }
            const bool looks = !ply.seed && !wishes_.surface.seed && !wishes_.startAtMiddle;
            const Point seed = ply.seed ? *ply.seed
                               : looks  ? bestStart(surface, trial, ply.angle, forEach_)
                                        : surface.defaultSeed;
            job.trial = std::make_shared<const Trial>(drapeFrom(surface, trial, seed, ply.angle, job.notes));
            if (dartsOf(ply) > 0) {
                slit(ply, surface, trial, job);
                return;
            }
            if (job.trial->grid.status != DRAPE_OK) {
                job.trouble = "the run ended with code " + std::to_string(job.trial->grid.status) + ": " +
                              textOfStatus(job.trial->grid.status).meaning;
            }
        } catch (const std::bad_alloc&) {
            job.trouble = "there isn't enough memory for it";
        } catch (const std::exception& error) {
            job.trouble = error.what();
        }
    }

private:
    std::size_t dartsOf(const PlyWish& ply) const {
        return ply.region.empty() ? ply.darts.value_or(wishes_.cover.darts) : 0;
    }

    CoverWishes coverWishes(const PlyWish& ply) const {
        CoverWishes wishes = wishes_.cover;
        wishes.angle = ply.angle;
        wishes.most[1] = ply.cloth.width.value_or(wishes.most[1]);
        wishes.darts = dartsOf(ply);
        return wishes;
    }

    // What is good of a drape around its seed, in its place.
    void slit(const PlyWish& ply, const Surface& surface, const TrialWishes& trial, Job& job) const {
        const PieceStart start{job.trial->choice.seed, job.trial->angle};
        job.trial.reset();
        PieceSet set = pieceFrom(surface, trial, coverWishes(ply), start, forEach_);
        if (set.pieces.empty()) {
            job.trouble =
                "none of its cloth is good around its start; another seed or smaller cells (step) may do";
            return;
        }
        job.pieces = std::make_shared<const PieceSet>(std::move(set));
    }

    void cover(const PlyWish& ply, const Surface& surface, const TrialWishes& trial, Job& job) const {
        CoverWishes wishes = coverWishes(ply);
        wishes.share = *ply.pieces;
        wishes.mostPieces = ply.mostPieces.value_or(wishes.mostPieces);
        tellOfSlenderCells(surface.steps, job.notes);
        PieceSet set = coveredBy(surface, trial, wishes, spreadBy(forEach_), forEach_, nullptr, false);
        if (set.pieces.empty()) {
            job.trouble = "no piece was found that drapes; smaller cells or cells nearer to square (step) may";
            return;
        }
        if (set.coveredShare < wishes.share) {
            const std::string covered = " cover " + number(100.0 * set.coveredShare, 4) + " % of the ";
            tell(job.notes, NoteKind::coverShort,
                 ply.mostPieces ? counted(set.pieces.size(), "piece", "pieces") + " of at most " +
                                      std::to_string(*ply.mostPieces) + covered + "mould"
                                : "its pieces" + covered + number(100.0 * wishes.share, 4) + " % asked for");
        }
        job.pieces = std::make_shared<const PieceSet>(std::move(set));
    }

    const PolygonSoup& soup_;
    const LaminateWishes& wishes_;
    const ForEach& forEach_;
};

void takeDrape(LaidPly& ply, const Job& job) {
    ply.trial = job.trial;
    ply.pieces = job.pieces;
    ply.trouble = job.trouble;
}

void takeRegion(LaidPly& ply, const RegionCurves& regions) {
    const auto curve = regions.find(ply.wish.region);
    if (curve == regions.end() || !ply.trial) {
        return;
    }
    try {
        const Trial& trial = *ply.trial;
        ply.curves.push_back(carryOver(curve->second, *trial.mould, trial.choice, trial.grid, trial.measures,
                                       false, ply.notes));
        const CurveStretch& stretch = ply.curves.front().stretches.front();
        ply.region = stretch.flat;
    } catch (const std::exception& error) {
        ply.trial.reset();
        ply.curves.clear();
        ply.trouble = "its region " + ply.wish.region + " can't be laid onto it: " + error.what();
    }
}

void takeFibres(LaidPly& ply, const Laminate& laminate, const std::vector<Facet>& facets) {
    if (ply.isLaid()) {
        const auto claims = claimsOf(ply);
        ply.fibres =
            fibresOnElements(clothOf(ply, claims), laminate.shell, laminate.frames, facets, laminate.rosette);
    }
}

// Whether a surface of the laminate's elements faces the same way as those of plies that name no side.
bool facesOwnSide(const Mould& mould, const Laminate& laminate) {
    const auto facets = facetsOf(mould, laminate.shell.elements.size());
    double alike = 0.0;
    for (std::size_t e = 0; e < facets.size(); ++e) {
        alike += facets[e].area * dot(facets[e].normal, laminate.facets[e].normal);
    }
    return alike >= 0.0;
}

// All plies on the bare mould.
void layOnMould(Laminate& laminate, const Layer& layer, const RegionCurves& regions, const ForEach& forEach,
                Notes& notes) {
    std::map<std::vector<double>, Surface> surfaces;
    std::map<std::vector<double>, std::string> unfit;
    std::map<std::vector<double>, std::size_t> jobOf;
    std::vector<Job> jobs;
    for (std::size_t p = 0; p < laminate.plies.size(); ++p) {
        const PlyWish& wish = laminate.plies[p].wish;
        const auto key = surfaceKey(wish);
        if (!wish.trouble.empty()) {
            continue;
        }
        if (surfaces.count(key) == 0 && unfit.count(key) == 0) {
            try {
                Notes untold;
                surfaces.emplace(key, layer.surfaceFor(wish, surfaces.empty() ? notes : untold));
            } catch (const InputError& error) {
                unfit.emplace(key, error.what());
            }
        }
        if (jobOf.emplace(layer.drapeKey(wish), jobs.size()).second) {
            jobs.push_back({p, nullptr, nullptr, unfit.count(key) > 0 ? unfit[key] : "", {}});
        }
    }
    forEach(jobs.size(), [&](std::size_t k) {
        const PlyWish& wish = laminate.plies[jobs[k].ply].wish;
        const auto surface = surfaces.find(surfaceKey(wish));
        if (surface != surfaces.end()) {
            layer.drape(wish, surface->second, jobs[k]);
        }
    });
    forEach(laminate.plies.size(), [&](std::size_t p) {
        LaidPly& ply = laminate.plies[p];
        if (!ply.wish.trouble.empty()) {
            return;
        }
        const Job& job = jobs[jobOf.at(layer.drapeKey(ply.wish))];
        takeDrape(ply, job);
        if (job.ply == p) {
            ply.notes = job.notes;
        }
        const auto surface = surfaces.find(surfaceKey(ply.wish));
        if (surface != surfaces.end()) {
            ply.onOtherSide = !facesOwnSide(*surface->second.mould, laminate);
            takeRegion(ply, regions);
            takeFibres(ply, laminate, facetsOf(*surface->second.mould, laminate.shell.elements.size()));
        }
    });
}

// Per triangle of a mould, what lies on its element.
Thickness thicknessOver(const Mould& mould, const std::vector<double>& onElement) {
    Thickness thickness(mould.triangleCount(), 0.0);
    for (std::size_t t = 0; t < thickness.size(); ++t) {
        const std::int32_t element = mould.sourceFaces[t];
        thickness[t] = element > 0 ? onElement[at(element) - 1] : 0.0;
    }
    return thickness;
}

// Each ply on those below it. A ply on the other side begins on the bare mould there.
void layOnEachOther(Laminate& laminate, const Layer& layer, const RegionCurves& regions, Notes& notes) {
    std::map<bool, std::vector<double>> below; // thickness per element, on the mould's own side and the other
    std::map<std::vector<double>, Surface> bare;
    for (LaidPly& ply : laminate.plies) {
        if (!ply.wish.trouble.empty()) {
            continue;
        }
        Job job;
        try {
            const auto key = surfaceKey(ply.wish);
            Notes untold;
            if (bare.count(key) == 0) {
                bare.emplace(key, layer.surfaceFor(ply.wish, bare.empty() ? notes : untold));
            }
            const Mould& mould = *bare.at(key).mould;
            ply.onOtherSide = !facesOwnSide(mould, laminate);
            auto& thickness = below[ply.onOtherSide];
            thickness.resize(laminate.shell.elements.size(), 0.0);
            const Surface surface = builtUp(bare.at(key), thicknessOver(mould, thickness), job.notes);
            layer.drape(ply.wish, surface, job);
            takeDrape(ply, job);
            ply.notes = job.notes;
            takeRegion(ply, regions);
            takeFibres(ply, laminate, facetsOf(*surface.mould, laminate.shell.elements.size()));
            for (std::size_t e = 0; e < thickness.size(); ++e) {
                thickness[e] += ply.thicknessOn(e);
            }
        } catch (const InputError& error) {
            ply.trouble = error.what();
        }
    }
}

// The direction from which angles count, wherever on the mould: as it was asked for, else along x, or along y
// where the mould stands across x at the start.
Point rosetteOf(const StartWishes& start, const Surface& surface) {
    constexpr double upright = 0.9998; // of the normal along x, as for a drape's usual start
    if (start.rosette || start.warp) {
        return unit(start.rosette ? *start.rosette : *start.warp);
    }
    const SurfacePoint seed = nearestPoint(*surface.mould, surface.defaultSeed);
    const bool across = std::abs(surface.mould->facets[seed.triangle].normal[0]) > upright;
    return across ? Point{0.0, 1.0, 0.0} : Point{1.0, 0.0, 0.0};
}

} // namespace

std::vector<const Trial*> LaidPly::drapes() const {
    std::vector<const Trial*> all;
    if (trial) {
        all.push_back(trial.get());
    }
    for (std::size_t p = 0; pieces && p < pieces->pieces.size(); ++p) {
        all.push_back(&pieces->pieces[p].drape);
    }
    return all;
}

Laminate laid(const ShellMesh& shell, const std::vector<PlyWish>& plies, const LaminateWishes& wishes,
              const RegionCurves& regions, const ForEach& forEach, Notes& notes) {
    Laminate laminate;
    laminate.shell = shell;
    laminate.frames = framesOf(shell);
    for (const PlyWish& wish : plies) {
        LaidPly& ply = laminate.plies.emplace_back();
        ply.wish = wish;
        ply.trouble = wish.trouble;
    }
    const PolygonSoup soup = soupOf(shell);
    const Layer layer(soup, wishes, forEach);
    Notes untold;
    const Surface mould = layer.surfaceFor({}, untold);
    laminate.facets = facetsOf(*mould.mould, shell.elements.size());
    laminate.rosette = rosetteOf(wishes.trial.start, mould);
    laminate.mould = mould.mould;
    laminate.side = mould.side;
    if (wishes.buildUp) {
        layOnEachOther(laminate, layer, regions, notes);
    } else {
        layOnMould(laminate, layer, regions, forEach, notes);
    }
    return laminate;
}

CoreSample coreAt(const Laminate& laminate, const Point& place) {
    CoreSample core;
    const SurfacePoint nearest = nearestPoint(*laminate.mould, place);
    core.asked = place;
    core.place = nearest.position;
    core.distance = nearest.distance;
    core.normal = laminate.mould->facets[nearest.triangle].normal;
    core.element = laminate.mould->sourceFaces[nearest.triangle] - 1;
    double height = 0.0; // of what is known so far above the mould, and how deep below
    double depth = 0.0;
    for (std::size_t p = 0; p < laminate.plies.size(); ++p) {
        const LaidPly& ply = laminate.plies[p];
        if (!ply.isLaid()) {
            continue;
        }
        const Mould& under = ply.pieces ? *ply.pieces->claims : *ply.trial->mould;
        const SurfacePoint on = nearestPoint(under, core.place);
        Facet facet = under.facets[on.triangle];
        facet.centroid = on.position;
        CoreLayer layer;
        layer.ply = p;
        const auto claims = claimsOf(ply);
        layer.fibres = fibresAt(clothOf(ply, claims), facet, laminate.rosette);
        // Beyond the last cells the element has what it was given.
        if (layer.fibres.cover == ElementCover::none && core.element >= 0 &&
            ply.fibres[at(core.element)].cover == ElementCover::carried) {
            layer.fibres = ply.fibres[at(core.element)];
        }
        if (layer.fibres.cover != ElementCover::none) {
            layer.thickness = ply.wish.cloth.thickness * layer.fibres.thickness;
            layer.onOtherSide = dot(facet.normal, core.normal) < 0.0;
            depth += layer.onOtherSide ? layer.thickness : 0.0;
            layer.bottom = layer.onOtherSide ? -depth : height;
            height += layer.onOtherSide ? 0.0 : layer.thickness;
            core.layers.insert(layer.onOtherSide ? core.layers.begin() : core.layers.end(), layer);
        }
    }
    core.thickness = depth + height;
    return core;
}

} // namespace drape::host
