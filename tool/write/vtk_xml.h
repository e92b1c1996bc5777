// A VTK file as it grows: points, polygons (.vtp) or cells of several shapes (.vtu), and any number of named
// arrays on either.
#pragma once

#include <cstdint>
#include <pugixml.hpp>
#include <string>
#include <vector>

namespace tool {

class VtkFile {
public:
    // Arrays of `components` values per point or per polygon. Values that aren't finite are written as 0.
    void addPointArray(const char* name, const std::vector<double>& values, int components);
    void addPointArray(const char* name, const std::vector<std::int32_t>& values, int components);
    void addCellArray(const char* name, const std::vector<double>& values, int components);
    void addCellArray(const char* name, const std::vector<std::int32_t>& values, int components);
    void addCellArray(const char* name, const std::vector<std::int64_t>& values, int components);
    void addFieldArray(const char* name, const std::vector<double>& values);

    // The array that viewers colour by at first, and the one that they shade with.
    void showCellArray(const char* name);
    void useNormals(const char* name);

    std::string bytes() const;

protected:
    VtkFile(const char* kind, std::size_t points);
    void addPoints(const std::vector<double>& points);

    pugi::xml_document document_;
    pugi::xml_node piece_, fields_, pointData_, cellData_;
};

class PolyDataFile : public VtkFile {
public:
    // `polygons` holds `cornersEach` 0-based point numbers per polygon. Coordinates: 3 per point.
    PolyDataFile(const std::vector<double>& points, const std::vector<std::int32_t>& polygons,
                 int cornersEach);
};

class CellFile : public VtkFile {
public:
    // `ends` holds for each cell where its points end in `nodes`, and `types` its shape as VTK numbers them.
    CellFile(const std::vector<double>& points, const std::vector<std::int32_t>& nodes,
             const std::vector<std::int32_t>& ends, const std::vector<std::int32_t>& types);

    // The array by which cells are known elsewhere.
    void useNumbers(const char* name);
};

} // namespace tool
