// The doubles are written with as many digits as it takes to read the same ones back.
#include "tool/write/sweep_json.h"

namespace tool {
namespace {

struct Figure {
    const char* name;
    double SweepResult::*value;
};
constexpr std::array<Figure, 9> figures{{{"meanShear", &SweepResult::meanShear},
                                         {"largestShear", &SweepResult::largestShear},
                                         {"shareBeyondLocking", &SweepResult::shareBeyondLocking},
                                         {"coveredShare", &SweepResult::coveredShare},
                                         {"doubledShare", &SweepResult::doubledShare},
                                         {"netArea", &SweepResult::netArea},
                                         {"netWidth", &SweepResult::netWidth},
                                         {"netHeight", &SweepResult::netHeight},
                                         {"within", &SweepResult::within}}};

} // namespace

Json jsonOf(const SweepResult& result) {
    Json json{{"candidate", result.candidate.number},
              {"seed", result.candidate.seed},
              {"angle", result.candidate.angle},
              {"ran", result.ran},
              {"status", result.status},
              {"nodes", result.nodes},
              {"cells", result.cells},
              {"whole", isWhole(result)},
              {"singleLayer", isSingleLayer(result)}};
    for (const Figure& figure : figures) {
        json[figure.name] = result.*figure.value;
    }
    return json;
}

SweepResult sweepResultOf(const Json& json) {
    SweepResult result;
    result.candidate = {json.at("candidate").get<std::size_t>(), json.at("seed").get<Point>(),
                        json.at("angle").get<double>()};
    result.ran = json.at("ran").get<bool>();
    result.status = json.at("status").get<std::int32_t>();
    result.nodes = json.at("nodes").get<std::int32_t>();
    result.cells = json.at("cells").get<std::int64_t>();
    for (const Figure& figure : figures) {
        result.*figure.value = json.at(figure.name).get<double>();
    }
    return result;
}

} // namespace tool
