// Reads the fields of one header chunk in order; see the header.

#include "aviparser/AviChunkReader.h"

#include <string.h>

#include <algorithm>

#include "aviparser/AviMemory.h"
#include "aviparser/AviUtils.h"

namespace quorv {

namespace {
constexpr uint32_t kFirstBytes = 65536;
}

uint32_t AviChunkReader::field(uint32_t width) {
    if (failed_) return 0;
    if (left_ < width) {
        left_ = 0;
        return 0;
    }
    uint32_t value = 0;
    const uint32_t code = width == 2 ? avi_get_le16(source_, &value) : avi_get_le32(source_, &value);
    left_ -= width;
    failed_ = code != 0;
    return value;
}

void AviChunkReader::skip(uint32_t count) {
    count = std::min(count, left_);
    if (failed_ || count == 0) return;
    left_ -= count;
    failed_ = avi_url_fskip(source_, count) != 0;
}

uint32_t AviChunkReader::read_bytes(uint32_t size, uint8_t **bytes, uint32_t *length) {
    size = std::min(size, left_);
    left_ -= size;
    uint8_t *buffer = nullptr;
    uint32_t done = 0;
    bool more = true;
    while (done < size && more && !failed_) {
        const uint32_t step = std::min(size - done, std::max(kFirstBytes, done));
        void *grown = MMemRealloc(nullptr, buffer, size_t{done} + step + kAviSpareBytes);
        if (grown == nullptr) {
            MMemFree(nullptr, buffer);
            return SPLITER_ERR_NO_MEMORY;
        }
        buffer = static_cast<uint8_t *>(grown);
        uint32_t delivered = 0;
        failed_ = source_->read_fully(buffer + done, step, &delivered) != 0;
        more = delivered == step;
        done += delivered;
    }
    if (buffer != nullptr) memset(buffer + done, 0, kAviSpareBytes);
    *bytes = buffer;
    *length = done;
    return SPLITER_OK;
}

}  // namespace quorv
