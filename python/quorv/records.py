"""The records of the library as dataclasses: copies, which stay when the file is closed.

Fields are those of QuorvFile, QuorvTrack, QuorvSurvey and QuorvDamage in quorv/quorv.h, where each is described. What is
not known is None.
"""
import dataclasses
import fractions

from quorv._library import ffi, int_enum, member, text

Container = int_enum("Container", "QuorvContainer", "QUORV_CONTAINER_", __name__)
TrackType = int_enum("TrackType", "QuorvTrackType", "QUORV_TRACK_", __name__)
Framing = int_enum("Framing", "QuorvFraming", "QUORV_FRAMING_", __name__)
SampleFormat = int_enum("SampleFormat", "QuorvSampleFormat", "QUORV_SAMPLES_", __name__)
Scan = int_enum("Scan", "QuorvScan", "QUORV_SCAN_", __name__)
RateKind = int_enum("RateKind", "QuorvRateKind", "QUORV_RATE_", __name__)


@dataclasses.dataclass(frozen=True)
class File:
    """A file as a whole."""
    container: Container
    duration_us: int | None
    size: int | None


@dataclasses.dataclass(frozen=True)
class Track:
    """A track, as the file describes it. `codec` has four characters, or is empty where the library knows none."""
    index: int
    number: int
    type: TrackType
    codec: str
    tag: int
    codec_name: str
    framing: Framing
    duration_us: int | None
    bit_rate: int | None
    seekable: bool
    width: int
    height: int
    frame_rate: fractions.Fraction | None
    sample_rate: int
    channels: int
    bits_per_sample: int
    block_align: int
    sample_format: SampleFormat
    codec_data: bytes
    huffman_tables: bytes
    reorders: bool
    sample_count: int | None
    trim_front: int
    trim_back: int
    max_packet_size: int | None
    stated_packets: int | None
    stated_end: int | None
    scan: Scan
    pixel_aspect: fractions.Fraction | None
    profile: str
    coding: str
    encoder: str
    rate_kind: RateKind


@dataclasses.dataclass(frozen=True)
class Survey:
    """What is told of all of a track's chunks without reading them."""
    chunks: int
    bytes: int
    smallest: int | None
    largest: int | None


@dataclasses.dataclass(frozen=True)
class DamageCount:
    """How often something was met, and where in the file for the first time."""
    count: int
    first_offset: int | None


@dataclasses.dataclass(frozen=True)
class Damage:
    """What could not be used among the parts of a track or file that have been read."""
    bytes_passed_over: DamageCount
    chunks_missing: DamageCount
    packets_unusable: DamageCount
    frames_skipped: DamageCount
    cut_off: bool
    bytes_missing: int | None


def known(number):
    return None if number < 0 else number


def _fourcc(codec):
    return codec.to_bytes(4, "big").decode("latin-1") if codec else ""


def _fraction(rational):
    return fractions.Fraction(rational.num, rational.den) if rational.den else None


def _count(record):
    return DamageCount(record.count, known(record.first_offset))


def _bytes(data, size):
    return bytes(ffi.buffer(data, size)) if size else b""


def file_of(record):
    return File(member(Container, record.container), known(record.duration_us), known(record.size))


def track_of(index, record):
    """Fields that are treated as they are, and those that become something else."""
    fields = {field.name: getattr(record, field.name) for field in dataclasses.fields(Track) if field.name != "index"}
    fields.update(
        index=index,
        type=member(TrackType, record.type),
        codec=_fourcc(record.codec),
        codec_name=text(record.codec_name),
        framing=member(Framing, record.framing),
        duration_us=known(record.duration_us),
        bit_rate=record.bit_rate or None,
        seekable=bool(record.seekable),
        frame_rate=_fraction(record.frame_rate),
        sample_format=member(SampleFormat, record.sample_format),
        codec_data=_bytes(record.codec_data, record.codec_data_size),
        huffman_tables=_bytes(record.huffman_tables, record.huffman_tables_size),
        reorders=bool(record.reorders),
        sample_count=record.sample_count or None,
        max_packet_size=record.max_packet_size or None,
        stated_packets=record.stated_packets or None,
        stated_end=known(record.stated_end),
        scan=member(Scan, record.scan),
        pixel_aspect=_fraction(record.pixel_aspect),
        profile=text(record.profile),
        coding=text(record.coding),
        encoder=text(record.encoder),
        rate_kind=member(RateKind, record.rate_kind))
    return Track(**fields)


def survey_of(record):
    return Survey(record.chunks, record.bytes, record.smallest or None, record.largest or None)


def damage_of(record):
    return Damage(_count(record.bytes_passed_over), _count(record.chunks_missing), _count(record.packets_unusable),
                  _count(record.frames_skipped), bool(record.cut_off), known(record.bytes_missing))
