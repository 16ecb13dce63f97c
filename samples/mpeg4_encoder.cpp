// Makes MPEG-4 Part 2 video of known properties: encodes generated pictures with libxvidcore and writes
// them as a raw elementary stream or, when the output's name ends in ".avi", as an AVI file.
//
// On standard output it reports what it wrote, one line a frame in the order of the file:
//     frame <number> size <bytes> key <0|1>
// and then how many pictures of each coding type the encoder made:
//     pictures I <n> P <n> B <n> S <n>

#include <xvid.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <vector>

#include "AviWriter.h"

namespace quorv::samples {
namespace {

struct Options {
    std::string output;
    int width = 176;
    int height = 144;
    int rate = 25;
    int scale = 1;
    int frames = 50;
    int key_interval = 25;
    int b_frames = 0;
    int quantiser = 4;
    int profile = XVID_PROFILE_AS_L4;
    int par_width = 0;
    int par_height = 0;
    bool packed = false;
    bool quarter_pel = false;
    bool global_motion = false;
    bool mpeg_quantiser = false;
    bool custom_matrices = false;
    bool interlaced = false;
    bool variable_rate = false;
    std::string fourcc = "XVID";
};

// A planar 4:2:0 picture.
struct Picture {
    std::vector<uint8_t> luma, blue, red;
};

struct EncodedFrame {
    std::vector<uint8_t> bytes;
    bool key = false;
};

// A texture that pans and slowly zooms (motion that a global motion model can follow) under a square that
// moves on its own.
Picture draw(const Options &options, int number) {
    const auto width = static_cast<size_t>(options.width), height = static_cast<size_t>(options.height);
    Picture picture{std::vector<uint8_t>(width * height), std::vector<uint8_t>(width / 2 * (height / 2), 110),
                    std::vector<uint8_t>(width / 2 * (height / 2), 140)};
    const double zoom = 1.0 + 0.004 * number, pan = 1.25 * number;
    const size_t left = static_cast<size_t>(number) * 3 % (width - 16),
                 top = static_cast<size_t>(number) * 2 % (height - 16);
    for (size_t y = 0; y < height; ++y) {
        for (size_t x = 0; x < width; ++x) {
            const double u = static_cast<double>(x) * zoom + pan, v = static_cast<double>(y) * zoom + pan / 2;
            const bool square = x - left < 16 && y - top < 16;
            const double level = 128 + 50 * std::sin(u / 9) * std::cos(v / 7) + 30 * std::sin((u + v) / 3.5);
            picture.luma[y * width + x] = square ? 220 : static_cast<uint8_t>(level);
        }
    }
    return picture;
}

// An 8x8 quantiser matrix that grows with the frequency: `first` in the corner, `step` more for every
// column and row. An intra matrix must begin with 8.
std::vector<unsigned char> make_matrix(int first, int step) {
    std::vector<unsigned char> matrix;
    for (int i = 0; i < 64; ++i)
        matrix.push_back(static_cast<unsigned char>(first + step * (i % 8 + i / 8)));
    return matrix;
}

class Encoder {
public:
    explicit Encoder(const Options &options)
        : options_(options), intra_(make_matrix(8, 3)), inter_(make_matrix(16, 2)) {}
    ~Encoder() {
        if (handle_ != nullptr) xvid_encore(handle_, XVID_ENC_DESTROY, nullptr, nullptr);
    }
    Encoder(const Encoder &) = delete;
    Encoder &operator=(const Encoder &) = delete;

    bool open() {
        xvid_gbl_init_t global{};
        global.version = XVID_VERSION;
        if (xvid_global(nullptr, XVID_GBL_INIT, &global, nullptr) < 0) return false;
        xvid_enc_create_t create{};
        create.version = XVID_VERSION;
        create.profile = options_.profile;
        create.width = options_.width;
        create.height = options_.height;
        create.fbase = options_.rate;
        create.fincr = options_.variable_rate ? 0 : options_.scale;
        create.max_key_interval = options_.key_interval;
        create.max_bframes = options_.b_frames;
        create.bquant_ratio = 150;
        create.bquant_offset = 100;
        create.global = options_.packed ? XVID_GLOBAL_PACKED : 0;
        if (xvid_encore(nullptr, XVID_ENC_CREATE, &create, nullptr) < 0) return false;
        handle_ = create.handle;
        return true;
    }

