// Packets that wait; see the header.

#include "media/PacketQueue.h"

namespace quorv {

PacketQueue::~PacketQueue() {
    clear();
    while (spares_ != nullptr)
        spares_ = std::move(spares_->next);
}

QueuedPacket *PacketQueue::spare() {
    if (spares_ == nullptr) spares_ = make_owned<QueuedPacket>();
    return spares_.get();
}

QueuedPacket *PacketQueue::push_spare() {
    Owned<QueuedPacket> packet = std::move(spares_);
    spares_ = std::move(packet->next);
    QueuedPacket *const added = packet.get();
    (empty() ? first_ : last_->next) = std::move(packet);
    last_ = added;
    return added;
}

void PacketQueue::pop() {
    Owned<QueuedPacket> packet = std::move(first_);
    first_ = std::move(packet->next);
    packet->next = std::move(spares_);
    spares_ = std::move(packet);
}

void PacketQueue::clear() {
    while (!empty())
        pop();
}

}  // namespace quorv
