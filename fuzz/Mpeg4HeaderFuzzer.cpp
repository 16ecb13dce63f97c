// Fuzz harness of the MPEG-4 header functions. The first byte gives the width of the time increment and the
// search limit, the rest is the stream. Results must not depend on the stream's alignment.

#include <quorv/video_header.h>

#include "ExactCopy.h"
#include "videoheader/Mpeg4Header.h"

namespace {

using quorv::fuzz::ExactCopy;
using quorv::fuzz::require;

struct Results {
    int32_t vol, limited_vol, vop;
    ZevVideoParam param, limited_param;
    uint32_t coding_type, not_coded;
};

Results parse(const uint8_t *data, uint32_t length, uint8_t setting) {
    Results r = {};
    r.vol = ZEV_MPEG4_GetVideoParam(data, length, &r.param);
    r.limited_vol = quorv::mpeg4_find_vol(data, length, setting, &r.limited_param);
    const ZevVideoParam param = {0, 0, setting % 20u};
    r.vop = ZEV_MPEG4_GetVop_IPB(data, length, &param, &r.coding_type);
    require(ZEV_MPEG4_GetVopType(data, length, &param, &r.not_coded) == r.vop);
    return r;
}

void check(const Results &r) {
    require(r.vol == VIDHDR_OK || r.vol == VIDHDR_ERR_NO_VOL || r.vol == VIDHDR_ERR_UNSUPPORTED);
    require(r.limited_vol == r.vol || r.limited_vol == VIDHDR_ERR_NO_VOL);
    require(r.param.width < 8192 && r.param.height < 8192 && r.param.time_increment_bits <= 16);
    require(r.vop == VIDHDR_OK || r.vop == VIDHDR_ERR_NO_VOP);
    require(r.coding_type <= VIDHDR_VOP_NOT_CODED);
    require(r.not_coded == (r.coding_type == VIDHDR_VOP_NOT_CODED ? 1 : 0));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2) return 0;
    const uint8_t setting = data[0];
    const uint32_t length = static_cast<uint32_t>(size - 1);
    Results first = {};
    for (size_t lead = 0; lead < 4; ++lead) {
        const ExactCopy copy(data + 1, length, lead);
        const Results r = parse(copy.data(), length, setting);
        check(r);
        if (lead == 0) first = r;
        require(memcmp(&r, &first, sizeof r) == 0);
    }
    return 0;
}
