// The headers of an AVI file as they stand in it; see the header.

#include "AviHeaders.h"

#include <algorithm>

#include "ByteWindow.h"
#include "Failure.h"

namespace quorv::tool {

namespace {

// More than any header chunk has; what claims more is damaged, or media.
constexpr uint32_t kMaxHeaderChunk = 1000000;
// What is kept of one kind; a header with more is none.
constexpr size_t kMaxKept = size_t{16} * kMaxHeaderChunk;

enum HeaderField : size_t { kScale = 20, kRate = 24, kLength = 32, kUnitBytes = 44 };
enum FormatField : size_t { kFormatTag = 0, kBlockAlign = 12, kSampleBits = 14, kSubFormat = 24 };
enum WaveTag : uint32_t { kPcm = 1, kFloat = 3, kALaw = 6, kMuLaw = 7, kExtensible = 0xFFFE };

class HeaderWalk {
public:
    HeaderWalk(FileSource &file, AviHeaders &headers)
        : window_(file), size_(file.size()), headers_(headers) {}

    void run();

private:
    struct Chunk {
        uint32_t tag;
        uint64_t begin;       // of its header
        ByteRange data = {};  // as far as its size says
    };

    bool read(uint64_t position, Chunk &chunk);
    uint64_t enter_list(const Chunk &list);
    void take(const Chunk &chunk);
    void take_stream(const std::string &header);
    void keep(const Chunk &chunk);
    std::string body(const Chunk &chunk);
    bool search_media(uint64_t position);
    void set_media(uint64_t list);

