"""Failures of the library as exceptions."""
import os

from quorv._library import ffi, int_enum, lib, member, text

Result = int_enum("Result", "QuorvResult", "QUORV_", __name__)


class Error(Exception):
    """A call failed.

    result  what can be done about it: a Result
    code    what lies underneath: errno for files that the library opened itself, a code of the other headers, or 0
    """

    def __init__(self, result, code=0, reason=""):
        super().__init__(text(lib.quorv_strerror(result)) + (f": {reason}" if reason else ""))
        self.result = member(Result, result)
        self.code = code


class NotHereYet(Error):
    """The source does not have these bytes yet. Nothing has changed; the call can be repeated."""


def check(result, reader=ffi.NULL):
    """Raises what a result of the library stands for."""
    if result == Result.OK:
        return
    if result == Result.AGAIN:
        raise NotHereYet(result)
    raise Error(result, lib.quorv_reader_code(reader))


def check_system(result):
    """The same for files that the library opens itself, whose reason is the system's."""
    code = ffi.errno
    if result == Result.ERR_SOURCE and code != 0:
        raise Error(result, code, os.strerror(code))
    check(result)
