"""The library's statuses as Python exceptions.

Every failing call raises a ZKImgSetError carrying the library's status
(``error.status``) and its meaning (``error.text``). Statuses that say the
call was given something unusable are also ValueErrors, and running out of
memory is also a MemoryError, so ``except ValueError`` works as with any
Python library.
"""

import enum


class Status(enum.IntEnum):
    """The library's status codes (enum zkimgset_status in zkimgset.h)."""

    NOT_LOADED = -1
    OK = 0
    SOURCE_MARK = 1
    BAD_ARGUMENT = 2
    OUT_OF_MEMORY = 3
    BAD_SIZE = 4
    FILE_ERROR = 7
    BAD_PLANAR = 9
    TABLE1D_FAILED = 17
    TABLE3D_FAILED = 18
    NO_EXIF = 20
    BAD_ASPECT = 21
    SERVICE_MISSING = 22
    SERVICE_REFUSED = 23
    SERVICE_FAILED = 24
    SERVICE_NO_RESULT = 25


class ZKImgSetError(Exception):
    """A library call failed with ``status``; ``text`` is the status in words."""

    def __init__(self, message, status, text):
        super().__init__(message)
        self.status = status
        self.text = text


class ZKImgSetValueError(ZKImgSetError, ValueError):
    """The library refused what it was given (an argument, a size, an aspect)."""


class ZKImgSetMemoryError(ZKImgSetError, MemoryError):
    """The library could not allocate what the call needed."""


# What each failure status says about the call. The rest (tables that did
# not load, files that cannot be read, the Exif-tag service) are plain
# ZKImgSetErrors.
_VALUE_STATUSES = {Status.BAD_ARGUMENT, Status.BAD_SIZE, Status.BAD_PLANAR, Status.BAD_ASPECT}
_MEMORY_STATUSES = {Status.OUT_OF_MEMORY}


def error_class(status):
    """The exception class raised for a failure status."""
    if status in _VALUE_STATUSES:
        return ZKImgSetValueError
    if status in _MEMORY_STATUSES:
        return ZKImgSetMemoryError
    return ZKImgSetError


def error_for_status(status, message):
    """The exception for a failure status; message names the call and the status."""
    from zkimgset import _zkimgset

    return error_class(status)(message, status, _zkimgset.status_text(status))
