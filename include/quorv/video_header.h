/**
 * @file
 * Video header functions: look into an MPEG-4 Part 2 or H.264 elementary stream held in memory.
 */
#ifndef QUORV_VIDEO_HEADER_H
#define QUORV_VIDEO_HEADER_H

#include <stdint.h>

#include <quorv/export.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup video Video headers
 * The few questions that a player asks of MPEG-4 Part 2 and H.264 video before it starts a decoder.
 *
 * They are the picture size, the kind of the next picture, and where the units begin. Nothing is decoded,
 * nothing is allocated and no state is kept, so every function may be called from any thread. No byte outside
 * data[0 .. length) is read; a header that the end of the buffer cuts off is read as if zero bits followed.
 * @{
 */

/** Result codes: the small ones of the MPEG-4 functions, VIDHDR_H264_ERR of the H.264 functions. */
enum {
    VIDHDR_OK = 0,               /**< success */
    VIDHDR_ERR_INVALID_ARG = 16, /**< a pointer argument is null */
    VIDHDR_ERR_NO_VOL = 26,      /**< no video object layer start code before the end of the buffer */
    VIDHDR_ERR_NO_VOP = 27,      /**< no video object plane start code before the end of the buffer */
    VIDHDR_ERR_UNSUPPORTED = 28, /**< the video object layer uses a shape or a tool that is not supported */
    VIDHDR_H264_ERR = 0x8000     /**< any failure of an H.264 function */
};

/** VOP coding types as ZEV_MPEG4_GetVop_IPB gives them. */
enum {
    VIDHDR_VOP_I = 0,        /**< intra */
    VIDHDR_VOP_P = 1,        /**< predicted */
    VIDHDR_VOP_B = 2,        /**< bidirectionally predicted */
    VIDHDR_VOP_S = 3,        /**< sprite or global motion compensation */
    VIDHDR_VOP_NOT_CODED = 4 /**< not coded, whatever its type */
};

/** Slice kinds as the H.264 functions give them. */
enum {
    VIDHDR_H264_SLICE_P = 0,  /**< predicted */
    VIDHDR_H264_SLICE_B = 1,  /**< bipredicted */
    VIDHDR_H264_SLICE_I = 2,  /**< intra */
    VIDHDR_H264_SLICE_IDR = 5 /**< a slice of an IDR picture, from ZEV_H264_GetSliceType only */
};

/** What a sequence header says about the pictures. */
typedef struct ZevVideoParam {
    uint32_t width;               /**< pixels */
    uint32_t height;              /**< pixels */
    uint32_t time_increment_bits; /**< MPEG-4 only: width in bits of vop_time_increment, 1 to 16 */
} ZevVideoParam;

/**
 * Reads the first video object layer (VOL) header of an MPEG-4 Part 2 stream (ISO/IEC 14496-2, 6.2.3).
 *
 * @param[in]  data    the stream, from any byte on; everything in front of the VOL start code is passed over
 * @param[in]  length  bytes
 * @param[out] param   picture size and time increment width. Written whenever the arguments are valid: fields
 *                     that were not reached are 0, and only a result of VIDHDR_OK gives the record a meaning.
 *                     A layer of binary shape only has no size: width and height are 0.
 *
 * @retval VIDHDR_OK               param is filled
 * @retval VIDHDR_ERR_INVALID_ARG  data or param is null
 * @retval VIDHDR_ERR_NO_VOL       there is no VOL start code
 * @retval VIDHDR_ERR_UNSUPPORTED  a binary or grayscale shape, overlapped block motion compensation,
 *                                 complexity estimation, reduced resolution VOPs or scalability
 */
QUORV_API int32_t ZEV_MPEG4_GetVideoParam(const uint8_t *data, uint32_t length, ZevVideoParam *param);

/**
 * Tells whether the first video object plane (VOP) of an MPEG-4 Part 2 stream is coded (ISO/IEC 14496-2,
 * 6.2.5). A plane that is not coded repeats the picture before it.
 *
 * @param[in]  data       the stream, usually one frame
 * @param[in]  length     bytes
 * @param[in]  param      the record of the VOL that the frame belongs to; only time_increment_bits is used,
 *                        and a value above 16 counts as 16
 * @param[out] not_coded  on success 1 when the VOP is not coded, 0 when it is
 *
 * @retval VIDHDR_OK               not_coded is set
 * @retval VIDHDR_ERR_INVALID_ARG  a null pointer
 * @retval VIDHDR_ERR_NO_VOP       there is no VOP start code
 */
QUORV_API int32_t ZEV_MPEG4_GetVopType(const uint8_t *data, uint32_t length, const ZevVideoParam *param,
                                       uint32_t *not_coded);

/**
 * Gives the coding type of the first VOP of an MPEG-4 Part 2 stream.
 *
 * @param[in]  data         the stream, usually one frame
 * @param[in]  length       bytes
 * @param[in]  param        as for ZEV_MPEG4_GetVopType
 * @param[out] coding_type  on success VIDHDR_VOP_*
 *
 * @retval VIDHDR_OK               coding_type is set
 * @retval VIDHDR_ERR_INVALID_ARG  a null pointer
 * @retval VIDHDR_ERR_NO_VOP       there is no VOP start code
 */
QUORV_API int32_t ZEV_MPEG4_GetVop_IPB(const uint8_t *data, uint32_t length, const ZevVideoParam *param,
                                       uint32_t *coding_type);

/**
 * Finds the NAL units of an H.264 byte stream (ITU-T H.264, annex B).
 *
 * A capacity below VIDHDR_H264_ERR keeps the count and the failure apart.
 *
 * @param[in]  data      the stream, from any byte on
 * @param[in]  length    bytes
 * @param[out] offsets   for each start code 00 00 01, in order, the offset in bytes of its first 00; of a
 *                       four-byte start code 00 00 00 01 that is its second 00
 * @param[in]  capacity  elements of offsets
 *
 * @return the number of start codes, 0 when length is below 3; VIDHDR_H264_ERR for a null pointer, and when
 *         there are more start codes than elements, all of which are then filled
 */
QUORV_API uint32_t ZEV_H264_GetNALHdr(const uint8_t *data, uint32_t length, uint32_t *offsets,
                                      uint32_t capacity);

/**
 * Reads the picture size from a sequence parameter set (ITU-T H.264, 7.3.2.1) of the Baseline or the Main
 * profile, which must be the first NAL unit of the data. Emulation prevention bytes are not removed.
 *
 * Cropping counts in units of two pixels in both directions. That is what 4:2:0 pictures coded as frames
 * use; a stream that allows field coding counts rows in units of four, so that only half of the rows that
 * it crops are taken off here (1920x1080 interlaced gives a height of 1084).
 *
 * @param[out] param   width and height; time_increment_bits is left alone. Written as soon as the size was
 *                     read, otherwise left alone.
 * @param[in]  data    the stream
 * @param[in]  length  bytes
 *
 * @retval VIDHDR_OK        param is filled
 * @retval VIDHDR_H264_ERR  a null pointer, fewer than 4 bytes, another NAL unit, another profile, a reserved
 *                          bit that is set, a field beyond the limit of the standard, a width or height of 0
 */
QUORV_API uint32_t ZEV_H264_GetVideoParam(ZevVideoParam *param, const uint8_t *data, uint32_t length);

/**
 * Reads the profile from a sequence parameter set, which must be the first NAL unit of the data.
 *
 * @param[out] profile_idc  66 Baseline, 77 Main, 88 Extended, 100 High, 110 High 10, 122 High 4:2:2 or 144
 *                          High 4:4:4; 0 for any other
 * @param[in]  data         the stream
 * @param[in]  length       bytes
 *
 * @retval VIDHDR_OK        profile_idc is set
 * @retval VIDHDR_H264_ERR  a null pointer, fewer than 4 bytes, another NAL unit (profile_idc is then left
 *                          alone), another profile
 */
QUORV_API uint32_t ZEV_H264_GetProfileID(uint32_t *profile_idc, const uint8_t *data, uint32_t length);

/**
 * Gives the kind of the first slice of an H.264 byte stream (ITU-T H.264, 7.3.3). NAL units that are not
 * slices are passed over.
 *
 * @param[in] data    the stream, from any byte on
 * @param[in] length  bytes
 *
 * @return VIDHDR_H264_SLICE_IDR for every slice of an IDR picture, else VIDHDR_H264_SLICE_P,
 *         VIDHDR_H264_SLICE_B or VIDHDR_H264_SLICE_I; VIDHDR_H264_ERR for a null pointer, fewer than 4 bytes,
 *         no slice, and a slice of any other kind
 */
QUORV_API uint32_t ZEV_H264_GetSliceType(const uint8_t *data, uint32_t length);

/**
 * Gives the kind of the slice in one NAL unit without a start code.
 *
 * @param[in] data    the NAL unit: data[0] is its header, as in an AVC file's sample behind its length field
 * @param[in] length  bytes
 *
 * @return VIDHDR_H264_SLICE_P, VIDHDR_H264_SLICE_B or VIDHDR_H264_SLICE_I, for IDR pictures, too; switching
 *         slices (SP and SI) and unknown kinds give 0 as well; VIDHDR_H264_ERR for a null pointer, fewer than
 *         4 bytes, and a NAL unit that is no slice
 */
QUORV_API uint32_t ZEV_H264_GetSliceType_WithoutStartCode(const uint8_t *data, uint32_t length);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
