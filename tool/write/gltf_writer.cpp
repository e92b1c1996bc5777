// The draped grid as glTF 2.0 for 3D viewers and slides: the cells on the surface in shear colours, with the
// fibres as lines. The scene node turns z up into glTF's y up and brings the lengths to metres, so the
// positions are the grid's own, seen from the seed.
#include "host/cloth/cloth_lines.h"
#include "host/cloth/grid.h"
#include "host/mesh/point.h"
#include "tool/draw/colour.h"
#include "tool/write/base64.h"
#include "tool/write/file_numbers.h"
#include "tool/write/writers.h"

#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr int floatType = 5126;
constexpr int shortType = 5123;
constexpr int indexType = 5125;
constexpr int vertexTarget = 34962;
constexpr int indexTarget = 34963;
constexpr int lineMode = 1;

// The binary buffer and the description of its parts.
class Buffer {
public:
    Buffer() : views_(Json::array()), accessors_(Json::array()) {}

    // Returns the number of the new accessor.
    template <class Value>
    int add(const std::vector<Value>& values, int components, int componentType, int target) {
        constexpr std::array<const char*, 5> types{"", "SCALAR", "VEC2", "VEC3", "VEC4"};
        const std::size_t size = values.size() * sizeof(Value);
        views_.push_back(
            {{"buffer", 0}, {"byteOffset", bytes_.size()}, {"byteLength", size}, {"target", target}});
        accessors_.push_back({{"bufferView", views_.size() - 1},
                              {"componentType", componentType},
                              {"count", values.size() / static_cast<std::size_t>(components)},
                              {"type", types.at(static_cast<std::size_t>(components))}});
        const std::size_t start = bytes_.size();
        bytes_.resize(start + (size + 3) / 4 * 4, '\0');
        std::memcpy(bytes_.data() + start, values.data(), size);
        return static_cast<int>(accessors_.size() - 1);
    }

    Json& accessor(int index) { return accessors_[static_cast<std::size_t>(index)]; }
    const Json& views() const { return views_; }
    const Json& accessors() const { return accessors_; }
    const std::string& bytes() const { return bytes_; }

private:
    Json views_, accessors_;
    std::string bytes_;
};

// The nodes that cells on the surface use, numbered anew, with their arrays.
struct Cloth {
    std::vector<std::uint32_t> vertexOfNode; // `none` for a node outside
    std::vector<float> positions, normals, shear;
    std::vector<std::uint16_t> colours;
    std::vector<std::uint32_t> triangles, lines;
};

constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();

void addVertex(Cloth& cloth, const Grid& grid, std::int32_t node, const Point& origin) {
    auto& vertex = cloth.vertexOfNode[static_cast<std::size_t>(node)];
    if (vertex != none) {
        return;
    }
    vertex = static_cast<std::uint32_t>(cloth.shear.size());
    cloth.shear.push_back(0.0F);
    const Point position = vec::subtract(nodePosition(grid, node), origin);
    Point normal = vec::unit(nodeNormal(grid, node));
    if (!vec::isFinite(normal) || vec::length(normal) < 0.5) {
        normal = {0.0, 0.0, 1.0};
    }
    for (std::size_t k = 0; k < 3; ++k) {
        cloth.positions.push_back(static_cast<float>(vec::finite(position[k])));
        cloth.normals.push_back(static_cast<float>(normal[k]));
    }
}

// A vertex shows the mean shear of the cells around it.
void addShear(Cloth& cloth, const std::vector<Cell>& cells) {
    std::vector<float> share(cloth.shear.size(), 0.0F);
    for (const Cell& cell : cells) {
        for (std::size_t k = 0; cell.onSurface && k < 4; ++k) {
            const auto vertex = cloth.vertexOfNode[static_cast<std::size_t>(cell.nodes[k])];
            cloth.shear[vertex] += static_cast<float>(vec::finite(cell.shear));
            share[vertex] += 1.0F;
        }
    }
    for (std::size_t k = 0; k < share.size(); ++k) {
        cloth.shear[k] /= share[k];
    }
}

void addColours(Cloth& cloth, const ShearScale& scale) {
    const auto part = [](double component) {
        return static_cast<std::uint16_t>(65535.0 * toLinear(component) + 0.5);
    };
    for (const float shear : cloth.shear) {
        const Colour colour = shearColour(scale, static_cast<double>(shear));
        for (const double component : {colour.red, colour.green, colour.blue, 1.0}) {
            cloth.colours.push_back(part(component));
        }
    }
}

Cloth makeCloth(const Scene& scene, const Point& origin) {
    const Grid& grid = *scene.grid;
    const auto& cells = scene.measures->cells;
    Cloth cloth;
    cloth.vertexOfNode.assign(static_cast<std::size_t>(grid.count), none);
    for (const Cell& cell : cells) {
        if (!cell.onSurface) {
            continue;
        }
        std::array<std::uint32_t, 4> v{};
        for (std::size_t k = 0; k < 4; ++k) {
            addVertex(cloth, grid, cell.nodes[k], origin);
            v[k] = cloth.vertexOfNode[static_cast<std::size_t>(cell.nodes[k])];
        }
        const auto across = [&](std::size_t a, std::size_t b) {
            return vec::distance(nodePosition(grid, cell.nodes[a]), nodePosition(grid, cell.nodes[b]));
        };
        const auto quad = across(0, 2) <= across(1, 3) ? std::array{v[0], v[1], v[2], v[0], v[2], v[3]}
                                                       : std::array{v[0], v[1], v[3], v[1], v[2], v[3]};
        cloth.triangles.insert(cloth.triangles.end(), quad.begin(), quad.end());
    }
    for (const Fibre fibre : {Fibre::warp, Fibre::weft}) {
        for (const NodeChain& line : fibreLines(grid, cells, fibre, 1)) {
            for (std::size_t k = 1; k < line.size(); ++k) {
                cloth.lines.push_back(cloth.vertexOfNode[static_cast<std::size_t>(line[k - 1])]);
                cloth.lines.push_back(cloth.vertexOfNode[static_cast<std::size_t>(line[k])]);
            }
        }
    }
    addShear(cloth, cells);
    addColours(cloth, shearScale(*scene.measures));
    return cloth;
}

