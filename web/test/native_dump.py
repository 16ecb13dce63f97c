"""All that the native library tells of media files, for the web package's tests to compare with: a line of JSON a file.

usage: native_dump.py <LIST        LIST has a path a line
"""
import hashlib
import json
import sys

import quorv
from quorv._library import ffi, lib

WHOLE_FILE = 0xFFFFFFFF
SOUND = ("mp1 ", "mp2 ", "mp3 ")


def name(result):
    return result.name.removeprefix("ERR_").lower().replace("_", "-")


def failure(error):
    return [name(error.result), str(error)]


def rows(read, row):
    """What reading gives until the end, failures included."""
    result = []
    while True:
        try:
            packet = read()
        except quorv.Error as error:
            result.append(failure(error))
            continue
        if packet is None:
            return result
        result.append(row(packet))


def with_bytes(packet):
    digest = hashlib.md5(packet.data).hexdigest()
    offset = -1 if packet.offset is None else packet.offset
    return [packet.track, digest, packet.time_us, packet.duration_us, packet.key, offset]


def with_times(packet):
    return [packet.track, len(packet.data), packet.time_us, packet.presentation_us]


def track(record, index, readable):
    """Of a QuorvTrack: the Python package does not tell all of it."""
    rate = record.frame_rate
    return [
        index, record.number, record.type, record.codec, ffi.string(record.codec_name).decode(), record.tag,
        record.framing, record.duration_us, record.bit_rate, bool(record.seekable), record.width, record.height,
        [rate.num, rate.den] if rate.den else None, record.sample_rate, record.channels, record.bits_per_sample,
        record.block_align, record.sample_format, content(record.codec_data, record.codec_data_size),
        content(record.huffman_tables, record.huffman_tables_size), bool(record.reorders), record.sample_count,
        record.trim_front, record.trim_back, record.max_packet_size, record.stated_packets, record.stated_end, readable]


def content(data, size):
    return bytes(ffi.buffer(data, size)).hex() if size else ""


def damage(record):
    """Of a QuorvDamage."""
    counts = ((record.bytes_passed_over, record.passed_over_at), (record.chunks_missing, record.missing_at),
              (record.packets_unusable, record.unusable_at), (record.frames_skipped, record.skipped_at))
    return [*([each.count, each.first_offset, [[at.ranges[i].begin, at.ranges[i].end] for i in range(at.count)]]
              for each, at in counts), bool(record.cut_off), record.bytes_missing]


def seeks(media):
    """Where seeks lead, and the two packets that follow each."""
    duration = media.file.duration_us or 0
    result = []
    for time in (duration // 2, 0, duration // 3, 2 * duration // 3 + 1, duration + 1000000):
        for after in (False, True):
            try:
                result.append(media.seek(time, after))
            except quorv.Error as error:
                result.append(failure(error))
            for _ in range(2):
                try:
                    packet = media.read()
                    result.append(packet and with_times(packet))
                except quorv.Error as error:
                    result.append(failure(error))
    return result


def sound(media, index):
    """Digests of a track's samples as a whole, and from its middle on."""
    for other in media.tracks:
        if other.index != index:
            media.select(other.index, False)
    with media.decoder(index) as decoder:
        result = [played(media, index, decoder)]
        try:
            result.append(media.seek((media.file.duration_us or 0) // 2))
        except quorv.Error as error:
            return [*result, failure(error)]
        return [*result, played(media, index, decoder, moved=True)]


def played(media, index, decoder, moved=False):
    digest, formats, count = hashlib.md5(), [], 0
    def add(portions):
        nonlocal count
        for portion in portions:
            digest.update(portion.samples)
            count += len(portion.samples)
            if formats[-1:] != [[portion.sample_rate, portion.channels]]:
                formats.append([portion.sample_rate, portion.channels])
    while True:
        try:
            packet = media.read(index)
        except quorv.Error as error:
            if error.result == quorv.Result.ERR_DAMAGED:
                continue
            raise
        if packet is None:
            add(decoder.finish())
            return [digest.hexdigest(), count, formats]
        if moved:
            decoder.reset(packet.time_us)
            moved = False
        add(decoder.decode(packet.data))


def selectable(media, index):
    try:
        media.select(index)
        return True
    except quorv.Error:
        return False


def dump(path):
    try:
        media = quorv.open(path)
    except quorv.Error as error:
        return {"error": failure(error)}
    with media, quorv.open(path) as shown, quorv.open(path) as sought:
        for each in media.tracks:
            shown.set_presentation(each.index)
        result = {
            "file": [media.file.container, media.file.duration_us, media.file.size],
            "tracks": [track(lib.quorv_track(media._reader, each.index), each.index, selectable(media, each.index))
                       for each in media.tracks],
            "packets": rows(media.read, with_bytes),
            "damage": [damage(lib.quorv_damage(media._reader, index))
                       for index in (WHOLE_FILE, *range(len(media.tracks)))],
            "shown": rows(shown.read, with_times),
            "seeks": seeks(sought),
            "sound": {},
        }
    for each in media.tracks:
        if each.codec in SOUND:
            with quorv.open(path) as heard:
                result["sound"][each.index] = sound(heard, each.index)
    return result


for line in sys.stdin:
    print(json.dumps(dump(line.rstrip("\n"))), flush=True)
