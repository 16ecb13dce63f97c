// Scans a stream for its format and duration.

#include <quorv/mp3_decoder.h>
#include <string.h>

#include <algorithm>

#include "mp3dec/Mp3FrameHeader.h"
#include "mp3dec/Mp3FrameSync.h"
#include "mp3dec/Mp3InputBuffer.h"
#include "mp3dec/Mp3Tag.h"
#include "platform/MemoryOwner.h"

namespace quorv {

namespace {

constexpr uint32_t kBufferBytes = 32000;
constexpr uint32_t kMaxStandardBitrate = 448;  // kbit/s

uint32_t saturate(uint64_t value) {
    return static_cast<uint32_t>(std::min<uint64_t>(value, UINT32_MAX));
}

uint32_t version_of(const Mp3FrameHeader &header) {
    if (mp3_has_flag(header, MP3_FLAG_MPEG25)) return 2;
    return mp3_is_low_rate(header) ? 1 : 0;
}

// What is known of the frames so far.
struct Mp3Scan {
    MStream stream;
    Mp3InputBuffer input;
    Mp3FrameHeader header;
    QuMp3Info info;
    uint32_t lowest, highest;  // bit rates
    uint64_t bytes;   // from the start of the audio to the end of the last frame counted, without tags
    uint64_t offset;  // of the buffer from the start of the audio
    uint32_t held;    // bytes of the stream in the buffer
    bool is_last;     // no more follow
    uint8_t buffer[kBufferBytes + kMp3EndPadding];
};

bool is_same_format(const QuMp3Info &a, const QuMp3Info &b) {
    return a.layer == b.layer && a.channels == b.channels && a.sample_rate == b.sample_rate &&
           a.version == b.version;
}

void count_frame(Mp3Scan *scan) {
    const Mp3FrameHeader &header = scan->header;
    const QuMp3Info found = {
        header.layer, mp3_channels(header), version_of(header), 0, header.sample_rate, 0, 0};
    // A frame of another format is the first of a new stream.
    if (!is_same_format(found, scan->info)) scan->info = found;
    ++scan->info.frame_count;
    scan->lowest = std::min(scan->lowest, header.bitrate);
    scan->highest = std::max(scan->highest, header.bitrate);
}

// Counts the frames in the buffer. Returns the bytes that are done with.
uint32_t scan_buffer(Mp3Scan *scan, uint32_t limit) {
    Mp3InputBuffer *input = &scan->input;
    buffer_set(input, scan->buffer, scan->is_last ? sizeof(scan->buffer) : kBufferBytes);
    if (scan->is_last) input->stream_end = scan->buffer + scan->held;
    const uint8_t *done = scan->buffer;
    while (limit == 0 || scan->info.frame_count < limit) {
        const Mp3Error error = header_decode(&scan->header, input);
        if (error == Mp3Error::None) {
            count_frame(scan);
            const auto read = static_cast<uint64_t>(input->read_position - scan->buffer);
            scan->bytes = scan->offset + read - input->tag_bytes;
        } else if (!mp3_skips_frame(error)) {
            done = std::max(done, input->frame_start);
            break;
        }
        done = input->read_position;
    }
    const auto used = static_cast<uint32_t>(done - scan->buffer);
    // No frame is as large as the buffer; what claims to be one must not stop the search.
    return used == 0 ? kBufferBytes - static_cast<uint32_t>(kMp3LookAhead) : std::min(used, kBufferBytes);
}

void scan_stream(Mp3Scan *scan, uint32_t limit) {
    scan->lowest = kMaxStandardBitrate;
    while (!scan->is_last && (limit == 0 || scan->info.frame_count < limit)) {
        uint8_t *free = scan->buffer + scan->held;
        const int32_t got = MStreamRead(scan->stream, free, static_cast<int32_t>(kBufferBytes - scan->held));
        scan->held += static_cast<uint32_t>(std::max(got, 0));
        scan->is_last = scan->held < kBufferBytes;
        memset(scan->buffer + scan->held, 0, sizeof(scan->buffer) - scan->held);
        const uint32_t used = scan_buffer(scan, limit);
        scan->offset += used;
        scan->held = kBufferBytes - used;
        memmove(scan->buffer, scan->buffer + used, scan->held);
    }
}

void set_whole_duration(Mp3Scan *scan, uint64_t samples) {
    QuMp3Info *info = &scan->info;
    info->duration = saturate(info->frame_count * samples * 1000 / info->sample_rate);
}

// From the frames at the start and the size of all; needs the duration of those frames.
void estimate(Mp3Scan *scan, uint64_t audio_bytes, uint64_t samples) {
    QuMp3Info *info = &scan->info;
    uint64_t bitrate = scan->highest;
    if (scan->lowest != scan->highest && info->duration != 0) bitrate = scan->bytes * 8 / info->duration;
    if (bitrate == 0) return;
    info->duration = saturate(audio_bytes * 8 / bitrate);
    info->frame_count = saturate(uint64_t{info->duration} * info->sample_rate / samples / 1000);
}

int32_t scan_audio(Mp3Scan *scan, uint32_t limit) {
    intptr_t size = 0;
    if (limit != 0) {
        if (MStreamSeek(scan->stream, MSTREAM_SEEK_END, 0) != 0) return -1;
        size = MStreamTell(scan->stream);
    }
    if (MStreamSeek(scan->stream, MSTREAM_SEEK_START, 0) != 0) return -1;
    const intptr_t tag = mp3_skip_tag(scan->stream);
    if (tag < 0) return -1;
    buffer_init(&scan->input);
    header_init(&scan->header);
    scan_stream(scan, limit);
    QuMp3Info *info = &scan->info;
    if (info->frame_count == 0 || info->sample_rate == 0) return -1;

    const uint32_t samples = mp3_samples_per_frame(info->layer, info->version != 0);
    info->bitrate = (scan->highest & 0xFFFF) | scan->lowest << 16;
    set_whole_duration(scan, samples);
    const intptr_t tags = tag + static_cast<intptr_t>(scan->input.tag_bytes);
    if (limit != 0) estimate(scan, static_cast<uint64_t>(std::max<intptr_t>(size - tags, 0)), samples);
    return 0;
}

// About one frame and the bytes that must lie behind it.
uint32_t input_size(uint32_t sample_rate, uint64_t samples, uint32_t bitrate) {
    if (sample_rate == 0) return 0;
    return static_cast<uint32_t>((sample_rate + samples * bitrate * 2000) / sample_rate / 16 + 9);
}

}  // namespace
}  // namespace quorv

