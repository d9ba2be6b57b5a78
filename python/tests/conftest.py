"""Shared fixtures: the built tool (CTest's ZKIMGSET_TOOL, else build/), the
sample photographs, and 40 camera pictures with the tool's outputs for them."""

import json
import os
import pathlib
import shutil
import subprocess
import sys
import types

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("ZKIMGSET_BUILD_DIR", ROOT / "build"))
TOOL = pathlib.Path(os.environ.get("ZKIMGSET_TOOL", BUILD / "bin" / "zkimgset"))
PHOTOS = sorted((ROOT / "examples" / "photos").glob("*.jpg"))
REAL = ROOT / "tests" / "data" / "exif" / "real"
PICTURE_SUFFIXES = {".jpg", ".jpeg", ".png", ".tif", ".tiff"}
BATCH_SIZE = 40

if str(BUILD / "python") not in sys.path and "zkimgset" not in sys.modules:
    sys.path.insert(0, str(BUILD / "python"))


def run_tool(*args, cwd):
    """The command-line tool's exit status and standard output."""
    done = subprocess.run([str(TOOL), *map(str, args)], cwd=cwd, capture_output=True, text=True)
    return done.returncode, done.stdout


def run_python(*args, cwd):
    """python3 -m zkimgset's exit status and standard output."""
    env = dict(os.environ, PYTHONPATH=os.environ.get("PYTHONPATH", str(BUILD / "python")))
    done = subprocess.run([sys.executable, "-m", "zkimgset", *map(str, args)], cwd=cwd,
                          capture_output=True, text=True, env=env)
    return done.returncode, done.stdout


def json_lines(text):
    """JSON Lines by their "file" (the run line under "run"), without times."""
    lines = {}
    for line in text.splitlines():
        record = json.loads(line)
        record.pop("seconds")
        lines[record.get("file", record["type"])] = record
    return lines


def files_of(folder):
    """Every file below folder, hidden ones included, by relative name."""
    folder = pathlib.Path(folder)
    return {str(p.relative_to(folder)): p.read_bytes() for p in folder.rglob("*") if p.is_file()}


@pytest.fixture(scope="session")
def batch(tmp_path_factory):
    folder = tmp_path_factory.mktemp("batch")
    # The smallest camera files the tool corrects.
    candidates = sorted((p for p in REAL.iterdir() if p.suffix.lower() in PICTURE_SUFFIXES),
                        key=lambda p: (p.stat().st_size, p.name))
    probe = folder / "probe"
    probe.mkdir()
    for p in candidates:
        shutil.copy(p, probe / p.name)
    _, out = run_tool("autosetup", "--json", "--jobs", "2", "--out-dir", "probe-out", "probe",
                      cwd=folder)
    usable = {pathlib.Path(f).name for f, r in json_lines(out).items()
              if r.get("status") in ("corrected", "unchanged")}
    names = [p.name for p in candidates if p.name in usable][:BATCH_SIZE]
    assert len(names) == BATCH_SIZE, "fewer than 40 usable camera pictures"
    (folder / "in").mkdir()
    for name in names:
        shutil.copy(REAL / name, folder / "in" / name)
    shutil.rmtree(probe)
    shutil.rmtree(folder / "probe-out")
    status, out = run_tool("autosetup", "--json", "--jobs", "2", "--out-dir", "out", "in",
                           cwd=folder)
    assert status == 0
    (folder / "out").rename(folder / "tool-out")
    # JSON Lines made with `--out-dir out`, as a run into folder/out gives them.
    return types.SimpleNamespace(folder=folder, inputs=folder / "in", names=names,
                                 tool_out=folder / "tool-out", tool_lines=json_lines(out))
