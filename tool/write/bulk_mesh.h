// The mesh and the cloths of a laminate as bulk data, for decks of every kind of section.
#pragma once

#include "tool/write/bulk_cards.h"
#include "tool/write/laminate_files.h"

#include <map>

namespace tool {

// Number of each cloth's material, by the cloth's name.
std::map<std::string, std::int64_t> materialNumbers(const Laminate& laminate);

// Those of which the layup knows the stiffness; of others a comment tells the number to give.
std::string bulkMaterials(const LaminateFile& file);

// Nodes of elements on which a ply lies.
std::string bulkNodes(const Laminate& laminate);

// An element with its material axis at `degrees` from its side 1-2, about its own normal. Throws
// std::runtime_error for shapes that solvers don't have.
std::string bulkElement(const Laminate& laminate, std::size_t element, std::int64_t property, double degrees);

} // namespace tool
