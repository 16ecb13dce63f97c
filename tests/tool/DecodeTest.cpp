// quorv decode: WAV files whose samples are the library's, in one format, whatever the frames have.

#include <cmath>
#include <numbers>

#include "../../tools/quorv/Resampler.h"
#include "support/DecodedSound.h"
#include "support/Mp3Streams.h"
#include "tool/Shell.h"

namespace quorv::test {
namespace {

using Samples = std::vector<int16_t>;

// With sizes that are unknown where it goes to a pipe.
Bytes wav(uint32_t rate, uint32_t channels, const Samples &samples, bool in_pipe = false) {
    Bytes pcm;
    for (const int16_t sample : samples)
        pcm.insert(pcm.end(), {static_cast<uint8_t>(sample), static_cast<uint8_t>(sample >> 8)});
    const Bytes format =
        join({le16(1), le16(channels), le32(rate), le32(rate * channels * 2), le16(channels * 2), le16(16)});
    const auto size = static_cast<uint32_t>(pcm.size());
    return join({text("RIFF"), le32(in_pipe ? UINT32_MAX : 36 + size), text("WAVEfmt "), le32(16), format,
                 text("data"), le32(in_pipe ? UINT32_MAX : size), pcm});
}

Samples doubled(const Samples &mono) {
    Samples stereo;
    for (const int16_t sample : mono)
        stereo.insert(stereo.end(), {sample, sample});
    return stereo;
}

Samples mixed(const Samples &stereo) {
    Samples mono;
    for (size_t i = 0; i < stereo.size(); i += 2)
        mono.push_back(static_cast<int16_t>(std::floor((stereo[i] + stereo[i + 1] + 1) / 2.0)));
    return mono;
}

Samples trimmed(const Samples &stereo, size_t front, size_t back) {
    return {stereo.begin() + static_cast<ptrdiff_t>(2 * front),
            stereo.end() - static_cast<ptrdiff_t>(2 * back)};
}

TEST(Decode, SoundBecomesAWavFile) {
    const Shell shell;
    const Bytes mono = noise_stream(500, {48000, 1, 9}), stereo = noise_stream(500, {48000, 2, 9});
    const Bytes real = real_mp3_stream(),
                info = xing_frame("Info", frame_starts(real).size() - 1, 417 + real.size(), 576, 1000);
    const Samples mono_samples = samples_of(decode(mono)), real_samples = samples_of(decode(real));
    const Samples stereo_samples = samples_of(decode(stereo)),
                  joined = samples_of(decode(join({mono, stereo})));
    Samples both = doubled(mono_samples);
    both.insert(both.end(), joined.begin() + std::ssize(mono_samples), joined.end());
    shell.put("mono.mp3", join({id3v2_tag(70000), mono, text("TAG"), Bytes(125)}));
    shell.put("stereo.mp3", stereo);
    shell.put("both.mp3", join({mono, stereo}));
    shell.put("real.mp3", real);
    shell.put("tags.mp3", join({id3v2_tag(9), id3v2_tag(300), real, id3v2_tag(20000), real}));
    shell.put("info.mp3", join({info, real}));
    const struct {
        std::string input;
        uint32_t rate, channels;
        Samples samples;
    } cases[] = {
        {"mono.mp3", 48000, 1, mono_samples},
        {"mono.mp3 --channels 2", 48000, 2, doubled(mono_samples)},
        {"stereo.mp3 --channels 1", 48000, 1, mixed(stereo_samples)},
        {"both.mp3", 48000, 2, both},
        {"$SAMPLE --track 2", 44100, 2, real_samples},
        {"- <real.mp3", 44100, 2, real_samples},
        {"tags.mp3", 44100, 2, samples_of(decode(join({real, real})))},
        {"info.mp3", 44100, 2, trimmed(real_samples, 576 + 529, 1000 - 529)},
        {"info.mp3 --no-trim", 44100, 2, real_samples},
    };
    for (const auto &[input, rate, channels, samples] : cases) {
        SCOPED_TRACE(input);
        EXPECT_EQ(shell.run("quorv decode -o out " + input).err, "");
        EXPECT_TRUE(shell.get("out") == wav(rate, channels, samples));
        EXPECT_EQ(shell.run("quorv decode -o - " + input + " | cat >out").err, "");
        EXPECT_TRUE(shell.get("out") == wav(rate, channels, samples, true));
        if (!input.ends_with(".mp3")) continue;
        // Nobody knows whether a pipe will bring a second channel.
        EXPECT_EQ(shell.run("cat " + input + " | quorv decode - | cat >out").err, "");
        EXPECT_TRUE(shell.get("out") == wav(rate, 2, channels == 2 ? samples : doubled(samples), true));
    }
}

TEST(Decode, SoundComesOutOfAPipeBeforeItsEndGoesIn) {
    const Shell shell;
    shell.put("real.mp3", real_mp3_stream());
    const ToolRun run = shell.run(
        "mkfifo in; quorv decode - <in | { head -c 44100 | wc -c; echo done >later; cat >/dev/null; } & "
        "{ head -c 20000 real.mp3; until [ -s later ]; do sleep 0.1; done; } >in; wait");
    EXPECT_EQ(run.out, "44100\n");
}

TEST(Decode, EachFileGetsAWavFileOfItsName) {
    const Shell shell;
    const Bytes stream = noise_stream(20);
    shell.run("mkdir sub");
    shell.put("a.mp3", stream);
    shell.put("sub/b.c.mp2", stream);
    EXPECT_EQ(shell.run("quorv decode a.mp3 sub/b.c.mp2").exit_code, 0);
    const Bytes expected = wav(44100, 2, samples_of(decode(stream)));
    EXPECT_TRUE(shell.get("a.wav") == expected);
    EXPECT_TRUE(shell.get("sub/b.c.wav") == expected);
    shell.put("a.wav", text("mine"));
    shell.expect_complaint({"quorv decode a.mp3", 2, "a.mp3", "a.wav exists already"});
    shell.expect_complaint({"quorv decode a.mp3 sub/b.c.mp2 -o out", 2, "-o", "one file"});
    EXPECT_EQ(shell.get("a.wav"), text("mine"));
    EXPECT_EQ(shell.run("quorv decode a.mp3 -o a.wav").exit_code, 0);
    EXPECT_TRUE(shell.get("a.wav") == expected);
}

// Of a joined file the rate of its longer part, at which the other one lasts as long as before.
TEST(Decode, HasOneRateOfSeveral) {
    const Shell shell;
    const Bytes low = noise_stream(200), high = noise_stream(100, {48000, 2, 9});
    shell.put("joined.mp3", join({high, low}));
    Samples end = samples_of(decode(join({high, low})));
    end.erase(end.begin(), end.begin() + 100 * 384 * 2);
    EXPECT_EQ(shell.run("quorv decode joined.mp3 -o out").err, "");
    const Bytes got = shell.get("out");
    const size_t converted = (100 * 384 * 441 + 479) / 480;
    EXPECT_EQ(got.size(), 44 + 4 * (converted + 200 * 384));
    EXPECT_TRUE(samples_of({got.end() - static_cast<ptrdiff_t>(2 * end.size()), got.end()}) == end);
    EXPECT_EQ(shell.run("quorv decode joined.mp3 --rate 8000 -o out").err, "");
    EXPECT_EQ(shell.get("out").size(), 44u + 4 * (100 * 64 + (200 * 384 * 80 + 440) / 441));
    for (const std::string rate : {"48000", "10"})
        shell.expect_complaint(
            {"quorv decode joined.mp3 -o out --rate " + rate, 2, "", rate == "10" ? "less" : "44100 Hz"});
}

// Against the sines that an ideal converter would give.
TEST(Decode, ResamplesSinesToSines) {
    const struct {
        uint32_t from, to;
        double hertz, expected;  // amplitudes of 10000, or less where the lower rate has no room for it
    } cases[] = {{44100, 48000, 1000, 1},  {48000, 44100, 15000, 1}, {44100, 32000, 10000, 1},
                 {44100, 22050, 15000, 0}, {48000, 1009, 100, 1},    {24000, 23999, 5000, 1}};
    for (const auto &[from, to, hertz, expected] : cases) {
        SCOPED_TRACE(testing::Message() << from << " to " << to);
        const auto sine = [f = 2 * std::numbers::pi * hertz](double t) { return 10000 * std::sin(f * t); };
        Samples in, out;
        for (uint32_t i = 0; i < from / 2; ++i)
            in.insert(in.end(), {static_cast<int16_t>(std::lround(sine(1.0 * i / from))), 1234});
        tool::Resampler resampler(from, to, 2);
        const size_t half = in.size() / 4 * 2;
        resampler.convert(std::span(in).first(half), out);
        resampler.convert(std::span(in).subspan(half), out);
        resampler.finish(out);
        ASSERT_EQ(out.size(), 2 * ((uint64_t{from} / 2 * to + from - 1) / from));
        const size_t edge = 100;  // silence lies beyond the ends
        for (size_t i = edge; i < out.size() / 2 - edge; ++i) {
            ASSERT_NEAR(out[2 * i], expected * sine(1.0 * static_cast<double>(i) / to), 3) << i;
            ASSERT_EQ(out[2 * i + 1], 1234) << i;
        }
    }
}

// On a terminal of 30 columns, ended while it shows.
TEST(Decode, ABarFitsTheTerminalAndLeavesACleanLine) {
    const Shell shell;
    const Bytes real = real_mp3_stream();
    shell.put("long.mp3", join({real, real, real, real}));
    const ToolRun run = shell.run(
        "mkfifo f; TERM=xterm script -qec 'stty cols 30; quorv decode long.mp3 -o f & "
        "{ sleep 0.5; head -c 500000 >/dev/null; kill $!; } <f; wait' /dev/null");
    const std::string clear = "\r\033[K";
    const size_t last = run.out.rfind('%');
    ASSERT_NE(last, std::string::npos) << run.out;
    EXPECT_NE(run.out.find(clear, last), std::string::npos) << run.out;
    for (size_t at = 0; (at = run.out.find("\r[", at)) != std::string::npos; ++at)
        EXPECT_LE(run.out.find('\033', at) - at - 1, 29u) << run.out;
}

}  // namespace
}  // namespace quorv::test
