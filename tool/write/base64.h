// Base64, the form in which the text formats carry binary arrays.
#pragma once

#include <string>
#include <string_view>

namespace tool {

std::string base64(std::string_view bytes);

} // namespace tool
