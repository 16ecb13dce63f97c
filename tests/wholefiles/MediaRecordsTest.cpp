// What the reader tells of AVI and ASF files beyond their frames: the file's own words about tracks and key
// frames, exact times, sound without an index, damage.

#include <gtest/gtest.h>

#include <array>
#include <functional>

#include "support/AsfBuilder.h"
#include "support/AviBuilder.h"
#include "support/FailingAllocator.h"
#include "support/H264Stream.h"
#include "support/MediaFile.h"

namespace quorv::test {
namespace {

Bytes avi_of(const AviStream &stream) {
    return AviBuilder({stream}).frame(0, size_t{48}).build().flatten();
}

AviStream sound(const WaveFormat &format, size_t format_bytes) {
    AviStream stream = pcm_stream(48000, format.block_align);
    stream.format = format.body(format_bytes);
    return stream;
}

// Of samples in 32 bits, of which `bits` count.
AviStream extensible(uint32_t sub_format, uint32_t bits) {
    const Bytes extra = join({le16(bits), le32(0x3F), le16(sub_format), Bytes(14)});
    return sound({.format_tag = 0xFFFE,
                  .channels = 6,
                  .sample_rate = 48000,
                  .block_align = 24,
                  .bits_per_sample = 32,
                  .stated_extra = 22,
                  .extra = extra},
                 40);
}

Bytes asf_of(AsfStream stream, uint32_t interval = 0) {
    stream.frame_interval = interval;
    return AsfBuilder({stream}, {}, AsfIndex::None).frame(0, 0, 40).frame(0, 40, 40).build();
}

std::string in_words(const QuorvTrack &track) {
    char text[200];
    snprintf(text, sizeof text, "%s codec '%s' tag %x, %lld/%lld fps, %u ch %u bits, framing %d samples %d",
             track.codec_name, fourcc_name(track.codec).c_str(), track.tag,
             static_cast<long long>(track.frame_rate.num), static_cast<long long>(track.frame_rate.den),
             track.channels, track.bits_per_sample, track.framing, track.sample_format);
    return text;
}

TEST(MediaRecords, TracksAreAsTheFileSays) {
    const WaveFormat eight = {.channels = 8, .sample_rate = 48000, .block_align = 24, .bits_per_sample = 24};
    const WaveFormat mu_law = {.format_tag = 7, .block_align = 2, .bits_per_sample = 8};
    AviStream unstated = video_stream(tag("MJPG"), 0, 0);
    const std::pair<Bytes, const char *> rows[] = {
        {avi_of(video_stream(tag("XVID"), 2002, 60000)),
         "MPEG-4 Part 2 (XVID) codec 'xvid' tag 58564944, 30000/1001 fps, 0 ch 0 bits, framing 2 samples 0"},
        {avi_of(video_stream(tag("ABCD"), 0xFFFFFFFF, 0xFFFFFFFE)),
         "unknown (ABCD) codec '' tag 41424344, 4294967294/4294967295 fps, 0 ch 0 bits, framing 0 samples 0"},
        {avi_of(video_stream(0)),
         "uncompressed (RGB) codec '' tag 0, 25/1 fps, 0 ch 0 bits, framing 4 samples 0"},
        {avi_of(unstated),
         "motion JPEG codec 'mjpg' tag 4d4a5047, 25/1 fps, 0 ch 0 bits, framing 3 samples 0"},
        {avi_of(sound(eight, 16)),
         "PCM, 24 bits codec 'pcm ' tag 1, 0/0 fps, 8 ch 24 bits, framing 6 samples 3"},
        {avi_of(extensible(3, 32)),
         "floating-point PCM, 32 bits codec 'pcm ' tag 3, 0/0 fps, 6 ch 32 bits, framing 6 samples 5"},
        {avi_of(extensible(1, 20)),
         "PCM, 20 bits codec 'pcm ' tag 1, 0/0 fps, 6 ch 20 bits, framing 6 samples 4"},
        {avi_of(sound(mu_law, 18)),
         "mu-law, 8 bits codec 'pcm ' tag 7, 0/0 fps, 2 ch 8 bits, framing 6 samples 8"},
        {avi_of(sound({.format_tag = 0x1234}, 18)),
         "unknown (0x1234) codec '' tag 1234, 0/0 fps, 2 ch 16 bits, framing 0 samples 0"},
        {asf_of(asf_video(1)),
         "Windows Media Video 9 codec 'wmv9' tag 574d5633, 0/0 fps, 0 ch 0 bits, framing 5 samples 0"},
        {asf_of(asf_video(1, "abcd"), 40),
         "unknown (abcd) codec '' tag 61626364, 25/1 fps, 0 ch 0 bits, framing 0 samples 0"},
        {asf_of(asf_video(1, "WVC1"), 40),
         "VC-1 Advanced (WVC1) codec '' tag 57564331, 25/1 fps, 0 ch 0 bits, framing 0 samples 0"},
        {asf_of(asf_audio(2)),
         "Windows Media Audio 2 codec 'wmv2' tag 161, 0/0 fps, 2 ch 16 bits, framing 8 samples 0"},
    };
    for (const auto &[bytes, expected] : rows) {
        MediaBytes source(bytes);
        MediaFile file(source.record());
        ASSERT_EQ(file.open_result, QUORV_OK) << expected;
        EXPECT_EQ(in_words(file.track(0)), expected);
    }
    // Neither the stream nor the file says how fast.
    AviBuilder without({unstated});
    without.main.microseconds_per_frame = 0;
    MediaBytes source(without.frame(0, size_t{48}).build().flatten());
    EXPECT_EQ(MediaFile(source.record()).track(0).frame_rate.den, 0);
}

// The same picture twice: as H.264 with all that parameter sets can tell, as MPEG-4 with its headers.
AviStream with_codec_data(const char (&compression)[5], const Bytes &data) {
    AviStream stream = video_stream(tag(compression));
    stream.format = join({stream.format, data});
    for (size_t i = 0; i < 4; ++i)
        stream.format[i] = le32(static_cast<uint32_t>(stream.format.size()))[i];
    return stream;
}

TEST(MediaRecords, HeadersTellHowPicturesAreCoded) {
    const H264Stream high = {.profile = 100, .reorder_depth = 2}, baseline = {.profile = 66};
    const Bytes sei = join({{0, 0, 0, 1, 6, 5, 30}, Bytes(16, 1), text("maker 7 - H.264 etc")});
    const Bytes vol = bits(
        "32:0x120 1:0 type=8:17 id=1:1 verid=4:5 3:1 aspect=4:4 control=1:0 shape=2:0 1:1 "
        "rate=16:25 1:1 fixed=1:0 1:1 13:320 1:1 13:240 1:1 interlaced=1:1 obmc_disable=1:1 "
        "sprite=2:2 6:1 2:0 1:0 not_8_bit=1:0 quant_type=1:1 1:0 1:0 quarter=1:1 1:1 1:0 1:0 "
        "1:0 1:0 1:0 9:0x7F");
    const Bytes mpeg4 = join({{0, 0, 1, 0xB0, 0xF5}, vol, {0, 0, 1, 0xB2}, text("maker 8")});
    const struct {
        Bytes file;
        std::string facts;
    } rows[] = {
        {avi_of(with_codec_data("H264", join({high.sps(), high.pps(), sei}))),
         "High, level 1.0; 4:2:0, 8 bits, CAVLC, 4 reference frames, colours of BT.709; maker 7; scan 1, "
         "pixels 1:1; reorders 1"},
        {avi_of(with_codec_data("H264", join({baseline.sps(), baseline.pps()}))),
         "Baseline, level 1.0; 4:2:0, 8 bits, CAVLC, 4 reference frames; ; scan 1, pixels 0:0; reorders 0"},
        {avi_of(with_codec_data("XVID", mpeg4)),
         "Advanced Simple, level 5; 4:2:0, 8 bits, B-VOPs possible, quarter-pixel motion, global motion, "
         "MPEG quantisation; maker 8; scan 2, pixels 16:11; reorders 1"},
        {avi_of(video_stream(tag("MJPG"))), "; ; ; scan 0, pixels 0:0; reorders 0"},
    };
    for (const auto &row : rows) {
        const FailingAllocator heap;  // which fills new blocks: parameter sets are not cleared
        MediaBytes source(row.file);
        MediaFile file(source.record());
        const QuorvTrack &track = file.track(0);
        const std::string facts =
            std::string(track.profile) + "; " + track.coding + "; " + track.encoder + "; scan " +
            std::to_string(track.scan) + ", pixels " + std::to_string(track.pixel_aspect.num) + ":" +
            std::to_string(track.pixel_aspect.den) + "; reorders " + std::to_string(track.reorders);
        EXPECT_EQ(facts, row.facts);
    }
}

// Packets and bytes by the index are those that are read.
TEST(MediaRecords, SurveysCountWhatIsRead) {
    AviBuilder builder({video_stream(tag("MJPG")), pcm_stream(48000, 4)});
    for (size_t i = 0; i < 9; ++i)
        builder.frame(0, 20 + 3 * i).frame(1, size_t{48});
    const Bytes whole = builder.build().flatten();
    MediaBytes source(whole), without(asf_of(asf_video(1)));
    MediaFile file(source.record());
    const std::array<uint64_t, 4> expected[] = {{9, 288, 20, 44}, {9, 432, 48, 48}};
    QuorvSurvey survey = {};
    for (uint32_t i = 0; i < 2; ++i) {
        ASSERT_EQ(quorv_survey(file.reader(), i, &survey), QUORV_OK);
        EXPECT_EQ((std::array{survey.chunks, survey.bytes, survey.smallest, survey.largest}), expected[i]);
    }
    EXPECT_EQ(quorv_survey(file.reader(), 2, &survey), QUORV_ERR_ARGUMENT);
    EXPECT_EQ(quorv_survey(MediaFile(without.record()).reader(), 0, &survey), QUORV_ERR_UNSUPPORTED);
    EXPECT_EQ(survey.chunks, 0u);
}

std::vector<int> key_flags(const KeptPackets &packets) {
    std::vector<int> flags;
    for (const KeptPacket &packet : packets)
        flags.push_back(packet.key);
    return flags;
}

// The first stream is sound: all entries of the second one in an index pass for key frames elsewhere.
TEST(MediaRecords, KeyFramesAreThoseOfIndexAndFrames) {
    const Bytes idr = {0, 0, 0, 1, 0x65, 0x88, 0x84}, p_slice = {0, 0, 0, 1, 0x41, 0x9A, 0x20};
    const Bytes unknown = payload(1, 1, 40);
    struct Row {
        const char *name;
        uint32_t tag;
        std::vector<std::pair<Bytes, bool>> frames;  // and what the index says
        std::vector<int> keys;
        int64_t last_key_us;
    };
    const Row rows[] = {
        {"index alone",
         tag("ABCD"),
         {{unknown, true}, {unknown, false}, {unknown, true}, {unknown, false}},
         {1, 0, 1, 0},
         80000},
        {"all marked",
         tag("H264"),
         {{idr, true}, {p_slice, true}, {idr, true}, {p_slice, true}, {p_slice, true}},
         {1, 0, 1, 0, 0},
         80000},
        {"none marked", tag("MJPG"), {{unknown, false}, {unknown, false}}, {1, 1}, 0},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        AviBuilder builder({pcm_stream(), video_stream(row.tag)});
        for (const auto &[data, marked] : row.frames)
            builder.frame(0, size_t{320}).frame(1, data, marked);
        MediaBytes source(builder.build().flatten());
        MediaFile file(source.record());
        EXPECT_EQ(key_flags(file.read_track(1)), row.keys);
        int64_t reached = -1;
        ASSERT_EQ(file.seek(10000000, QUORV_SEEK_BEFORE, &reached), QUORV_OK);
        EXPECT_EQ(reached, row.last_key_us);
    }
}

// Microseconds are rounded down once, from the file's own terms.
TEST(MediaRecords, TimesAreExact) {
    const std::pair<uint32_t, uint32_t> bases[] = {
        {1001, 30000}, {1, 25}, {0xFFFFFFFF, 1}, {0xFFFFFFFE, 0xFFFFFFFF}};
    for (const auto &[scale, rate] : bases) {
        SCOPED_TRACE(testing::Message() << scale << "/" << rate);
        AviBuilder builder({video_stream(tag("MJPG"), scale, rate)});
        for (size_t i = 0; i < 100; ++i)
            builder.frame(0, size_t{20});
        MediaBytes source(builder.build().flatten());
        MediaFile file(source.record());
        const auto time_of = [&, s = scale, r = rate](uint64_t n) {
            return static_cast<int64_t>(n * s * 1000000 / r);
        };
        const KeptPackets packets = file.read_track(0);
        ASSERT_EQ(packets.size(), 100u);
        for (size_t n = 0; n < packets.size(); ++n) {
            EXPECT_EQ(packets[n].time_us, time_of(n));
            EXPECT_EQ(packets[n].duration_us, time_of(n + 1) - time_of(n));
            int64_t reached = -1;
            ASSERT_EQ(file.seek(time_of(n), QUORV_SEEK_AFTER, &reached), QUORV_OK);
            EXPECT_EQ(reached, time_of(n));
        }
        EXPECT_EQ(file.track(0).duration_us, time_of(100));
    }
}

TEST(MediaRecords, SoundIsSoughtWithoutAnIndex) {
    const AviStream kinds[] = {pcm_stream(44100, 4), mp3_stream(44100, 1152, 1152)};
    for (const AviStream &kind : kinds) {
        AviBuilder builder({kind}, IndexKind::None);
        for (size_t i = 0; i < 50; ++i)
            builder.frame(0, 4000 + i % 7 * 4).frame(0, size_t{0});
        MediaBytes source(builder.build().flatten());
        MediaFile file(source.record());
        EXPECT_NE(file.track(0).seekable, 0);
        const KeptPackets all = file.read_track(0);
        ASSERT_GT(all.size(), 40u);
        // Back from the end, and to places behind and between.
        for (size_t n = all.size(); n-- > 0;) {
            for (const int64_t past : {int64_t{0}, all[n].duration_us - 1}) {
                int64_t reached = -1;
                ASSERT_EQ(file.seek(all[n].time_us + past, QUORV_SEEK_BEFORE, &reached), QUORV_OK);
                EXPECT_EQ(reached, all[n].time_us);
                EXPECT_TRUE(file.read_track(0, nullptr, 1)[0] == all[n]);
            }
        }
    }
}

struct DamageRow {
    const char *name;
    std::function<void(Bytes *)> harm;
    uint64_t passed, missing;
    int64_t first_passed, first_missing;
    int64_t cut;
};

// The places are as many bytes as have been counted, from the first one on.
void expect_places(const QuorvRanges &places, const QuorvDamageCount &damage) {
    uint64_t bytes = 0;
    for (size_t i = 0; i < places.count; ++i)
        bytes += static_cast<uint64_t>(places.ranges[i].end - places.ranges[i].begin);
    EXPECT_EQ(bytes, damage.count);
    EXPECT_EQ(places.count != 0 ? places.ranges[0].begin : -1, damage.first_offset);
}

void expect_damage(const QuorvDamage &damage, const DamageRow &row) {
    expect_places(damage.passed_over_at, damage.bytes_passed_over);
    expect_places(damage.missing_at, damage.chunks_missing);
    EXPECT_EQ(damage.bytes_passed_over.count, row.passed);
    EXPECT_EQ(damage.bytes_passed_over.first_offset, row.first_passed);
    EXPECT_EQ(damage.chunks_missing.count, row.missing);
    EXPECT_EQ(damage.chunks_missing.first_offset, row.first_missing);
    EXPECT_EQ(damage.bytes_missing, row.cut);
    EXPECT_EQ(damage.cut_off != 0, row.cut != 0);
}

TEST(MediaRecords, DamageOfAviFilesCountsOnce) {
    AviBuilder builder({video_stream(tag("MJPG")), pcm_stream()});
    for (size_t i = 0; i < 40; ++i)
        builder.frame(0, size_t{1001}).frame(1, size_t{1280});
    const Bytes whole = builder.build().flatten();
    // Two chunks with their headers and a pad byte take 2298 bytes.
    const auto chunk = [&](uint32_t stream, size_t i) { return builder.truth(stream)[i].position; };
    const auto at = [](Bytes *bytes, uint64_t place) {
        return bytes->begin() + static_cast<std::ptrdiff_t>(place);
    };
    const auto place = [](uint64_t position) { return static_cast<int64_t>(position); };
    const DamageRow rows[] = {
        {"none", [](Bytes *) {}, 0, 0, -1, -1, 0},
        {"header of zeros", [&](Bytes *b) { std::fill_n(at(b, chunk(0, 5)), 8, 0); }, 1010, 1,
         place(chunk(0, 5)), place(chunk(0, 5)), 0},
        {"a size that takes others in",
         [&](Bytes *b) { std::copy_n(le32(1001 + 2298).begin(), 4, at(b, chunk(0, 5) + 4)); }, 0, 2, -1,
         place(chunk(1, 5)), 0},
        {"10 KB overwritten",
         [&](Bytes *b) { std::copy_n(payload(7, 7, 10000).begin(), 10000, at(b, chunk(0, 10) + 100)); },
         chunk(1, 14) - chunk(1, 10), 8, place(chunk(1, 10)), place(chunk(1, 10)), 0},
        {"cut", [&](Bytes *b) { b->resize(static_cast<size_t>(chunk(1, 20) + 100)); }, 100, 0,
         place(chunk(1, 20)), -1, place(whole.size() - chunk(1, 20) - 100)},
    };
    for (const DamageRow &row : rows) {
        SCOPED_TRACE(row.name);
        Bytes bytes = whole;
        row.harm(&bytes);
        MediaBytes source(bytes);
        MediaFile file(source.record());
        file.read();
        file.seek(0, QUORV_SEEK_BEFORE);
        file.read();
        expect_damage(*quorv_damage(file.reader(), QUORV_WHOLE_FILE), row);
        EXPECT_EQ(quorv_damage(file.reader(), 1)->bytes_passed_over.count, row.passed);
    }
}

TEST(MediaRecords, DamageOfAsfFilesCountsOnce) {
    AsfBuilder builder({asf_video(1), asf_audio(2)}, {}, AsfIndex::None);
    for (uint32_t i = 0; i < 40; ++i)
        builder.frame(0, i * 40, 300).frame(1, i * 40, 60);
    const Bytes whole = builder.build();
    const size_t packet = builder.data_start() + 10 * builder.layout.packet_size;
    Bytes spoilt = whole, cut = whole, longer = join({whole, Bytes(1000, 'x')});
    std::fill_n(spoilt.begin() + static_cast<std::ptrdiff_t>(packet), builder.layout.packet_size,
                uint8_t{0xFF});
    cut.resize(packet + 7);
    const struct {
        const Bytes &bytes;
        int64_t first, missing;
    } rows[] = {{whole, -1, 0},
                {longer, -1, 0},
                {spoilt, static_cast<int64_t>(packet), 0},
                {cut, -2, static_cast<int64_t>(whole.size() - cut.size())}};
    for (const auto &row : rows) {
        MediaBytes source(row.bytes);
        MediaFile file(source.record());
        QuorvResult end = QUORV_OK;
        uint64_t failures = 0;
        for (int pass = 0; pass < 2; ++pass) {
            for (end = QUORV_ERR_DAMAGED; end == QUORV_ERR_DAMAGED; failures += end == QUORV_ERR_DAMAGED)
                file.read(&end);
            ASSERT_EQ(end, QUORV_END);
            file.seek(0, QUORV_SEEK_BEFORE);
        }
        const QuorvDamage &damage = *quorv_damage(file.reader(), QUORV_WHOLE_FILE);
        EXPECT_EQ(damage.packets_unusable.count != 0, row.first != -1);
        expect_places(damage.unusable_at, damage.packets_unusable);
        EXPECT_EQ(failures != 0, row.first >= 0);
        // The first part of a frame that the damage interrupts lies in front of it.
        EXPECT_LE(damage.packets_unusable.first_offset, static_cast<int64_t>(packet));
        EXPECT_LE(damage.packets_unusable.count, 3u);
        EXPECT_EQ(damage.bytes_missing, row.missing);
        EXPECT_EQ(damage.cut_off != 0, row.missing != 0);
    }
}

}  // namespace
}  // namespace quorv::test
