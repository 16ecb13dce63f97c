"""Python's file objects as sources of the library."""
import io

from quorv._library import ffi, lib

# What a source says of an exception, which is raised again when the library has returned.
_FAILED = -1000


class FileSource:
    """Anything with read and seek. A read that gives None, or raises BlockingIOError, means "not here yet"."""

    def __init__(self, file):
        self._file = file
        self._raised = None
        # The functions live as long as this object.
        self._read_at = ffi.callback("int64_t(void *, uint64_t, void *, size_t)", self._guarded(self._read), _FAILED)
        self._size = ffi.callback("int64_t(void *)", self._guarded(self._length), _FAILED)
        self.record = ffi.new("QuorvSource *", {"read_at": self._read_at, "size": self._size})

    def _read(self, _user, offset, buffer, size):
        self._file.seek(offset)
        data = self._file.read(size)
        if data is None:
            return lib.QUORV_SOURCE_AGAIN
        if len(data) > size:
            raise ValueError(f"read({size}) returned {len(data)} bytes")
        ffi.memmove(buffer, data, len(data))
        return len(data)

    def _length(self, _user):
        return self._file.seek(0, io.SEEK_END)

    def _guarded(self, function):
        def call(*arguments):
            try:
                return function(*arguments)
            except BlockingIOError:
                return lib.QUORV_SOURCE_AGAIN
            except BaseException as error:  # there is no way for it through the library
                self._raised = error
                return _FAILED
        return call

    def raise_again(self):
        """Raises what the file object raised in the call before, if anything."""
        error, self._raised = self._raised, None
        if error is not None:
            raise error
