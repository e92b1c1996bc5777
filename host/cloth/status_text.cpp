// Most codes of a run come down to four stories: the cloth folds, it lost its way, an array is full, or the
// surface isn't what it should be. The remedy goes by story.
#include "host/cloth/status_text.h"

#include "drape.h"

#include <algorithm>
#include <iterator>

namespace drape::host {
namespace {

struct Row {
    std::int32_t status;
    const char* name;
    const char* meaning;
    Remedy remedy;
};

constexpr Row rows[] = {
    {DRAPE_OK, "complete", "the run came to its end", Remedy::none},
    {DRAPE_BAD_ROW_DIRECTION, "bad-row-direction", "a row of cells had no valid direction",
     Remedy::reportFault},
    {DRAPE_ROW_LINK_MISSING, "row-link-missing", "a row of nodes broke off while it was being extended",
     Remedy::finerOrOther},
    {DRAPE_BOUNDARY_CANDIDATES_FULL, "boundary-candidates-full",
     "too many edges meet at one vertex of the outline", Remedy::checkMesh},
    {DRAPE_BOUNDARY_NOT_CLOSED, "boundary-not-closed",
     "the walk along the mould's outline didn't come back to its start", Remedy::checkMesh},
    {DRAPE_PASS_ARRAY_HELD, "pass-array-held", "a work array was still in use", Remedy::reportFault},
    {DRAPE_RULING_ALONG_SEGMENT, "ruling-along-segment",
     "a cell edge runs square into the mould's rim, so that its crossings can't be counted",
     Remedy::finerOrOther},
    {DRAPE_BAD_FRONT_POSITION, "bad-front-position", "a front was put at a place that isn't there",
     Remedy::reportFault},
    {DRAPE_CUT_WALK_LOST_NODE, "cut-walk-lost-node", "a repair lost its way along a cut row",
     Remedy::otherStart},
    {DRAPE_GAP_WALK_LOST_NODE, "gap-walk-lost-node",
     "a repair lost its way along a row that reaches across a gap", Remedy::otherStart},
    {DRAPE_NODE_NOT_COPIED, "node-not-copied", "there was no room to double a node at a repair",
     Remedy::moreNodes},
    {DRAPE_DIRECTIONS_NOT_NEIGHBOURS, "directions-not-neighbours",
     "a cell was asked for between two directions that aren't next to each other", Remedy::reportFault},
    {DRAPE_NODES_COINCIDE, "nodes-coincide", "two nodes of a cell fell on one point", Remedy::otherStart},
    {DRAPE_CELL_FOLDS, "cell-folds",
     "a cell would fold over: the cloth can't shear as far as the mould asks here", Remedy::otherStart},
    {DRAPE_NOTHING_TO_STEP_FROM, "nothing-to-step-from",
     "a front was left with a single node without neighbours, as happens beside a cut", Remedy::otherStart},
    {DRAPE_EDGE_TABLE_FULL, "edge-table-full", "too many outline edges lie near one node",
     Remedy::finerOrOther},
    {DRAPE_NO_FALLBACK_HIT, "no-fallback-hit", "a node beyond the mould's edge found no place",
     Remedy::finerOrOther},
    {DRAPE_PIVOT_NOT_IN_ROW, "pivot-not-in-row", "the node that a row should start from isn't in it",
     Remedy::otherStart},
    {DRAPE_BAD_PREVIOUS_NODE_1, "bad-previous-node",
     "a repair needed a node that isn't there, as can happen beside the seed", Remedy::otherStart},
    {DRAPE_BAD_PREVIOUS_NODE_2, "bad-previous-node", "a node was to be linked to one that isn't there",
     Remedy::reportFault},
    {DRAPE_NODES_FULL, "nodes-full", "the cloth needs more nodes than were allowed",
     Remedy::moreNodesOrLargerStep},
    {DRAPE_NORMAL_NOT_UNIT, "no-normal-or-crossings",
     "the surface has no normal where a node should go, or a cell edge crosses the outline too often",
     Remedy::otherSeed},
    {DRAPE_SOURCE_TRIANGLE_FLAT, "source-triangle-flat", "a triangle to map from has no area", Remedy::none},
    {DRAPE_BAD_ARGUMENT, "bad-argument", "the library refused a number of this run", Remedy::reportFault},
    {DRAPE_BAD_MESH, "bad-mesh", "the library refused the mesh", Remedy::reportFault},
    {DRAPE_FRONTS_FULL, "fronts-full", "the cloth came apart into too many fronts", Remedy::moreNodes},
    {DRAPE_NODES_NOT_NEIGHBOURS, "nodes-not-neighbours", "a repair wanted to double an edge that isn't there",
     Remedy::otherStart},
    {DRAPE_NO_CURVE_START, "no-curve-start", "no point of the curve lies clearly in one part of the cloth",
     Remedy::checkCurve},
    {DRAPE_EMPTY_CURVE_OR_GRID, "empty-curve-or-grid", "the curve has no points, or the cloth no whole cell",
     Remedy::smallerStep},
    {DRAPE_REPAIR_CUTS_NOTHING, "repair-cuts-nothing",
     "a repair would have gone on for ever without cutting anything", Remedy::otherStart},
    {DRAPE_BROKEN_GRID_LINK, "broken-grid-link", "the grid links to a node that isn't there",
     Remedy::reportFault},
    {DRAPE_NO_MEMORY, "no-memory", "there was not enough memory", Remedy::lessMemory},
    {DRAPE_BAD_ARRAY_SIZE, "bad-array-size", "a work array would be too large", Remedy::fewerNodes},
    {DRAPE_UNKNOWN_HANDLE, "unknown-handle", "a work array was given back twice", Remedy::reportFault}};

} // namespace

StatusError::StatusError(const std::string& what, std::int32_t code)
    : std::runtime_error(what + " (code " + std::to_string(code) + "): " + textOfStatus(code).meaning),
      status(code) {}

StatusText textOfStatus(std::int32_t status) {
    const Row* found =
        std::find_if(std::begin(rows), std::end(rows), [&](const Row& row) { return row.status == status; });
    if (found != std::end(rows)) {
        return {found->name, found->meaning, found->remedy};
    }
    return {"unknown", "the library gave a code that isn't known here", Remedy::reportFault};
}

} // namespace drape::host
