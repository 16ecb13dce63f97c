// What the headers of a track tell in words, and the making of such texts in fixed room, without formatted
// output, which would be most of a small program.
#ifndef QUORV_SRC_MEDIA_TRACKTEXTS_H
#define QUORV_SRC_MEDIA_TRACKTEXTS_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <string_view>

namespace quorv {

// Room for what QuorvTrack's fields of these names point to; empty at first.
struct TrackTexts {
    char profile[48] = "";
    char coding[160] = "";
    char encoder[96] = "";
};

// The text goes on with another, which is cut where the room ends.
template <size_t Room>
void append(char (&text)[Room], std::string_view more) {
    const size_t used = strlen(text);
    const size_t count = std::min(more.size(), Room - 1 - used);
    memcpy(text + used, more.data(), count);
    text[used + count] = 0;
}

// With as many digits at least.
template <size_t Room>
void append_number(char (&text)[Room], uint32_t number, uint32_t base, uint32_t digits) {
    char written[12] = {};
    char *first = written + sizeof(written) - 1;
    for (; number != 0 || digits != 0; number /= base, digits -= digits != 0 ? 1 : 0)
        *--first = "0123456789ABCDEF"[number % base];
    append(text, first);
}

template <size_t Room>
void append(char (&text)[Room], uint32_t number) {
    append_number(text, number, 10, 1);
}

// Adds a fact, in pieces of text and numbers, to those that are there already, behind a comma.
template <size_t Room, typename... Pieces>
void add_fact(char (&text)[Room], const Pieces &...pieces) {
    if (text[0] != 0) append(text, ", ");
    (append(text, pieces), ...);
}

}  // namespace quorv

#endif
