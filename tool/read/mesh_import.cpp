// A child process reads the file and hands the surface back through a pipe: a status byte, then either a
// message or the counts, the points and the faces.
#include "tool/read/mesh_import.h"

#include "host/mesh/error.h"
#include "host/mesh/point.h"
#include "host/mesh/text.h"
#include "tool/read/cad_mesh.h"
#include "tool/read/mesh_formats.h"
#include "tool/read/surface_formats.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tool {

using namespace vec;
namespace {

constexpr char soupFollows = 'S';
constexpr char messageFollows = 'M';

void appendBytes(std::string& bytes, const void* data, std::size_t size) {
    bytes.append(static_cast<const char*>(data), size);
}

void appendPolygons(std::string& bytes, const PolygonSoup& soup) {
    const std::uint64_t counts[2] = {soup.points.size(), soup.polygons.size()};
    appendBytes(bytes, counts, sizeof counts);
    appendBytes(bytes, soup.points.data(), soup.points.size() * sizeof(Point));
    for (const auto& polygon : soup.polygons) {
        const auto corners = static_cast<std::int32_t>(polygon.size());
        appendBytes(bytes, &corners, sizeof corners);
        appendBytes(bytes, polygon.data(), polygon.size() * sizeof(std::int32_t));
    }
}

template <class Value>
void appendList(std::string& bytes, const Value& list) {
    const std::uint64_t size = list.size();
    appendBytes(bytes, &size, sizeof size);
    appendBytes(bytes, list.data(), list.size() * sizeof list[0]);
}

void appendSets(std::string& bytes, const std::vector<NamedSet>& sets) {
    const std::uint64_t size = sets.size();
    appendBytes(bytes, &size, sizeof size);
    for (const NamedSet& set : sets) {
        appendList(bytes, set.name);
        appendList(bytes, set.members);
    }
}

// The points are those of the polygons, and each element begins with the corners of its polygon.
void appendShell(std::string& bytes, const ShellMesh& shell) {
    appendList(bytes, shell.pointNumbers);
    for (const ShellElement& element : shell.elements) {
        const std::int64_t numbers[2] = {element.number, element.property};
        appendBytes(bytes, numbers, sizeof numbers);
        appendList(bytes, element.nodes);
    }
    appendSets(bytes, shell.elementSets);
    appendSets(bytes, shell.pointSets);
}

std::string packed(const ImportedMesh& mesh) {
    std::string bytes(1, soupFollows);
    appendPolygons(bytes, mesh.soup);
    bytes += mesh.shell ? '1' : '0';
    if (mesh.shell) {
        appendShell(bytes, *mesh.shell);
    }
    return bytes;
}

// Takes values off a byte string from front to back; what the child sends is whole or absent.
class Unpacker {
public:
    explicit Unpacker(const std::string& bytes) : bytes_(bytes) {}

    void take(void* target, std::size_t size) {
        if (size > bytes_.size() - at_) {
            throw InputError("the reader stopped in the middle of the file");
        }
        if (size > 0) {
            std::memcpy(target, bytes_.data() + at_, size);
        }
        at_ += size;
    }

    template <class Value>
    Value value() {
        Value taken{};
        take(&taken, sizeof taken);
        return taken;
    }

    template <class List>
    void list(List& list) {
        list.resize(value<std::uint64_t>());
        take(list.data(), list.size() * sizeof list[0]);
    }

    void sets(std::vector<NamedSet>& sets) {
        sets.resize(value<std::uint64_t>());
        for (NamedSet& set : sets) {
            list(set.name);
            list(set.members);
        }
    }

private:
    const std::string& bytes_;
    std::size_t at_ = 0;
};

void unpackPolygons(Unpacker& from, PolygonSoup& soup) {
    const auto points = from.value<std::uint64_t>();
    const auto polygons = from.value<std::uint64_t>();
    soup.points.resize(points);
    from.take(soup.points.data(), soup.points.size() * sizeof(Point));
    soup.polygons.resize(polygons);
    for (auto& polygon : soup.polygons) {
        polygon.resize(static_cast<std::size_t>(from.value<std::int32_t>()));
        from.take(polygon.data(), polygon.size() * sizeof(std::int32_t));
    }
}

ShellMesh unpackedShell(Unpacker& from, const PolygonSoup& soup) {
    ShellMesh shell;
    shell.points = soup.points;
    from.list(shell.pointNumbers);
    for (const auto& polygon : soup.polygons) {
        ShellElement& element = shell.elements.emplace_back();
        element.corners = polygon.size();
        element.number = from.value<std::int64_t>();
        element.property = from.value<std::int64_t>();
        from.list(element.nodes);
    }
    from.sets(shell.elementSets);
    from.sets(shell.pointSets);
    return shell;
}

ImportedMesh unpacked(const std::string& bytes) {
    Unpacker from(bytes);
    from.value<char>();
    ImportedMesh mesh;
    unpackPolygons(from, mesh.soup);
    if (from.value<char>() == '1') {
        mesh.shell = unpackedShell(from, mesh.soup);
    }
    return mesh;
}

// A broken header can announce any size: memory and time are held to what the file's own size can call for.
// A mesher asks for more of both than a reader.
void limitTo(std::size_t fileSize, bool meshes) {
#if !defined(__SANITIZE_ADDRESS__)
    const rlim_t memory = std::max<rlim_t>(rlim_t{meshes ? 16U : 4U} << 30, rlim_t{200} * fileSize);
    const rlimit space{memory, memory};
    setrlimit(RLIMIT_AS, &space);
#endif
    const rlim_t seconds = (meshes ? mesherSeconds : 30) + fileSize / 1000000;
    const rlimit time{seconds, seconds + 1};
    setrlimit(RLIMIT_CPU, &time);
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
}

[[noreturn]] void readAndSend(const std::string& path, const ImportWishes& wishes, const std::string& folder,
                              std::size_t fileSize, int pipeEnd) {
    limitTo(fileSize, isCadFile(path));
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    std::string bytes;
    try {
        bytes = packed(readMeshFile(path, wishes, folder));
    } catch (const std::bad_alloc&) {
        bytes = std::string(1, messageFollows) + "it asks for more memory than its size can call for";
    } catch (const std::exception& error) {
        bytes = std::string(1, messageFollows) + error.what();
    } catch (...) {
        bytes = std::string(1, messageFollows) + "the reader gave up";
    }
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t n = write(pipeEnd, bytes.data() + sent, bytes.size() - sent);
        if (n < 0 && errno != EINTR) {
            _exit(1);
        }
        sent += n > 0 ? static_cast<std::size_t>(n) : 0;
    }
    _exit(0);
}

