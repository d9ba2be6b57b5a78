"""The review page in headless Chromium driven by Selenium: an operator's
clicks, and the exported decisions, which the tool accepts. The run: the
sample photographs, a night scene brightened enough to warn, a TIFF, a text
file named as a JPEG (a failure) and one not named as a picture (a skip)."""
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
    assert tool("autosetup", "in", "--out-dir", "out", "--report", "out/report.html",
                "--jobs", "2")[0] == 1  # notes.jpg fails


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


def test_page_shows_sorts_and_filters_the_run(browser):
    open_page(browser, 390)  # no horizontal overflow on a phone
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
    assert "notes.jpg" in browser.find_element(By.ID, "failed").get_attribute("textContent")
    assert "notes.txt" in browser.find_element(By.ID, "skipped").get_attribute("textContent")

    names = shown(browser)
    assert names[0] == NIGHT, "the dark scene brightened and clipped comes first"
    priorities = [float(p) for p in shown(browser, "data-priority")]
    assert priorities == sorted(priorities, reverse=True)
    choose(browser, "sort", "name")
    assert shown(browser) == sorted(names, key=lambda n: [  # letter case aside, numbers by value
        int(part) if part.isdigit() else part.lower() for part in re.split(r"(\d+)", n)])
    choose(browser, "filter", "warnings")
    assert shown(browser) == [NIGHT]


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
    ActionChains(browser).send_keys("f").perform()
    assert not browser.find_element(By.ID, "viewer-after").is_displayed()
    browser.find_element(By.ID, "viewer-close").click()
    wait(lambda: not viewer.get_attribute("open"))


def test_decisions_are_kept_exported_and_carried_out(browser):
    open_page(browser)
    browser.execute_script("localStorage.clear()")
    open_page(browser)
    click(browser, within(browser, "indoor-cast.jpg", '[data-decision="accept"]'))
    click(browser, within(browser, "bright-facade.jpg", '[data-decision="reject"]'))
    click(browser, within(browser, NIGHT, '[data-decision="adjust"]'))
    field = within(browser, NIGHT, 'input[name="level"]')
    click(browser, field)
    field.clear()
    field.send_keys("85")
    click(browser, within(browser, NIGHT, 'input[name="contrast"]'))  # leaves the field
    open_page(browser)  # the decisions outlive a reload

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
                                                           "red_shift": 0}),
                     picture("indoor-cast.jpg", "accept")]}
    assert tool("autosetup", "--decisions", str(exported), "--out-dir", "final")[0] == 0
