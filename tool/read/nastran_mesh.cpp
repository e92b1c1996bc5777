// Cards come in three forms that may change from line to line: fields of 8 columns, fields of 16 columns
// where the name ends with a star, and fields apart by commas. A card goes on in lines that begin with a
// blank, a plus, a star or a comma. Elements of one property make a set PID<number>, those of a SET card
// SET<number>.
#include "host/mesh/error.h"
#include "tool/read/shell_builder.h"
#include "tool/read/shell_readers.h"

#include <algorithm>

namespace tool {
namespace {

constexpr int deepestInclude = 10;

struct Card {
    std::string name;                // upper case, without a star
    std::vector<std::string> fields; // those behind the name
    DeckPlace place;

    std::string_view field(std::size_t k) const {
        return k < fields.size() ? trimmed(fields[k]) : std::string_view();
    }
};

// The fields of one line and whether they carry a card on.
struct CardLine {
    std::string name;
    std::vector<std::string> fields;
    bool goesOn = false;
};

std::string withoutTabs(std::string_view line) {
    constexpr std::size_t columns = 8;
    std::string plain;
    for (const char c : line.substr(0, line.find('$'))) {
        if (c == '\t') {
            plain.append(columns - plain.size() % columns, ' ');
        } else {
            plain += c;
        }
    }
    return plain;
}

CardLine lineOf(std::string_view text) {
    CardLine line;
    if (text.find(',') != std::string_view::npos) {
        const auto parts = splitAt(text, ',');
        line.name = upperCase(parts[0]);
        // Free fields may be more than eight to a line; then the line is taken as it stands.
        for (std::size_t k = 1; k < parts.size(); ++k) {
            line.fields.emplace_back(parts[k]);
        }
        constexpr std::size_t small = 8;
        const std::size_t whole = line.name.find('*') != std::string::npos ? small / 2 : small;
        if (line.fields.size() == whole + 1) {
            line.fields.pop_back(); // the mark of the line that goes on
        }
        line.fields.resize(std::max(line.fields.size(), whole));
    } else {
        line.name = upperCase(trimmed(text.substr(0, 8)));
        const bool wide = line.name.find('*') != std::string::npos;
        const std::size_t width = wide ? 16 : 8;
        for (std::size_t k = 0; k < (wide ? 4U : 8U); ++k) {
            const std::size_t begin = 8 + k * width;
            line.fields.emplace_back(begin < text.size() ? text.substr(begin, width) : std::string_view());
        }
    }
    line.goesOn = line.name.empty() || line.name[0] == '+' || line.name[0] == '*';
    std::erase(line.name, '*');
    return line;
}

struct Shape {
    std::string_view name;
    std::size_t corners, nodes;
};
constexpr Shape shapes[] = {{"CTRIA3", 3, 3}, {"CTRIAR", 3, 3}, {"CTRIA6", 3, 6}, {"CQUAD4", 4, 4},
                            {"CQUADR", 4, 4}, {"CQUAD8", 4, 8}, {"CQUAD", 4, 9}};

class NastranReader {
public:
    ShellMesh read(const std::string& path) {
        readFile(path, "", 0);
        for (const Set& set : sets_) {
            takeSet(set);
        }
        return builder_.finish();
    }

private:
    struct Set {
        std::string name;
        std::vector<std::string> fields;
        DeckPlace place;
    };

    // A file that is only a part of a deck has no BEGIN BULK.
    static std::size_t firstBulkLine(const std::vector<std::string>& lines) {
        const auto begin = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
            const auto words = wordsOf(line);
            return words.size() > 1 && upperCase(words[0]) == "BEGIN" && upperCase(words[1]) == "BULK";
        });
        return begin == lines.end() ? 0 : static_cast<std::size_t>(begin - lines.begin()) + 1;
    }

    void readFile(const std::string& path, const std::string& shownName, int depth) {
        const std::vector<std::string> lines = linesOfFile(path);
        Card card;
        for (std::size_t k = firstBulkLine(lines); k < lines.size() && !ended_; ++k) {
            const DeckPlace place{k + 1, shownName};
            const std::string text = withoutTabs(lines[k]);
            if (trimmed(text).empty()) {
                continue;
            }
            const auto words = wordsOf(text);
            if (upperCase(words[0]) == "INCLUDE") {
                take(card);
                card = {};
                include(path, text, place, depth);
                continue;
            }
            CardLine line = lineOf(text);
            if (line.goesOn) {
                if (card.name.empty()) {
                    failAt(place, "a line goes on with a card where there is none");
                }
                card.fields.insert(card.fields.end(), line.fields.begin(), line.fields.end());
                continue;
            }
            take(card);
            card = {line.name, line.fields, place};
            ended_ = line.name == "ENDDATA";
        }
        take(card);
        if (firstBulkLine(lines) > 0 && !ended_) {
            failAt({lines.size(), shownName}, "the deck ends without ENDDATA, so a part of it is missing");
        }
    }

