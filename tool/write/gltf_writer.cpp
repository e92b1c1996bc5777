// The draped grid as glTF 2.0 for 3D viewers and slides: the cells in shear colours, cut where the pattern
// ends, with the fibres as lines. The scene node turns z up into glTF's y up and brings the lengths to
// metres, so the positions are the grid's own, seen from the seed.
#include "host/cloth/grid.h"
#include "host/cloth/net_faces.h"
#include "host/mesh/point.h"
#include "tool/draw/colour.h"
#include "tool/write/base64.h"
#include "tool/write/file_numbers.h"
#include "tool/write/writers.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <map>
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

// The faces' corners as vertices, and the yarns.
struct Cloth {
    std::vector<float> positions, normals, shear;
    std::vector<std::uint16_t> colours;
    std::vector<std::uint32_t> triangles, lines;
    std::vector<float> linePositions;
};

// A node shows the mean shear of the faces around it.
std::vector<double> shearAtNodes(const Scene& scene, const std::vector<NetFace>& faces) {
    std::vector<double> shear(static_cast<std::size_t>(scene.grid->count), 0.0);
    std::vector<double> count(shear.size(), 0.0);
    for (const NetFace& face : faces) {
        for (const std::int32_t node : scene.measures->cells[face.cell].nodes) {
            shear[static_cast<std::size_t>(node)] += vec::finite(face.shear);
            count[static_cast<std::size_t>(node)] += 1.0;
        }
    }
    for (std::size_t k = 0; k < shear.size(); ++k) {
        shear[k] /= std::max(count[k], 1.0);
    }
    return shear;
}

// Makes vertices of places in cells, one for each node and one for each other place of a cell.
class ClothMaker {
public:
    ClothMaker(const Scene& scene, const std::vector<NetFace>& faces, const Point& origin)
        : scene_(scene), origin_(origin), shear_(shearAtNodes(scene, faces)),
          vertexOfNode_(shear_.size(), none) {
        for (const NetFace& face : faces) {
            addFace(face);
        }
        for (const Fibre fibre : {Fibre::warp, Fibre::weft}) {
            for (const Yarn& yarn : netYarns(*scene.grid, *scene.measures, faces, fibre, 1)) {
                addYarn(yarn);
            }
        }
    }

    Cloth cloth;

private:
    static constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();

    void addFace(const NetFace& face) {
        const Cell& cell = scene_.measures->cells[face.cell];
        std::map<FlatPoint, std::uint32_t> vertices;
        for (const auto& triangle : trianglesOf(*scene_.grid, cell, face)) {
            for (const FlatPoint& place : triangle) {
                const auto [found, isNew] = vertices.try_emplace(place, none);
                if (isNew) {
                    found->second = vertexAt(cell, place);
                }
                cloth.triangles.push_back(found->second);
            }
        }
    }

    std::uint32_t vertexAt(const Cell& cell, const FlatPoint& place) {
        constexpr std::array<FlatPoint, 4> corners{{{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}}};
        const auto corner = std::find(corners.begin(), corners.end(), place);
        if (corner == corners.end()) {
            return addVertex(cell, place);
        }
        const std::int32_t node = cell.nodes[static_cast<std::size_t>(corner - corners.begin())];
        std::uint32_t& vertex = vertexOfNode_[static_cast<std::size_t>(node)];
        if (vertex == none) {
            vertex = addVertex(cell, place);
        }
        return vertex;
    }

    std::uint32_t addVertex(const Cell& cell, const FlatPoint& place) {
        const Grid& grid = *scene_.grid;
        std::array<Point, 4> normals{};
        std::array<Point, 4> shear{};
        for (std::size_t k = 0; k < 4; ++k) {
            const Point normal = vec::unit(nodeNormal(grid, cell.nodes[k]));
            normals[k] = vec::isFinite(normal) ? normal : Point{};
            shear[k][0] = shear_[static_cast<std::size_t>(cell.nodes[k])];
        }
        const Point normal = vec::unit(mixedIn(normals, place));
        const Point sound = vec::length(normal) > 0.5 ? normal : Point{0.0, 0.0, 1.0};
        add(cloth.positions, vec::subtract(pointIn(grid, cell, place), origin_));
        add(cloth.normals, sound);
        cloth.shear.push_back(static_cast<float>(mixedIn(shear, place)[0]));
        return static_cast<std::uint32_t>(cloth.shear.size() - 1);
    }

    void addYarn(const Yarn& yarn) {
        const auto first = static_cast<std::uint32_t>(cloth.linePositions.size() / 3);
        for (std::uint32_t k = 0; k < yarn.points.size(); ++k) {
            add(cloth.linePositions, vec::subtract(yarn.points[k], origin_));
            if (k > 0) {
                cloth.lines.push_back(first + k - 1);
                cloth.lines.push_back(first + k);
            }
        }
    }

