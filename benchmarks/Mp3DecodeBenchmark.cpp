// Decoding ten minutes of stereo from memory to 16-bit samples, beside libmpg123: its best decoder for this
// machine and its generic one. All take the stream in the same pieces.

#include <mpg123.h>
#include <quorv/mp3_decoder.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

#include "support/BestTimes.h"
#include "support/EncodedAudio.h"

namespace {

using quorv::test::Bytes;

constexpr size_t kPieceBytes = 16384;
constexpr size_t kOutputBytes = 65536;

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

// Each returns the bytes of all samples. Their names are what callgrind is told to count.
extern "C" size_t decode_with_quorv(const Bytes &stream);
extern "C" size_t decode_with_mpg123(const Bytes &stream, const char *decoder);

[[gnu::noinline]] size_t decode_with_quorv(const Bytes &stream) {
    QuMp3Decoder decoder = QU_MP3_decoder_init(nullptr, nullptr);
    std::vector<uint8_t> room(kOutputBytes);
    size_t position = 0, total = 0;
    for (bool ended = false; !ended;) {
        const size_t count = std::min(kPieceBytes, stream.size() - position);
        QuMp3Buffer input = {const_cast<uint8_t *>(stream.data() + position), static_cast<uint32_t>(count),
                             0};
        QuMp3Buffer output = {room.data(), static_cast<uint32_t>(room.size()), 0};
        const int32_t code = QU_MP3_decoder_read(decoder, &input, &output);
        position += input.result;
        total += output.result;
        ended = code == QU_MP3_ERROR || (count == 0 && code == QU_MP3_NEED_INPUT);
    }
    QU_MP3_decoder_close(decoder);
    return total;
}

[[gnu::noinline]] size_t decode_with_mpg123(const Bytes &stream, const char *decoder) {
    mpg123_handle *const peer = mpg123_new(decoder, nullptr);
    mpg123_param(peer, MPG123_REMOVE_FLAGS, MPG123_GAPLESS, 0);
    mpg123_param(peer, MPG123_ADD_FLAGS, MPG123_QUIET | MPG123_IGNORE_INFOFRAME, 0);
    mpg123_open_feed(peer);
    std::vector<uint8_t> room(kOutputBytes);
    size_t total = 0;
    for (size_t position = 0; position < stream.size(); position += kPieceBytes) {
        const size_t count = std::min(kPieceBytes, stream.size() - position);
        size_t bytes = 0;
        int code = mpg123_decode(peer, &stream[position], count, room.data(), room.size(), &bytes);
        for (total += bytes; code == MPG123_OK || code == MPG123_NEW_FORMAT; total += bytes)
            code = mpg123_decode(peer, nullptr, 0, room.data(), room.size(), &bytes);
    }
    mpg123_delete(peer);
    return total;
}

size_t decode(const std::string &who, const Bytes &stream) {
    if (who == "quorv") return decode_with_quorv(stream);
    return decode_with_mpg123(stream, who == "best" ? nullptr : who.c_str());
}

Bytes load(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The streams are made once and kept, as encoding takes longer than all that is measured.
Bytes stream_of(const Kind &kind, const std::string &folder) {
    const std::string path = folder + "/" + kind.name;
    if (!std::filesystem::exists(path)) {
        const Bytes bytes = quorv::test::encode(kind.encoding);
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
    return load(path);
}

void measure(const Kind &kind, const std::string &folder) {
    const Bytes stream = stream_of(kind, folder);
    const char *const contenders[] = {"quorv", "best", "generic"};
    for (const char *who : contenders) {
        benchmark::RegisterBenchmark(who,
                                     [who, &stream](benchmark::State &state) {
                                         for (auto _ : state)
                                             benchmark::DoNotOptimize(decode(who, stream));
                                     })
            ->Iterations(1)
            ->Repetitions(9);
    }
    quorv::bench::BestTimes times;
    times.run();
    const double ours = times.seconds("quorv"), best = times.seconds("best"),
                 generic = times.seconds("generic");
    printf("| %s | %zu | %.3f | %.3f | %.3f | %.2f | %.2f |\n", kind.name, decode("quorv", stream) / 4, ours,
           best, generic, ours / generic, ours / best);
    fflush(stdout);
}

}  // namespace

int main(int argc, char **argv) {
    CLI::App app("Time of decoding ten minutes of MPEG audio");
    std::string folder, role;
    app.add_option("--role", role,
                   "only decode this stream once, for counting instructions: quorv, best or generic");
    app.add_option("path", folder, "where the streams are made and kept; with --role one of them")
        ->required();
    CLI11_PARSE(app, argc, argv);
    if (!role.empty()) {
        printf("%zu\n", decode(role, load(folder)) / 4);
        return 0;
    }
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
