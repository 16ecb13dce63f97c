// quorv decode: the sound of an MPEG audio file or track as a WAV file.

#include <limits>
#include <memory>
#include <optional>

#include "Commands.h"
#include "MediaFile.h"
#include "OutputFile.h"
#include "PcmReader.h"
#include "Problems.h"
#include "Progress.h"
#include "Text.h"

namespace quorv::tool {

namespace {

struct DecodeOptions {
    std::string file;
    std::string output;
    uint32_t track = 0;  // 0: the first that can be decoded
    PcmFormat format;    // zeros: as in the file
};

// Bytes of samples to a byte of MPEG audio: the smallest frames have 24 bytes (free format, 8 kbit/s at
// 48 kHz) and give 1152 samples of two channels.
constexpr uint64_t kMaxExpansion = 1152 * 4 / 24;

constexpr TrackKind kMpegAudio = {can_decode, "not MPEG audio", "no track is MPEG audio"};

class Decoding {
public:
    Decoding(const DecodeOptions &options, FileSource &file)
        : options_(options), file_(file), output_(options.output, file) {
        open();
    }
    void run();

private:
    void open();
    uint64_t decode(bool write);
    void write_to_file();
    void write_to_pipe();

    const DecodeOptions &options_;
    FileSource &file_;
    OutputFile output_;
    Progress progress_;
    std::unique_ptr<MediaFile> media_;
    std::optional<PcmReader> reader_;
    uint32_t passes_ = 1, pass_ = 0;
    Problems problems_;   // where the file is damaged
    uint64_t bytes_ = 0;  // of all samples
};

// Opens the file, once for each pass.
void Decoding::open() {
    reader_.reset();
    media_ = std::make_unique<MediaFile>(file_);
    const Track track = find_tracks(*media_, options_.track, kMpegAudio).front();
    reader_.emplace(*media_, track, options_.format);
}

// Returns the bytes of all samples up to the end or to where the file is damaged.
uint64_t Decoding::decode(bool write) {
    uint64_t count = 0;
    problems_ = {};
    problems_.note([&] {
        for (std::span<const uint8_t> samples; !(samples = reader_->read()).empty();
             count += samples.size()) {
            if (write) output_.stream().write(samples);
            progress_.update(pass_ * file_.size() + file_.progress(), passes_ * file_.size());
        }
    });
    return count;
}

// The sizes are filled in when they are known. Room for large ones is left only where they are possible.
void Decoding::write_to_file() {
    const bool room = file_.size() > std::numeric_limits<uint32_t>::max() / kMaxExpansion;
    output_.stream().write(wav_header(reader_->format(), 0, room));
    bytes_ = decode(true);
    output_.rewrite_start(wav_header(reader_->format(), bytes_, room));
}

// The sizes come first here, so the sound is decoded once to learn them.
void Decoding::write_to_pipe() {
    passes_ = 2;
    bytes_ = decode(false);
    if (bytes_ == 0) return;
    open();
    pass_ = 1;
    output_.stream().write(wav_header(reader_->format(), bytes_, false));
    decode(true);
}

void Decoding::run() {
    if (output_.is_rewritable()) {
        write_to_file();
    } else {
        write_to_pipe();
    }
    problems_.add_first(media_->damage());
    if (bytes_ == 0) {
        problems_.add("no frame of it can be decoded");
        problems_.raise();
    }
    const PcmFormat &format = reader_->format();
    const uint64_t seconds = bytes_ / 2 / format.channels / format.sample_rate;
    finish_output(output_, problems_, counted(seconds, "second"), "decoded");
}

}  // namespace

void add_decode_command(Session &session) {
    auto options = std::make_shared<DecodeOptions>();
    CLI::App &command = add_command(
        session, "decode", "Decode MPEG audio (MP3) to a WAV file",
        "Examples:\n"
        "  quorv decode song.mp3 -o song.wav\n"
        "  quorv decode holiday.avi --rate 22050 --channels 1 -o - | player -\n"
        "\n"
        "Samples have 16 bits. The sound that goes to a pipe is decoded twice, as its length comes first.\n"
        "An existing OUT is replaced once everything is written, and never by what is left of a\n"
        "damaged file.",
        [&session, options] {
            return run_on_file(session.out, options->file,
                               [&](FileSource &file) { Decoding(*options, file).run(); });
        });
    add_input(command, options->file, "An MP3 file or one with such a track, or - for standard input");
    add_output(command, options->output);
    add_track(command, options->track, "The track, counted from 1; else the first that is MPEG audio");
    add_number(command, "--rate", options->format.sample_rate, "HZ",
               "Lower the sample rate to this, in hertz");
    add_number(command, "--channels", options->format.channels, "1|2", "Mix to one channel or write two",
               {1, 2});
}

}  // namespace quorv::tool
