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

/* Slice kinds as the H.264 functions give them. */
enum {
    VIDHDR_H264_SLICE_P = 0,
    VIDHDR_H264_SLICE_B = 1,
    VIDHDR_H264_SLICE_I = 2,
    VIDHDR_H264_SLICE_IDR = 5 /* a slice of an IDR picture, from ZEV_H264_GetSliceType only */
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

/*
 * Finds the NAL units of an H.264 byte stream (ITU-T H.264, annex B).
 *
 * data, length  the stream, from any byte on
 * offsets       out: for each start code 00 00 01, in order, the offset in bytes of its first 00; of a
 *               four-byte start code 00 00 00 01 that is its second 00
 * capacity      elements of offsets
 *
 * Returns the number of start codes, 0 when length is below 3, or VIDHDR_H264_ERR for a null pointer and
 * when there are more start codes than elements, all of which are then filled. A capacity below
 * VIDHDR_H264_ERR keeps the count and the failure apart.
 */
QUORV_API uint32_t ZEV_H264_GetNALHdr(const uint8_t *data, uint32_t length, uint32_t *offsets,
                                      uint32_t capacity);

/*
 * Reads the picture size from a sequence parameter set (ITU-T H.264, 7.3.2.1) of the Baseline or the Main
 * profile, which must be the first NAL unit of the data. Emulation prevention bytes are not removed.
 *
 * param  out: width and height; time_increment_bits is left alone. Written as soon as the size was read,
 *        otherwise left alone.
 *
 * Cropping counts in units of two pixels in both directions. That is what 4:2:0 pictures coded as frames
 * use; a stream that allows field coding counts rows in units of four, so that only half of the rows that
 * it crops are taken off here (1920x1080 interlaced gives a height of 1084).
 *
 * Returns VIDHDR_OK, or VIDHDR_H264_ERR for a null pointer, fewer than 4 bytes, another NAL unit, another
 * profile, a field beyond the limit of the standard, and a width or height of 0.
 */
QUORV_API uint32_t ZEV_H264_GetVideoParam(ZevVideoParam *param, const uint8_t *data, uint32_t length);

/*
 * Reads the profile from a sequence parameter set, which must be the first NAL unit of the data.
 *
 * profile_idc  out: 66 Baseline, 77 Main, 88 Extended, 100 High, 110 High 10, 122 High 4:2:2 or
 *              144 High 4:4:4; 0 for any other
 *
 * Returns VIDHDR_OK, or VIDHDR_H264_ERR for a null pointer, fewer than 4 bytes, another NAL unit (then
 * profile_idc is left alone) and another profile.
 */
QUORV_API uint32_t ZEV_H264_GetProfileID(uint32_t *profile_idc, const uint8_t *data, uint32_t length);

/*
 * Gives the kind of the first slice of an H.264 byte stream (ITU-T H.264, 7.3.3). NAL units that are not
 * slices are passed over.
 *
 * Returns VIDHDR_H264_SLICE_IDR for every slice of an IDR picture, else VIDHDR_H264_SLICE_P, _B or _I;
 * VIDHDR_H264_ERR for a null pointer, fewer than 4 bytes, no slice, and a slice of any other kind.
 */
QUORV_API uint32_t ZEV_H264_GetSliceType(const uint8_t *data, uint32_t length);

/*
 * Gives the kind of the slice in one NAL unit without a start code: data[0] is the NAL header, as in an
 * AVC file's sample behind its length field.
 *
 * Returns VIDHDR_H264_SLICE_P, _B or _I, for IDR pictures, too. Switching slices (SP and SI) and unknown
 * kinds give 0 as well. VIDHDR_H264_ERR for a null pointer, fewer than 4 bytes, and a NAL unit that is no
 * slice.
 */
QUORV_API uint32_t ZEV_H264_GetSliceType_WithoutStartCode(const uint8_t *data, uint32_t length);

#ifdef __cplusplus
}
#endif

#endif
