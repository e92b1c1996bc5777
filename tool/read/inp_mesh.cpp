// A deck is keyword lines, which begin with one star, each with its data lines. Parts are read as they stand;
// an instance moves its part's points. Numbers have to be unique over all parts, as elements are handed back
// by them.
#include "host/mesh/error.h"
#include "tool/read/shell_builder.h"
#include "tool/read/shell_readers.h"

#include <cmath>
#include <numbers>

namespace tool {

using namespace vec;

namespace {

constexpr int deepestInclude = 10;

struct Keyword {
    std::string name;                              // upper case, blanks as they stand
    std::map<std::string, std::string> parameters; // upper-case names; values as they stand
    DeckPlace place;

    bool has(const std::string& parameter) const { return parameters.count(parameter) > 0; }
    std::string value(const std::string& parameter) const {
        const auto found = parameters.find(parameter);
        return found == parameters.end() ? std::string() : found->second;
    }
};

std::string setName(std::string_view text) {
    const bool quoted = text.size() > 1 && text.front() == '"' && text.back() == '"';
    return quoted ? std::string(text.substr(1, text.size() - 2)) : upperCase(text);
}

Keyword keywordOf(std::string_view text, const DeckPlace& place) {
    const auto parts = splitAt(text.substr(1), ',');
    Keyword keyword{upperCase(parts[0]), {}, place};
    for (std::size_t k = 1; k < parts.size(); ++k) {
        const std::size_t equals = parts[k].find('=');
        if (!parts[k].empty()) {
            keyword.parameters[upperCase(trimmed(parts[k].substr(0, equals)))] =
                equals == std::string_view::npos ? "" : std::string(trimmed(parts[k].substr(equals + 1)));
        }
    }
    return keyword;
}

struct ElementKind {
    std::size_t corners;
    std::size_t nodes;
    bool isShell;
};

// Shells, membranes, rigid and plane elements are surfaces; the first digits behind the letters count their
// nodes. Of other types only the numbers matter.
ElementKind kindOf(const std::string& type, const DeckPlace& place) {
    const std::size_t digit = type.find_first_of("0123456789");
    const std::string family = type.substr(0, digit);
    std::string count = digit == std::string::npos ? std::string() : type.substr(digit, 1);
    bool surface = family == "S" || family == "DS" || family == "CPS" || family == "CPE" || family == "CAX" ||
                   family == "STRI";
    if (type == "STRI65") {
        count = "6";
    }
    for (const std::string_view prefix : {"M3D", "R3D", "SFM3D"}) {
        if (type.starts_with(prefix)) {
            surface = true;
            count = type.substr(prefix.size(), 1);
        }
    }
    if (!surface) {
        return {0, 0, false};
    }
    if (count == "3" || count == "6") {
        return {3, count == "3" ? 3U : 6U, true};
    }
    if (count == "4" || count == "8" || count == "9") {
        return {4, static_cast<std::size_t>(count[0] - '0'), true};
    }
    failAt(place, "elements of type " + type + " aren't known");
}

// How an instance stands: turned about an axis by degrees after it was moved.
struct Instance {
    std::string part;
    Point shift{};
    Point axisFrom{}, axisTo{};
    double degrees = 0.0;
    DeckPlace place;

    Point moved(const Point& p) const {
        Point q = p + shift;
        if (degrees == 0.0) {
            return q;
        }
        const double turn = degrees * std::numbers::pi / 180.0;
        const Point axis = unit(axisTo - axisFrom);
        const Point arm = q - axisFrom;
        const Point along = dot(arm, axis) * axis;
        const Point across = arm - along;
        return axisFrom + (along + (std::cos(turn) * across + std::sin(turn) * cross(axis, across)));
    }
};

class InpReader {
public:
    ShellMesh read(const std::string& path) {
        readFile(path, "", 0);
        placeInstances();
        return builder_.finish();
    }

private:
    struct Part {
        std::string name;
        std::size_t firstPoint = 0, endPoint = 0;
    };

    void readFile(const std::string& path, const std::string& shownName, int depth) {
        const std::vector<std::string> lines = linesOfFile(path);
        for (std::size_t k = 0; k < lines.size(); ++k) {
            const DeckPlace place{k + 1, shownName};
            const std::string_view text = trimmed(lines[k]);
            if (text.empty() || text.starts_with("**")) {
                continue;
            }
            if (!text.starts_with('*')) {
                takeData(text, place);
                continue;
            }
            finishData();
            std::string whole(text);
            while (whole.ends_with(',') && k + 1 < lines.size()) {
                whole += trimmed(lines[++k]);
            }
            begin(keywordOf(whole, place), path, depth);
        }
        if (depth == 0) {
            finishData();
        }
    }

