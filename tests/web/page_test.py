#!/usr/bin/env python3
"""The preview's page in a real browser, which its driver works by the WebDriver protocol (W3C).
Usage: page_test.py TSINSERT-PREVIEW SAMPLE-SHOP"""

import contextlib
import http.client
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

PREVIEW, SAMPLES = sys.argv[1:3]


class Browser:
    """Chromium without a window."""

    def __init__(self, folder):
        if shutil.which("chromedriver") is None:
            sys.exit("page_test.py: needs the Debian packages chromium and chromium-driver")
        self.driver = subprocess.Popen(["chromedriver", "--port=0"], stdout=subprocess.PIPE, text=True)
        port = next(match[1] for line in self.driver.stdout if (match := re.search(r"on port (\d+)\.", line)))
        self.driver_port = int(port)
        self.session = ""
        arguments = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
            f"--user-data-dir={folder}/profile", "--window-size=1300,900"]
        self.session = "/session/" + self.ask("POST", "/session", {"capabilities": {"alwaysMatch": {
            "browserName": "chrome", "goog:chromeOptions": {"args": arguments},
            "goog:loggingPrefs": {"browser": "ALL"}, "timeouts": {"script": 30000}}}})["sessionId"]

    def ask(self, method, path, body=None):
        connection = http.client.HTTPConnection("127.0.0.1", self.driver_port, timeout=60)
        with contextlib.closing(connection):
            connection.request(method, self.session + path, None if body is None else json.dumps(body))
            value = json.load(connection.getresponse())["value"]
        if isinstance(value, dict) and "error" in value:
            raise AssertionError(value["message"])
        return value

    def open(self, url):
        self.ask("POST", "/url", {"url": url})

    def run(self, script, *arguments):
        return self.ask("POST", "/execute/sync", {"script": HELPERS + script, "args": arguments})

    def wait(self, condition, *arguments):
        """Until the expression is true, looked at whenever the browser draws."""
        return self.ask("POST", "/execute/async", {"args": arguments, "script": HELPERS + f"""
            const done = arguments[arguments.length - 1], given = arguments;
            const look = () => {{ const found = (() => {condition})(); found ? done(found) : requestAnimationFrame(look); }};
            look();"""})

    def devtools(self, command, **parameters):
        return self.ask("POST", "/goog/cdp/execute", {"cmd": command, "params": parameters})

    def press(self, *keys):
        actions = [{"type": kind, "value": key} for key in keys for kind in ("keyDown", "keyUp")]
        self.ask("POST", "/actions", {"actions": [{"type": "key", "id": "keyboard", "actions": actions}]})

    def errors(self):
        return [entry for entry in self.ask("POST", "/se/log", {"type": "browser"}) if entry["level"] == "SEVERE"]

    def close(self):
        self.ask("DELETE", "")
        self.driver.terminate()
        self.driver.wait()
        self.driver.stdout.close()


HELPERS = """
const all = (selector) => [...document.querySelectorAll(selector)];
const pictures = () => all("#screens img").map((image) => image.src);
const areLoaded = () => all("#screens img, #sent-picture").every((image) => image.complete && image.naturalWidth === 720);
const choose = (id, value) => {
  document.getElementById(id).value = value;
  document.getElementById(id).dispatchEvent(new Event("change"));
};
/// Where the large picture has pixels that are wanted: x, y, width, height.
const boxOf = (isWanted) => {
  const canvas = new OffscreenCanvas(720, 576).getContext("2d");
  canvas.drawImage(document.getElementById("sent-picture"), 0, 0);
  const { data } = canvas.getImageData(0, 0, 720, 576);
  const box = [720, 576, -1, -1];
  for (let y = 0; y < 576; ++y)
    for (let x = 0; x < 720; ++x)
      if (isWanted(x, data.subarray(4 * (720 * y + x)))) {
        box[0] = Math.min(box[0], x); box[1] = Math.min(box[1], y);
        box[2] = Math.max(box[2], x); box[3] = Math.max(box[3], y);
      }
  return [box[0], box[1], box[2] - box[0] + 1, box[3] - box[1] + 1];
};
/// Where a region is drawn over the large picture, in the picture's pixels.
const overlayOf = (name) => {
  const picture = document.getElementById("sent-picture").getBoundingClientRect();
  const region = document.getElementById("region-" + name).getBoundingClientRect();
  const scale = picture.width / 720;
  return [region.x - picture.x, region.y - picture.y, region.width, region.height].map((value) => value / scale);
};
"""

