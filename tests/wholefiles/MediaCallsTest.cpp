// The calls of the reader of any format: sources of the system, claims, wrong use, results and their texts.

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <quorv/mp3_decoder.h>
#include <quorv/platform/memory.h>
#include <unistd.h>

#include <fstream>

#include "support/AviBuilder.h"
#include "support/FailingAllocator.h"
#include "wholefiles/MediaWalk.h"

namespace quorv::test {
namespace {

Bytes sample_bytes() {
    std::ifstream stream(QUORV_SAMPLES "/h264-mp3.avi", std::ios::binary);
    return Bytes{std::istreambuf_iterator<char>(stream), {}};
}

TEST(MediaFiles, AreReadFromPathsDescriptorsAndMemory) {
    const std::string path = QUORV_SAMPLES "/h264-mp3.avi";
    const Bytes bytes = sample_bytes();
    const Walk expected = walk(bytes);
    QuorvReader *reader = nullptr;
    ASSERT_EQ(quorv_open_path(path.c_str(), &reader), QUORV_OK);
    EXPECT_TRUE(walk(MediaFile(reader)) == expected);
    ASSERT_EQ(quorv_open_memory(bytes.data(), bytes.size(), &reader), QUORV_OK);
    EXPECT_TRUE(walk(MediaFile(reader)) == expected);
    const int fd = open(path.c_str(), O_RDONLY);
    lseek(fd, 100, SEEK_SET);
    ASSERT_EQ(quorv_open_fd(fd, &reader), QUORV_OK);
    EXPECT_TRUE(walk(MediaFile(reader)) == expected);
    EXPECT_EQ(lseek(fd, 0, SEEK_CUR), 100);
    close(fd);
    EXPECT_EQ(quorv_open_fd(fd, &reader), QUORV_ERR_SOURCE);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(quorv_open_path((path + "x").c_str(), &reader), QUORV_ERR_SOURCE);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(quorv_open_path(QUORV_SAMPLES, &reader), QUORV_ERR_SOURCE);
    EXPECT_EQ(errno, EISDIR);
    EXPECT_EQ(reader, nullptr);
}

TEST(MediaFiles, ClaimsThatTheFileCannotHoldAllocateNothing) {
    for (const MediaSample &sample : samples()) {
        for (size_t at = 0; at + 4 <= sample.bytes.size(); ++at) {
            Bytes bytes = sample.bytes;
            std::copy_n(Bytes{0xF0, 0xFF, 0xFF, 0x3F}.begin(), 4,
                        bytes.begin() + static_cast<std::ptrdiff_t>(at));
            MediaBytes source(bytes, {.call_limit = 1000000});
            FailingAllocator heap;
            {
                MediaFile file(source.record());
                if (file.reader() != nullptr) file.read();
            }
            ASSERT_LE(heap.peak_bytes(), 1u << 20) << sample.name << " at " << at;
            ASSERT_EQ(heap.live_blocks(), 0u) << sample.name << " at " << at;
        }
    }
}

TEST(MediaFiles, WrongUseIsToldApart) {
    const Bytes &bytes = samples()[0].bytes;
    MediaBytes late(bytes, {.again_every = 1});
    QuorvSource source = late.record();
    QuorvReader *reader = nullptr;
    const QuorvPacket *packet = nullptr;
    QuorvSurvey survey = {};
    EXPECT_EQ(quorv_open_source(nullptr, &reader), QUORV_ERR_ARGUMENT);
    EXPECT_EQ(quorv_open_source(&source, nullptr), QUORV_ERR_ARGUMENT);
    EXPECT_EQ(quorv_open_memory(nullptr, 1, &reader), QUORV_ERR_ARGUMENT);
    EXPECT_EQ(quorv_open_memory(bytes.data(), bytes.size(), nullptr), QUORV_ERR_ARGUMENT);
    EXPECT_EQ(quorv_open_path(nullptr, &reader), QUORV_ERR_ARGUMENT);
    EXPECT_EQ(quorv_open_path("", nullptr), QUORV_ERR_ARGUMENT);
    EXPECT_EQ(quorv_open_fd(0, nullptr), QUORV_ERR_ARGUMENT);
    EXPECT_EQ(quorv_open_memory("no media", 8, &reader), QUORV_ERR_NOT_MEDIA);

    ASSERT_EQ(quorv_open_source(&source, &reader), QUORV_AGAIN);
    EXPECT_EQ(quorv_reader_code(reader), uint32_t{SPLITER_ERR_DATA_PENDING});
    EXPECT_EQ(quorv_file(reader), nullptr);
    EXPECT_EQ(quorv_track(reader, 0), nullptr);
    EXPECT_EQ(quorv_damage(reader, QUORV_WHOLE_FILE), nullptr);
    EXPECT_EQ(quorv_read(reader, &packet), QUORV_ERR_CLOSED);
    EXPECT_EQ(quorv_read_track(reader, 0, &packet), QUORV_ERR_CLOSED);
    EXPECT_EQ(quorv_select(reader, 0, 1), QUORV_ERR_CLOSED);
    EXPECT_EQ(quorv_set_presentation(reader, 0, 1), QUORV_ERR_CLOSED);
    EXPECT_EQ(quorv_survey(reader, 0, &survey), QUORV_ERR_CLOSED);
    EXPECT_EQ(quorv_seek(reader, 0, QUORV_SEEK_BEFORE, nullptr), QUORV_ERR_CLOSED);
    quorv_close(reader);
    EXPECT_EQ(late.closes, 1u);

    ASSERT_EQ(quorv_open_memory(bytes.data(), bytes.size(), &reader), QUORV_OK);
    const uint32_t count = quorv_file(reader)->track_count;
    EXPECT_EQ(quorv_open_source(&source, &reader), QUORV_ERR_ARGUMENT);
    EXPECT_EQ(quorv_track(reader, count), nullptr);
    EXPECT_EQ(quorv_damage(reader, count), nullptr);
    for (QuorvReader *wrong : {static_cast<QuorvReader *>(nullptr), reader}) {
        EXPECT_EQ(quorv_select(wrong, count, 1), QUORV_ERR_ARGUMENT);
        EXPECT_EQ(quorv_set_presentation(wrong, count, 1), QUORV_ERR_ARGUMENT);
        EXPECT_EQ(quorv_survey(wrong, count, &survey), QUORV_ERR_ARGUMENT);
        EXPECT_EQ(quorv_survey(wrong, 0, nullptr), QUORV_ERR_ARGUMENT);
        EXPECT_EQ(quorv_read_track(wrong, count, &packet), QUORV_ERR_ARGUMENT);
        EXPECT_EQ(quorv_read_track(wrong, 0, nullptr), QUORV_ERR_ARGUMENT);
        EXPECT_EQ(quorv_read(wrong, nullptr), QUORV_ERR_ARGUMENT);
        EXPECT_EQ(quorv_seek(wrong, 0, static_cast<QuorvSeek>(count + 2), nullptr), QUORV_ERR_ARGUMENT);
    }
    EXPECT_EQ(quorv_read(nullptr, &packet), QUORV_ERR_ARGUMENT);
    EXPECT_EQ(quorv_seek(nullptr, 0, QUORV_SEEK_BEFORE, nullptr), QUORV_ERR_ARGUMENT);
    EXPECT_EQ(quorv_file(nullptr), nullptr);
    EXPECT_EQ(quorv_track(nullptr, 0), nullptr);
    EXPECT_EQ(quorv_damage(nullptr, QUORV_WHOLE_FILE), nullptr);
    EXPECT_EQ(quorv_reader_code(nullptr), 0u);
    quorv_close(reader);
    quorv_close(nullptr);
}

TEST(MediaFiles, TracksWithoutPacketsAreOnlyListed) {
    AviStream subtitles = pcm_stream(8000, 1);
    subtitles.header.type = tag("txts");
    MediaBytes source(
        AviBuilder({video_stream(tag("MJPG")), subtitles}).frame(0, size_t{9}).build().flatten());
    MediaFile file(source.record());
    ASSERT_EQ(file.track_count(), 2u);
    EXPECT_EQ(quorv_select(file.reader(), 1, 1), QUORV_ERR_UNSUPPORTED);
    EXPECT_EQ(quorv_select(file.reader(), 1, 0), QUORV_OK);
    QuorvResult end = QUORV_OK;
    EXPECT_TRUE(file.read_track(1, &end).empty());
    EXPECT_EQ(end, QUORV_ERR_UNSUPPORTED);
    EXPECT_EQ(file.read(&end).size(), 1u);
    EXPECT_EQ(end, QUORV_END);
}

// What the source answers when it fails is the code.
TEST(MediaFiles, TellTheSourcesOwnCode) {
    MediaBytes source(sample_bytes());
    MediaFile file(source.record());
    source.faults.fail_at = source.reads + 1;
    source.faults.for_good = true;
    QuorvResult end = QUORV_OK;
    const size_t before = file.read(&end).size();
    EXPECT_EQ(end, QUORV_ERR_SOURCE);
    EXPECT_EQ(quorv_reader_code(file.reader()), static_cast<uint32_t>(kSourceAnswer));
    source.faults = {};
    const size_t behind = file.read(&end).size();
    EXPECT_EQ(end, QUORV_END);
    EXPECT_EQ(quorv_reader_code(file.reader()), uint32_t{SPLITER_ERR_END_OF_STREAM});
    MediaFile whole(source.record());
    EXPECT_EQ(before + behind, whole.read().size());
}

TEST(MediaFiles, EveryCodeHasAText) {
    std::set<std::string> texts;
    for (int result = QUORV_OK; result <= QUORV_ERR_CLOSED; ++result)
        texts.insert(quorv_strerror(static_cast<QuorvResult>(result)));
    EXPECT_EQ(texts.size(), size_t{QUORV_ERR_CLOSED} + 1);
    EXPECT_STREQ(quorv_strerror(static_cast<QuorvResult>(15)), "unknown result");
    const auto is_known = [](QuorvModule module, uint32_t code) {
        return strcmp(quorv_code_text(module, code), "unknown code") != 0;
    };
    for (uint32_t code = 0; code < 0x90000; ++code)
        ASSERT_EQ(is_known(QUORV_MODULE_SPLITTER, code), is_documented(code) || code == SPLITER_SOURCE_AT_END)
            << code;
    for (const int code : std::initializer_list<int>{
             0, MP3_ERR_NEED_INPUT, MP3_ERR_NO_INPUT, MP3_ERR_NO_MEMORY, MP3_ERR_SYNC, MP3_ERR_LAYER,
             MP3_ERR_BITRATE, MP3_ERR_SAMPLE_RATE, MP3_ERR_CRC, MP3_ERR_LAYER2_MODE, MP3_ERR_SIDE_INFO,
             MP3_ERR_BIG_VALUES, MP3_ERR_BLOCK_TYPE, MP3_ERR_SCFSI, MP3_ERR_RESERVOIR, MP3_ERR_HUFFMAN})
        EXPECT_TRUE(is_known(QUORV_MODULE_MP3, static_cast<uint32_t>(code))) << code;
    for (uint32_t code = ResultOk; code <= ResultNoMemory; ++code)
        EXPECT_TRUE(is_known(QUORV_MODULE_PLATFORM, code)) << code;
    EXPECT_FALSE(is_known(QuorvModule{}, 0));
    EXPECT_EQ(quorv_version(), std::to_string(QUORV_VERSION_MAJOR) + "." +
                                   std::to_string(QUORV_VERSION_MINOR) + "." +
                                   std::to_string(QUORV_VERSION_PATCH));
}

}  // namespace
}  // namespace quorv::test