    void begin(const Keyword& keyword, const std::string& path, int depth) {
        keyword_ = keyword;
        rows_ = 0;
        if (keyword.name == "ELEMENT") {
            type_ = upperCase(keyword.value("TYPE"));
            kind_ = kindOf(type_, keyword.place);
        } else if (keyword.name == "PART") {
            parts_.push_back(
                {upperCase(keyword.value("NAME")), builder_.pointCount(), builder_.pointCount()});
        } else if (keyword.name == "END PART" && !parts_.empty()) {
            parts_.back().endPoint = builder_.pointCount();
        } else if (keyword.name == "INSTANCE") {
            instances_.push_back({upperCase(keyword.value("PART")), {}, {}, {}, 0.0, keyword.place});
        } else if (keyword.name == "SYSTEM" || keyword.name == "NGEN" || keyword.name == "NFILL" ||
                   keyword.name == "ELGEN" || keyword.name == "NCOPY" || keyword.name == "ELCOPY") {
            failAt(keyword.place, "*" + keyword.name +
                                      " isn't read; write the deck with each node and element on a line "
                                      "of its own and coordinates of one system");
        }
        // A keyword of data lines can take them from a file, too.
        if (keyword.name == "INCLUDE" ||
            (keyword.has("INPUT") && (keyword.name == "NODE" || keyword.name == "ELEMENT" ||
                                      keyword.name == "ELSET" || keyword.name == "NSET"))) {
            include(keyword, path, depth);
        }
    }

    void include(const Keyword& keyword, const std::string& path, int depth) {
        if (depth == deepestInclude) {
            failAt(keyword.place, "files include each other more than ten deep");
        }
        std::string name = keyword.value("INPUT");
        if (name.size() > 1 && name.front() == '"' && name.back() == '"') {
            name = name.substr(1, name.size() - 2);
        }
        try {
            readFile(includedPath(path, name), name, depth + 1);
        } catch (const InputError& error) {
            const std::string text = error.what();
            throw InputError(text.starts_with("line ") ? text : textOf(keyword.place) + ": " + text);
        }
    }

    void takeData(std::string_view text, const DeckPlace& place) {
        const std::string& name = keyword_.name;
        if (name == "NODE") {
            takeNode(splitAt(text, ','), place);
        } else if (name == "ELEMENT") {
            takeElement(splitAt(text, ','), place);
        } else if (name == "ELSET" || name == "NSET") {
            takeMembers(splitAt(text, ','), place);
        } else if (name == "INSTANCE") {
            takeMotion(splitAt(text, ','), place);
        }
        ++rows_;
    }

    void takeNode(const std::vector<std::string_view>& fields, const DeckPlace& place) {
        const std::int64_t number = deckWhole(fields[0], place, "the node number");
        Point point{};
        for (std::size_t k = 0; k < 3 && k + 1 < fields.size(); ++k) {
            point[k] = fields[k + 1].empty() ? 0.0 : deckNumber(fields[k + 1], place, "the coordinate");
        }
        builder_.addPoint(number, point, place);
        if (keyword_.has("NSET")) {
            builder_.addToPointSet(setName(keyword_.value("NSET")), number, place);
        }
    }

    // Data of an element may go on over several lines until it has all its nodes.
    void takeElement(const std::vector<std::string_view>& fields, const DeckPlace& place) {
        if (pending_.empty()) {
            pendingPlace_ = place;
        }
        const bool endsWithComma = fields.size() > 1 && fields.back().empty();
        for (std::size_t k = 0; k < fields.size() - (endsWithComma ? 1 : 0); ++k) {
            pending_.push_back(deckWhole(fields[k], place, "the element or node number"));
        }
        if (!kind_.isShell) {
            // How many lines such an element takes isn't known: only numbers at the begin of a row count.
            if (!endsWithComma) {
                builder_.addOther(pending_[0], type_);
                addToSet(pending_[0], pendingPlace_);
                pending_.clear();
            }
            return;
        }
        if (pending_.size() > kind_.nodes) {
            finishElement();
        }
    }

    void finishElement() {
        if (pending_.size() != kind_.nodes + 1) {
            failAt(pendingPlace_, "element " + std::to_string(pending_[0]) + " of type " + type_ + " has " +
                                      std::to_string(pending_.size() - 1) + " nodes instead of " +
                                      std::to_string(kind_.nodes));
        }
        builder_.addElement(pending_[0], kind_.corners, {pending_.begin() + 1, pending_.end()}, 0,
                            pendingPlace_);
        addToSet(pending_[0], pendingPlace_);
        pending_.clear();
    }

