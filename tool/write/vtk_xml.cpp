// Each array is one DataArray element in binary form: the byte count as 64 bits and the values behind it,
// both little-endian, in base64.
#include "tool/write/vtk_xml.h"

#include "tool/write/base64.h"
#include "tool/write/file_numbers.h"

#include <bit>
#include <cstring>
#include <sstream>

namespace tool {
namespace {

static_assert(std::endian::native == std::endian::little, "the arrays are written as they lie in memory");

template <class Value>
std::string encoded(const std::vector<Value>& values) {
    const std::uint64_t size = values.size() * sizeof(Value);
    std::string bytes(sizeof size + size, '\0');
    std::memcpy(bytes.data(), &size, sizeof size);
    if (size > 0) {
        std::memcpy(bytes.data() + sizeof size, values.data(), size);
    }
    return base64(bytes);
}

void addArray(pugi::xml_node parent, const char* type, const char* name, int components,
              const std::string& text) {
    pugi::xml_node array = parent.append_child("DataArray");
    array.append_attribute("type") = type;
    array.append_attribute("Name") = name;
    if (components > 1) {
        array.append_attribute("NumberOfComponents") = components;
    }
    array.append_attribute("format") = "binary";
    array.append_child(pugi::node_pcdata).set_value(text.c_str());
}

void add(pugi::xml_node parent, const char* name, const std::vector<double>& values, int components) {
    std::vector<double> clean = values;
    for (double& value : clean) {
        value = drape::host::vec::finite(value);
    }
    addArray(parent, "Float64", name, components, encoded(clean));
}

void add(pugi::xml_node parent, const char* name, const std::vector<std::int32_t>& values, int components) {
    addArray(parent, "Int32", name, components, encoded(values));
}

std::vector<std::int32_t> endOfEach(std::size_t count, int cornersEach) {
    std::vector<std::int32_t> ends(count);
    for (std::size_t k = 0; k < count; ++k) {
        ends[k] = static_cast<std::int32_t>(k + 1) * cornersEach;
    }
    return ends;
}

} // namespace

VtkFile::VtkFile(const char* kind, std::size_t points) {
    pugi::xml_node declaration = document_.append_child(pugi::node_declaration);
    declaration.append_attribute("version") = "1.0";
    pugi::xml_node root = document_.append_child("VTKFile");
    root.append_attribute("type") = kind;
    root.append_attribute("version") = "1.0";
    root.append_attribute("byte_order") = "LittleEndian";
    root.append_attribute("header_type") = "UInt64";
    pugi::xml_node data = root.append_child(kind);
    fields_ = data.append_child("FieldData");
    piece_ = data.append_child("Piece");
    piece_.append_attribute("NumberOfPoints") = static_cast<unsigned long long>(points);
}

void VtkFile::addPoints(const std::vector<double>& points) {
    pointData_ = piece_.append_child("PointData");
    cellData_ = piece_.append_child("CellData");
    add(piece_.append_child("Points"), "Points", points, 3);
}

PolyDataFile::PolyDataFile(const std::vector<double>& points, const std::vector<std::int32_t>& polygons,
                           int cornersEach)
    : VtkFile("PolyData", points.size() / 3) {
    const std::size_t polygonCount = polygons.size() / static_cast<std::size_t>(cornersEach);
    for (const char* none : {"NumberOfVerts", "NumberOfLines", "NumberOfStrips"}) {
        piece_.append_attribute(none) = 0;
    }
    piece_.append_attribute("NumberOfPolys") = static_cast<unsigned long long>(polygonCount);
    addPoints(points);
    pugi::xml_node polys = piece_.append_child("Polys");
    add(polys, "connectivity", polygons, 1);
    add(polys, "offsets", endOfEach(polygonCount, cornersEach), 1);
}

CellFile::CellFile(const std::vector<double>& points, const std::vector<std::int32_t>& nodes,
                   const std::vector<std::int32_t>& ends, const std::vector<std::int32_t>& types)
    : VtkFile("UnstructuredGrid", points.size() / 3) {
    piece_.append_attribute("NumberOfCells") = static_cast<unsigned long long>(ends.size());
    addPoints(points);
    pugi::xml_node cells = piece_.append_child("Cells");
    add(cells, "connectivity", nodes, 1);
    add(cells, "offsets", ends, 1);
    add(cells, "types", types, 1);
}

void CellFile::useNumbers(const char* name) {
    cellData_.append_attribute("GlobalIds") = name;
}

void VtkFile::addCellArray(const char* name, const std::vector<std::int64_t>& values, int components) {
    addArray(cellData_, "Int64", name, components, encoded(values));
}

void VtkFile::addPointArray(const char* name, const std::vector<double>& values, int components) {
    add(pointData_, name, values, components);
}

void VtkFile::addPointArray(const char* name, const std::vector<std::int32_t>& values, int components) {
    add(pointData_, name, values, components);
}

void VtkFile::addCellArray(const char* name, const std::vector<double>& values, int components) {
    add(cellData_, name, values, components);
}

void VtkFile::addCellArray(const char* name, const std::vector<std::int32_t>& values, int components) {
    add(cellData_, name, values, components);
}

void VtkFile::addFieldArray(const char* name, const std::vector<double>& values) {
    add(fields_, name, values, 1);
    fields_.last_child().append_attribute("NumberOfTuples") = static_cast<unsigned long long>(values.size());
}

void VtkFile::showCellArray(const char* name) {
    cellData_.append_attribute("Scalars") = name;
}

void VtkFile::useNormals(const char* name) {
    pointData_.append_attribute("Normals") = name;
}

std::string VtkFile::bytes() const {
    std::ostringstream out;
    out.imbue(std::locale::classic());
    document_.save(out, " ");
    return std::move(out).str();
}

} // namespace tool
