// Writes H.264 streams of which only the headers are there, for tests of the order of pictures (ITU-T H.264,
// 7.3). What the order does not depend on is as intricate as it may be.
#ifndef QUORV_TESTS_SUPPORT_H264STREAM_H
#define QUORV_TESTS_SUPPORT_H264STREAM_H

#include <stdio.h>

#include <stdexcept>
#include <string>

#include "support/BitWriter.h"
#include "support/RiffPieces.h"

namespace quorv::test {

// A picture or a field of one, as the fields of its slice header say.
struct H264SliceFields {
    char kind;           // I (IDR), R (intra), P, B; b for a B-slice that nothing refers to
    uint32_t frame_num;  // of which the last four bits are written
    int32_t order;       // pic_order_cnt_lsb, of which four bits are written, or delta_pic_order_cnt
    char field = 0;      // t, b; else a frame
    bool resets_order = false;
};

struct H264Stream {
    uint32_t order_type = 0, profile = 77, constraints = 0, reorder_depth = 16;  // 16 writes none
    bool frames_only = true, lengths = false;
    int32_t bottom_delta = 0;  // how much later the bottom fields of frames of kind P are

    Bytes sps() const {
        BitWriter bits;
        bits.put(0x67 << 24 | profile << 16 | constraints << 8 | 10, 32);
        bits.ue(0);
        if (profile == 100) {
            bits.ue(1);  // 4:2:0
            bits.put(0b11'0, 3);
            bits.put(0b11, 2);
            bits.se(1);
            bits.se(-9);  // ends the first of eight scaling lists, and there is no other
            bits.put(0, 7);
        }
        bits.ue(0);  // 4 bits of frame_num
        bits.ue(order_type);
        if (order_type == 0) bits.ue(0);  // 4 bits of the count
        if (order_type == 1) {
            bits.put(0, 1);
            bits.se(-3);  // for pictures that are no reference
            bits.se(1);
            bits.ue(2);  // references are 4 and 6 apart in turn
            bits.se(4);
            bits.se(6);
        }
        bits.ue(4);
        bits.put(0, 1);
        bits.ue(176 / 16 - 1);
        bits.ue(frames_only ? 8 : 4);
        bits.put(frames_only ? 0b1 : 0b00, frames_only ? 1 : 2);
        bits.put(0b1'0, 2);
        bits.put(reorder_depth < 16, 1);
        if (reorder_depth < 16) put_vui(bits);
        return unit(bits);
    }

    // Everything that can stand in front of the restriction. The zeros need emulation prevention bytes.
    void put_vui(BitWriter &bits) const {
        bits.put(0b1'11111111, 9);
        bits.put(0x00010001, 32);
        bits.put(0b11'1'1010'1, 8);
        bits.put(0x010101, 24);
        bits.put(0b1'1'1'1, 4);  // chroma location 0 and 0, timing
        bits.put(1, 32);
        bits.put(50, 32);
        bits.put(0b1'1, 2);
        put_hrd(bits);
        bits.put(1, 1);
        put_hrd(bits);
        bits.put(0b0'1'1'1, 4);
        for (const uint32_t value : {2u, 1u, 11u, 11u, reorder_depth, 4u})
            bits.ue(value);
    }

    static void put_hrd(BitWriter &bits) {
        bits.ue(1);
        bits.put(0x12, 8);
        for (const uint32_t rate : {70000u, 80000u}) {
            bits.ue(rate);
            bits.ue(rate * 2);
            bits.put(0, 1);
        }
        bits.put(0xFFFFF, 20);
    }

    // Weighted prediction of both kinds, explicit; two references in list 0, one in list 1.
    Bytes pps() const {
        BitWriter bits;
        bits.put(0x68, 8);
        for (const uint32_t id : {3u, 0u})
            bits.ue(id);
        bits.put(bottom_delta != 0, 2);
        bits.ue(0);  // one slice group
        for (const uint32_t count : {1u, 0u})
            bits.ue(count);
        bits.put(0b1'01, 3);
        bits.put(0b111'0'0'1, 6);  // redundant pictures
        return unit(bits);
    }

    Bytes slice(const H264SliceFields &slice) const {
        BitWriter bits;
        const bool idr = slice.kind == 'I';
        const uint32_t kind = idr || slice.kind == 'R' ? 7 : slice.kind == 'P' ? 5 : 6;
        bits.put((slice.kind == 'b' ? 0 : 0x40) | (idr ? 5 : 1), 8);
        for (const uint32_t value : {0u, kind, 3u})
            bits.ue(value);
        bits.put(slice.frame_num % 16, 4);
        if (!frames_only) bits.put(slice.field != 0, 1);
        if (slice.field != 0) bits.put(slice.field == 'b', 1);
        if (idr) bits.ue(1);
        if (order_type == 0) bits.put(static_cast<uint32_t>(slice.order) % 16, 4);
        if (order_type == 1) bits.se(slice.order);
        if (bottom_delta != 0) bits.se(slice.kind == 'P' ? bottom_delta : 0);
        bits.ue(0);  // primary
        put_prediction(bits, kind);
        bits.put(slice.resets_order, 1);
        if (slice.resets_order) {
            for (const uint32_t value : {1u, 0u, 3u, 0u, 0u, 5u, 0u})
                bits.ue(value);
        }
        bits.put(0xFFFFFF, 24);
        return unit(bits);
    }

    // Changed reference lists and weights.
    static void put_prediction(BitWriter &bits, uint32_t kind) {
        if (kind == 7) return;
        const bool b_slice = kind == 6;
        if (b_slice) bits.put(1, 1);
        bits.put(0, 1);
        for (int list = 0; list < (b_slice ? 2 : 1); ++list) {
            bits.put(1, 1);
            for (const uint32_t value : {0u, 4u, 2u, 1u, 3u})
                bits.ue(value);
        }
        for (int denominator = 0; denominator < 2; ++denominator)
            bits.ue(5);
        for (int reference = 0; reference < (b_slice ? 3 : 2); ++reference) {
            bits.put(reference != 1, 1);
            for (const int32_t value : {-20, 7})
                if (reference != 1) bits.se(value);
            bits.put(reference == 1, 1);
            for (const int32_t value : {1, -2, 30, -4})
                if (reference == 1) bits.se(value);
        }
    }

    // With emulation prevention bytes, behind a start code or a length.
    Bytes unit(BitWriter bits) const {
        bits.put(1, 1);
        Bytes escaped;
        size_t zeros = 0;
        for (const uint8_t byte : bits.data()) {
            if (zeros >= 2 && byte <= 3) {
                escaped.push_back(3);
                zeros = 0;
            }
            escaped.push_back(byte);
            zeros = byte == 0 ? zeros + 1 : 0;
        }
        const Bytes length = {0, 0, static_cast<uint8_t>(escaped.size() >> 8),
                              static_cast<uint8_t>(escaped.size())};
        return join({lengths ? length : Bytes{0, 0, 1}, escaped});
    }

    // Parameter sets, or the record that holds them where units have lengths.
    Bytes codec_data() const {
        if (!lengths) return join({sps(), pps()});
        const Bytes one = sps(), other = pps();
        return join({Bytes{1, 77, 0, 10, 0xFF, 0xE1}, Bytes(one.begin() + 2, one.end()), Bytes{1},
                     Bytes(other.begin() + 2, other.end())});
    }

    // Packets of slices: "I0,0" is one of kind, frame_num and order; "b2,4t+b2,5b!" has two fields, of which
    // the second resets the order.
    std::vector<Bytes> packets(const std::string &text) const {
        std::vector<Bytes> all = {{}};
        size_t at = 0;
        while (at < text.size()) {
            if (text[at] == ' ') all.emplace_back();
            if (text[at] == ' ' || text[at] == '+') ++at;
            H264SliceFields fields = {};
            int length = 0;
            if (sscanf(text.c_str() + at, "%c%u,%d%n", &fields.kind, &fields.frame_num, &fields.order,
                       &length) < 3)
                throw std::invalid_argument(text);
            at += static_cast<size_t>(length);
            if (text[at] == 't' || text[at] == 'b') fields.field = text[at++];
            if (text[at] == '!') fields.resets_order = text[at++] != 0;
            all.back() = join({all.back(), slice(fields)});
        }
        return all;
    }
};

}  // namespace quorv::test

#endif
