// Start code search over 256 MB of encoded H.264: the library's functions against a plain byte loop, memmem,
// memchr and simply reading every byte, all in one run.

#include <benchmark/benchmark.h>
#include <quorv/video_header.h>
#include <stdio.h>
#include <string.h>

#include <map>
#include <string>
#include <vector>

#include "videoheader/StartCode.h"

namespace {

constexpr size_t kBytes = size_t{256} << 20;
constexpr char kBaseline[] = "byte_loop";

struct Stream {
    std::string name;
    std::vector<uint8_t> data;
    std::vector<uint32_t> offsets;  // room for every start code
};

// Encodes noise until the buffer is full; one slice a picture makes few start codes, small slices many.
std::vector<uint8_t> encode(const std::string &options) {
    const std::string command =
        "exec gst-launch-1.0 -q videotestsrc pattern=snow ! "
        "video/x-raw,format=I420,width=1280,height=720,framerate=25/1 ! "
        "x264enc speed-preset=ultrafast bitrate=60000 key-int-max=50 " +
        options + " ! video/x-h264,profile=main,stream-format=byte-stream ! fdsink fd=1 2>/dev/null";
    std::vector<uint8_t> data(kBytes);
    FILE *pipe = popen(command.c_str(), "r");
    const size_t count = pipe == nullptr ? 0 : fread(data.data(), 1, data.size(), pipe);
    if (pipe != nullptr) pclose(pipe);
    data.resize(count);
    return data;
}

size_t byte_loop(const std::vector<uint8_t> &data) {
    size_t count = 0;
    uint32_t window = 0xFFFFFF;
    for (const uint8_t byte : data) {
        window = (window << 8 | byte) & 0xFFFFFF;
        count += window == 1;
    }
    return count;
}

size_t by_memmem(const std::vector<uint8_t> &data) {
    constexpr uint8_t prefix[] = {0, 0, 1};
    const uint8_t *p = data.data(), *const end = p + data.size();
    size_t count = 0;
    for (;; ++count) {
        p = static_cast<const uint8_t *>(memmem(p, static_cast<size_t>(end - p), prefix, sizeof prefix));
        if (p == nullptr) return count;
        p += sizeof prefix;
    }
}

template <const uint8_t *(*search)(const uint8_t *, const uint8_t *)>
size_t by_search(const std::vector<uint8_t> &data) {
    const uint8_t *p = data.data(), *const end = p + data.size();
    size_t count = 0;
    for (; (p = search(p, end)) != end; p += quorv::kStartCodePrefixBytes)
        ++count;
    return count;
}

size_t reading(const std::vector<uint8_t> &data) {
    uint64_t sum = 0;
    for (size_t at = 0; at + sizeof sum <= data.size(); at += sizeof sum) {
        uint64_t word;
        memcpy(&word, &data[at], sizeof word);
        sum += word;
    }
    benchmark::DoNotOptimize(sum);
    return 0;
}

using Search = size_t (*)(const std::vector<uint8_t> &);

void run_search(benchmark::State &state, const Stream *stream, Search search) {
    size_t count = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(count = search(stream->data));
    state.counters["start_codes"] = static_cast<double>(count);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(stream->data.size()));
}

void run_nal_headers(benchmark::State &state, Stream *stream) {
    uint32_t count = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(count = ZEV_H264_GetNALHdr(
                                     stream->data.data(), static_cast<uint32_t>(stream->data.size()),
                                     stream->offsets.data(), static_cast<uint32_t>(stream->offsets.size())));
    state.counters["start_codes"] = count;
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(stream->data.size()));
}

// No H.264 start code is that of an MPEG-4 VOP, so the search goes through all of them to the end.
void run_vop_search(benchmark::State &state, const Stream *stream) {
    const ZevVideoParam param = {0, 0, 5};
    uint32_t type = 0;
    for (auto _ : state) {
        const int32_t result = ZEV_MPEG4_GetVop_IPB(
            stream->data.data(), static_cast<uint32_t>(stream->data.size()), &param, &type);
        if (result != VIDHDR_ERR_NO_VOP) state.SkipWithError("found a VOP");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(stream->data.size()));
}

// Prints the usual table and then each speed in multiples of the byte loop on the same stream.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run> &runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run &run : runs)
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
                keep_best(run.benchmark_name(), run.GetAdjustedRealTime());
    }

    void Finalize() override {
        printf("\ntimes the speed of the byte loop (best repetition)\n");
        for (const auto &[stream, times] : best_) {
            const auto baseline = times.find(kBaseline);
            if (baseline == times.end()) continue;
            for (const auto &[search, time] : times)
                printf("%-10s %-22s %6.1f\n", stream.c_str(), search.c_str(), baseline->second / time);
        }
    }

private:
    // Names are "stream/search", perhaps with parts behind that tell of repetitions.
    void keep_best(const std::string &name, double time) {
        const size_t slash = name.find('/');
        const std::string search = name.substr(slash + 1, name.find('/', slash + 1) - slash - 1);
        double &best = best_[name.substr(0, slash)][search];
        if (best == 0 || time < best) best = time;
    }

    std::map<std::string, std::map<std::string, double>> best_;
};

}  // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    Stream streams[] = {{"few", encode(""), {}}, {"many", encode("option-string=slice-max-size=250"), {}}};
    const std::pair<const char *, Search> searches[] = {
        {kBaseline, byte_loop},
        {"memmem", by_memmem},
        {"memchr_portable", by_search<quorv::find_start_code_portable>},
        {"find_start_code", by_search<quorv::find_start_code>},
        {"reading", reading}};
    for (Stream &stream : streams) {
        if (stream.data.size() < kBytes) {
            fprintf(stderr, "the encoder gave only %zu bytes\n", stream.data.size());
            return 1;
        }
        stream.offsets.resize(byte_loop(stream.data));
        for (const auto &[name, search] : searches)
            benchmark::RegisterBenchmark((stream.name + '/' + name).c_str(), run_search, &stream, search);
        benchmark::RegisterBenchmark((stream.name + "/h264_nal_headers").c_str(), run_nal_headers, &stream);
        benchmark::RegisterBenchmark((stream.name + "/mpeg4_vop_search").c_str(), run_vop_search, &stream);
    }
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
