// Turns the decode times of a video track's packets, which come in decode order, into presentation times.
#ifndef QUORV_SRC_MEDIA_PRESENTATIONORDER_H
#define QUORV_SRC_MEDIA_PRESENTATIONORDER_H

#include <quorv/quorv.h>

#include "splitter/Code.h"
#include "videoheader/H264PictureOrder.h"
#include "videoheader/Mpeg4Header.h"

namespace quorv {

// The decode times of the packets are taken for the times at which pictures can be shown at all: the k-th
// picture in the order of display is shown at the k-th of them. So nothing is shown later than in a stream
// without reordering, and B-frames, which need not wait, are shown before the time at which they come.
//
// For each packet in decode order:
//
//     while (!order.settled()) {
//         if (read the next packet into a queue) order.push(bytes, size, its decode time);
//         else order.finish();
//     }
//     presentation time of the oldest packet in the queue = order.take();
//
// No more than kMaxPending packets wait in that queue, none but the one just pushed where nothing is
// reordered. Packets without a picture that could be made out are shown at their decode time, and so are
// those of other framings than H.264's and MPEG-4 Part 2's. A packet with several pictures has the time of
// the one that is shown first; the packet without one that makes up for it, the time at which the other one
// is.
class PresentationOrder {
public:
    // Pushed and not taken, the newest included. Whatever the stream is, settled() is true when there are so
    // many.
    static constexpr size_t kMaxPending = 32;

    // Of the track only codec, framing and codec data matter, none of which need outlive the call.
    explicit PresentationOrder(const QuorvTrack &track);

    // The next packet in decode order; only while settled() is false. The bytes need not outlive the call.
    void push(const void *packet, size_t size, int64_t decode_us);
    // The track ends behind the packets pushed: they are all settled.
    void finish();
    // Whether the presentation time of the oldest packet is known. False when there is none.
    bool settled() const;
    // Takes the oldest packet, which must be settled, and returns its presentation time.
    int64_t take();
    // Forgets the packets, for after a seek. What is known of the stream stays.
    void reset();
    // Whether packets may be shown in another order than they come in, as far as the codec data and the
    // packets pushed tell.
    bool reorders() const;

private:
    enum class Coding { Other, H264, Mpeg4 };
    struct Packet {
        int64_t time_us;  // of decoding, until it is settled
        bool settled;
    };
    // One that is still to be shown.
    struct Picture {
        int64_t order;    // smaller is shown earlier
        uint64_t packet;  // which packet it came in, counted from 0
    };
    static constexpr uint32_t kMaxDepth = kMaxPending - 1;

    static Coding coding_of(const QuorvTrack &track);
    // False when there is no picture in the packet.
    bool push_h264(const uint8_t *data, size_t size);
    bool push_mpeg4(const uint8_t *data, size_t size);
    void add_slot();
    void add_picture(int64_t order, uint32_t depth);
    void show_next();
    void show_all();
    void settle(uint64_t number, int64_t time_us);
    Packet &packet(uint64_t number) { return packets_[number % kMaxPending]; }

    const Coding coding_;
    H264PictureOrder h264_;
    Mpeg4Layer layer_ = {};
    int64_t last_anchor_ = 0;   // MPEG-4: the order of the last I-, P- or S-VOP
    uint32_t extra_depth_ = 0;  // how much more is reordered than the stream says

    Packet packets_[kMaxPending] = {};
    uint64_t pushed_ = 0, taken_ = 0;
    Picture waiting_[kMaxPending] = {};  // in the order in which they are shown
    size_t waiting_count_ = 0;
    int64_t last_shown_ = INT64_MIN;  // order of the last picture shown
    // Times at which pictures are to be shown and none is yet, oldest first; never more than pictures wait,
    // but for a packet's own while it is pushed.
    int64_t slots_[kMaxPending] = {};
    size_t slot_count_ = 0;
};

// Whether that is so for a track of which nothing has been read yet. Code::NoMemory.
Code track_reorders(const QuorvTrack &track, bool *reorders);

}  // namespace quorv

#endif
