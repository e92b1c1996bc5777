// The ending of a file's name chooses the reader.
#include "tool/read/shell_readers.h"

#include <algorithm>
#include <array>
#include <utility>

namespace tool {

ShellReader shellReaderFor(std::string_view ending) {
    constexpr std::array<std::pair<std::string_view, ShellReader>, 8> readers{{{"inp", readInpMesh},
                                                                               {"bdf", readNastranMesh},
                                                                               {"nas", readNastranMesh},
                                                                               {"fem", readNastranMesh},
                                                                               {"msh", readGmshMesh},
                                                                               {"vtu", readVtuMesh},
                                                                               {"vtp", readVtuMesh},
                                                                               {"vtk", readVtkMesh}}};
    const auto found = std::find_if(readers.begin(), readers.end(),
                                    [&](const auto& reader) { return reader.first == ending; });
    return found == readers.end() ? nullptr : found->second;
}

} // namespace tool
