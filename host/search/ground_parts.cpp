// Parts are walked along edges; distances are straight, which is enough to spread starts by.
#include "host/search/ground_parts.h"

#include "host/mesh/point.h"

#include <algorithm>
#include <limits>

namespace drape::host {

double areaOf(const Ground& ground, const GroundPart& part) {
    double area = 0.0;
    for (const std::int32_t v : part) {
        area += ground.areas[at(v)];
    }
    return area;
}

std::vector<GroundPart> openParts(const Ground& ground, const std::vector<std::int32_t>& vertices,
                                  std::vector<char>& isOpen) {
    std::vector<GroundPart> parts;
    for (const std::int32_t first : vertices) {
        if (isOpen[at(first)] == 0) {
            continue;
        }
        GroundPart& part = parts.emplace_back(1, first);
        isOpen[at(first)] = 0;
        for (std::size_t k = 0; k < part.size(); ++k) {
            for (const std::int32_t next : ground.around(part[k])) {
                if (isOpen[at(next)] != 0) {
                    isOpen[at(next)] = 0;
                    part.push_back(next);
                }
            }
        }
    }
    return parts;
}

std::vector<GroundPart>::const_iterator largestOf(const Ground& ground,
                                                  const std::vector<GroundPart>& parts) {
    return std::max_element(parts.begin(), parts.end(), [&](const GroundPart& a, const GroundPart& b) {
        return areaOf(ground, a) < areaOf(ground, b);
    });
}

std::vector<std::size_t> farApart(const Ground& ground, const std::vector<char>& isOpen,
                                  const std::vector<Point>& from, std::size_t count, double least) {
    const std::vector<Point>& places = ground.mesh.positions;
    std::vector<double> room(isOpen.size());
    for (std::size_t v = 0; v < room.size(); ++v) {
        room[v] = isOpen[v] != 0 ? std::numeric_limits<double>::infinity() : -1.0;
        for (const Point& point : from) {
            room[v] = std::min(room[v], vec::distance(places[v], point));
        }
    }
    std::vector<std::size_t> found;
    while (found.size() < count) {
        const auto farthest = std::max_element(room.begin(), room.end());
        if (!(*farthest > least)) {
            break;
        }
        found.push_back(static_cast<std::size_t>(farthest - room.begin()));
        for (std::size_t v = 0; v < room.size(); ++v) {
            room[v] = std::min(room[v], vec::distance(places[v], places[found.back()]));
        }
    }
    return found;
}

} // namespace drape::host
