// Packets that wait; see the header.

#include "media/PacketQueue.h"

namespace quorv {

namespace {

void free_list(QueuedPacket *packet) {
    while (packet != nullptr) {
        const Owned<QueuedPacket> freed(packet);
        packet = freed->next;
    }
}

}  // namespace

PacketQueue::~PacketQueue() {
    free_list(first_);
    free_list(spares_);
}

QueuedPacket *PacketQueue::new_spare() {
    spares_ = make_owned<QueuedPacket>().release();
    return spares_;
}

void PacketQueue::clear() {
    while (!empty())
        pop();
}

}  // namespace quorv
