// Reading packets; see the header.

#include "asfparser/AsfPacketBuffer.h"

#include <algorithm>

#include "asfparser/CASFBase.h"

namespace quorv {

namespace {

// Flags of 2 bytes, time and duration; a stream number; one byte of data.
constexpr uint32_t kMinPacketSize = 2 + 4 + 2 + 1 + 1;
// Far beyond the packets of writers, which have up to 64 KB.
constexpr uint32_t kMaxPacketSize = uint32_t{64} << 20;
// Packets are kept up to this size in all; of one that is larger, room for so much is made at first.
constexpr uint32_t kBufferBytes = 65536;

// A source that says that it is at its end may have a code of its own for that.
Code read_bytes(StreamSource *reader, uint8_t *to, uint32_t count) {
    uint32_t delivered = 0;
    const Code code = CASFBase::ReadData(reader, to, count, &delivered);
    if (code == Code::SourceAtEnd) return Code::EndOfStream;
    if (code != Code::Ok) return code;
    return delivered == count ? Code::Ok : Code::EndOfStream;
}

}  // namespace

bool AsfPacketBuffer::is_possible(uint32_t packet_size) {
    return packet_size >= kMinPacketSize && packet_size <= kMaxPacketSize;
}

Code AsfPacketBuffer::make_room(uint64_t first_packet, uint32_t packet_size, int32_t packet_count) {
    first_packet_ = first_packet;
    packet_size_ = packet_size;
    const auto fitting = static_cast<int32_t>(std::max(kBufferBytes / packet_size, 1u));
    count_ = std::min({fitting, kMaxPackets, packet_count});
    std::fill_n(numbers_, kMaxPackets, -1);
    const uint64_t size = static_cast<uint64_t>(count_) * packet_size;
    room_ = static_cast<uint32_t>(std::min<uint64_t>(size, kBufferBytes));
    packets_ = make_array<uint8_t>(room_);
    return has_room() ? Code::Ok : Code::NoMemory;
}

Code AsfPacketBuffer::load(StreamSource *reader, int32_t index) {
    const int32_t slot = index % count_;
    const size_t start = static_cast<size_t>(slot) * packet_size_;
    position_ = first_packet_ + uint64_t{packet_size_} * static_cast<uint32_t>(index);
    if (numbers_[slot] != index) {
        numbers_[slot] = -1;
        const Code code = read(reader, start);
        if (code != Code::Ok) return code;
        numbers_[slot] = index;
    }
    packet_ = packets_.get() + start;
    return Code::Ok;
}

Code AsfPacketBuffer::read(StreamSource *reader, size_t start) {
    if (position_ > INT64_MAX) return Code::EndOfStream;
    const Code code = CASFBase::MoveTo(reader, position_);
    if (code != Code::Ok) return code;
    return room_ < packet_size_ ? read_in_parts(reader)
                                : read_bytes(reader, packets_.get() + start, packet_size_);
}

// The header alone says how large the packet is. So room is made as its bytes come.
Code AsfPacketBuffer::read_in_parts(StreamSource *reader) {
    for (uint32_t done = 0; done < packet_size_; done = room_) {
        if (done != 0) {
            const uint32_t room = std::min(packet_size_, 2 * room_);
            if (!resize_array(&packets_, room)) return Code::NoMemory;
            room_ = room;
        }
        const Code code = read_bytes(reader, packets_.get() + done, room_ - done);
        if (code != Code::Ok) return code;
    }
    return Code::Ok;
}

}  // namespace quorv
