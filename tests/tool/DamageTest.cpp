// What of a file is lost is said, by every command that comes by it; of whole files nothing is.

#include <algorithm>

#include "support/EncodedAudio.h"
#include "tool/Shell.h"

namespace quorv::test {
namespace {

Bytes zeroed(Bytes bytes, size_t at, size_t count) {
    std::fill_n(bytes.begin() + static_cast<ptrdiff_t>(at), count, 0);
    return bytes;
}

// Where the first chunk of that name lies behind the middle.
size_t chunk_at(const Bytes &avi, const std::string &name) {
    const auto middle = avi.begin() + std::ssize(avi) / 2;
    return static_cast<size_t>(std::search(middle, avi.end(), name.begin(), name.end()) - avi.begin());
}

Bytes without_index(Bytes avi) {
    std::copy_n("JUNK", 4, avi.begin() + static_cast<ptrdiff_t>(chunk_at(avi, "idx1")));
    return avi;
}

Bytes with_wrong_checks(Bytes mp3) {
    for (const size_t start : frame_starts(mp3)) {
        if (start < mp3.size()) mp3[start + 1] &= 0xFE;  // what follows the header is none
    }
    return mp3;
}

TEST(Damage, IsToldByWhateverReadsIt) {
    const Bytes avi = bytes_of_file(real_sample()), real = real_mp3_stream();
    const Bytes mp3 = join({real, real, real, real}), inside = with_wrong_checks(real);
    const std::vector<size_t> starts = frame_starts(mp3);
    const Bytes told = join({xing_frame("Info", starts.size() - 1, 417 + mp3.size(), 0, 0), mp3});
    const Bytes untold = join({xing_frame("Info", starts.size() - 1, 0, 0, 0), mp3});
    const size_t sound = chunk_at(avi, "01wb"), picture = chunk_at(avi, "00d");
    const std::string list = "frames", picture_out = "extract --track 1 -o -",
                      sound_out = "extract --track 2 -o -", decode = "decode -o -", info = "info",
                      only_out = "extract -o -";
    const struct {
        const char *name;
        Bytes bytes;
        std::string message;
        std::vector<std::string> commands;
    } cases[] = {
        {"a sound chunk's header",
         zeroed(avi, sound, 8),
         "the first at offset " + std::to_string(sound) + "; 1 chunk of the index cannot be found",
         {list, sound_out, decode}},
        {"a picture's header",
         zeroed(avi, picture, 8),
         "the first at offset " + std::to_string(picture) + "; 1 chunk of the index cannot be found",
         {list, picture_out}},
        {"a header without index",
         zeroed(without_index(avi), sound, 8),
         "bytes belong to no frame",
         {list, picture_out, sound_out, decode}},
        {"10 kB",
         zeroed(avi, avi.size() / 2, 10000),
         "chunks of the index cannot be found",
         {list, picture_out, sound_out, decode}},
        {"10 kB without index",
         zeroed(without_index(avi), avi.size() / 2, 10000),
         "bytes belong to no frame",
         {list, picture_out, sound_out, decode}},
        {"300 bytes",
         zeroed(mp3, starts[200] - 100, 300),
         "bytes belong to no frame, the first at offset",
         {list, only_out, decode}},
        {"100,000 bytes",
         zeroed(mp3, 40000, 100000),
         "bytes belong to no frame, the first at offset",
         {list, only_out, decode}},
        {"an end",
         Bytes(told.begin(), told.end() - 50000),
         "truncated: its header declares",
         {info, list, only_out, decode}},
        {"an end between frames",
         Bytes(untold.begin(), untold.begin() + static_cast<ptrdiff_t>(417 + starts[300])),
         "truncated",
         {list, only_out, decode}},
        {"one check word",
         join({real, Bytes(inside.begin(), inside.begin() + static_cast<ptrdiff_t>(starts[1])), real}),
         "not decoded: 1 frame with a wrong check word (CRC)",
         {decode}},
        {"every check word", inside, "no frame of it can be decoded; not decoded: ", {decode}},
    };
    const Shell shell;
    for (const auto &[name, bytes, message, commands] : cases) {
        SCOPED_TRACE(name);
        shell.put("file", bytes);
        for (const std::string &command : commands)
            shell.expect_complaint({"quorv " + command + " file >out", 1, "file", message});
    }
}

// Even of bytes that any decoder takes for sound, as an encoder's check sum covers them all.
TEST(Damage, OfAnyByteOfSoundIsToldByTheCheckSum) {
    const Shell shell;
    const auto expect_damage = [&](const Bytes &bytes, const std::string &message) {
        shell.put("file.mp3", bytes);
        shell.expect_complaint({"quorv decode file.mp3 -o out", 1, "file.mp3", message});
        EXPECT_NE(shell.run("quorv check file.mp3").out.find("damaged"), std::string::npos);
    };
    const auto expect_soundness = [&](const Bytes &bytes) {
        shell.put("file.mp3", bytes);
        EXPECT_EQ(shell.run("quorv decode file.mp3 -o out").err, "");
    };
    for (const Encoding &encoding : {Encoding{"lame -b 128"}, {"lame -V 5"}, {"lame -b 64", 44100, 1}}) {
        SCOPED_TRACE(encoding.encoder);
        const Bytes whole = encode(encoding);
        ASSERT_GT(whole.size(), 10000u);
        expect_soundness(join({id3v2_tag(20), whole, text("TAG"), Bytes(125)}));
        for (uint32_t seed = 1; seed <= 6; ++seed) {
            Random random{seed};
            Bytes broken = whole;
            const size_t at = 2000 + random() % (whole.size() - 4000);
            std::generate_n(broken.begin() + static_cast<ptrdiff_t>(at), 300,
                            [&] { return static_cast<uint8_t>(random() >> 24); });
            SCOPED_TRACE(seed);
            expect_damage(broken, "");
        }
    }
    Bytes louder = encode({"lame -b 128"});
    louder[frame_starts(louder)[20] + 9] ^= 1;  // in the gain of its first granule
    expect_damage(louder, "the encoder's check sum of all sound does not fit");
    // Who changed the gain on purpose says so in a tag.
    const Bytes item = join({le32(2), le32(0), text("MP3GAIN_UNDO"), {0}, text("+2")});
    const auto end = [&](uint32_t flags) {
        const auto size = static_cast<uint32_t>(item.size()) + 32;
        return join({text("APETAGEX"), le32(2000), le32(size), le32(1), le32(flags), Bytes(8)});
    };
    expect_soundness(join({louder, end(0xA0000000), item, end(0x80000000)}));
}

// What a pipe brings is decoded as it comes, without knowing where anything lies.
TEST(Damage, IsToldOfAStreamInAPipe) {
    const Bytes real = real_mp3_stream();
    const std::vector<size_t> starts = frame_starts(real);
    const Bytes told = join({xing_frame("Info", starts.size() - 1, 417 + real.size(), 0, 0), real});
    const std::pair<Bytes, std::string> cases[] = {
        {zeroed(real, starts[50] - 100, 300),
         "not decoded: 1 place of the sound with bytes that are no frame"},
        {with_wrong_checks(real), "no frame of it can be decoded; not decoded: "},
        {{real.begin(), real.end() - 9}, "1 frame cut off by the end"},
        {{told.begin(), told.begin() + static_cast<ptrdiff_t>(417 + starts[50])},
         "truncated: its header says"},
        {join({id3v2_tag(10), Bytes(5000)}), "no MPEG audio frames can be found"},
    };
    const Shell shell;
    for (const auto &[bytes, message] : cases) {
        shell.put("file", bytes);
        shell.expect_complaint({"cat file | quorv decode - >out", 1, "standard input", message});
    }
}

}  // namespace
}  // namespace quorv::test
