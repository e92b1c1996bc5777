// Where a search starts: seeds over a surface, angles, and the candidates that they make together.
#pragma once

#include "host/cloth/surface.h"

#include <vector>

namespace drape::host {

struct Candidate {
    std::size_t number = 0; // 1-based, over all shares of the candidates
    Point seed{};
    double angle = 0.0; // degrees
};

constexpr std::size_t defaultSeeds = 9;
constexpr double defaultAngleStep = 15.0; // degrees
constexpr std::size_t mostCandidates = 1000000;

// `count` points: the default seed, then points as far as can be from those before and from the outline.
std::vector<Point> spreadSeeds(const Surface& surface, std::size_t count);

// Points in rows and columns over the two longest sides of the bounding box, laid onto the surface.
std::vector<Point> gridSeeds(const Surface& surface, std::size_t columns, std::size_t rows);

// From `first` up to but without `below`, in degrees.
std::vector<double> angleRange(double first, double below, double step);

// A quarter turn, since a cloth with equal sides that is turned by 90 degrees is the same cloth, and a half
// turn otherwise.
std::vector<double> usualAngles(const Surface& surface);

// Each angle at each seed, in that order. Throws std::invalid_argument beyond `mostCandidates`.
std::vector<Candidate> candidatesOf(const std::vector<Point>& seeds, const std::vector<double>& angles);

// The `part`-th of `parts` shares, both 1-based: every `parts`-th candidate.
std::vector<Candidate> shareOf(const std::vector<Candidate>& candidates, std::size_t part, std::size_t parts);

} // namespace drape::host
