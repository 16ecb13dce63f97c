// Frames, seeks and intervals; see the header.

#include "asfparser/CASFDataObjectParser.h"

#include <algorithm>

#include "asfparser/AsfObjectSearch.h"

namespace quorv {

namespace {

// The interval between frames is looked for in so many packets.
constexpr int32_t kIntervalPackets = 100;

// Finds two different times, one after the other.
class IntervalMeter {
public:
    // What comes next is not measured from what came before.
    void forget() { has_first_ = false; }
    // False when the interval is known.
    bool goes_on_with(int32_t time) {
        if (has_first_ && time != first_) {
            interval_ =
                static_cast<uint32_t>(time > first_ ? int64_t{time} - first_ : int64_t{first_} - time);
            return false;
        }
        first_ = time;
        has_first_ = true;
        return true;
    }
    uint32_t interval() const { return interval_; }

private:
    bool has_first_ = false;
    int32_t first_ = 0;
    uint32_t interval_ = 0;
};

void measure(const AsfPacketParser &packets, const CASFDataObjectEntryBlockMgr &entries,
             IntervalMeter *meter) {
    ASF_DataObjectEntry entry;
    for (int32_t i = 0; entries.GetEntry(&entry, &i) == Code::Ok; ++i) {
        if (!entry.starts_object() || !entry.has_time()) continue;
        // The base may have dropped between two packets.
        const uint32_t time = static_cast<uint32_t>(entry.pts) + static_cast<uint32_t>(packets.time_base());
        if (!meter->goes_on_with(static_cast<int32_t>(time))) return;
    }
}

}  // namespace

CASFDataObjectParser::~CASFDataObjectParser() = default;

void CASFDataObjectParser::Reset() {
    ResetAudio();
    ResetVideo();
}

Code CASFDataObjectParser::LoadObject(uint32_t stream, uint8_t *buffer, uint32_t capacity,
                                      AsfObject *object) {
    *object = {};
    if (!packets_.is_open()) return Code::NoParser;
    if (Position(stream).packet >= packets_.packet_count()) return Code::EndOfStream;
    return AsfFrameAssembler(&packets_, stream, buffer, capacity).load(object);
}

Code CASFDataObjectParser::GetObjectInterval(uint32_t stream, uint32_t *interval) {
    *interval = 0;
    AsfTimeBaseScope time_base(&packets_);
    AsfStreamState &state = packets_.state_of(stream);
    IntervalMeter meter;
    const int32_t count = std::min(kIntervalPackets, packets_.packet_count());
    for (int32_t packet = 0; packet < count && meter.interval() == 0; ++packet) {
        const Code code = packets_.parse(stream, packet);
        state.parsed_packet = -1;
        if (code == Code::BadFormat) {
            meter.forget();  // objects may be lost with it
        } else if (code != Code::Ok) {
            return code;
        }
        measure(packets_, state.entries, &meter);
    }
    *interval = meter.interval();
    time_base.keep();
    return Code::Ok;
}

Code CASFDataObjectParser::SeekAudio(uint32_t *time) {
    const uint32_t stream = packets_.layout().audio_stream;
    AsfObjectSearch search(&packets_, stream, AsfObjectSearch::Wanted::AnyObject);
    AsfTimeBaseScope time_base(&packets_);
    AsfObjectStart start = {};
    Code code = search.find({*time, SeekDirection::Backward}, &start);
    if (code == Code::EndOfStream) code = search.find({*time, SeekDirection::Forward}, &start);
    if (code != Code::Ok) {
        packets_.state_of(stream).parsed_packet = -1;
        return code;
    }
    time_base.keep();
    SetPosition(stream, start.position);
    *time = asf_reported_time(start.pts);
    return Code::Ok;
}

}  // namespace quorv
