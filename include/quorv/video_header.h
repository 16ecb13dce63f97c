/*
 * Video header functions: look into an MPEG-4 Part 2 or H.264 elementary stream held in memory.
 *
 * They answer the few questions a player asks before it starts a decoder: the picture size, the kind of the
 * next picture, where the units begin. Nothing is decoded, nothing is allocated and no state is kept, so
 * every function may be called from any thread. No byte outside data[0 .. length) is read; a header that
 * the end of the buffer cuts off is read as if zero bits followed.
 */
#ifndef QUORV_VIDEO_HEADER_H
#define QUORV_VIDEO_HEADER_H

#include <stdint.h>

#include <quorv/export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Result codes. The MPEG-4 functions return the small ones, the H.264 functions know only VIDHDR_H264_ERR. */
enum {
    VIDHDR_OK = 0,
    VIDHDR_ERR_INVALID_ARG = 16, /* a pointer argument is null */
    VIDHDR_ERR_NO_VOL = 26,      /* no video object layer start code before the end of the buffer */
    VIDHDR_ERR_NO_VOP = 27,      /* no video object plane start code before the end of the buffer */
    VIDHDR_ERR_UNSUPPORTED = 28, /* the video object layer uses a shape or a tool that is not supported */
    VIDHDR_H264_ERR = 0x8000     /* any failure of an H.264 function */
};

/* VOP coding types as ZEV_MPEG4_GetVop_IPB gives them. */
enum {
    VIDHDR_VOP_I = 0,
    VIDHDR_VOP_P = 1,
    VIDHDR_VOP_B = 2,
    VIDHDR_VOP_S = 3, /* sprite or global motion compensation */
    VIDHDR_VOP_NOT_CODED = 4
};

/* What a sequence header says about the pictures. */
typedef struct ZevVideoParam {
    uint32_t width;               /* pixels */
    uint32_t height;              /* pixels */
    uint32_t time_increment_bits; /* MPEG-4 only: width in bits of vop_time_increment, 1 to 16 */
} ZevVideoParam;

/*
 * Reads the first video object layer (VOL) header of an MPEG-4 Part 2 stream (ISO/IEC 14496-2, 6.2.3).
 *
 * data    the stream, from any byte on; everything in front of the VOL start code is passed over
 * length  bytes
 * param   out: picture size and time increment width. Written whenever the arguments are valid: fields that
 *         were not reached are 0, and only a result of VIDHDR_OK gives the record a meaning. A layer of
 *         binary shape only has no size: width and height are 0.
 *
 * Returns VIDHDR_OK, VIDHDR_ERR_INVALID_ARG, VIDHDR_ERR_NO_VOL, or VIDHDR_ERR_UNSUPPORTED for a binary or
 * grayscale shape, overlapped block motion compensation, complexity estimation, reduced resolution VOPs or
 * scalability.
 */
QUORV_API int32_t ZEV_MPEG4_GetVideoParam(const uint8_t *data, uint32_t length, ZevVideoParam *param);

/*
 * Tells whether the first video object plane (VOP) of an MPEG-4 Part 2 stream (ISO/IEC 14496-2, 6.2.5) is
 * coded. A plane that is not coded repeats the picture before it.
 *
 * data, length  the stream, usually one frame
 * param         the record of the VOL that the frame belongs to; only time_increment_bits is used, and a
 *               value above 16 counts as 16
 * not_coded     out, on success: 1 when the VOP is not coded, 0 when it is
 *
 * Returns VIDHDR_OK, VIDHDR_ERR_INVALID_ARG or VIDHDR_ERR_NO_VOP.
 */
QUORV_API int32_t ZEV_MPEG4_GetVopType(const uint8_t *data, uint32_t length, const ZevVideoParam *param,
                                       uint32_t *not_coded);

/*
 * Gives the coding type of the first VOP of an MPEG-4 Part 2 stream; arguments and results are those of
 * ZEV_MPEG4_GetVopType.
 *
 * coding_type  out, on success: VIDHDR_VOP_I, _P, _B or _S, or VIDHDR_VOP_NOT_CODED whatever the type
 */
QUORV_API int32_t ZEV_MPEG4_GetVop_IPB(const uint8_t *data, uint32_t length, const ZevVideoParam *param,
                                       uint32_t *coding_type);

#ifdef __cplusplus
}
#endif

#endif
