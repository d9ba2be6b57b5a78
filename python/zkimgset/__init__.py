"""ZKImgSet: image set-up for photographic print production, from Python.

Arrays are NumPy ``uint8`` arrays of H x W x 3 samples (or anything else
with the buffer protocol), R, G, B by default or B, G, R with
``order="BGR"``. Calls that change pixels change the array in place; an
array laid out as the library needs it (packed rows, or for ``apply`` any
crop of such an array) is used where it lies, any other layout goes through
a copy that is written back.

The library keeps process-wide state: its colour tables, the stored
adjustments and the last analysis (``apply`` uses the grey-pixel gains and
the stages of the last analysis along with the record). One lock in this
package guards every library call, so threads of one process take turns,
and the GIL is released while a call works on pixels, so other Python
threads run meanwhile. To run pictures in parallel, use processes: the
``zkimgset.dask`` module runs a Dask cluster of worker processes, one
thread each, as ``LocalCluster(processes=True)`` does.

Picture files are corrected by the command-line tool's own code
(``autosetup_file``, ``python3 -m zkimgset autosetup``), so the outputs and
their JSON summaries are the tool's, byte for byte. Pillow, when installed,
opens pictures as arrays and saves arrays (``open_array``, ``save_array``).
"""

import contextlib
import fractions
import os

from zkimgset import _zkimgset
from zkimgset.errors import (
    Status,
    ZKImgSetError,
    ZKImgSetMemoryError,
    ZKImgSetValueError,
)

__all__ = [
    "FULL_ANALYSIS",
    "FileResult",
    "Record",
    "Status",
    "ZKImgSetError",
    "ZKImgSetMemoryError",
    "ZKImgSetValueError",
    "analyse",
    "apply",
    "autosetup",
    "autosetup_file",
    "color_balance",
    "den2ta",
    "den2vorn",
    "library_lock",
    "load_1d_table",
    "load_3d_table",
    "load_3d_table_old",
    "load_3dp_file",
    "open_array",
    "read_exif",
    "resize",
    "save_array",
    "set_color_conv_mode",
    "set_exif",
    "settings",
    "status_text",
    "vorn2ta",
]

__version__ = _zkimgset.version

#: setup_mode of the full analysis (every stage), the tool's default.
FULL_ANALYSIS = 0xDF
#: Flash value meaning "unknown", as when a picture has no Exif.
FLASH_UNKNOWN = 255

Record = _zkimgset.Record
Record.__doc__ = """The analysis of a picture: what the correction will do.

``tone`` (uint8, 256 levels), ``sat_coef`` (int16, 100 coefficients),
``cb_ofs`` and ``cr_ofs`` are the library's record (AutoSetupParam); the
arrays are views of it, so changing them changes the record. ``mode``,
``level``, ``contrast``, ``saturation``, ``blue_shift`` and ``red_shift``
are the adjustments it was made under; ``figures`` the analysis figures (the library's dump, less those of
stages that did not run); ``status`` ("corrected" or "unchanged"),
``summary``, ``changes`` and ``correction`` the command-line tool's summary
of it ("brightened: mid-grey 118 -> 141; saturation +4%"). ``Record()`` is a
neutral record; ``to_bytes()`` and ``Record.from_bytes()`` give and take the
460-byte exchange layout. Records pickle."""
FileResult = _zkimgset.FileResult
FileResult.__doc__ = """What happened to one picture file, as the tool reports it.

``json`` is the tool's JSON line (``zkimgset autosetup --json``); ``status``
is "corrected", "unchanged", "failed" or "skipped"; ``reason`` says why for
the last two; ``line(verbose)`` is the tool's line for the picture and
``str()`` its summary in words. FileResults pickle."""
status_text = _zkimgset.status_text


def _brightness(value):
    """(numerator, denominator) of an Exif BrightnessValue given as a pair or a number."""
    if value is None:
        return 0, 0
    if isinstance(value, tuple):
        numerator, denominator = value
        return int(numerator), int(denominator)
    f = fractions.Fraction(value).limit_denominator(10000)
    return f.numerator, f.denominator


def _flash(value):
    return FLASH_UNKNOWN if value is None else int(value)


def analyse(array, *, flash=None, brightness=None, mode=FULL_ANALYSIS, level=100, contrast=0,
            saturation=0, blue_shift=0, red_shift=0, order="RGB"):
    """Analyses a picture and returns its Record; the array is not changed.

    flash is the Exif Flash value (None: unknown), brightness the Exif
    BrightnessValue as (numerator, denominator) or a number (None: none);
    ``read_exif(path)["Flash"]`` and ``["BrightnessValue"]`` give them.
    mode (setup_mode, 0..255), level (70..130), contrast (-30..30),
    saturation (-150..150) and the colour shifts blue_shift and red_shift
    (-7..7: toward blue or yellow, toward red or cyan) are the adjustments
    stored before the analysis, as the command-line tool's options store them.
    """
    num, den = _brightness(brightness)
    return _zkimgset._analyse(array, order, _flash(flash), num, den, mode, level, contrast,
                              saturation, blue_shift, red_shift)


def apply(array, record, area=None, *, order="RGB"):
    """Applies a Record and the colour tables to the array, in place.

    area is a box (left, top, right, bottom) as Pillow gives one, right and
    bottom outside it; None is the whole picture. The library uses the
    record with the state of its last analysis and the stored adjustments:
    apply a record to its own picture (or a copy of it at another size) right
    after analysing, or use ``autosetup``; hold ``library_lock()`` around the
    two when other threads use the library.
    """
    _zkimgset._apply(array, record, None if area is None else tuple(area), order)


