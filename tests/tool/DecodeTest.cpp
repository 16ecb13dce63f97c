// quorv decode, and what the other commands say of MPEG audio files.

#include "support/Mp3Streams.h"
#include "tool/Shell.h"

namespace quorv::test {
namespace {

using Names = std::vector<std::string>;

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
    Bytes doubled;
    for (const int16_t sample : samples_of(decode_to(0, 48000, 32000, mono))) {
        for (int channel = 0; channel < 2; ++channel)
            doubled.insert(doubled.end(), {static_cast<uint8_t>(sample), static_cast<uint8_t>(sample >> 8)});
    }
    struct Case {
        const char *options;
        Bytes expected;
    };
    const Case cases[] = {
        {"mono.mp3", wav(48000, 1, decode(mono))},
        {"mono.mp3 --rate 24000", wav(24000, 1, decode_to(0, 48000, 24000, mono))},
        {"mono.mp3 --rate 32000 --channels 2", wav(32000, 2, doubled)},
        {"real.mp3 --rate 44100 --channels 2", wav(44100, 2, decode(real))},
        {"real.mp3 --rate 11025 --channels 1", wav(11025, 1, decode_to(1, 44100, 11025, real))},
        {"$SAMPLE", wav(44100, 2, decode(real))},
        {"$SAMPLE --track 2", wav(44100, 2, decode(real))},
        {"- <real.mp3", wav(44100, 2, decode(real))},
    };
    for (const Case &each : cases) {
        const std::string line = "quorv decode " + std::string(each.options);
        const ToolRun run = shell.run(line + " -o out && cat mono.mp3 | " + line + " -o - >piped");
        EXPECT_EQ(run.exit_code, 0) << line << run.err;
        EXPECT_TRUE(shell.get("out") == each.expected) << line;
        EXPECT_TRUE(shell.get("piped") == each.expected) << line;
    }
}

TEST(Decode, AFailedRunKeepsAnEarlierFile) {
    const Shell shell;
    const Bytes old = text("an earlier file\n");
    shell.put("out", old);
    shell.put("tagged.mp3", join({id3v2_tag(20), Bytes(300)}));
    shell.put("good.mp3", noise_stream(100));
    shell.run("head -c 30000 $SAMPLE >cut.avi");
    struct Case {
        const char *line;
        int exit_code;
        const char *name, *reason;
    };
    const Case cases[] = {
        {"quorv decode tagged.mp3 -o out", 1, "tagged.mp3", "no MPEG audio frames"},
        {"quorv info tagged.mp3", 1, "tagged.mp3", "no MPEG audio frames"},
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
        EXPECT_EQ(shell.get("out"), old) << each.line;
        EXPECT_EQ(shell.names(), (Names{"cut.avi", "good.mp3", "out", "tagged.mp3"})) << each.line;
    }
}

TEST(Decode, InfoIsWhatTheStreamHolds) {
    const Shell shell;
    shell.put("some.mp3", join({id3v2_tag(5000), noise_stream(1000, {48000, 1, 9})}));
    const Json expected = {
        {"track", 1},         {"type", "soun"},        {"codec", "mp1 "},      {"duration_ms", 8000},
        {"channels", 1},      {"bits_per_sample", 16}, {"block_align", 1},     {"sample_rate", 48000},
        {"bit_rate", 288000}, {"max_frame_size", 288}, {"codec_data_size", 0}, {"seekable", false}};
    for (const char *line : {"quorv info --json some.mp3", "cat some.mp3 | quorv info --json -"}) {
        const Json info = shell.json(line).at(0);
        EXPECT_EQ(info["container"], "mp3");
        EXPECT_EQ(info["tracks"], Json::array({expected}));
    }
}

}  // namespace
}  // namespace quorv::test
