// Both forms become rows of named cells that know where they stand; what a row means is understood once.
#include "tool/read/layup_file.h"

#include "host/mesh/error.h"
#include "host/mesh/text.h"
#include "host/search/cover.h"
#include "tool/read/deck_text.h"
#include "tool/read/mesh_formats.h"
#include "tool/read/numbers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

namespace tool {
namespace {

constexpr std::size_t mostPlies = 100000;
constexpr double usualShare = 0.99; // of the mould, covered by pieces
constexpr double mostPieces = 1000;

struct Cell {
    std::string text;
    std::size_t line = 0;
    std::size_t column = 0; // of a table: the number of the column; in JSON: of the line
};

using Row = std::map<std::string, Cell>; // by the names of columns, without the empty ones

struct Table {
    std::vector<Row> plies;
    std::map<std::string, Row> cloths; // by name
};

constexpr std::array<std::string_view, 10> clothColumns{"thickness", "width", "locking", "density", "E1",
                                                        "E2",        "nu12",  "G12",     "G13",     "G23"};
constexpr std::array<std::string_view, 11> plyColumns{"name",   "cloth", "angle",  "seed",  "step", "pivot",
                                                      "region", "side",  "pieces", "darts", "after"};

constexpr std::array<std::string_view, 7> materialColumns{"density", "E1", "E2", "nu12", "G12", "G13", "G23"};

bool isKnown(const std::string& name, bool ofPly) {
    const auto among = [&](const auto& names) {
        return std::find(names.begin(), names.end(), name) != names.end();
    };
    return among(clothColumns) || (ofPly && among(plyColumns));
}

std::string placeText(const std::string& name, const Cell& cell) {
    return "line " + std::to_string(cell.line) + ", column " + std::to_string(cell.column) + " (" + name +
           ")";
}

// Parts of a text apart by any of the marks; what stands in quotes may hold marks, and doubled quotes.
struct Parts {
    std::vector<std::string> texts;
    bool quoteIsOpen = false;
};

Parts partsOf(std::string_view text, std::string_view marks) {
    Parts parts{{""}, false};
    for (std::size_t k = 0; k < text.size(); ++k) {
        const char c = text[k];
        std::string& part = parts.texts.back();
        if (parts.quoteIsOpen && c == '"' && k + 1 < text.size() && text[k + 1] == '"') {
            part += text[++k];
        } else if (c == '"' && (parts.quoteIsOpen || trimmed(part).empty())) {
            parts.quoteIsOpen = !parts.quoteIsOpen;
        } else if (marks.find(c) != std::string_view::npos && !parts.quoteIsOpen) {
            parts.texts.emplace_back();
        } else {
            part += c;
        }
    }
    for (std::string& part : parts.texts) {
        part = std::string(trimmed(part));
    }
    return parts;
}

// Of a list of names, as a cell of a table holds it.
constexpr std::string_view listMarks = ",;";

std::string asListed(const std::string& name) {
    return quotedIfAny(name, ",;\"");
}

std::vector<std::string> fieldsOf(const std::string& line, std::size_t number) {
    Parts parts = partsOf(line, ",");
    if (parts.quoteIsOpen) {
        throw InputError("line " + std::to_string(number) + ", column " + std::to_string(parts.texts.size()) +
                         ": a quote is opened and not closed");
    }
    return std::move(parts.texts);
}

bool isUtf8(const std::string& text) {
    for (std::size_t k = 0; k < text.size();) {
        const auto byte = static_cast<unsigned char>(text[k]);
        const std::size_t more = byte < 0x80U              ? 0
                                 : (byte & 0xE0U) == 0xC0U ? 1
                                 : (byte & 0xF0U) == 0xE0U ? 2
                                 : (byte & 0xF8U) == 0xF0U ? 3
                                                           : text.size();
        for (std::size_t m = 1; m <= more; ++m) {
            if (k + m >= text.size() || (static_cast<unsigned char>(text[k + m]) & 0xC0U) != 0x80U) {
                return false;
            }
        }
        k += more + 1;
    }
    return true;
}

// Tables that aren't in UTF-8 are taken to be in Latin-1, as older spreadsheets write them.
std::string asUtf8(const std::string& text) {
    if (isUtf8(text)) {
        return text;
    }
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80U) {
            result += c;
        } else {
            result += static_cast<char>(0xC0U | byte >> 6U);
            result += static_cast<char>(0x80U | (byte & 0x3FU));
        }
    }
    return result;
}

