// What a drape can be written as. The ending of a file name asks for the kind of file; every kind is made in
// memory first and then put in place whole, so a reader never meets half a file.
#pragma once

#include "tool/draw/cover_scene.h"

#include <span>
#include <string>
#include <vector>

namespace tool {

// Whether the ending of `path` names a kind of file that writeOutput makes.
bool isKnownOutput(const std::string& path);

// The endings with a line on each, for the help text.
std::string outputHelp();
std::string coverOutputHelp();

// Whether the ending names a kind of file that several pieces can be written as.
bool isKnownCoverOutput(const std::string& path);

// Writes the kind of file that the ending asks for and returns the names of what was written: one file, or
// one per piece. Throws as writeOutput does.
std::vector<std::string> writeCoverOutput(const std::string& path, const CoverScene& scene);

// Writes the kind of file that the ending of `path` asks for. Throws std::runtime_error with a message fit
// for the user; then no file is left behind and an older one stays as it was.
void writeOutput(const std::string& path, const Scene& scene);

// Throws std::runtime_error if no file can be put at `path`, as far as that can be told beforehand.
void checkPlace(const std::string& path);

// Whether two names lead to one file, there or not.
bool isSameFile(const std::string& a, const std::string& b);

// Puts `bytes` at `path`, whole or not at all: a temporary file in the same folder takes its place at the
// end.
void writeWhole(const std::string& path, const std::string& bytes);

// One per kind of file; each gives the bytes of the file.
std::string gridVtp(const Scene& scene);
std::string gridGltf(const Scene& scene, bool binary);
std::string fibresVtp(const Scene& scene);
std::string fibresCsv(const Scene& scene);
std::string outlineDxf(std::span<const Scene> pieces); // side by side
std::string curveCsv(const Scene& scene);

// The same over several pieces, with a piece number, from 1, on each row or cell.
std::string piecesVtp(std::span<const Scene> pieces);
std::string piecesGltf(std::span<const Scene> pieces, bool binary);
std::string piecesFibresVtp(const CoverScene& scene);
std::string piecesFibresCsv(const CoverScene& scene);

// A direction that names the side on which a drape lies, whatever way the faces in a file run.
Point sideOf(const Mould& mould, const Choice& choice);

// The part of the surface that a piece was draped on, as OBJ with every digit, and in front of it the command
// that drapes it again, less the name of the file.
std::string pieceObj(const CoverScene& scene, std::size_t piece);

} // namespace tool