    void addToSet(std::int64_t number, const DeckPlace& place) {
        if (keyword_.has("ELSET")) {
            builder_.addToElementSet(setName(keyword_.value("ELSET")), number, true, place);
        }
    }

    void finishData() {
        if (keyword_.name == "ELEMENT" && !pending_.empty()) {
            if (kind_.isShell) {
                finishElement();
            }
            pending_.clear();
        }
    }

    void takeMembers(const std::vector<std::string_view>& fields, const DeckPlace& place) {
        const bool elements = keyword_.name == "ELSET";
        const std::string name = setName(keyword_.value(elements ? "ELSET" : "NSET"));
        if (keyword_.has("GENERATE")) {
            takeRange(fields, elements, name, place);
            return;
        }
        for (const std::string_view field : fields) {
            std::int64_t number = 0;
            if (field.empty()) {
                continue;
            }
            const std::string other = setName(field);
            if (readDeckWhole(field, number)) {
                add(elements, name, number, true, place);
            } else if (elements ? builder_.hasElementSet(other) : builder_.hasPointSet(other)) {
                elements ? builder_.copyElementSet(other, name) : builder_.copyPointSet(other, name);
            } else if (field.find_first_not_of("0123456789.+-eE") == std::string_view::npos) {
                failAt(place, "\"" + std::string(field) + "\" is neither a number nor a set");
            }
        }
    }

    void takeRange(const std::vector<std::string_view>& fields, bool elements, const std::string& name,
                   const DeckPlace& place) {
        constexpr std::int64_t most = 500000000;
        if (fields.size() < 2) {
            failAt(place, "a range takes a first and a last number");
        }
        const std::int64_t first = deckWhole(fields[0], place, "the first number");
        const std::int64_t last = deckWhole(fields[1], place, "the last number");
        const std::int64_t step =
            fields.size() > 2 && !fields[2].empty() ? deckWhole(fields[2], place, "the step") : 1;
        if (step < 1 || step > most || first < 0 || last < 0 || last - first > most ||
            last > std::int64_t{1} << 60) {
            failAt(place, "the range of the set " + name + " isn't one");
        }
        for (std::int64_t number = first; number <= last; number += step) {
            add(elements, name, number, false, place);
        }
    }

    void add(bool elements, const std::string& name, std::int64_t number, bool strict,
             const DeckPlace& place) {
        if (elements) {
            // Elements in an assembly's set belong to its instance; their numbers are the part's.
            builder_.addToElementSet(name, number, strict && !keyword_.has("INSTANCE"), place);
        } else {
            builder_.addToPointSet(name, number, place);
        }
    }

    void takeMotion(const std::vector<std::string_view>& fields, const DeckPlace& place) {
        std::vector<double> values;
        for (const std::string_view field : fields) {
            values.push_back(field.empty() ? 0.0 : deckNumber(field, place, "the value"));
        }
        Instance& instance = instances_.back();
        if (rows_ == 0) {
            values.resize(3);
            instance.shift = {values[0], values[1], values[2]};
        } else if (rows_ == 1) {
            values.resize(7);
            instance.axisFrom = {values[0], values[1], values[2]};
            instance.axisTo = {values[3], values[4], values[5]};
            instance.degrees = values[6];
        }
    }

    void placeInstances() {
        for (std::size_t k = 0; k < instances_.size(); ++k) {
            const Instance& instance = instances_[k];
            for (std::size_t j = 0; j < k; ++j) {
                if (instances_[j].part == instance.part) {
                    failAt(instance.place, "the part " + instance.part +
                                               " has two instances, so its element numbers stand for two "
                                               "elements each; write a deck without parts");
                }
            }
            for (const Part& part : parts_) {
                if (part.name == instance.part) {
                    builder_.movePoints(part.firstPoint, part.endPoint,
                                        [&](const Point& p) { return instance.moved(p); });
                }
            }
        }
    }

    ShellBuilder builder_;
    Keyword keyword_;
    std::size_t rows_ = 0; // data lines of the keyword so far
    std::string type_;
    ElementKind kind_{0, 0, false};
    std::vector<std::int64_t> pending_;
    DeckPlace pendingPlace_;
    std::vector<Part> parts_;
    std::vector<Instance> instances_;
};

} // namespace

ShellMesh readInpMesh(const std::string& path) {
    return InpReader().read(path);
}

} // namespace tool
