// Writes the seed inputs of a splitter's harness: every sample file of the test kit, once as it is and once
// with control bytes that call every function, and AVI files that take the remaining ways through the
// splitter.

#include <stdio.h>

#include <map>
#include <string>

#include "support/AsfBuilder.h"
#include "support/SampleFiles.h"

namespace {

using namespace quorv::test;

bool write(const std::string &path, const Bytes &bytes) {
    FILE *const file = fopen(path.c_str(), "wb");
    if (file == nullptr) return false;
    const bool good = fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return fclose(file) == 0 && good;
}

// The calls of a seed: no faults; then each function on the first two tracks, seeks of both modes, reads and
// a rewind.
Bytes with_calls(const Bytes &file, uint8_t start) {
    const Bytes calls = {start, 0,    0, 0, 0,    0,    0x1B, 0x2B, 0x10, 0x13, 10, 0, 0x1F, 0x14, 10,  0,
                         0x1F,  0x23, 9, 0, 0x2F, 0x15, 0x1F, 0x11, 0x21, 2,    6,  7, 0x1A, 1,    0x2F};
    return join({file, calls, Bytes{static_cast<uint8_t>(calls.size())}});
}

// An index that repeats entries, which a progressive source then reads by.
Bytes repeated_entries() {
    AviBuilder builder({video_stream(tag("MJPG")), pcm_stream()}, IndexKind::None);
    Bytes index;
    for (uint32_t i = 0; i < 6; ++i) {
        builder.frame(0, size_t{12}).frame(1, size_t{12});
        const Bytes video = join({text("00dc"), le32(0x10), le32(4 + 40 * i), le32(12)});
        const Bytes audio = join({text("01wb"), le32(0x10), le32(24 + 40 * i), le32(12)});
        index = join({index, video, i % 2 != 0 ? video : Bytes{}, audio});
    }
    return join({builder.build().flatten(), chunk(tag("idx1"), index)});
}

// Streams that are listed, or read, in their own ways.
Bytes odd_streams() {
    AviStream subtitles = video_stream(tag("DXSB")), one_to_one = video_stream(tag("AVRn")),
              plain = pcm_stream();
    BitmapHeader bitmap;
    bitmap.compression = tag("AVRn");
    bitmap.extra = join({Bytes(28), text("1:1")});
    one_to_one.format = bitmap.body();
    plain.header.handler = tag("Axan");
    AviBuilder builder({subtitles, one_to_one, plain});
    for (uint32_t stream = 0; stream < 3; ++stream)
        builder.frame(stream, size_t{20});
    return builder.build().flatten();
}

Bytes digital_video() {
    AviStream stream = video_stream(tag("dvsd"));
    stream.header.type = tag("iavs");
    AviBuilder builder({stream});
    builder.frame(0, size_t{20});
    return builder.build().flatten();
}

// The same for the tracks 2 and 3, which most of the ASF samples have.
Bytes with_asf_calls(const Bytes &file, uint8_t start) {
    const Bytes calls = {start, 0,    0, 0, 0,    0,    0x2B, 0x3B, 0x20, 0x24, 10, 0, 0x2F, 0x23, 10,  0,
                         0x2F,  0x34, 9, 0, 0x3F, 0x25, 0x2F, 0x21, 0x35, 2,    6,  7, 10,   52,   0x3F};
    return join({file, calls, Bytes{static_cast<uint8_t>(calls.size())}});
}

std::map<std::string, Bytes> avi_seeds() {
    std::map<std::string, Bytes> seeds = {{"repeated_entries", with_calls(repeated_entries(), 1)},
                                          {"odd_streams", with_calls(odd_streams(), 0)},
                                          {"digital_video", with_calls(digital_video(), 0)}};
    for (const SampleFile &sample : avi_sample_files()) {
        const Bytes file = sample.bytes.flatten();
        seeds[sample.name] = join({file, Bytes{0}});
        seeds[sample.name + "_calls"] = with_calls(file, 0);
    }
    return seeds;
}

std::map<std::string, Bytes> asf_seeds() {
    std::map<std::string, Bytes> seeds;
    for (const AsfSample &sample : asf_sample_files()) {
        seeds[sample.name] = join({sample.bytes, Bytes{0}});
        seeds[sample.name + "_calls"] = with_asf_calls(sample.bytes, seeds.size() % 4 == 1 ? 3 : 0);
    }
    return seeds;
}

}  // namespace

int main(int argc, char **argv) {
    const std::string format = argc == 3 ? argv[1] : "";
    if (format != "avi" && format != "asf") {
        fprintf(stderr, "usage: %s avi|asf FOLDER\n", argv[0]);
        return 2;
    }
    for (const auto &[name, bytes] : format == "avi" ? avi_seeds() : asf_seeds()) {
        const std::string path = std::string(argv[2]) + "/" + name;
        if (!write(path, bytes)) {
            fprintf(stderr, "cannot write %s\n", path.c_str());
            return 1;
        }
    }
    return 0;
}
