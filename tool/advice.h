// What a user of the command line can do: the host's notes, refusals and status codes with the options that
// help.
#pragma once

#include "host/cloth/status_text.h"
#include "host/mesh/error.h"
#include "host/mesh/note.h"

#include <string>

namespace tool {

using namespace drape::host;

std::string adviceOn(Remedy remedy); // empty if there is nothing to do
std::string adviceOnStatus(std::int32_t status);

std::string wordsFor(const Note& note);
std::string wordsFor(const InputError& error);

} // namespace tool
