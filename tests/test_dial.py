#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""test_dial.py TOOL [PICTURE.png] - the page of `ezossl ... --serve` in a real browser: the needle
while a scene is played, pauses and the end, a restart of the program, faults, light and dark, a
phone. Makes the picture of the README, at PICTURE.png if given."""

import os
import pathlib
import re
import sys
import time
import wave

from selenium import webdriver
from selenium.webdriver.chrome.service import Service

from serving import FOLDER, Served, run, run_tests, wait_until

PICTURE = os.path.abspath(sys.argv[2]) if len(sys.argv) > 2 else None
PIPED = "track - --raw -s 5.8cm"
WIDTHS = (320, 390, 820, 1280)  # pixels: small and usual phones, a tablet, a computer
RATE = 16000


class Page:
    def __init__(self):
        options = webdriver.ChromeOptions()
        for argument in ("headless=new", "no-sandbox", "disable-gpu", "disable-dev-shm-usage",
                         "hide-scrollbars", "force-device-scale-factor=1"):
            options.add_argument("--" + argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)

    def text(self, element):
        return self.run(f"return get('{element}').textContent")

    def run(self, script):
        return self.driver.execute_script(script)

    def wait_for(self, what, condition):
        return wait_until(condition, lambda: (what, self.text("angle"), self.text("state")))

    def is_near(self, angle, tolerance=4):
        """Whether the large figure is about this angle; it may be words instead."""
        shown = re.fullmatch(r"([+−]?\d+)°", self.text("angle"))
        return shown and abs(int(shown[1].replace("−", "-")) - angle) <= tolerance

    def tip_is_at(self, across, up):
        """Whether the needle's end is there on the screen, relative to the middle between the
        microphones, in radii: to the right and up."""
        tip = self.run("""
            const middle = id => { const box = id.getBoundingClientRect();
                return [box.x + box.width / 2, box.y + box.height / 2]; };
            const [one, two] = [...document.querySelectorAll(".microphone")].map(middle);
            const [x, y] = middle(document.querySelector("#needle circle"));
            const base = document.querySelector(".rim").getBoundingClientRect();
            return [(x - (one[0] + two[0]) / 2) / base.width * 2, (one[1] - y) / base.height];""")
        return max(abs(tip[0] - across), abs(tip[1] - up)) < 0.08

    def has_drawn(self, angle, across, up):
        """Whether the strip, the trail and the bar show the last block."""
        path, x_dot, y_dot, level, bar = self.run("""
            const dot = get("trail").lastChild;
            return [get("points").getAttribute("d"), dot.cx.baseVal.value, dot.cy.baseVal.value,
                    get("level").textContent, parseFloat(get("level-bar").style.width)];""")
        marks = [mark.split() for mark in path[1:-2].split("h0M")]
        (before, _), (x, y) = [["0", "0"], *marks][-2:]
        level = float(level.replace("−∞", "-80").replace("−", "-"))
        near = [float(x) - 600, float(x) - float(before) - 2.56, (float(y) - 72 + 0.8 * angle) / 4,
                bar - 100 - 1.25 * level, (x_dot - 360 - 250 * across) / 20,
                (y_dot - 322 + 250 * up) / 20]
        return max(map(abs, near)) < 1

    def resize(self, width, height, scheme="light"):
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": 1, "mobile": width < 500})
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {
            "features": [{"name": "prefers-color-scheme", "value": scheme}]})

    def complaints(self):
        return [entry["message"] for entry in self.driver.get_log("browser")]


def sound(*parts):
    """The samples of parts: an option of `ezossl simulate`, or None for silence, and seconds."""
    samples = b""
    for option, seconds in parts:
        if option:
            run("simulate", option, "-s5.8cm", f"-d{seconds}", "-ox.wav").check_returncode()
        part = pathlib.Path(FOLDER.name, "x.wav").read_bytes()[44:]  # without the header
        samples += part if option else bytes(4 * RATE * seconds)
    return samples


def test_needle_pauses_end_and_new_start(page):
    with wave.open(os.path.join(FOLDER.name, "scene.wav"), "wb") as scene:
        scene.setparams((2, 2, RATE, 0, "NONE", ""))
        scene.writeframes(sound(("-a60", 5), ("-a-45", 5), (None, 3)))
    with Served("track scene.wav -s 5.8cm") as served:
        page.driver.get(served.url)
        for angle, side, across, up in ((60, "0", -0.87, 0.5), (-45, "1", 0.71, 0.71)):
            page.wait_for(f"{angle} degrees", lambda: page.is_near(angle))
            page.wait_for("needle", lambda: page.tip_is_at(across, up))
            # At once, as the sound goes on.
            label, *texts = page.run("""
                const texts = ["where", "state", "input"].map(id => get(id).textContent);
                return [get("dial").ariaLabel, ...texts]""")
            where = f"on the side of microphone {side}"
            assert re.fullmatch(rf"-?\d+ degrees, {where}", label), label
            assert texts[:2] == [where, "Live"] and "scene.wav" in texts[2], texts
            page.wait_for("strip, trail and bar", lambda: page.has_drawn(angle, across, up))
            page.wait_for("sentence", lambda: where in page.text("spoken"))
        page.wait_for("pause", lambda: page.text("angle") == "too quiet")
        assert page.text("level") == "−∞" and page.run("return document.title") == "ezossl"
        assert "old" in page.run("return get('needle').classList.value")
        page.wait_for("end", lambda: "ezossl has ended" in page.text("state"))
        legend = page.text("legend")
        assert re.fullmatch(r"●(3[2-9]|40) with an angle❘([7-9]|1[0-2]) too quiet", legend), legend
        assert 1 <= len(page.text("spoken")) < 60, page.text("spoken")
        port = served.port
    before = [line for line in page.complaints() if "ERR_CONNECTION_REFUSED" not in line]
    assert not before, before
    with Served("demo", str(port)) as served:
        page.wait_for("new start", lambda: page.text("state") == "Live")
        page.wait_for("demo", lambda: page.is_near(0, 90) and "demo" in page.text("input"))
        served.process.kill()  # so that it cannot announce its end
        page.wait_for("loss", lambda: "Connection lost" in page.text("state"))
    page.complaints()


def test_fault_and_no_place(page):
    samples = sound(("-a0", 12))
    one_sided = b"".join(samples[at:at + 2] * 2 for at in range(0, len(samples), 4))
    with Served(PIPED) as served:
        page.driver.get(served.url)
        assert not page.run("return get('faults').checkVisibility()")
        served.feed(one_sided)
        fault = page.wait_for("fault", lambda: page.text("faults"))
        assert "⚠ identical channels: " in fault and "What to do: record two" in fault, fault
        assert page.run("return get('faults').checkVisibility()")
        page.wait_for("waiting", lambda: "No sound arrives" in page.text("state"))
        # The page tries a new connection, which gets the last minute again, but is not live.
        page.run("""
            window.seen = [];
            window.before = blocks;
            new MutationObserver(() => seen.push(get("state").textContent)).observe(
                get("state"), {childList: true});
            heard = -100;
            look();""")
        page.wait_for("last minute", lambda: page.run(
            "return blocks !== before && blocks.length > 40"))
        states = page.run("return seen")
        assert states and "Live" not in states and "No sound arrives" in states[-1], states
        served.feed(samples[:4 * RATE])
        page.wait_for("sound", lambda: page.text("state") == "Live")
    with Served("demo", str(served.port)):
        page.wait_for("new start", lambda: page.text("state") == "Live")
        assert not page.run("return get('faults').checkVisibility()")
    page.complaints()


def contrast(one, other):
    def light(colour):
        parts = [int(part) / 255 for part in re.findall(r"\d+", colour)[:3]]
        parts = [p / 12.92 if p <= 0.03928 else ((p + 0.055) / 1.055) ** 2.4 for p in parts]
        return 0.2126 * parts[0] + 0.7152 * parts[1] + 0.0722 * parts[2]
    low, high = sorted((light(one), light(other)))
    return (high + 0.05) / (low + 0.05)


def test_every_screen(page):
    walk = sound(("--walk=-80,-10", 12), (None, 2), ("--walk=0,35", 8), (None, 1), ("-a20", 6),
                 ("--walk=20,-60", 9), (None, 3), ("--walk=-50,70", 15), ("--walk=-30,33", 6))
    with Served(PIPED) as served:
        served.feed(walk)
        page.resize(1000, 560)
        page.driver.get(served.url)
        page.wait_for("last angle", lambda: page.is_near(32, 7))
        time.sleep(0.5)  # the needle turns
        for scheme in ("light", "dark"):
            page.resize(1000, 560, scheme)
            paint = page.run("""
                const style = name => getComputedStyle(document.querySelector(name));
                return [style("body").backgroundColor, style(".card").backgroundColor,
                        ...["body", ".minor", "h2", "footer", "#angle"].map(n => style(n).color)]""")
            for text in paint[2:]:
                assert min(contrast(text, ground) for ground in paint[:2]) >= 4.5, (scheme, paint)
            assert (contrast(paint[0], "0, 0, 0") < 2) == (scheme == "dark"), paint
            picture = page.driver.get_screenshot_as_png()
            assert len(picture) < 100000, len(picture)
            if PICTURE:
                name = PICTURE if scheme == "light" else PICTURE.replace(".png", "-dark.png")
                pathlib.Path(name).write_bytes(picture)
        for width in WIDTHS:
            page.resize(width, 800)
            wide = page.run("return document.documentElement.scrollWidth")
            assert wide <= width, (width, wide)
            cut = page.run("""return [...document.querySelectorAll("main *")].filter(part =>
                part.getBoundingClientRect().right > innerWidth + 1).map(part => part.outerHTML)""")
            assert not cut, (width, cut)
            if PICTURE and width == 390:
                page.driver.save_screenshot(PICTURE.replace(".png", "-phone.png"))
    assert not [line for line in page.complaints() if "ERR_" not in line]


if __name__ == "__main__":
    page = Page()
    try:
        run_tests(globals(), page)
    finally:
        page.driver.quit()
