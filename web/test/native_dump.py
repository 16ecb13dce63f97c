"""All that the native library tells of media files, for the web package's tests to compare with: a line of JSON a file.

usage: native_dump.py <LIST        LIST has a path a line
"""
import hashlib
import json
import sys

import quorv

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
    return [packet.track, digest, packet.time_us, packet.duration_us, packet.key, -1 if packet.offset is None else packet.offset]


def with_times(packet):
    return [packet.track, len(packet.data), packet.time_us, packet.presentation_us]


def track(record):
    rate = record.frame_rate
    return [
        record.index, record.number, record.type.name.lower(), record.codec, record.codec_name, record.tag,
        record.framing, record.duration_us, record.bit_rate or 0, record.seekable, record.width, record.height,
        [rate.numerator, rate.denominator] if rate is not None else None, record.sample_rate, record.channels,
        record.bits_per_sample, record.block_align, record.sample_format, record.codec_data.hex(),
        record.huffman_tables.hex(), record.reorders, record.sample_count or 0, record.trim_front, record.trim_back]


def damage(record):
    counts = (record.bytes_passed_over, record.chunks_missing, record.packets_unusable, record.frames_skipped)
    return [*([each.count, -1 if each.first_offset is None else each.first_offset] for each in counts),
            record.cut_off, -1 if record.bytes_missing is None else record.bytes_missing]


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
            "tracks": [[*track(each), selectable(media, each.index)] for each in media.tracks],
            "packets": rows(media.read, with_bytes),
            "damage": [damage(media.damage(index)) for index in (None, *range(len(media.tracks)))],
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