# Relative luminance and contrast ratio of WCAG 2.1, of each text that lies on grounds of one colour.
FAINT_TEXTS = """
const canvas = new OffscreenCanvas(1, 1).getContext("2d", { willReadFrequently: true });
const parse = (colour) => {
  canvas.clearRect(0, 0, 1, 1);
  canvas.fillStyle = colour;
  canvas.fillRect(0, 0, 1, 1);
  return [...canvas.getImageData(0, 0, 1, 1).data];
};
const luminance = (colour) => {
  const [red, green, blue] = colour.map((part) =>
    part / 255 <= 0.03928 ? part / 255 / 12.92 : ((part / 255 + 0.055) / 1.055) ** 2.4);
  return 0.2126 * red + 0.7152 * green + 0.0722 * blue;
};
const over = (above, below) => below.map((part, i) => (above[i] * above[3] + part * (255 - above[3])) / 255);
const groundOf = (element) => {
  const own = element === null ? [255, 255, 255, 255] : parse(getComputedStyle(element).backgroundColor);
  return own[3] === 255 ? own.slice(0, 3) : over(own, groundOf(element.parentElement));
};
const isSeen = (element) => element.checkVisibility() && element.getBoundingClientRect().right > 0;
return all("body *").filter((element) => isSeen(element) && !element.closest("svg, script, noscript, option")
    && [...element.childNodes].some((node) => node.nodeType === Node.TEXT_NODE && node.textContent.trim() !== ""))
  .map((element) => {
    const ground = groundOf(element), style = getComputedStyle(element);
    const [one, other] = [luminance(ground), luminance(over(parse(style.color), ground))].sort((a, b) => b - a);
    const size = parseFloat(style.fontSize), isLarge = size >= 24 || (size >= 18.66 && style.fontWeight >= 700);
    return { text: element.textContent.slice(0, 40), ratio: (one + 0.05) / (other + 0.05), needed: isLarge ? 3 : 4.5 };
  });
"""


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.shop = pathlib.Path(cls.folder.name) / "shop"
        shutil.copytree(SAMPLES, cls.shop)
        settings = re.findall(r'^(PREF_\w+)="(.*)"$', (cls.shop / "settings.env").read_text(), re.M)
        cls.environment = {name: value for name, value in os.environ.items() if not name.startswith("PREF_")}
        cls.environment.update(settings)
        cls.server = subprocess.Popen([PREVIEW, "--resources", cls.shop, "--serve", "0", "--address", "127.0.0.2"],
            stdout=subprocess.PIPE, env=cls.environment, text=True)
        cls.url = re.search(r"http://\S+", cls.server.stdout.readline())[0]
        cls.browser = Browser(cls.folder.name)

    @classmethod
    def tearDownClass(cls):
        cls.browser.close()
        cls.server.send_signal(signal.SIGINT)
        assert cls.server.wait() == 0
        cls.server.stdout.close()
        cls.folder.cleanup()

    def setUp(self):
        self.browser.open(self.url)
        self.browser.wait("areLoaded() && pictures().length === 8")

    def tearDown(self):
        self.assertEqual(self.browser.errors(), [])

    def change(self, name, old, new):
        text = (self.shop / name).read_text()
        self.assertIn(old, text)
        (self.shop / name).write_text(text.replace(old, new))
        self.addCleanup(shutil.copy, pathlib.Path(SAMPLES) / name, self.shop)

    def restore(self, name, pictures):
        shutil.copy(pathlib.Path(SAMPLES) / name, self.shop)
        self.browser.wait("document.getElementById('trouble').hidden && pictures().join() === given[0].join()", pictures)

    def test_shows_every_screen(self):
        self.assertEqual(len(set(self.browser.run("return pictures();"))), 8)
        self.browser.run("all('.screen')[4].click();")
        self.browser.run("choose('mode', 'both');")
        self.browser.wait("areLoaded() && document.getElementById('drawn-picture').checkVisibility()")
        self.assertNotEqual(*self.browser.run("return ['drawn', 'sent'].map((id) => document.getElementById(`${id}-picture`).src);"))
        self.assertIn("brumaël.png", self.browser.run("return document.getElementById('screen-findings').textContent;"))
        self.assertEqual(self.browser.run("return all('#region-brand.note').length;"), 1)

    def test_draws_regions_where_the_picture_has_them(self):
        boxes = self.browser.run("""return {
            banner: boxOf((x, [, , , a]) => x > 600 && a !== 0), price: boxOf((x, [r, , b]) => x < 600 && r > 240 && b < 30)};""")
        for scale, shape in (("1", "720 / 576"), ("2", "720 / 576"), ("0", "16 / 9")):
            self.browser.run("choose('shape', arguments[1]); choose('size', arguments[0]);", scale, shape)
            for name, box in boxes.items():
                overlay = self.browser.run("return overlayOf(arguments[0]);", name)
                if shape == "16 / 9":  # pixels are wider than high
                    overlay[1::2] = [value * 576 / 405 for value in overlay[1::2]]
                for wanted, drawn in zip(box, overlay):
                    self.assertAlmostEqual(wanted, drawn, delta=0.001 if scale != "0" else 0.1, msg=f"{name} {scale}")

    def test_a_changed_price_appears_and_nothing_else_moves(self):
        self.browser.run("all('.screen')[2].click(); document.getElementById('region-price').click();"
            "document.getElementById('region-price').focus(); scrollTo(0, 150); window.stayed = true;")
        before = self.browser.run("return pictures();")
        self.change("infostv.xml", "\u00a0399 €", "\u00a0389 €")
        self.browser.wait("pictures()[2] !== given[0] && areLoaded()", before[2])
        after, *state = self.browser.run("""return [pictures(), window.stayed, location.hash, scrollY, document.activeElement.id,
            all('[aria-pressed=true]').length, document.getElementById('screen-about').textContent];""")
        self.assertEqual([one == other for one, other in zip(before, after)], [index != 2 for index in range(8)])
        self.restore("infostv.xml", before)
        self.assertEqual(state, [True, "#article=TV1003", 150, "region-price", 1, "TV1003 · 389 € · channel 23"])

    def test_an_error_appears_and_goes(self):
        before = self.browser.run("return pictures();")
        trouble = "document.getElementById('trouble')"
        for name, old, new, text in (("infostv.xml", "</infostv>", "</infos>", "infostv.xml:133:3"),
                ("layout.xml", "</layout>", "", "layout.xml:21:1")):
            self.change(name, old, new)
            self.browser.wait(trouble + ".checkVisibility()")
            self.assertIn(text, self.browser.run(f"return {trouble}.textContent;"))
            self.assertEqual(self.browser.run("return pictures();"), before)
            self.restore(name, before)

    def test_shows_a_mistake_of_the_layout_at_its_screens(self):
        before = self.browser.run("return pictures();")
        self.change("infostv.xml", 'code="TV1001"', 'code="title"')  # as a heading of the page is called
        self.change("layout.xml", 'backgroundColor="FFFFC20E"', 'backgroundColor="#FFC20E"')
        self.browser.wait("all('.screen .badge.error').length === 8 && document.getElementById('of-screen-title')")
        self.browser.run("document.getElementById('of-screen-title').click();")
        self.assertEqual(self.browser.run("""return [location.hash, document.getElementById('region-price').classList.contains('error'),
            document.getElementById('screen-findings').textContent.includes('#FFC20E'), all('h2')[0].textContent];"""),
            ["#article=title", True, True, "Screen 1: Norvane Clarté 22"])
        self.browser.open(self.url + "#article=%")
        self.browser.wait("areLoaded() && pictures().length === 8")
        shutil.copy(pathlib.Path(SAMPLES) / "layout.xml", self.shop)
        self.restore("infostv.xml", before)

    def test_can_be_read_by_everybody(self):
        for scheme in ("light", "dark"):
            self.browser.devtools("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])
            texts = self.browser.run(FAINT_TEXTS)
            self.assertGreater(len(texts), 100)
            self.assertEqual([text for text in texts if text["ratio"] < text["needed"]], [], scheme)
        nodes = self.browser.devtools("Accessibility.getFullAXTree")["nodes"]
        named = {"button", "combobox", "checkbox", "img", "image", "link", "navigation", "table", "group", "region", "ColorWell"}
        controls = [node for node in nodes if node.get("role", {}).get("value") in named and not node["ignored"]]
        self.assertGreater(len(controls), 40)
        self.assertEqual([node for node in controls if not node.get("name", {}).get("value")], [])

    def test_fits_a_telephone(self):
        self.browser.devtools("Emulation.setDeviceMetricsOverride", width=360, height=740, deviceScaleFactor=2, mobile=True)
        self.browser.run("choose('mode', 'both');")
        self.assertEqual(self.browser.run("return [innerWidth, document.documentElement.scrollWidth];"), [360, 360])
        self.browser.devtools("Emulation.clearDeviceMetricsOverride")

    def test_works_from_the_keyboard(self):
        tab, right = "\ue004", "\ue014"
        self.browser.run("""window.focused = []; addEventListener("focusin", ({ target }) => {
            const { outlineStyle, outlineWidth } = getComputedStyle(target);
            focused.push([target.id || target.className, outlineStyle === "none" ? 0 : parseFloat(outlineWidth)]); });""")
        self.browser.press(*[tab] * 40)
        focused = dict(self.browser.run("return focused;"))
        reachable = self.browser.run("""return all("a, button, select, input, [tabindex='0']")
            .filter((each) => each.checkVisibility()).map((each) => each.id || each.className);""")
        self.assertEqual(set(reachable) - set(focused), set())
        self.assertEqual([name for name, outline in focused.items() if outline < 2], [])
        self.browser.run("document.getElementById('of-screen-TV1001').focus();")
        self.browser.press(right, right)
        self.assertEqual(self.browser.run("return [document.activeElement.id, location.hash];"), ["of-screen-TV1003", "#article=TV1003"])

    def test_refuses_what_is_not_the_page(self):
        host, port = re.fullmatch(r"http://(127.0.0.2):(\d+)/", self.url).groups()
        for method, path, headers, status in (("GET", "/", {}, 200), ("GET", "/infostv.xml", {}, 404),
                ("GET", "/../shop/infostv.xml", {}, 404), ("POST", "/", {}, 405), ("DELETE", "/events", {}, 405),
                ("GET", "/", {"Host": "shop.example"}, 403), ("GET", "/", {"Host": "[::1"}, 403),
                ("GET", "/", {"Host": "127.0.0.1:80@shop.example"}, 403), ("GET", "/", {"Host": "127.0.0.1"}, 403),
                ("GET", "/", {"Host": "LOCALHOST.:80"}, 200), ("GET", "/", {"Sec-Fetch-Site": "cross-site"}, 403),
                ("GET", "/events", {"Origin": "http://shop.example"}, 403)):
            connection = http.client.HTTPConnection(host, port, timeout=60)
            connection.request(method, path, headers=headers)
            self.assertEqual(connection.getresponse().status, status, f"{method} {path} {headers}")
            connection.close()

    def test_pages_that_are_gone_leave_their_places(self):
        def connect():
            return http.client.HTTPConnection(self.url.removeprefix("http://").strip("/"), timeout=60)

        def is_free(page):
            page.request("GET", "/events")
            return page.getresponse().status == 200

        pages = [connect() for _ in range(25)]
        self.assertIn([is_free(page) for page in pages].count(True), range(10, 25))
        for page in pages:
            page.close()
        before = self.browser.run("return pictures();")
        for price in range(399, 394, -1):  # the server learns of those that are gone when it writes to them
            shown = self.browser.run("return pictures()[2];")
            self.change("infostv.xml", f"\u00a0{price} €", f"\u00a0{price - 1} €")
            self.browser.wait("pictures()[2] !== given[0] && areLoaded()", shown)
            with contextlib.closing(connect()) as page:
                if free := is_free(page):
                    break
        self.restore("infostv.xml", before)
        self.assertTrue(free)

    def test_uses_the_fonts_that_are_installed_beside_it(self):
        installed = pathlib.Path(self.folder.name) / "installed"
        for name in ("bin", "share/tsinsertd"):
            (installed / name).mkdir(parents=True)
        program = shutil.copy(PREVIEW, installed / "bin")
        (installed / "share/tsinsertd/fonts.conf").write_text("<fontconfig/>")  # which has none
        ended = subprocess.run([program, "--resources", SAMPLES, "--output", installed / "out"], env=self.environment,
            stdout=subprocess.PIPE, text=True)
        self.assertEqual(ended.returncode, 1)
        self.assertIn('"Liberation Sans" is not installed here: viewers see cairo\'s own thin letters', ended.stdout)

    def test_a_written_page_needs_nothing_else(self):
        subprocess.run([PREVIEW, "--resources", SAMPLES, "--html", self.folder.name], env=self.environment,
            stdout=subprocess.DEVNULL, check=True)
        self.browser.open(f"file://{self.folder.name}/index.html#article=TV1005")
        self.browser.wait("areLoaded() && pictures().length === 8")
        self.assertIn("Brumaël", self.browser.run("return document.getElementById('screen-title').textContent;"))
        self.assertEqual(self.browser.run("""return performance.getEntriesByType("resource").map(({ name }) => name)
            .filter((name) => !name.startsWith("data:"));"""), [])


unittest.main(argv=sys.argv[:1], verbosity=2)
