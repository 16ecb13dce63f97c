// Passing over a tag; see the header.

#include "mp3dec/Mp3Tag.h"

#include <string.h>

namespace quorv {

intptr_t mp3_skip_tag(MStream stream) {
    uint8_t head[10];
    const intptr_t start = MStreamTell(stream);
    if (start < 0 || MStreamRead(stream, head, sizeof head) != sizeof head) return -1;
    if (memcmp(head, "ID3", 3) != 0) return MStreamSeek(stream, MSTREAM_SEEK_START, start) == 0 ? 0 : -1;
    // Seven bits a byte, so that no byte of the size looks like a sync word.
    intptr_t size = 0;
    for (int i = 6; i < 10; ++i)
        size = size << 7 | (head[i] & 0x7F);
    if (MStreamSeek(stream, MSTREAM_SEEK_CURRENT, size) != 0) return -1;
    return size + static_cast<intptr_t>(sizeof head);
}

}  // namespace quorv