volatile std::sig_atomic_t stoppedBy = 0; // the signal that was to end the program, while it's noted

// While a mesher works, a signal that is to end the program waits until what has been made is cleared away.
class StopsNoted {
public:
    explicit StopsNoted(bool wanted) : wanted_(wanted) {
        stoppedBy = 0;
        struct sigaction noted {};
        noted.sa_handler = [](int signal) { stoppedBy = signal; };
        for (std::size_t k = 0; wanted_ && k < std::size(signals); ++k) {
            sigaction(signals[k], nullptr, &before_[k]);
            if (before_[k].sa_handler != SIG_IGN) {
                sigaction(signals[k], &noted, nullptr);
            }
        }
    }
    ~StopsNoted() {
        for (std::size_t k = 0; wanted_ && k < std::size(signals); ++k) {
            sigaction(signals[k], &before_[k], nullptr);
        }
        if (wanted_ && stoppedBy != 0) {
            raise(stoppedBy);
        }
    }
    StopsNoted(const StopsNoted&) = delete;
    StopsNoted& operator=(const StopsNoted&) = delete;

private:
    static constexpr int signals[] = {SIGINT, SIGTERM, SIGHUP};
    bool wanted_;
    struct sigaction before_[std::size(signals)]{};
};

// Up to its end, or until the program is to stop.
std::string readAll(int pipeEnd) {
    std::string bytes;
    char buffer[1 << 16];
    while (stoppedBy == 0) {
        const ssize_t n = read(pipeEnd, buffer, sizeof buffer);
        if (n > 0) {
            bytes.append(buffer, static_cast<std::size_t>(n));
        } else if (n == 0 || errno != EINTR) {
            break;
        }
    }
    return bytes;
}

std::size_t readableSize(const std::string& path) {
    struct stat info {};
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0 || fstat(file, &info) != 0) {
        throw InputError("can't open " + path + ": " + std::strerror(errno));
    }
    close(file);
    if (!S_ISREG(info.st_mode)) {
        throw InputError("can't read " + path + ": it isn't a regular file");
    }
    if (info.st_size == 0) {
        throw InputError("can't read " + path + ": the file is empty");
    }
    return static_cast<std::size_t>(info.st_size);
}

// A folder for the files that pass between a mesher and its reader; gone in the end, whatever becomes of
// them.
class PassingFolder {
public:
    explicit PassingFolder(bool wanted) {
        if (!wanted) {
            return;
        }
        std::error_code none;
        path_ = (std::filesystem::temp_directory_path(none) / "drape.XXXXXX").string();
        if (mkdtemp(path_.data()) == nullptr) {
            throw std::runtime_error("can't make a folder for the mesher at " + path_ + ": " +
                                     std::strerror(errno));
        }
    }
    ~PassingFolder() {
        std::error_code none;
        if (!path_.empty()) {
            std::filesystem::remove_all(path_, none);
        }
    }
    PassingFolder(const PassingFolder&) = delete;
    PassingFolder& operator=(const PassingFolder&) = delete;

    const std::string& path() const { return path_; }

private:
    std::string path_;
};

} // namespace

ImportedMesh importSurface(const std::string& path, const ImportWishes& wishes) {
    const std::size_t fileSize = readableSize(path);
    const StopsNoted stops(isCadFile(path));
    const PassingFolder folder(isCadFile(path));
    int ends[2];
    if (pipe(ends) != 0) {
        throw std::runtime_error(std::string("can't start the reader: ") + std::strerror(errno));
    }
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        readAndSend(path, wishes, folder.path(), fileSize, ends[1]);
    }
    close(ends[1]);
    const std::string bytes = child > 0 ? readAll(ends[0]) : std::string();
    close(ends[0]);
    if (child > 0 && stoppedBy != 0) {
        kill(child, SIGKILL);
    }
    int status = 0;
    while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    try {
        if (WIFSIGNALED(status) && (WTERMSIG(status) == SIGXCPU || WTERMSIG(status) == SIGKILL)) {
            throw InputError("the reader found no end to it");
        }
        if (child < 0 || WIFSIGNALED(status) || bytes.empty()) {
            throw InputError("its contents are broken in a way that stopped the reader");
        }
        if (bytes[0] == messageFollows) {
            throw InputError(bytes.substr(1));
        }
        ImportedMesh mesh = unpacked(bytes);
        requireSurface(mesh.soup);
        return mesh;
    } catch (const InputError& error) {
        throw InputError("can't read " + path + ": " + error.what());
    }
}

PolygonSoup importMesh(const std::string& path) {
    return importSurface(path, {}).soup;
}

} // namespace tool
