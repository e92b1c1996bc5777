// VTK's XML files: the arrays stand in the text as numbers or in base64, or behind all XML, as they are or
// compressed by zlib.
#include "host/mesh/error.h"
#include "tool/read/deck_text.h"
#include "tool/read/shell_readers.h"
#include "tool/read/vtk_cells.h"

#include <algorithm>
#include <cstring>
#include <pugixml.hpp>
#include <string_view>
#include <zlib.h>

namespace tool {
namespace {

constexpr std::size_t mostBytes = std::size_t{8} << 30;

int digitOf(char c) {
    if (c >= 'A' && c <= 'Z') {
        return c - 'A';
    }
    if (c >= 'a' && c <= 'z') {
        return c - 'a' + 26;
    }
    if (c >= '0' && c <= '9') {
        return c - '0' + 52;
    }
    return c == '+' ? 62 : c == '/' ? 63 : -1;
}

// Several pieces that are padded each may stand one behind the other.
std::string decoded(std::string_view text) {
    std::string bytes;
    unsigned held = 0;
    int bits = 0;
    for (const char c : text) {
        if (c == '=') {
            bits = 0;
            continue;
        }
        const int digit = digitOf(c);
        if (digit < 0) {
            if (c == ' ' || c == '\n' || c == '\r' || c == '\t') {
                continue;
            }
            break; // the array behind has begun
        }
        held = held << 6U | static_cast<unsigned>(digit);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes += static_cast<char>(held >> static_cast<unsigned>(bits) & 0xFFU);
        }
    }
    return bytes;
}

class VtuReader {
public:
    explicit VtuReader(const std::string& path) : bytes_(bytesOfFile(path)) {
        cutOffAppended();
        const pugi::xml_parse_result parsed = document_.load_buffer(bytes_.data(), xmlSize_);
        // Where the raw bytes were cut off, the elements around them stay open.
        if (!parsed && !(hasAppended_ && parsed.status == pugi::status_end_element_mismatch)) {
            const auto end = bytes_.begin() +
                             std::min<std::ptrdiff_t>(parsed.offset, static_cast<std::ptrdiff_t>(xmlSize_));
            failAt({static_cast<std::size_t>(std::count(bytes_.begin(), end, '\n')) + 1, ""},
                   std::string("it isn't XML: ") + parsed.description());
        }
        root_ = document_.child("VTKFile");
        if (!root_) {
            throw InputError("it isn't a VTK file");
        }
        if (std::string_view(root_.attribute("byte_order").as_string("LittleEndian")) != "LittleEndian") {
            throw InputError("its numbers stand with the highest byte first; little-endian files are read");
        }
        const std::string_view compressor = root_.attribute("compressor").as_string();
        compressed_ = !compressor.empty();
        if (compressed_ && compressor != "vtkZLibDataCompressor") {
            throw InputError("it is compressed by " + std::string(compressor) +
                             "; write it with zlib or without");
        }
        wideHeader_ = std::string_view(root_.attribute("header_type").as_string()) == "UInt64";
    }

    ShellMesh read() {
        VtkGrid grid;
        if (const auto unstructured = root_.child("UnstructuredGrid")) {
            const auto piece = onlyPiece(unstructured);
            grid.coordinates = reals(piece.child("Points").child("DataArray"));
            const auto cells = piece.child("Cells");
            grid.connectivity = wholes(named(cells, "connectivity"));
            grid.ends = wholes(named(cells, "offsets"));
            grid.types = wholes(named(cells, "types"));
            grid.numbers = numbersOf(piece.child("CellData"));
        } else if (const auto polygons = root_.child("PolyData")) {
            const auto piece = onlyPiece(polygons);
            if (piece.attribute("NumberOfStrips").as_llong() > 0) {
                throw InputError("its triangle strips aren't read; write the mesh with polygons alone");
            }
            grid.coordinates = reals(piece.child("Points").child("DataArray"));
            grid.connectivity = wholes(named(piece.child("Polys"), "connectivity"));
            grid.ends = wholes(named(piece.child("Polys"), "offsets"));
            grid.types.assign(grid.ends.size(), vtkPolygon);
        } else {
            throw InputError("it holds neither an unstructured grid nor polygons");
        }
        return shellOf(grid);
    }

private:
    // Raw bytes behind the XML would end it for a parser.
    void cutOffAppended() {
        xmlSize_ = bytes_.size();
        const std::size_t begin = bytes_.find("<AppendedData");
        if (begin == std::string::npos) {
            return;
        }
        const std::size_t open = bytes_.find('>', begin);
        const std::size_t mark = open == std::string::npos ? open : bytes_.find('_', open);
        if (mark == std::string::npos) {
            throw InputError("the data behind its XML don't begin");
        }
        const std::string_view head = std::string_view(bytes_).substr(begin, open - begin);
        appendedRaw_ = head.find("base64") == std::string_view::npos;
        hasAppended_ = true;
        xmlSize_ = begin;
        appended_ = std::string_view(bytes_).substr(mark + 1);
    }

