// Fuzz harness of the H.264 header functions: all of them on each input and on each of its NAL units. Results
// must not depend on the alignment, and the start codes found are those of a plain loop.

#include <quorv/video_header.h>

#include <vector>

#include "ExactCopy.h"
#include "videoheader/StartCode.h"

namespace {

using quorv::fuzz::ExactCopy;
using quorv::fuzz::require;

struct Results {
    uint32_t size_result, profile_result, slice, bare_slice;
    ZevVideoParam param;
    uint32_t profile;
};

Results parse(const uint8_t *data, uint32_t length) {
    Results r = {};
    r.size_result = ZEV_H264_GetVideoParam(&r.param, data, length);
    r.profile_result = ZEV_H264_GetProfileID(&r.profile, data, length);
    r.slice = ZEV_H264_GetSliceType(data, length);
    r.bare_slice = ZEV_H264_GetSliceType_WithoutStartCode(data, length);
    return r;
}

void check(const Results &r) {
    require(r.size_result == VIDHDR_H264_ERR ||
            (r.size_result == VIDHDR_OK && r.param.width != 0 && r.param.height != 0));
    require(r.size_result != VIDHDR_OK || r.profile_result == VIDHDR_OK);
    require(r.profile_result == (r.profile != 0 ? VIDHDR_OK : VIDHDR_H264_ERR));
    require(r.slice <= 2 || r.slice == VIDHDR_H264_SLICE_IDR || r.slice == VIDHDR_H264_ERR);
    require(r.bare_slice <= 2 || r.bare_slice == VIDHDR_H264_ERR);
}

void parse_everywhere(const uint8_t *data, size_t size) {
    Results first = {};
    for (size_t lead = 0; lead < 2; ++lead) {
        const ExactCopy copy(data, size, lead);
        const Results r = parse(copy.data(), static_cast<uint32_t>(size));
        check(r);
        if (lead == 0) first = r;
        require(memcmp(&r, &first, sizeof r) == 0);
    }
}

// The offsets of all start codes, which the library must find in an array with not one element to spare.
std::vector<uint32_t> nal_units(const uint8_t *data, size_t size) {
    std::vector<uint32_t> expected;
    for (size_t at = 0; at + 3 <= size; ++at)
        if (data[at] == 0 && data[at + 1] == 0 && data[at + 2] == 1)
            expected.push_back(static_cast<uint32_t>(at));
    const uint32_t count = static_cast<uint32_t>(expected.size()), length = static_cast<uint32_t>(size);
    const ExactCopy copy(data, size, 3);
    std::vector<uint32_t> offsets(expected.size() + 1);
    offsets.pop_back();
    require(ZEV_H264_GetNALHdr(copy.data(), length, offsets.data(), count) == count);
    require(offsets == expected);
    if (count > 0)
        require(ZEV_H264_GetNALHdr(copy.data(), length, offsets.data(), count - 1) == VIDHDR_H264_ERR);
    const uint8_t *p = copy.data(), *const end = p + size;
    for (const uint32_t offset : expected) {
        p = quorv::find_start_code_portable(p, end);
        require(p == copy.data() + offset);
        p += quorv::kStartCodePrefixBytes;
    }
    require(quorv::find_start_code_portable(p, end) == end);
    return expected;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    const std::vector<uint32_t> offsets = nal_units(data, size);
    parse_everywhere(data, size);
    for (size_t i = 0; i < offsets.size() && i < 64; ++i) {
        const size_t end = i + 1 < offsets.size() ? offsets[i + 1] : size;
        parse_everywhere(data + offsets[i], end - offsets[i]);
        parse_everywhere(data + offsets[i] + 3, end - offsets[i] - 3);
    }
    return 0;
}