def autosetup(array, *, flash=None, brightness=None, mode=FULL_ANALYSIS, level=100, contrast=0,
              saturation=0, blue_shift=0, red_shift=0, order="RGB"):
    """Analyses and corrects the array in place, as the command-line tool
    corrects a picture, and returns the Record. A picture the analysis finds
    nothing to do for (``record.status == "unchanged"``) is left as it is."""
    num, den = _brightness(brightness)
    return _zkimgset._autosetup(array, order, _flash(flash), num, den, mode, level, contrast,
                                saturation, blue_shift, red_shift)


def den2ta(array, shift=None, *, order="RGB"):
    """Balance curves (shift: (red, green, blue) steps, -7..7) and the 1-D
    table, then the 3-D table, in place."""
    _zkimgset._den2ta(array, order, None if shift is None else tuple(shift))


def den2vorn(array, shift=None, *, order="RGB"):
    """Balance curves and the 1-D table (unless the colour conversion mode
    leaves it out), in place."""
    _zkimgset._den2vorn(array, order, None if shift is None else tuple(shift))


def vorn2ta(array, *, order="RGB"):
    """The 3-D table alone, in place."""
    _zkimgset._vorn2ta(array, order)


def color_balance(array, shift, *, order="RGB"):
    """The balance curves alone (shift: (red, green, blue) steps), in place."""
    _zkimgset._color_balance(array, order, tuple(shift))


def resize(array, width, height, *, order="RGB"):
    """A new array of the picture scaled to width x height, keeping its
    proportions by cutting a centred strip off (nothing is letter-boxed).
    Strong reductions may give a pixel less or a row more than asked, as the
    library's plan says."""
    width, height = int(width), int(height)
    for name, value in (("width", width), ("height", height)):
        if not -2**31 <= value < 2**31:
            raise ValueError("%s %d is past the library's sizes (32-bit)" % (name, value))
    return _zkimgset._resize(array, width, height, order)


def _path(path):
    return os.fsdecode(os.fspath(path))


def read_exif(path):
    """The shooting values of a camera file (Exif JPEG or TIFF) as a dict:
    the Exif tags the analysis and the set-up driver take, by their Exif
    names (rationals as (numerator, denominator)), and ``source_mark``, true
    when the file carries the maker's source mark (automatic correction is
    then off for the next set-up). A ZKImgSetError when the file cannot be
    read (status 7) or holds no readable Exif data (status 20)."""
    return _zkimgset._read_exif(_path(path))


def set_exif(values):
    """Stores shooting values (a dict as read_exif gives, missing ones as 0,
    Flash 255) as the library's, for the set-up driver's next call."""
    _zkimgset._set_exif(dict(values))


def load_3d_table(name=None):
    """Loads the 3-D colour table from a file in the library's folder, or
    with None the first ZK3D*.DAT there."""
    _zkimgset._load_3d_table(name)


def load_1d_table(name):
    """Loads the 1-D colour table from a file in the library's folder."""
    _zkimgset._load_1d_table(name)


def load_3d_table_old(name):
    """Loads a 3-D table file in the older 33-node layout (kept for old callers)."""
    _zkimgset._load_3d_table_old(name)


def load_3dp_file(name):
    """Loads the binary 3-D table from the installation's data folder
    (name is appended with no separator: give a leading "/")."""
    _zkimgset._load_3dp_file(name)


def set_color_conv_mode(mode):
    """Stores the colour conversion mode (bit 1: no 3-D table, bit 2: no 1-D table)."""
    _zkimgset._set_color_conv_mode(int(mode))


@contextlib.contextmanager
def library_lock():
    """Holds the library lock for a sequence of calls (an analysis and the
    apply that depends on it), so no other thread's call comes between."""
    _zkimgset._lock_library()
    try:
        yield
    finally:
        _zkimgset._unlock_library()


def settings(*, mode=FULL_ANALYSIS, level=100, contrast=0, saturation=0, blue_shift=0,
             red_shift=0, exif=True, quality=95, force=False, backup=False, suffix="~"):
    """The settings of a file run, as the tool's options give them."""
    return _zkimgset.Settings(mode, level, contrast, saturation, blue_shift, red_shift, exif,
                              quality, force, backup, suffix)


def autosetup_file(input, output, *, format=None, **options):
    """Corrects one picture file into output as ``zkimgset autosetup INPUT -o
    OUTPUT`` does (the format follows output's name, or format: "jpeg",
    "png", "tiff"), written atomically, and returns its FileResult. A picture
    that cannot be corrected comes back failed, with its reason; options are
    those of ``settings()``."""
    jobs, _ = _zkimgset.plan([_path(input)], "file", _path(output), format, False, False)
    return _zkimgset.correct(jobs[0], settings(**options))


def open_array(path, *, order="RGB"):
    """A picture file decoded by Pillow into a new H x W x 3 uint8 array."""
    import numpy
    from PIL import Image

    with Image.open(path) as image:
        array = numpy.array(image.convert("RGB"))
    return array[..., ::-1].copy() if order.upper() == "BGR" else array


def save_array(array, path, *, order="RGB", **options):
    """Saves an H x W x 3 uint8 array with Pillow (options are Pillow's:
    quality=95, exif=..., icc_profile=...)."""
    import numpy
    from PIL import Image

    samples = numpy.asarray(array)
    if order.upper() == "BGR":
        samples = samples[..., ::-1]
    Image.fromarray(numpy.ascontiguousarray(samples), "RGB").save(path, **options)
