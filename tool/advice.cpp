// The advice names the options of the command line.
#include "tool/advice.h"

namespace tool {

std::string adviceOn(Remedy remedy) {
    switch (remedy) {
    case Remedy::none:
        return "";
    case Remedy::otherStart:
        return "try another start: --sweep drapes many seeds and angles and ranks them; cells nearer to "
               "square (--step A) and a smaller patch (--within max) help too; --cover drapes the part with "
               "several pieces";
    case Remedy::finerOrOther:
        return "try another seed or angle (--sweep), or a step that is small against the mould's features "
               "but "
               "not below the size of its triangles' flaws";
    case Remedy::checkMesh:
        return "the outline isn't one clean loop: look at the notes on the mesh above, repair the file, or "
               "keep "
               "a clean part with --clip or --within R";
    case Remedy::reportFault:
        return "this shouldn't happen on a sound mesh: try another seed or step, and please report it with "
               "the "
               "file";
    case Remedy::moreNodes:
        return "raise --max-nodes";
    case Remedy::moreNodesOrLargerStep:
        return "raise --max-nodes or take a larger --step; if the cloth winds round the mould more than "
               "once, "
               "start elsewhere (--sweep) or drape a part (--within max)";
    case Remedy::otherSeed:
        return "move the seed off a degenerate triangle, or try another step";
    case Remedy::checkCurve:
        return "check that the curve lies on the draped part of the mould";
    case Remedy::smallerStep:
        return "take a smaller --step";
    case Remedy::lessMemory:
        return "take a larger --step or lower --max-nodes";
    case Remedy::fewerNodes:
        return "lower --max-nodes";
    }
    return "";
}

std::string adviceOnStatus(std::int32_t status) {
    return adviceOn(textOfStatus(status).remedy);
}

std::string wordsFor(const Note& note) {
    switch (note.kind) {
    case NoteKind::holesLeft:
        return note.text + " (--fill-holes lets it run on)";
    case NoteKind::turnedToSide:
        return note.text + " (--side names another)";
    case NoteKind::sideUnclear:
        return note.text + "; --side x,y,z names one";
    default:
        return note.text;
    }
}

std::string wordsFor(const InputError& error) {
    const std::string text = error.what();
    switch (error.refusal) {
    case Refusal::nothingLeft:
        return "--clip: " + text;
    case Refusal::closed:
        return text +
               ". Cut it open with --clip x0,y0,z0,nx,ny,nz, which keeps the side of the plane to which n "
               "points, drape a part of it with --within R, or cover it with several pieces (--cover)";
    case Refusal::tooFine:
        return text + "; take a larger --step, or allow for them with --max-nodes";
    case Refusal::noSuchSide:
        return "--side: " + text + "; name another direction";
    case Refusal::curveOffCloth:
        return text + "; --curve-clip cuts it where it does";
    case Refusal::tooCoarse:
        return "--tolerance: " + text;
    case Refusal::unreadable:
    case Refusal::unfit:
    case Refusal::upright:
        break;
    }
    return text;
}

} // namespace tool
