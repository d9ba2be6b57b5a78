"""Arrays: the package's analysis and pixels are the tool's, whatever the
array's layout, and threads do not race at the library."""

import concurrent.futures
import json
import pickle

import numpy as np
import pytest

import zkimgset
from conftest import PHOTOS, REAL, run_tool

# Pictures Pillow decodes as the tool does: the sample photographs and a
# PNG and a TIFF camera file.
PICTURES = PHOTOS + [REAL / "ev_ReaganSmallPng.png", REAL / "ian_tiff_Picoawards.tiff"]


SHIFTED = {"level": 110, "blue_shift": 3, "red_shift": -2}


def _options(adjustments):
    return [x for k, v in adjustments.items() for x in ("--" + k.replace("_", "-"), str(v))]


@pytest.mark.parametrize("path, adjustments", [(p, {}) for p in PICTURES] + [(PHOTOS[0], SHIFTED)],
                         ids=[p.name for p in PICTURES] + ["shifted"])
def test_array_analysis_and_correction_are_the_tools(path, adjustments, tmp_path):
    status, out = run_tool("analyse", "--json", path, *_options(adjustments), cwd=path.parent)
    tool = json.loads(out)
    exif = tool["exif"]
    if exif["used"]:
        values = zkimgset.read_exif(path)
        assert (values["Flash"], values["BrightnessValue"]) == (
            exif["flash"], (exif["brightness_num"], exif["brightness_den"]))
    shot = dict(flash=exif["flash"], brightness=(exif["brightness_num"], exif["brightness_den"]),
                **adjustments)
    array = zkimgset.open_array(path)
    record = zkimgset.analyse(array, **shot)
    kept = pickle.loads(pickle.dumps(record))
    assert (kept.to_bytes(), kept.summary, kept.blue_shift, kept.red_shift) == (
        record.to_bytes(), record.summary, adjustments.get("blue_shift", 0),
        adjustments.get("red_shift", 0))
    assert list(record.tone) == tool["tone"] and list(record.sat_coef) == tool["sat_coef"]
    assert (record.cb_ofs, record.cr_ofs) == (tool["cb_ofs"], tool["cr_ofs"])
    assert record.figures == tool["figures"]
    summary = tool["summary"]
    assert (record.status, record.summary, record.changes) == (
        summary["status"], summary["summary"], summary["changes"])
    assert json.loads(json.dumps(record.correction)) == summary["correction"]

    run_tool("autosetup", path, "-o", tmp_path / "tool.png", *_options(adjustments), cwd=tmp_path)
    zkimgset.autosetup(array, **shot)
    np.testing.assert_array_equal(array, zkimgset.open_array(tmp_path / "tool.png"))


# Each layout: a container for an h x w picture and the view of it the call
# gets; whatever lies outside the view must stay as it was.

LAYOUTS = {
    # name: (container, the view of it, order)
    "packed": (lambda h, w: np.zeros((h, w, 3), np.uint8), lambda c: c, "RGB"),
    "BGR crop, rows not 4-byte multiples": (
        lambda h, w: np.full((h + 2, w + 1, 3), 33, np.uint8), lambda c: c[1:-1, 1:], "BGR"),
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
    "four samples": (lambda p: zkimgset.analyse(np.dstack([p, p[..., :1]])), ValueError),
    "read-only array changed in place": (
        lambda p: zkimgset.autosetup(np.frombuffer(p.tobytes(), np.uint8).reshape(p.shape)),
        ValueError),
    "unknown order": (lambda p: zkimgset.analyse(p, order="RGBA"), ValueError),
    "area outside the picture": (
        lambda p: zkimgset.apply(p.copy(), zkimgset.Record(), (0, 0, p.shape[1] + 1, 10)),
        ValueError),
    "level out of range": (lambda p: zkimgset.analyse(p, level=131), ValueError),
    "red shift out of range": (lambda p: zkimgset.autosetup(p, red_shift=-8), ValueError),
    "resize past any address": (lambda p: zkimgset.resize(p, 2**31 - 1, 2**31 - 1), MemoryError),
    "resize past 32 bits": (lambda p: zkimgset.resize(p, 2**31, 10), ValueError),
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
    # Two colours side by side: a swap of channels or a mirrored row shows.
    left, right = (10, 100, 200), (250, 40, 0)
    in_order = (lambda rgb: rgb) if order == "RGB" else (lambda rgb: rgb[..., ::-1])
    picture = np.empty((300, 400, 3), np.uint8)
    picture[:, :200], picture[:, 200:] = left, right
    small = in_order(zkimgset.resize(in_order(picture).copy(), 40, 30, order=order))
    assert small.shape == (30, 40, 3)
    assert (small[:, :15] == left).all() and (small[:, 25:] == right).all()


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