    ByteWindow window_;
    const uint64_t size_;
    AviHeaders &headers_;
    uint64_t header_list_end_ = 0, stream_list_end_ = 0;
    bool in_stream_ = false;  // the last stream header is one that is kept
    bool found_media_ = false;
};

bool HeaderWalk::read(uint64_t position, Chunk &chunk) {
    const std::span<const uint8_t> header = window_.view(position, kChunkHeaderBytes);
    if (header.empty()) return false;
    const uint64_t data = position + kChunkHeaderBytes;
    chunk = {load_le32(header.data()), position, {data, data + load_le32(header.data() + 4)}};
    return true;
}

void HeaderWalk::run() {
    uint64_t position = kListHeaderBytes;
    for (Chunk chunk = {}; !found_media_ && read(position, chunk);) {
        if (chunk.data.size() > kMaxHeaderChunk && chunk.tag != riff_tag("LIST")) break;
        if (chunk.tag == riff_tag("LIST")) {
            position = enter_list(chunk);
        } else {
            take(chunk);
            position = padded(chunk.data.end);
        }
    }
    if (headers_.streams.empty())
        throw Failure(ExitCode::BadFile, "its header names no streams: there is nothing to build on");
    // A header chunk whose size is damaged leads astray.
    if (!found_media_ && !search_media(kListHeaderBytes))
        throw Failure(ExitCode::BadFile, "it has no media data, only a header");
}

// Returns where the walk goes on.
uint64_t HeaderWalk::enter_list(const Chunk &list) {
    const std::span<const uint8_t> type = window_.view(list.data.begin, 4);
    const uint32_t tag = type.empty() ? 0 : load_le32(type.data());
    const uint64_t inside = list.begin + kListHeaderBytes;
    if (tag == riff_tag("movi")) {
        set_media(list.begin);
        return inside;
    }
    if (tag == riff_tag("hdrl")) header_list_end_ = list.data.end;
    if (tag == riff_tag("strl")) stream_list_end_ = list.data.end;
    if (tag != riff_tag("INFO") || list.data.size() > kMaxHeaderChunk) return inside;
    keep(list);
    return padded(list.data.end);
}

void HeaderWalk::set_media(uint64_t list) {
    const uint64_t size = load_le32(window_.view(list, kListHeaderBytes).data() + 4);
    const uint64_t end = list + kChunkHeaderBytes + size;
    // Unfinished files have no size there, others one that cannot be.
    headers_.media = {list + kListHeaderBytes, size < 4 ? size_ : std::min(end, size_)};
    found_media_ = true;
}

bool HeaderWalk::search_media(uint64_t position) {
    for (; position < size_; ++position) {
        const std::span<const uint8_t> near = window_.rest(position);
        position += static_cast<uint64_t>(std::find(near.begin(), near.end(), 'm') - near.begin());
        const std::span<const uint8_t> type = window_.view(position, 4);
        if (type.empty() || load_le32(type.data()) != riff_tag("movi")) continue;
        set_media(position + 4 - kListHeaderBytes);
        return true;
    }
    return false;
}

void HeaderWalk::take(const Chunk &chunk) {
    AviStreamHeader *stream = in_stream_ ? &headers_.streams.back() : nullptr;
    switch (chunk.tag) {
        case riff_tag("avih"):
            headers_.main = body(chunk);
            break;
        case riff_tag("strh"):
            take_stream(body(chunk));
            break;
        case riff_tag("strf"):
            if (stream != nullptr) stream->format = body(chunk);
            break;
        case riff_tag("indx"):
            headers_.indexes.push_back({chunk.data.begin, std::min(chunk.data.end, size_)});
            break;
        case riff_tag("JUNK"):
        case riff_tag("dmlh"):
        case 0:
            break;
        default:
            keep(chunk);
    }
}

void HeaderWalk::take_stream(const std::string &header) {
    // Padding streams have no media, and chunk names do not count them.
    in_stream_ = field_le32(header, 0) != riff_tag("pads") && headers_.streams.size() < kMaxStreams;
    if (in_stream_) headers_.streams.push_back({header, {}, {}});
}

void HeaderWalk::keep(const Chunk &chunk) {
    const bool of_stream = in_stream_ && chunk.data.end <= stream_list_end_;
    std::string &place = of_stream                            ? headers_.streams.back().others
                         : chunk.data.end <= header_list_end_ ? headers_.others
                                                              : headers_.information;
    if (place.size() < kMaxKept) place += riff_chunk(chunk.tag, body(chunk));
}

// No further than its stream's list.
std::string HeaderWalk::body(const Chunk &chunk) {
    const bool is_cut = chunk.data.begin < stream_list_end_ && chunk.data.end > stream_list_end_;
    const uint64_t end = is_cut ? stream_list_end_ : chunk.data.end;
    return window_.copy(chunk.data.begin, static_cast<size_t>(end - chunk.data.begin));
}

}  // namespace

bool AviStreamHeader::is_video() const {
    return field_le32(header, 0) == riff_tag("vids");
}

bool AviStreamHeader::is_audio() const {
    return field_le32(header, 0) == riff_tag("auds");
}

uint32_t AviStreamHeader::scale() const {
    return std::max(field_le32(header, kScale), 1u);
}

uint32_t AviStreamHeader::rate() const {
    const uint32_t stated = field_le32(header, kRate);
    return stated != 0 ? stated : 25;
}

uint32_t AviStreamHeader::length() const {
    return field_le32(header, kLength);
}

uint32_t AviStreamHeader::block_align() const {
    return is_audio() ? field_le16(format, kBlockAlign) : 0;
}

uint32_t AviStreamHeader::unit_bytes() const {
    const uint32_t stated = is_audio() ? field_le32(header, kUnitBytes) : 0;
    return stated != 0 && block_align() != 0 ? block_align() : stated;
}

std::optional<uint8_t> AviStreamHeader::silence() const {
    if (unit_bytes() == 0) return std::nullopt;
    const uint32_t stated = field_le16(format, kFormatTag);
    switch (stated == kExtensible ? field_le16(format, kSubFormat) : stated) {
        case kPcm:
            return field_le16(format, kSampleBits) == 8 ? 0x80 : 0;
        case kFloat:
            return 0;
        case kALaw:
            return 0xD5;
        case kMuLaw:
            return 0xFF;
        default:
            return std::nullopt;
    }
}

uint64_t AviStreamHeader::milliseconds(uint64_t units) const {
    return static_cast<uint64_t>(static_cast<double>(units) * scale() * 1000 / rate());
}

uint64_t AviStreamHeader::units_of(uint64_t bytes) const {
    if (const uint32_t unit = unit_bytes(); unit != 0) return bytes / unit;
    const uint32_t block = block_align();
    return block != 0 ? (bytes + block - 1) / block : 1;
}

AviHeaders read_avi_headers(FileSource &file) {
    AviHeaders headers;
    HeaderWalk(file, headers).run();
    return headers;
}

}  // namespace quorv::tool
