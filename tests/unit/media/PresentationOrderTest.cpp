// Presentation times of packets whose order of display is known: decode times are 0, 1, 2 and so on, so that
// presentation times are places in that order.

#include "media/PresentationOrder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/H264Stream.h"
#include "support/VideoHeaders.h"

namespace quorv::test {
namespace {

struct Shown {
    std::vector<int64_t> times;
    size_t most_pending = 0;  // packets that wait at the same time, the newest included
};

Shown show(PresentationOrder *order, const std::vector<Bytes> &packets, int64_t first_time = 0) {
    Shown shown;
    size_t pushed = 0;
    while (shown.times.size() < packets.size()) {
        if (order->settled()) {
            shown.times.push_back(order->take());
        } else if (pushed < packets.size()) {
            // In memory of its own, for the sanitizers.
            const Bytes packet = packets[pushed];
            order->push(packet.data(), packet.size(), first_time + static_cast<int64_t>(pushed));
            shown.most_pending = std::max(shown.most_pending, ++pushed - shown.times.size());
        } else {
            order->finish();
            if (!order->settled()) throw std::runtime_error("not settled at the end");
        }
    }
    return shown;
}

QuorvTrack h264_track(const Bytes &codec_data) {
    QuorvTrack track = {};
    track.codec = QUORV_CODEC_H264;
    track.codec_data = codec_data.data();
    track.codec_data_size = codec_data.size();
    return track;
}

QuorvTrack mpeg4_track(const Bytes &codec_data) {
    QuorvTrack track = h264_track(codec_data);
    track.codec = QUORV_CODEC_XVID;
    track.framing = QUORV_FRAMING_MPEG4_VISUAL;
    return track;
}

TEST(PresentationOrder, FollowsThePictureOrderCountOfH264) {
    const struct {
        const char *what;
        H264Stream stream;
        const char *pictures;
        std::vector<int64_t> times;
        size_t most_pending;
    } cases[] = {
        {"counts of four bits that wrap",
         {.reorder_depth = 1},
         "I0,0 P1,6 b2,2 b2,4 P2,12 b3,8 b3,10 P3,18 b4,14 b4,16 I0,0 P1,4 b2,2",
         {0, 3, 1, 2, 6, 4, 5, 9, 7, 8, 10, 12, 11},
         4},
        {"two frames may wait, and a sequence that begins shows them",
         {.profile = 100, .reorder_depth = 2},
         "I0,0 P1,8 B2,4 b3,2 b3,6 I0,0 P1,2",
         {0, 4, 2, 1, 3, 5, 6},
         5},
        {"as many as the level holds where nothing is said",
         {},
         "I0,0 P1,4 b2,2 P2,8 b3,6 P3,12 b4,10 P4,16 b5,14",
         {0, 2, 1, 4, 3, 6, 5, 8, 7},
         6},
        {"no look-ahead for the baseline profile", {.profile = 66}, "I0,0 P1,2 P2,4", {0, 1, 2}, 1},
        {"and none for profiles of intra pictures alone",
         {.profile = 100, .constraints = 0x10},
         "I0,0 R1,2",
         {0, 1},
         1},
        {"a stream that says too little is believed no longer",
         {.profile = 66},
         "I0,0 P1,4 b2,2 P2,8 b3,6 P3,12 b4,10",
         {0, 1, 2, 4, 3, 6, 5},
         3},
        {"the order begins anew with memory management control operation 5",
         {.reorder_depth = 1},
         "I0,0 P1,8 b2,4 P2,6! b1,-2 P1,4 b2,2 B2,3! P1,4 B2,2",
         {0, 2, 1, 4, 3, 6, 5, 7, 9, 8},
         3},
        {"bottom fields that come first",
         {.reorder_depth = 1, .bottom_delta = -3},
         "I0,0 P1,5 b2,3 P2,12 b3,8",
         {0, 1, 2, 4, 3},
         2},
        {"offsets in cycles, with frame numbers that wrap",
         {.order_type = 1, .reorder_depth = 1},
         "I0,0 P1,0 b2,5 P2,0 b3,0 P14,0 b15,0 P17,0 b18,0 P18,0 b19,0 P19,2! P1,0 b2,0",
         {0, 1, 2, 4, 3, 6, 5, 8, 7, 10, 9, 11, 13, 12},
         3},
        {"counts by frame number alone reorder nothing, whatever is said",
         {.order_type = 2, .reorder_depth = 3},
         "I0,0 P1,0 b2,0 P2,0",
         {0, 1, 2, 3},
         1},
        {"two fields in a packet, of which the later one is a reference, too",
         {.reorder_depth = 1, .frames_only = false},
         "I0,0t+P0,1b P1,5b+P1,10t b2,3b+b2,4t P2,18t+P2,19b b3,14t+b3,15b",
         {0, 2, 1, 4, 3},
         3},
        {"a packet for each field",
         {.reorder_depth = 1, .frames_only = false},
         "I0,0t P0,1b P1,4t P1,5b b2,2t b2,3b",
         {0, 1, 4, 5, 2, 3},
         4},
        {"units behind lengths", {.reorder_depth = 1, .lengths = true}, "I0,0 P1,4 b2,2", {0, 2, 1}, 2},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        const auto order = std::make_unique<PresentationOrder>(h264_track(c.stream.codec_data()));
        EXPECT_EQ(order->reorders(), c.most_pending > 1 && c.stream.profile != 66);
        const Shown shown = show(order.get(), c.stream.packets(c.pictures));
        EXPECT_EQ(shown.times, c.times);
        EXPECT_EQ(shown.most_pending, c.most_pending);
    }
}

// A new sequence parameter set, and what cannot be read for want of one, among sound packets.
TEST(PresentationOrder, TakesParameterSetsFromPackets) {
    const H264Stream frames = {.reorder_depth = 1}, next = {.order_type = 2};
    std::vector<Bytes> packets = frames.packets("P1,4 I0,0 P1,4 b2,2 P2,6");
    packets[1] = join({frames.sps(), frames.pps(), packets[1]});
    packets.insert(packets.begin() + 3, {Bytes{}, Bytes{0, 0, 1}, Bytes{0, 0, 1, 9, 0x10}});
    packets.push_back(join({next.sps(), next.slice({'I', 0, 0})}));
    packets.push_back(next.slice({'b', 1, 0}));
    const auto order = std::make_unique<PresentationOrder>(h264_track({}));
    EXPECT_EQ(show(order.get(), packets).times, (std::vector<int64_t>{0, 1, 6, 3, 4, 5, 2, 7, 8, 9}));
}

// Pictures that are shown before the key frame of a seek, and cannot be decoded, have their times all the
// same.
TEST(PresentationOrder, GoesOnBehindASeek) {
    const H264Stream stream = {.reorder_depth = 1};
    const auto order = std::make_unique<PresentationOrder>(h264_track(stream.codec_data()));
    show(order.get(), stream.packets("I0,0 P1,7"));
    for (const Bytes &packet : stream.packets("P2,12 P3,14"))
        order->push(packet.data(), packet.size(), 2);
    order->reset();
    EXPECT_FALSE(order->settled());
    const std::vector<Bytes> packets = stream.packets("R3,4 b4,0 b4,2 P4,8");
    EXPECT_EQ(show(order.get(), packets, 50).times, (std::vector<int64_t>{52, 50, 51, 53}));
}

// "PB" is a packet with two VOPs, "n" one that is not coded, "-" an empty packet.
std::vector<Bytes> mpeg4_packets(const std::string &text) {
    std::vector<Bytes> packets = {{}};
    for (const char c : text) {
        const size_t type = std::string("IPBS").find(c);
        if (c == ' ') packets.emplace_back();
        if (c == 'n') packets.back() = vop_bytes({.coding_type = 1, .coded = false});
        if (type == std::string::npos) continue;
        packets.back() =
            join({packets.back(), vop_bytes({.coding_type = static_cast<uint32_t>(type)}), Bytes(9, 0xA5)});
    }
    return packets;
}

TEST(PresentationOrder, FollowsTheVopTypesOfMpeg4) {
    constexpr uint32_t kSimple = 1, kAdvancedSimple = 17;
    const struct {
        const char *packets;
        uint32_t object_type;
        std::vector<int64_t> times;
        size_t most_pending;
    } cases[] = {
        {"I P B B S I B P", kAdvancedSimple, {0, 3, 1, 2, 4, 6, 5, 7}, 4},
        {"I P P P", kAdvancedSimple, {0, 1, 2, 3}, 2},
        {"I P P P", kSimple, {0, 1, 2, 3}, 1},
        {"I P B P B P B", kSimple, {0, 1, 2, 4, 3, 6, 5}, 3},
        {"I PB n PB n P I PB B n", kAdvancedSimple, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, 2},
        {"I PB - P B", kAdvancedSimple, {0, 1, 2, 4, 3}, 2},
        {"I P n P B", kAdvancedSimple, {0, 1, 2, 4, 3}, 2},
        {"I P B - P B", kAdvancedSimple, {0, 2, 1, 3, 5, 4}, 4},
        {"I PBB P P", kAdvancedSimple, {0, 1, 3, 3}, 2},
        {"B B I P", kAdvancedSimple, {0, 1, 2, 3}, 2},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.packets);
        const Bytes codec_data = mpeg4_vol(176, 144, c.object_type);
        const auto order = std::make_unique<PresentationOrder>(mpeg4_track(codec_data));
        EXPECT_EQ(order->reorders(), c.object_type == kAdvancedSimple);
        const Shown shown = show(order.get(), mpeg4_packets(c.packets));
        EXPECT_EQ(shown.times, c.times);
        EXPECT_EQ(shown.most_pending, c.most_pending);
    }
}

TEST(PresentationOrder, WaitsForNoMorePacketsThanItSays) {
    const auto order = std::make_unique<PresentationOrder>(mpeg4_track(mpeg4_vol(176, 144, 17)));
    std::string text = "I P";
    for (size_t i = 0; i < 2 * PresentationOrder::kMaxPending; ++i)
        text += " B";
    const Shown shown = show(order.get(), mpeg4_packets(text + " P P"));
    EXPECT_EQ(shown.most_pending, PresentationOrder::kMaxPending);
    EXPECT_EQ(shown.times[1], static_cast<int64_t>(PresentationOrder::kMaxPending));
    EXPECT_EQ(shown.times.back(), static_cast<int64_t>(shown.times.size()) - 1);
}

TEST(PresentationOrder, LeavesOtherCodecsTheirTimes) {
    const auto order = std::make_unique<PresentationOrder>(QuorvTrack{});
    const Shown shown = show(order.get(), mpeg4_packets("I B P"));
    EXPECT_EQ(shown.times, (std::vector<int64_t>{0, 1, 2}));
    EXPECT_EQ(shown.most_pending, 1u);
    EXPECT_FALSE(order->reorders());
}

}  // namespace
}  // namespace quorv::test
