// Making and freeing packets; see the header.

#include "aviparser/AviPacketRecord.h"

#include <string.h>

#include "aviparser/AviUtils.h"
#include "platform/MemoryOwner.h"

namespace quorv {

void avi_init_packet(AviPacket *packet) {
    *packet = AviPacket{};
    packet->pts = kAviNoTimeStamp;
    packet->dts = kAviNoTimeStamp;
    packet->position = -1;
}

Code avi_new_packet(AviPacket *packet, int32_t size) {
    avi_init_packet(packet);
    if (size < 0) return Code::NoMemory;
    Owned<uint8_t[]> data = make_array<uint8_t>(static_cast<uint64_t>(size) + kAviSpareBytes);
    if (data == nullptr) return Code::NoMemory;
    memset(data.get() + size, 0, kAviSpareBytes);
    packet->data = data.release();
    packet->size = size;
    packet->destruct = avi_destruct_packet;
    return Code::Ok;
}

Code avi_get_packet(StreamSource *source, AviPacket *packet, int32_t size) {
    const Code code = avi_new_packet(packet, size);
    if (code != Code::Ok) return code;
    packet->position = avi_url_fstell(source);
    return avi_get_buffer(source, packet->data, static_cast<uint32_t>(size));
}

void avi_destruct_packet(AviPacket *packet) {
    avi_freep(&packet->data);
    packet->size = 0;
}

void avi_free_packet(AviPacket *packet) {
    if (packet == nullptr) return;
    if (packet->destruct != nullptr) packet->destruct(packet);
    packet->data = nullptr;
    packet->size = 0;
}

void avi_freep(uint8_t **pointer) {
    const Owned<uint8_t[]> freed(*pointer);
    *pointer = nullptr;
}

}  // namespace quorv
