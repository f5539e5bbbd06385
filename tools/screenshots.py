"""Makes the pictures of pages in docs/images, by a browser without a display.

screenshots.py TEV: TEV is the program that makes the pages. Run by ./dev screenshots.
"""

import pathlib
import subprocess
import sys
import tempfile
import time

from PIL import Image
from selenium import webdriver
from selenium.webdriver.chrome.service import Service

ROOT = pathlib.Path(__file__).resolve().parent.parent
SIZE = (1200, 800)
MOST_BYTES = 150_000
WAITS = 10000  # turns of 20 ms at least; far above what any page takes

# What is chosen on the page of each example, by the ids of its controls.
CHOICES = {
    "bracket": {"result": "von Mises Stress", "deformed": True},
    "heatsink": {"result": "Temperature", "edges": True},
}
CHOOSE = """
const element = document.getElementById(arguments[0]);
if (element.type === 'checkbox') {
  element.checked = arguments[1];
} else {
  element.value = [...element.options].find((option) => option.textContent === arguments[1]).value;
}
element.dispatchEvent(new Event('change', {bubbles: true}));
"""
DRAWN_TWICE = """
const done = arguments[0];
requestAnimationFrame(() => requestAnimationFrame(done));
"""


def browser():
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--use-gl=angle",
                     "--use-angle=swiftshader", "--enable-unsafe-swiftshader", "--hide-scrollbars",
                     f"--window-size={SIZE[0]},{SIZE[1]}"):
        options.add_argument(argument)
    driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
    # A window has a bar, too.
    driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                           {"width": SIZE[0], "height": SIZE[1], "deviceScaleFactor": 1,
                            "mobile": False})
    return driver


def wait(driver, condition):
    for _ in range(WAITS):
        if driver.execute_script(f"return Boolean({condition})"):
            return
        time.sleep(0.02)
    sys.exit(f"screenshots: in vain waited for {condition}")


def take(driver, page, choices, picture):
    driver.get(page.as_uri())
    wait(driver, "document.body.dataset.ready === 'yes'")
    for name, value in choices.items():
        driver.execute_script(CHOOSE, name, value)
    wait(driver, "document.body.dataset.asked === document.body.dataset.shown")
    driver.execute_async_script(DRAWN_TWICE)
    driver.save_screenshot(str(picture))


def shrink(picture, target):
    """Keeps 256 colours, so chosen that neither a legend nor a mark is seen to change."""
    with Image.open(picture) as image:
        palette = image.convert("RGB").quantize(256, Image.Quantize.LIBIMAGEQUANT)
        palette.save(target, optimize=True)
    if target.stat().st_size > MOST_BYTES:
        sys.exit(f"screenshots: {target} has {target.stat().st_size} bytes")


def main():
    tev = sys.argv[1]
    driver = browser()
    try:
        with tempfile.TemporaryDirectory() as directory:
            for name, choices in CHOICES.items():
                page = pathlib.Path(directory, f"{name}.html")
                subprocess.run([tev, "view", ROOT / "examples" / f"{name}.tev", "-o", page],
                               check=True)
                picture = pathlib.Path(directory, f"{name}.png")
                take(driver, page, choices, picture)
                target = ROOT / "docs" / "images" / f"{name}-page.png"
                shrink(picture, target)
                print(target)
    finally:
        driver.quit()


if __name__ == "__main__":
    main()
