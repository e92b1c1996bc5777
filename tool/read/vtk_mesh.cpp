// VTK's legacy files: words and numbers in the order of the header lines; in the binary form numbers stand
// with the highest byte first.
#include "host/mesh/error.h"
#include "tool/read/deck_text.h"
#include "tool/read/shell_readers.h"
#include "tool/read/vtk_cells.h"

#include <algorithm>
#include <bit>
#include <type_traits>

namespace tool {
namespace {

class VtkReader {
public:
    explicit VtkReader(const std::string& path) : bytes_(bytesOfFile(path)) {}

    ShellMesh read() {
        if (!nextLine().starts_with("# vtk DataFile")) {
            throw InputError("it isn't a VTK file");
        }
        nextLine(); // a title
        const std::string form = upperCase(nextLine());
        binary_ = form == "BINARY";
        if (!binary_ && form != "ASCII") {
            fail("the form has to be ASCII or BINARY");
        }
        while (hasMore()) {
            const auto words = wordsOf(nextLine());
            if (!words.empty() && !readPart(upperCase(words[0]), words)) {
                break;
            }
        }
        return shellOf(grid_);
    }

private:
    [[noreturn]] void fail(const std::string& what) const {
        const auto end = bytes_.begin() + static_cast<std::ptrdiff_t>(std::min(at_, bytes_.size()));
        const auto lines = static_cast<std::size_t>(std::count(bytes_.begin(), end, '\n'));
        failAt({std::max<std::size_t>(lines, 1), ""}, what);
    }

    bool hasMore() const { return at_ < bytes_.size(); }

    std::string_view nextLine() {
        const std::size_t end = bytes_.find('\n', at_);
        const std::string_view line = trimmed(std::string_view(bytes_).substr(at_, end - at_));
        at_ = end == std::string::npos ? bytes_.size() : end + 1;
        return line;
    }

    std::size_t count(const std::vector<std::string_view>& words, std::size_t k) const {
        std::int64_t value = 0;
        if (k >= words.size() || !readDeckWhole(words[k], value) || value < 0 ||
            static_cast<std::size_t>(value) > bytes_.size()) {
            fail("a count is missing, or is more than the file can hold");
        }
        return static_cast<std::size_t>(value);
    }

    // Reads what a header line announces. False where the mesh ends and its data begin.
    bool readPart(const std::string& name, const std::vector<std::string_view>& words) {
        if (name == "DATASET") {
            const std::string kind = upperCase(words.size() > 1 ? words[1] : "");
            if (kind != "UNSTRUCTURED_GRID" && kind != "POLYDATA") {
                fail("a dataset of the kind " + kind + " isn't read; unstructured grids and polygons are");
            }
        } else if (name == "POINTS") {
            const std::string type = upperCase(words.size() > 2 ? words[2] : "");
            grid_.coordinates = values<double>(3 * count(words, 1), type);
        } else if (name == "CELLS" || name == "POLYGONS") {
            readCells(count(words, 1), count(words, 2));
            if (name == "POLYGONS") {
                grid_.types.assign(grid_.ends.size(), vtkPolygon);
            }
        } else if (name == "CELL_TYPES") {
            grid_.types = values<std::int64_t>(count(words, 1), "INT");
        } else if (name == "VERTICES" || name == "LINES" || name == "TRIANGLE_STRIPS") {
            fail("a part " + name + " isn't read; write the mesh with polygons alone");
        } else if (name == "METADATA") {
            while (hasMore() && !nextLine().empty()) {
            }
        } else if (name == "CELL_DATA" || name == "POINT_DATA" || name == "FIELD") {
            return false;
        } else {
            fail("the part \"" + name.substr(0, 40) + "\" isn't known");
        }
        return true;
    }

