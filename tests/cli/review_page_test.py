"""The review page in a real browser: headless Chromium driven by Selenium
clicks what an operator clicks and reads what the page exports, and the tool
then carries out the exported decisions.

The run under review: the sample photographs, a night scene the correction
brightens a great deal (a warning), a TIFF (which a browser cannot show), a
text file named as a JPEG (a failure) and one not named as a picture (a skip).
"""
import json
import os
import re
import shutil
import subprocess
import time
from pathlib import Path

import pytest

webdriver = pytest.importorskip("selenium.webdriver")
from selenium.webdriver.common.action_chains import ActionChains  # noqa: E402
from selenium.webdriver.common.by import By  # noqa: E402
from selenium.webdriver.chrome.service import Service  # noqa: E402

TOOL = os.environ["ZKIMGSET_TOOL"]
SOURCE = Path(os.environ["ZKIMGSET_SOURCE_DIR"])
WORK = Path(os.environ.get("ZKIMGSET_WORK_DIR", "/tmp/zkimgset-review-test"))
NIGHT = "ev_exiv2-bug884c.jpg"
TIFF = "ev_Reagan.tiff"


def tool(*args):
    done = subprocess.run([TOOL, *args], cwd=WORK, capture_output=True, text=True, timeout=300)
    return done.returncode, done.stdout


@pytest.fixture(scope="module")
def run():
    shutil.rmtree(WORK, ignore_errors=True)
    pictures = WORK / "in"
    pictures.mkdir(parents=True)
    for photo in sorted((SOURCE / "examples/photos").glob("*.jpg")):
        shutil.copy(photo, pictures)
    for name in (NIGHT, TIFF):
        shutil.copy(SOURCE / "tests/data/exif/real" / name, pictures)
    (pictures / "notes.jpg").write_text("not a picture\n")
    (pictures / "notes.txt").write_text("not a picture either\n")
    status, out = tool("autosetup", "in", "--out-dir", "out", "--report", "out/report.html",
                       "--json", "--jobs", "2")
    assert status == 1  # notes.jpg fails
    lines = [json.loads(line) for line in out.splitlines()]
    return {Path(line["file"]).name: line for line in lines if line["type"] == "picture"}


@pytest.fixture(scope="module")
def browser(run):
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                     "--no-first-run", "--disable-background-networking", "--disable-sync",
                     "--disable-component-update", "--host-resolver-rules=MAP * ~NOTFOUND"):
        options.add_argument(argument)
    options.binary_location = shutil.which("chromium") or "/usr/bin/chromium"
    driver = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
    driver.execute_cdp_cmd("Page.setDownloadBehavior",
                           {"behavior": "allow", "downloadPath": str(WORK / "downloads")})
    yield driver
    driver.quit()


def open_page(driver, width=1400):
    driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
        "width": width, "height": 1000, "deviceScaleFactor": 1, "mobile": width < 600})
    driver.get((WORK / "out/report.html").as_uri())
    wait(lambda: driver.execute_script("return document.documentElement.dataset.ready === 'true'"))


def wait(condition, seconds=10):
    end = time.monotonic() + seconds
    while not condition():
        assert time.monotonic() < end
        time.sleep(0.05)


def shown(driver, attribute="data-name"):
    cards = driver.find_elements(By.CSS_SELECTOR, "article.picture")
    return [c.get_attribute(attribute) for c in cards if c.is_displayed()]


def within(driver, name, selector):
    return driver.find_element(By.CSS_SELECTOR, f'article.picture[data-name="{name}"] {selector}')


def click(driver, element):
    driver.execute_script("arguments[0].scrollIntoView({block: 'center'})", element)
    element.click()


def choose(driver, select_id, value):
    driver.execute_script(
        "const s = document.getElementById(arguments[0]); s.value = arguments[1];"
        "s.dispatchEvent(new Event('change'));", select_id, value)


def test_page_shows_sorts_and_filters_the_run(browser, run):
    page = (WORK / "out/report.html").read_text()
    assert not any(f in page for f in ("http://", "https://", "<link", "@import", "url("))
    for width in (390, 1400):  # no horizontal overflow, on a phone either
        open_page(browser, width)
        browser.execute_script("document.querySelectorAll('details').forEach(d => d.open = true)")
        assert browser.execute_script("const e = document.documentElement;"
                                      "return e.scrollWidth <= e.clientWidth")
    open_page(browser)
    images = browser.execute_script(
        "return Array.from(document.querySelectorAll('article img')).map(i => [i.src.slice(0, 23),"
        " i.complete, i.naturalWidth == i.getAttribute('width') &&"
        " i.naturalHeight == i.getAttribute('height')])")
    assert images == [["data:image/jpeg;base64,", True, True]] * 10  # 5 corrected, both shots
    assert browser.execute_script("return performance.getEntriesByType('resource').filter("
                                  "e => !e.name.startsWith('data:')).length") == 0
    assert browser.find_element(By.ID, "failed").get_attribute("open") is None
    assert "notes.jpg" in browser.find_element(By.ID, "failed").get_attribute("textContent")
    assert "notes.txt" in browser.find_element(By.ID, "skipped").get_attribute("textContent")

    names = shown(browser)
    assert names[0] == NIGHT, "the dark scene brightened and clipped comes first"
    priorities = [float(p) for p in shown(browser, "data-priority")]
    assert priorities == sorted(priorities, reverse=True)
    choose(browser, "sort", "name")
    assert shown(browser) == sorted(names, key=lambda n: [  # letter case aside, numbers by value
        int(part) if part.isdigit() else part.lower() for part in re.split(r"(\d+)", n)])
    choose(browser, "sort", "shift")
    shifts = [abs(run[n]["review"]["mean_level"][1] - run[n]["review"]["mean_level"][0])
              for n in shown(browser)]
    assert all(a >= b - 0.1 for a, b in zip(shifts, shifts[1:]))
    choose(browser, "filter", "warnings")
    assert shown(browser) == [n for n, l in run.items() if l.get("review", {}).get("warnings")] \
        == [NIGHT]

    # The subject outline is off until asked for.
    open_page(browser)
    outline = within(browser, "dark-party.jpg", "svg.outline")
    assert not outline.is_displayed()
    click(browser, within(browser, "dark-party.jpg", ".outline-toggle"))
    assert outline.is_displayed()


