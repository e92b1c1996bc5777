// Feeds files to a fuzz target, for compilers without a fuzzer and for the corpus as a test: every argument
// is a file, or a folder whose files are all taken. With --random COUNT FIRST it makes its inputs itself,
// each from its number alone, which takes a fraction of a fuzzer's time: the targets are made so that any
// bytes are a case, and 0 everywhere the harmless one.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <string>
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

// Up to 128 bytes, of which all, half or an eighth are drawn and the others 0.
void runRandom(std::uint64_t number) {
    std::mt19937_64 random(number);
    std::vector<std::uint8_t> bytes(random() % 128);
    constexpr std::uint64_t rarities[] = {1, 2, 8};
    const std::uint64_t rare = rarities[random() % 3];
    for (std::uint8_t& byte : bytes)
        if (const std::uint64_t draw = random(); draw % rare == 0)
            byte = static_cast<std::uint8_t>(draw >> 56);
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

int runRandomly(std::uint64_t count, std::uint64_t first) {
    for (std::uint64_t k = 0; k < count; ++k) {
        if (k % 100000 == 0) // tells where to look for what ends the program
            std::cout << "from " << first + k << std::endl;
        runRandom(first + k);
    }
    std::cout << count << " random inputs\n";
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::string(argv[1]) == "--random")
        return runRandomly(std::strtoull(argv[2], nullptr, 10), std::strtoull(argv[3], nullptr, 10));
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
