// What has no reader of its own goes to assimp.
#include "tool/read/mesh_formats.h"

#include "host/mesh/error.h"
#include "tool/read/cad_mesh.h"
#include "tool/read/shell_readers.h"
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

ImportedMesh importedShell(ShellMesh shell, const ImportWishes& wishes) {
    if (!wishes.sets.empty()) {
        shell = withinSets(shell, wishes.sets);
    }
    PolygonSoup soup = soupOf(shell);
    return {std::move(soup), std::move(shell)};
}

} // namespace

std::string endingOf(const std::string& path) {
    const std::size_t dot = path.find_last_of("./");
    std::string ending = dot == std::string::npos || path[dot] == '/' ? "" : path.substr(dot + 1);
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return ending;
}

ImportedMesh readMeshFile(const std::string& path, const ImportWishes& wishes, const std::string& folder) {
    const std::string ending = endingOf(path);
    if (isCadFile(path)) {
        return importedShell(meshOfCad(path, wishes, folder), wishes);
    }
    if (!wishes.faces.empty() || wishes.meshSize) {
        throw InputError("it isn't a CAD file, so it has no faces to choose and no mesh size to be given");
    }
    if (const ShellReader reader = shellReaderFor(ending)) {
        return importedShell(reader(path), wishes);
    }
    if (!wishes.sets.empty()) {
        throw InputError("files of this kind name no sets of elements");
    }
    constexpr std::array<std::string_view, 2> exact{"x_t", "x_b"};
    if (std::find(exact.begin(), exact.end(), ending) != exact.end()) {
        throw InputError("it holds exact surfaces in a form that can't be read; write the part as STEP");
    }
    if (isSurfaceFormat(ending)) {
        std::ifstream in(path, std::ios::binary);
        return {readSurface(in, ending), {}};
    }
    return {readScene(path), {}};
}

} // namespace tool
