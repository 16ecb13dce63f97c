"""Decoding MPEG audio."""
import array
import dataclasses

from quorv._library import ffi, lib
from quorv.errors import check


@dataclasses.dataclass(frozen=True)
class Samples:
    """Decoded sound of one format, all channels in turn."""
    samples: array.array
    sample_rate: int
    channels: int
    format_changed: bool


@dataclasses.dataclass(frozen=True)
class SkippedFrames:
    """Frames that could not be decoded, by reason; fields as in QuorvSkippedFrames."""
    total: int
    lost_sync: int
    bad_check: int
    no_reservoir: int
    bad_data: int
    last_code: int
    cut_off: int


class Decoder:
    """A decoder of MPEG audio to 16-bit samples, for a raw stream; Media.decoder makes one for a track.

    A context manager. What the encoder added in front and behind is trimmed unless keep_padding is set.
    """

    def __init__(self, keep_padding=False, *, _record=ffi.NULL):
        place = ffi.new("QuorvDecoder **")
        check(lib.quorv_decoder_open(_record, lib.QUORV_DECODER_KEEP_PADDING if keep_padding else 0, place))
        self._decoder = ffi.gc(place[0], lib.quorv_decoder_close)

    def close(self):
        decoder, self._decoder = self._decoder, ffi.NULL
        if decoder:
            ffi.release(decoder)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def decode(self, data):
        """Takes the next bytes of the stream, cut anywhere, and returns what they give: a list of Samples."""
        place = ffi.new("const QuorvSamples **")
        data = ffi.from_buffer(data)
        portions = []
        result = lib.quorv_decode(self._decoder, data, len(data), place)
        while self._add(result, place, portions):
            result = lib.quorv_decode(self._decoder, ffi.NULL, 0, place)
        return portions

    def finish(self):
        """Ends the stream and returns its last samples."""
        place = ffi.new("const QuorvSamples **")
        portions = []
        while self._add(lib.quorv_decoder_finish(self._decoder, place), place, portions):
            pass
        return portions

    @staticmethod
    def _add(result, place, portions):
        check(result)
        record = place[0]
        if record.frames == 0:
            return False
        samples = array.array("h")
        samples.frombytes(ffi.buffer(record.samples, record.frames * record.channels * samples.itemsize))
        portions.append(Samples(samples, record.sample_rate, record.channels, bool(record.format_changed)))
        return True

    def reset(self, time_us=-1):
        """Forgets what has been decoded, for after a seek; time_us is that of the next packet, below 0 if not known."""
        check(lib.quorv_decoder_reset(self._decoder, time_us))

    def skipped(self):
        """The frames that could not be decoded so far."""
        record = lib.quorv_decoder_skipped(self._decoder)
        if not record:
            check(lib.QUORV_ERR_ARGUMENT)
        return SkippedFrames(*(getattr(record, field.name) for field in dataclasses.fields(SkippedFrames)))
