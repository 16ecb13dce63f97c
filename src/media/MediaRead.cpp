// Reads the packets of one track, or of all in the order of their times.

#include "media/MediaReader.h"

namespace quorv {

namespace {

constexpr uint64_t kFirstRoom = 0x8000;
// What a packet may have beyond its bytes in the file: a palette.
constexpr uint64_t kMoreThanInFile = 1024;

// Room for a packet of that size. Code::BadFormat: the file does not hold as many bytes.
Code make_room(MediaSource *source, QueuedPacket *packet, uint64_t wanted) {
    bool held = true;
    if (wanted > kFirstRoom) {
        const Code code = source->holds(wanted - kMoreThanInFile, &held);
        if (code != Code::Ok) return code;
    }
    if (!held || (packet->room != 0 && wanted <= packet->room)) return Code::BadFormat;
    // What is in it is read again.
    packet->buffer.reset();
    packet->room = 0;
    const uint64_t room = std::max(wanted + wanted / 4, kFirstRoom);
    packet->buffer = make_array<uint8_t>(room);
    if (packet->buffer == nullptr) return Code::NoMemory;
    packet->room = static_cast<size_t>(room);
    return Code::Ok;
}

// What stands in media->size is needed. Apart from the way that nearly all packets take.
[[gnu::noinline]] Code read_with_more_room(QuorvReader *reader, uint32_t index, QueuedPacket *packet,
                                           MediaPacket *media) {
    Code code = Code::BufferTooSmall;
    while (code == Code::BufferTooSmall) {
        code = make_room(&reader->source, packet, media->size);
        // The format would come to it again and again.
        if (code == Code::BadFormat) reader->tracks[index]->ended = true;
        if (code != Code::Ok) break;
        code = reader->format->read(reader->state, index, packet->buffer.get(), packet->room, media);
    }
    return code;
}

void fill_record(QuorvPacket *record, const QueuedPacket &packet, uint32_t index, const MediaPacket &media) {
    record->track = index;
    record->data = packet.buffer.get();
    record->size = media.size;
    record->time_us = record->presentation_us = media.time_us;
    record->duration_us = media.duration_us;
    record->offset = media.offset;
    record->key = media.key ? 1 : 0;
}

// Reads the next packet of the file to the end of the track's queue.
Code read_packet(QuorvReader *reader, uint32_t index) {
    MediaPacket media;
    const Code code = load_packet(reader, index, &media);
    if (code != Code::Ok) return code;
    MediaTrack &track = *reader->tracks[index];
    const QueuedPacket &packet = *track.queue.push_spare();
    if (track.order != nullptr) track.order->push(packet.record.data, media.size, media.time_us);
    return Code::Ok;
}

// Reads on until the presentation time of the first packet is known.
Code settle_order(QuorvReader *reader, uint32_t index) {
    MediaTrack &track = *reader->tracks[index];
    while (!track.order->settled()) {
        if (track.ended) {
            track.order->finish();
            continue;
        }
        const Code code = read_packet(reader, index);
        if (code != Code::Ok && code != Code::EndOfStream)
            return code;  // at the end, what is left is settled
    }
    track.queue.first()->presentation_us = track.order->take();
    return Code::Ok;
}

}  // namespace

Code load_packet(QuorvReader *reader, uint32_t index, MediaPacket *media) {
    MediaTrack &track = *reader->tracks[index];
    QueuedPacket *const packet = track.queue.spare();
    if (packet == nullptr) return Code::NoMemory;
    *media = {};
    Code code = Code::BufferTooSmall;
    if (packet->room != 0)
        code = reader->format->read(reader->state, index, packet->buffer.get(), packet->room, media);
    if (code == Code::BufferTooSmall) code = read_with_more_room(reader, index, packet, media);
    if (code == Code::Ok) {
        fill_record(&packet->record, *packet, index, *media);
        return code;
    }
    if (code == Code::EndOfStream) code = reader->source.explain_end();
    if (code == Code::EndOfStream) track.ended = true;
    return code;
}

void forget_packets(MediaTrack *track) {
    track->queue.clear();
    track->lent = track->ready = track->ended = false;
    if (track->order != nullptr) track->order->reset();
}

Code order_packets(MediaTrack *track) {
    if (track->order != nullptr) return Code::Ok;
    track->order = make_owned<PresentationOrder>(track->record);
    if (track->order == nullptr) return Code::NoMemory;
    if (track->lent) track->queue.pop();
    track->lent = track->ready = false;
    // One at most: without an order none is read ahead of the first.
    const QueuedPacket *packet = track->queue.first();
    if (packet != nullptr)
        track->order->push(packet->record.data, packet->record.size, packet->record.time_us);
    return Code::Ok;
}

Code prepare_packet(QuorvReader *reader, uint32_t index) {
    MediaTrack &track = *reader->tracks[index];
    if (track.waits()) return Code::Ok;
    if (track.lent) track.queue.pop();
    track.lent = track.ready = false;
    if (track.queue.empty()) {
        if (track.ended) return Code::EndOfStream;
        const Code code = read_packet(reader, index);
        if (code != Code::Ok) return code;
    }
    if (track.order != nullptr) {
        const Code code = settle_order(reader, index);
        if (code != Code::Ok) return code;
    }
    track.ready = true;
    return Code::Ok;
}

Code prepare_earliest(QuorvReader *reader, uint32_t *index) {
    const QuorvPacket *earliest = nullptr;
    for (uint32_t i = 0; i < reader->file.track_count; ++i) {
        const MediaTrack &track = *reader->tracks[i];
        if (!track.selected) continue;
        if (!track.waits()) {
            const Code code = prepare_packet(reader, i);
            if (code == Code::EndOfStream) continue;
            if (code != Code::Ok) return code;
        }
        const QuorvPacket &packet = track.queue.first()->record;
        if (earliest == nullptr || packet.time_us < earliest->time_us) earliest = &packet;
    }
    if (earliest == nullptr) return Code::EndOfStream;
    *index = earliest->track;
    return Code::Ok;
}

}  // namespace quorv
