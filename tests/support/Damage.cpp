// Damages files on purpose; see the header.

#include "support/Damage.h"

#include "support/AsfBuilder.h"
#include "support/AviBuilder.h"
#include "support/Mp3Streams.h"
#include "support/VideoHeaders.h"

namespace quorv::test {
namespace {

constexpr size_t kChunkHeader = 8, kIndexEntry = 16;

Bytes overwritten(Bytes bytes, uint64_t place, const Bytes &with) {
    std::copy(with.begin(), with.end(), bytes.begin() + static_cast<std::ptrdiff_t>(place));
    return bytes;
}

Bytes with_inserted(Bytes bytes, uint64_t place, const Bytes &more) {
    bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(place), more.begin(), more.end());
    return bytes;
}

int64_t place_of(uint64_t offset) {
    return static_cast<int64_t>(offset);
}

// Pictures and sound of two seconds.
AviBuilder film(const AviStream &video = video_stream(tag("MJPG")), IndexKind index = IndexKind::Legacy) {
    AviBuilder builder({video, pcm_stream()}, index);
    for (size_t i = 0; i < 50; ++i)
        builder.frame(0, size_t{1001}).frame(1, size_t{1280});
    return builder;
}

void add_harmed_chunks(std::vector<DamagedFile> &all) {
    AviBuilder builder = film();
    const Bytes whole = builder.build().flatten();
    const uint64_t picture = builder.truth(0)[20].position, sound = builder.truth(1)[30].position;
    const auto zeros = overwritten(whole, picture, Bytes(kChunkHeader));
    all.push_back({"header_of_zeros.avi", zeros, "bytes_passed_over", place_of(picture)});
    all.push_back({"header_of_zeros_too.avi", zeros, "chunk_missing", place_of(picture)});
    all.push_back({"size_that_takes_others_in.avi", overwritten(whole, picture + 4, le32(1001 + 2298)),
                   "chunk_missing", place_of(builder.truth(1)[20].position)});
    all.push_back({"overwritten.avi", overwritten(whole, sound, payload(7, 7, 6000)), "bytes_passed_over",
                   place_of(sound)});
    all.push_back(
        {"cut.avi", first_of(whole, static_cast<size_t>(picture) + 100), "cut_off", place_of(picture + 100)});
    all.push_back(
        {"longer.avi", join({whole, Bytes(1000, 'x')}), "junk_at_end", place_of(whole.size()), false});
    AviBuilder short_sound({video_stream(tag("MJPG")), pcm_stream()});
    for (size_t i = 0; i < 50; ++i) {
        short_sound.frame(0, size_t{101});
        if (i < 20) short_sound.frame(1, size_t{1280});
    }
    all.push_back({"short_sound.avi", short_sound.build().flatten(), "lengths_differ", kNoPlace, false});
}

void add_harmed_indexes(std::vector<DamagedFile> &all) {
    AviBuilder builder = film();
    const Bytes whole = builder.build().flatten();
    const uint64_t entries = whole.size() - 100 * kIndexEntry, header = entries - kChunkHeader;
    const uint64_t picture = builder.truth(0)[20].position + kChunkHeader;
    const Bytes elsewhere = overwritten(whole, entries + 40 * kIndexEntry + 8, le32(5000));
    const uint64_t wrong = builder.media_start() + 5000 + kChunkHeader;
    all.push_back({"index_elsewhere.avi", elsewhere, "index_elsewhere", place_of(wrong)});
    all.push_back({"index_lacks_a_chunk.avi", elsewhere, "chunk_not_indexed", place_of(picture), false});
    all.push_back({"index_with_a_wrong_size.avi",
                   overwritten(whole, entries + 40 * kIndexEntry + 12, le32(900)), "index_elsewhere",
                   place_of(picture)});
    all.push_back(
        {"no_index.avi", overwritten(whole, header, text("JUNK")), "index_missing", kNoPlace, false});

    AviBuilder open = film(video_stream(tag("MJPG")), IndexKind::OpenDmlFields);
    const Bytes dml = open.build().flatten();
    const Bytes id = text("ix00");
    const auto index = std::search(dml.begin(), dml.end(), id.begin(), id.end());
    all.push_back({"index_chunk_lost.avi",
                   overwritten(dml, static_cast<uint64_t>(index - dml.begin()), text("JUNK")),
                   "index_elsewhere", index - dml.begin()});

    const Bytes vol = mpeg4_vol(64, 48), key = {0, 0, 1, 0xB6, 0x10, 0x60},
                other = {0, 0, 1, 0xB6, 0x50, 0x60};
    AviBuilder flags({video_stream(tag("XVID"))});
    for (size_t i = 0; i < 12; ++i)
        flags.frame(0, join({i == 0 ? vol : Bytes{}, i % 4 == 0 ? key : other, payload(0, i, 30)}),
                    i % 5 == 0);
    const Bytes flagged = flags.build().flatten();
    all.push_back({"key_flag_too_many.avi", flagged, "key_flag",
                   place_of(flags.truth(0)[5].position + kChunkHeader), false});
    all.push_back({"key_flag_lacking.avi", flagged, "key_flag",
                   place_of(flags.truth(0)[4].position + kChunkHeader), false});
    const Bytes start = {0, 0, 1};
    AviBuilder avc({video_stream(tag("H264"))});
    avc.frame(0, join({h264_sps(176, 144), start, slice_bytes(0x65, 0, 7)}));
    avc.frame(0, join({start, slice_bytes(0x41, 0, 5)}), true)
        .frame(0, join({start, slice_bytes(0x41, 0, 5)}), false);
    all.push_back({"key_flag_too_many_h264.avi", avc.build().flatten(), "key_flag",
                   place_of(avc.truth(0)[1].position + kChunkHeader), false});
}

void add_wrong_headers(std::vector<DamagedFile> &all) {
    const Bytes vol = mpeg4_vol(64, 48), key = {0, 0, 1, 0xB6, 0x10, 0x60};
    AviStream video = video_stream(tag("XVID"));
    BitmapHeader format;
    format.compression = tag("XVID");
    format.width = 640;
    video.format = format.body();
    AviBuilder builder({video});
    builder.frame(0, join({vol, key, payload(0, 0, 30)})).frame(0, join({key, payload(0, 1, 30)}));
    const Bytes bytes = builder.build().flatten();
    all.push_back({"other_picture_size.avi", bytes, "codec_header",
                   place_of(builder.truth(0)[0].position + kChunkHeader + vol.size()), false});
    const Bytes music = real_mp3_stream();
    AviStream other_rate = mp3_stream(22050, 576), mono = mp3_stream(44100, 1152);
    mono.format[2] = 1;
    for (const auto &[name, stream] : {std::pair("other_sample_rate.avi", other_rate), {"mono.avi", mono}}) {
        AviBuilder sound({stream});
        for (size_t at = 0; at < music.size(); at += 417)
            sound.frame(0,
                        Bytes(music.begin() + static_cast<std::ptrdiff_t>(at),
                              music.begin() + static_cast<std::ptrdiff_t>(std::min(at + 417, music.size()))));
        all.push_back({name, sound.build().flatten(), "codec_header", kNoPlace, false});
    }
    AviBuilder late({video_stream(tag("MJPG"))}, IndexKind::None);
    late.streams[0].header.length = 1000;
    all.push_back({"length_too_long.avi", late.frame(0, size_t{90}).build().flatten(), "length_stated",
                   kNoPlace, false});
}

// A frame of the real stream in each chunk.
AviBuilder music_film(const Bytes &music) {
    AviBuilder builder({video_stream(tag("MJPG")), mp3_stream(44100, 1152, 1152)});
    const std::vector<size_t> starts = frame_starts(music);
    for (size_t i = 0; i + 1 < starts.size(); ++i) {
        if (i % 2 == 0) builder.frame(0, size_t{99});
        builder.frame(
            1, Bytes(music.begin() + static_cast<std::ptrdiff_t>(starts[i]),
                     music.begin() + static_cast<std::ptrdiff_t>(std::min(starts[i + 1], music.size()))));
    }
    return builder;
}

// In an AVI file, where the chunks around it are sound.
void add_harmed_sound(std::vector<DamagedFile> &all) {
    const Bytes music = real_mp3_stream();
    AviBuilder builder = music_film(music);
    const Bytes whole = builder.build().flatten();
    const uint64_t frame = builder.truth(1)[40].position + kChunkHeader;
    const uint64_t second = builder.truth(1)[1].position + kChunkHeader;
    all.push_back(
        {"sound_of_zeros.avi", overwritten(whole, frame, Bytes(417)), "audio_lost_sync", place_of(frame)});
    all.push_back({"sound_with_a_check.avi", overwritten(whole, frame + 1, {0xFA}), "audio_bad_check",
                   place_of(frame)});
    all.push_back({"sound_of_lost_bytes.avi", overwritten(whole, second + 4, {0xFF}), "audio_no_reservoir",
                   place_of(second)});
    AviBuilder shorter = music_film(first_of(music, music.size() - 200));
    const Bytes cut = shorter.build().flatten();
    all.push_back({"sound_cut_off.avi", cut, "audio_cut_off",
                   place_of(shorter.truth(1).back().position + kChunkHeader)});
    AviBuilder empty({video_stream(tag("MJPG")), pcm_stream()});
    empty.streams[1].header.length = 100;
    all.push_back({"track_without_frames.avi", empty.frame(0, size_t{99}).build().flatten(), "no_frames"});
    all.push_back({"header_cut_off.avi", first_of(whole, 100), "header"});
    AviBuilder still({video_stream(tag("MJPG"))});
    for (size_t i = 0; i < 90; ++i)
        still.frame(0, size_t{i < 20 || i > 60 ? 99u : 0u});
    const Bytes standing = still.build().flatten();
    all.push_back({"no_picture_for_long.avi", standing, "time_gap",
                   place_of(still.truth(0)[20].position + kChunkHeader), false});
}

void add_asf_files(std::vector<DamagedFile> &all) {
    const auto fill = [](AsfBuilder &builder, uint32_t from, uint32_t to, uint32_t shift) {
        for (uint32_t i = from; i < to; ++i)
            builder.frame(0, i * 40 + shift, 300).frame(1, i * 40 + shift, 60);
    };
    AsfBuilder builder({asf_video(1), asf_audio(2)}, {}, AsfIndex::None);
    fill(builder, 0, 40, 0);
    const Bytes whole = builder.build();
    const uint64_t packet = builder.data_start() + 20 * builder.layout.packet_size;
    all.push_back({"packet_overwritten.asf", overwritten(whole, packet, Bytes(200, 0xFF)), "packet_unusable",
                   place_of(packet)});
    all.push_back(
        {"cut.asf", first_of(whole, static_cast<size_t>(packet) + 7), "cut_off", place_of(packet + 7)});
    all.push_back(
        {"longer.asf", join({whole, Bytes(1000, 'x')}), "junk_at_end", place_of(whole.size()), false});
    // Each packet holds a frame; one becomes that of a stream which the header does not name.
    AsfBuilder single({asf_video(1), asf_audio(2)}, {.multiple = false}, AsfIndex::None),
        other({asf_video(9), asf_audio(2)}, {.multiple = false}, AsfIndex::None);
    for (uint32_t i = 0; i < 20; ++i) {
        single.frame(0, i * 40, 100).frame(1, i * 40, 60);
        other.frame(0, i * 40, 100).frame(1, i * 40, 60);
    }
    const Bytes ours = single.build(), theirs = other.build();
    const auto packet_size = static_cast<std::ptrdiff_t>(single.layout.packet_size),
               tenth = static_cast<std::ptrdiff_t>(single.data_start()) + 10 * packet_size;
    const Bytes stranger(theirs.begin() + tenth, theirs.begin() + tenth + packet_size);
    all.push_back({"packet_of_another_file.asf", overwritten(ours, static_cast<uint64_t>(tenth), stranger),
                   "packet_unusable", tenth});
    AsfBuilder gap({asf_video(1), asf_audio(2)}, {}, AsfIndex::None);
    fill(gap, 0, 20, 0);
    fill(gap, 20, 40, 5000);
    all.push_back({"gap.asf", gap.build(), "time_gap", kAnyPlace, false});
    AsfBuilder back({asf_video(1), asf_audio(2)}, {}, AsfIndex::None);
    fill(back, 0, 40, 3000);
    fill(back, 0, 40, 0);
    all.push_back({"step_back.asf", back.build(), "time_step_back", kAnyPlace});
}

void add_mp3_files(std::vector<DamagedFile> &all) {
    const Bytes music = real_mp3_stream();
    const std::vector<size_t> starts = frame_starts(music);
    const size_t half = starts[starts.size() / 2];
    all.push_back({"junk_inside.mp3", with_inserted(music, half, Bytes(777, 0x55)), "bytes_passed_over",
                   place_of(half)});
    all.push_back(
        {"frame_lost.mp3", overwritten(music, half, Bytes(417)), "bytes_passed_over", place_of(half)});
    all.push_back({"side_information_overwritten.mp3", overwritten(music, half + 4, Bytes(32, 0xFF)),
                   "audio_bad_data", place_of(half)});
    all.push_back({"cut.mp3", first_of(music, half + 100), "frame_cut_off", place_of(half)});
    all.push_back(
        {"longer.mp3", join({music, Bytes(1000, 'x')}), "junk_at_end", place_of(music.size()), false});
    const size_t frames = starts.size() - 1;
    const Bytes fewer = join({xing_frame("Info", frames - 9, 0, 0, 0), music}),
                shorter = join({xing_frame("Info", frames, music.size(), 0, 0), music});
    all.push_back({"count_too_low.mp3", fewer, "encoder_count", place_of(fewer.size()), false});
    all.push_back({"bytes_too_few.mp3", shorter, "encoder_count", place_of(shorter.size()), false});
    all.push_back({"other_rate_behind.mp3", join({music, noise_stream(40, {.sample_rate = 48000})}),
                   "audio_format", place_of(music.size()), false});
}

}  // namespace

std::vector<DamagedFile> damaged_files() {
    std::vector<DamagedFile> all;
    add_harmed_chunks(all);
    add_harmed_indexes(all);
    add_wrong_headers(all);
    add_harmed_sound(all);
    add_asf_files(all);
    add_mp3_files(all);
    return all;
}

}  // namespace quorv::test
