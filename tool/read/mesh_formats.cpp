// The four surface formats have readers of their own; assimp reads the rest.
#include "tool/read/mesh_formats.h"

#include "host/mesh/error.h"
#include "tool/read/surface_formats.h"

#include <algorithm>
#include <array>
#include <assimp/Importer.hpp>
#include <assimp/scene.h>
#include <fstream>

namespace tool {
namespace {

void addMesh(const aiMesh& mesh, const aiMatrix4x4& placement, PolygonSoup& soup) {
    const auto first = static_cast<std::int32_t>(soup.points.size());
    for (unsigned v = 0; v < mesh.mNumVertices; ++v) {
        const aiVector3D p = placement * mesh.mVertices[v];
        soup.points.push_back({static_cast<double>(p.x), static_cast<double>(p.y), static_cast<double>(p.z)});
    }
    for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
        const aiFace& face = mesh.mFaces[f];
        auto& corners = soup.polygons.emplace_back();
        for (unsigned k = 0; k < face.mNumIndices; ++k) {
            if (face.mIndices[k] >= mesh.mNumVertices) {
                throw InputError("a face names a vertex that isn't in the file");
            }
            corners.push_back(first + static_cast<std::int32_t>(face.mIndices[k]));
        }
    }
}

void addNode(const aiScene& scene, const aiNode& node, const aiMatrix4x4& parent, PolygonSoup& soup) {
    const aiMatrix4x4 placement = parent * node.mTransformation;
    for (unsigned m = 0; m < node.mNumMeshes; ++m) {
        addMesh(*scene.mMeshes[node.mMeshes[m]], placement, soup);
    }
    for (unsigned c = 0; c < node.mNumChildren; ++c) {
        addNode(scene, *node.mChildren[c], placement, soup);
    }
}

PolygonSoup readScene(const std::string& path) {
    Assimp::Importer importer;
    const aiScene* scene = importer.ReadFile(path, 0);
    if (scene == nullptr || scene->mRootNode == nullptr) {
        throw InputError(importer.GetErrorString());
    }
    PolygonSoup soup;
    addNode(*scene, *scene->mRootNode, aiMatrix4x4(), soup);
    return soup;
}

} // namespace

PolygonSoup readMeshFile(const std::string& path) {
    const std::size_t dot = path.find_last_of("./");
    std::string ending = dot == std::string::npos || path[dot] == '/' ? "" : path.substr(dot + 1);
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    constexpr std::array<std::string_view, 8> exact{"step", "stp", "iges", "igs",
                                                    "brep", "brp", "x_t",  "x_b"};
    if (std::find(exact.begin(), exact.end(), ending) != exact.end()) {
        throw InputError(
            "it holds exact surfaces and no triangles. Let your CAD program or a mesher write the "
            "mould's surface as STL or OBJ, with triangles smaller than a cell, such as: gmsh "
            "part.step -2 -clmax 5 -o part.stl");
    }
    if (isSurfaceFormat(ending)) {
        std::ifstream in(path, std::ios::binary);
        return readSurface(in, ending);
    }
    return readScene(path);
}

} // namespace tool