// A head line "# drape-layup 1" may stand in front; without it the file is of version 1.
void checkVersionLine(std::string_view line, std::size_t number) {
    const auto words = wordsOf(line.substr(1));
    std::int64_t version = 0;
    if (words.size() >= 2 && words[0] == "drape-layup" &&
        (!readDeckWhole(words[1], version) || version != layupVersion)) {
        throw InputError("line " + std::to_string(number) + ": the layup is of version " +
                         std::string(words[1]) + ", and version " + std::to_string(layupVersion) +
                         " is read");
    }
}

Table readTable(const std::string& path) {
    Table table;
    std::vector<std::string> names;
    const auto lines = linesOfFile(path);
    for (std::size_t k = 0; k < lines.size(); ++k) {
        std::string line = asUtf8(lines[k]);
        if (k == 0 && line.starts_with("\xEF\xBB\xBF")) {
            line.erase(0, 3);
        }
        if (trimmed(line).empty() || trimmed(line).starts_with('#')) {
            if (trimmed(line).starts_with('#')) {
                checkVersionLine(trimmed(line), k + 1);
            }
            continue;
        }
        const auto fields = fieldsOf(line, k + 1);
        if (names.empty()) {
            names = fields;
            for (std::size_t c = 0; c < names.size(); ++c) {
                if (!isKnown(names[c], true) || std::count(names.begin(), names.end(), names[c]) > 1) {
                    throw InputError(placeText(names[c], {"", k + 1, c + 1}) +
                                     (isKnown(names[c], true) ? ": this column stands there twice"
                                                              : ": there is no such column of a layup"));
                }
            }
            continue;
        }
        Row& row = table.plies.emplace_back();
        for (std::size_t c = 0; c < fields.size(); ++c) {
            if (c >= names.size() && !fields[c].empty()) {
                row["?"] = {fields[c], k + 1, c + 1};
            } else if (!fields[c].empty()) {
                row[names[c]] = {fields[c], k + 1, c + 1};
            }
        }
        row["line"] = {"", k + 1, 1};
    }
    if (names.empty()) {
        throw InputError("it has no line with the names of the columns");
    }
    return table;
}

// Bytes that are read one by one, with the place that was reached.
struct Reached {
    std::size_t line = 1, column = 0;
    std::size_t lastColumn = 0; // of the line before
};

class CountedBytes {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountedBytes(const char* at, Reached* reached) : at_(at), reached_(reached) {}
    reference operator*() const { return *at_; }
    CountedBytes& operator++() {
        if (*at_ == '\n') {
            *reached_ = {reached_->line + 1, 0, reached_->column};
        } else {
            ++reached_->column;
        }
        ++at_;
        return *this;
    }
    CountedBytes operator++(int) {
        const CountedBytes before = *this;
        ++*this;
        return before;
    }
    bool operator==(const CountedBytes& other) const { return at_ == other.at_; }
    bool operator!=(const CountedBytes& other) const { return at_ != other.at_; }

private:
    const char* at_;
    Reached* reached_;
};

// Takes a layup off the parser's events: the members of the root, the cloths by name, the plies one by one.
// Lists of numbers or words become one text with commas, as a table has them.
class JsonLayup : public nlohmann::json_sax<nlohmann::json> {
public:
    JsonLayup(Table& table, const Reached& reached) : table_(table), reached_(reached) {}

    bool null() override { return true; }
    bool boolean(bool value) override { return take(value ? "true" : "false", 1); }
    bool number_integer(number_integer_t value) override { return take(std::to_string(value), 1); }
    bool number_unsigned(number_unsigned_t value) override { return take(std::to_string(value), 1); }
    bool number_float(number_float_t, const string_t& text) override { return take(text, 1); }
    bool string(string_t& value) override { return take(value, 2); }
    bool binary(binary_t&) override { return true; }

