"""The statuses the calls really return arrive as their exceptions, with the
status and its text."""

import numpy as np
import pytest

import zkimgset
from zkimgset import Status
from conftest import REAL


@pytest.fixture
def tables_restored():
    """Calls that fail to load a table may clear it: load the defaults again."""
    yield
    zkimgset.load_3d_table()
    zkimgset.load_1d_table("ZK1DDATA.DAT")


CALLS = {
    "too small to analyse": (
        lambda: zkimgset.analyse(np.zeros((80, 100, 3), np.uint8)), Status.BAD_SIZE),
    "too large to correct": (
        lambda: zkimgset.autosetup(np.zeros((92, 6145, 3), np.uint8)), Status.BAD_SIZE),
    "no pixels to resize": (
        lambda: zkimgset.resize(np.zeros((0, 5, 3), np.uint8), 4, 4), Status.BAD_ARGUMENT),
    "a camera file that is not there": (
        lambda: zkimgset.read_exif(REAL / "no-such-file.jpg"), Status.FILE_ERROR),
    "a picture without Exif": (
        lambda: zkimgset.read_exif(REAL / "ev_ReaganSmallPng.png"), Status.NO_EXIF),
    "a missing 3-D table": (
        lambda: zkimgset.load_3d_table("ZK3DNONE.DAT"), Status.TABLE3D_FAILED),
    "a missing binary 3-D table": (
        lambda: zkimgset.load_3dp_file("/zkimgset-no-such-table"), Status.NOT_LOADED),
}


@pytest.mark.parametrize("call", CALLS)
def test_failing_calls_raise_the_library_status(call, tables_restored):
    run, status = CALLS[call]
    with pytest.raises(zkimgset.errors.error_class(status)) as raised:
        run()
    assert (raised.value.status, raised.value.text) == (status, zkimgset.status_text(status))

