// Direct calls of the steps of a run, each on scenes of its own, with the state that it leaves behind.
#include "scene.h"

namespace drape_digest {
namespace {

using List = std::vector<std::int32_t>;

// So many counts of 0 to 3, and one more, so that an empty list has an address.
List crossingCounts(Block& block, std::size_t length) {
    const double crossed = block.oneOf({0.0, 0.2, 0.6});
    List counts(length + 1, 0);
    for (std::int32_t& count : counts)
        count = block.chance(crossed) ? block.within(1, 3) : 0;
    return counts;
}

std::size_t lengthOf(const Front& row) {
    return static_cast<std::size_t>(row[DRAPE_FRONT_LENGTH]);
}

// The lists of a row, filled with what no step writes.
struct RowLists {
    explicit RowLists(std::size_t length)
        : nodes(length + 1, -7), across(length + 1, -7), back(length + 1, -7) {}
    void addTo(Hash& hash) const {
        for (const List* list : {&nodes, &across, &back})
            hash.addAll(*list);
    }
    List nodes, across, back;
};

void finish(Block& block, Scene& scene, std::int32_t result, std::int32_t status, bool whole = true) {
    scene.addTo(block.hash, whole);
    block.outcome(result, status);
}

// The store and the front table.

void storeNode(Block& block, Scene& scene, Kind kind) {
    Vector position = vector(block, kind), normal = unitVector(block, kind);
    if (block.chance(0.3)) { // a squared length about the limits
        const double length2 =
            block.oneOf({1.0 - static_cast<double>(0.003f), 1.0 + static_cast<double>(0.003f), 1.0029, 1.0031,
                         0.9971, 0.9969});
        normal = {0, 0, aboutEdge(block, std::sqrt(length2))};
    }
    const std::int32_t triangle = block.below(9), links = block.within(-1, 3), d1 = scene.anyDirection(block),
                       d2 = scene.anyDirection(block), n1 = scene.anyNodeOrNot(block),
                       n2 = scene.anyNodeOrNot(block);
    std::int32_t status = -7;
    const std::int32_t result =
        uzprsp(position.data(), normal.data(), &triangle, &links, &d1, &n1, &d2, &n2, &status);
    finish(block, scene, result, status);
}

void copyNode(Block& block, Scene& scene, Kind) {
    const std::int32_t n = scene.anyNodeOrNot(block);
    std::int32_t status = -7;
    const std::int32_t result = uzprcp(&n, &status);
    finish(block, scene, result, status);
}

void splitNode(Block& block, Scene& scene, Kind) {
    const std::int32_t n = scene.anyNode(block), d = scene.anyDirection(block);
    std::int32_t status = -7;
    const std::int32_t result = uzprdp(&n, &d, &status);
    finish(block, scene, result, status);
}

void doubleEdge(Block& block, Scene& scene, Kind) {
    const std::int32_t a = scene.anyNode(block),
                       b = block.chance(0.8) ? scene.link(block.within(1, 4), a) : scene.anyNodeOrNot(block);
    std::int32_t status = -7;
    const std::int32_t result = uzprds(&a, &b, &status);
    finish(block, scene, result, status);
}

void frontTable(Block& block, Scene& scene, Kind) {
    for (int k = 0; k < 4; ++k) {
        std::int32_t status = -7, result = 0;
        const int what = block.below(4);
        if (what < 2) {
            List own(DRAPE_FRONT_FIELDS);
            for (std::int32_t& field : own)
                field = block.below(9);
            const std::int32_t position = block.within(-1, scene.frontCount + 2);
            const bool fromTable =
                scene.frontCount > 0 && scene.frontCount < scene.settings.capacity && block.chance(0.3);
            result = uzpraf(fromTable ? scene.front(block.within(1, scene.frontCount)) : own.data(),
                            &position, &status);
            if (result == 1) { // the count stays raised
                finish(block, scene, result, status);
                return;
            }
        } else if (scene.frontCount > 0) {
            const std::int32_t position = scene.anyPosition(block);
            result = uzprrf(&position, &status);
        }
        finish(block, scene, result, status);
    }
}

void fullTable(Block& block) {
    Scene scene(block, {});
    scene.frontCount = scene.settings.capacity - block.below(2);
    const List record = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    const std::int32_t position = block.within(0, scene.frontCount + 2);
    std::int32_t status = -7;
    const std::int32_t result = uzpraf(record.data(), &position, &status);
    finish(block, scene, result, status);
}

void dropRow(Block& block, Scene& scene, Kind) {
    const std::int32_t position = block.within(1, scene.frontCount);
    if (scene.front(position)[DRAPE_FRONT_LENGTH] < scene.grid.count)
        uzprap(&position);
    finish(block, scene, 0, 0);
}

// Placement.

void chooseOnSurface(Block& block, Scene& scene, Kind kind) {
    List found;
    for (int k = block.oneOf({0, 1, 3, 9, 40, 700}); k > 0; --k)
        found.push_back(block.within(1, scene.surface.triCount()));
    const auto foundCount = static_cast<std::int32_t>(found.size());
    found.push_back(0);
    Vector centre = {number(block, kind) + 3.0, number(block, kind) + 3.0, block.chance(0.7) ? 0.0 : 0.5},
           up = block.chance(0.6) ? Vector{0, 0, 1} : unitVector(block, kind), forward = vector(block, kind),
           point = {-7, -7, -7}, normal = {-7, -7, -7};
    if (kind == Kind::whole && block.chance(0.7))
        forward = {block.chance(0.5) ? 1.0 : -2.0, 0, 0};
    const double radius = kind == Kind::any ? block.random.between(0.2, 2.5) : 0.5 * block.within(1, 4);
    Vector back = centre;
    for (double& x : back)
        x -= block.oneOf({0.0, radius, 0.5, number(block, kind)});
    std::int32_t triangle = -7, status = -7;
    const std::int32_t result =
        uzprcm(centre.data(), up.data(), forward.data(), &radius, back.data(), found.data(), &foundCount,
               &scene.settings.tolerance, point.data(), normal.data(), &triangle, &status);
    for (const Vector& v : {forward, point, normal})
        block.hash.addAll(v);
    block.hash.add(triangle);
    block.outcome(result, triangle > 0 ? 1 : 0);
}

void fallBack(Block& block, Scene& scene, Kind kind) {
    List found;
    for (int k = block.oneOf({0, 0, 2, 6, 30}); k > 0; --k)
        found.push_back(block.chance(0.6) && scene.boundaryCount > 0
                            ? scene.edges[3 * static_cast<std::size_t>(block.below(scene.boundaryCount))]
                            : block.within(1, scene.surface.triCount()));
    const auto foundCount = static_cast<std::int32_t>(found.size());
    found.push_back(0);
    const Vector centre = {number(block, kind) + 3.0, number(block, kind) + 3.0,
                           block.chance(0.7) ? 0.0 : 0.5},
                 up = block.chance(0.7) ? Vector{0, 0, 1} : unitVector(block, kind),
                 forward = unitVector(block, kind), back = {0, 0, 0};
    const double radius = kind == Kind::any ? block.random.between(0.2, 2.5) : 0.5 * block.within(1, 6);
    Vector point = {-7, -7, -7}, normal = {-7, -7, -7};
    std::int32_t status = -7;
    const std::int32_t result =
        uzprpf(centre.data(), up.data(), forward.data(), &radius, back.data(), &foundCount, found.data(),
               &scene.settings.tolerance, point.data(), normal.data(), &status);
    block.hash.addAll(point);
    block.hash.addAll(normal);
    block.outcome(result, status);
}

// A circle is moved up past a lone triangle until the fallback takes the other of its two hits, or has none.
void fallbackTurns(Block& block) {
    Surface surface;
    for (int k = 0; k < 9; ++k)
        surface.vertPos.push_back(number(block, Kind::any));
    surface.triVerts = {1, 2, 3};
    joinUp(surface);
    PlainModel model(surface, {});
    const bool closed = model.walkBoundary();
    model.registerModel();
    const Vector from = vector(block, Kind::any), up = unitVector(block, Kind::any);
    Vector forward{};
    double length2 = 0.0;
    for (std::size_t k = 0; k < 3; ++k) {
        forward[k] = (surface.vertPos[k] + surface.vertPos[3 + k] + surface.vertPos[6 + k]) / 3.0 - from[k];
        length2 += forward[k] * forward[k];
    }
    const double radius = block.random.between(0.8, 1.6) * std::sqrt(length2), tolerance = 1e-6;
    for (double& x : forward)
        x /= std::sqrt(length2);
    const std::int32_t none = 0;
    const double turn = turningPoint(-2.0, 2.0, [&](double height) {
        Vector centre = from, point{}, normal{}, back{};
        for (std::size_t k = 0; k < 3; ++k)
            centre[k] += height * up[k];
        std::int32_t status = 0;
        const std::int32_t result = uzprpf(centre.data(), up.data(), forward.data(), &radius, back.data(),
                                           &none, &none, &tolerance, point.data(), normal.data(), &status);
        double above = 0.0;
        for (std::size_t k = 0; k < 3; ++k)
            above += (point[k] - centre[k]) * up[k];
        return result == 1 ? status : above > 0.0 ? 1 : 2;
    });
    block.hash.add(turn);
    block.outcome(closed ? 0 : 1, turn < 2.0 ? 1 : 0);
}

void stepStraight(Block& block, Scene& scene, Kind) {
    const std::int32_t n = scene.anyNode(block),
                       d = block.chance(0.95) ? block.within(1, 4) : block.oneOf({0, 5}),
                       mode = block.within(-1, 3);
    if (block.chance(0.2))
        scene.grid.count = std::min(scene.grid.count, block.within(1, 4));
    std::int32_t status = -7;
    const std::int32_t result = uzprmo(&n, &d, &mode, scene.work.data(), &status);
    block.hash.addAll(scene.work);
    finish(block, scene, result, status);
}

// The tolerances at which a step comes down on another triangle, and the counts of crossings change.
void stepTurns(Block& block) {
    SceneSettings how{Kind::any};
    how.tidy = true;
    Scene scene(block, how);
    const std::int32_t n = scene.anyNode(block), d = block.within(1, 4), mode = 0, count = scene.grid.count;
    const std::int32_t linked = scene.link(d, n);
    const double turn = turningPoint(1e-9, 0.4, [&](double tolerance) {
        scene.settings.tolerance = tolerance;
        scene.registerModel();
        std::int32_t status = -7;
        const std::int32_t result = uzprmo(&n, &d, &mode, scene.work.data(), &status);
        const std::int32_t met = result == 1 ? -status : scene.triangle(scene.grid.count);
        scene.grid.count = count;
        scene.link(d, n) = linked;
        return met;
    });
    block.hash.add(turn);
    const Front row = scene.anyRow(block);
    block.hash.add(turningPoint(1e-9, 0.4, [&](double tolerance) {
        scene.settings.tolerance = tolerance;
        scene.registerModel();
        RowLists lists(lengthOf(row));
        std::int32_t status = -7;
        gzpric(row.data(), lists.nodes.data(), lists.across.data(), lists.back.data(), &status);
        return std::array{lists.across, lists.back};
    }));
    block.outcome(0, turn < 0.4 ? 1 : 0);
}

// The first node of the new row is there; the others follow to one side or the other.
void fillRow(Block& block, Scene& scene, Kind) {
    const std::int32_t d = block.within(1, 4), first = scene.anyNode(block);
    const List row = scene.rowFrom(first, d, 6);
    const auto length = static_cast<std::int32_t>(row.size());
    const std::int32_t pivot = block.within(1, length), none = 0,
                       walk =
                           block.chance(0.9) ? block.oneOf({nextOf(d), previousOf(d)}) : block.within(-1, 6);
    std::int32_t status = -7;
    if (uzprmo(&row[static_cast<std::size_t>(pivot - 1)], &d, &none, scene.work.data(), &status) == 1) {
        finish(block, scene, 1, status);
        return;
    }
    Front record = {d, scene.grid.count, 1, 5, 5, 5, 5, 5, 5, 5};
    const std::int32_t result =
        uzprdf(row.data(), &pivot, &length, &d, &walk, scene.work.data(), record.data(), &status);
    block.hash.addAll(record);
    block.hash.addAll(scene.work);
    finish(block, scene, result, status);
}

// Rows.

void choosePivot(Block& block, Scene& scene, Kind) {
    const std::int32_t d = block.within(1, 4);
    List row = scene.rowFrom(scene.anyNode(block), d, 9);
    if (block.chance(0.2))
        shuffle(row, block.random);
    const auto length = block.chance(0.95) ? static_cast<std::int32_t>(row.size()) : 0;
    const std::int32_t request =
        block.chance(0.6) ? 0 : block.oneOf({-1, -2, -3, scene.anyNode(block), row[0], row.back()});
    std::int32_t pivot = -7, status = -7;
    const std::int32_t result = uzprpi(row.data(), &length, &d, &request, &pivot, &status);
    block.hash.add(pivot);
    block.outcome(result, status);
}

void newRow(Block& block, Scene& scene, Kind) {
    const std::int32_t position = block.within(1, scene.frontCount);
    Front record;
    record.fill(-7);
    std::int32_t status = -7;
    const std::int32_t result = gzprnf(&position, scene.work.data(), record.data(), &status);
    block.hash.addAll(record);
    block.hash.addAll(scene.work);
    finish(block, scene, result, status);
}

template <class Operation>
void wholeRow(Block& block, Scene& scene, Operation operation) {
    const std::int32_t position = block.within(1, scene.frontCount);
    Front record;
    record.fill(-7);
    RowLists lists(static_cast<std::size_t>(scene.front(position)[DRAPE_FRONT_LENGTH]));
    std::int32_t status = -7;
    const std::int32_t result = operation(&position, record.data(), lists.nodes.data(), lists.across.data(),
                                          lists.back.data(), &status);
    block.hash.addAll(record);
    lists.addTo(block.hash);
    finish(block, scene, result, status);
}
void completeRow(Block& block, Scene& scene, Kind) {
    wholeRow(block, scene, gzprpf);
}
void trialRow(Block& block, Scene& scene, Kind) {
    wholeRow(block, scene, gzprfm);
}

void rowCrossings(Block& block, Scene& scene, Kind) {
    const Front row = scene.anyRow(block);
    RowLists lists(lengthOf(row));
    std::int32_t status = -7;
    const std::int32_t result =
        gzpric(row.data(), lists.nodes.data(), lists.across.data(), lists.back.data(), &status);
    lists.addTo(block.hash);
    block.outcome(result, status);
}

void segmentCrossings(Block& block, Scene&, Kind kind) {
    const double height = block.oneOf({0.0, 0.0, 0.25, 0.5, 1.0});
    const Vector a = {number(block, kind) + 2.0, number(block, kind) + 2.0, height};
    Vector b = {number(block, kind) + 4.0, number(block, kind) + 4.0, block.chance(0.7) ? height : 0.0};
    if (block.chance(0.3))
        b[1] = a[1];
    const double cell = aboutEdge(block, block.oneOf({0.5, 1.0, 2.0, 3.0}));
    const std::int32_t off = block.chance(0.5) ? 0 : -1;
    std::int32_t count = -7, status = -7;
    const std::int32_t result = uzprxb(a.data(), b.data(), &cell, &off, &count, &status);
    block.hash.add(count);
    block.outcome(result, status);
}

void classify(Block& block, Scene& scene, Kind) {
    const Front row = scene.anyRow(block);
    const List across = crossingCounts(block, lengthOf(row)), back = crossingCounts(block, lengthOf(row));
    const std::int32_t side = block.below(2);
    std::int32_t status = -7;
    const std::int32_t result = gzprip(row.data(), &side, across.data(), back.data(), &status);
    finish(block, scene, result, status);
}

// Fronts.

void extend(Block& block, Scene& scene, Kind) {
    Front front = scene.anyRow(block);
    front[DRAPE_FRONT_LENGTH] += block.chance(0.1) ? 1 : 0;
    if (block.chance(0.7)) // mostly nothing has been built on the row yet
        for (std::int32_t n = 1; n <= scene.grid.count; ++n)
            if (block.chance(0.8))
                scene.link(front[DRAPE_FRONT_DIRECTION], n) = 0;
    std::int32_t status = -7;
    const std::int32_t result = gzpref(front.data(), &status);
    block.hash.addAll(front);
    finish(block, scene, result, status);
}

void detect(Block& block, Scene& scene, Kind) {
    Front row = scene.anyRow(block);
    if (block.chance(0.05))
        row[DRAPE_FRONT_DIRECTION] = block.oneOf({0, 5});
    const List across = crossingCounts(block, lengthOf(row));
    std::int32_t flag = -7, status = -7, defect[DRAPE_DEFECT_FIELDS] = {-7, -7, -7, -7, -7};
    const std::int32_t result = gzprde(row.data(), across.data(), &flag, defect, &status);
    block.hash.add(flag);
    block.hash.add(defect, DRAPE_DEFECT_FIELDS);
    block.outcome(result, flag * 10 + status);
}

void tryRow(Block& block, Scene& scene, Kind) {
    const std::int32_t position = block.within(1, scene.frontCount);
    std::int32_t flag = -7, status = -7, defect[DRAPE_DEFECT_FIELDS] = {-7, -7, -7, -7, -7};
    const std::int32_t result = gzprre(&position, &flag, defect, &status);
    block.hash.add(flag);
    block.hash.add(defect, DRAPE_DEFECT_FIELDS);
    finish(block, scene, result, status, false);
}

// Records of defects on the front at `position`, as a table for more than one would hold them.
List defectsOn(Block& block, Scene& scene, std::int32_t position, std::int32_t count) {
    const std::int32_t* front = scene.front(position);
    const List row = scene.nodesOf(front);
    List table(10 * DRAPE_DEFECT_FIELDS, 0);
    std::size_t at = 0;
    for (std::size_t k = 0; k < static_cast<std::size_t>(count); ++k) {
        std::int32_t* record = &table[k * DRAPE_DEFECT_FIELDS];
        at = std::min(at + static_cast<std::size_t>(block.below(2)), row.size() - 1);
        record[DRAPE_DEFECT_KIND] = block.chance(0.95) ? block.within(1, 4) : block.oneOf({0, 5});
        record[DRAPE_DEFECT_NODE] = block.chance(0.9) ? row[at] : scene.anyNode(block);
        record[DRAPE_DEFECT_TWIN] = -7;
        const std::int32_t follower = at + 1 < row.size() ? row[at + 1] : 0;
        record[DRAPE_DEFECT_NEXT_NODE] = block.chance(0.9) ? follower : scene.anyNodeOrNot(block);
        ++at;
    }
    return table;
}

template <class Operation>
void cutFront(Block& block, Scene& scene, Operation operation) {
    std::int32_t position = block.within(1, scene.frontCount);
    std::int32_t count = block.within(0, 3), status = -7;
    List defects = defectsOn(block, scene, position, count);
    if (block.chance(0.03))
        scene.front(position)[DRAPE_FRONT_LENGTH] = block.oneOf({0, 9});
    const std::int32_t result = operation(&position, &count, defects.data(), &status);
    block.hash.add(position);
    block.hash.add(count);
    block.hash.addAll(defects);
    finish(block, scene, result, status);
}
void cutAtNodes(Block& block, Scene& scene, Kind) {
    cutFront(block, scene, uzprce);
}
void cutAtGaps(Block& block, Scene& scene, Kind) {
    cutFront(block, scene, uzprcl);
}

// A row is built, and taken for one with so many defects; all or the first of the records are looked at.
void repairRow(Block& block, Scene& scene, std::int32_t count, bool allRecords) {
    std::int32_t position = block.within(1, scene.frontCount), status = -7;
    Front record{};
    RowLists lists(static_cast<std::size_t>(scene.front(position)[DRAPE_FRONT_LENGTH]));
    if (gzprpf(&position, record.data(), lists.nodes.data(), lists.across.data(), lists.back.data(),
               &status) == 1) {
        block.outcome(1, status);
        return;
    }
    List defects = defectsOn(block, scene, position, count);
    const std::int32_t result = gzprge(&position, &count, defects.data(), &status);
    block.hash.add(position);
    block.hash.add(count);
    block.hash.add(defects.data(), allRecords ? defects.size() : std::size_t{DRAPE_DEFECT_FIELDS});
    finish(block, scene, result, status, false);
}
void repair(Block& block, Scene& scene, Kind) {
    repairRow(block, scene, 1, false);
}

// The records beyond the live ones come from the call before, back to one that brought all of them.
void repairsInARow(Block& block) {
    for (const std::int32_t count : {10, 3, 1, 0}) {
        Scene scene(block, {Kind::any, true});
        repairRow(block, scene, count, count < 10);
    }
}

void segmentRow(Block& block, Scene& scene, Kind) {
    const Front row = scene.anyRow(block);
    const List across = crossingCounts(block, lengthOf(row));
    std::int32_t position = block.within(1, scene.frontCount), status = -7;
    const std::int32_t result = gzprgf(row.data(), &position, across.data(), &status);
    block.hash.add(position);
    finish(block, scene, result, status);
}

void lookForCorners(Block& block, Scene& scene, Kind) {
    const std::int32_t position = block.within(1, scene.frontCount);
    std::int32_t* front = scene.front(position);
    for (int tries = 0; tries < 9; ++tries) { // mostly with two rows behind the front
        const Front any = scene.anyRow(block);
        const std::int32_t back = oppositeOf(any[DRAPE_FRONT_DIRECTION]),
                           behind = scene.link(back, any[DRAPE_FRONT_FIRST_NODE]);
        if (behind < 1 || behind > scene.settings.capacity || scene.link(back, behind) == 0)
            continue;
        std::copy(any.begin(), any.end(), front);
        break;
    }
    for (std::int32_t n = 1; n <= scene.grid.count; ++n)
        scene.status(n) = scene.foreign ? block.oneOf({0, 0, 0, -1, -1, -2, -3, 1, -4})
                                        : block.oneOf({0, 0, 0, -1, -1, -2, -3});
    // The row may reach beyond the front to both sides, or hold a node twice.
    List row = scene.rowFrom(front[DRAPE_FRONT_FIRST_NODE], front[DRAPE_FRONT_DIRECTION], 9);
    if (block.chance(0.3))
        row.insert(row.begin(), scene.anyNode(block));
    if (block.chance(0.2))
        row.push_back(row[static_cast<std::size_t>(block.below(static_cast<int>(row.size())))]);
    const auto length = static_cast<std::int32_t>(row.size());
    const List across = crossingCounts(block, row.size()), back = crossingCounts(block, row.size());
    List corners(2 * DRAPE_CORNER_FIELDS, -7);
    std::int32_t count = -7, status = -7;
    const std::int32_t result =
        gzprld(row.data(), across.data(), back.data(), &length, &position, corners.data(), &count, &status);
    // Fields that mean nothing for their kind are left out.
    for (std::size_t k = 0; k < static_cast<std::size_t>(count); ++k)
        for (std::size_t field = 0; field < DRAPE_CORNER_FIELDS; ++field) {
            const bool last = corners[k * DRAPE_CORNER_FIELDS + DRAPE_CORNER_KIND] > 3;
            if (last || (field != DRAPE_CORNER_PRIOR_NODE && field != DRAPE_CORNER_LAST_NODE))
                block.hash.add(corners[k * DRAPE_CORNER_FIELDS + field]);
        }
    const std::int32_t kind = count > 0 ? corners[DRAPE_CORNER_KIND] : 0;
    block.outcome(result, count == 2 ? 10 * corners[DRAPE_CORNER_FIELDS + DRAPE_CORNER_KIND] + kind : kind);
    block.hash.add(status);
}

void openCorners(Block& block, Scene& scene, Kind) {
    const std::int32_t count = block.within(0, 2);
    List corners;
    for (std::int32_t k = 0; k < count; ++k) {
        const std::int32_t position = block.within(1, scene.frontCount), *front = scene.front(position),
                           d = front[DRAPE_FRONT_DIRECTION], kind = block.within(k == 0 ? 0 : 1, 7);
        const List row = scene.nodesOf(front);
        const std::int32_t end = kind < 4 ? row.front() : row.back(), back = scene.link(oppositeOf(d), end);
        corners.insert(corners.end(),
                       {kind < 4 ? previousOf(d) : nextOf(d), block.chance(0.9) ? back : scene.anyNode(block),
                        row.size() > 1 && block.chance(0.9) ? row[row.size() - 2] : 0, kind, row.front(),
                        row.back(),
                        block.chance(0.95) ? position : block.oneOf({0, scene.frontCount + 1, 40})});
    }
    corners.push_back(0);
    std::int32_t status = -7;
    const std::int32_t result = gzprlc(corners.data(), &count, &status);
    finish(block, scene, result, status);
}

// Walks the boundary in a table of all vertices' size or less.
void walkChain(Block& block, const Surface& surface) {
    const std::int32_t triCount = surface.triCount(), vertCount = surface.vertCount(),
                       vertTriCount = surface.vertTriCount();
    std::int32_t room = block.chance(0.9) ? vertCount : block.within(-1, vertCount), status = -7;
    List edges(3 * static_cast<std::size_t>(vertCount), -7);
    std::vector<double> normals(edges.size(), -7.0);
    const std::int32_t result =
        gzprel(surface.vertBoundary.data(), &triCount, &vertCount, &vertTriCount, surface.vertTriStart.data(),
               surface.vertTriList.data(), surface.triVerts.data(), surface.vertPos.data(), &room,
               edges.data(), normals.data(), &status);
    block.hash.add(room);
    block.hash.addAll(edges);
    block.hash.addAll(normals);
    block.outcome(result, status);
}

// The boundary of any mesh under any flags, in tables of any size.
void boundaryChains(Block& block, Kind kind) {
    Surface surface = sceneMesh(block, kind);
    if (block.chance(0.3))
        for (std::int32_t& flag : surface.vertBoundary)
            flag = block.chance(0.15) ? block.within(0, 2) : flag;
    if (block.chance(0.1)) // triangles that are there twice, wings on an edge
        for (int k = 0; k < 3; ++k) {
            const auto t = 3 * static_cast<std::size_t>(block.below(surface.triCount()));
            surface.triVerts.insert(
                surface.triVerts.end(),
                {surface.triVerts[t], surface.triVerts[t + 1],
                 block.chance(0.5) ? surface.triVerts[t + 2] : block.within(1, surface.vertCount())});
            joinUp(surface);
        }
    if (block.chance(0.1)) {
        const std::int32_t vertex = block.within(1, std::min(4, surface.vertCount()));
        repeatFan(surface, vertex, block.within(1, surface.vertCount()));
    }
    walkChain(block, surface);
}

// Few vertices and any triangles between them: edges with three wings, bow ties, vertices of many sheets.
void tangledChains(Block& block) {
    Surface surface;
    const int vertices = block.within(4, 8);
    for (int k = 0; k < 3 * vertices; ++k)
        surface.vertPos.push_back(number(block, Kind::halves));
    for (int t = block.within(2, 9); t > 0; --t) {
        const int a = block.within(1, vertices), b = a % vertices + 1, c = block.within(1, vertices);
        surface.triVerts.insert(surface.triVerts.end(), {a, b, c == a || c == b ? b % vertices + 1 : c});
    }
    joinUp(surface);
    if (block.chance(0.8))
        for (std::int32_t& flag : surface.vertBoundary)
            flag = 1;
    walkChain(block, surface);
}

// Boundaries of one and two edges, which no walk makes.
void shortBoundary(Block& block) {
    const Kind kind = block.oneOf({Kind::whole, Kind::halves, Kind::any});
    Scene scene(block, {kind, true});
    scene.boundaryCount = std::min(scene.boundaryCount, block.within(1, 2));
    scene.registerModel();
    if (block.chance(0.5))
        fallBack(block, scene, kind);
    else
        segmentCrossings(block, scene, kind);
}

// Values are copied at registration; arrays and counters are held.
void registration(Block& block) {
    Scene scene(block, {Kind::any, true});
    scene.settings.stepA = scene.settings.stepB = 77.0;
    scene.settings.tolerance = 5.0;
    scene.settings.capacity = 4;
    std::fill(scene.settings.warp, scene.settings.warp + 3, 0.0);
    scene.settings.byGridLine = 1 - scene.settings.byGridLine;
    scene.boundaryCount = 1;
    newRow(block, scene, Kind::any);
}

struct Step {
    const char* name;
    int calls;
    void (*run)(Block&, Scene&, Kind);
};
constexpr Step STEPS[] = {{"store a node", 300, storeNode},
                          {"copy a node", 100, copyNode},
                          {"split a node", 250, splitNode},
                          {"double an edge", 250, doubleEdge},
                          {"front table", 150, frontTable},
                          {"drop a row", 100, dropRow},
                          {"choose on the surface", 500, chooseOnSurface},
                          {"fall back to the boundary", 500, fallBack},
                          {"step straight", 700, stepStraight},
                          {"fill a row", 700, fillRow},
                          {"choose a pivot", 700, choosePivot},
                          {"new row", 400, newRow},
                          {"complete a row", 500, completeRow},
                          {"row crossings", 400, rowCrossings},
                          {"segment crossings", 800, segmentCrossings},
                          {"classify a row", 500, classify},
                          {"extend a front", 500, extend},
                          {"detect a defect", 600, detect},
                          {"trial row", 300, trialRow},
                          {"try a row", 300, tryRow},
                          {"cut at nodes and edges", 500, cutAtNodes},
                          {"cut at gaps", 500, cutAtGaps},
                          {"repair a front", 500, repair},
                          {"cut a row into fronts", 500, segmentRow},
                          {"look for corners", 900, lookForCorners},
                          {"open corners", 600, openCorners}};
constexpr Step LONG_STEPS[] = {
    {"choose a pivot", 40, choosePivot},       {"complete a row", 40, completeRow},
    {"classify a row", 80, classify},          {"extend a front", 80, extend},
    {"detect a defect", 40, detect},           {"cut at gaps", 40, cutAtGaps},
    {"cut a row into fronts", 80, segmentRow}, {"look for corners", 60, lookForCorners}};
constexpr Step STRAY_STEPS[] = {{"row crossings", 100, rowCrossings},
                                {"classify a row", 100, classify},
                                {"cut a row into fronts", 100, segmentRow}};

} // namespace

void reportSteps(Report& report) {
    for (const Kind kind : {Kind::whole, Kind::halves, Kind::any}) {
        for (const Step& step : STEPS)
            for (const bool tidy : {true, false})
                reportBlocks(report, std::string(step.name) + (tidy ? " tidy " : " astray ") + nameOf(kind),
                             2, step.calls, [&](Block& block) {
                                 Scene scene(block, {kind, tidy});
                                 step.run(block, scene, kind);
                             });
        for (const Step& step : STEPS)
            reportBlocks(report, std::string(step.name) + " foreign " + nameOf(kind), 1, step.calls / 2,
                         [&](Block& block) {
                             SceneSettings how{kind};
                             how.tidy = block.chance(0.5);
                             how.foreign = true;
                             Scene scene(block, how);
                             step.run(block, scene, kind);
                         });
        for (const Step& step : LONG_STEPS)
            reportBlocks(report, std::string(step.name) + " long " + nameOf(kind), 1, step.calls,
                         [&](Block& block) {
                             Scene scene(block, {kind, true, true});
                             step.run(block, scene, kind);
                         });
        for (const Step& step : STRAY_STEPS)
            reportBlocks(report, std::string(step.name) + " in no direction " + nameOf(kind), 1, step.calls,
                         [&](Block& block) {
                             Scene scene(block, {kind, true});
                             scene.strayRows = true;
                             step.run(block, scene, kind);
                         });
        reportBlocks(report, std::string("boundary chain ") + nameOf(kind), 4, 400,
                     [&](Block& block) { boundaryChains(block, kind); });
    }
    reportBlocks(report, "tangled boundary chain", 3, 3000, tangledChains);
    reportBlocks(report, "turning points of the fallback", 2, 500, fallbackTurns, "found");
    reportBlocks(report, "turning points of steps and rows", 3, 150, stepTurns, "found");
    reportBlocks(report, "full front table", 1, 60, fullTable);
    reportBlocks(report, "repairs in a row", 1, 60, repairsInARow);
    reportBlocks(report, "short boundary", 2, 500, shortBoundary);
    reportBlocks(report, "registration copies values", 1, 60, registration);
}

} // namespace drape_digest