    static pugi::xml_node onlyPiece(const pugi::xml_node& grid) {
        const auto piece = grid.child("Piece");
        if (!piece || piece.next_sibling("Piece")) {
            throw InputError("it holds " +
                             std::string(piece ? "several pieces; write it as one" : "no piece"));
        }
        return piece;
    }

    static pugi::xml_node named(const pugi::xml_node& parent, const char* name) {
        const auto array = parent.find_child_by_attribute("DataArray", "Name", name);
        if (!array) {
            throw InputError("it has no array " + std::string(name));
        }
        return array;
    }

    // Element numbers where the file carries them along.
    std::vector<std::int64_t> numbersOf(const pugi::xml_node& cellData) const {
        for (const char* name : {cellData.attribute("GlobalIds").as_string(), "element", "ElementId"}) {
            const auto array = cellData.find_child_by_attribute("DataArray", "Name", name);
            if (*name != '\0' && array && array.attribute("NumberOfComponents").as_int(1) == 1) {
                return wholes(array);
            }
        }
        return {};
    }

    std::uint64_t headerAt(std::string_view bytes, std::size_t k) const {
        const std::size_t size = wideHeader_ ? 8 : 4;
        std::uint64_t value = 0;
        if (bytes.size() < (k + 1) * size) {
            throw InputError("an array ends before its size");
        }
        std::memcpy(&value, bytes.data() + k * size, size); // little-endian, as this machine
        return value;
    }

    std::string inflated(std::string_view bytes) const {
        const std::size_t size = wideHeader_ ? 8 : 4;
        const std::uint64_t blocks = headerAt(bytes, 0);
        const std::uint64_t blockSize = blocks > 0 ? headerAt(bytes, 1) : 0;
        const std::uint64_t lastSize = blocks > 0 ? headerAt(bytes, 2) : 0;
        if (blocks > bytes.size() || blockSize > mostBytes || blocks * blockSize > mostBytes) {
            throw InputError("a compressed array announces more than a file can hold");
        }
        std::string result;
        std::size_t from = (3 + static_cast<std::size_t>(blocks)) * size;
        for (std::uint64_t k = 0; k < blocks; ++k) {
            const auto length = static_cast<std::size_t>(headerAt(bytes, 3 + static_cast<std::size_t>(k)));
            if (from > bytes.size() || length > bytes.size() - from) {
                throw InputError("a compressed array ends before its last block");
            }
            const std::uint64_t wanted = k + 1 == blocks && lastSize > 0 ? lastSize : blockSize;
            if (wanted > mostBytes) {
                throw InputError("a compressed array announces more than a file can hold");
            }
            std::string block(static_cast<std::size_t>(wanted), '\0');
            uLongf got = static_cast<uLongf>(block.size());
            if (uncompress(reinterpret_cast<Bytef*>(block.data()), &got,
                           reinterpret_cast<const Bytef*>(bytes.data() + from),
                           static_cast<uLong>(length)) != Z_OK ||
                got != block.size()) {
                throw InputError("a compressed array can't be unpacked");
            }
            result += block;
            from += length;
        }
        return result;
    }

