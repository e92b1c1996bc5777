// What a host's stages have to say about their work, as data: what was changed on a surface, what is worth a
// warning. Each face tells it in its own manner.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace drape::host {

enum class NoteKind {
    // Changes to the surface.
    welded,
    facesCut,
    facesLeftOut,
    degenerateDropped,
    doubledDropped,
    crowdedEdges,
    turnedOver,
    turnedToSide,
    cutOneSided,
    splitVertices,
    clipped,
    pieceKept,
    holesFilled,
    holesLeft, // cloth that runs into a hole ends there
    hole,      // one of the holes that the note before speaks of
    seedMoved,
    wholePieceClosed,
    warpUpright, // the usual warp direction couldn't be laid into the surface
    // Warnings.
    sideUnclear,
    buildUpHeld, // the plies below are thicker than a radius of the mould
    coverShort,  // several pieces of cloth cover less than was asked for
    slenderCells,
    curveOffSurface
};

enum class Weight { detail, change, warning };

struct Note {
    NoteKind kind;
    std::string text; // without a full stop
};

using Notes = std::vector<Note>; // in the order in which things happened

inline void tell(Notes& notes, NoteKind kind, std::string text) {
    notes.push_back({kind, std::move(text)});
}

inline Weight weightOf(NoteKind kind) {
    if (kind == NoteKind::clipped || kind == NoteKind::wholePieceClosed) {
        return Weight::detail;
    }
    return kind >= NoteKind::sideUnclear ? Weight::warning : Weight::change;
}

} // namespace drape::host
