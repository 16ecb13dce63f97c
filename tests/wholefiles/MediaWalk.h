// Sample files of every format, and a walk through one with all functions that read.
#ifndef QUORV_TESTS_WHOLEFILES_MEDIAWALK_H
#define QUORV_TESTS_WHOLEFILES_MEDIAWALK_H

#include "support/MediaFile.h"
#include "support/Mp3Streams.h"
#include "support/SampleFiles.h"

namespace quorv::test {

struct MediaSample {
    std::string name;
    Bytes bytes;
    const SplitterApi *splitter;  // null for MPEG audio
};

inline std::vector<MediaSample> make_samples() {
    std::vector<MediaSample> all;
    for (const SampleFile &sample : sample_files())
        all.push_back({sample.name, sample.bytes.flatten(), &sample.api});
    const Bytes music = first_of(real_mp3_stream(), 2507), junk(20, 0x55);  // of six frames
    all.push_back(
        {"mp3_with_header", join({xing_frame("Xing", 6, 417 + music.size(), 500, 1200), music}), nullptr});
    all.push_back({"mpeg_audio_in_tags",
                   join({id3v2_tag(60), junk, noise_stream(4), id3v2_tag(40), junk,
                         noise_stream(4, {.sample_rate = 48000, .channels = 1})}),
                   nullptr});
    return all;
}

inline const std::vector<MediaSample> &samples() {
    static const std::vector<MediaSample> all = make_samples();
    return all;
}

// All packets in the order of time, the result behind them, what is counted, and the packets that follow
// seeks, with their presentation times.
struct Walk {
    QuorvResult open = QUORV_OK, end = QUORV_OK;
    KeptPackets packets = {};
    std::vector<QuorvResult> seeks = {};
    std::vector<int64_t> reached = {};
    std::vector<uint64_t> counts = {};
    bool operator==(const Walk &) const = default;
};

// What the track's record and index say. Counts of damage may be lower where memory was lacking.
inline std::vector<uint64_t> count_track(MediaFile &file, uint32_t index) {
    QuorvSurvey survey = {};
    const QuorvResult surveyed = file.survey(index, &survey);
    const QuorvDamage damage = *quorv_damage(file.reader(), index);
    const QuorvTrack &track = file.track(index);
    return {uint64_t{surveyed},
            survey.chunks,
            survey.bytes,
            survey.smallest,
            survey.largest,
            static_cast<uint64_t>(damage.bytes_missing),
            track.codec_data_size,
            static_cast<uint64_t>(track.duration_us),
            static_cast<uint64_t>(track.reorders)};
}

inline Walk walk(MediaFile &file) {
    Walk result = {file.open_result};
    if (file.reader() == nullptr) return result;
    result.packets = file.read(&result.end);
    for (uint32_t i = 0; i < file.track_count(); ++i) {
        const std::vector<uint64_t> counts = count_track(file, i);
        result.counts.insert(result.counts.end(), counts.begin(), counts.end());
        file.set_presentation(i);
    }
    for (const int64_t time_us : {70000, 0, 250000, 1000000000}) {
        for (const QuorvSeek mode : {QUORV_SEEK_BEFORE, QUORV_SEEK_AFTER}) {
            int64_t reached = -1;
            result.seeks.push_back(file.seek(time_us, mode, &reached));
            result.reached.push_back(reached);
            const KeptPackets next = file.read(nullptr, 3);
            result.packets.insert(result.packets.end(), next.begin(), next.end());
        }
    }
    return result;
}

inline Walk walk(MediaFile &&file) {
    return walk(file);
}

inline Walk walk(const Bytes &bytes) {
    MediaBytes source(bytes);
    MediaFile file(source.record());
    return walk(file);
}

}  // namespace quorv::test

#endif
