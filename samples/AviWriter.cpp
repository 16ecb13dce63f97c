// The video-only AVI writer; see the header.

#include "AviWriter.h"

#include <algorithm>

namespace quorv::samples {

namespace {

constexpr uint32_t avih_size = 56;
constexpr uint32_t strh_size = 56;
constexpr uint32_t strf_size = 40;
constexpr uint32_t strl_size = 4 + 8 + strh_size + 8 + strf_size;
constexpr uint32_t hdrl_size = 4 + 8 + avih_size + 8 + strl_size;
constexpr uint32_t flag_has_index = 0x10;
constexpr uint32_t flag_key_frame = 0x10;

std::string le32(uint32_t value) {
    std::string bytes(4, '\0');
    for (unsigned i = 0; i < 4; ++i)
        bytes[i] = static_cast<char>(value >> (8 * i) & 0xFF);
    return bytes;
}

std::string le32_list(std::initializer_list<uint32_t> values) {
    std::string bytes;
    for (const uint32_t value : values)
        bytes += le32(value);
    return bytes;
}

}  // namespace

AviWriter::AviWriter(const std::string &path, AviVideoFormat format)
    : file_(path, std::ios::binary), format_(std::move(format)) {
    put_header();
}

// Written twice: as a placeholder of the right size, and again when the counts are known.
void AviWriter::put_header() {
    const uint32_t index_size = static_cast<uint32_t>(index_.size());
    const uint32_t riff_size = 4 + 8 + hdrl_size + 8 + movi_size_ + 8 + index_size;
    const auto us_per_frame = static_cast<uint32_t>(uint64_t{1000000} * format_.scale / format_.rate);
    file_ << "RIFF" << le32(riff_size) << "AVI "
          << "LIST" << le32(hdrl_size) << "hdrl";
    file_ << "avih" << le32(avih_size)
          << le32_list({us_per_frame, 0, 0, flag_has_index, frames_, 0, 1, largest_, format_.width,
                        format_.height, 0, 0, 0, 0});
    file_ << "LIST" << le32(strl_size) << "strl";
    file_ << "strh" << le32(strh_size) << "vids" << format_.fourcc
          << le32_list({0, 0, 0, format_.scale, format_.rate, 0, frames_, largest_, 0xFFFFFFFF, 0, 0,
                        format_.width | format_.height << 16});
    file_ << "strf" << le32(strf_size) << le32_list({strf_size, format_.width, format_.height, 1 | 24 << 16})
          << format_.fourcc << le32_list({format_.width * format_.height * 3, 0, 0, 0, 0});
    file_ << "LIST" << le32(movi_size_) << "movi";
}

void AviWriter::add_frame(const std::vector<uint8_t> &frame, bool key) {
    const auto size = static_cast<uint32_t>(frame.size());
    index_ += "00dc" + le32(key ? flag_key_frame : 0) + le32(movi_size_) + le32(size);
    file_ << "00dc" << le32(size) << std::string(frame.begin(), frame.end());
    if (size % 2 != 0) file_.put('\0');
    movi_size_ += 8 + size + size % 2;
    largest_ = std::max(largest_, size);
    ++frames_;
}

bool AviWriter::finish() {
    file_ << "idx1" << le32(static_cast<uint32_t>(index_.size())) << index_;
    file_.seekp(0);
    put_header();
    file_.flush();
    return file_.good();
}

}  // namespace quorv::samples
