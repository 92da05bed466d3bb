// Feeds every file of the formula corpus to the fuzzer's entry function, so that
// inputs the fuzzer found stay checked without libFuzzer. Also reports the
// slowest compilation; with a time limit given, fails when one exceeds it.
//   test_formula_corpus <corpus directory> [max compile milliseconds]

#include "FormulaFuzzEntry.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s <corpus directory> [max compile milliseconds]\n", argv[0]);
        return 2;
    }
    const double limitMs = argc > 2 ? std::atof(argv[2]) : 0.0;
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1]))
        if (entry.is_regular_file()) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    double slowest = 0.0;
    std::string slowestName;
    for (const auto& path : files) {
        std::ifstream in(path, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(in)),
                                std::istreambuf_iterator<char>());
        vimra::formula::test::fuzzFormulaOne(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                             bytes.size());
        const double ms = vimra::formula::test::lastCompileSeconds() * 1e3;
        if (ms > slowest) {
            slowest = ms;
            slowestName = path.filename().string();
        }
    }
    std::printf("%zu corpus inputs replayed; slowest compilation %.3f ms (%s)\n", files.size(),
                slowest, slowestName.c_str());
    if (files.empty()) return 1;
    if (limitMs > 0.0 && slowest > limitMs) {
        std::fprintf(stderr, "compilation slower than %.1f ms\n", limitMs);
        return 1;
    }
    return 0;
}
