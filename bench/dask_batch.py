#!/usr/bin/python3
"""Throughput of a Dask cluster against the command-line tool on one batch.

The batch: 40 real camera JPEGs (the ten largest of tests/data/exif/real/
that the tool corrects without a warning, four copies each, 2 to 8
megapixels). Each side reads, corrects and writes every picture into a
fresh folder:

  tool N       zkimgset autosetup --jobs N IN --out-dir OUT
  dask N warm  zkimgset.dask.autosetup(IN, OUT, client) on a LocalCluster of
               N worker processes (one thread each) that is already running,
               as a cluster's workers are
  dask N cold  python3 -m zkimgset batch --workers N IN --out-dir OUT: the
               cluster started and stopped by the command

for N = 1 and 2, RUNS times each, taking turns, after one warm-up run each.
Printed: the median and best throughput in megapixels a second, and for
each dask row its throughput over the tool's with as many processes, the
median (min-max) of the rounds' pairs:

  dask 2 warm / tool 2: 0.97 (0.92-1.01)   (overhead 3%)

The goal is an overhead under 10% at 2 workers on the warm cluster; the
cold rows show what starting a cluster for one batch costs. The outputs
of every side are checked to be the tool's bytes.

Usage: bench/dask_batch.py [BUILD] [RUNS]
  BUILD  the build folder (default build-bench if it has the package, else build)
  RUNS   timed runs of each side, default 5
"""

import json
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
PYTHON = "/usr/bin/python3"
BATCH_SOURCES = 10
COPIES = 4


def build_folder(arg):
    if arg:
        return pathlib.Path(arg).resolve()
    bench = ROOT / "build-bench"
    return bench if (bench / "python" / "zkimgset").is_dir() else ROOT / "build"


def die(message):
    sys.exit("dask_batch: " + message)


def same_files(a, b):
    names = sorted(p.name for p in a.iterdir())
    return names == sorted(p.name for p in b.iterdir()) and all(
        (a / n).read_bytes() == (b / n).read_bytes() for n in names)


def main():
    if len(sys.argv) > 1 and sys.argv[1] in ("-h", "--help"):
        print(__doc__)
        return 0
    build = build_folder(sys.argv[1] if len(sys.argv) > 1 else "")
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    tool = build / "bin" / "zkimgset"
    if not tool.exists() or not (build / "python" / "zkimgset").is_dir():
        die("no tool or Python package in %s (make build, or make bench)" % build)
    sys.path.insert(0, str(build / "python"))
    os.environ["PYTHONPATH"] = str(build / "python")
    try:
        import zkimgset.dask as zkdask
    except ImportError as e:
        print("skipped: the Python package or Dask is missing (%s); make bench-deps" % e)
        return 0

    tmp = pathlib.Path(tempfile.mkdtemp(prefix="zkimgset-dask-bench."))
    try:
        # The ten largest JPEGs the tool corrects with no note (no warning).
        probe = tmp / "probe"
        probe.mkdir()
        real = ROOT / "tests" / "data" / "exif" / "real"
        jpegs = sorted((p for p in real.iterdir() if p.suffix.lower() in (".jpg", ".jpeg")),
                       key=lambda p: -p.stat().st_size)[:40]
        for p in jpegs:
            shutil.copy(p, probe / p.name)
        done = subprocess.run([str(tool), "autosetup", "--json", "--jobs", "2", str(probe),
                               "--out-dir", str(tmp / "probe-out")], capture_output=True,
                              text=True)
        clean = {}
        for line in done.stdout.splitlines():
            r = json.loads(line)
            if r.get("status") == "corrected" and not r.get("notes"):
                clean[pathlib.Path(r["file"]).name] = r["width"] * r["height"]
        chosen = [p.name for p in jpegs if p.name in clean][:BATCH_SOURCES]
        if len(chosen) < BATCH_SOURCES:
            die("fewer than ten clean JPEGs in tests/data/exif/real/")
        batch = tmp / "in"
        batch.mkdir()
        pixels = 0
        for copy in range(COPIES):
            for name in chosen:
                shutil.copy(real / name, batch / ("%d-%s" % (copy, name)))
                pixels += clean[name]
        shutil.rmtree(probe)
        shutil.rmtree(tmp / "probe-out")
        print("batch:   %d camera JPEGs, %.0f megapixels" % (COPIES * len(chosen), pixels / 1e6))
        print("tool:    %s" % tool)
        print("runs:    1 warm-up + %d timed each, taking turns" % runs)
        print("cores:   %d" % (os.cpu_count() or 1))

        reference = tmp / "reference"

        def tool_run(n, out):
            subprocess.run([str(tool), "autosetup", "-q", "--jobs", str(n), str(batch),
                            "--out-dir", str(out)], check=True)

        def cold_run(n, out):
            subprocess.run([PYTHON, "-m", "zkimgset", "batch", "-q", "--workers", str(n),
                            str(batch), "--out-dir", str(out)], check=True)

        clients = {}

        def warm_run(n, out):
            results = zkdask.autosetup([batch], out, clients[n])
            if any(r.status != "corrected" for r in results):
                die("the cluster failed a picture")

        tool_run(2, reference)
        sides = []
        for n in (1, 2):
            sides += [("tool %d" % n, n, tool_run), ("dask %d warm" % n, n, warm_run),
                      ("dask %d cold" % n, n, cold_run)]
        times = {name: [] for name, _, _ in sides}
        with zkdask.cluster_client(workers=1) as one, zkdask.cluster_client(workers=2) as two:
            clients[1], clients[2] = one, two
            for attempt in range(runs + 1):
                for name, n, run in sides:
                    out = tmp / "out"
                    shutil.rmtree(out, ignore_errors=True)
                    start = time.perf_counter()
                    run(n, out)
                    seconds = time.perf_counter() - start
                    if attempt == 0:
                        if not same_files(out, reference):
                            die("%s wrote other bytes than the tool" % name)
                    else:
                        times[name].append(seconds)

        print()
        print("%-14s %12s %10s" % ("side", "median MP/s", "best MP/s"))
        for name, _, _ in sides:
            print("%-14s %12.1f %10.1f" % (name, pixels / 1e6 / statistics.median(times[name]),
                                            pixels / 1e6 / min(times[name])))
        print()
        for n in (1, 2):
            for kind in ("warm", "cold"):
                # Throughput ratio of each round's pair, taken in turn.
                pairs = sorted(t / d for t, d in zip(times["tool %d" % n],
                                                     times["dask %d %s" % (n, kind)]))
                ratio = statistics.median(pairs)
                print("dask %d %s / tool %d: %.2f (%.2f-%.2f)   (overhead %.0f%%)"
                      % (n, kind, n, ratio, pairs[0], pairs[-1], (1 - ratio) * 100))
        print("outputs: the tool's bytes on every side")
    finally:
        shutil.rmtree(tmp, ignore_errors=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
