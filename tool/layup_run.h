// Drapes the plies of a layup, one thread per core, and writes the laminate that they make.
#pragma once

#include "tool/log.h"
#include "tool/settings.h"

namespace tool {

// Returns the program's exit code. What goes wrong with one ply doesn't keep the others from being written.
int runLayup(const Settings& settings, const ImportedMesh& mesh, const Log& log);

// Whether the ending of `path` names a kind of file that a laminate is written as.
bool isLaminateOutput(const std::string& path);

// The endings with a line on each, for the help text.
std::string laminateOutputHelp();

} // namespace tool
