// Every status code of the header has words of its own, and a name that is the constant's.
#include "host/cloth/status_text.h"

#include "drape.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>

namespace drape_test {
namespace {

using drape::host::Remedy;
using drape::host::textOfStatus;

// The names of each code as the header has them, in small letters with dashes and without a number at the
// end.
std::map<std::int32_t, std::set<std::string>> codesOfHeader() {
    std::map<std::int32_t, std::set<std::string>> codes;
    std::ifstream header(DRAPE_SAMPLES "/../include/drape.h");
    const std::regex constant("    DRAPE_([A-Z_]+?)(?:_[12])? = ([0-9]+),? +/\\*.*|    DRAPE_(OK) = (0),");
    std::smatch match;
    bool inCodes = false;
    for (std::string line; std::getline(header, line);) {
        inCodes = inCodes ? line != "};" : line == "    DRAPE_OK = 0,";
        if (inCodes && std::regex_match(line, match, constant)) {
            std::string name = match[1].str() + match[3].str();
            std::transform(name.begin(), name.end(), name.begin(),
                           [](char c) { return c == '_' ? '-' : static_cast<char>(c - 'A' + 'a'); });
            codes[std::stoi(match[2].str() + match[4].str())].insert(name);
        }
    }
    return codes;
}

TEST(StatusTexts, NameEveryCodeOfTheHeader) {
    auto codes = codesOfHeader();
    ASSERT_GE(codes.size(), 33U);
    codes[DRAPE_OK] = {"complete"};
    codes[DRAPE_NORMAL_NOT_UNIT] = {"no-normal-or-crossings"};
    std::set<std::string> meanings;
    for (const auto& [code, names] : codes) {
        const auto text = textOfStatus(code);
        EXPECT_TRUE(names.count(text.name) == 1) << code << " is called " << text.name;
        EXPECT_TRUE(meanings.insert(text.meaning).second) << text.meaning;
        EXPECT_EQ(text.remedy == Remedy::none, code == DRAPE_OK || code == DRAPE_SOURCE_TRIANGLE_FLAT);
    }
    EXPECT_EQ(textOfStatus(77).name, "unknown");
    EXPECT_EQ(textOfStatus(77).remedy, Remedy::reportFault);
}

// What the page of codes tells a host to do, and what the program tells its user, are of one kind.
TEST(StatusTexts, SendToTheRemedyThatTheDocsName) {
    const std::vector<std::pair<std::regex, std::set<Remedy>>> cures{
        {std::regex("seed", std::regex::icase),
         {Remedy::otherStart, Remedy::finerOrOther, Remedy::otherSeed}},
        {std::regex("boundary loop|vertTriList`"), {Remedy::checkMesh}},
        {std::regex("Larger node arrays"), {Remedy::moreNodes, Remedy::moreNodesOrLargerStep}},
        {std::regex("curve"), {Remedy::checkCurve}},
        {std::regex("fewer processes|coarser mesh"), {Remedy::lessMemory, Remedy::fewerNodes}},
        {std::regex("report it|Correct the|Rows must|lists anew"), {Remedy::reportFault}}};
    std::ifstream page(DRAPE_SAMPLES "/../docs/status-codes.md");
    const std::regex row(R"(\| ([0-9]+) \|[^|]*\|[^|]*\|([^|]*)\|.*)");
    std::smatch match;
    int judged = 0;
    for (std::string line; std::getline(page, line);) {
        if (!std::regex_match(line, match, row) || match[1] == "0") {
            continue;
        }
        const std::string cure = match[2].str();
        const auto known = std::find_if(cures.begin(), cures.end(),
                                        [&](const auto& one) { return std::regex_search(cure, one.first); });
        if (known != cures.end()) {
            ++judged;
            EXPECT_EQ(known->second.count(textOfStatus(std::stoi(match[1])).remedy), 1U) << line;
        }
    }
    EXPECT_GT(judged, 15);
}

TEST(StatusTexts, SendToTheRemedyThatHelps) {
    EXPECT_EQ(textOfStatus(DRAPE_NODES_FULL).remedy, Remedy::moreNodesOrLargerStep);
    EXPECT_EQ(textOfStatus(DRAPE_CELL_FOLDS).remedy, Remedy::otherStart);
    EXPECT_EQ(textOfStatus(DRAPE_BOUNDARY_NOT_CLOSED).remedy, Remedy::checkMesh);
    EXPECT_EQ(textOfStatus(DRAPE_NO_CURVE_START).remedy, Remedy::checkCurve);
    EXPECT_EQ(textOfStatus(DRAPE_NO_MEMORY).remedy, Remedy::lessMemory);
    const drape::host::StatusError error("the curve can't be carried", DRAPE_NO_CURVE_START);
    EXPECT_EQ(error.status, DRAPE_NO_CURVE_START);
    EXPECT_NE(std::string(error.what()).find("205"), std::string::npos);
    EXPECT_NE(std::string(error.what()).find(textOfStatus(DRAPE_NO_CURVE_START).meaning), std::string::npos);
}

} // namespace
} // namespace drape_test
