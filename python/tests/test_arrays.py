"""Arrays: the package's analysis and pixels are the tool's, whatever the
array's layout, and the library's calls neither race nor hold the GIL."""

import concurrent.futures
import json
import pickle
import threading
import time

import numpy as np
import pytest

import zkimgset
from conftest import PHOTOS, REAL, run_tool

# Pictures Pillow decodes as the tool does: the sample photographs and a
# PNG and a TIFF camera file.
PICTURES = PHOTOS + [REAL / "ev_ReaganSmallPng.png", REAL / "ian_tiff_Picoawards.tiff"]


def tool_analysis(path):
    status, out = run_tool("analyse", "--json", path, cwd=path.parent)
    assert status == 0
    return json.loads(out)


@pytest.mark.parametrize("path", PICTURES, ids=lambda p: p.name)
def test_array_analysis_and_correction_are_the_tools(path, tmp_path):
    tool = tool_analysis(path)
    exif = tool["exif"]
    if exif["used"]:
        values = zkimgset.read_exif(path)
        assert (values["Flash"], values["BrightnessValue"]) == (
            exif["flash"], (exif["brightness_num"], exif["brightness_den"]))
    shot = dict(flash=exif["flash"], brightness=(exif["brightness_num"], exif["brightness_den"]))
    array = zkimgset.open_array(path)
    record = zkimgset.analyse(array, **shot)
    assert list(record.tone) == tool["tone"] and list(record.sat_coef) == tool["sat_coef"]
    assert (record.cb_ofs, record.cr_ofs) == (tool["cb_ofs"], tool["cr_ofs"])
    assert record.figures == tool["figures"]
    summary = tool["summary"]
    assert (record.status, record.summary, record.changes) == (
        summary["status"], summary["summary"], summary["changes"])
    assert json.loads(json.dumps(record.correction)) == summary["correction"]

    run_tool("autosetup", path, "-o", tmp_path / "tool.png", cwd=tmp_path)
    zkimgset.autosetup(array, **shot)
    np.testing.assert_array_equal(array, zkimgset.open_array(tmp_path / "tool.png"))


# ---- Layouts -------------------------------------------------------------------
# Each layout makes a container array for a picture of h x w and names the
# view of it the call gets; whatever lies outside the view must stay as it was.

LAYOUTS = {
    # name: (container, the view of it, order)
    "packed": (lambda h, w: np.zeros((h, w, 3), np.uint8), lambda c: c, "RGB"),
    "crop of a wider picture": (
        lambda h, w: np.full((h + 7, w + 13, 3), 77, np.uint8), lambda c: c[3:-4, 5:-8], "RGB"),
    "BGR packed": (lambda h, w: np.zeros((h, w, 3), np.uint8), lambda c: c, "BGR"),
    # A row length that is no multiple of 4 bytes: not the library's bitmap rows.
    "BGR crop, rows not 4-byte multiples": (
        lambda h, w: np.full((h + 2, w + 1, 3), 33, np.uint8), lambda c: c[1:-1, 1:], "BGR"),
    "Fortran order": (lambda h, w: np.zeros((h, w, 3), np.uint8, order="F"), lambda c: c, "RGB"),
    "every other pixel": (
        lambda h, w: np.full((h, 2 * w, 3), 5, np.uint8), lambda c: c[:, ::2], "RGB"),
    "first three samples of RGBA": (
        lambda h, w: np.full((h, w, 4), 200, np.uint8), lambda c: c[..., :3], "RGB"),
    "rows upside down": (lambda h, w: np.zeros((h, w, 3), np.uint8), lambda c: c[::-1], "RGB"),
}

AREA = (10, 20, 300, 200)


def _apply(array, order, area=None):
    # apply uses the state of the last analysis: hold the lock over both.
    with zkimgset.library_lock():
        record = zkimgset.analyse(zkimgset.open_array(PHOTOS[0]))
        zkimgset.apply(array, record, area, order=order)


OPERATIONS = {
    "autosetup": lambda a, order: zkimgset.autosetup(a, order=order),
    "apply": _apply,
    "apply to an area": lambda a, order: _apply(a, order, AREA),
    "den2ta with a shift": lambda a, order: zkimgset.den2ta(a, (1, 0, -2), order=order),
    "den2vorn with a shift": lambda a, order: zkimgset.den2vorn(a, (2, -1, 0), order=order),
    "color_balance": lambda a, order: zkimgset.color_balance(a, (-3, 2, 0), order=order),
}


@pytest.fixture(scope="module")
def photo():
    return zkimgset.open_array(PHOTOS[0])


