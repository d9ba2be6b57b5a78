"""Picture files: python3 -m zkimgset autosetup writes the tool's bytes and
prints its JSON Lines and exit statuses."""

import pickle
import shutil

import pytest

import zkimgset
from conftest import PHOTOS, REAL, files_of, json_lines, run_python, run_tool


@pytest.fixture(scope="module")
def inputs(tmp_path_factory):
    """JPEG, PNG and TIFF pictures, one that is no picture, one too small,
    and a text file that a folder run skips."""
    folder = tmp_path_factory.mktemp("files")
    pictures = folder / "in"
    pictures.mkdir()
    for p in PHOTOS + [REAL / "ev_ReaganSmallPng.png", REAL / "ian_tiff_Picoawards.tiff",
                       REAL / "ev_Reagan.tiff"]:
        shutil.copy(p, pictures / p.name)
    (pictures / "broken.jpg").write_bytes(PHOTOS[0].read_bytes()[:2000])
    (pictures / "notes.jpg").write_text("not a picture\n")
    (pictures / "notes.txt").write_text("not a picture\n")
    zkimgset.save_array(zkimgset.resize(zkimgset.open_array(PHOTOS[0]), 100, 80),
                        pictures / "tiny.png")
    return folder


def both(folder, *args):
    """The tool's and the package's runs of `autosetup ARGS` from folder, each
    into its own out/: exit statuses, standard outputs and files written."""
    results = []
    for run in (run_tool, run_python):
        shutil.rmtree(folder / "out", ignore_errors=True)
        extra = ("--jobs", "1") if run is run_tool else ()
        status, out = run("autosetup", *args, *extra, cwd=folder)
        results.append((status, out, files_of(folder / "out")))
    return results


@pytest.mark.parametrize("options", [[], ["--format", "tiff"], ["--blue-shift", "3", "--red-shift", "-2"]],
                         ids=["as they come", "tiff", "shifted"])
def test_json_lines_and_outputs_are_the_tools(inputs, options):
    args = ["in", "--out-dir", "out", "--json"] + options
    (tool_status, tool_out, tool_files), (status, out, files) = both(inputs, *args)
    assert (status, json_lines(out)) == (tool_status, json_lines(tool_out))
    assert status == 1 and len(files) >= 5
    assert files == tool_files


@pytest.mark.parametrize("args", [
    ["in", "-o", "x.jpg"],                         # one output for several inputs
    ["in/dark-party.jpg", "-o", "x.bmp"],         # a format nobody writes
    ["in", "--out-dir", "out", "--level", "200"],  # outside 70..130
    ["in", "--out-dir", "out", "--blue-shift", "8"],  # outside -7..7
], ids=["-o with a folder", "unknown extension", "level", "blue shift"])
def test_usage_mistakes_exit_2_as_the_tools_do(inputs, args):
    assert run_python("autosetup", *args, cwd=inputs)[0] == 2
    assert run_tool("autosetup", *args, cwd=inputs)[0] == 2


def test_settings_reach_a_worker_process_whole():
    # Dask hands them to its workers pickled.
    settings = zkimgset.settings(level=110, blue_shift=3, red_shift=-2, exif=False)
    assert pickle.loads(pickle.dumps(settings)).text == settings.text == (
        "mode 0xDF, level 110, contrast 0, saturation 0, blue shift 3, red shift -2, "
        "Exif ignored")
