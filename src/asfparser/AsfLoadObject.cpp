// CASFDataObjectParser::LoadObject: frames from the entries of the packets.

#include "asfparser/CASFDataObjectParser.h"

namespace quorv {

namespace {

// After this many packets without the beginning of the next frame the search gives up.
constexpr uint32_t kMaxScannedPackets = 1000;
// The duration of a frame whose end the next one does not give.
constexpr int32_t kUnknownDuration = 1;

int32_t duration_until(const ASF_DataObjectEntry &next, int32_t pts) {
    if (!next.has_time() || next.pts < pts) return kUnknownDuration;
    const int64_t duration = int64_t{next.pts} - pts;
    return duration > INT32_MAX ? kUnknownDuration : static_cast<int32_t>(duration);
}

}  // namespace

uint32_t CASFDataObjectParser::LoadObject(uint32_t stream, uint8_t *buffer, uint32_t capacity,
                                          AsfObject *object) {
    *object = {};
    if (!IsReady()) return SPLITER_ERR_NO_PARSER;
    StreamState &state = state_of(stream);
    if (state.position.packet >= packet_count_) return SPLITER_ERR_END_OF_STREAM;
    const int32_t base_before = time_base_;
    AsfAssembly assembly(buffer, capacity);
    const uint32_t code = assemble(stream, &state, &assembly, object);
    if (code != SPLITER_OK) {
        // The next call must find everything as this one did.
        MoveTimeBase(base_before);
        state.parsed_packet = -1;
        if (code == SPLITER_ERR_BUFFER_TOO_SMALL) object->size = assembly.needed_size();
        return code;
    }
    object->size = assembly.size();
    object->pts = assembly.pts();
    object->key_frame = assembly.key_frame();
    state.expected_pts =
        static_cast<int32_t>(static_cast<uint32_t>(object->pts) + static_cast<uint32_t>(object->duration));
    return SPLITER_OK;
}

uint32_t CASFDataObjectParser::assemble(uint32_t stream, StreamState *state, AsfAssembly *assembly,
                                        AsfObject *object) {
    AsfPosition at = state->position;
    uint32_t scanned = 0;
    uint32_t code =
        state->parsed_packet == at.packet ? uint32_t{SPLITER_OK} : ParseOnePacket(stream, at.packet);
    for (;;) {
        if (code != SPLITER_OK) break;
        ASF_DataObjectEntry entry;
        for (; state->entries.GetEntry(&entry, &at.entry) == SPLITER_OK; ++at.entry) {
            if (!assembly->is_started()) {
                // The rest of a frame whose beginning was left out.
                if (!entry.starts_object()) continue;
                assembly->start(entry, state->expected_pts);
            } else if (assembly->ends_before(entry)) {
                object->duration = duration_until(entry, assembly->pts());
                state->position = at;
                return SPLITER_OK;
            }
            code = add_fragment(state, entry, assembly);
            if (code != SPLITER_OK) return code;
        }
        at = {at.packet + 1, 0};
        // Only packets behind a complete frame count: the frame itself may take more of them.
        scanned = assembly->is_complete() ? scanned + 1 : 0;
        if (scanned > kMaxScannedPackets) break;
        const int32_t base_before = time_base_;
        code = ParseOnePacket(stream, at.packet);
        assembly->shift_time(base_before - time_base_);
    }
    object->duration = kUnknownDuration;
    return end_of_scan(state, *assembly, at, code);
}

// No entry has ended the frame.
uint32_t CASFDataObjectParser::end_of_scan(StreamState *state, const AsfAssembly &assembly, AsfPosition at,
                                           uint32_t code) {
    const bool at_end = code == SPLITER_ERR_END_OF_STREAM;
    const bool is_bad = code == SPLITER_ERR_BAD_FORMAT;
    // The last frame of a whole file is delivered as far as it goes; that of a file that was cut off only
    // when all of it is there. In front of a damaged packet the frame comes first, then the failure.
    const bool is_last = at_end && !is_cut_ && at.packet >= packet_count_;
    const bool deliver = assembly.is_complete() || (assembly.is_started() && is_last);
    if (code == SPLITER_OK || (deliver && (at_end || is_bad))) {
        state->position = at;
        return SPLITER_OK;
    }
    if (is_bad) state->position = {at.packet + 1, 0};
    return code;
}

uint32_t CASFDataObjectParser::add_fragment(StreamState *state, const ASF_DataObjectEntry &entry,
                                            AsfAssembly *assembly) {
    uint8_t *to = assembly->make_room(entry);
    if (to == nullptr) return SPLITER_ERR_BUFFER_TOO_SMALL;
    const auto length = static_cast<uint32_t>(entry.data_length);
    if (length != 0) {
        uint32_t code = state->reader.move_to(static_cast<int64_t>(entry.file_offset));
        if (code != SPLITER_OK) return code;
        uint32_t delivered = 0;
        code = base_->ReadData(&state->reader, to, length, &delivered);
        if (code != SPLITER_OK) return code;
        if (delivered < length) return SPLITER_ERR_END_OF_STREAM;
    }
    assembly->add(entry);
    return SPLITER_OK;
}

}  // namespace quorv