    bool start_object(std::size_t) override {
        if (lists_ > 1) {
            fail("an object isn't wanted here");
        }
        keys_.emplace_back();
        if (isPly()) {
            Row& row = table_.plies.emplace_back();
            row["line"] = {"", reached_.line, reached_.column};
            if (table_.plies.size() > mostPlies) {
                fail("there are too many plies");
            }
        } else if (keys_.size() > 3 || (keys_.size() > 1 && keys_[0] != "cloths")) {
            fail("an object isn't wanted here");
        }
        return true;
    }
    bool key(string_t& value) override {
        keys_.back() = value;
        return true;
    }
    bool end_object() override {
        keys_.pop_back();
        return true;
    }
    bool start_array(std::size_t) override {
        ++lists_;
        listed_.clear();
        return true;
    }
    bool end_array() override {
        if (--lists_ > 0 || keys_.size() > 1 || keys_.empty() || keys_[0] != "plies") {
            store(listed_, reached_.column);
        }
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& error) override {
        const std::string text = error.what();
        const std::size_t line = text.find("line ");
        throw InputError(line == std::string::npos ? text : text.substr(line));
    }

private:
    [[noreturn]] void fail(const std::string& what) const {
        throw InputError("line " + std::to_string(reached_.line) + ", column " +
                         std::to_string(reached_.column) + ": " + what);
    }

    bool isPly() const { return keys_.size() == 2 && keys_[0] == "plies" && lists_ == 1; }

    // The list of plies is one itself.
    bool inList() const { return lists_ > (!keys_.empty() && keys_[0] == "plies" ? 1 : 0); }

    bool take(const std::string& text, std::size_t marks) {
        if (inList()) {
            listed_ += (listed_.empty() ? "" : ",") + asListed(text);
            return true;
        }
        const std::size_t back = text.size() + marks - 1;
        store(text, reached_.column > back ? reached_.column - back : 1);
        return true;
    }

    void store(const std::string& text, std::size_t column) {
        // A number ends only with the byte behind it, which may be the end of its line.
        const bool over = reached_.column == 0 && reached_.line > 1;
        const Cell cell{text, over ? reached_.line - 1 : reached_.line,
                        over ? std::max<std::size_t>(reached_.lastColumn + 1, text.size()) - text.size() + 1
                             : column};
        if (keys_.size() == 1) {
            takeHead(keys_[0], cell);
        } else if (isPly()) {
            table_.plies.back()[keys_[1]] = cell;
        } else if (keys_.size() == 3 && keys_[0] == "cloths") {
            if (!isKnown(keys_[2], false)) {
                throw InputError(placeText(keys_[2], cell) + ": cloths have no such member");
            }
            table_.cloths[keys_[1]][keys_[2]] = cell;
        } else {
            fail("nothing of this kind belongs here");
        }
    }

    void takeHead(const std::string& name, const Cell& cell) {
        if (name == "format" ? cell.text != "drape-layup"
                             : name == "version" && cell.text != std::to_string(layupVersion)) {
            throw InputError(placeText(name, cell) + ": " + cell.text + " isn't read, but " +
                             (name == "format" ? "drape-layup" : std::to_string(layupVersion)) + " is");
        }
        if (name != "format" && name != "version") {
            throw InputError(placeText(name, cell) + ": a layup has no such member");
        }
    }

    Table& table_;
    const Reached& reached_;
    std::vector<std::string> keys_; // the last key of each object that is open
    int lists_ = 0;
    std::string listed_;
};

Table readJson(const std::string& path) {
    const std::string bytes = bytesOfFile(path);
    Table table;
    Reached reached;
    JsonLayup layup(table, reached);
    const char* begin = bytes.data();
    nlohmann::json::sax_parse(CountedBytes(begin, &reached), CountedBytes(begin + bytes.size(), &reached),
                              &layup);
    return table;
}

// What is wrong with one ply.
struct Wrong : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class RowReader {
public:
    RowReader(const Row& row, const Row& cloth, std::filesystem::path folder)
        : row_(row), cloth_(cloth), folder_(std::move(folder)) {}

    void read(PlyWish& ply) const {
        for (const auto& [name, cell] : row_) {
            if (name != "line" && !isKnown(name, true)) {
                throw Wrong(name == "?" ? "line " + std::to_string(cell.line) + ", column " +
                                              std::to_string(cell.column) +
                                              ": the line has more fields than there "
                                              "are columns"
                                        : placeText(name, cell) + ": a ply has no such member");
            }
        }
        checkMaterial();
        readCloth(ply.cloth);
        ply.angle = number("angle", false, -1e6).value_or(0.0);
        ply.seed = point("seed");
        ply.side = point("side");
        if (ply.side && *ply.side == Point{}) {
            refuse("side", "the direction has no length");
        }
        readStep(ply);
        if (const Cell* cell = find("pivot")) {
            if (cell->text != "grid" && cell->text != "shear") {
                refuse("pivot", "it has to be grid or shear");
            }
            ply.pivotByGridLine = cell->text == "grid";
        }
        if (const Cell* cell = find("region")) {
            ply.region = (folder_ / cell->text).string();
        }
        readPieces(ply);
        readDarts(ply);
    }

