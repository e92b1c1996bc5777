// Feeds files to a fuzz target, for compilers without a fuzzer and for the corpus as a test: every argument
// is a file, or a folder whose files are all taken.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void replay(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    // Exactly as many bytes as the file has, so that a sanitizer sees a step beyond them.
    const std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(file)),
                                          std::istreambuf_iterator<char>());
    std::cout << path.filename().string() << std::endl;
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

} // namespace

int main(int argc, char** argv) {
    int files = 0;
    for (int i = 1; i < argc; ++i) {
        if (std::filesystem::is_directory(argv[i])) {
            for (const auto& entry : std::filesystem::directory_iterator(argv[i]))
                if (entry.is_regular_file() && ++files > 0)
                    replay(entry.path());
        } else if (std::filesystem::exists(argv[i]) && ++files > 0) {
            replay(argv[i]);
        }
    }
    std::cout << files << " inputs\n";
    return files > 0 ? 0 : 1;
}
