/**
 * @file
 * The codecs that the library knows: their FourCC values and what their frames look like.
 */
#ifndef QUORV_CODEC_H
#define QUORV_CODEC_H

/**
 * @defgroup codec Codecs
 * FourCC values of SplitterVideoInfo, SplitterAudioInfo and QuorvTrack.
 *
 * They name a codec, not the tag by which a file announces it: many tags stand for one codec.
 * @{
 */

/** A FourCC: four characters, the first one most significant. */
#define QUORV_FOURCC(a, b, c, d) (((a)&0xFFu) << 24 | ((b)&0xFFu) << 16 | ((c)&0xFFu) << 8 | ((d)&0xFFu))

/** @name Video
 * A frame is one picture in the order of decoding, unless more is said.
 * @{ */

/**
 * H.264 (ITU-T H.264). A frame is an access unit with start codes (annex B). Parameter sets that AVI files
 * have in front of the first picture become codec data and are taken off that frame.
 */
#define QUORV_CODEC_H264 QUORV_FOURCC('2', '6', '4', ' ')
/** H.263, and H.261 and relatives by their tag. A frame begins with a picture start code. */
#define QUORV_CODEC_H263 QUORV_FOURCC('2', '6', '3', ' ')
/**
 * MPEG-4 Part 2 (ISO/IEC 14496-2). A frame is a VOP with its start code, headers in front of it where the
 * stream repeats them. With packed B-frames a frame holds two VOPs, and a later one a VOP that is not coded.
 */
#define QUORV_CODEC_MPEG4 QUORV_FOURCC('m', '4', 'v', 'a')
/** MPEG-4 Part 2 under the tags MP4S and M4S2; as QUORV_CODEC_MPEG4. */
#define QUORV_CODEC_MPEG4_SIMPLE QUORV_FOURCC('m', '4', 'v', 's')
/** MPEG-4 Part 2 under the tag XVID; as QUORV_CODEC_MPEG4. */
#define QUORV_CODEC_XVID QUORV_FOURCC('x', 'v', 'i', 'd')
/** MPEG-4 Part 2 under the tag DIVX; as QUORV_CODEC_MPEG4. */
#define QUORV_CODEC_DIVX QUORV_FOURCC('d', 'i', 'v', 'x')
/** MPEG-4 Part 2 under the tags DX50 and DIV5; as QUORV_CODEC_MPEG4. */
#define QUORV_CODEC_DX50 QUORV_FOURCC('d', 'x', '5', '0')
/** MPEG-4 from before the standard, version 3. A frame has no start code. */
#define QUORV_CODEC_DIV3 QUORV_FOURCC('d', 'i', 'v', '3')
/** MPEG-4 from before the standard, version 3, for fast motion; as QUORV_CODEC_DIV3. */
#define QUORV_CODEC_DIV4 QUORV_FOURCC('d', 'i', 'v', '4')
/** MPEG-4 from before the standard, versions 1 and 2; as QUORV_CODEC_DIV3. */
#define QUORV_CODEC_DRAFT_MPEG4 0x00FFFFFFu
/** Windows Media Video 7. A frame has no start code; the decoder needs the codec data. */
#define QUORV_CODEC_WMV7 QUORV_FOURCC('w', 'm', 'v', '7')
/** Windows Media Video 8; as QUORV_CODEC_WMV7. */
#define QUORV_CODEC_WMV8 QUORV_FOURCC('w', 'm', 'v', '8')
/** Windows Media Video 9, simple and main profile (SMPTE 421M); as QUORV_CODEC_WMV7. */
#define QUORV_CODEC_WMV9 QUORV_FOURCC('w', 'm', 'v', '9')
/** MPEG-1 video (ISO/IEC 11172-2). A frame is a picture with its start code and the headers before it. */
#define QUORV_CODEC_MPEG1 QUORV_FOURCC('m', 'p', 'g', '1')
/** MPEG-2 video (ISO/IEC 13818-2); as QUORV_CODEC_MPEG1. */
#define QUORV_CODEC_MPEG2 QUORV_FOURCC('m', 'p', 'g', '2')
/**
 * Motion JPEG. A frame is a whole JPEG picture. Its Huffman tables may be missing: then they are those of
 * QuorvTrack, else those of the JPEG standard's annex K.
 */