using namespace quorv;

int32_t QU_MP3_info_get(void *stream, QuMp3Info *info, uint32_t frames) {
    if (stream == nullptr || info == nullptr) return -1;
    auto *handle = static_cast<MStream>(stream);
    const intptr_t position = MStreamTell(handle);
    if (position < 0) return -1;
    const Owned<Mp3Scan> scan = make_owned<Mp3Scan>();
    if (scan == nullptr) return -1;
    scan->stream = handle;
    const int32_t result = scan_audio(scan.get(), frames);
    if (result == 0) *info = scan->info;
    MStreamSeek(handle, MSTREAM_SEEK_START, position);
    return result;
}

int32_t QU_MP3_get_info(void *stream, uint32_t *duration, uint32_t *frame_count, QuMp3Summary *summary) {
    if (duration == nullptr || frame_count == nullptr || summary == nullptr) return -1;
    QuMp3Info info = {};
    if (QU_MP3_info_get(stream, &info, 0) != 0) return -1;
    *duration = info.duration;
    *frame_count = info.frame_count;
    *summary = {info.layer, info.bitrate, info.sample_rate, info.channels - 1};
    return 0;
}

int32_t QU_MP3_min_input_buffer_size(const QuMp3Info *info) {
    if (info == nullptr) return -1;
    const uint32_t samples = mp3_samples_per_frame(info->layer, info->version != 0);
    return static_cast<int32_t>(input_size(info->sample_rate, samples, info->bitrate & 0xFFFF));
}

int32_t QU_MP3_min_input_buffer_size_compat(const Mp3FrameHeader *header) {
    constexpr uint32_t kMinSize = 32, kMaxSize = 1464;
    if (header == nullptr) return -1;
    if (header->sample_rate == 0) return kMaxSize;
    const uint32_t size = input_size(header->sample_rate, mp3_samples_per_frame(*header), header->bitrate);
    return static_cast<int32_t>(std::clamp(size, kMinSize, kMaxSize));
}
