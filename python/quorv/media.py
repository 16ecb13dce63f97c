"""Media files."""
import dataclasses
import os

from quorv import records
from quorv._library import ffi, lib
from quorv.decoder import Decoder
from quorv.errors import Error, Result, check, check_system
from quorv.source import FileSource


@dataclasses.dataclass(frozen=True)
class Packet:
    """A piece of a track. The data is a copy, which stays when the next packet is read."""
    track: int
    data: memoryview
    time_us: int
    presentation_us: int
    duration_us: int
    offset: int | None
    key: bool


def open(source):
    """Opens a media file.

    source  a path (text or pathlib), the file's bytes (bytes, bytearray, memoryview, mmap), or an object with read and
            seek, such as a file opened in binary mode. A source whose bytes are not here yet raises NotHereYet.
    """
    return Media(source)


class Media:
    """An open media file: a context manager, and an iterable over the packets of all selected tracks.

    file    a File
    tracks  a tuple of Track
    """

    def __init__(self, source):
        self._reader = ffi.NULL
        self._kept = None  # what the library reads from
        self._source = None
        place = ffi.new("QuorvReader **")
        try:
            result = self._open(source, place)
        finally:
            # The reader that a source leaves which is not ready is freed as well.
            self._reader = ffi.gc(place[0], lib.quorv_close) if place[0] else ffi.NULL
        try:
            (check if self._kept is not None else check_system)(result)
        except Error:
            self.close()
            raise
        record = lib.quorv_file(self._reader)
        self.file = records.file_of(record)
        self.tracks = tuple(records.track_of(index, lib.quorv_track(self._reader, index))
                            for index in range(record.track_count))

    def _open(self, source, place):
        if isinstance(source, (str, os.PathLike)):
            return lib.quorv_open_path(os.fsencode(source), place)
        try:
            self._kept = ffi.from_buffer(source)
        except TypeError:
            if not hasattr(source, "seek"):
                raise
            self._kept = self._source = FileSource(source)
            result = lib.quorv_open_source(self._source.record, place)
            self._source.raise_again()
            return result
        return lib.quorv_open_memory(self._kept, len(self._kept), place)

    def close(self):
        """Ends the reader; what came from it stays."""
        reader, self._reader = self._reader, ffi.NULL
        if reader:
            ffi.release(reader)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def _check(self, result):
        if self._source is not None:
            self._source.raise_again()
        check(result, self._reader)

    def _packet(self, read, *arguments):
        place = ffi.new("const QuorvPacket **")
        result = read(self._reader, *arguments, place)
        if result == Result.END:
            return None
        self._check(result)
        record = place[0]
        return Packet(record.track, memoryview(bytes(ffi.buffer(record.data, record.size))), record.time_us,
                      record.presentation_us, record.duration_us, records.known(record.offset), bool(record.key))

    def read(self, track=None):
        """The next packet in the order of time of all selected tracks, or of one track; None at the end."""
        if track is None:
            return self._packet(lib.quorv_read)
        return self._packet(lib.quorv_read_track, track)

    def __iter__(self):
        """Reads until the end. After an exception, iterating goes on where the file can be read again."""
        return iter(self.read, None)

    def packets(self, track):
        """Iterates over the packets of one track, selected or not."""
        return iter(lambda: self.read(track), None)

    def select(self, track, selected=True):
        """Chooses whether iteration and seeking deal with a track."""
        self._check(lib.quorv_select(self._reader, track, selected))

    def set_presentation(self, track, wanted=True):
        """Asks for the times at which a track's packets are shown."""
        self._check(lib.quorv_set_presentation(self._reader, track, wanted))

    def survey(self, track):
        """A Survey of a track's chunks, by the index, where the file tells."""
        counts = ffi.new("QuorvSurvey *")
        self._check(lib.quorv_survey(self._reader, track, counts))
        return records.survey_of(counts)

    def seek(self, time_us, after=False):
        """Moves all selected tracks to the key frame at or before a time, or after it. Returns the time reached."""
        reached = ffi.new("int64_t *")
        mode = lib.QUORV_SEEK_AFTER if after else lib.QUORV_SEEK_BEFORE
        self._check(lib.quorv_seek(self._reader, time_us, mode, reached))
        return reached[0]

    def damage(self, track=None):
        """What could not be used so far of a track, or of the whole file."""
        record = lib.quorv_damage(self._reader, 0xFFFFFFFF if track is None else track)
        if not record:
            check(Result.ERR_ARGUMENT)
        return records.damage_of(record)

    def decoder(self, track, keep_padding=False):
        """A Decoder for a track of MPEG audio."""
        record = lib.quorv_track(self._reader, track)
        if not record:
            check(Result.ERR_ARGUMENT)
        return Decoder(keep_padding, _record=record)