    void readAfter(PlyWish& ply) const {
        if (const Cell* cell = find("after")) {
            const Parts names = partsOf(cell->text, listMarks);
            if (names.quoteIsOpen) {
                refuse("after", "a quote is opened and not closed");
            }
            for (const std::string& name : names.texts) {
                if (!name.empty()) {
                    ply.after.push_back(name);
                }
            }
            ply.afterPlace = placeText("after", *cell);
        }
    }

    // Names stand in decks and books, each within a line.
    void checkWord(const std::string& name) const {
        const Cell* cell = find(name);
        if (cell != nullptr && std::any_of(cell->text.begin(), cell->text.end(),
                                           [](char c) { return (c >= 0 && c < ' ') || c == '\x7f'; })) {
            refuse(name, "a name is printable, within a line");
        }
    }

    const Cell* find(const std::string& name) const {
        const auto own = row_.find(name);
        if (own != row_.end()) {
            return &own->second;
        }
        const auto shared = cloth_.find(name);
        return shared == cloth_.end() ? nullptr : &shared->second;
    }

    [[noreturn]] void refuse(const std::string& name, const std::string& what) const {
        const Cell* cell = find(name);
        throw Wrong(placeText(name, cell != nullptr ? *cell : Cell{}) + ": \"" +
                    (cell != nullptr ? cell->text : std::string()) + "\": " + what);
    }

private:
    std::optional<double> number(const std::string& name, bool above, double least) const {
        const Cell* cell = find(name);
        double value = 0.0;
        if (cell == nullptr) {
            return {};
        }
        if (!readNumber(cell->text, value)) {
            refuse(name, "that isn't a finite number");
        }
        if (above ? !(value > least) : !(value >= least)) {
            refuse(name, std::string("that has to be ") + (above ? "above " : "at least ") +
                             (least == 0.0 ? "0" : "-1000000"));
        }
        return value;
    }

    std::optional<Point> point(const std::string& name) const {
        const Cell* cell = find(name);
        if (cell == nullptr) {
            return {};
        }
        std::string text = cell->text;
        std::replace(text.begin(), text.end(), ',', ' ');
        const auto words = wordsOf(text);
        Point p{};
        for (std::size_t k = 0; k < 3; ++k) {
            if (words.size() != 3 || !readNumber(std::string(words[k]), p[k])) {
                refuse(name, "give three finite numbers");
            }
        }
        return p;
    }

    void readPieces(PlyWish& ply) const {
        const Cell* cell = find("pieces");
        if (cell == nullptr || cell->text == "1") {
            return;
        }
        double number = usualShare;
        const bool isNumber = cell->text != "cover";
        const bool isRead = !isNumber || readNumber(cell->text, number);
        const bool isCount = isRead && number > 1.0 && number <= mostPieces && number == std::floor(number);
        if (!isCount && !(isRead && number > 0.0 && number < 1.0)) {
            refuse("pieces",
                   "give cover, the share to be covered, above 0 and below 1, or the most pieces, 1 to " +
                       std::to_string(static_cast<int>(mostPieces)));
        }
        for (const char* other : {"seed", "region"}) {
            if (find(other) != nullptr) {
                refuse(other, "a ply in several pieces finds its starts by itself and isn't cut off");
            }
        }
        ply.pieces = isCount ? usualShare : number;
        if (isCount) {
            ply.mostPieces = static_cast<std::size_t>(number);
        }
    }

    void readDarts(PlyWish& ply) const {
        const Cell* cell = find("darts");
        if (cell == nullptr) {
            return;
        }
        double count = 0.0;
        if (!readNumber(cell->text, count) || !(count >= 0.0 && count <= static_cast<double>(mostDarts)) ||
            count != std::floor(count)) {
            refuse("darts", "give how many a piece may get, 0 to " + std::to_string(mostDarts));
        }
        if (count > 0.0 && find("region") != nullptr) {
            refuse("region", "a ply with darts isn't cut off");
        }
        ply.darts = static_cast<std::size_t>(count);
    }

