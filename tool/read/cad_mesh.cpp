// The mesher sees the file under a name of ours in a folder of its own, so that no settings that lie beside
// the file or in a home folder are read, and what it says goes into a log there.
#include "tool/read/cad_mesh.h"

#include "host/mesh/error.h"
#include "tool/read/deck_text.h"
#include "tool/read/mesh_formats.h"
#include "tool/read/shell_readers.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace tool {
namespace {

constexpr int notFound = 127;
constexpr rlim_t largestMesh = rlim_t{1} << 30; // bytes
// Without a size, triangles of about a fiftieth of the part's diagonal.
constexpr const char* usualScale = "0.2";

std::string plainNumber(double value) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value);
    return {text, end.ptr};
}

std::vector<std::string> commandFor(const std::string& ending, const ImportWishes& wishes) {
    std::vector<std::string> words{"gmsh", "part." + ending, "-2", "-format", "msh22"};
    const auto add = [&](std::initializer_list<std::string> more) { words.insert(words.end(), more); };
    add({"-o", "part.msh", "-nt", "1", "-v", "2"});
    if (ending == "step" || ending == "stp") {
        // IGES comes in millimetres anyway, and the mesher takes this for an error there.
        add({"-setstring", "Geometry.OCCTargetUnit", "MM"});
    }
    add({"-setnumber", "Geometry.OCCSewFaces", "1"}); // faces that a file leaves apart meet along their edges
    if (wishes.meshSize) {
        add({"-clmax", plainNumber(*wishes.meshSize)});
    } else {
        add({"-clscale", usualScale});
    }
    return words;
}

[[noreturn]] void becomeMesher(const std::string& folder, const std::vector<std::string>& words) {
#ifdef __linux__
    prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
    const int log = chdir(folder.c_str()) == 0 ? open("log", O_WRONLY | O_CREAT | O_TRUNC, 0600) : -1;
    if (log < 0) {
        _exit(1);
    }
    dup2(log, STDOUT_FILENO);
    dup2(log, STDERR_FILENO);
    const rlimit size{largestMesh, largestMesh};
    setrlimit(RLIMIT_FSIZE, &size);
    setenv("HOME", folder.c_str(), 1);
    signal(SIGALRM, SIG_DFL);
    alarm(mesherSeconds);
    std::vector<char*> arguments;
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    _exit(errno == ENOENT ? notFound : 1);
}

// The first complaint in the mesher's log.
std::string complaintOf(const std::string& folder) {
    try {
        for (const std::string& line : linesOfFile(folder + "/log")) {
            const std::size_t mark = line.find("Error");
            if (mark != std::string::npos) {
                const std::size_t text = line.find(": ", mark);
                return text == std::string::npos ? line : std::string(trimmed(line.substr(text + 2)));
            }
        }
    } catch (const InputError&) {
    }
    return "";
}

void runMesher(const std::string& folder, const std::vector<std::string>& words) {
    const pid_t child = fork();
    if (child == 0) {
        becomeMesher(folder, words);
    }
    int status = 0;
    while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (child < 0) {
        throw InputError("the mesher gmsh can't be started");
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == notFound) {
        throw InputError(
            "it holds exact surfaces, which take the mesher gmsh, and that isn't installed. Install it "
            "(on Debian: apt install gmsh), or let your CAD program write the mould's surface as "
            "STL or OBJ");
    }
    if (WIFSIGNALED(status)) {
        const int by = WTERMSIG(status);
        throw InputError(by == SIGALRM || by == SIGXCPU || by == SIGKILL
                             ? "the mesher gmsh found no end to it within " + std::to_string(mesherSeconds) +
                                   " s; a larger --mesh-size may help"
                         : by == SIGXFSZ ? "it makes a mesh beyond all measure; give a larger --mesh-size"
                                         : "the mesher gmsh broke off");
    }
    const std::string complaint = complaintOf(folder);
    if (!complaint.empty() || WEXITSTATUS(status) != 0) {
        throw InputError("the mesher gmsh says: " + (complaint.empty() ? "nothing" : complaint));
    }
}

} // namespace

bool isCadFile(const std::string& path) {
    constexpr std::string_view endings[] = {"step", "stp", "iges", "igs", "brep", "brp"};
    return std::find(std::begin(endings), std::end(endings), endingOf(path)) != std::end(endings);
}

ShellMesh meshOfCad(const std::string& path, const ImportWishes& wishes, const std::string& folder) {
    const std::string ending = endingOf(path);
    const std::string known = ending == "brp" ? "brep" : ending;
    std::filesystem::create_symlink(std::filesystem::absolute(path), folder + "/part." + known);
    runMesher(folder, commandFor(known, wishes));
    const std::string mesh = folder + "/part.msh";
    if (!std::filesystem::exists(mesh)) {
        throw InputError("the mesher gmsh finds no surfaces in it");
    }
    const ShellMesh all = readGmshMesh(mesh);
    std::vector<std::string> names;
    for (const std::int64_t face : wishes.faces) {
        names.push_back("FACE" + std::to_string(face));
        const auto& sets = all.elementSets;
        if (std::none_of(sets.begin(), sets.end(),
                         [&](const auto& set) { return set.name == names.back(); })) {
            throw InputError("it has no face " + std::to_string(face) + "; there are " +
                             std::to_string(sets.size()) + " of them");
        }
    }
    return names.empty() ? all : withinSets(all, names);
}

} // namespace tool
