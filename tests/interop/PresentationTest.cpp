// Presentation times of AVI files against the order in which their encoders were given the pictures: x264enc
// tells it of each buffer, Xvid writes it into each picture's header.

#include <gtest/gtest.h>
#include <quorv/quorv.h>

#include <algorithm>
#include <regex>

#include "support/CommandOutput.h"
#include "support/MediaFile.h"
#include "support/TestFolder.h"

namespace quorv::test {
namespace {

// The packet with the k-th picture is shown at the k-th packet's time, read from the start and from every key
// frame on. pictures: of each packet, its picture's number in the order of display.
void expect_order(const std::string &path, const std::vector<size_t> &pictures, bool reorders) {
    MediaBytes source(bytes_of_file(path));
    MediaFile file(source.record());
    ASSERT_EQ(file.open_result, QUORV_OK);
    EXPECT_EQ(file.track(0).reorders != 0, reorders);
    ASSERT_EQ(quorv_set_presentation(file.reader(), 0, 1), QUORV_OK);
    const KeptPackets packets = file.read_track(0);
    ASSERT_EQ(packets.size(), pictures.size());
    for (size_t i = 0; i < packets.size(); ++i)
        ASSERT_EQ(packets[i].presentation_us, packets.at(pictures[i]).time_us) << "packet " << i;
    for (size_t i = 0; i < packets.size(); ++i) {
        if (packets[i].key == 0) continue;
        ASSERT_EQ(file.seek(packets[i].time_us, QUORV_SEEK_BEFORE), QUORV_OK);
        for (size_t next = i; const KeptPacket &packet : file.read_track(0)) {
            ASSERT_EQ(packet.presentation_us, packets.at(next).presentation_us) << next << " from " << i;
            ++next;
        }
    }
}

// Times of any unit to places in their order.
std::vector<size_t> places(const std::vector<int64_t> &times) {
    std::vector<int64_t> sorted = times;
    std::sort(sorted.begin(), sorted.end());
    std::vector<size_t> all;
    for (const int64_t time : times)
        all.push_back(
            static_cast<size_t>(std::lower_bound(sorted.begin(), sorted.end(), time) - sorted.begin()));
    return all;
}

TEST(Presentation, IsTheOrderThatAnH264EncoderWasGiven) {
    if (system("gst-inspect-1.0 --exists x264enc") != 0) GTEST_SKIP() << "x264enc is not installed";
    const struct {
        const char *profile, *options;
        bool reorders, interlaced = false;
    } cases[] = {
        {"baseline", "", false},
        {"main", "bframes=0", false},
        {"main", "bframes=1 b-adapt=false", true},
        {"high", "bframes=3 b-adapt=false key-int-max=11", true},
        {"high", "bframes=3 b-adapt=false b-pyramid=true option-string=weightp=2:ref=5", true},
        {"high", "bframes=16 b-adapt=false b-pyramid=true option-string=scenecut=0", true},
        {"main", "bframes=2 interlaced=true option-string=slices=3:b-pyramid=strict", true, true},
        {"high", "bframes=2 b-adapt=false key-int-max=9 option-string=open-gop=1", true},
        {"high", "bframes=3 b-adapt=false intra-refresh=true key-int-max=10", true},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.profile << ' ' << c.options);
        const TestFolder folder;
        const std::string log =
            run(std::string("gst-launch-1.0 -v videotestsrc num-buffers=50 pattern=ball ! "
                            "video/x-raw,format=I420,width=96,height=64,framerate=30000/1001") +
                (c.interlaced ? ",interlace-mode=interleaved ! x264enc interlaced=true " : " ! x264enc ") +
                c.options + " ! video/x-h264,stream-format=byte-stream,alignment=au,profile=" + c.profile +
                " ! identity silent=false ! avimux ! filesink location=" + folder.path("video.avi"));
        const std::regex buffer(R"(chain .*pts: (\d+):(\d+):(\d+)\.(\d+), )");
        std::vector<int64_t> times;
        for (std::sregex_iterator i(log.begin(), log.end(), buffer), end; i != end; ++i)
            times.push_back(((std::stoll((*i)[1]) * 60 + std::stoll((*i)[2])) * 60 + std::stoll((*i)[3])) *
                                1000000000 +
                            std::stoll((*i)[4]));
        ASSERT_EQ(times.size(), 50u);
        expect_order(folder.path("video.avi"), places(times), c.reorders);
    }
}

#ifdef QUORV_MPEG4_ENCODER
// vop_time_increment of all pictures of a packet, in a stream whose increments have seven bits and stay below
// a second.
std::vector<size_t> picture_numbers(const Bytes &packet) {
    std::vector<size_t> numbers;
    for (size_t i = 0; i + 6 < packet.size(); ++i) {
        if (packet[i] != 0 || packet[i + 1] != 0 || packet[i + 2] != 1 || packet[i + 3] != 0xB6) continue;
        numbers.push_back((packet[i + 4] & 0xFu) << 3 | packet[i + 5] >> 5);
    }
    return numbers;
}

TEST(Presentation, IsTheOrderThatAnMpeg4EncoderWasGiven) {
    const struct {
        const char *options;
        bool reorders;
    } cases[] = {
        {"--b-frames 0", false},         {"--b-frames 1", true},
        {"--b-frames 2 --gmc", true},    {"--b-frames 5 --quantiser 31", true},
        {"--b-frames 1 --packed", true}, {"--b-frames 3 --packed", true},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.options);
        const TestFolder folder;
        const std::string path = folder.path("video.avi");
        run(QUORV_MPEG4_ENCODER " " + path + " --rate 100 --frames 90 --key-interval 17 " + c.options);
        MediaBytes source(bytes_of_file(path));
        MediaFile file(source.record());
        ASSERT_EQ(file.open_result, QUORV_OK);
        std::vector<size_t> shown;
        for (const KeptPacket &packet : file.read_track(0)) {
            const std::vector<size_t> numbers = picture_numbers(packet.data);
            // What fills the place of a packed picture is a few bytes and shows that.
            const bool fills = packet.data.size() < 8;
            shown.push_back(fills ? shown.size() : *std::min_element(numbers.begin(), numbers.end()));
        }
        expect_order(path, shown, c.reorders);
    }
}
#endif

}  // namespace
}  // namespace quorv::test
