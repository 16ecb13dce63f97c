// What the header of an ASF file tells beside its media; see the header.

#include "AsfHeader.h"

#include <fmt/format.h>
#include <taglib/tstring.h>

#include <algorithm>
#include <chrono>
#include <string_view>

#include "ByteWindow.h"
#include "Riff.h"

namespace quorv::tool {

namespace {

using namespace std::string_view_literals;

// An object's identifier and its size, which counts them in.
constexpr uint64_t kIdentifierBytes = 16, kObjectBytes = 24;
// Behind those: what stands in front of the objects inside of others.
constexpr uint64_t kHeaderFields = 6, kExtensionFields = 22;
// No object that is looked at needs more, and no header has more objects.
constexpr uint64_t kLongestObject = 0x10000;
constexpr int kMostObjects = 10000;

constexpr std::string_view kFileProperties =
    "\xA1\xDC\xAB\x8C\x47\xA9\xCF\x11\x8E\xE4\x00\xC0\x0C\x20\x53\x65"sv;
constexpr std::string_view kHeaderExtension =
    "\xB5\x03\xBF\x5F\x2E\xA9\xCF\x11\x8E\xE3\x00\xC0\x0C\x20\x53\x65"sv;
constexpr std::string_view kLanguageList =
    "\xA9\x46\x43\x7C\xE0\xEF\xFC\x4B\xB2\x29\x39\x3E\xDE\x41\x5C\x85"sv;
constexpr std::string_view kStreamExtension =
    "\xCB\xA5\xE6\x14\x72\xC6\x32\x43\x83\x99\xA9\x69\x52\x06\x5B\x5A"sv;
constexpr std::string_view kCodecList = "\x40\x52\xD1\x86\x1D\x31\xD0\x11\xA3\xA4\x00\xA0\xC9\x03\x48\xF6"sv;

// Offsets of fields in objects.
constexpr size_t kCreated = 48, kFileFlags = 88, kStreamNumber = 72, kStreamLanguage = 74;
constexpr size_t kLanguages = 26, kCodecs = 44;
constexpr uint32_t kIsLive = 1, kVideoCodec = 1;

uint64_t field_le64(const std::string &record, size_t offset) {
    return field_le32(record, offset) | uint64_t{field_le32(record, offset + 4)} << 32;
}

// UTF-16 up to the first zero.
std::string utf8(const std::string &bytes) {
    const TagLib::String text(
        TagLib::ByteVector(bytes.data(), static_cast<unsigned>(bytes.size() & ~size_t{1})),
        TagLib::String::UTF16LE);
    return TagLib::String(text.toCWString()).to8Bit(true);
}

// The time is that of files on the system where the format was made: in 100 ns, since 1601.
std::string date_text(uint64_t time) {
    using namespace std::chrono;
    constexpr uint64_t kTicks = 10000000, kLastSecond = uint64_t{8000} * 366 * 86400;
    constexpr sys_days kBegin = year{1601} / 1 / 1;
    if (time == 0 || time / kTicks > kLastSecond) return {};
    const auto since = seconds(static_cast<int64_t>(time / kTicks));
    const sys_days day = kBegin + floor<days>(since);
    const year_month_day date(day);
    const hh_mm_ss clock(since - floor<days>(since));
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02} UTC", static_cast<int>(date.year()),
                       static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                       clock.hours().count(), clock.minutes().count(), clock.seconds().count());
}

class ObjectWalk {
public:
    ObjectWalk(FileSource &file, Tags *tags) : bytes_(file), tags_(tags) {}

    void walk(uint64_t begin, uint64_t end, bool outermost) {
        for (uint64_t at = begin, size = 0; objects_left_ > 0 && end - at >= kObjectBytes; at += size) {
            --objects_left_;
            const std::span<const uint8_t> view = bytes_.view(at, kObjectBytes);
            const std::string head(view.begin(), view.end());
            size = field_le64(head, kIdentifierBytes);
            if (size < kObjectBytes || size > end - at) return;
            const std::string identifier = head.substr(0, kIdentifierBytes);
            if (identifier != kHeaderExtension) {
                take(identifier, at, size);
            } else if (outermost && size >= kObjectBytes + kExtensionFields) {
                walk(at + kObjectBytes + kExtensionFields, at + size, false);
            }
        }
    }
    void finish() {
        for (const auto &[number, language] : language_of_) {
            if (language < languages_.size()) tags_->note(number).language = languages_[language];
        }
    }

private:
    void take(const std::string &identifier, uint64_t at, uint64_t size) {
        const auto record = [&] {
            return bytes_.copy(at, static_cast<size_t>(std::min(size, kLongestObject)));
        };
        if (identifier == kFileProperties) take_file(record());
        if (identifier == kLanguageList) take_languages(record());
        if (identifier == kStreamExtension) take_stream(record());
        if (identifier == kCodecList) take_codecs(record());
    }
    // Who broadcasts has no date to tell.
    void take_file(const std::string &record) {
        if ((field_le32(record, kFileFlags) & kIsLive) == 0)
            tags_->add("encoded", date_text(field_le64(record, kCreated)));
    }
    // There is one list; a file with thousands of them has no more memory than for one.
    void take_languages(const std::string &record) {
        if (!languages_.empty()) return;
        for (size_t at = kLanguages; at < record.size();) {
            const size_t size = static_cast<uint8_t>(record[at]);
            languages_.push_back(utf8(record.substr(at + 1, size)));
            at += 1 + size;
        }
    }
    // Tracks have the stream's number plus 1.
    void take_stream(const std::string &record) {
        language_of_.emplace_back(field_le16(record, kStreamNumber) + 1, field_le16(record, kStreamLanguage));
    }
    // Of each codec its kind, a name and a description, whose lengths are told in characters, and data.
    void take_codecs(const std::string &record) {
        for (size_t at = kCodecs; at < record.size();) {
            const uint32_t kind = field_le16(record, at);
            at += 2;
            const std::string name = text_at(record, &at), settings = text_at(record, &at);
            at += 2 + size_t{field_le16(record, at)};
            if (kind != kVideoCodec) continue;
            tags_->add("video codec", name);
            tags_->add("video codec settings", settings);
        }
    }
    static std::string text_at(const std::string &record, size_t *at) {
        const size_t size = size_t{2} * field_le16(record, *at), begin = *at + 2;
        *at = begin + size;
        return begin < record.size() ? utf8(record.substr(begin, size)) : "";
    }

    ByteWindow bytes_;
    Tags *tags_;
    int objects_left_ = kMostObjects;
    std::vector<std::string> languages_;
    std::vector<std::pair<uint32_t, size_t>> language_of_;  // of tracks by their numbers
};

}  // namespace

void read_asf_header(FileSource &file, Tags *tags) {
    const std::string head = ByteWindow(file).copy(0, kObjectBytes + kHeaderFields);
    const uint64_t size = std::min(field_le64(head, kIdentifierBytes), file.size());
    if (size < kObjectBytes + kHeaderFields) return;
    ObjectWalk walk(file, tags);
    walk.walk(kObjectBytes + kHeaderFields, size, true);
    walk.finish();
}

}  // namespace quorv::tool