    void include(const std::string& path, const std::string& text, const DeckPlace& place, int depth) {
        if (depth == deepestInclude) {
            failAt(place, "files include each other more than ten deep");
        }
        std::string name(trimmed(trimmed(text).substr(std::string_view("INCLUDE").size())));
        std::erase(name, '\'');
        std::erase(name, '"');
        try {
            readFile(includedPath(path, name), name, depth + 1);
        } catch (const InputError& error) {
            const std::string message = error.what();
            throw InputError(message.starts_with("line ") ? message : textOf(place) + ": " + message);
        }
    }

    void take(const Card& card) {
        if (card.name == "GRID") {
            takePoint(card);
        } else if (card.name == "SET") {
            if (upperCase(card.field(1)) == "ELEM") {
                sets_.push_back({"SET" + std::string(card.field(0)), card.fields, card.place});
            }
        } else if (card.name.starts_with("C")) {
            takeElement(card);
        }
    }

    void takePoint(const Card& card) {
        const std::int64_t number = deckWhole(card.field(0), card.place, "the node number");
        if (!card.field(1).empty() && deckWhole(card.field(1), card.place, "the coordinate system") != 0) {
            failAt(card.place, "node " + std::to_string(number) + " stands in coordinate system " +
                                   std::string(card.field(1)) +
                                   "; write the deck with all nodes in the basic system");
        }
        Point point{};
        for (std::size_t k = 0; k < 3; ++k) {
            const std::string_view field = card.field(2 + k);
            point[k] = field.empty() ? 0.0 : deckNumber(field, card.place, "the coordinate");
        }
        builder_.addPoint(number, point, card.place);
    }

    void takeElement(const Card& card) {
        const auto shape = std::find_if(std::begin(shapes), std::end(shapes),
                                        [&](const Shape& s) { return s.name == card.name; });
        std::int64_t number = 0;
        if (shape == std::end(shapes)) {
            // Connections, coordinate systems and other cards with a C: those that aren't elements do no
            // harm.
            if (readDeckWhole(card.field(0), number) && !card.name.starts_with("CORD")) {
                builder_.addOther(number, card.name);
            }
            return;
        }
        number = deckWhole(card.field(0), card.place, "the element number");
        const std::int64_t property =
            card.field(1).empty() ? number : deckWhole(card.field(1), card.place, "the property number");
        std::vector<std::int64_t> nodes;
        for (std::size_t k = 0; k < shape->nodes; ++k) {
            // Middles of sides may be left out; the element then counts as one of corners alone.
            const std::string_view field = card.field(2 + k);
            if (k >= shape->corners && (field.empty() || field == "0")) {
                nodes.resize(shape->corners);
                break;
            }
            nodes.push_back(deckWhole(field, card.place, "the node number"));
        }
        builder_.addElement(number, shape->corners, nodes, property, card.place);
        builder_.addToElementSet("PID" + std::to_string(property), number, true, card.place);
    }

    // Numbers and ranges "1,THRU,9".
    void takeSet(const Set& set) {
        constexpr std::int64_t most = 500000000;
        std::vector<std::string_view> words;
        for (std::size_t k = 2; k < set.fields.size(); ++k) {
            for (const std::string_view word : wordsOf(set.fields[k])) {
                words.push_back(word);
            }
        }
        if (!words.empty() && upperCase(words[0]) == "LIST") {
            words.erase(words.begin());
        }
        for (std::size_t k = 0; k < words.size(); ++k) {
            const std::int64_t first = deckWhole(words[k], set.place, "the member of a set");
            const bool range = k + 2 < words.size() && upperCase(words[k + 1]) == "THRU";
            const std::int64_t last =
                range ? deckWhole(words[k + 2], set.place, "the member of a set") : first;
            if (first < 0 || last < first || last - first > most) {
                failAt(set.place, "the range of the set isn't one");
            }
            for (std::int64_t number = first; number <= last; ++number) {
                builder_.addToElementSet(set.name, number, false, set.place);
            }
            k += range ? 2 : 0;
        }
    }

    ShellBuilder builder_;
    std::vector<Set> sets_;
    bool ended_ = false;
};

} // namespace

ShellMesh readNastranMesh(const std::string& path) {
    return NastranReader().read(path);
}

} // namespace tool