    // The bytes of an array that isn't written as numbers.
    std::string bytesOf(const pugi::xml_node& array) const {
        const std::string_view format = array.attribute("format").as_string();
        std::string held;
        std::string_view packed;
        if (format == "appended") {
            const auto offset = array.attribute("offset").as_ullong();
            if (!hasAppended_ || offset > appended_.size()) {
                throw InputError("an array stands outside of the data behind the XML");
            }
            packed = appended_.substr(static_cast<std::size_t>(offset));
            if (!appendedRaw_) {
                held = decoded(packed);
                packed = held;
            }
        } else {
            held = decoded(array.child_value());
            packed = held;
        }
        if (compressed_) {
            return inflated(packed);
        }
        const std::size_t head = wideHeader_ ? 8 : 4;
        const std::uint64_t size = headerAt(packed, 0);
        if (size > packed.size() - head) {
            throw InputError("an array ends before its last value");
        }
        return std::string(packed.substr(head, static_cast<std::size_t>(size)));
    }

    template <class Stored, class Value>
    static std::vector<Value> converted(const std::string& bytes) {
        std::vector<Value> values(bytes.size() / sizeof(Stored));
        for (std::size_t k = 0; k < values.size(); ++k) {
            Stored stored;
            std::memcpy(&stored, bytes.data() + k * sizeof stored, sizeof stored);
            values[k] = static_cast<Value>(stored);
        }
        return values;
    }

    std::vector<double> reals(const pugi::xml_node& array) const {
        const std::string_view type = array.attribute("type").as_string();
        if (array.attribute("NumberOfComponents").as_int(3) != 3) {
            throw InputError("its points don't have three coordinates each");
        }
        if (std::string_view(array.attribute("format").as_string("ascii")) == "ascii") {
            std::vector<double> values;
            for (const std::string_view word : linesToWords(array)) {
                values.push_back(0.0);
                if (!readDeckNumber(word, values.back())) {
                    throw InputError("\"" + std::string(word) +
                                     "\" among its coordinates isn't a finite number");
                }
            }
            return values;
        }
        if (type == "Float64") {
            return converted<double, double>(bytesOf(array));
        }
        if (type == "Float32") {
            return converted<float, double>(bytesOf(array));
        }
        throw InputError("its points are of the type " + std::string(type));
    }

    std::vector<std::int64_t> wholes(const pugi::xml_node& array) const {
        const std::string_view type = array.attribute("type").as_string();
        if (std::string_view(array.attribute("format").as_string("ascii")) == "ascii") {
            std::vector<std::int64_t> values;
            for (const std::string_view word : linesToWords(array)) {
                values.push_back(0);
                if (!readDeckWhole(word, values.back())) {
                    throw InputError("\"" + std::string(word) + "\" in the array " +
                                     array.attribute("Name").as_string() + " isn't a whole number");
                }
            }
            return values;
        }
        const std::string bytes = bytesOf(array);
        if (type == "Int64" || type == "UInt64" || type == "vtkIdType") {
            return converted<std::int64_t, std::int64_t>(bytes);
        }
        if (type == "Int32") {
            return converted<std::int32_t, std::int64_t>(bytes);
        }
        if (type == "UInt32") {
            return converted<std::uint32_t, std::int64_t>(bytes);
        }
        if (type == "Int8" || type == "UInt8") {
            return converted<std::uint8_t, std::int64_t>(bytes);
        }
        throw InputError("the array " + std::string(array.attribute("Name").as_string()) +
                         " is of the type " + std::string(type));
    }

    static std::vector<std::string_view> linesToWords(const pugi::xml_node& array) {
        std::vector<std::string_view> words;
        for (const std::string_view line : splitAt(array.child_value(), '\n')) {
            for (const std::string_view word : wordsOf(line)) {
                words.push_back(word);
            }
        }
        return words;
    }

    std::string bytes_;
    std::size_t xmlSize_ = 0;
    std::string_view appended_;
    bool hasAppended_ = false, appendedRaw_ = false;
    bool compressed_ = false, wideHeader_ = false;
    pugi::xml_document document_;
    pugi::xml_node root_;
};

} // namespace

ShellMesh readVtuMesh(const std::string& path) {
    return VtuReader(path).read();
}

} // namespace tool
