// Writes the seed inputs of the AVI harness: every sample file of the test kit, once as it is and once with
// control bytes that call every function.

#include <stdio.h>

#include <string>

#include "support/SampleFiles.h"

namespace {

using quorv::test::Bytes;

bool write(const std::string &path, const Bytes &bytes) {
    FILE *const file = fopen(path.c_str(), "wb");
    if (file == nullptr) return false;
    const bool good = fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return fclose(file) == 0 && good;
}

// No faults; then each function on the first two tracks, seeks of both modes, reads and a rewind.
const Bytes kControl = {0,    0,    0, 0, 0,    0,    0x1B, 0x2B, 0x10, 0x13, 10, 0, 0x1F, 0x14, 10,  0,
                        0x1F, 0x23, 9, 0, 0x2F, 0x15, 0x1F, 0x11, 0x21, 2,    6,  7, 0x1A, 1,    0x2F};

}  // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    for (const quorv::test::SampleFile &sample : quorv::test::avi_sample_files()) {
        const Bytes file = sample.bytes.flatten();
        const std::string path = std::string(argv[1]) + "/" + sample.name;
        const Bytes count = {static_cast<uint8_t>(kControl.size())};
        const bool good = write(path, quorv::test::join({file, Bytes{0}})) &&
                          write(path + "_calls", quorv::test::join({file, kControl, count}));
        if (!good) {
            fprintf(stderr, "cannot write %s\n", path.c_str());
            return 1;
        }
    }
    return 0;
}