    // Up to version 4 each cell is its size and its corners; from version 5 on there are ends and corners.
    void readCells(std::size_t first, std::size_t second) {
        const std::size_t before = at_;
        const auto words = wordsOf(nextLine());
        if (!words.empty() && upperCase(words[0]) == "OFFSETS") {
            const std::string type = upperCase(words.size() > 1 ? words[1] : "");
            grid_.ends = values<std::int64_t>(first, type);
            const auto next = wordsOf(nextNotEmpty());
            if (next.empty() || upperCase(next[0]) != "CONNECTIVITY") {
                fail("the corners of the cells were to begin here");
            }
            grid_.connectivity = values<std::int64_t>(second, upperCase(next.size() > 1 ? next[1] : ""));
            if (!grid_.ends.empty()) {
                grid_.ends.erase(grid_.ends.begin()); // the first is the begin of the first cell
            }
            return;
        }
        at_ = before;
        const auto all = values<std::int64_t>(second, "INT");
        std::size_t k = 0;
        for (std::size_t c = 0; c < first; ++c) {
            const std::int64_t size = k < all.size() ? all[k] : -1;
            if (size < 0 || static_cast<std::size_t>(size) > all.size() - k - 1) {
                fail("cell " + std::to_string(c + 1) + " goes beyond the end of the list");
            }
            const auto begin = all.begin() + static_cast<std::ptrdiff_t>(k) + 1;
            grid_.connectivity.insert(grid_.connectivity.end(), begin, begin + size);
            grid_.ends.push_back(static_cast<std::int64_t>(grid_.connectivity.size()));
            k += static_cast<std::size_t>(size) + 1;
        }
    }

    std::string_view nextNotEmpty() {
        std::string_view line = nextLine();
        while (line.empty() && hasMore()) {
            line = nextLine();
        }
        return line;
    }

    template <class Stored>
    Stored swapped() {
        std::array<char, sizeof(Stored)> raw{};
        std::reverse_copy(bytes_.begin() + static_cast<std::ptrdiff_t>(at_),
                          bytes_.begin() + static_cast<std::ptrdiff_t>(at_ + sizeof(Stored)), raw.begin());
        at_ += sizeof(Stored);
        return std::bit_cast<Stored>(raw);
    }

    template <class Stored, class Value>
    std::vector<Value> rawValues(std::size_t size) {
        if (size > (bytes_.size() - at_) / sizeof(Stored)) {
            fail("the file ends before the last value");
        }
        std::vector<Value> result(size);
        for (Value& value : result) {
            value = static_cast<Value>(swapped<Stored>());
        }
        if (at_ < bytes_.size() && bytes_[at_] == '\n') {
            ++at_;
        }
        return result;
    }

    template <class Value>
    std::vector<Value> values(std::size_t size, const std::string& type) {
        if (!binary_) {
            return textValues<Value>(size);
        }
        if constexpr (std::is_floating_point_v<Value>) {
            if (type == "DOUBLE") {
                return rawValues<double, Value>(size);
            }
            if (type == "FLOAT") {
                return rawValues<float, Value>(size);
            }
        }
        if (type == "VTKTYPEINT64" || type == "LONG") {
            return rawValues<std::int64_t, Value>(size);
        }
        if (type == "INT" || type == "VTKTYPEINT32") {
            return rawValues<std::int32_t, Value>(size);
        }
        fail("values of the type " + type + " aren't read");
    }

    static bool readValue(std::string_view word, double& value) { return readDeckNumber(word, value); }
    static bool readValue(std::string_view word, std::int64_t& value) { return readDeckWhole(word, value); }

    template <class Value>
    std::vector<Value> textValues(std::size_t size) {
        std::vector<Value> result;
        while (result.size() < size) {
            if (!hasMore()) {
                fail("the file ends before the last value");
            }
            for (const std::string_view word : wordsOf(nextLine())) {
                Value value{};
                if (result.size() == size || !readValue(word, value)) {
                    fail("\"" + std::string(word) + "\" isn't one of the numbers that were to stand here");
                }
                result.push_back(value);
            }
        }
        return result;
    }

    std::string bytes_;
    std::size_t at_ = 0;
    bool binary_ = false;
    VtkGrid grid_;
};

} // namespace

ShellMesh readVtkMesh(const std::string& path) {
    return VtkReader(path).read();
}

} // namespace tool
