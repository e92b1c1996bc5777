// The digest of the library's results: some thousand whole runs, curve transfers and direct calls of every
// operation, each line a name, a few numbers and a hash over every bit that came out.
//
//   digest                  prints the lines
//   digest --check FILE     compares them with FILE and shows those that differ
//   digest --write FILE     writes them to FILE
#include "report.h"

#include <fstream>
#include <iostream>

namespace {

using Lines = std::vector<std::string>;

std::string nameOf(const std::string& line) {
    return line.substr(0, line.find(':'));
}

int check(const Lines& now, const char* path) {
    std::ifstream file(path);
    std::map<std::string, std::string> expected;
    for (std::string line; std::getline(file, line);)
        expected[nameOf(line)] = line;
    int different = 0;
    for (const std::string& line : now) {
        const auto known = expected.find(nameOf(line));
        if (known == expected.end() || known->second != line) {
            ++different;
            std::cout << "- " << (known == expected.end() ? "nothing" : known->second) << "\n+ " << line
                      << "\n";
        }
        if (known != expected.end())
            expected.erase(known);
    }
    for (const auto& [name, line] : expected)
        std::cout << "- " << line << "\n+ nothing\n";
    different += static_cast<int>(expected.size());
    std::cout << now.size() << " lines, " << different << " of them different\n";
    return different == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    drape_digest::Report report;
    drape_digest::reportGeometry(report);
    drape_digest::reportSteps(report);
    drape_digest::reportRuns(report);
    drape_digest::reportCurves(report);
    const std::string option = argc == 3 ? argv[1] : "";
    if (option == "--check")
        return check(report.lines(), argv[2]);
    std::ofstream file;
    if (option == "--write")
        file.open(argv[2]);
    std::ostream& out = option == "--write" ? file : std::cout;
    for (const std::string& line : report.lines())
        out << line << "\n";
    return out.flush() ? 0 : 1;
}
