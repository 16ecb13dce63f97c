// Time of decoding ten minutes of stereo from memory to 16-bit samples, beside libmpg123: its best decoder
// for this machine and its generic one.

#include <mpg123.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "support/BestTimes.h"
#include "support/DecodeMp3.h"
#include "support/EncodedAudio.h"

namespace {

using quorv::test::Bytes;

struct Kind {
    const char *name;
    quorv::test::Encoding encoding;
};

const Kind kKinds[] = {
    {"layer3-128", {"lame --cbr -b 128", 44100, 2, quorv::test::Signal::Music, 600}},
    {"layer3-320", {"lame --cbr -b 320", 44100, 2, quorv::test::Signal::Music, 600}},
    {"layer3-vbr", {"lame -V 2", 44100, 2, quorv::test::Signal::Music, 600}},
    {"mpeg2-64", {"lame --cbr -b 64", 22050, 2, quorv::test::Signal::Music, 600}},
    {"layer2-192", {"twolame -b 192", 44100, 2, quorv::test::Signal::Music, 600}},
};

// The streams are made once and kept, as encoding takes longer than all that is measured.
Bytes stream_of(const Kind &kind, const std::string &folder) {
    const std::string path = folder + "/" + kind.name;
    if (!std::filesystem::exists(path)) {
        const Bytes bytes = quorv::test::encode(kind.encoding);
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
    return quorv::bench::load_file(path);
}

void measure(const Kind &kind, const std::string &folder) {
    const Bytes stream = stream_of(kind, folder);
    const char *const contenders[] = {"quorv", "best", "generic"};
    for (const char *who : contenders) {
        benchmark::RegisterBenchmark(who,
                                     [who, &stream](benchmark::State &state) {
                                         for (auto _ : state)
                                             benchmark::DoNotOptimize(quorv::bench::decode_mp3(who, stream));
                                     })
            ->Iterations(1)
            ->Repetitions(9);
    }
    quorv::bench::BestTimes times;
    times.run();
    const double ours = times.seconds("quorv"), best = times.seconds("best"),
                 generic = times.seconds("generic");
    printf("| %s | %zu | %.3f | %.3f | %.3f | %.2f | %.2f |\n", kind.name,
           quorv::bench::decode_mp3("quorv", stream), ours, best, generic, ours / generic, ours / best);
    fflush(stdout);
}

}  // namespace

int main(int argc, char **argv) {
    CLI::App app("Time of decoding ten minutes of MPEG audio");
    std::string folder;
    app.add_option("folder", folder, "where the streams are made and kept")->required();
    CLI11_PARSE(app, argc, argv);
    quorv::bench::initialize(1, argv);
    mpg123_handle *const peer = mpg123_new(nullptr, nullptr);
    std::cout << "libmpg123's best decoder here: " << mpg123_current_decoder(peer) << "\n\n";
    mpg123_delete(peer);
    puts(
        "| stream | sample frames | quorv, s | best, s | generic, s | quorv / generic | quorv / best |\n"
        "| --- | ---: | ---: | ---: | ---: | ---: | ---: |");
    for (const Kind &kind : kKinds)
        measure(kind, folder);
    return 0;
}
