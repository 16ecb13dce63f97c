// quorv decode, and what the other commands say of MPEG audio files.

#include "support/Mp3Streams.h"
#include "tool/Shell.h"

namespace quorv::test {
namespace {

// A WAV file of that format.
Bytes wav(uint32_t rate, uint32_t channels, const Bytes &pcm) {
    const Bytes format =
        join({le16(1), le16(channels), le32(rate), le32(rate * channels * 2), le16(channels * 2), le16(16)});
    const auto size = static_cast<uint32_t>(pcm.size());
    return join(
        {text("RIFF"), le32(36 + size), text("WAVEfmt "), le32(16), format, text("data"), le32(size), pcm});
}

Bytes decode_to(uint32_t mode, uint32_t stream_rate, uint32_t rate, const Bytes &stream) {
    const QuMp3Config config = {2, 3, stream_rate};
    const QuMp3OutputRequest request = {mode, rate};
    const DecoderHolder decoder(QU_MP3_decoder_init(&config, &request));
    return decode(decoder.get(), stream);
}

TEST(Decode, WritesTheSamplesAsAWavFile) {
    const Shell shell;
    const Bytes mono = noise_stream(2000, {48000, 1, 9}), real = real_mp3_stream();
    shell.put("mono.mp3", join({id3v2_tag(70000), mono, text("TAG"), Bytes(125)}));
    shell.put("real.mp3", real);
    const std::pair<const char *, Bytes> cases[] = {
        {"mono.mp3", wav(48000, 1, decode(mono))},
        {"mono.mp3 --rate 32000", wav(32000, 1, decode_to(0, 48000, 32000, mono))},
        {"mono.mp3 --rate 24000 --channels 2", wav(24000, 2, decode_to(2, 48000, 24000, mono))},
        {"real.mp3 --rate 11025 --channels 1", wav(11025, 1, decode_to(1, 44100, 11025, real))},
        {"$SAMPLE --track 2", wav(44100, 2, decode(real))},
        {"- <real.mp3", wav(44100, 2, decode(real))},
    };
    for (const auto &[options, expected] : cases) {
        const std::string line = std::string("quorv decode ") + options;
        EXPECT_EQ(shell.run(line + " -o out && " + line + " -o - | cmp - out").exit_code, 0) << line;
        EXPECT_TRUE(shell.get("out") == expected) << line;
    }
    const Json track = {
        {"track", 1},         {"type", "soun"},        {"codec", "mp1 "},      {"duration_ms", 16000},
        {"channels", 1},      {"bits_per_sample", 16}, {"block_align", 1},     {"sample_rate", 48000},
        {"bit_rate", 288000}, {"max_frame_size", 288}, {"codec_data_size", 0}, {"seekable", false}};
    const Json info = {{"file", "-"}, {"container", "mp3"}, {"tracks", Json::array({track})}};
    EXPECT_EQ(shell.json("cat mono.mp3 | quorv info --json -").at(0), info);
    EXPECT_EQ(shell.json("quorv info --json mono.mp3").at(0)["tracks"], info["tracks"]);
}

TEST(Decode, AFailedRunKeepsAnEarlierFile) {
    const Shell shell;
    shell.put("out", text("old"));
    shell.put("tag.mp3", join({id3v2_tag(20), Bytes(300)}));
    shell.put("good.mp3", noise_stream(100));
    shell.run("head -c 30000 $SAMPLE >cut.avi");
    struct Case {
        const char *line;
        int exit_code;
        const char *name, *reason;
    };
    const Case cases[] = {
        {"quorv decode tag.mp3 -o out", 1, "tag.mp3", "no MPEG audio frames"},
        {"quorv info tag.mp3", 1, "tag.mp3", "no MPEG audio frames"},
        {"quorv decode cut.avi -o out", 1, "cut.avi", "so out stays as it was"},
        {"quorv decode $SAMPLE --track 1 -o out", 1, "h264-mp3.avi", "not MPEG audio"},
        {"quorv decode good.mp3 --track 2 -o out", 2, "good.mp3", "1 track"},
        {"quorv decode good.mp3 --rate 48000 -o out", 2, "good.mp3", "44100 Hz"},
        {"quorv decode good.mp3 --channels 3 -o out", 2, "", "--channels"},
        {"quorv decode good.mp3 -o good.mp3", 2, "good.mp3", "overwrite"},
        {"ulimit -f 8; quorv decode good.mp3 -o out", 3, "quorv: out", ""},
        {"quorv frames good.mp3", 1, "good.mp3", "raw stream"},
        {"quorv extract good.mp3 --track 1 -o out", 1, "good.mp3", "raw stream"},
    };
    for (const Case &each : cases) {
        shell.expect_complaint(each.line, each.exit_code, each.name, each.reason);
        EXPECT_EQ(shell.get("out"), text("old")) << each.line;
        EXPECT_EQ(shell.names().size(), 4u) << each.line;
    }
}

}  // namespace
}  // namespace quorv::test
