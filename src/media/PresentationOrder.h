// Turns the decode times of a video track's packets, which come in decode order, into presentation times.
#ifndef QUORV_SRC_MEDIA_PRESENTATIONORDER_H
#define QUORV_SRC_MEDIA_PRESENTATIONORDER_H

#include <quorv/quorv.h>

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
// No more than kMaxPending packets wait in that queue, none but the one just pushed where nothing is reordered.
// Packets without a picture that could be made out are shown at their decode time, and so are those of
// other framings than H.264's and MPEG-4 Part 2's.
class PresentationOrder {
public:
    // Pushed and not taken, the newest included. Whatever the stream is, settled() is true when there are so
    // many.
    static constexpr size_t kMaxPending = 32;

    // The codec data may be null, and need not outlive the call.
    PresentationOrder(QuorvFraming framing, const void *codec_data, size_t codec_data_size);

    // The next packet in decode order; only while settled() is false. The bytes need not outlive the call.
    void push(const void *packet, size_t size, int64_t decode_us);
    // The track ends behind the packets pushed: they are all settled.
    void finish();
    // Whether the presentation time of the oldest packet is known. False when there is none.
    bool settled() const;
    // Takes the oldest packet, which must be settled, and returns its presentation time.
    int64_t take();
    // Forgets the packets, for after a seek. Parameter sets stay.
    void reset();
};

// Whether packets may be shown in another order than they come in, as far as the codec data tells.
bool codec_data_reorders(QuorvFraming framing, const void *codec_data, size_t codec_data_size);

}  // namespace quorv

#endif
