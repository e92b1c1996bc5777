// The model of one run and its node store.
//
// A model holds the mesh, the grid arrays of the caller and the table of live fronts. Nodes are only ever
// appended, rows are dropped from the end, and neighbours are reached by links in four directions, clockwise
// 1 to 4. All node, triangle and vertex numbers are 1-based, 0 is none. A whole run works on a model of its
// own, so that runs in several threads don't meet; operations called one by one share the process's model.
#pragma once

#include "drape.h"
#include "services/vectors.h"

#include <cstdint>

namespace drape {

struct RunIndices;

constexpr std::int32_t next(std::int32_t d) {
    return d == 4 ? 1 : d + 1;
}
constexpr std::int32_t previous(std::int32_t d) {
    return d == 1 ? 4 : d - 1;
}
constexpr std::int32_t opposite(std::int32_t d) {
    return d > 2 ? d - 2 : d + 2;
}
constexpr bool isDirection(std::int32_t d) {
    return d >= 1 && d <= 4;
}
// Directions 1 and 3 change the grid column, 2 and 4 the grid row.
constexpr bool alongColumns(std::int32_t d) {
    return d == DRAPE_DIRECTION_1 || d == DRAPE_DIRECTION_3;
}

// What statusOf gives for a neighbour that doesn't exist: neither open nor closed.
constexpr std::int32_t NO_STATUS = 999;

enum StepMode : std::int32_t {
    STEP_BY_BOTH_NEIGHBOURS = 0,
    STEP_BY_PREDECESSOR = 1,
    STEP_BY_FOLLOWER = 2,
};

enum PivotRequest : std::int32_t {
    PIVOT_AUTOMATIC = 0,
    PIVOT_FIRST_NODE = -1,
    PIVOT_LAST_NODE = -2,
};

// A row that can advance in `direction`: it runs from `firstNode` along link[next(direction)]. The same
// record without a place in the table describes a row just built.
struct FrontRecord {
    std::int32_t direction = 0;
    std::int32_t firstNode = 0;
    std::int32_t length = 0;
    std::int32_t pivotRequest = PIVOT_AUTOMATIC; // or a node of the row
    std::int32_t stepMode = STEP_BY_BOTH_NEIGHBOURS;
    std::int32_t holdCount = 0; // times that the loop still passes over this front
    std::int32_t sideFlag = 0;  // 1: the row takes the one-sided rule of a side front
    std::int32_t spare[3] = {0, 0, 0};

    bool operator==(const FrontRecord&) const = default;
};
static_assert(sizeof(FrontRecord) == DRAPE_FRONT_FIELDS * sizeof(std::int32_t));

inline FrontRecord& asFront(std::int32_t* record) {
    return *reinterpret_cast<FrontRecord*>(record);
}
inline const FrontRecord& asFront(const std::int32_t* record) {
    return *reinterpret_cast<const FrontRecord*>(record);
}

struct BoundaryEdge {
    std::int32_t triangle, start, end;
};

// The mesh as the caller holds it, and the boundary chain walked on it.
struct SurfaceMesh {
    std::int32_t triCount = 0;
    std::int32_t vertCount = 0;
    std::int32_t vertTriCount = 0;
    const std::int32_t* vertTriStart = nullptr;
    const std::int32_t* vertTriList = nullptr;
    const std::int32_t* triVerts = nullptr;
    const double* vertPos = nullptr;
    std::int32_t boundaryCount = 0;
    const std::int32_t* boundaryEdges = nullptr;
    const double* boundaryNormals = nullptr;

    std::int32_t vertexOf(std::int32_t triangle, int corner) const {
        return triVerts[3 * (std::int64_t{triangle} - 1) + corner];
    }
    Vec3 vertex(std::int32_t v) const { return load(vertPos, v); }
    Vec3 corner(std::int32_t triangle, int k) const { return vertex(vertexOf(triangle, k)); }

    // The triangles around a vertex are entries [fanBegin, fanEnd) of vertTriList, 0-based.
    std::int32_t fanBegin(std::int32_t v) const { return vertTriStart[v - 1]; }
    std::int32_t fanEnd(std::int32_t v) const { return v < vertCount ? vertTriStart[v] : vertTriCount; }

    BoundaryEdge boundaryEdge(std::int32_t e) const {
        const std::int32_t* p = boundaryEdges + 3 * (std::int64_t{e} - 1);
        return {p[0], p[1], p[2]};
    }
    std::int32_t nextBoundaryEdge(std::int32_t e) const { return e == boundaryCount ? 1 : e + 1; }
};

struct Model {
    Vec3 seedPoint{}, seedDirA{}, seedDirB{};
    double stepA = 0.0, stepB = 0.0;

