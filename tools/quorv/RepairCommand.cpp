// quorv repair: a sound AVI file out of what can be read of a damaged one.

#include <algorithm>
#include <functional>
#include <memory>

#include "AviWriter.h"
#include "ByteWindow.h"
#include "Commands.h"
#include "MediaFile.h"
#include "OutputFile.h"
#include "Progress.h"
#include "Riff.h"
#include "Text.h"

namespace quorv::tool {

namespace {

struct RepairOptions {
    std::string file;
    std::string output;
    uint32_t segment_mb = 1024;
};

constexpr uint64_t kMegabyte = 0x100000;

// How far each of the three passes over the file has come.
class Passes {
public:
    explicit Passes(uint64_t file_bytes) : bytes_(file_bytes) {}

    void begin() { done_ += bytes_; }
    void update(uint64_t bytes) { progress_.update(done_ + std::min(bytes, bytes_), 3 * bytes_); }

private:
    const uint64_t bytes_;
    uint64_t done_ = 0;
    Progress progress_;
};

// What repair cannot write; said before anything is searched.
void check_container(const FileSource &file, const MediaFile &media) {
    const QuorvContainer container = media.facts().container;
    if (container == QUORV_CONTAINER_ASF)
        throw Failure(ExitCode::BadFile, "an ASF file: only AVI files can be repaired");
    if (container != QUORV_CONTAINER_AVI)
        throw Failure(ExitCode::BadFile, "an MPEG audio file: only AVI files can be repaired");
    const std::span<const uint8_t> head = file.head();
    if (head.size() >= kListHeaderBytes && load_le32(head.data() + 8) == riff_tag("AMV "))
        throw Failure(ExitCode::BadFile, "an AMV file: only AVI files can be repaired");
}

// Lets the frames themselves say where decoding can begin, or the index where they do not.
void mark_key_frames(FileSource &file, MediaFile &media, std::vector<AviChunk> &chunks, Passes &passes) {
    for (const Track &track : media.tracks()) {
        if (!track.is_video()) continue;
        for (Frame frame; media.read_frame(track, frame);) {
            const uint64_t offset = frame.offset.value_or(0);
            const auto behind =
                std::upper_bound(chunks.begin(), chunks.end(), offset,
                                 [](uint64_t at, const auto &chunk) { return at < chunk.position; });
            if (behind != chunks.begin()) std::prev(behind)->key = frame.key ? KeyFrame::Yes : KeyFrame::No;
            passes.update(file.progress());
        }
    }
}

// Tags that lay behind the media go to the front.
void add_information(FileSource &file, const AviChunkMap &map, AviHeaders &headers) {
    ByteWindow window(file);
    for (const ByteRange &list : map.information) {
        if (headers.information.empty())
            headers.information = window.copy(list.begin, static_cast<size_t>(list.size()));
    }
}

std::vector<AviIndexEntry> read_indexes(FileSource &file, const AviHeaders &headers, const AviChunkMap &map) {
    const std::vector<AviStreamHeader> &streams = headers.streams;
    std::vector<bool> is_video(streams.size());
    std::transform(streams.begin(), streams.end(), is_video.begin(), std::mem_fn(&AviStreamHeader::is_video));
    AviIndexReader reader(file, is_video, headers.media.begin - sizeof(uint32_t));
    for (const ByteRange &data : headers.indexes)
        reader.read_chunk_index(data);
    for (const ByteRange &data : map.indexes)
        reader.read_chunk_index(data);
    if (map.old_index) reader.read_old_index(*map.old_index);
    return reader.entries();
}

void list_left_out(const std::string &name, const QuorvDamage &damage, const RepairPlan &plan) {
    if (damage.cut_off != 0)
        complain(name, fmt::format("its end is missing: {}",
                                   counted(static_cast<uint64_t>(damage.bytes_missing), "byte")));
    for (const std::string &line : plan.left_out)
        complain(name, line);
}

void repair(const RepairOptions &options, FileSource &file) {
    MediaFile media(file);
    check_container(file, media);
    Passes passes(file.size());
    AviHeaders headers = read_avi_headers(file);
    AviChunkMap map = walk_avi_chunks(file, headers, [&](uint64_t bytes) { passes.update(bytes); });
    if (map.chunks.empty()) throw Failure(ExitCode::BadFile, "no frame can be found in it");
    add_information(file, map, headers);
    passes.begin();
    const std::vector<AviIndexEntry> index = read_indexes(file, headers, map);
    mark_key_frames(file, media, map.chunks, passes);
    const bool ends_in_gap = !map.gaps.empty() && map.gaps.back().end == file.size();
    const bool is_cut_off = ends_in_gap || media.damage_facts().cut_off != 0;
    const RepairPlan plan = plan_repair(headers, map, index, is_cut_off);

    passes.begin();
    OutputFile output(options.output, file);
    AviWriter writer(headers, plan, options.segment_mb * kMegabyte);
    writer.write(file, output.stream(), [&](uint64_t bytes) { passes.update(bytes); });
    output.finish();
    list_left_out(input_name(options.file), media.damage_facts(), plan);
}

}  // namespace

void add_repair_command(Session &session) {
    auto options = std::make_shared<RepairOptions>();
    CLI::App &command = add_command(
        session, "repair", "Write a sound AVI file out of what a damaged one still holds",
        "Examples:\n"
        "  quorv repair unfinished.avi -o whole.avi\n"
        "  quorv repair damaged.avi -o whole.avi 2>left-out.txt\n"
        "\n"
        "FILE stays as it is. Frames are copied byte for byte and keep their times: empty chunks stand for\n"
        "lost pictures, silence for lost PCM. What was left out is listed on standard error.",
        [&session, options] {
            return run_on_file(session.out, options->file, [&](FileSource &file) { repair(*options, file); });
        });
    add_input(command, options->file, "The damaged file, or - for standard input");
    add_output(command, options->output).required();
    add_number(command, "--segment", options->segment_mb, "MB",
               "Begin a further segment of an OpenDML file every so many megabytes, if it has more; at\n"
               "first 1024",
               {1, 1024});
}

}  // namespace quorv::tool
