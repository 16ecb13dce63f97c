// Runs a fuzz harness over every file of a folder: how the normal tests replay a corpus.

#include <stdio.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "Harness.h"

int main(int argc, char **argv) {
    int count = 0;
    for (const auto &entry : std::filesystem::directory_iterator(argc > 1 ? argv[1] : "")) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
        const std::vector<uint8_t> input(bytes.begin(), bytes.end());
        printf("%s\n", entry.path().c_str());
        fflush(stdout);
        LLVMFuzzerTestOneInput(input.data(), input.size());
        ++count;
    }
    // A folder that was moved away must not look like success.
    return count > 0 ? 0 : 1;
}