    FrontRecord* fronts = nullptr;
    std::int32_t* frontCount = nullptr;

    std::int32_t* links[5] = {}; // by direction, entry 0 unused
    std::int32_t* nodeI = nullptr;
    std::int32_t* nodeJ = nullptr;
    std::int32_t* nodeStatus = nullptr;
    std::int32_t* nodeTri = nullptr;
    double* nodePos = nullptr;
    double* nodeFlat = nullptr;
    double* nodeNormal = nullptr;
    std::int32_t nodeCapacity = 0;
    std::int32_t* nodeCount = nullptr;

    SurfaceMesh mesh;
    std::int32_t pivotByGridLine = 0;
    double tolerance = 0.0;

    // Nodes 1 to so many have been given a triangle, those of dropped rows among them.
    std::int32_t trianglesWritten = 0;

    // What a whole run adds to answer the same questions faster. Null while operations are called one by one,
    // which then go the plain road.
    RunIndices* indices = nullptr;

    bool holdsNode(std::int32_t n) const { return n >= 1 && n <= nodeCapacity; }
    bool isNode(std::int32_t n) const { return n >= 1 && n <= *nodeCount; }

    // Reading or writing at no node, or in no direction, does nothing: bad links can't leave the arrays.
    std::int32_t link(std::int32_t d, std::int32_t n) const {
        return isDirection(d) && holdsNode(n) ? links[d][n - 1] : 0;
    }
    void setLink(std::int32_t d, std::int32_t n, std::int32_t to) const {
        if (isDirection(d) && holdsNode(n))
            links[d][n - 1] = to;
    }
    std::int32_t statusOf(std::int32_t n) const { return holdsNode(n) ? nodeStatus[n - 1] : NO_STATUS; }
    void setStatus(std::int32_t n, std::int32_t value) const {
        if (holdsNode(n))
            nodeStatus[n - 1] = value;
    }
    std::int32_t triangleOf(std::int32_t n) const { return holdsNode(n) ? nodeTri[n - 1] : 0; }
    void setTriangle(std::int32_t n, std::int32_t triangle) {
        nodeTri[n - 1] = triangle;
        if (n > trianglesWritten)
            trianglesWritten = n;
    }
    Vec3 positionOf(std::int32_t n) const { return holdsNode(n) ? load(nodePos, n) : Vec3{}; }
    Vec3 normalOf(std::int32_t n) const { return holdsNode(n) ? load(nodeNormal, n) : Vec3{}; }

    double stepAlong(std::int32_t d) const { return alongColumns(d) ? stepA : stepB; }
    FrontRecord& front(std::int32_t position) const { return fronts[position - 1]; }
};

// The model on which this thread works at present: the process's, or that of the run that it is in. One
// pointer in the thread's static storage, so that reaching the model costs no call and the library can still
// be loaded at run time.
#if defined(__GNUC__) && defined(__ELF__)
#define DRAPE_STATIC_TLS __attribute__((tls_model("initial-exec")))
#else
#define DRAPE_STATIC_TLS
#endif
extern constinit thread_local Model* model DRAPE_STATIC_TLS;

// Puts a model of its own in the place of the thread's present one for as long as it lives.
class OwnModel {
public:
    OwnModel() : before_(model) { model = &own_; }
    ~OwnModel() { model = before_; }
    OwnModel(const OwnModel&) = delete;
    OwnModel& operator=(const OwnModel&) = delete;

private:
    Model own_;
    Model* before_;
};

// A neighbour from which a new node is wired: the new node lies at link[direction][node].
struct Neighbour {
    std::int32_t direction = 0;
    std::int32_t node = 0;
};

// Appends a node and wires it to the first `linkCount` of its two neighbours; column and row follow from the
// first. Its status isn't written. False with status 21 to 24 on failure; 24 leaves the node half made.
bool storeNode(const Vec3& position, const Vec3& normal, std::int32_t triangle, std::int32_t linkCount,
               Neighbour first, Neighbour second, std::int32_t& status);

// Appends a copy of a node with all its values and links. False with status 13 on failure.
bool copyNode(std::int32_t node, std::int32_t& status);

// Inserts `record` so that it becomes record `position` of the front table. False with status 10 or 203.
bool insertFront(const FrontRecord& record, std::int32_t position, std::int32_t& status);

void removeFront(std::int32_t position);

// Drops the last row of the store, which was built from the front at `position`.
void dropRow(std::int32_t position);

} // namespace drape
