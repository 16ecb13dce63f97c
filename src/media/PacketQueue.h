// Packets of a track that have been read and not been fetched yet, in memory of their own.
#ifndef QUORV_SRC_MEDIA_PACKETQUEUE_H
#define QUORV_SRC_MEDIA_PACKETQUEUE_H

#include <quorv/quorv.h>

#include "platform/MemoryOwner.h"

namespace quorv {

struct QueuedPacket {
    QuorvPacket record;
    int64_t presentation_us;  // where it is wanted
    Owned<uint8_t[]> buffer;
    size_t room;
    QueuedPacket *next;
};

// First in, first out. Packets that have been taken out are used again, with their buffers.
class PacketQueue {
public:
    PacketQueue() = default;
    ~PacketQueue();
    PacketQueue(const PacketQueue &) = delete;
    PacketQueue &operator=(const PacketQueue &) = delete;

    bool empty() const { return first_ == nullptr; }
    // The oldest; null when there is none.
    QueuedPacket *first() const { return first_; }
    // A packet to read into, which is none of the queue's before it is pushed; null without memory.
    QueuedPacket *spare() { return spares_ != nullptr ? spares_ : new_spare(); }
    QueuedPacket *push_spare() {
        QueuedPacket *const packet = spares_;
        spares_ = packet->next;
        packet->next = nullptr;
        (empty() ? first_ : last_->next) = packet;
        last_ = packet;
        return packet;
    }
    void pop() {
        QueuedPacket *const packet = first_;
        first_ = packet->next;
        packet->next = spares_;
        spares_ = packet;
    }
    void clear();

private:
    QueuedPacket *new_spare();

    // Lists that the queue owns.
    QueuedPacket *first_ = nullptr, *spares_ = nullptr;
    QueuedPacket *last_ = nullptr;
};

}  // namespace quorv

#endif
