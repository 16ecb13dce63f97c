// Fuzz harness of presentation times. The input is a setting, codec data behind a byte that says how long
// they are, and packets behind such bytes, of which 0 means a seek. The decode times of the packets are 0, 1,
// 2 and so on.

#include <memory>
#include <span>
#include <vector>

#include "Harness.h"
#include "media/PresentationOrder.h"

namespace {

using namespace quorv::fuzz;
using quorv::PresentationOrder;

constexpr size_t kMostPackets = 1000;

// Takes a run of bytes behind its length, as many as there are.
std::span<const uint8_t> take_run(std::span<const uint8_t> *input) {
    if (input->empty()) return {};
    const size_t length = std::min<size_t>(input->front(), input->size() - 1);
    const std::span<const uint8_t> run = input->subspan(1, length);
    *input = input->subspan(1 + length);
    return run;
}

class Stream {
public:
    Stream(bool h264, std::span<const uint8_t> codec_data) : h264_(h264) {
        const auto copy = exact_copy(codec_data.data(), codec_data.size());
        QuorvTrack track = {};
        if (h264) track.codec = QUORV_CODEC_H264;
        if (!h264) track.framing = QUORV_FRAMING_MPEG4_VISUAL;
        track.codec_data = copy.get();
        track.codec_data_size = codec_data.size();
        order_ = std::make_unique<PresentationOrder>(track);
    }

    void add(std::span<const uint8_t> packet) {
        order_->push(exact_copy(packet.data(), packet.size()).get(), packet.size(),
                     static_cast<int64_t>(shown_.size()));
        shown_.push_back(false);
        require(shown_.size() - taken_ < PresentationOrder::kMaxPending || order_->settled());
        take_settled();
    }

    // Each of the times is shown once; those of packed pictures may be shown again or not at all.
    void finish() {
        order_->finish();
        take_settled();
        require(taken_ == shown_.size());
        require(!h264_ || std::find(shown_.begin(), shown_.end(), false) == shown_.end());
    }

    void seek() {
        order_->reset();
        require(!order_->settled());
        shown_.clear();
        taken_ = 0;
    }

private:
    void take_settled() {
        for (; order_->settled(); ++taken_) {
            const int64_t time = order_->take();
            require(time >= 0 && static_cast<size_t>(time) < shown_.size());
            require(!h264_ || !shown_[static_cast<size_t>(time)]);
            shown_[static_cast<size_t>(time)] = true;
        }
    }

    const bool h264_;
    std::unique_ptr<PresentationOrder> order_;
    std::vector<bool> shown_;
    size_t taken_ = 0;
};

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    std::span<const uint8_t> input(data + 1, size - 1);
    Stream stream((data[0] & 1) == 0, take_run(&input));
    for (size_t packets = 0; !input.empty() && packets < kMostPackets; ++packets) {
        const std::span<const uint8_t> packet = take_run(&input);
        if (packet.empty()) {
            stream.seek();
        } else {
            stream.add(packet);
        }
    }
    stream.finish();
    return 0;
}