    // Encodes the picture, or with null asks for what the encoder still holds back. `*out` is left empty
    // while B pictures wait for the picture they refer to. False at the end of the stream.
    bool encode(const Picture *picture, EncodedFrame *out) {
        std::vector<uint8_t> buffer(
            static_cast<size_t>(options_.width) * static_cast<size_t>(options_.height) * 4 + 4096);
        xvid_enc_frame_t frame = describe(picture);
        frame.bitstream = buffer.data();
        frame.length = static_cast<int>(buffer.size());
        xvid_enc_stats_t stats{};
        stats.version = XVID_VERSION;
        const int size = xvid_encore(handle_, XVID_ENC_ENCODE, &frame, &stats);
        if (stats.type > XVID_TYPE_NOTHING) ++pictures_[stats.type];
        if (size < 0) return false;
        buffer.resize(static_cast<size_t>(size));
        *out = {std::move(buffer), (frame.out_flags & XVID_KEYFRAME) != 0};
        return true;
    }

    int pictures(int type) const {
        const auto found = pictures_.find(type);
        return found == pictures_.end() ? 0 : found->second;
    }

private:
    xvid_enc_frame_t describe(const Picture *picture) {
        xvid_enc_frame_t frame{};
        frame.version = XVID_VERSION;
        frame.vol_flags = (options_.mpeg_quantiser || options_.custom_matrices ? XVID_VOL_MPEGQUANT : 0) |
                          (options_.quarter_pel ? XVID_VOL_QUARTERPEL : 0) |
                          (options_.global_motion ? XVID_VOL_GMC : 0) |
                          (options_.interlaced ? XVID_VOL_INTERLACING : 0);
        if (options_.custom_matrices) {
            frame.quant_intra_matrix = intra_.data();
            frame.quant_inter_matrix = inter_.data();
        }
        if (options_.par_width != 0) {
            frame.par = XVID_PAR_EXT;
            frame.par_width = options_.par_width;
            frame.par_height = options_.par_height;
        } else {
            frame.par = XVID_PAR_11_VGA;
        }
        frame.fincr = options_.scale;
        frame.vop_flags = XVID_VOP_HALFPEL | XVID_VOP_INTER4V | XVID_VOP_HQACPRED |
                          (options_.interlaced ? XVID_VOP_TOPFIELDFIRST : 0);
        frame.motion = XVID_ME_ADVANCEDDIAMOND16 | XVID_ME_HALFPELREFINE16 | XVID_ME_HALFPELREFINE8 |
                       XVID_ME_EXTSEARCH16 | (options_.quarter_pel ? XVID_ME_QUARTERPELREFINE16 : 0) |
                       (options_.global_motion ? XVID_ME_GME_REFINE : 0);
        frame.type = XVID_TYPE_AUTO;
        frame.quant = options_.quantiser;
        frame.input.csp = XVID_CSP_NULL;
        if (picture != nullptr) {
            frame.input.csp = XVID_CSP_PLANAR;
            const std::vector<uint8_t> *planes[] = {&picture->luma, &picture->blue, &picture->red};
            for (int i = 0; i < 3; ++i) {
                frame.input.plane[i] = const_cast<uint8_t *>(planes[i]->data());
                frame.input.stride[i] = i == 0 ? options_.width : options_.width / 2;
            }
        }
        return frame;
    }

    Options options_;
    std::vector<unsigned char> intra_, inter_;
    void *handle_ = nullptr;
    std::map<int, int> pictures_;
};

// Where the encoded frames go: an AVI file or a raw stream.
class Output {
public:
    explicit Output(const Options &options) {
        const std::string &path = options.output;
        if (path.size() > 4 && path.compare(path.size() - 4, 4, ".avi") == 0) {
            avi_ = std::make_unique<AviWriter>(
                path,
                AviVideoFormat{static_cast<uint32_t>(options.width), static_cast<uint32_t>(options.height),
                               static_cast<uint32_t>(options.rate), static_cast<uint32_t>(options.scale),
                               options.fourcc});
        } else {
            raw_.open(path, std::ios::binary);
        }
    }

