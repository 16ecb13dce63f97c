"""The shared library, and what its values are in Python."""
import enum

from _quorv import ffi

lib = ffi.dlopen("libopencore_quorvlocalparser.so.0")


def text(characters):
    return ffi.string(characters).decode()


def version():
    """The version of the library that runs, such as "0.1.0"."""
    return text(lib.quorv_version())


def int_enum(name, c_type, prefix, module):
    """The values of one of the header's enumerations, named without their prefix."""
    values = ffi.typeof(c_type).relements
    return enum.IntEnum(name, {key.removeprefix(prefix): value for key, value in values.items()}, module=module)


def member(kind, value):
    """A value of an enumeration, or the bare number where only a newer library has a name for it."""
    return kind._value2member_map_.get(value, value)
