// MPEG audio files: which bytes become packets, at which times, what is told of the rest, and seeking.

#include <gtest/gtest.h>

#include <span>

#include "support/DecodedSound.h"
#include "support/Mp3Streams.h"

namespace quorv::test {
namespace {

Bytes joined(const std::vector<Bytes> &parts) {
    Bytes all;
    for (const Bytes &part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

constexpr int64_t time_of(int64_t samples, int64_t rate) {
    return samples * 1000000 / rate;
}

// Reads all packets, whose bytes must be those of the file at their offsets.
std::vector<QuorvPacket> read_all(QuorvReader *reader, const Bytes &file) {
    std::vector<QuorvPacket> packets;
    const QuorvPacket *packet = nullptr;
    while (quorv_read(reader, &packet) == QUORV_OK) {
        packets.push_back(*packet);
        const auto *const bytes = static_cast<const uint8_t *>(packet->data);
        EXPECT_TRUE(
            std::equal(bytes, bytes + packet->size, file.begin() + static_cast<ptrdiff_t>(packet->offset)));
    }
    return packets;
}

void expect_damage(const QuorvDamageCount &damage, uint64_t count, int64_t first_offset) {
    EXPECT_EQ(damage.count, count);
    EXPECT_EQ(damage.first_offset, count == 0 ? -1 : first_offset);
}

TEST(MpegAudioFile, FramesAreFoundBetweenTagsAndJunk) {
    const Bytes music = real_mp3_stream();
    const std::vector<size_t> starts = frame_starts(music);
    const size_t frames = starts.size() - 1, half = frames / 2;
    const auto middle = music.begin() + static_cast<ptrdiff_t>(starts[half]);
    const Bytes front = id3v2_tag(300000), junk(333, 0x55), tag = id3v2_tag(20000),
                cut(music.begin(), music.begin() + 400);
    Bytes id3v1(128, ' ');
    std::copy_n("TAG", 3, id3v1.begin());
    const Bytes file = joined(
        {front, junk, Bytes(music.begin(), middle), junk, tag, Bytes(middle, music.end()), id3v1, cut});

    const ReaderHolder reader = open_file(file);
    EXPECT_EQ(quorv_file(reader.get())->container, QUORV_CONTAINER_MPEG_AUDIO);
    const QuorvTrack &track = *quorv_track(reader.get(), 0);
    EXPECT_EQ(track.codec, QUORV_CODEC_MP3);
    EXPECT_EQ(track.bit_rate, 128000u);
    EXPECT_EQ(track.sample_count, frames * 1152);
    EXPECT_EQ(track.duration_us, time_of(static_cast<int64_t>(frames) * 1152, 44100));
    for (int pass = 0; pass < 2; ++pass) {
        const std::vector<QuorvPacket> packets = read_all(reader.get(), file);
        ASSERT_EQ(packets.size(), frames);
        for (size_t i = 0; i < frames; ++i) {
            const size_t before = front.size() + junk.size() + (i < half ? 0 : junk.size() + tag.size());
            EXPECT_EQ(packets[i].offset, static_cast<int64_t>(starts[i] + before));
            EXPECT_EQ(packets[i].size, starts[i + 1] - starts[i]);
            EXPECT_EQ(packets[i].time_us, time_of(static_cast<int64_t>(i) * 1152, 44100));
            EXPECT_EQ(packets[i].duration_us,
                      time_of(static_cast<int64_t>(i + 1) * 1152, 44100) - packets[i].time_us);
        }
        const QuorvDamage &damage = *quorv_damage(reader.get(), 0);
        // A tag behind junk is junk as well.
        expect_damage(damage.bytes_passed_over, 2 * junk.size() + tag.size(),
                      static_cast<int64_t>(front.size()));
        expect_damage(damage.frames_skipped, 1, static_cast<int64_t>(file.size() - cut.size()));
        ASSERT_EQ(damage.passed_over_at.count, 2u);
        EXPECT_EQ(damage.passed_over_at.ranges[1].begin, packets[half].offset - 20010 - 333);
        EXPECT_EQ(damage.passed_over_at.ranges[1].end, packets[half].offset);
        ASSERT_EQ(damage.skipped_at.count, 1u);
        EXPECT_EQ(damage.skipped_at.ranges[0].end, static_cast<int64_t>(file.size()));
        EXPECT_EQ(damage.cut_off, 0);
        EXPECT_EQ(quorv_seek(reader.get(), 0, QUORV_SEEK_BEFORE, nullptr), QUORV_OK);
    }
}

TEST(MpegAudioFile, TimesGoOnWhereTheFormatChanges) {
    const Bytes file =
        joined({noise_stream(50), noise_stream(70, {.sample_rate = 32000, .channels = 1}), noise_stream(50)});
    const ReaderHolder reader = open_file(file);
    const std::vector<QuorvPacket> packets = read_all(reader.get(), file);
    ASSERT_EQ(packets.size(), 170u);
    const int64_t first = time_of(19200, 44100), second = first + time_of(26880, 32000);
    EXPECT_EQ(packets[50].time_us, first);
    EXPECT_EQ(packets[51].time_us, first + time_of(384, 32000));
    EXPECT_EQ(packets[120].time_us, second);
    EXPECT_EQ(quorv_file(reader.get())->duration_us, second + time_of(19200, 44100));
    EXPECT_EQ(quorv_track(reader.get(), 0)->sample_count, 0u);
}

TEST(MpegAudioFile, TheEncodersHeaderTellsLengthTrimmingAndCuts) {
    constexpr uint32_t kDelay = 700, kPadding = 1200;
    constexpr int64_t kFront = kDelay + 529, kBack = kPadding - 529;
    const Bytes music = real_mp3_stream();
    const auto frames = static_cast<uint32_t>(frame_starts(music).size() - 1);
    const auto bytes = static_cast<uint32_t>(417 + music.size());
    const int64_t sound = int64_t{frames} * 1152 - kFront - kBack;
    const Bytes info = xing_frame("Info", frames, bytes, kDelay, kPadding), file = joined({info, music});
    const std::vector<int16_t> whole = samples_of(decode(music));
    const std::vector<int16_t> trimmed(whole.begin() + 2 * kFront, whole.end() - 2 * kBack);

    const ReaderHolder reader = open_file(file);
    const QuorvTrack &track = *quorv_track(reader.get(), 0);
    EXPECT_EQ(track.sample_count, static_cast<uint64_t>(sound));
    EXPECT_EQ(int64_t{track.trim_front}, kFront);
    EXPECT_EQ(track.stated_packets, frames);
    EXPECT_EQ(track.stated_end, static_cast<int64_t>(file.size()));
    EXPECT_EQ(int64_t{track.trim_back}, kBack);
    EXPECT_EQ(track.duration_us, time_of(sound, 44100));
    const std::vector<QuorvPacket> packets = read_all(reader.get(), file);
    const auto decode_again = [&reader](QuorvDecoder *decoder) {
        EXPECT_EQ(quorv_seek(reader.get(), 0, QUORV_SEEK_BEFORE, nullptr), QUORV_OK);
        return decode_rest(reader.get(), decoder).samples;
    };
    const MediaDecoderHolder decoder = open_decoder(&track);
    EXPECT_TRUE(decode_again(decoder.get()) == trimmed);
    EXPECT_TRUE(decode_again(open_decoder(&track, QUORV_DECODER_KEEP_PADDING).get()) == whole);
    EXPECT_TRUE(decode_sound(open_decoder().get(), file, 1000).samples == trimmed);
    ASSERT_EQ(packets.size(), frames);
    for (uint32_t i = 0; i < frames; ++i) {
        const int64_t begin = std::clamp<int64_t>(int64_t{i} * 1152 - kFront, 0, sound);
        const int64_t end = std::clamp<int64_t>(int64_t{i + 1} * 1152 - kFront, 0, sound);
        EXPECT_EQ(packets[i].time_us, time_of(begin, 44100)) << i;
        EXPECT_EQ(packets[i].duration_us, time_of(end, 44100) - time_of(begin, 44100)) << i;
    }
    EXPECT_EQ(quorv_damage(reader.get(), 0)->cut_off, 0);

    // From a place in the middle on, the end is still trimmed.
    int64_t reached = 0;
    EXPECT_EQ(quorv_seek(reader.get(), packets[frames - 9].time_us, QUORV_SEEK_BEFORE, &reached), QUORV_OK);
    EXPECT_EQ(reached, packets[frames - 9].time_us);
    EXPECT_EQ(quorv_decoder_reset(decoder.get(), reached), QUORV_OK);
    const std::vector<int16_t> end = decode_rest(reader.get(), decoder.get()).samples;
    // The first frames need what came before them: sound that is theirs alone is compared.
    ASSERT_GE(end.size(), 9216u);
    EXPECT_TRUE(std::equal(trimmed.end() - ptrdiff_t{9216}, trimmed.end(), end.end() - ptrdiff_t{9216}));

    const Bytes cut = first_of(file, file.size() - 1000);
    const ReaderHolder short_reader = open_file(cut);
    EXPECT_EQ(quorv_track(short_reader.get(), 0)->duration_us, time_of(sound, 44100));
    EXPECT_EQ(quorv_damage(short_reader.get(), 0)->cut_off, 1);
    EXPECT_EQ(quorv_damage(short_reader.get(), 0)->bytes_missing, 1000);
    // Behind what the header tells is more: it is the header of a part.
    const Bytes doubled = joined({file, music});
    const ReaderHolder long_reader = open_file(doubled);
    EXPECT_EQ(quorv_track(long_reader.get(), 0)->duration_us, time_of(sound + int64_t{frames} * 1152, 44100));
}

// A file that is not there: one frame again and again, then zeros. Counts what is read of it.
struct EndlessFile {
    Bytes frame;
    int64_t sound_bytes = 0, size = 0;
    uint64_t bytes_read = 0;

    EndlessFile() : frame(noise_stream(1)) {}
    ReaderHolder open() {
        QuorvSource source = {};
        source.user = this;
        source.read_at = [](void *user, uint64_t offset, void *buffer, size_t wanted) {
            auto *const self = static_cast<EndlessFile *>(user);
            const auto left = static_cast<uint64_t>(self->size) - offset;
            const auto count = static_cast<size_t>(std::min<uint64_t>(wanted, left));
            for (size_t i = 0; i < count; ++i) {
                const uint64_t at = offset + i;
                const bool is_sound = at < static_cast<uint64_t>(self->sound_bytes);
                static_cast<uint8_t *>(buffer)[i] =
                    is_sound ? self->frame[static_cast<size_t>(at % self->frame.size())] : 0;
            }
            self->bytes_read += count;
            return static_cast<int64_t>(count);
        };
        source.size = [](void *user) { return static_cast<EndlessFile *>(user)->size; };
        QuorvReader *reader = nullptr;
        EXPECT_EQ(quorv_open_source(&source, &reader), QUORV_OK);
        return ReaderHolder(reader);
    }
};

TEST(MpegAudioFile, LargeFilesAreOpenedAndSoughtWithoutReadingThem) {
    EndlessFile file;
    const auto frame_bytes = static_cast<int64_t>(file.frame.size());
    const int64_t frames = (int64_t{3} << 30) / frame_bytes;
    file.sound_bytes = file.size = frames * frame_bytes;
    const ReaderHolder reader = file.open();
    EXPECT_EQ(quorv_file(reader.get())->duration_us, time_of(frames * 384, 44100));
    EXPECT_LE(file.bytes_read, 5u << 20);
    for (const int64_t number : {frames / 2, frames / 3 + 1, frames - 1, int64_t{100}}) {
        file.bytes_read = 0;
        int64_t reached = 0;
        const QuorvPacket *packet = nullptr;
        const int64_t time = time_of(number * 384, 44100);
        EXPECT_EQ(quorv_seek(reader.get(), time + 100, QUORV_SEEK_BEFORE, &reached), QUORV_OK);
        ASSERT_EQ(quorv_read(reader.get(), &packet), QUORV_OK);
        EXPECT_EQ(packet->offset, number * frame_bytes);
        EXPECT_EQ(packet->time_us, time);
        EXPECT_EQ(reached, time);
        EXPECT_LE(file.bytes_read, 1u << 20);
    }

    EndlessFile mostly_zeros;
    mostly_zeros.sound_bytes = 20000 * frame_bytes;
    mostly_zeros.size = int64_t{5} << 30;
    const ReaderHolder zeros = mostly_zeros.open();
    EXPECT_EQ(quorv_file(zeros.get())->duration_us, time_of(int64_t{20000} * 384, 44100));
    EXPECT_EQ(quorv_seek(zeros.get(), INT64_MAX, QUORV_SEEK_BEFORE, nullptr), QUORV_OK);
    EXPECT_LE(mostly_zeros.bytes_read, 140u << 20);
}

TEST(MpegAudioFile, SeeksGoToTheFrameOfTheTime) {
    const Bytes music = real_mp3_stream();
    const auto frames = static_cast<uint32_t>(frame_starts(music).size() - 1);
    const Bytes info = xing_frame("Xing", frames, static_cast<uint32_t>(417 + music.size()), 700, 1200);
    for (const Bytes &file : {music, joined({id3v2_tag(10), info, music}), noise_stream(900)}) {
        const ReaderHolder reader = open_file(file);
        const std::vector<QuorvPacket> packets = read_all(reader.get(), file);
        const auto last = static_cast<int64_t>(packets.size()) - 1;
        for (const int64_t time : {int64_t{-5}, int64_t{0}, int64_t{1}, packets[40].time_us - 1,
                                   packets[40].time_us, packets[40].time_us + 1, INT64_MAX}) {
            for (const QuorvSeek mode : {QUORV_SEEK_BEFORE, QUORV_SEEK_AFTER}) {
                SCOPED_TRACE(testing::Message() << "time " << time << ", mode " << mode);
                const auto begins_before = [](const QuorvPacket &packet, int64_t wanted) {
                    return packet.time_us < wanted;
                };
                const int64_t limit = mode == QUORV_SEEK_BEFORE && time < INT64_MAX ? time + 1 : time;
                const auto behind =
                    std::lower_bound(packets.begin(), packets.end(), limit, begins_before) - packets.begin();
                const int64_t found = mode == QUORV_SEEK_BEFORE ? behind - 1 : behind;
                const int64_t expected = time <= 0 ? 0 : std::clamp<int64_t>(found, 0, last);
                int64_t reached = 0;
                const QuorvPacket *packet = nullptr;
                ASSERT_EQ(quorv_seek(reader.get(), time, mode, &reached), QUORV_OK);
                ASSERT_EQ(quorv_read(reader.get(), &packet), QUORV_OK);
                EXPECT_EQ(packet->offset, packets[static_cast<size_t>(expected)].offset);
                EXPECT_EQ(reached, packet->time_us);
            }
        }
    }
}

TEST(MpegAudioFile, OtherFilesAreNone) {
    Random random{5};
    Bytes noise(200000);
    std::generate(noise.begin(), noise.end(), [&random] { return static_cast<uint8_t>(random()); });
    const Bytes frame = noise_stream(1);
    for (const Bytes &file : {noise, Bytes(100000), Bytes(100000, 0xFF), joined({id3v2_tag(5000), noise}),
                              joined({frame, Bytes(50000)}), id3v2_tag(100)}) {
        QuorvReader *reader = nullptr;
        EXPECT_EQ(quorv_open_memory(file.data(), file.size(), &reader), QUORV_ERR_NOT_MEDIA);
        EXPECT_EQ(reader, nullptr);
    }
}

}  // namespace
}  // namespace quorv::test
