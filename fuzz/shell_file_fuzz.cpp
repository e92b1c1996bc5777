// Files of solvers and meshers, and layups, sound and broken, read in this process: what comes out fits
// together, or an error says what is wrong. The first byte chooses the format, the rest is the file.
#include "byte_source.h"
#include "host/laminate/element_fibres.h"
#include "tool/read/layup_file.h"
#include "tool/read/shell_readers.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

namespace host = drape::host;

void require(bool holds) {
    if (!holds)
        std::abort();
}

bool isFinite(const host::Point& p) {
    return std::all_of(p.begin(), p.end(), [](double x) { return std::isfinite(x); });
}

void checkShell(const host::ShellMesh& shell) {
    require(shell.points.size() == shell.pointNumbers.size());
    require(std::all_of(shell.points.begin(), shell.points.end(), isFinite));
    const auto names = [](const auto& list, std::size_t count) {
        return std::all_of(list.begin(), list.end(),
                           [&](std::int32_t k) { return k >= 0 && static_cast<std::size_t>(k) < count; });
    };
    for (const host::ShellElement& element : shell.elements) {
        require(element.corners >= 3 && element.corners <= element.nodes.size());
        require(names(element.nodes, shell.points.size()));
    }
    for (const host::NamedSet& set : shell.elementSets)
        require(names(set.members, shell.elements.size()));
    for (const host::NamedSet& set : shell.pointSets)
        require(names(set.members, shell.points.size()));
    host::framesOf(shell);
    require(host::soupOf(shell).polygons.size() == shell.elements.size());
}

void checkPlies(std::vector<host::PlyWish> plies) {
    for (const host::PlyWish& ply : plies) {
        require(!ply.trouble.empty() || (std::isfinite(ply.angle) && ply.cloth.thickness >= 0.0 &&
                                         (!ply.seed || isFinite(*ply.seed))));
        require(!ply.pieces || (*ply.pieces > 0.0 && *ply.pieces < 1.0));
    }
    require(host::layingOrder(plies).size() == plies.size());
}

// Meshes by their readers, layups last.
constexpr const char* endings[] = {"inp", "bdf", "msh", "vtu", "vtk", "csv", "json"};
constexpr std::size_t decks = 2; // the first of these, which can include files

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const std::size_t kind = data[0] % std::size(endings);
    std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    std::string upper = text;
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    // A deck may include any file of the machine, such as one that never ends; the program's child is stopped
    // there by its time limit.
    if (kind < decks &&
        (upper.find("INPUT") != std::string::npos || upper.find("INCLUDE") != std::string::npos))
        return 0;
    const std::string path = "/tmp/drape_shell_fuzz_" + std::to_string(getpid()) + "." + endings[kind];
    std::ofstream(path, std::ios::binary).write(text.data(), static_cast<std::streamsize>(text.size()));
    try {
        if (const tool::ShellReader reader = tool::shellReaderFor(endings[kind]))
            checkShell(reader(path));
        else
            checkPlies(tool::readLayup(path));
    } catch (const std::exception&) {
        // Refused in words.
    }
    unlink(path.c_str());
    return 0;
}
