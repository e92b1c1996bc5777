// Cards of bulk data in fields of eight columns, as Nastran and its relatives read them.
#pragma once

#include "host/mesh/point.h"

#include <string>
#include <vector>

namespace tool {

using namespace drape::host;

// As many digits as fit into a field, always with a point. Throws std::runtime_error if none do.
std::string bulkReal(double value, std::size_t width = 8);

// A number from 1 to 99999999; throws std::runtime_error for others.
std::string bulkWhole(std::int64_t value);

// Over as many lines as the fields take.
std::string bulkCard(const std::string& name, const std::vector<std::string>& fields);

// A node, with its place in fields of sixteen columns.
std::string bulkGrid(std::int64_t number, const Point& p);

// In thousandths of a degree.
double bulkAngle(double degrees);

// The angle of a fibre, which has no sense, in thousandths of a degree above -90 and up to 90; near the lower
// end the upper one, so that rounding makes no two of one angle.
double fibreAngle(double degrees);

} // namespace tool
