"""The review page in a real browser: headless Chromium driven by Selenium
clicks what an operator clicks and reads what the page exports, and the tool
then carries out the exported decisions.

The run under review: the sample photographs, a night scene the correction
brightens a great deal (a warning), a TIFF (which a browser cannot show), a
text file named as a JPEG (a failure) and one not named as a picture (a skip).
"""
import hashlib
import json
import re
import os
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


def tool(*args, cwd):
    return subprocess.run([TOOL, *args], cwd=cwd, capture_output=True, text=True, timeout=300)


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
    done = tool("autosetup", "in", "--out-dir", "out", "--report", "out/report.html", "--json",
                "--jobs", "2", cwd=WORK)
    assert done.returncode == 1, done.stderr  # notes.jpg fails
    lines = [json.loads(line) for line in done.stdout.splitlines()]
    return {line["file"]: line for line in lines if line["type"] == "picture"}


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


def open_page(driver, width=1400, height=1000):
    driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
        "width": width, "height": height, "deviceScaleFactor": 1, "mobile": width < 600})
    driver.get((WORK / "out/report.html").as_uri())
    wait(driver, "return document.documentElement.dataset.ready === 'true'")


def wait(driver, script, seconds=10):
    end = time.monotonic() + seconds
    while not driver.execute_script(script):
        assert time.monotonic() < end, script
        time.sleep(0.05)


def shown_cards(driver):
    return [card for card in driver.find_elements(By.CSS_SELECTOR, "article.picture")
            if card.is_displayed()]


def card(driver, name):
    return driver.find_element(By.CSS_SELECTOR, f'article.picture[data-name="{name}"]')


def click(driver, element):
    driver.execute_script("arguments[0].scrollIntoView({block: 'center'})", element)
    element.click()


def natural(name):
    """The order of names the page sorts by: letter case aside, numbers by value."""
    return [int(part) if part.isdigit() else part.lower()
            for part in re.split(r"(\d+)", name)]


def choose(driver, select_id, value):
    driver.execute_script(
        "const s = document.getElementById(arguments[0]); s.value = arguments[1];"
        "s.dispatchEvent(new Event('change'));", select_id, value)


def test_page_fetches_nothing_and_every_thumbnail_decodes(browser, run):
    page = (WORK / "out/report.html").read_text()
    for forbidden in ("http://", "https://", "<link", "@import", "url("):
        assert forbidden not in page
    open_page(browser)
    images = browser.execute_script(
        "return Array.from(document.querySelectorAll('article img')).map(i => [i.src.slice(0, 23),"
        " i.complete, i.naturalWidth == i.getAttribute('width') &&"
        " i.naturalHeight == i.getAttribute('height')])")
    analysed = [line for line in run.values() if line["status"] == "corrected"]
    assert len(images) == 2 * len(analysed) == 10
    assert all(image == ["data:image/jpeg;base64,", True, True] for image in images)
    assert browser.execute_script(
        "return performance.getEntriesByType('resource').filter("
        "e => !e.name.startsWith('data:')).length") == 0
    failed = browser.find_element(By.ID, "failed")
    assert failed.get_attribute("open") is None
    assert "notes.jpg" in failed.get_attribute("textContent")
    assert "notes.txt" in browser.find_element(By.ID, "skipped").get_attribute("textContent")


def test_sorting_and_filtering(browser, run):
    open_page(browser)
    names = [c.get_attribute("data-name") for c in shown_cards(browser)]
    assert names[0] == NIGHT, "the dark scene brightened and clipped comes first"
    priorities = [float(c.get_attribute("data-priority")) for c in shown_cards(browser)]
    assert priorities == sorted(priorities, reverse=True)

    choose(browser, "sort", "name")
    assert [c.get_attribute("data-name") for c in shown_cards(browser)] == sorted(names, key=natural)
    choose(browser, "sort", "shift")
    shifts = {Path(f).name: abs(l["review"]["mean_level"][1] - l["review"]["mean_level"][0])
              for f, l in run.items() if "review" in l}
    shown = [shifts[c.get_attribute("data-name")] for c in shown_cards(browser)]
    assert all(a >= b - 0.1 for a, b in zip(shown, shown[1:]))

    choose(browser, "filter", "warnings")
    warned = sorted(Path(f).name for f, l in run.items() if l.get("review", {}).get("warnings"))
    assert sorted(c.get_attribute("data-name") for c in shown_cards(browser)) == warned == [NIGHT]


def test_subject_outline_is_off_until_asked_for(browser):
    open_page(browser)
    photo = card(browser, "dark-party.jpg")
    outline = photo.find_element(By.CSS_SELECTOR, "svg.outline")
    assert not outline.is_displayed()
    click(browser, photo.find_element(By.CSS_SELECTOR, ".outline-toggle"))
    assert outline.is_displayed()