#define QUORV_CODEC_MJPEG QUORV_FOURCC('m', 'j', 'p', 'g')

/** @}
 * @name Sound
 * @{ */

/** Samples without compression, of all channels in turn; QuorvTrack says of which kind. */
#define QUORV_CODEC_PCM QUORV_FOURCC('p', 'c', 'm', ' ')
/** ADPCM of several kinds, which the tag tells apart. A frame is one or more blocks of block_align bytes. */
#define QUORV_CODEC_ADPCM QUORV_FOURCC('i', 'm', 'a', 'a')
/** MPEG audio Layer I (ISO/IEC 11172-3); as QUORV_CODEC_MP3. */
#define QUORV_CODEC_MP1 QUORV_FOURCC('m', 'p', '1', ' ')
/** MPEG audio Layer II; as QUORV_CODEC_MP3. */
#define QUORV_CODEC_MP2 QUORV_FOURCC('m', 'p', '2', ' ')
/**
 * MPEG audio Layer III (ISO/IEC 11172-3, 13818-3). In AVI and ASF files a frame of the container is a run of
 * bytes, which may begin and end inside of an MPEG audio frame; in MPEG audio files it is one of those.
 */
#define QUORV_CODEC_MP3 QUORV_FOURCC('m', 'p', '3', ' ')
/** AAC (ISO/IEC 14496-3). A frame is a raw data block; the codec data is the AudioSpecificConfig, if any. */
#define QUORV_CODEC_AAC QUORV_FOURCC('a', 'a', 'c', ' ')
/** Windows Media Audio 1. A frame is one or more blocks of block_align bytes; needs the codec data. */
#define QUORV_CODEC_WMA1 QUORV_FOURCC('w', 'm', 'v', '1')
/** Windows Media Audio 2; as QUORV_CODEC_WMA1. */
#define QUORV_CODEC_WMA2 QUORV_FOURCC('w', 'm', 'v', '2')
/** Windows Media Audio 9 Professional; as QUORV_CODEC_WMA1. */
#define QUORV_CODEC_WMA_PRO QUORV_FOURCC('w', 'm', '9', 'p')
/** Windows Media Audio 9 Lossless; as QUORV_CODEC_WMA1. */
#define QUORV_CODEC_WMA_LOSSLESS QUORV_FOURCC('w', 'm', '9', 'l')
/** AC-3 (ATSC A/52). A frame of the container is a run of bytes. */
#define QUORV_CODEC_AC3 QUORV_FOURCC('a', 'c', '3', ' ')
/** DTS (ETSI TS 102 114). A frame of the container is a run of bytes. */
#define QUORV_CODEC_DTS QUORV_FOURCC('d', 't', 's', ' ')
/** AMR narrowband (3GPP TS 26.101); a run of bytes. */
#define QUORV_CODEC_AMR_NB QUORV_FOURCC('a', 'm', 'r', 'n')
/** AMR wideband (3GPP TS 26.201); a run of bytes. */
#define QUORV_CODEC_AMR_WB QUORV_FOURCC('a', 'm', 'r', 'w')
/** ACELP.net; a run of bytes. */
#define QUORV_CODEC_SIPR QUORV_FOURCC('s', 'i', 'p', 'r')
/** RealAudio G2 Cook and AAC under format tag 0x0270; a run of bytes. */
#define QUORV_CODEC_REAL_AUDIO QUORV_FOURCC('r', 'a', 'a', 'c')
/** Vorbis; a run of bytes. */
#define QUORV_CODEC_VORBIS QUORV_FOURCC('o', 'g', 'g', ' ')

/** @} */

/** @} */

#endif
