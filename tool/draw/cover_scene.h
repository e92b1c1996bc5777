// What a drawing or a file may show of several pieces of cloth that cover a surface.
#pragma once

#include "host/search/cover.h"
#include "tool/draw/colour.h"
#include "tool/draw/scene.h"

namespace tool {

struct CoverScene {
    const PieceSet* set = nullptr;
    const Mould* surface = nullptr; // whole, as it was before it was cut
    std::vector<Scene> pieces;      // one per piece, each with the part of the surface that it was draped on
    std::string reportJson;
    std::string caption; // what the set is, in a line
    StartWishes start;   // of all pieces
};

// Colour of a piece; neighbours in number differ clearly. -1 for what is bare.
Colour pieceColour(std::int32_t piece);

} // namespace tool
