// Fuzz harness of the video header functions: those of H.264 on each input and on each of its NAL units;
// those of MPEG-4 on what follows its first byte, the width of the time increment and the search limit.
// Results must not depend on the alignment.

#include <quorv/video_header.h>

#include <vector>

#include "Harness.h"
#include "videoheader/Mpeg4Header.h"

using namespace quorv::fuzz;

namespace {

using Results = std::vector<uint32_t>;

Results h264_results(const uint8_t *data, uint32_t length) {
    ZevVideoParam param = {};
    uint32_t profile = 0;
    const uint32_t size_result = ZEV_H264_GetVideoParam(&param, data, length);
    const uint32_t profile_result = ZEV_H264_GetProfileID(&profile, data, length);
    const uint32_t slice = ZEV_H264_GetSliceType(data, length);
    const uint32_t bare_slice = ZEV_H264_GetSliceType_WithoutStartCode(data, length);
    require(size_result == VIDHDR_H264_ERR || (size_result == VIDHDR_OK && profile_result == VIDHDR_OK));
    require(size_result == VIDHDR_H264_ERR || (param.width != 0 && param.height != 0));
    require(profile_result == (profile != 0 ? VIDHDR_OK : VIDHDR_H264_ERR));
    require(slice <= 2 || slice == VIDHDR_H264_SLICE_IDR || slice == VIDHDR_H264_ERR);
    require(bare_slice <= 2 || bare_slice == VIDHDR_H264_ERR);
    return {size_result, param.width, param.height, profile, slice, bare_slice};
}

Results mpeg4_results(const uint8_t *data, uint32_t length, uint8_t setting) {
    ZevVideoParam param = {}, limited_param = {};
    const ZevVideoParam layer = {0, 0, setting % 20u};
    uint32_t coding_type = 0, not_coded = 0;
    const int32_t vol = ZEV_MPEG4_GetVideoParam(data, length, &param);
    const int32_t limited_vol = quorv::mpeg4_find_vol(data, length, setting, &limited_param);
    const int32_t vop = ZEV_MPEG4_GetVop_IPB(data, length, &layer, &coding_type);
    require(ZEV_MPEG4_GetVopType(data, length, &layer, &not_coded) == vop);
    require(vol == VIDHDR_OK || vol == VIDHDR_ERR_NO_VOL || vol == VIDHDR_ERR_UNSUPPORTED);
    require(limited_vol == vol || limited_vol == VIDHDR_ERR_NO_VOL);
    require(param.width < 8192 && param.height < 8192 && param.time_increment_bits <= 16);
    require(vop == VIDHDR_OK || vop == VIDHDR_ERR_NO_VOP);
    require(coding_type <= VIDHDR_VOP_NOT_CODED);
    require(not_coded == (coding_type == VIDHDR_VOP_NOT_CODED ? 1 : 0));
    return {static_cast<uint32_t>(vol), param.width, param.height,
            param.time_increment_bits,  coding_type, limited_param.width};
}

// A header that is cut off reads as if zeros followed, at every alignment.
template <typename Parse>
void parse_everywhere(const uint8_t *data, size_t size, Parse parse) {
    const uint32_t length = static_cast<uint32_t>(size);
    const Results first = parse(exact_copy(data, size).get(), length);
    for (size_t lead = 1; lead < 4; ++lead)
        require(parse(exact_copy(data, size, lead).get() + lead, length) == first);
    std::vector<uint8_t> padded(data, data + size);
    padded.resize(size + 1200);
    require(size < 4 || parse(padded.data(), length + 1200) == first);
}

// The offsets of all start codes, which the library must find in an array with not one element to spare.
std::vector<uint32_t> nal_units(const uint8_t *data, size_t size) {
    std::vector<uint32_t> expected;
    for (uint32_t at = 0; at + 3 <= size; ++at)
        if (data[at] == 0 && data[at + 1] == 0 && data[at + 2] == 1) expected.push_back(at);
    const uint32_t count = static_cast<uint32_t>(expected.size()), length = static_cast<uint32_t>(size);
    const auto copy = exact_copy(data, size);
    std::vector<uint32_t> offsets(expected.size() + 1);
    offsets.pop_back();
    require(ZEV_H264_GetNALHdr(copy.get(), length, offsets.data(), count) == count);
    require(offsets == expected);
    if (count > 0)
        require(ZEV_H264_GetNALHdr(copy.get(), length, offsets.data(), count - 1) == VIDHDR_H264_ERR);
    return expected;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    const auto mpeg4_results_of_setting = [data](const uint8_t *copy, uint32_t length) {
        return mpeg4_results(copy, length, data[0]);
    };
    const std::vector<uint32_t> offsets = nal_units(data, size);
    parse_everywhere(data, size, h264_results);
    parse_everywhere(data + 1, size - 1, mpeg4_results_of_setting);
    for (size_t cut = 1; cut < size && size <= 64; ++cut) {
        parse_everywhere(data, cut, h264_results);
        parse_everywhere(data + 1, cut, mpeg4_results_of_setting);
    }
    for (size_t i = 0; i < offsets.size() && i < 64; ++i) {
        const size_t end = i + 1 < offsets.size() ? offsets[i + 1] : size;
        parse_everywhere(data + offsets[i], end - offsets[i], h264_results);
        parse_everywhere(data + offsets[i] + 3, end - offsets[i] - 3, h264_results);
    }
    return 0;
}
