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
    Owned<QueuedPacket> next;
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
    QueuedPacket *first() const { return first_.get(); }
    // A packet to read into, which is none of the queue's before it is pushed; null without memory.
    QueuedPacket *spare();
    QueuedPacket *push_spare();
    void pop();
    void clear();

private:
    Owned<QueuedPacket> first_, spares_;
    QueuedPacket *last_ = nullptr;
};

}  // namespace quorv

#endif
