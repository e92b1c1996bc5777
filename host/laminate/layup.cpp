// A ply's level is one more than the highest of those that it follows. Links from one level to the next are
// what the library's level ordering is given, so that it meets each ply in its level.
#include "host/laminate/layup.h"

#include "drape.h"
#include "host/cloth/status_text.h"
#include "host/mesh/error.h"
#include "host/mesh/triangle_mesh.h"

#include <algorithm>
#include <map>
#include <numeric>

namespace drape::host {
namespace {

using Lists = std::vector<std::vector<std::size_t>>; // per ply, other plies

Lists predecessorsOf(const std::vector<PlyWish>& plies) {
    std::map<std::string, std::size_t> byName;
    for (std::size_t p = 0; p < plies.size(); ++p) {
        byName.emplace(plies[p].name, p);
    }
    Lists before(plies.size());
    for (std::size_t p = 0; p < plies.size(); ++p) {
        for (const std::string& name : plies[p].after) {
            const auto found = byName.find(name);
            if (found != byName.end()) {
                before[p].push_back(found->second);
            }
        }
        std::sort(before[p].begin(), before[p].end());
        before[p].erase(std::unique(before[p].begin(), before[p].end()), before[p].end());
    }
    return before;
}

// Goes down from a ply that was never free until it comes to one a second time.
[[noreturn]] void refuseRing(const std::vector<PlyWish>& plies, const Lists& before,
                             const std::vector<std::int32_t>& level) {
    std::size_t at = static_cast<std::size_t>(std::find(level.begin(), level.end(), 0) - level.begin());
    std::vector<std::size_t> way;
    while (std::find(way.begin(), way.end(), at) == way.end()) {
        way.push_back(at);
        at =
            *std::find_if(before[at].begin(), before[at].end(), [&](std::size_t b) { return level[b] == 0; });
    }
    way.erase(way.begin(), std::find(way.begin(), way.end(), at));
    std::string names = plies[at].name;
    for (std::size_t k = 1; k <= way.size(); ++k) {
        names += " after " + plies[way[k % way.size()]].name;
    }
    const std::string& place = plies[at].afterPlace;
    throw InputError(place + (place.empty() ? "" : ": ") + "the plies follow each other in a ring: " + names,
                     Refusal::unfit);
}

// From 1; plies that follow nothing are in level 1.
std::vector<std::int32_t> levelsOf(const std::vector<PlyWish>& plies, const Lists& before) {
    Lists behind(plies.size());
    std::vector<std::size_t> open(plies.size());
    std::vector<std::size_t> free;
    for (std::size_t p = 0; p < plies.size(); ++p) {
        open[p] = before[p].size();
        for (const std::size_t b : before[p]) {
            behind[b].push_back(p);
        }
        if (open[p] == 0) {
            free.push_back(p);
        }
    }
    std::vector<std::int32_t> level(plies.size(), 0);
    for (std::size_t k = 0; k < free.size(); ++k) {
        const std::size_t p = free[k];
        std::int32_t highest = 0;
        for (const std::size_t b : before[p]) {
            highest = std::max(highest, level[b]);
        }
        level[p] = highest + 1;
        for (const std::size_t next : behind[p]) {
            if (--open[next] == 0) {
                free.push_back(next);
            }
        }
    }
    if (free.size() < plies.size()) {
        refuseRing(plies, before, level);
    }
    return level;
}

} // namespace

std::vector<std::size_t> layingOrder(const std::vector<PlyWish>& plies) {
    std::vector<std::size_t> asGiven(plies.size());
    std::iota(asGiven.begin(), asGiven.end(), std::size_t{0});
    if (std::all_of(plies.begin(), plies.end(), [](const PlyWish& ply) { return ply.after.empty(); })) {
        return asGiven;
    }
    const Lists before = predecessorsOf(plies);
    const std::vector<std::int32_t> level = levelsOf(plies, before);
    // Item 1 is the mould, on which the plies of level 1 lie; ply p is item p + 2.
    const auto count = static_cast<std::int32_t>(plies.size()) + 1;
    Lists behind(plies.size() + 1);
    std::vector<std::int32_t> inDegree(plies.size() + 1, 0);
    for (std::size_t p = 0; p < plies.size(); ++p) {
        const auto link = [&](std::size_t from) {
            behind[from].push_back(p + 2);
            ++inDegree[p + 1];
        };
        if (level[p] == 1) {
            link(0);
        }
        for (const std::size_t b : before[p]) {
            if (level[b] + 1 == level[p]) {
                link(b + 1);
            }
        }
    }
    std::vector<std::int32_t> successorCount;
    std::vector<std::int32_t> successors;
    for (const auto& list : behind) {
        successorCount.push_back(static_cast<std::int32_t>(list.size()));
        for (const std::size_t item : list) {
            successors.push_back(static_cast<std::int32_t>(item));
        }
    }
    const std::int32_t start = 1;
    std::int32_t ordered = 0;
    std::int32_t status = 0;
    std::vector<std::int32_t> order(plies.size() + 1);
    gz0zorc(nullptr, nullptr, &start, &count, inDegree.data(), successorCount.data(), successors.data(),
            &ordered, order.data(), &status);
    if (status != DRAPE_OK) {
        throw StatusError("the plies can't be put in order", status);
    }
    std::vector<std::size_t> result;
    for (std::int32_t k = 1; k < ordered; ++k) {
        result.push_back(at(order[at(k)]) - 2);
    }
    return result;
}

} // namespace drape::host
