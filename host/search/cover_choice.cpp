// The territories that cover a vertex are counted, so that giving one up or taking another costs what it
// covers. For each number of pieces the greedy choice is improved by exchanges before another piece is added.
#include "host/search/cover_choice.h"

#include <algorithm>

namespace drape::host {

namespace {

constexpr int mostExchanges = 12; // rounds over all pieces
constexpr double realGain = 1e-9; // of the area

class Choosing {
public:
    Choosing(const Ground& ground, const std::vector<Territory>& territories, double margin)
        : ground_(ground), territories_(territories), margin_(margin), counts_(ground.vertexCount(), 0) {}

    double covered = 0.0; // area
    std::vector<std::size_t> taken;

    void take(std::size_t index) {
        taken.push_back(index);
        covered += gainOf(index);
        count(index, 1);
    }

    void giveUp(std::size_t place) {
        const std::size_t index = taken[place];
        taken.erase(taken.begin() + static_cast<std::ptrdiff_t>(place));
        count(index, -1);
        covered -= gainOf(index);
    }

    // The one that adds most, of equals the first; its gain in `gain`.
    std::size_t best(double& gain) const {
        std::size_t found = territories_.size();
        gain = 0.0;
        for (std::size_t k = 0; k < territories_.size(); ++k) {
            // No territory adds more than it has.
            if (territories_[k].area > gain) {
                const double here = gainOf(k);
                if (here > gain) {
                    gain = here;
                    found = k;
                }
            }
        }
        return found;
    }

    void exchange() {
        for (int round = 0; round < mostExchanges; ++round) {
            bool better = false;
            for (std::size_t place = 0; place < taken.size(); ++place) {
                const double before = covered;
                const std::size_t old = taken.front();
                giveUp(0);
                double gain = 0.0;
                const std::size_t found = best(gain);
                const bool gains = covered + gain > before + realGain * ground_.area;
                take(gains ? found : old);
                better = better || gains;
            }
            if (!better) {
                return;
            }
        }
    }

private:
    double gainOf(std::size_t index) const {
        const Territory& territory = territories_[index];
        double gain = 0.0;
        for (std::size_t k = 0; k < territory.vertices.size(); ++k) {
            const std::size_t v = at(territory.vertices[k]);
            gain += counts_[v] == 0 && territory.depths[k] > margin_ ? ground_.areas[v] : 0.0;
        }
        return gain;
    }

    void count(std::size_t index, std::int32_t by) {
        const Territory& territory = territories_[index];
        for (std::size_t k = 0; k < territory.vertices.size(); ++k) {
            if (territory.depths[k] > margin_) {
                counts_[at(territory.vertices[k])] += by;
            }
        }
    }

    const Ground& ground_;
    const std::vector<Territory>& territories_;
    double margin_;
    std::vector<std::int32_t> counts_; // per vertex, territories taken that cover it
};

} // namespace

CoverChoice chosenOf(const Ground& ground, const std::vector<Territory>& territories, double share,
                     double margin, double leastGain, std::size_t most,
                     const std::vector<std::size_t>& kept) {
    Choosing choosing(ground, territories, margin);
    for (const std::size_t index : kept) {
        choosing.take(index);
    }
    while (choosing.covered < share * ground.area && choosing.taken.size() < most) {
        double gain = 0.0;
        const std::size_t next = choosing.best(gain);
        if (gain <= leastGain * ground.area) {
            break;
        }
        choosing.take(next);
        if (kept.empty()) {
            choosing.exchange();
        }
    }
    std::sort(choosing.taken.begin(), choosing.taken.end());
    return {choosing.taken, choosing.covered / ground.area};
}

} // namespace drape::host