def test_full_size_view_opens_the_files_themselves(browser):
    open_page(browser)
    click(browser, card(browser, "dark-party.jpg").find_element(By.CSS_SELECTOR, ".shot.before button"))
    wait(browser, "return document.getElementById('viewer').open")
    wait(browser, "return ['viewer-before', 'viewer-after'].every(id =>"
                  " document.getElementById(id).complete)")
    sources = browser.execute_script(
        "return ['viewer-before', 'viewer-after'].map(id => { const i = document.getElementById(id);"
        " return [i.getAttribute('src'), i.naturalWidth, i.naturalHeight]; })")
    assert sources == [["../in/dark-party.jpg", 640, 480], ["dark-party.jpg", 640, 480]]
    # Flipping hides the corrected picture over the original, and back.
    ActionChains(browser).send_keys("f").perform()
    assert not browser.find_element(By.ID, "viewer-after").is_displayed()
    browser.find_element(By.ID, "viewer-flip").click()
    assert browser.find_element(By.ID, "viewer-after").is_displayed()
    browser.find_element(By.ID, "viewer-close").click()
    wait(browser, "return !document.getElementById('viewer').open")
    # A TIFF: the links lead to the files, the thumbnails stand in on screen.
    click(browser, card(browser, TIFF).find_element(By.CSS_SELECTOR, ".shot.after button"))
    wait(browser, "return document.getElementById('viewer').open")
    assert browser.find_element(By.ID, "viewer-after").get_attribute("src").startswith("data:")
    assert browser.find_element(By.ID, "viewer-after-link").get_attribute("href").endswith(
        "/out/" + TIFF)
    assert "cannot show" in browser.find_element(By.ID, "viewer-note").text


def test_decisions_are_kept_exported_and_carried_out(browser, run):
    open_page(browser)
    browser.execute_script("localStorage.clear()")
    open_page(browser)
    decide = lambda name, decision: click(  # noqa: E731
        browser, card(browser, name).find_element(By.CSS_SELECTOR, f'[data-decision="{decision}"]'))
    decide("indoor-cast.jpg", "accept")
    decide("bright-facade.jpg", "reject")
    decide(NIGHT, "adjust")
    night = card(browser, NIGHT)
    for name, value in (("level", "85"), ("red_shift", "-2")):
        field = night.find_element(By.CSS_SELECTOR, f'input[name="{name}"]')
        click(browser, field)
        field.clear()
        field.send_keys(value)
    click(browser, night.find_element(By.CSS_SELECTOR, 'input[name="contrast"]'))  # leaves the field
    open_page(browser)  # the decisions outlive a reload
    assert card(browser, NIGHT).find_element(By.CSS_SELECTOR, ".verdict").text == "ADJUSTED"
    assert "1 accepted · 1 rejected · 1 adjusted · 2 undecided" in browser.find_element(
        By.ID, "tally").text

    downloads = WORK / "downloads"
    shutil.rmtree(downloads, ignore_errors=True)
    click(browser, browser.find_element(By.ID, "export"))
    exported = downloads / "decisions.json"
    end = time.monotonic() + 10
    while not exported.exists():
        assert time.monotonic() < end, "no decisions.json downloaded"
        time.sleep(0.05)
    decisions = json.loads(exported.read_text())
    picture = lambda name, decision, **more: dict(  # noqa: E731
        file="in/" + name, output="out/" + name, name=name, format="jpeg", decision=decision, **more)
    assert decisions == {
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
    done = tool("autosetup", "--decisions", str(exported), "--out-dir", "final", "--json", cwd=WORK)
    assert done.returncode == 0, done.stderr
    digest = lambda path: hashlib.sha256(path.read_bytes()).hexdigest()  # noqa: E731
    assert digest(WORK / "final/indoor-cast.jpg") == digest(WORK / "out/indoor-cast.jpg")
    direct = tool("autosetup", "in/" + NIGHT, "-o", "direct.jpg", "--level", "85", "--red-shift",
                  "-2", cwd=WORK)
    assert direct.returncode == 0, direct.stderr
    assert digest(WORK / "final" / NIGHT) == digest(WORK / "direct.jpg")
    assert not (WORK / "final/bright-facade.jpg").exists()


@pytest.mark.parametrize("width", [1400, 390])
def test_no_horizontal_overflow(browser, width):
    open_page(browser, width, 1200)
    browser.execute_script("document.querySelectorAll('details').forEach(d => d.open = true)")
    widths = browser.execute_script(
        "return [document.documentElement.scrollWidth, document.documentElement.clientWidth]")
    browser.save_screenshot(str(WORK / f"review-{width}.png"))
    assert widths[0] <= widths[1], f"the page is {widths[0]} px wide in a {widths[1]} px window"
