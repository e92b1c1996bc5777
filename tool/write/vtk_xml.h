// A VTK PolyData file (.vtp) as it grows: points, polygons, and any number of named arrays on either.
#pragma once

#include <cstdint>
#include <pugixml.hpp>
#include <string>
#include <vector>

namespace tool {

class PolyDataFile {
public:
    // `polygons` holds `cornersEach` 0-based point numbers per polygon. Coordinates: 3 per point.
    PolyDataFile(const std::vector<double>& points, const std::vector<std::int32_t>& polygons,
                 int cornersEach);

    // Arrays of `components` values per point or per polygon. Values that aren't finite are written as 0.
    void addPointArray(const char* name, const std::vector<double>& values, int components);
    void addPointArray(const char* name, const std::vector<std::int32_t>& values, int components);
    void addCellArray(const char* name, const std::vector<double>& values, int components);
    void addCellArray(const char* name, const std::vector<std::int32_t>& values, int components);
    void addFieldArray(const char* name, const std::vector<double>& values);

    // The array that viewers colour by at first, and the one that they shade with.
    void showCellArray(const char* name);
    void useNormals(const char* name);

    std::string bytes() const;

private:
    pugi::xml_document document_;
    pugi::xml_node piece_, fields_, pointData_, cellData_;
};

} // namespace tool
