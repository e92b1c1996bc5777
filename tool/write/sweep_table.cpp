// The table for programs holds all candidates with nine digits, the one for people the best with few.
#include "tool/write/sweep_table.h"

#include "host/mesh/text.h"

#include <algorithm>

namespace tool {
namespace {

// A column of the table for programs.
struct Column {
    const char* heading;
    std::string (*entry)(const SweepResult&);
};

const std::vector<Column>& columns() {
    using R = const SweepResult&;
    constexpr int placeDigits = 12;
    constexpr int digits = 9;
    static const std::vector<Column> table{
        {"candidate", [](R r) { return std::to_string(r.candidate.number); }},
        {"seed_x", [](R r) { return number(r.candidate.seed[0], placeDigits); }},
        {"seed_y", [](R r) { return number(r.candidate.seed[1], placeDigits); }},
        {"seed_z", [](R r) { return number(r.candidate.seed[2], placeDigits); }},
        {"angle_deg", [](R r) { return number(r.candidate.angle, placeDigits); }},
        {"ran", [](R r) { return std::string(r.ran ? "1" : "0"); }},
        {"status", [](R r) { return std::to_string(r.status); }},
        {"nodes", [](R r) { return std::to_string(r.nodes); }},
        {"cells", [](R r) { return std::to_string(r.cells); }},
        {"mean_shear_deg", [](R r) { return number(r.meanShear, digits); }},
        {"largest_shear_deg", [](R r) { return number(r.largestShear, digits); }},
        {"share_beyond_locking", [](R r) { return number(r.shareBeyondLocking, digits); }},
        {"covered_share", [](R r) { return number(r.coveredShare, digits); }},
        {"doubled_share", [](R r) { return number(r.doubledShare, digits); }},
        {"net_area", [](R r) { return number(r.netArea, digits); }},
        {"net_width", [](R r) { return number(r.netWidth, digits); }},
        {"net_height", [](R r) { return number(r.netHeight, digits); }},
        {"within", [](R r) { return r.within >= 0.0 ? number(r.within, digits) : std::string(); }}};
    return table;
}

std::string padded(const std::string& text, std::size_t width) {
    return text.size() >= width ? text : std::string(width - text.size(), ' ') + text;
}

} // namespace

std::string sweepCsv(std::vector<SweepResult> results, bool withHead) {
    std::sort(results.begin(), results.end(), [](const SweepResult& a, const SweepResult& b) {
        return a.candidate.number < b.candidate.number;
    });
    std::string text;
    if (withHead) {
        for (const Column& column : columns()) {
            text += (text.empty() ? "" : ",") + std::string(column.heading);
        }
        text += "\n";
    }
    for (const SweepResult& r : results) {
        std::string line;
        for (const Column& column : columns()) {
            line += (&column == columns().data() ? "" : ",") + column.entry(r);
        }
        text += line + "\n";
    }
    return text;
}

std::string sweepTable(const std::vector<SweepResult>& ranked, std::size_t most, double fine) {
    std::string text =
        "rank  candidate  angle  largest shear  mean shear  beyond locking  covered     net area  "
        "seed and result\n";
    for (std::size_t i = 0; i < ranked.size() && i < most; ++i) {
        const SweepResult& r = ranked[i];
        std::string result = r.ran ? (isWhole(r) ? "" : "  ended with code " + std::to_string(r.status))
                                   : "  can't be draped from here";
        if (!isSingleLayer(r)) {
            result += "  " + fixed(100.0 * r.doubledShare, 0) + " % doubled";
        }
        if (r.within >= 0.0) {
            result = "  within " + number(r.within) + result;
        }
        text += padded(std::to_string(i + 1), 4) + padded(std::to_string(r.candidate.number), 11) +
                padded(number(r.candidate.angle), 7) + padded(fixed(r.largestShear, 1), 15) +
                padded(fixed(r.meanShear, 1), 12) +
                padded(fixed(100.0 * r.shareBeyondLocking, 1) + " %", 16) +
                padded(fixed(100.0 * r.coveredShare, 1) + " %", 9) + padded(number(r.netArea), 13) + "  " +
                pointText(r.candidate.seed, fine) + result + "\n";
    }
    return text;
}

} // namespace tool
