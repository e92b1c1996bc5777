// The page's settings as JSON, and the host's wishes that they stand for. The names are those of the page's
// settings file and of the settings that the program writes into a page.
#pragma once

#include "host/cloth/curve.h"
#include "host/search/trial.h"

#include <nlohmann/json.hpp>
#include <optional>

namespace drape::web {

using namespace drape::host;
using Json = nlohmann::ordered_json;

// An array of three numbers; nothing where the member is missing or null.
std::optional<Point> pointOf(const Json& object, const char* name);

// Members: seed, side, clips (six numbers each), weld, fillHoles, within (a number).
SurfaceWishes surfaceWishesOf(const Json& settings);

// Members: step (two numbers), rosette, warp, tolerance, pivot ("grid" or "shear"), locking, mostNodes,
// within (a number or "max").
TrialWishes trialWishesOf(const Json& settings);

// The ply's name, if the settings give one.
std::optional<std::string> plyNameOf(const Json& settings);

// Each with file, name, points and directions.
std::vector<DrawnCurve> curvesOf(const Json& settings);

} // namespace drape::web
