// Names files of other formats; see the header.

#include "ForeignFormats.h"

#include <algorithm>
#include <cstddef>

namespace quorv::tool {

namespace {

using namespace std::string_view_literals;

struct Piece {
    size_t offset = 0;
    std::string_view bytes;
};
// What stands at fixed places; of several that fit, the first one counts.
constexpr struct {
    std::string_view name;
    Piece first, second = {};
} kFormats[] = {
    {"a WAV file", {0, "RIFF"}, {8, "WAVE"}},
    {"a WAV file", {0, "RF64"}, {8, "WAVE"}},
    {"a WebP picture", {0, "RIFF"}, {8, "WEBP"}},
    {"a MIDI file", {0, "RIFF"}, {8, "RMID"}},
    {"a Wave64 file", {0, "riff\x2E\x91\xCF\x11"sv}},
    {"an AIFF file", {0, "FORM"}, {8, "AIF"}},
    {"a QuickTime file", {4, "ftypqt  "}},
    {"a HEIF picture", {4, "ftyphei"}},
    {"an AVIF picture", {4, "ftypavif"}},
    {"a 3GP file", {4, "ftyp3g"}},
    {"an MP4 file", {4, "ftyp"}},
    {"a QuickTime file", {4, "moov"}},
    {"a QuickTime file", {4, "mdat"}},
    {"a QuickTime file", {4, "wide"}},
    {"an Ogg file", {0, "OggS"}},
    {"a FLAC file", {0, "fLaC"}},
    {"a Flash video file", {0, "FLV\1"}},
    {"a RealMedia file", {0, ".RMF"}},
    {"an AU file", {0, ".snd"}},
    {"a CAF file", {0, "caff"}},
    {"a MIDI file", {0, "MThd"}},
    {"a WavPack file", {0, "wvpk"}},
    {"a Monkey's Audio file", {0, "MAC "}},
    {"a Musepack file", {0, "MPCK"}},
    {"a Musepack file", {0, "MP+"}},
    {"a DSF file", {0, "DSD "}},
    {"an AMR file", {0, "#!AMR"}},
    {"an AC-3 stream", {0, "\x0B\x77"}},
    {"a DTS stream", {0, "\x7F\xFE\x80\x01"}},
    {"an MPEG program stream", {0, "\0\0\1\xBA"sv}},
    {"MPEG-1 or MPEG-2 video", {0, "\0\0\1\xB3"sv}},
    {"an MXF file", {0, "\x06\x0E\x2B\x34\x02\x05\x01\x01"}},
    {"a JPEG picture", {0, "\xFF\xD8\xFF"}},
    {"a PNG picture", {0, "\x89PNG\r\n"}},
    {"a GIF picture", {0, "GIF8"}},
    {"a TIFF picture", {0, "II*\0"sv}},
    {"a TIFF picture", {0, "MM\0*"sv}},
    {"a BMP picture", {0, "BM"}, {6, "\0\0\0\0"sv}},
    {"a PDF document", {0, "%PDF-"}},
    {"a ZIP archive", {0, "PK\3\4"}},
    {"a RAR archive", {0, "Rar!\x1A"}},
    {"a 7z archive", {0, "7z\xBC\xAF\x27"}},
    {"a gzip file", {0, "\x1F\x8B\x08"}},
    {"an xz file", {0, "\xFD\x37zXZ"}},
    {"a bzip2 file", {0, "BZh"}},
    {"a Zstandard file", {0, "\x28\xB5\x2F\xFD"}},
    {"a tar archive", {257, "ustar"}},
    {"a program", {0, "\x7F\x45LF"}},
};

bool has(std::span<const uint8_t> head, const Piece &piece) {
    return head.size() >= piece.offset && head.size() - piece.offset >= piece.bytes.size() &&
           std::equal(piece.bytes.begin(), piece.bytes.end(),
                      head.begin() + static_cast<std::ptrdiff_t>(piece.offset),
                      [](char a, uint8_t b) { return static_cast<uint8_t>(a) == b; });
}

// Matroska's header says somewhere in its first bytes which kind of it the file is.
std::string_view matroska_kind(std::span<const uint8_t> head) {
    constexpr size_t kHeaderBytes = 64;
    constexpr std::string_view kWebM = "webm";
    if (!has(head, {0, "\x1A\x45\xDF\xA3"})) return "";
    const std::span<const uint8_t> begin = head.first(std::min(head.size(), kHeaderBytes));
    const bool is_webm = std::search(begin.begin(), begin.end(), kWebM.begin(), kWebM.end()) != begin.end();
    return is_webm ? "a WebM file" : "a Matroska file";
}

// Packets of that many bytes, each of which begins with a mark behind as many others.
bool is_transport_stream(std::span<const uint8_t> head, size_t packet, size_t in_front) {
    constexpr uint8_t kMark = 0x47;
    constexpr size_t kPackets = 4;
    for (size_t i = 0; i < kPackets; ++i) {
        const size_t at = i * packet + in_front;
        if (at >= head.size() || head[at] != kMark) return false;
    }
    return true;
}

// Two frames in a row, each with its length.
bool is_adts(std::span<const uint8_t> head) {
    constexpr size_t kHeaderBytes = 7;
    size_t at = 0;
    for (int frame = 0; frame < 2; ++frame) {
        if (at >= head.size() || head.size() - at < kHeaderBytes) return false;
        const std::span<const uint8_t> bytes = head.subspan(at);
        const uint32_t length = (bytes[3] & 3u) << 11 | uint32_t{bytes[4]} << 3 | uint32_t{bytes[5]} >> 5;
        if (bytes[0] != 0xFF || (bytes[1] & 0xF6) != 0xF0 || length < kHeaderBytes) return false;
        at += length;
    }
    return true;
}

}  // namespace

std::string_view foreign_format(std::span<const uint8_t> head) {
    for (const auto &format : kFormats) {
        if (has(head, format.first) && has(head, format.second)) return format.name;
    }
    if (const std::string_view kind = matroska_kind(head); !kind.empty()) return kind;
    if (is_transport_stream(head, 188, 0) || is_transport_stream(head, 192, 4))
        return "an MPEG transport stream";
    return is_adts(head) ? "an AAC stream" : "";
}

}  // namespace quorv::tool