@pytest.mark.parametrize("operation", OPERATIONS)
@pytest.mark.parametrize("layout", LAYOUTS)
def test_every_layout_is_changed_as_packed_rgb_is(photo, layout, operation):
    make, view_of, order = LAYOUTS[layout]
    run = OPERATIONS[operation]
    expected_rgb = photo.copy()
    run(expected_rgb, "RGB")
    assert not np.array_equal(expected_rgb, photo)

    in_order = (lambda rgb: rgb) if order == "RGB" else (lambda rgb: rgb[..., ::-1])
    container = make(*photo.shape[:2])
    view_of(container)[...] = in_order(photo)
    expected = container.copy()
    view_of(expected)[...] = in_order(expected_rgb)
    run(view_of(container), order)
    np.testing.assert_array_equal(container, expected)


BAD_CALLS = {
    "float samples": (lambda p: zkimgset.analyse(p.astype(np.float32)), TypeError),
    "two dimensions": (lambda p: zkimgset.analyse(p[..., 0]), ValueError),
    "four samples": (lambda p: zkimgset.analyse(np.dstack([p, p[..., :1]])), ValueError),
    "read-only array changed in place": (
        lambda p: zkimgset.autosetup(np.frombuffer(p.tobytes(), np.uint8).reshape(p.shape)),
        ValueError),
    "unknown order": (lambda p: zkimgset.analyse(p, order="RGBA"), ValueError),
    "area outside the picture": (
        lambda p: zkimgset.apply(p.copy(), zkimgset.Record(), (0, 0, p.shape[1] + 1, 10)),
        ValueError),
    "empty area": (lambda p: zkimgset.apply(p.copy(), zkimgset.Record(), (5, 5, 5, 9)),
                   ValueError),
    "level out of range": (lambda p: zkimgset.analyse(p, level=131), ValueError),
    "mode out of range": (lambda p: zkimgset.analyse(p, mode=0x100), ValueError),
}


@pytest.mark.parametrize("call", BAD_CALLS)
def test_unusable_arrays_and_arguments_are_refused_untouched(photo, call):
    run, error = BAD_CALLS[call]
    before = photo.copy()
    with pytest.raises(error):
        run(photo)
    np.testing.assert_array_equal(photo, before)


@pytest.mark.parametrize("order", ["RGB", "BGR"])
def test_resize_keeps_colours_and_their_places(order):
    # Left half one colour, right half another: a swap of channels or a
    # mirrored row shows.
    left, right = (10, 100, 200), (250, 40, 0)
    in_order = (lambda rgb: rgb) if order == "RGB" else (lambda rgb: rgb[..., ::-1])
    picture = np.empty((300, 400, 3), np.uint8)
    picture[:, :200], picture[:, 200:] = left, right
    small = in_order(zkimgset.resize(in_order(picture).copy(), 40, 30, order=order))
    assert small.shape == (30, 40, 3)
    assert (small[:, :15] == left).all() and (small[:, 25:] == right).all()


def test_records_pickle_and_their_arrays_are_views_of_them(photo):
    record = zkimgset.analyse(photo)
    copy = pickle.loads(pickle.dumps(record))
    assert copy.to_bytes() == record.to_bytes()
    assert (copy.summary, copy.figures, copy.level) == (record.summary, record.figures, 100)
    copy.tone[200] = 7
    copy.sat_coef[0] = -5
    raw = copy.to_bytes()
    assert raw[200] == 7 and int.from_bytes(raw[260:262], "little", signed=True) == -5
    assert zkimgset.Record.from_bytes(raw).to_bytes() == raw


def test_threads_take_turns_at_the_library():
    # Analyses share the library's state: without the lock, pictures
    # corrected side by side get each other's figures.
    pictures = [zkimgset.open_array(p) for p in PHOTOS] * 3
    expected = []
    for p in pictures:
        copy = p.copy()
        expected.append((zkimgset.autosetup(copy).to_bytes(), copy))
    copies = [p.copy() for p in pictures]
    with concurrent.futures.ThreadPoolExecutor(4) as pool:
        records = list(pool.map(zkimgset.autosetup, copies))
    for record, copy, (record_bytes, pixels) in zip(records, copies, expected):
        assert record.to_bytes() == record_bytes
        np.testing.assert_array_equal(copy, pixels)


def test_apply_on_24_megapixels_lets_other_threads_run():
    y, x = np.mgrid[0:4000, 0:6000]
    picture = np.dstack([x % 256, y % 256, (x + y) % 256]).astype(np.uint8)
    record = zkimgset.analyse(picture)
    gaps, stop = [], threading.Event()

    def tick():
        last = time.perf_counter()
        while not stop.is_set():
            time.sleep(0.001)
            now = time.perf_counter()
            gaps.append(now - last)
            last = now

    ticker = threading.Thread(target=tick)
    ticker.start()
    time.sleep(0.05)
    gaps.clear()
    start = time.perf_counter()
    zkimgset.apply(picture, record)
    seconds = time.perf_counter() - start
    stop.set()
    ticker.join()
    # Holding the GIL would stop the ticker for the whole call.
    assert len(gaps) >= 5 and max(gaps) < seconds / 2, (seconds, max(gaps))
