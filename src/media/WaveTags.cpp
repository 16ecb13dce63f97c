// Codecs and sample formats of sound; see the header.

#include "media/WaveTags.h"

#include "aviparser/AviCodecTables.h"

namespace quorv {

namespace {

enum WaveTag : uint32_t { kPcm = 1, kFloat = 3, kALaw = 6, kMuLaw = 7 };

QuorvSampleFormat samples_of(uint32_t tag, uint32_t bits) {
    switch (tag) {
        case kPcm:
            return bits == 8    ? QUORV_SAMPLES_U8
                   : bits == 16 ? QUORV_SAMPLES_S16LE
                   : bits == 24 ? QUORV_SAMPLES_S24LE
                   : bits == 32 ? QUORV_SAMPLES_S32LE
                                : QUORV_SAMPLES_NONE;
        case kFloat:
            return bits == 32 ? QUORV_SAMPLES_F32LE : bits == 64 ? QUORV_SAMPLES_F64LE : QUORV_SAMPLES_NONE;
        case kALaw:
            return QUORV_SAMPLES_ALAW;
        case kMuLaw:
            return QUORV_SAMPLES_MULAW;
        default:
            return QUORV_SAMPLES_NONE;
    }
}

uint32_t codec_of(uint32_t tag) {
    const AviCodecTag *row = avi_codec_wav_tags;
    while (row->codec != 0 && row->tag != tag)
        ++row;
    const uint32_t codec = row->codec;
    // Some tags stand in the table as if they were PCM.
    const bool is_pcm = tag == kPcm || tag == kFloat || tag == kALaw || tag == kMuLaw;
    return codec == QUORV_CODEC_PCM && !is_pcm ? 0 : codec;
}

// Codecs whose bits a sample are those of the decoder's output, if anything.
bool has_bits(uint32_t codec) {
    return codec != QUORV_CODEC_MP1 && codec != QUORV_CODEC_MP2 && codec != QUORV_CODEC_MP3 &&
           codec != QUORV_CODEC_AAC && codec != QUORV_CODEC_AC3 && codec != QUORV_CODEC_DTS;
}

}  // namespace

void describe_wave(QuorvTrack *track, uint32_t codec, uint32_t container_bits, uint32_t bits) {
    track->codec = codec != 0 ? codec : codec_of(track->tag);
    track->sample_format = samples_of(track->tag, container_bits);
    track->bits_per_sample = has_bits(track->codec) ? bits : 0;
}

}  // namespace quorv
