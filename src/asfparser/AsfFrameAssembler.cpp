// From packet to packet until the frame ends; see the header.

#include "asfparser/AsfFrameAssembler.h"

namespace quorv {

namespace {

// After this many packets without the beginning of the next frame the search gives up.
constexpr uint32_t kMaxScannedPackets = 1000;
// The duration of a frame whose end the next one does not give.
constexpr int32_t kUnknownDuration = 1;

// False when the next frame does not tell it.
bool measure_until(const ASF_DataObjectEntry &next, int32_t pts, int32_t *duration) {
    if (!next.has_time() || next.pts < pts) return false;
    return !__builtin_sub_overflow(next.pts, pts, duration);
}

}  // namespace

Code AsfFrameAssembler::load(AsfObject *object) {
    AsfTimeBaseScope time_base(&packets_);
    const Code code = assemble(object);
    if (code != Code::Ok) {
        state_.parsed_packet = -1;
        if (code == Code::BufferTooSmall) object->size = frame_.needed_size();
        return code;
    }
    time_base.keep();
    if (!frame_.is_complete()) state_.damage.places.add(frame_.first_offset());
    object->size = frame_.size();
    object->pts = frame_.pts();
    object->key_frame = frame_.key_frame();
    object->file_offset = frame_.file_offset();
    state_.expected_pts =
        static_cast<int32_t>(static_cast<uint32_t>(object->pts) + static_cast<uint32_t>(object->duration));
    return Code::Ok;
}

Code AsfFrameAssembler::assemble(AsfObject *object) {
    AsfPosition at = state_.position;
    uint32_t scanned = 0;
    Code code = state_.parsed_packet == at.packet ? Code::Ok : packets_.parse(stream_, at.packet);
    while (code == Code::Ok) {
        ASF_DataObjectEntry entry;
        for (; state_.entries.GetEntry(&entry, &at.entry) == Code::Ok; ++at.entry) {
            if (!frame_.is_started()) {
                if (!entry.starts_object()) {
                    leave_out(entry);
                    continue;
                }
                frame_.start(entry, state_.expected_pts);
                state_.damage.lost_object = -1;
            } else if (frame_.ends_before(entry)) {
                object->duration_known = measure_until(entry, frame_.pts(), &object->duration);
                if (!object->duration_known) object->duration = kUnknownDuration;
                state_.position = at;
                return Code::Ok;
            }
            code = add_fragment(entry);
            if (code != Code::Ok) return code;
        }
        at = {at.packet + 1, 0};
        // Only packets behind a complete frame count: the frame itself may take more of them.
        scanned = frame_.is_complete() ? scanned + 1 : 0;
        if (scanned > kMaxScannedPackets) break;
        const int32_t base_before = packets_.time_base();
        code = packets_.parse(stream_, at.packet);
        frame_.shift_time(base_before - packets_.time_base());
    }
    object->duration = kUnknownDuration;
    return end_of_scan(at, code);
}

// The rest of a frame whose beginning is missing, in any number of fragments.
void AsfFrameAssembler::leave_out(const ASF_DataObjectEntry &entry) {
    AsfDamage &damage = state_.damage;
    if (damage.lost_object == entry.object_number) return;
    damage.lost_object = entry.object_number;
    damage.places.add(static_cast<int64_t>(entry.file_offset));
}

// No entry has ended the frame.
Code AsfFrameAssembler::end_of_scan(AsfPosition at, Code code) {
    const bool at_end = code == Code::EndOfStream;
    const bool is_bad = code == Code::BadFormat;
    // The last frame of a whole file is delivered as far as it goes; that of a file that was cut off only
    // when all of it is there. In front of a damaged packet the frame comes first, then the failure.
    const bool is_last = at_end && !packets_.is_cut() && at.packet >= packets_.packet_count();
    const bool deliver = frame_.is_complete() || (frame_.is_started() && is_last);
    if (code == Code::Ok || (deliver && (at_end || is_bad))) {
        state_.position = at;
        return Code::Ok;
    }
    if (is_bad) state_.position = {at.packet + 1, 0};
    if (at_end && frame_.is_started()) state_.damage.places.add(frame_.first_offset());
    return code;
}

Code AsfFrameAssembler::add_fragment(const ASF_DataObjectEntry &entry) {
    uint8_t *to = frame_.make_room(entry);
    if (to == nullptr) return Code::BufferTooSmall;
    const auto length = static_cast<uint32_t>(entry.data_length);
    if (length != 0) {
        Code code = CASFBase::MoveTo(&state_.reader, entry.file_offset);
        if (code != Code::Ok) return code;
        uint32_t delivered = 0;
        code = CASFBase::ReadData(&state_.reader, to, length, &delivered);
        if (code != Code::Ok) return code;
        if (delivered < length) return Code::EndOfStream;
    }
    frame_.add(entry);
    return Code::Ok;
}

}  // namespace quorv
