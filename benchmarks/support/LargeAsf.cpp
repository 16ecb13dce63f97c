// Layout of the large files; see the header.

#include "support/LargeAsf.h"

#include <algorithm>
#include <cstring>

#include "support/AsfBuilder.h"

namespace quorv::bench {
namespace {

using namespace quorv::test;

constexpr uint32_t kFrameTime = 24, kSoundBytes = 960, kPreroll = 3000;
constexpr size_t kPlayDuration = 94;  // in the header
constexpr uint32_t kPacketHeader = 14, kPayloadHeader = 17;

void put(std::vector<uint8_t> &bytes, size_t at, const Bytes &with) {
    std::copy(with.begin(), with.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
}

// Several payloads a packet, with lengths of two bytes.
class PacketWriter {
public:
    PacketWriter(LargeFile &file, uint32_t size) : file_(file), size_(size) {}

    void add(uint32_t track, uint32_t number, uint32_t time, uint32_t bytes) {
        for (uint32_t offset = 0; offset < bytes;) {
            if (left_ <= kPayloadHeader || payloads_ == 63) begin_packet();
            const uint32_t length = std::min(bytes - offset, left_ - kPayloadHeader);
            put(file_.bytes, at_,
                join({Bytes{static_cast<uint8_t>(track | 0x80u), static_cast<uint8_t>(number)}, le32(offset),
                      Bytes{8}, le32(bytes), le32(time), le16(length)}));
            at_ += kPayloadHeader;
            fill_randomly(&file_.bytes[at_], length, random_);
            file_.chunks.push_back({track, at_, length});
            at_ += length;
            left_ -= kPayloadHeader + length;
            offset += length;
            ++payloads_;
        }
    }
    void end_packet() {
        if (packets_ == 0) return;
        file_.bytes[start_ + kPacketHeader - 1] = static_cast<uint8_t>(payloads_ | 0x80u);
        put(file_.bytes, start_ + 5, le16(left_));
    }
    uint32_t packets() const { return packets_; }

private:
    void begin_packet() {
        end_packet();
        start_ = file_.bytes.size();
        file_.bytes.resize(start_ + size_);
        put(file_.bytes, start_, Bytes{0x82, 0, 0, 0x11, 0x5D});
        at_ = start_ + kPacketHeader;
        left_ = size_ - kPacketHeader;
        payloads_ = 0;
        ++packets_;
    }

    LargeFile &file_;
    const uint32_t size_;
    uint64_t start_ = 0, at_ = 0, random_ = 0x9E3779B97F4A7C15;
    uint32_t left_ = 0, payloads_ = 0, packets_ = 0;
};

}  // namespace

LargeFile make_large_asf(uint32_t packet_bytes, uint32_t frame_bytes, bool sound, uint64_t total) {
    std::vector<AsfStream> streams{asf_video(1)};
    if (sound) streams.push_back(asf_audio(2));
    AsfBuilder builder(streams, {.packet_size = packet_bytes, .widths = {.padding = 2}}, AsfIndex::None);
    builder.frame(0, 0, 1);
    const Bytes small = builder.build();

    LargeFile file;
    file.bytes.reserve(total + total / 8);
    file.bytes.assign(small.begin(), small.begin() + static_cast<std::ptrdiff_t>(builder.data_start()));
    PacketWriter writer(file, packet_bytes);
    const auto turns = static_cast<uint32_t>(total / (frame_bytes + (sound ? kSoundBytes : 0)));
    for (uint32_t i = 0; i < turns; ++i) {
        writer.add(1, i, i * kFrameTime + kPreroll, frame_bytes);
        if (sound) writer.add(2, i, i * kFrameTime + kPreroll, kSoundBytes);
    }
    writer.end_packet();
    const uint64_t data_bytes = file.bytes.size() - builder.data_start() + 50;
    put(file.bytes, kPlayDuration, le64((uint64_t{turns} * kFrameTime + kPreroll) * 10000));
    put(file.bytes, builder.data_start() - 34, le64(data_bytes));
    put(file.bytes, builder.data_start() - 10, le64(writer.packets()));
    return file;
}

}  // namespace quorv::bench
