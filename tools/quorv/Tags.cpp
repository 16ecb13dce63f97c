// What a file says of itself; see the header.

#include "Tags.h"

#include <algorithm>

#include "AsfHeader.h"
#include "LibraryTags.h"
#include "RiffInfo.h"

namespace quorv::tool {

void Tags::add(const std::string &name, const std::string &text) {
    const bool known =
        std::any_of(texts_.begin(), texts_.end(), [&](const auto &t) { return t.first == name; });
    if (!known && !text.empty()) texts_.emplace_back(name, text);
}

void Tags::add_cover(Cover cover) {
    covers_.push_back(std::move(cover));
}

std::string Tags::text(const std::string &name) const {
    const auto found =
        std::find_if(texts_.begin(), texts_.end(), [&](const auto &text) { return text.first == name; });
    return found != texts_.end() ? found->second : "";
}

TrackNote Tags::find_note(uint32_t track) const {
    const auto found = notes_.find(track);
    return found != notes_.end() ? found->second : TrackNote{};
}

Tags read_tags(FileSource &file, QuorvContainer container, uint64_t stated_end) {
    Tags tags;
    switch (container) {
        case QUORV_CONTAINER_AVI:
            read_riff_info(file, &tags);
            break;
        case QUORV_CONTAINER_ASF:
            read_asf_tags(file, &tags);
            read_asf_header(file, &tags);
            break;
        case QUORV_CONTAINER_MPEG_AUDIO:
            read_mpeg_audio_tags(file, stated_end, &tags);
            break;
    }
    return tags;
}

}  // namespace quorv::tool
