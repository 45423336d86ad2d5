// Runs a fuzz target over every file of a folder, each in an allocation of exactly its size.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size);

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    int inputs = 0;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1], error)) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<char> read{std::istreambuf_iterator<char>(file), {}};
        const std::unique_ptr<uint8_t[]> exact(new uint8_t[read.size()]);
        std::copy(read.begin(), read.end(), exact.get());
        // Named first, so that an abort tells which one it was.
        std::printf("%s\n", entry.path().filename().c_str());
        std::fflush(stdout);
        LLVMFuzzerTestOneInput(exact.get(), read.size());
        ++inputs;
    }
    if (inputs == 0) {
        std::fprintf(stderr, "%s: no inputs in %s\n", argv[0], argv[1]);
        return 1;
    }
    return 0;
}
