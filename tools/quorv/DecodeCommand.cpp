// quorv decode: the sound of MPEG audio files or tracks as WAV files.

#include <algorithm>
#include <filesystem>
#include <memory>

#include "Commands.h"
#include "OutputFile.h"
#include "PcmReader.h"
#include "Problems.h"
#include "Progress.h"
#include "SoundInput.h"
#include "Text.h"

namespace quorv::tool {

namespace {

struct DecodeOptions {
    std::vector<std::string> files;
    std::string output;
    uint32_t track = 0;  // 0: the first that can be decoded
    PcmFormat format;    // zeros: as in the file
    bool keeps_padding = false;

    uint32_t flags() const { return keeps_padding ? QUORV_DECODER_KEEP_PADDING : 0; }
};

// No sound of a lower rate is of any use.
constexpr uint32_t kLeastRate = 1000;
constexpr uint64_t kSampleBytes = sizeof(int16_t);
// Headers of files below have no room for larger sizes; those above may come to 4 GB.
constexpr uint64_t kSurelyPlainBytes = 0xF0000000;
// Encoders count a frame too many, or too few.
constexpr uint64_t kTolerance = uint64_t{2} * 1152;

class Decoding {
public:
    Decoding(const DecodeOptions &options, const std::string &output, FileSource &file)
        : options_(options), output_(output, file, !options.output.empty()), input_(file, options.track) {}
    void run();

private:
    PcmFormat choose_format();
    void write(PcmReader &reader);
    void write_samples(PcmReader &reader);
    void check_length(const PcmFormat &format);

    const DecodeOptions &options_;
    OutputFile output_;
    SoundInput input_;
    SoundFacts facts_;     // of a file what its frames say, of a stream its first one
    Problems problems_;    // where the file is damaged
    uint64_t frames_ = 0;  // written
};

// A stream tells its rate with its first samples, and may have a second channel later.
PcmFormat Decoding::choose_format() {
    PcmFormat format = options_.format;
    if (input_.is_stream()) {
        facts_ = input_.stated();
        if (format.channels == 0) format.channels = 2;
        return format;
    }
    Progress progress;
    facts_ = input_.survey(options_.flags(), progress);
    if (format.sample_rate == 0) format.sample_rate = facts_.format.sample_rate;
    if (format.channels == 0) format.channels = input_.is_piped() ? 2 : facts_.format.channels;
    return format;
}

void Decoding::write(PcmReader &reader) {
    const PcmFormat &format = reader.format();
    const bool is_known = !input_.is_stream() && facts_.format.sample_rate != 0;
    const uint32_t rate = is_known ? facts_.format.sample_rate : reader.first_rate();
    if (format.sample_rate > rate)
        throw Failure(ExitCode::Usage,
                      fmt::format("the rate can only be lowered: the sound has {} Hz", rate));
    const uint64_t block = format.channels * kSampleBytes;
    const uint64_t expected = facts_.frames * format.sample_rate / rate;
    const bool room = input_.is_stream() || expected > kSurelyPlainBytes / block;
    output_.stream().write(output_.is_rewritable() ? wav_header(format, 0, room) : wav_stream_header(format));
    problems_.note([&] { write_samples(reader); });
    if (output_.is_rewritable()) output_.rewrite_start(wav_header(format, frames_ * block, room));
    if (input_.is_stream()) check_length(format);
}

void Decoding::write_samples(PcmReader &reader) {
    Progress progress;
    // Whoever listens to a stream waits for every sample.
    const bool at_once = input_.is_stream() && !output_.is_rewritable();
    for (std::span<const int16_t> samples; !(samples = reader.read()).empty();) {
        output_.stream().write(pcm_bytes(samples));
        if (at_once) output_.stream().flush();
        frames_ += samples.size() / reader.format().channels;
        progress.update(input_.position(), input_.size());
    }
}

// Whether as much came as the stream's encoder says. Of a file, the reader tells.
void Decoding::check_length(const PcmFormat &format) {
    const uint64_t rate = facts_.format.sample_rate;
    if (rate == 0 || frames_ * rate / format.sample_rate + kTolerance >= facts_.frames) return;
    const auto length = [](uint64_t frames, uint64_t hertz) { return time_text(frames * 1000 / hertz); };
    problems_.add(fmt::format("truncated: its header says {}, {} came", length(facts_.frames, rate),
                              length(frames_, format.sample_rate)));
}

void Decoding::run() {
    const PcmFormat format = choose_format();
    SoundDecoder decoder(input_, options_.flags());
    uint64_t seconds = 0;
    problems_.note([&] {
        PcmReader reader(decoder, format);
        write(reader);
        seconds = frames_ / reader.format().sample_rate;
    });
    problems_.add_first(input_.damage());
    problems_.add(decoder.damage());
    if (problems_.empty()) problems_.add(input_.check_music());
    if (frames_ == 0) problems_.raise();
    finish_output(output_, problems_, counted(seconds, "second"), "decoded");
}

// Beside the input, which is left as it is.
std::string output_for(const std::string &input) {
    return input == "-" ? input : std::filesystem::path(input).replace_extension(".wav").string();
}

ExitCode run(const DecodeOptions &options, OutputStream &out) {
    if (options.files.size() > 1 && !options.output.empty()) {
        complain("-o", "is for one file; without it, each goes to a file of its own");
        return ExitCode::Usage;
    }
    ExitCode worst = ExitCode::Ok;
    for (const std::string &name : options.files) {
        const std::string output = options.output.empty() ? output_for(name) : options.output;
        const auto work = [&](FileSource &file) { Decoding(options, output, file).run(); };
        worst = std::max(worst, run_on_file(out, name, work));
    }
    return worst;
}

}  // namespace

void add_decode_command(Session &session) {
    auto options = std::make_shared<DecodeOptions>();
    CLI::App &command = add_command(
        session, "decode", "Decode MPEG audio (MP3) to WAV files",
        "Examples:\n"
        "  quorv decode *.mp3\n"
        "  quorv decode song.mp3 -o other.wav\n"
        "  quorv decode holiday.avi --rate 22050 --channels 1 -o - | player -\n"
        "\n"
        "Samples have 16 bits. What encoders add in front of the sound and behind it is left out where the\n"
        "file tells how much that is. Without -o, song.mp3 becomes song.wav, and what is there already is\n"
        "never replaced; with -o it is, once everything is written, but not by what is left of a damaged\n"
        "file. In a pipe, sound is written as it comes, and the sizes in the header say that they are "
        "unknown.",
        [&session, options] { return run(*options, session.out); });
    command
        .add_option("FILE", options->files, "MP3 files or ones with such a track, or - for standard input")
        ->type_name("")
        ->required();
    add_output(command, options->output, "The file to write, or - for standard output; else NAME.wav");
    add_track(command, options->track, "The track, counted from 1; else the first that is MPEG audio");
    add_number(command, "--rate", options->format.sample_rate, "HZ",
               "Lower the sample rate to this, in hertz", {kLeastRate});
    add_number(command, "--channels", options->format.channels, "1|2", "Mix to one channel or write two",
               {1, 2});
    command.add_flag("--no-trim", options->keeps_padding, "Keep what the encoder added to the sound");
}

}  // namespace quorv::tool
