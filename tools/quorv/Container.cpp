// What the formats have in common, and the choice among them.

#include "Container.h"

#include <fmt/format.h>

#include "Failure.h"
#include "Format.h"
#include "Mp3Container.h"
#include "SplitterContainer.h"
#include "Text.h"

namespace quorv::tool {

uint32_t Track::codec() const {
    return video() ? video()->codec : audio() ? audio()->codec : 0;
}

uint32_t Track::duration() const {
    return video() ? video()->duration : audio() ? audio()->duration : 0;
}

uint32_t Track::max_frame_size() const {
    return video() ? video()->max_frame_size : audio() ? audio()->max_frame_size : 0;
}

namespace {

const Track &track_of_number(const std::vector<Track> &tracks, uint32_t number) {
    std::vector<uint32_t> numbers;
    for (const Track &track : tracks) {
        if (track.number == number) return track;
        numbers.push_back(track.number);
    }
    throw Failure(ExitCode::Usage,
                  fmt::format("no track {}: the file has {}{}{}", number, counted(numbers.size(), "track"),
                              numbers.empty() ? "" : ": ", fmt::join(numbers, ", ")));
}

}  // namespace

std::vector<const Track *> find_tracks(const Container &container, uint32_t number, const TrackKind &kind) {
    if (number != 0) {
        const Track &track = track_of_number(container.tracks(), number);
        for (const TrackKind *needed : {&kReadableTracks, &kind}) {
            if (!needed->fits(track))
                throw Failure(ExitCode::BadFile, fmt::format("track {} is {}", number, needed->unlike));
        }
        return {&track};
    }
    std::vector<const Track *> found;
    for (const Track &track : container.tracks()) {
        if (kind.fits(track)) found.push_back(&track);
    }
    if (found.empty()) throw Failure(ExitCode::BadFile, std::string(kind.none));
    return found;
}

std::unique_ptr<Container> open_container(FileSource &file, ContainerUse use) {
    if (file.head().empty()) throw Failure(ExitCode::BadFile, "the file is empty");
    switch (find_format(file.head())) {
        case Format::Avi:
            file.make_seekable();
            return open_avi(file);
        case Format::Asf:
            file.make_seekable();
            return open_asf(file);
        case Format::Mp3:
            if (use == ContainerUse::Frames)
                throw Failure(
                    ExitCode::BadFile,
                    "an MP3 file is one raw stream already: 'quorv info' and 'quorv decode' take it");
            file.make_seekable();
            return std::make_unique<Mp3Container>(file);
        case Format::H264:
        case Format::Mpeg4:
            throw Failure(ExitCode::BadFile, "raw video without tracks: 'quorv headers' lists what it holds");
        case Format::Unknown:
            break;
    }
    throw Failure(ExitCode::BadFile, looks_like_text(file.head()) ? "not a media file: it holds text"
                                                                  : "not a media file of a known format");
}

}  // namespace quorv::tool
