// Reads the fields of one header chunk in order; see the header.

#include "aviparser/AviChunkReader.h"

#include <string.h>

#include <algorithm>
#include <utility>

#include "aviparser/AviPacketRecord.h"
#include "aviparser/AviUtils.h"

namespace quorv {

namespace {

constexpr uint32_t kFirstBytes = 65536;

Code read_integer(StreamSource *source, uint32_t width, uint64_t *value) {
    uint32_t read = 0;
    const Code code = width == 2 ? avi_get_le16(source, &read) : avi_get_le32(source, &read);
    *value = read;
    return code;
}

}  // namespace

AviChunkReader::AviChunkReader(StreamSource *source, uint32_t size)
    : FieldReader(source, size, read_integer) {}

Code AviChunkReader::read_data(uint32_t size, AviHeaderData *data) {
    size = static_cast<uint32_t>(take(size));
    AviHeaderData come = {};
    bool more = true;
    while (come.length < size && more && good()) {
        const uint32_t step = std::min(size - come.length, std::max(kFirstBytes, come.length));
        if (!resize_array(&come.bytes, uint64_t{come.length} + step + kAviSpareBytes)) return Code::NoMemory;
        uint32_t delivered = 0;
        keep(source().read_fully(come.bytes.get() + come.length, step, &delivered));
        more = delivered == step;
        come.length += delivered;
    }
    if (come.bytes != nullptr) memset(come.bytes.get() + come.length, 0, kAviSpareBytes);
    *data = std::move(come);
    return Code::Ok;
}

}  // namespace quorv
