// What results and codes mean in words, and which version this is.

#include <quorv/mp3_decoder.h>
#include <quorv/platform/memory.h>
#include <quorv/quorv.h>
#include <quorv/splitter.h>

#include <span>

namespace quorv {
namespace {

struct CodeText {
    uint32_t code;
    const char *text;
};

constexpr CodeText kResultTexts[] = {
    {QUORV_OK, "success"},
    {QUORV_END, "no further packet"},
    {QUORV_AGAIN, "the source does not have these bytes yet"},
    {QUORV_ERR_ARGUMENT, "an argument without a meaning"},
    {QUORV_ERR_MEMORY, "out of memory"},
    {QUORV_ERR_SOURCE, "the source cannot be read"},
    {QUORV_ERR_NOT_MEDIA, "not a media file of a known format"},
    {QUORV_ERR_DAMAGED, "the file, or this part of it, is damaged"},
    {QUORV_ERR_UNSUPPORTED, "not possible with this file"},
    {QUORV_ERR_CLOSED, "the file is not open"},
};

constexpr CodeText kSplitterTexts[] = {
    {SPLITER_OK, "success"},
    {SPLITER_ERR_IO, "reading the header failed, or its signature is wrong"},
    {SPLITER_ERR_INVALID_PARAM, "an argument without a meaning"},
    {SPLITER_ERR_UNSUPPORTED, "nothing to give: no tracks, no index, or an unknown identifier"},
    {SPLITER_ERR_NO_MEMORY, "out of memory"},
    {SPLITER_ERR_NO_PARSER, "the file has not been opened"},
    {SPLITER_ERR_BUFFER_TOO_SMALL, "the buffer is too small"},
    {SPLITER_SOURCE_AT_END, "the source is at its end"},
    {SPLITER_ERR_DATA_PENDING, "the bytes have not arrived yet"},
    {SPLITER_ERR_BAD_FORMAT, "not a valid or supported container, or a damaged one"},
    {SPLITER_ERR_END_OF_STREAM, "no further frame"},
};

constexpr CodeText kMp3Texts[] = {
    {0, "success"},
    {MP3_ERR_NEED_INPUT, "the input ends within a frame"},
    {MP3_ERR_NO_INPUT, "there was no input yet"},
    {MP3_ERR_NO_MEMORY, "out of memory"},
    {MP3_ERR_SYNC, "no frame where one was expected"},
    {MP3_ERR_LAYER, "reserved layer"},
    {MP3_ERR_BITRATE, "reserved bit rate"},
    {MP3_ERR_SAMPLE_RATE, "reserved sample rate"},
    {MP3_ERR_CRC, "the check word does not match"},
    {MP3_ERR_LAYER2_MODE, "one channel at a bit rate that Layer II does not have for it"},
    {MP3_ERR_SIDE_INFO, "the frame is too short for its own tables or samples"},
    {MP3_ERR_BIG_VALUES, "too many big values"},
    {MP3_ERR_BLOCK_TYPE, "window switching to the normal window"},
    {MP3_ERR_SCFSI, "short blocks share scale factors with the granule before"},
    {MP3_ERR_RESERVOIR, "the frame needs bytes of earlier frames that were not seen"},
    {MP3_ERR_HUFFMAN, "the spectrum does not fit its length"},
};

constexpr CodeText kPlatformTexts[] = {
    {ResultOk, "success"},
    {ResultFailed, "a stream could not be opened, or there is no context"},
    {ResultInvalidArg, "an argument without a meaning"},
    {ResultUnsupported, "not supported"},
    {ResultNoMemory, "out of memory"},
};

const char *find_text(std::span<const CodeText> texts, uint32_t code) {
    for (const CodeText &entry : texts) {
        if (entry.code == code) return entry.text;
    }
    return nullptr;
}

std::span<const CodeText> texts_of(QuorvModule module) {
    switch (module) {
        case QUORV_MODULE_SPLITTER:
            return kSplitterTexts;
        case QUORV_MODULE_MP3:
            return kMp3Texts;
        case QUORV_MODULE_PLATFORM:
            return kPlatformTexts;
    }
    return {};
}

}  // namespace
}  // namespace quorv

using namespace quorv;

// A macro's value as text.
#define QUORV_TEXT_OF(value) #value
#define QUORV_VERSION_TEXT(major, minor, patch) \
    QUORV_TEXT_OF(major) "." QUORV_TEXT_OF(minor) "." QUORV_TEXT_OF(patch)

const char *quorv_strerror(QuorvResult result) {
    const char *text = find_text(kResultTexts, static_cast<uint32_t>(result));
    return text != nullptr ? text : "unknown result";
}

const char *quorv_code_text(QuorvModule module, uint32_t code) {
    const char *text = find_text(texts_of(module), code);
    return text != nullptr ? text : "unknown code";
}

const char *quorv_version(void) {
    return QUORV_VERSION_TEXT(QUORV_VERSION_MAJOR, QUORV_VERSION_MINOR, QUORV_VERSION_PATCH);
}