    void readStep(PlyWish& ply) const {
        const Cell* cell = find("step");
        if (cell == nullptr) {
            return;
        }
        std::string text = cell->text;
        std::replace(text.begin(), text.end(), ',', ' ');
        const auto words = wordsOf(text);
        std::array<double, 2> steps{};
        for (std::size_t k = 0; k < 2; ++k) {
            const std::size_t from = std::min(k, words.size() - 1);
            if (words.empty() || words.size() > 2 || !readNumber(std::string(words[from]), steps[k]) ||
                !(steps[k] > 0.0)) {
                refuse("step", "give one length above 0, or two for warp and weft");
            }
        }
        ply.stepA = steps[0];
        ply.stepB = steps[1];
    }

    // Plies of one cloth are of one material, which decks have once.
    void checkMaterial() const {
        for (const std::string_view column : materialColumns) {
            const std::string name(column);
            const auto own = row_.find(name);
            const auto shared = cloth_.find(name);
            double values[2]{};
            if (own != row_.end() && shared != cloth_.end() && readNumber(own->second.text, values[0]) &&
                readNumber(shared->second.text, values[1]) && values[0] != values[1]) {
                refuse(name, "the cloth has " + shared->second.text + " in line " +
                                 std::to_string(shared->second.line) +
                                 "; give another name to another cloth");
            }
        }
    }

    void readCloth(Cloth& cloth) const {
        cloth.thickness = number("thickness", true, 0.0).value_or(0.0);
        cloth.width = number("width", true, 0.0);
        cloth.density = number("density", true, 0.0);
        cloth.lockingAngle = number("locking", false, 0.0);
        if (cloth.lockingAngle && *cloth.lockingAngle > 90.0) {
            refuse("locking", "that has to be at most 90 degrees");
        }
        const auto e1 = number("E1", true, 0.0);
        if (!e1) {
            return;
        }
        Elasticity e;
        e.e1 = *e1;
        e.e2 = number("E2", true, 0.0).value_or(e.e1);
        e.nu12 = number("nu12", false, 0.0).value_or(0.3);
        if (e.nu12 * e.nu12 * e.e2 >= e.e1) {
            refuse("nu12", "cloth of that can't be: nu12 squared has to be below E1 / E2");
        }
        const auto g12 = number("G12", true, 0.0);
        if (!g12) {
            refuse("E1", "a stiffness takes G12 too");
        }
        e.g12 = *g12;
        e.g13 = number("G13", true, 0.0).value_or(e.g12);
        e.g23 = number("G23", true, 0.0).value_or(e.g13);
        cloth.elasticity = e;
    }

    const Row& row_;
    const Row& cloth_;
    std::filesystem::path folder_;
};

// A cloth is what the file says of it, and what plies before said of it.
std::vector<PlyWish> understood(Table table, const std::filesystem::path& folder) {
    std::vector<PlyWish> plies;
    std::set<std::string> names;
    for (const Row& row : table.plies) {
        const auto clothName = row.find("cloth");
        Row none;
        Row& cloth = clothName == row.end() ? none : table.cloths[clothName->second.text];
        for (const std::string_view column : clothColumns) {
            const auto own = row.find(std::string(column));
            if (own != row.end()) {
                cloth.emplace(own->first, own->second);
            }
        }
        PlyWish& ply = plies.emplace_back();
        const RowReader reader(row, cloth, folder);
        const Cell* name = row.count("name") > 0 ? &row.at("name") : nullptr;
        ply.name = name != nullptr ? name->text : "ply " + std::to_string(plies.size());
        ply.cloth.name = clothName == row.end() ? "cloth" : clothName->second.text;
        try {
            if (!names.insert(ply.name).second) {
                reader.refuse("name", "another ply has this name");
            }
            reader.readAfter(ply);
            for (const char* column : {"name", "cloth"}) {
                reader.checkWord(column);
            }
            reader.read(ply);
        } catch (const Wrong& wrong) {
            ply.trouble = wrong.what();
        }
    }
    for (std::size_t p = 0; p < plies.size(); ++p) {
        for (const std::string& other : plies[p].after) {
            if (names.count(other) == 0 && plies[p].trouble.empty()) {
                plies[p].trouble =
                    placeText("after", table.plies[p].at("after")) + ": there is no ply \"" + other + "\"";
            }
        }
    }
    if (plies.empty()) {
        throw InputError("it holds no plies");
    }
    return plies;
}

} // namespace

std::vector<PlyWish> readLayup(const std::string& path) {
    try {
        Table table = endingOf(path) == "json" ? readJson(path) : readTable(path);
        return understood(std::move(table), std::filesystem::path(path).parent_path());
    } catch (const InputError& error) {
        throw InputError("can't read the layup " + path + ": " + error.what());
    }
}

} // namespace tool
