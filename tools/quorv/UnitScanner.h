// Cuts an elementary video stream into units: what begins with a start code 00 00 01.
#ifndef QUORV_TOOLS_QUORV_UNITSCANNER_H
#define QUORV_TOOLS_QUORV_UNITSCANNER_H

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace quorv::tool {

struct Unit {
    uint64_t offset = 0;            // of the start code's first 00 in the stream
    uint64_t size = 0;              // bytes up to the next start code, or to the end
    std::span<const uint8_t> head;  // the first bytes, start code and all; valid during the call only
};

class UnitScanner {
public:
    explicit UnitScanner(std::function<void(const Unit &)> handler);

    // Takes the next piece of the stream. Units that end in it go to the handler.
    void feed(std::span<const uint8_t> piece);
    // The last unit ends here; the next piece begins another stream.
    void finish();

private:
    void begin_unit(uint64_t offset);
    void end_unit(uint64_t offset);
    void collect_head();

    std::function<void(const Unit &)> handler_;
    std::vector<uint8_t> window_;  // the end of the piece before, then the piece
    std::vector<uint32_t> starts_;
    uint64_t window_offset_ = 0;
    bool in_unit_ = false;
    uint64_t unit_offset_ = 0;
    std::vector<uint8_t> head_;
};

}  // namespace quorv::tool

#endif
