// Compares sound with its encoder's check sum; see the header.

#include "MusicCheck.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include "Tags.h"

namespace quorv::tool {

namespace {

constexpr size_t kBlockBytes = 0x10000;
// The frame with the header is no longer, and its name lies behind its side information.
constexpr uint64_t kLongestFrame = 2881;
constexpr size_t kLeastToName = 13, kMostToName = 38;
// Behind that name.
constexpr size_t kLength = 148, kMusicSum = 152, kHeaderSum = 154, kHeaderEnd = 156;

// CRC-16 with the polynomial 0x8005, each byte's lowest bit first.
class CheckSum {
public:
    void add(std::span<const uint8_t> bytes) {
        for (const uint8_t byte : bytes)
            sum_ = static_cast<uint16_t>(sum_ >> 8 ^ kTable[(sum_ ^ byte) & 0xFF]);
    }
    uint32_t value() const { return sum_; }

private:
    static constexpr std::array<uint16_t, 256> kTable = [] {
        std::array<uint16_t, 256> table = {};
        for (uint32_t i = 0; i < table.size(); ++i) {
            uint32_t rest = i;
            for (int bit = 0; bit < 8; ++bit)
                rest = rest >> 1 ^ ((rest & 1) != 0 ? 0xA001 : 0);
            table[i] = static_cast<uint16_t>(rest);
        }
        return table;
    }();

    uint16_t sum_ = 0;
};

// Big-endian.
uint32_t field(std::span<const uint8_t> bytes, size_t at, size_t count) {
    uint32_t value = 0;
    for (const uint8_t byte : bytes.subspan(at, count))
        value = value << 8 | byte;
    return value;
}

// The sum that is told of the bytes from the first frame of sound up to where the encoder has it end; nothing
// where no header that is whole tells it.
std::optional<uint32_t> stated_sum(FileSource &file, uint64_t sound, uint64_t end) {
    std::vector<uint8_t> bytes(static_cast<size_t>(std::min(sound, kLongestFrame)));
    const uint64_t begin = sound - bytes.size();
    if (file.read_at(begin, bytes) < bytes.size()) return std::nullopt;
    for (const std::string_view name : {"Info", "Xing"}) {
        const auto found = std::search(bytes.begin(), bytes.end(), name.begin(), name.end());
        const auto at = static_cast<size_t>(found - bytes.begin());
        if (bytes.size() - at < kHeaderEnd) continue;
        const uint64_t length = field(bytes, at + kLength, 4);
        // It counts from the header's own frame on.
        if (length > end || end - length < begin || end - length > begin + at) continue;
        const auto frame = static_cast<size_t>(end - length - begin);
        if (at - frame < kLeastToName || at - frame > kMostToName) continue;
        CheckSum header;
        header.add(std::span(bytes).subspan(frame, at + kHeaderSum - frame));
        if (header.value() == field(bytes, at + kHeaderSum, 2)) return field(bytes, at + kMusicSum, 2);
    }
    return std::nullopt;
}

uint32_t actual_sum(FileSource &file, uint64_t begin, uint64_t end) {
    CheckSum sum;
    std::vector<uint8_t> block(kBlockBytes);
    while (begin < end) {
        const auto wanted = static_cast<size_t>(std::min<uint64_t>(end - begin, block.size()));
        const size_t got = file.read_at(begin, std::span(block).first(wanted));
        if (got == 0) break;
        sum.add(std::span(block).first(got));
        begin += got;
    }
    return sum.value();
}

}  // namespace

std::string check_music(FileSource &file, MediaFile &media) {
    if (media.facts().container != QUORV_CONTAINER_MPEG_AUDIO) return {};
    const Track &track = media.tracks().front();
    const int64_t end = track.facts->stated_end;
    if (end <= 0 || static_cast<uint64_t>(end) > file.size()) return {};
    media.rewind();
    Frame frame;
    const bool has_sound = media.try_frame(track, frame) && frame.offset;
    const uint64_t begin = has_sound ? *frame.offset : 0;
    media.rewind();
    if (!has_sound) return {};
    const std::optional<uint32_t> stated = stated_sum(file, begin, static_cast<uint64_t>(end));
    if (!stated || actual_sum(file, begin, static_cast<uint64_t>(end)) == *stated) return {};
    if (!read_tags(file, QUORV_CONTAINER_MPEG_AUDIO).text("mp3gain_undo").empty()) return {};
    return "the encoder's check sum of all sound does not fit: bytes of it were changed";
}

}  // namespace quorv::tool
