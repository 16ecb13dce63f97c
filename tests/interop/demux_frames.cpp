// Writes down what one of GStreamer's demuxers delivers from a file, for comparison with what this library
// delivers. For every pad P of the demuxer (video_0, audio_0, ...) it makes two files in the folder given:
//     P.frames   the pad's caps on the first line, then one line a buffer:
//                <DTS> <PTS> <duration> <size> <1 for a key frame, else 0>
//                with times in nanoseconds, -1 where the buffer has none
//     P.bytes    the buffers' bytes, one after another
// It is a process of its own so that the tests need no media framework and its leaks are not theirs.

#include <gst/app/gstappsink.h>
#include <gst/gst.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

using File = std::unique_ptr<FILE, int (*)(FILE *)>;

// One pad of the demuxer and the two files that describe it.
struct Recorder {
    File frames, bytes;
    bool caps_written = false;
};

struct Session {
    std::string folder;
    GstElement *pipeline = nullptr;
    std::vector<std::unique_ptr<Recorder>> recorders;
};

long long nanoseconds(GstClockTime time) {
    return GST_CLOCK_TIME_IS_VALID(time) ? static_cast<long long>(time) : -1;
}

void write_sample(Recorder &recorder, GstSample *sample) {
    if (!recorder.caps_written) {
        gchar *caps = gst_caps_to_string(gst_sample_get_caps(sample));
        std::fprintf(recorder.frames.get(), "%s\n", caps);
        g_free(caps);
        recorder.caps_written = true;
    }
    GstBuffer *buffer = gst_sample_get_buffer(sample);
    GstMapInfo map;
    if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) std::abort();
    std::fprintf(recorder.frames.get(), "%lld %lld %lld %zu %d\n", nanoseconds(GST_BUFFER_DTS(buffer)),
                 nanoseconds(GST_BUFFER_PTS(buffer)), nanoseconds(GST_BUFFER_DURATION(buffer)), map.size,
                 GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT) ? 0 : 1);
    std::fwrite(map.data, 1, map.size, recorder.bytes.get());
    gst_buffer_unmap(buffer, &map);
}

GstFlowReturn on_new_sample(GstAppSink *sink, gpointer user_data) {
    GstSample *sample = gst_app_sink_pull_sample(sink);
    if (sample == nullptr) return GST_FLOW_EOS;
    write_sample(*static_cast<Recorder *>(user_data), sample);
    gst_sample_unref(sample);
    return GST_FLOW_OK;
}

// Gives every pad of the demuxer a sink of its own. The sinks neither wait for the clock nor for each other.
void on_pad_added(GstElement *, GstPad *pad, gpointer user_data) {
    auto &session = *static_cast<Session *>(user_data);
    const std::string base = session.folder + "/" + GST_PAD_NAME(pad);
    auto recorder =
        std::make_unique<Recorder>(Recorder{{std::fopen((base + ".frames").c_str(), "w"), std::fclose},
                                            {std::fopen((base + ".bytes").c_str(), "wb"), std::fclose}});
    GstElement *sink = gst_element_factory_make("appsink", nullptr);
    if (!recorder->frames || !recorder->bytes || sink == nullptr) std::abort();
    g_object_set(sink, "sync", FALSE, "async", FALSE, nullptr);
    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = on_new_sample;
    gst_app_sink_set_callbacks(GST_APP_SINK(sink), &callbacks, recorder.get(), nullptr);
    session.recorders.push_back(std::move(recorder));
    gst_bin_add(GST_BIN(session.pipeline), sink);
    gst_element_sync_state_with_parent(sink);
    GstPad *sink_pad = gst_element_get_static_pad(sink, "sink");
    if (gst_pad_link(pad, sink_pad) != GST_PAD_LINK_OK) std::abort();
    gst_object_unref(sink_pad);
}

// Waits for the end of the stream; false when the demuxer fails.
bool run_to_end(GstElement *pipeline) {
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    GstBus *bus = gst_element_get_bus(pipeline);
    const auto wanted = static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR);
    GstMessage *message = gst_bus_timed_pop_filtered(bus, 60 * GST_SECOND, wanted);
    const bool ended = message != nullptr && GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS;
    if (message != nullptr) gst_message_unref(message);
    gst_object_unref(bus);
    gst_element_set_state(pipeline, GST_STATE_NULL);
    return ended;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: %s DEMUXER FILE FOLDER\n", argv[0]);
        return 2;
    }
    gst_init(nullptr, nullptr);
    Session session;
    session.folder = argv[3];
    session.pipeline =
        gst_parse_launch((std::string("filesrc name=source ! ") + argv[1] + " name=demux").c_str(), nullptr);
    if (session.pipeline == nullptr) {
        std::fprintf(stderr, "the element %s is not installed\n", argv[1]);
        return 77;
    }
    GstElement *source = gst_bin_get_by_name(GST_BIN(session.pipeline), "source");
    g_object_set(source, "location", argv[2], nullptr);
    gst_object_unref(source);
    GstElement *demux = gst_bin_get_by_name(GST_BIN(session.pipeline), "demux");
    g_signal_connect(demux, "pad-added", G_CALLBACK(on_pad_added), &session);
    gst_object_unref(demux);

    bool good = run_to_end(session.pipeline);
    gst_object_unref(session.pipeline);
    for (const auto &recorder : session.recorders)
        good = good && std::ferror(recorder->frames.get()) == 0 && std::ferror(recorder->bytes.get()) == 0;
    return good ? 0 : 1;
}
