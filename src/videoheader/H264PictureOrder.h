// The picture order count of H.264: which picture is shown before which (ITU-T H.264, 8.2.1).
#ifndef QUORV_SRC_VIDEOHEADER_H264PICTUREORDER_H
#define QUORV_SRC_VIDEOHEADER_H264PICTUREORDER_H

#include "videoheader/H264Slice.h"

namespace quorv {

// The picture in a packet.
struct H264Picture {
    int32_t order;         // smaller is shown earlier
    bool starts_sequence;  // all earlier pictures are shown before it, and orders are counted anew
    // How many pictures may come before one that is shown before them.
    uint32_t reorder_depth;
};

class H264PictureOrder {
public:
    // Parameter sets behind start codes, or an AVC decoder configuration record (ISO/IEC 14496-15, 5.2.4.1),
    // with which NAL units have lengths instead of start codes.
    void read_codec_data(const uint8_t *data, size_t size);
    // The next packet in decode order: a frame, one or two fields. False when no picture can be made out.
    // After a seek, orders compare with those from there on.
    bool read_packet(const uint8_t *data, size_t size, H264Picture *picture);
    // As far as the parameter sets tell.
    uint32_t reorder_depth() const { return sets_.reorder_depth(); }

private:
    // What is kept of the pictures before.
    struct Previous {
        uint32_t order_msb, order_lsb;         // pic_order_cnt_type 0: of the last reference picture
        uint32_t frame_num, frame_num_offset;  // pic_order_cnt_type 1: of the last picture
    };

    void read_configuration(const uint8_t *data, size_t size);
    int32_t count(const H264Slice &slice);
    int32_t count_by_lsb(const H264Slice &slice);
    int32_t count_by_frame_num(const H264Slice &slice);

    H264ParameterSets sets_;
    Previous previous_ = {};
    uint32_t length_bytes_ = 0;
};

}  // namespace quorv

#endif
