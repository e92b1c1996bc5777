// The lines of a digest: a name, some numbers that can be read, and a hash over every bit of a result.
//
// A section draws its cases from a generator that is seeded by the name of the line, so that a line neither
// hangs on the lines before it nor moves them.
#pragma once

#include "../height_field.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace drape_digest {

using drape_test::Random;

// A hash over values, not over bytes in memory, so that it is the same on every machine. All not-a-numbers
// count as one: their sign and payload are the machine's own affair.
class Hash {
public:
    void add(std::int32_t value) { mix(static_cast<std::uint32_t>(value)); }
    void add(double value) {
        std::uint64_t bits = 0x7ff8000000000000u;
        if (value == value)
            std::memcpy(&bits, &value, sizeof bits);
        mix(bits);
    }
    template <class T>
    void add(const T* values, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            add(values[i]);
    }
    template <class List>
    void addAll(const List& list) {
        add(list.data(), list.size());
    }
    std::uint64_t value() const { return value_; }

private:
    void mix(std::uint64_t bits) {
        value_ = (value_ ^ bits) * 0x9e3779b97f4a7c15u;
        value_ ^= value_ >> 29;
    }
    std::uint64_t value_ = 14695981039346656037u;
};

class Report {
public:
    const std::vector<std::string>& lines() const { return lines_; }

    // Adds one line; `values` tells in words what came out.
    void line(const std::string& name, const std::string& values, const Hash& hash) {
        char digits[17];
        std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(hash.value()));
        lines_.push_back(name + ": " + values + ", " + digits);
    }

private:
    std::vector<std::string> lines_;
};

// What one block of cases draws from and reports to.
class Block {
public:
    explicit Block(const std::string& name) : random(seedOf(name)) {}

    Random random;
    Hash hash;

    // Takes in the result and the code of a call.
    void outcome(std::int32_t result, std::int32_t status) {
        hash.add(result);
        hash.add(status);
        ++outcomes_[status];
    }
    // "status 0 x 40, 13 x 10": how often each code, or whatever else was counted, came out.
    std::string outcomes(const char* what) const {
        std::string text;
        for (const auto& [status, count] : outcomes_)
            text += (text.empty() ? std::string(what) + " " : ", ") + std::to_string(status) + " x " +
                    std::to_string(count);
        return text;
    }

    int below(int limit) { return random.below(limit); }
    int within(int low, int high) { return low + random.below(high - low + 1); }
    bool chance(double share) { return random.unit() < share; }
    template <class T>
    T oneOf(std::initializer_list<T> list) {
        return list.begin()[random.below(static_cast<int>(list.size()))];
    }

private:
    static std::uint64_t seedOf(const std::string& name) {
        std::uint64_t seed = 14695981039346656037u;
        for (const char c : name)
            seed = (seed ^ static_cast<unsigned char>(c)) * 1099511628211u;
        return seed;
    }
    std::map<std::int32_t, int> outcomes_;
};

// `calls` cases of one kind as one line; `oneCase(block)` makes one.
template <class Case>
void reportBlock(Report& report, const std::string& name, int calls, Case oneCase,
                 const char* what = "status") {
    Block block(name);
    for (int k = 0; k < calls; ++k)
        oneCase(block);
    report.line(name, block.outcomes(what), block.hash);
}

// Some blocks of the same kind, so that a change shows how much it changes.
template <class Case>
void reportBlocks(Report& report, const std::string& name, int blocks, int calls, Case oneCase,
                  const char* what = "status") {
    for (int b = 1; b <= blocks; ++b)
        reportBlock(report, name + " " + std::to_string(b), calls, oneCase, what);
}

void reportGeometry(Report& report);
void reportSteps(Report& report);
void reportRuns(Report& report);
void reportCurves(Report& report);

} // namespace drape_digest
