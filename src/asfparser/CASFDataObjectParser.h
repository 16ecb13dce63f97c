// The data packets of a file as frames: whole ones, in order or from a time on.
#ifndef QUORV_SRC_ASFPARSER_CASFDATAOBJECTPARSER_H
#define QUORV_SRC_ASFPARSER_CASFDATAOBJECTPARSER_H

#include "asfparser/AsfFrameAssembler.h"
#include "asfparser/AsfPacketParser.h"

namespace quorv {

// Audio and video have positions and readers of their own, so they can be read in any order. A call that
// fails leaves the position of its stream unchanged, unless it says otherwise.
class CASFDataObjectParser : public AsfOnHeap {
public:
    explicit CASFDataObjectParser(CASFBase *base) : packets_(base) {}
    virtual ~CASFDataObjectParser();
    CASFDataObjectParser(const CASFDataObjectParser &) = delete;
    CASFDataObjectParser &operator=(const CASFDataObjectParser &) = delete;

    Code InitParser(const AsfDataLayout &layout) { return packets_.open(layout); }
    AsfPacketParser &Packets() { return packets_; }
    Code ParseOnePacket(uint32_t stream, int32_t index) { return packets_.parse(stream, index); }

    // The next frame of the stream into the caller's buffer; failures are those of AsfFrameAssembler.
    Code LoadObject(uint32_t stream, uint8_t *buffer, uint32_t capacity, AsfObject *object);

    AsfPosition Position(uint32_t stream) { return packets_.state_of(stream).position; }
    // The next LoadObject starts there.
    void SetPosition(uint32_t stream, AsfPosition position) { packets_.set_position(stream, position); }

    // Moves a stream to the last object that starts at or before *time, or to the first one; *time becomes
    // that of the object.
    Code SeekAudio(uint32_t *time);
    // The milliseconds between the first two different times of the stream's objects; 0 when the first
    // packets do not have them.
    Code GetObjectInterval(uint32_t stream, uint32_t *interval);

    void Reset();
    void ResetAudio() { SetPosition(packets_.layout().audio_stream, {0, 0}); }
    void ResetVideo() { SetPosition(packets_.layout().video_stream, {0, 0}); }

private:
    AsfPacketParser packets_;
};

}  // namespace quorv

#endif
