// Bringing packets; see the header.

#include "asfparser/AsfPacketBuffer.h"

#include <algorithm>

#include "asfparser/CASFBase.h"

namespace quorv {

namespace {

// Flags of 2 bytes, time and duration; a stream number; one byte of data.
constexpr uint32_t kMinPacketSize = 2 + 4 + 2 + 1 + 1;
// Far beyond the packets of writers, which have up to 64 KB.
constexpr uint32_t kMaxPacketSize = uint32_t{64} << 20;
// Room that is made at first for a packet that the window does not hold.
constexpr uint32_t kFirstRoom = 65536;
constexpr uint64_t kNowhere = UINT64_MAX;

// A source that says that it is at its end may have a code of its own for that.
Code result_of(Code code, bool whole) {
    if (code == Code::SourceAtEnd) return Code::EndOfStream;
    return code == Code::Ok && !whole ? Code::EndOfStream : code;
}

}  // namespace

bool AsfPacketBuffer::is_possible(uint32_t packet_size) {
    return packet_size >= kMinPacketSize && packet_size <= kMaxPacketSize;
}

Code AsfPacketBuffer::load(StreamSource *reader, uint64_t position, uint32_t packet_size) {
    if (position > INT64_MAX) return Code::EndOfStream;
    position_ = position;
    if (packet_size > reader->window->capacity()) return load_large(reader, packet_size);
    const Code code = reader->view(static_cast<int64_t>(position), packet_size, packet_size, &packet_);
    return result_of(code, packet_ != nullptr);
}

// The header alone says how large the packet is. So room is made as its bytes come.
Code AsfPacketBuffer::load_large(StreamSource *reader, uint32_t packet_size) {
    packet_ = large_.get();
    if (large_position_ == position_) return Code::Ok;
    large_position_ = kNowhere;
    Code code = CASFBase::MoveTo(reader, position_);
    for (uint32_t done = 0; code == Code::Ok && done < packet_size; done = room_) {
        if (done == room_) {
            const uint32_t room = std::min(packet_size, std::max(kFirstRoom, 2 * room_));
            if (!resize_array(&large_, room)) return Code::NoMemory;
            room_ = room;
        }
        uint32_t delivered = 0;
        code = CASFBase::ReadData(reader, large_.get() + done, room_ - done, &delivered);
        code = result_of(code, delivered == room_ - done);
    }
    if (code != Code::Ok) return code;
    packet_ = large_.get();
    large_position_ = position_;
    return Code::Ok;
}

}  // namespace quorv
