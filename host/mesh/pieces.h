// The piece of a surface that is draped, where a file holds several.
#pragma once

#include "host/mesh/note.h"
#include "host/mesh/topology.h"

namespace drape::host {

// The piece of a mesh that lies nearest to a point, or with `near` null the largest piece by area.
Sheet chosenPiece(Sheet sheet, const Point* near, Notes& notes);

} // namespace drape::host