    void add(const EncodedFrame &frame) {
        std::printf("frame %d size %zu key %d\n", number_++, frame.bytes.size(), frame.key ? 1 : 0);
        if (avi_) {
            avi_->add_frame(frame.bytes, frame.key);
        } else {
            raw_.write(reinterpret_cast<const char *>(frame.bytes.data()),
                       static_cast<std::streamsize>(frame.bytes.size()));
        }
    }

    bool finish() {
        if (avi_) return avi_->finish();
        raw_.flush();
        return raw_.good();
    }

private:
    std::unique_ptr<AviWriter> avi_;
    std::ofstream raw_;
    int number_ = 0;
};

int run(const Options &options) {
    Encoder encoder(options);
    if (!encoder.open()) {
        std::fprintf(stderr, "the encoder refused these parameters\n");
        return 1;
    }
    Output output(options);
    EncodedFrame frame;
    for (int number = 0; number < options.frames; ++number) {
        const Picture picture = draw(options, number);
        if (!encoder.encode(&picture, &frame)) {
            std::fprintf(stderr, "picture %d could not be encoded\n", number);
            return 1;
        }
        if (!frame.bytes.empty()) output.add(frame);
    }
    while (encoder.encode(nullptr, &frame) && !frame.bytes.empty())
        output.add(frame);
    std::printf("pictures I %d P %d B %d S %d\n", encoder.pictures(XVID_TYPE_IVOP),
                encoder.pictures(XVID_TYPE_PVOP), encoder.pictures(XVID_TYPE_BVOP),
                encoder.pictures(XVID_TYPE_SVOP));
    if (!output.finish()) {
        std::fprintf(stderr, "%s: cannot be written\n", options.output.c_str());
        return 3;
    }
    return 0;
}

}  // namespace
}  // namespace quorv::samples

int main(int argc, char **argv) {
    quorv::samples::Options options;
    CLI::App app{"Encodes generated pictures as MPEG-4 Part 2 video"};
    app.add_option("output", options.output, "raw stream, or an AVI file when the name ends in .avi")
        ->required();
    app.add_option("--width", options.width, "pixels, even")->check(CLI::Range(32, 4096));
    app.add_option("--height", options.height, "pixels, even")->check(CLI::Range(32, 4096));
    app.add_option("--rate", options.rate, "frames a second are rate / scale")->check(CLI::Range(1, 65535));
    app.add_option("--scale", options.scale, "time increment of a frame")->check(CLI::Range(1, 65535));
    app.add_option("--frames", options.frames, "number of pictures")->check(CLI::Range(1, 100000));
    app.add_option("--key-interval", options.key_interval, "longest distance of key frames");
    app.add_option("--b-frames", options.b_frames, "most B pictures in a row")->check(CLI::Range(0, 20));
    app.add_option("--quantiser", options.quantiser, "1 (best) to 31")->check(CLI::Range(1, 31));
    app.add_option("--profile", options.profile, "profile and level byte; 0 writes none");
    app.add_option("--par-width", options.par_width, "pixel aspect ratio")->check(CLI::Range(1, 255));
    app.add_option("--par-height", options.par_height, "pixel aspect ratio")->check(CLI::Range(1, 255));
    app.add_option("--fourcc", options.fourcc, "compression tag of the AVI file");
    app.add_flag("--packed", options.packed, "put a B picture into the chunk of the picture before it");
    app.add_flag("--qpel", options.quarter_pel, "quarter-pel motion");
    app.add_flag("--gmc", options.global_motion, "global motion compensation");
    app.add_flag("--mpeg-quantiser", options.mpeg_quantiser, "MPEG quantisation, default matrices");
    app.add_flag("--custom-matrices", options.custom_matrices,
                 "MPEG quantisation; intra entries 8 + 3 * (column + row), inter 16 + 2 * (column + row)");
    app.add_flag("--interlaced", options.interlaced, "interlaced coding, top field first");
    app.add_flag("--variable-rate", options.variable_rate, "no fixed frame rate in the stream's header");
    CLI11_PARSE(app, argc, argv);
    return quorv::samples::run(options);
}