void addBounds(Json& accessor, const std::vector<float>& positions) {
    std::array<float, 3> low{positions[0], positions[1], positions[2]};
    std::array<float, 3> high = low;
    for (std::size_t k = 0; k < positions.size(); ++k) {
        low[k % 3] = std::min(low[k % 3], positions[k]);
        high[k % 3] = std::max(high[k % 3], positions[k]);
    }
    accessor["min"] = low;
    accessor["max"] = high;
}

Json material(const char* name, const std::array<double, 4>& colour) {
    return {{"name", name},
            {"pbrMetallicRoughness",
             {{"baseColorFactor", colour}, {"metallicFactor", 0.0}, {"roughnessFactor", 0.75}}},
            {"doubleSided", true}};
}

void addMesh(Json& document, Buffer& buffer, const Cloth& cloth) {
    const int position = buffer.add(cloth.positions, 3, floatType, vertexTarget);
    addBounds(buffer.accessor(position), cloth.positions);
    const int normal = buffer.add(cloth.normals, 3, floatType, vertexTarget);
    const int colour = buffer.add(cloth.colours, 4, shortType, vertexTarget);
    buffer.accessor(colour)["normalized"] = true;
    const int shear = buffer.add(cloth.shear, 1, floatType, vertexTarget);
    const int triangles = buffer.add(cloth.triangles, 1, indexType, indexTarget);
    const int lines = buffer.add(cloth.lines, 1, indexType, indexTarget);
    document["materials"] = {material("cloth", {1.0, 1.0, 1.0, 1.0}),
                             material("fibres", {0.02, 0.02, 0.03, 1.0})};
    document["meshes"] = {
        {{"name", "drape"},
         {"primitives",
          {{{"attributes",
             {{"POSITION", position}, {"NORMAL", normal}, {"COLOR_0", colour}, {"_SHEAR", shear}}},
            {"indices", triangles},
            {"material", 0}},
           {{"attributes", {{"POSITION", position}}},
            {"indices", lines},
            {"mode", lineMode},
            {"material", 1}}}}}};
    document["nodes"][0]["mesh"] = 0;
}

Json sceneNode(const Scene& scene, const Point& origin) {
    const double metres = scene.millimetresPerUnit / 1000.0;
    const double half = std::sqrt(0.5);
    return {{"name", "drape"},
            {"rotation", {-half, 0.0, 0.0, half}},
            {"scale", {metres, metres, metres}},
            {"extras", {{"origin", origin}}}};
}

void appendChunk(std::string& file, std::string_view kind, std::string bytes, char filling) {
    bytes.resize((bytes.size() + 3) / 4 * 4, filling);
    const auto size = static_cast<std::uint32_t>(bytes.size());
    file.append(reinterpret_cast<const char*>(&size), sizeof size);
    file += kind;
    file += bytes;
}

std::string binaryFile(const std::string& json, const std::string& buffer) {
    std::string chunks;
    appendChunk(chunks, "JSON", json, ' ');
    if (!buffer.empty()) {
        appendChunk(chunks, std::string_view("BIN\0", 4), buffer, '\0');
    }
    constexpr std::size_t headerSize = 12;
    if (chunks.size() > std::numeric_limits<std::uint32_t>::max() - headerSize) {
        throw std::runtime_error("the grid is too large for a glTF file");
    }
    const std::array<std::uint32_t, 2> rest{2, static_cast<std::uint32_t>(chunks.size() + headerSize)};
    std::string file = "glTF";
    file.append(reinterpret_cast<const char*>(rest.data()), sizeof rest);
    return file + chunks;
}

} // namespace

std::string gridGltf(const Scene& scene, bool binary) {
    const Point origin = scene.grid->count > 0 ? nodePosition(*scene.grid, 0) : Point{};
    const Cloth cloth = makeCloth(scene, origin);
    const ShearScale scale = shearScale(*scene.measures);
    Json document{{"asset", {{"version", "2.0"}, {"generator", "drape"}}},
                  {"scene", 0},
                  {"scenes", {{{"nodes", {0}}}}},
                  {"nodes", {sceneNode(scene, origin)}}};
    document["extras"] = {{"shearScaleTop", scale.top}, {"lockingAngle", scene.measures->lockingAngle}};
    Buffer buffer;
    if (!cloth.triangles.empty()) {
        addMesh(document, buffer, cloth);
        document["bufferViews"] = buffer.views();
        document["accessors"] = buffer.accessors();
        document["buffers"] = {{{"byteLength", buffer.bytes().size()}}};
        if (!binary) {
            document["buffers"][0]["uri"] = "data:application/octet-stream;base64," + base64(buffer.bytes());
        }
    }
    return binary ? binaryFile(document.dump(), buffer.bytes()) : document.dump(1) + "\n";
}

} // namespace tool
