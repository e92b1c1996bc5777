// Numbers are read without a locale, so that a decimal mark is a point everywhere.
#include "tool/read/deck_text.h"

#include "host/mesh/error.h"
#include "tool/read/numbers.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace tool {

using drape::host::InputError;

std::string textOf(const DeckPlace& place) {
    return "line " + std::to_string(place.line) + (place.file.empty() ? "" : " of " + place.file);
}

void failAt(const DeckPlace& place, const std::string& what) {
    throw InputError(textOf(place) + ": " + what);
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    const std::size_t last = text.find_last_not_of(" \t\r");
    return first == std::string_view::npos ? std::string_view() : text.substr(first, last - first + 1);
}

std::string upperCase(std::string_view text) {
    std::string upper(text);
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return upper;
}

std::vector<std::string_view> splitAt(std::string_view text, char mark) {
    std::vector<std::string_view> parts;
    while (true) {
        const std::size_t end = text.find(mark);
        parts.push_back(trimmed(text.substr(0, end)));
        if (end == std::string_view::npos) {
            return parts;
        }
        text.remove_prefix(end + 1);
    }
}

std::vector<std::string_view> wordsOf(std::string_view text) {
    constexpr std::string_view blanks = " \t\r";
    std::vector<std::string_view> words;
    while (true) {
        const std::size_t begin = text.find_first_not_of(blanks);
        if (begin == std::string_view::npos) {
            return words;
        }
        text.remove_prefix(begin);
        const std::size_t end = text.find_first_of(blanks);
        words.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end, text.size()));
    }
}

bool readDeckNumber(std::string_view text, double& value) {
    std::string plain(trimmed(text));
    std::replace(plain.begin(), plain.end(), 'D', 'E');
    std::replace(plain.begin(), plain.end(), 'd', 'e');
    // A sign that follows a digit or a point begins an exponent whose letter was left out.
    const std::size_t sign = plain.find_last_of("+-");
    if (sign != std::string::npos && sign > 0 && plain[sign - 1] != 'E' && plain[sign - 1] != 'e') {
        plain.insert(sign, "E");
    }
    return readNumber(plain, value);
}

bool readDeckWhole(std::string_view text, std::int64_t& value) {
    text = trimmed(text);
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && !text.empty() && stop == text.data() + text.size();
}

double deckNumber(std::string_view text, const DeckPlace& place, const std::string& what) {
    double value = 0.0;
    if (!readDeckNumber(text, value)) {
        failAt(place, what + " \"" + std::string(trimmed(text)) + "\" isn't a finite number");
    }
    return value;
}

std::int64_t deckWhole(std::string_view text, const DeckPlace& place, const std::string& what) {
    std::int64_t value = 0;
    if (!readDeckWhole(text, value)) {
        failAt(place, what + " \"" + std::string(trimmed(text)) + "\" isn't a whole number");
    }
    return value;
}

std::string bytesOfFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw InputError("can't open " + path);
    }
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::vector<std::string> linesOfFile(const std::string& path) {
    const std::string bytes = bytesOfFile(path);
    if (bytes.find('\0') != std::string::npos) {
        throw InputError("it's a binary file; only the text form of this format is read");
    }
    std::vector<std::string> lines;
    std::string_view left = bytes;
    while (!left.empty()) {
        const std::size_t end = left.find('\n');
        std::string_view line = left.substr(0, end);
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        lines.emplace_back(line);
        left.remove_prefix(end == std::string_view::npos ? left.size() : end + 1);
    }
    return lines;
}

std::string includedPath(const std::string& deck, const std::string& name) {
    const std::filesystem::path path(name);
    return path.is_absolute() ? name : (std::filesystem::path(deck).parent_path() / path).string();
}

} // namespace tool