def test_full_size_view_opens_the_files_themselves(browser):
    open_page(browser)
    viewer = browser.find_element(By.ID, "viewer")
    click(browser, within(browser, "dark-party.jpg", ".shot.before button"))
    wait(lambda: browser.execute_script(
        "return arguments[0].open && ['viewer-before', 'viewer-after'].every(id =>"
        " document.getElementById(id).complete)", viewer))
    sources = browser.execute_script(
        "return ['viewer-before', 'viewer-after'].map(id => { const i = document.getElementById(id);"
        " return [i.getAttribute('src'), i.naturalWidth, i.naturalHeight]; })")
    assert sources == [["../in/dark-party.jpg", 640, 480], ["dark-party.jpg", 640, 480]]
    # Flipping hides the corrected picture over the original, and back.
    after = browser.find_element(By.ID, "viewer-after")
    ActionChains(browser).send_keys("f").perform()
    assert not after.is_displayed()
    browser.find_element(By.ID, "viewer-flip").click()
    assert after.is_displayed()
    browser.find_element(By.ID, "viewer-close").click()
    wait(lambda: not viewer.get_attribute("open"))
    # A TIFF: the links lead to the files, the thumbnails stand in on screen.
    click(browser, within(browser, TIFF, ".shot.after button"))
    wait(lambda: viewer.get_attribute("open"))
    assert after.get_attribute("src").startswith("data:")
    assert browser.find_element(By.ID, "viewer-after-link").get_attribute("href").endswith(
        "/out/" + TIFF)
    assert "cannot show" in browser.find_element(By.ID, "viewer-note").text


def test_decisions_are_kept_exported_and_carried_out(browser):
    open_page(browser)
    browser.execute_script("localStorage.clear()")
    open_page(browser)
    click(browser, within(browser, "indoor-cast.jpg", '[data-decision="accept"]'))
    click(browser, within(browser, "bright-facade.jpg", '[data-decision="reject"]'))
    click(browser, within(browser, NIGHT, '[data-decision="adjust"]'))
    for name, value in (("level", "85"), ("red_shift", "-2")):
        field = within(browser, NIGHT, f'input[name="{name}"]')
        click(browser, field)
        field.clear()
        field.send_keys(value)
    click(browser, within(browser, NIGHT, 'input[name="contrast"]'))  # leaves the field
    open_page(browser)  # the decisions outlive a reload
    assert within(browser, NIGHT, ".verdict").text == "ADJUSTED"
    assert "1 accepted · 1 rejected · 1 adjusted · 2 undecided" in browser.find_element(
        By.ID, "tally").text

    exported = WORK / "downloads/decisions.json"
    shutil.rmtree(exported.parent, ignore_errors=True)
    click(browser, browser.find_element(By.ID, "export"))
    wait(exported.exists)
    picture = lambda name, decision, **more: dict(  # noqa: E731
        file="in/" + name, output="out/" + name, name=name, format="jpeg", decision=decision, **more)
    assert json.loads(exported.read_text()) == {
        "type": "zkimgset-decisions", "version": 1, "base": str(WORK),
        "report": "out/report.html",
        "settings": {"mode": 223, "level": 100, "contrast": 0, "saturation": 0, "blue_shift": 0,
                     "red_shift": 0, "exif": True, "quality": 95},
        "pictures": [picture("bright-facade.jpg", "reject"),
                     picture(NIGHT, "adjust", adjustments={"level": 85, "contrast": 0,
                                                           "saturation": 0, "blue_shift": 0,
                                                           "red_shift": -2}),
                     picture("indoor-cast.jpg", "accept")]}

    # The operator's loop closes: accepted copied, adjusted corrected again
    # exactly as a run with those adjustments writes it, rejected left out.
    assert tool("autosetup", "--decisions", str(exported), "--out-dir", "final")[0] == 0
    assert tool("autosetup", "in/" + NIGHT, "-o", "direct.jpg", "--level", "85",
                "--red-shift", "-2")[0] == 0
    read = lambda path: (WORK / path).read_bytes()  # noqa: E731
    assert read("final/indoor-cast.jpg") == read("out/indoor-cast.jpg")
    assert read("final/" + NIGHT) == read("direct.jpg")
    assert not (WORK / "final/bright-facade.jpg").exists()
