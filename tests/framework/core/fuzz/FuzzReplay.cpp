// Feeds every file of the given corpus directories (or single files) to the
// fuzz entry point it is linked with, so that the inputs a fuzzer once found
// keep being checked by every ordinary build. A crash or an abort of the entry
// point fails the test; the file being run is printed first.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    std::vector<fs::path> files;
    for (int a = 1; a < argc; ++a) {
        const fs::path path = argv[a];
        if (fs::is_directory(path)) {
            for (const fs::directory_entry& e : fs::recursive_directory_iterator(path))
                if (e.is_regular_file()) files.push_back(e.path());
        } else if (fs::is_regular_file(path)) {
            files.push_back(path);
        } else {
            std::fprintf(stderr, "no such corpus: %s\n", path.c_str());
            return 2;
        }
    }
    if (files.empty()) {
        std::fprintf(stderr, "the corpus is empty\n");
        return 2;
    }
    std::sort(files.begin(), files.end());
    for (const fs::path& file : files) {
        std::fprintf(stderr, "%s\n", file.c_str());
        std::ifstream in(file, std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(in),
                                std::istreambuf_iterator<char>()};
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }
    std::fprintf(stderr, "%zu inputs replayed\n", files.size());
    return 0;
}