    static void add(std::vector<float>& values, const Point& p) {
        for (const double x : p) {
            values.push_back(static_cast<float>(vec::finite(x)));
        }
    }

    const Scene& scene_;
    Point origin_;
    std::vector<double> shear_; // per node
    std::vector<std::uint32_t> vertexOfNode_;
};

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
    Cloth cloth = ClothMaker(scene, netFaces(*scene.grid, *scene.measures), origin).cloth;
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

// Adds the cloth as a mesh of its own and returns its number. `piece` is 0 for a cloth that is the only one.
std::size_t addMesh(Json& document, Buffer& buffer, const Cloth& cloth, const std::string& name, int piece) {
    const int position = buffer.add(cloth.positions, 3, floatType, vertexTarget);
    addBounds(buffer.accessor(position), cloth.positions);
    const int normal = buffer.add(cloth.normals, 3, floatType, vertexTarget);
    const int colour = buffer.add(cloth.colours, 4, shortType, vertexTarget);
    buffer.accessor(colour)["normalized"] = true;
    const int shear = buffer.add(cloth.shear, 1, floatType, vertexTarget);
    const int triangles = buffer.add(cloth.triangles, 1, indexType, indexTarget);
    const int linePosition = buffer.add(cloth.linePositions, 3, floatType, vertexTarget);
    addBounds(buffer.accessor(linePosition), cloth.linePositions);
    const int lines = buffer.add(cloth.lines, 1, indexType, indexTarget);
    Json attributes{{"POSITION", position}, {"NORMAL", normal}, {"COLOR_0", colour}, {"_SHEAR", shear}};
    if (piece > 0) {
        const std::vector<float> numbers(cloth.shear.size(), static_cast<float>(piece));
        attributes["_PIECE"] = buffer.add(numbers, 1, floatType, vertexTarget);
    }
    document["materials"] = {material("cloth", {1.0, 1.0, 1.0, 1.0}),
                             material("fibres", {0.02, 0.02, 0.03, 1.0})};
    document["meshes"].push_back({{"name", name},
                                  {"primitives",
                                   {{{"attributes", attributes}, {"indices", triangles}, {"material", 0}},
                                    {{"attributes", {{"POSITION", linePosition}}},
                                     {"indices", lines},
                                     {"mode", lineMode},
                                     {"material", 1}}}}});
    return document["meshes"].size() - 1;
}

Json sceneNode(const Scene& scene, const Point& origin, const std::string& name) {
    const double metres = scene.millimetresPerUnit / 1000.0;
    const double half = std::sqrt(0.5);
    return {{"name", name},
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

// A node for each scene, named after its piece if there can be several.
std::string gridsGltf(std::span<const Scene> scenes, bool binary, bool pieces) {
    const Scene& first = scenes.front();
    const Point origin = first.grid->count > 0 ? nodePosition(*first.grid, 0) : Point{};
    double top = 0.0;
    Json document{{"asset", {{"version", "2.0"}, {"generator", "drape"}}},
                  {"scene", 0},
                  {"scenes", {{{"nodes", Json::array()}}}},
                  {"nodes", Json::array()}};
    Buffer buffer;
    for (const Scene& scene : scenes) {
        const std::string name = pieces ? scene.ply : "drape";
        const auto number = document["nodes"].size();
        Json node = sceneNode(scene, origin, name);
        const Cloth cloth = makeCloth(scene, origin);
        if (!cloth.triangles.empty()) {
            node["mesh"] = addMesh(document, buffer, cloth, name, pieces ? static_cast<int>(number) + 1 : 0);
        }
        document["scenes"][0]["nodes"].push_back(number);
        document["nodes"].push_back(std::move(node));
        top = std::max(top, shearScale(*scene.measures).top);
    }
    document["extras"] = {{"shearScaleTop", top}, {"lockingAngle", first.measures->lockingAngle}};
    if (document.contains("meshes")) {
        document["bufferViews"] = buffer.views();
        document["accessors"] = buffer.accessors();
        document["buffers"] = {{{"byteLength", buffer.bytes().size()}}};
        if (!binary) {
            document["buffers"][0]["uri"] = "data:application/octet-stream;base64," + base64(buffer.bytes());
        }
    }
    return binary ? binaryFile(document.dump(), buffer.bytes()) : document.dump(1) + "\n";
}

} // namespace

std::string gridGltf(const Scene& scene, bool binary) {
    return gridsGltf({&scene, 1}, binary, false);
}

std::string piecesGltf(std::span<const Scene> pieces, bool binary) {
    return gridsGltf(pieces, binary, true);
}

} // namespace tool
