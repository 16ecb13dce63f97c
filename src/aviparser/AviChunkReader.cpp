// Reads the fields of one header chunk in order; see the header.

#include "aviparser/AviChunkReader.h"

#include <string.h>

#include <algorithm>

#include "aviparser/AviMemory.h"
#include "aviparser/AviUtils.h"

namespace quorv {

namespace {

constexpr uint32_t kFirstBytes = 65536;

Code read_integer(StreamSource *source, uint32_t width, uint64_t *value) {
    uint32_t read = 0;
    const Code code{width == 2 ? avi_get_le16(source, &read) : avi_get_le32(source, &read)};
    *value = read;
    return code;
}

}  // namespace

AviChunkReader::AviChunkReader(StreamSource *source, uint32_t size)
    : FieldReader(source, size, read_integer) {}

uint32_t AviChunkReader::read_bytes(uint32_t size, uint8_t **bytes, uint32_t *length) {
    size = static_cast<uint32_t>(take(size));
    uint8_t *buffer = nullptr;
    uint32_t done = 0;
    bool more = true;
    while (done < size && more && good()) {
        const uint32_t step = std::min(size - done, std::max(kFirstBytes, done));
        void *grown = MMemRealloc(nullptr, buffer, size_t{done} + step + kAviSpareBytes);
        if (grown == nullptr) {
            MMemFree(nullptr, buffer);
            return SPLITER_ERR_NO_MEMORY;
        }
        buffer = static_cast<uint8_t *>(grown);
        uint32_t delivered = 0;
        keep(Code{source().read_fully(buffer + done, step, &delivered)});
        more = delivered == step;
        done += delivered;
    }
    if (buffer != nullptr) memset(buffer + done, 0, kAviSpareBytes);
    *bytes = buffer;
    *length = done;
    return SPLITER_OK;
}

}  // namespace quorv
