// What a file says of itself beside its media: title, artist and the like, pictures, and notes on its tracks.
#ifndef QUORV_TOOLS_QUORV_TAGS_H
#define QUORV_TOOLS_QUORV_TAGS_H

#include <quorv/quorv.h>

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "FileSource.h"

namespace quorv::tool {

struct Cover {
    std::string type;  // "image/jpeg", or what the file says instead
    uint64_t bytes = 0;
};

// What is told of a track beside what the library reads.
struct TrackNote {
    std::string language;                          // as in "en-us"; empty when it is not told
    uint32_t aspect_width = 0, aspect_height = 0;  // of its pictures as they are to be shown; 0: not told
    uint32_t fields = 0;                           // of a picture; 0: not told
};

// All texts are UTF-8.
class Tags {
public:
    // Of a name that is known already, the first text stays. Empty texts are left out.
    void add(const std::string &name, const std::string &text);
    void add_cover(Cover cover);

    // In the order in which they came: "title" and its text.
    const std::vector<std::pair<std::string, std::string>> &texts() const { return texts_; }
    // Empty when there is none of the name.
    std::string text(const std::string &name) const;
    const std::vector<Cover> &covers() const { return covers_; }
    // Of the track of that number; there is one from the first call on.
    TrackNote &note(uint32_t track) { return notes_[track]; }
    // Nothing is told where there is none.
    TrackNote find_note(uint32_t track) const;

private:
    std::vector<std::pair<std::string, std::string>> texts_;
    std::vector<Cover> covers_;
    std::map<uint32_t, TrackNote> notes_;
};

// Of a file that the library reads. What cannot be read of damaged tags is left out. Behind the end that the
// encoder of an MPEG audio file gives (0: it does not), tags of what was joined to it are looked for.
Tags read_tags(FileSource &file, QuorvContainer container, uint64_t stated_end = 0);

}  // namespace quorv::tool

#endif
