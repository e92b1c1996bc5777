// What the readers of solver files share: lines with their numbers, strict numbers in the spellings that
// decks use, and errors that say in which line something is wrong.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

// Where something stands: a line, counted from 1, of the deck or of a file that it includes.
struct DeckPlace {
    std::size_t line = 0;
    std::string file; // empty for the deck itself
};

std::string textOf(const DeckPlace& place); // "line 12 of nodes.inc"

// Throws InputError with the place in front.
[[noreturn]] void failAt(const DeckPlace& place, const std::string& what);

std::string_view trimmed(std::string_view text);
std::string upperCase(std::string_view text);
std::vector<std::string_view> splitAt(std::string_view text, char mark);
std::vector<std::string_view> wordsOf(std::string_view text); // apart by blanks

// Also 1.5-3, 1.D+3 and 2. as decks write them. False if the text is anything else.
bool readDeckNumber(std::string_view text, double& value);
bool readDeckWhole(std::string_view text, std::int64_t& value);

// The same with an error that says what was wanted.
double deckNumber(std::string_view text, const DeckPlace& place, const std::string& what);
std::int64_t deckWhole(std::string_view text, const DeckPlace& place, const std::string& what);

// The lines of a file, without line ends. Throws InputError if it can't be read, or is no text.
std::vector<std::string> linesOfFile(const std::string& path);
std::string bytesOfFile(const std::string& path);

// The path of a file that a deck at `deck` includes by `name`.
std::string includedPath(const std::string& deck, const std::string& name);

} // namespace tool
