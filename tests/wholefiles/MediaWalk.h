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

// All packets in the order of time, the result behind them, and those that follow seeks.
struct Walk {
    QuorvResult open = QUORV_OK, end = QUORV_OK;
    KeptPackets packets = {};
    std::vector<QuorvResult> seeks = {};
    std::vector<int64_t> reached = {};
    bool operator==(const Walk &) const = default;
};

inline Walk walk(MediaFile &file) {
    Walk result = {file.open_result};
    if (file.reader() == nullptr) return result;
    result.packets = file.read(&result.end);
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
