#!/usr/bin/python3
"""The review page of a large run: its size, and how soon it is ready in
headless Chromium.

The run: 200 photographs of 1 to 3 megapixels, cut at seeded random places
and scales out of the sample photographs and the larger real camera JPEGs of
tests/data/exif/real/, corrected by `zkimgset autosetup --report`. The page
is then opened ROUNDS times in one headless Chromium (each time from a blank
page), and the time from the start of the navigation to the page's script
having sorted the cards and set up its tools (its "review-ready" mark), and
to the load event, is taken from the browser's own clock.

Goals: the page stays under 10 MB and is ready in under 2 s.

Usage: bench/review_page.py [BUILD] [ROUNDS]
  BUILD   the build folder (default build-bench if it has the tool, else build)
  ROUNDS  page openings timed, default 7
"""

import pathlib
import random
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

from PIL import Image
from selenium import webdriver
from selenium.webdriver.chrome.service import Service

ROOT = pathlib.Path(__file__).resolve().parent.parent
PICTURES = 200
SIZE_GOAL = 10 * 1000 * 1000
READY_GOAL = 2.0


def tool_of(arg):
    build = pathlib.Path(arg).resolve() if arg else ROOT / "build-bench"
    if not (build / "bin" / "zkimgset").exists():
        build = ROOT / "build"
    return build / "bin" / "zkimgset"


def make_pictures(folder):
    sources = sorted((ROOT / "examples/photos").glob("*.jpg"))
    for path in sorted((ROOT / "tests/data/exif/real").glob("*.jpg")):
        try:
            with Image.open(path) as image:
                if image.mode == "RGB" and min(image.size) >= 480:
                    sources.append(path)
        except OSError:
            pass
    chance = random.Random(2026)
    for n in range(PICTURES):
        with Image.open(sources[n % len(sources)]) as image:
            image = image.convert("RGB")
            w, h = image.size
            scale = chance.uniform(0.6, 1.0)
            cw, ch = int(w * scale), int(h * scale)
            x, y = chance.randint(0, w - cw), chance.randint(0, h - ch)
            crop = image.crop((x, y, x + cw, y + ch))
            side = chance.choice((1200, 1600, 2000))
            crop.thumbnail((side, side))
            if crop.size[0] < 1200:
                crop = crop.resize((1200, max(92, crop.size[1] * 1200 // crop.size[0])))
            crop.save(folder / f"photo-{n:03d}.jpg", quality=90)


def browser():
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                     "--no-first-run", "--disable-background-networking", "--disable-sync",
                     "--disable-component-update", "--window-size=1400,1000"):
        options.add_argument(argument)
    options.binary_location = shutil.which("chromium") or "/usr/bin/chromium"
    return webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)


def open_once(driver, url):
    driver.get("about:blank")
    driver.get(url)
    end = time.monotonic() + 60
    while True:
        times = driver.execute_script(
            "const ready = performance.getEntriesByName('review-ready')[0];"
            "const nav = performance.getEntriesByType('navigation')[0];"
            "return ready && nav && nav.loadEventEnd > 0 ? [ready.startTime, nav.loadEventEnd] : null")
        if times:
            return [t / 1000 for t in times]
        if time.monotonic() > end:
            sys.exit("review_page: the page never became ready")
        time.sleep(0.02)


def spread(values):
    return f"{statistics.median(values):.2f} s ({min(values):.2f}-{max(values):.2f})"


def main():
    tool = tool_of(sys.argv[1] if len(sys.argv) > 1 else None)
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 7
    with tempfile.TemporaryDirectory(prefix="zkimgset-review-bench-") as work:
        work = pathlib.Path(work)
        (work / "in").mkdir()
        make_pictures(work / "in")
        megapixels = sum(Image.open(p).size[0] * Image.open(p).size[1]
                         for p in (work / "in").iterdir()) / 1e6
        start = time.monotonic()
        done = subprocess.run([str(tool), "autosetup", "in", "--out-dir", "out", "--report",
                               "out/report.html", "-q"], cwd=work)
        run_seconds = time.monotonic() - start
        if done.returncode != 0:
            sys.exit("review_page: the run failed")
        page = work / "out/report.html"
        size = page.stat().st_size
        driver = browser()
        try:
            open_once(driver, page.as_uri())  # warm-up
            timings = [open_once(driver, page.as_uri()) for _ in range(rounds)]
            cards = driver.execute_script("return document.querySelectorAll('article.picture').length")
        finally:
            driver.quit()
    ready = [t[0] for t in timings]
    loaded = [t[1] for t in timings]
    print(f"run:     {PICTURES} photographs, {megapixels:.0f} megapixels, corrected with the page in"
          f" {run_seconds:.1f} s")
    print(f"page:    {size / 1e6:.2f} MB, {cards} cards, {size / cards / 1e3:.1f} kB a card"
          f"  (goal: under {SIZE_GOAL / 1e6:.0f} MB: {'met' if size < SIZE_GOAL else 'NOT met'})")
    print(f"ready:   {spread(ready)} from navigation to the script's tools in place, {rounds} openings"
          f"  (goal: under {READY_GOAL:.0f} s: "
          f"{'met' if statistics.median(ready) < READY_GOAL else 'NOT met'})")
    print(f"load:    {spread(loaded)} to the load event")
    return 0 if size < SIZE_GOAL and statistics.median(ready) < READY_GOAL else 1


if __name__ == "__main__":
    sys.exit(main())
