// Chooses the writer by the ending of a file name, and puts the bytes in place whole: they go to a temporary
// file in the same folder, which takes the final name only after the last byte is on the disk. A signal that
// ends the program waits until that is done, so it leaves no temporary file behind.
#include "tool/write/writers.h"

#include "tool/draw/drawings.h"
#include "tool/write/file_kinds.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tool {
namespace {

struct Kind {
    std::string_view ending;
    std::string_view what;
    std::function<std::string(const Scene&)> bytes;
};

// Longer endings stand before the shorter ones that they contain.
const std::vector<Kind>& kinds() {
    static const std::vector<Kind> table{
        {".fibres.vtp", "fibre directions and shear per mesh triangle, VTK PolyData", fibresVtp},
        {".fibres.csv", "fibre directions and shear per mesh triangle, table", fibresCsv},
        {".vtp", "the draped grid with all its arrays, VTK PolyData", gridVtp},
        {".glb", "the draped grid in shear colours, glTF in one binary file",
         [](const Scene& scene) { return gridGltf(scene, true); }},
        {".gltf", "the same as text", [](const Scene& scene) { return gridGltf(scene, false); }},
        {".pattern.svg", "flat pattern, in millimetres",
         [](const Scene& scene) { return flatPattern(scene, Drawing::svg); }},
        {".pattern.png", "flat pattern, image",
         [](const Scene& scene) { return flatPattern(scene, Drawing::png); }},
        {".pdf", "flat pattern, 1:1 on one page or on sheets (also .pattern.pdf)", printedPattern},
        {".dxf", "cut and net lines of the flat pattern for a cutting table, in millimetres",
         [](const Scene& scene) {
             return outlineDxf({&scene, 1});
         }},
        {".curve.csv", "transferred curve: x,y,z on the mould and u,v on the pattern", curveCsv},
        {".svg", "picture of the drape on the mould, vectors",
         [](const Scene& scene) { return mouldPicture(scene, Drawing::svg); }},
        {".png", "picture of the drape on the mould, image",
         [](const Scene& scene) { return mouldPicture(scene, Drawing::png); }},
        {".json", "report", [](const Scene& scene) { return scene.reportJson; }}};
    return table;
}

[[noreturn]] void fail(const std::string& path, int reason) {
    throw std::runtime_error("cannot write " + path + ": " + std::generic_category().message(reason));
}

// A file is put in the place of what stands there, which would do away with a device or a pipe.
void requireReplaceable(const std::string& path, const std::string& place) {
    struct stat info {};
    if (::stat(place.c_str(), &info) == 0 && !S_ISREG(info.st_mode)) {
        if (S_ISDIR(info.st_mode)) {
            fail(path, EISDIR);
        }
        throw std::runtime_error("cannot write " + path + ": a device or a pipe stands there, not a file");
    }
}

// A link is followed, so that the file that it names is replaced and not the link.
std::string finalPlace(const std::string& path) {
    std::error_code ignored;
    if (std::filesystem::is_symlink(path, ignored)) {
        const auto target = std::filesystem::canonical(path, ignored);
        if (!target.empty()) {
            return target.string();
        }
    }
    return path;
}

void writeAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(file, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            throw std::system_error(errno, std::generic_category());
        }
        bytes.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
}

// The permissions that a plain open would have given; mkstemp itself is stricter.
mode_t usualMode() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

class SignalsWait {
public:
    SignalsWait() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, &before_);
    }
    ~SignalsWait() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsWait(const SignalsWait&) = delete;
    SignalsWait& operator=(const SignalsWait&) = delete;

private:
    sigset_t before_{};
};

// Opens a new file beside `place`, whose name comes back in `temporary`. Signals have to wait until it's
// gone.
int openBeside(const std::string& path, const std::string& place, std::string& temporary) {
    temporary = place + ".XXXXXX";
    const int file = ::mkstemp(temporary.data());
    if (file < 0) {
        fail(path, errno);
    }
    return file;
}

} // namespace

void writeWhole(const std::string& path, const std::string& bytes) {
    const std::string place = finalPlace(path);
    requireReplaceable(path, place);
    const SignalsWait signalsWait;
    std::string temporary;
    const int file = openBeside(path, place, temporary);
    int reason = 0;
    try {
        writeAll(file, bytes);
        if (::fchmod(file, usualMode()) != 0 || ::fsync(file) != 0) {
            reason = errno;
        }
    } catch (const std::system_error& error) {
        reason = error.code().value();
    }
    if (::close(file) != 0 && reason == 0) {
        reason = errno;
    }
    if (reason == 0 && std::rename(temporary.c_str(), place.c_str()) != 0) {
        reason = errno;
    }
    if (reason != 0) {
        ::unlink(temporary.c_str());
        fail(path, reason);
    }
}

void checkPlace(const std::string& path) {
    const std::filesystem::path place = finalPlace(path);
    const std::string folder = place.has_parent_path() ? place.parent_path().string() : ".";
    struct stat info {};
    if (::stat(folder.c_str(), &info) != 0) {
        fail(path, errno);
    }
    if (!S_ISDIR(info.st_mode)) {
        fail(path, ENOTDIR);
    }
    requireReplaceable(path, place.string());
    // Permissions don't tell it all: some folders take no file even from the one who may do everything.
    const SignalsWait signalsWait;
    std::string temporary;
    ::close(openBeside(path, place.string(), temporary));
    ::unlink(temporary.c_str());
}

bool isSameFile(const std::string& a, const std::string& b) {
    std::error_code none;
    const auto absolute = [&](const std::string& path) {
        return std::filesystem::weakly_canonical(std::filesystem::absolute(path, none), none);
    };
    return std::filesystem::equivalent(a, b, none) || absolute(a) == absolute(b);
}

bool isKnownOutput(const std::string& path) {
    return kindOf(kinds(), path) != nullptr;
}

std::string outputHelp() {
    return helpOf(kinds());
}

void writeOutput(const std::string& path, const Scene& scene) {
    const Kind* kind = kindOf(kinds(), path);
    if (kind == nullptr) {
        throw std::runtime_error("cannot tell from the name " + path + " what to write; endings are\n" +
                                 outputHelp());
    }
    writeWhole(path, kind->bytes(scene));
}

} // namespace tool
