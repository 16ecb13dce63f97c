// What the formats have in common, and the choice among them.

#include "Container.h"

#include <algorithm>

#include "Failure.h"
#include "Format.h"
#include "Mp3Container.h"
#include "SplitterContainer.h"

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

const Track &Container::readable_track(uint32_t number) const {
    const auto found = std::find_if(tracks().begin(), tracks().end(),
                                    [number](const Track &track) { return track.number == number; });
    if (found == tracks().end()) {
        std::string numbers;
        for (const Track &track : tracks())
            numbers += (numbers.empty() ? ": " : ", ") + std::to_string(track.number);
        const size_t count = tracks().size();
        throw Failure(ExitCode::Usage, "no track " + std::to_string(number) + ": the file has " +
                                           std::to_string(count) + (count == 1 ? " track" : " tracks") +
                                           numbers);
    }
    if (!found->is_readable())
        throw Failure(ExitCode::BadFile, "track " + std::to_string(number) +
                                             " is neither video nor audio: its frames cannot be read");
    return *found;
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
