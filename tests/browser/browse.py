"""Drives headless Chromium through the demo site and checks what a visitor reads.

    browse.py BASE-URL SCREENSHOTS WORK

BASE-URL serves the demo site of WORK/examples; each step saves a screenshot of the page
in SCREENSHOTS. Each step starts from an address of its own, so that one failure does not
hide the next; the exit status is 1 when any step failed.
"""

import base64
import os
import shutil
import sys
import tempfile

from selenium import webdriver
from selenium.common.exceptions import WebDriverException
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support import expected_conditions
from selenium.webdriver.support.ui import WebDriverWait

DESKTOP = (1280, 900)
PHONE = (390, 844)


def start_browser(profile):
    options = webdriver.ChromeOptions()
    # Debian's /usr/bin/chromium is a shell wrapper around this binary.
    binary = "/usr/lib/chromium/chromium"
    if os.path.exists(binary):
        options.binary_location = binary
    # Without the networking switches the browser's own connections (updates, sync, QUIC
    # probes) fail on a machine without outside network, and slow every page down.
    for switch in ("--headless", "--disable-gpu", "--disable-quic", "--no-first-run",
                   "--disable-background-networking", "--disable-component-update",
                   "--disable-sync", "--disable-dev-shm-usage",
                   "--user-data-dir=" + profile,
                   "--window-size=%d,%d" % DESKTOP):
        options.add_argument(switch)
    if os.geteuid() == 0:
        options.add_argument("--no-sandbox")
    driver = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
    driver.set_page_load_timeout(20)
    return driver


class Visit:
    def __init__(self, driver, base, shots, work):
        self.driver, self.base, self.shots, self.work = driver, base, shots, work
        self.failed = 0
        self.shot = 0

    def open(self, page):
        self.driver.get(self.base + "/" + page)

    def follow(self, element):
        """Clicks a link or a submit button and waits for the page it leads to: a click
        returns before the browser has left the page it was on."""
        old = self.driver.find_element(By.TAG_NAME, "html")
        element.click()
        wait = WebDriverWait(self.driver, 20)
        wait.until(expected_conditions.staleness_of(old))
        wait.until(lambda driver: driver.execute_script("return document.readyState") == "complete")

    def text(self):
        return self.driver.find_element(By.TAG_NAME, "body").text

    def screenshot(self, name, phone=False):
        """The whole page, however long; PHONE lays it out as a phone's browser does."""
        driver = self.driver
        if phone:
            driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
                "width": PHONE[0], "height": PHONE[1], "deviceScaleFactor": 2, "mobile": True})
        try:
            size = driver.execute_cdp_cmd("Page.getLayoutMetrics", {})["cssContentSize"]
            shot = driver.execute_cdp_cmd("Page.captureScreenshot", {
                "format": "png", "captureBeyondViewport": True,
                "clip": {"x": 0, "y": 0, "width": size["width"],
                         "height": min(size["height"], 8000), "scale": 1}})
        finally:
            if phone:
                driver.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})
        self.shot += 1
        with open(os.path.join(self.shots, "%02d-%s.png" % (self.shot, name)), "wb") as file:
            file.write(base64.b64decode(shot["data"]))

    def step(self, name, run):
        try:
            problem = run()
        except WebDriverException as error:
            problem = "%s: %s" % (type(error).__name__, error.msg)
        except AssertionError as error:
            problem = str(error)
        if problem:
            self.failed += 1
            print("FAIL " + name)
            for line in str(problem).splitlines():
                print("     " + line)
        else:
            print("ok   " + name)

    def expect_text(self, *wanted, error=False):
        """WANTED is in the page, and nothing of the script shows through: no tag or macro
        of the engine, and no error message unless the page is about one."""
        text = self.text()
        missing = [w for w in wanted if w not in text]
        assert not missing, "missing %r in the page:\n%s" % (missing, text)
        raw = [w for w in ("<Sn", "</Sn", "<SORN", "&[", "<##") if w.lower() in text.lower()]
        assert not raw, "script text %r in the page:\n%s" % (raw, text)
        assert error or "Error:" not in text, "an error in the page:\n" + text

    def styled(self):
        """The stylesheet reached the page: the body is a column of its width."""
        width = self.driver.execute_script(
            "return getComputedStyle(document.body).maxWidth")
        assert width == "672px", "style.css is not applied (body max-width %s)" % width

    # The steps.

    def index(self):
        self.open("")
        assert self.driver.title == "Sorn demo", "title %r" % self.driver.title
        self.expect_text("Sorn demo", "Forms", "Loops and functions", "File upload", "Errors")
        self.styled()
        self.screenshot("index")
        self.screenshot("index-phone", phone=True)

    def form_get(self):
        self.open("")
        self.follow(self.driver.find_element(By.LINK_TEXT, "Forms"))
        self.expect_text("Fill in one of the forms")
        self.styled()
        self.screenshot("form")
        self.screenshot("form-phone", phone=True)
        form = self.driver.find_elements(By.TAG_NAME, "form")[0]
        form.find_element(By.NAME, "visitor").send_keys("Ann <b>& co</b>")
        for box in form.find_elements(By.NAME, "colour"):
            box.click()
        self.follow(form.find_element(By.CSS_SELECTOR, "input[type=submit]"))
        assert "visitor=" in self.driver.current_url, "GET left no query: " + self.driver.current_url
        # Markup typed into the form comes back as text, not as a bold tag.
        self.expect_text("Hello, Ann <b>& co</b>. Your browser sent the form with GET.",
                         "Colours: red,blue")
        self.screenshot("form-get")

    def form_post(self):
        self.open("form.sn")
        form = self.driver.find_elements(By.TAG_NAME, "form")[1]
        form.find_element(By.NAME, "visitor").send_keys("Bob")
        form.find_element(By.CSS_SELECTOR, "input[value=yellow]").click()
        self.follow(form.find_element(By.CSS_SELECTOR, "input[type=submit]"))
        assert "?" not in self.driver.current_url, "POST put fields in the address"
        self.expect_text("Hello, Bob. Your browser sent the form with POST.", "Colours: yellow")
        self.screenshot("form-post")

    def loop(self):
        self.open("")
        self.follow(self.driver.find_element(By.LINK_TEXT, "Loops and functions"))
        rows = self.driver.find_elements(By.CSS_SELECTOR, "table tr")
        assert len(rows) == 11, "%d rows, expected a heading and 10" % len(rows)
        assert rows[10].text == "10 100 1024", "last row %r" % rows[10].text
        self.follow(self.driver.find_element(By.LINK_TEXT, "5 rows"))
        rows = self.driver.find_elements(By.CSS_SELECTOR, "table tr")
        assert len(rows) == 6, "%d rows, expected a heading and 5" % len(rows)
        self.expect_text("n square(n) 2 POW n", "5 25 32")
        self.screenshot("loop")

    def upload(self):
        path = os.path.join(self.work, "visitor's notes.txt")
        with open(path, "w") as file:
            for line in range(1, 301):
                file.write("line %03d of a file sent by the browser\n" % line)
        size = os.path.getsize(path)
        self.open("")
        self.follow(self.driver.find_element(By.LINK_TEXT, "File upload"))
        self.expect_text("Choose a file")
        self.driver.find_element(By.NAME, "document").send_keys(path)
        self.driver.find_element(By.NAME, "note").send_keys("sent from Chromium")
        self.follow(self.driver.find_element(By.CSS_SELECTOR, "input[type=submit]"))
        self.expect_text("File visitor's notes.txt", "Type text/plain",
                         "Size %d bytes" % size, "Status COMPLETE", "Note sent from Chromium")
        self.screenshot("upload")

    def error(self):
        self.open("")
        self.follow(self.driver.find_element(By.LINK_TEXT, "Errors"))
        self.expect_text("The page goes on and shows the message itself: Error opening 'missing.sn'",
                         "error.sn: Line ", ": Expression Error: Divide by 0", error=True)
        assert "never sent" not in self.text(), "the page went on after the error"
        self.screenshot("error")

    def source(self):
        for page in ("form.sn", "upload.sn"):
            self.open(page)
            self.follow(self.driver.find_element(By.LINK_TEXT, "View this page's script"))
            with open(os.path.join(self.work, "examples", page)) as file:
                script = file.read()
            # A plain-text page: the browser shows the script's tags instead of running them.
            shown = self.driver.find_element(By.TAG_NAME, "pre").text
            assert shown == script.rstrip("\n"), "the script shown differs from examples/" + page
            self.screenshot("source-" + page.replace(".sn", ""))

    def guestbook(self):
        self.open("")
        self.follow(self.driver.find_element(By.LINK_TEXT, "Guestbook"))
        self.expect_text("Guestbook", "Newest first")
        self.styled()
        self.screenshot("guestbook")
        form = self.driver.find_elements(By.TAG_NAME, "form")[0]
        form.find_element(By.NAME, "name").send_keys("Cleo")
        form.find_element(By.NAME, "message").send_keys("<i>hello</i> & welcome")
        self.follow(form.find_element(By.CSS_SELECTOR, "input[type=submit]"))
        self.expect_text("Thank you, Cleo", "Newest first")
        # The newest entry heads the list, and its markup is shown as text, not as italics.
        items = self.driver.find_elements(By.CSS_SELECTOR, "ul li")
        assert items, "no entries listed after signing:\n" + self.text()
        assert "Cleo" in items[0].text and "<i>hello</i> & welcome" in items[0].text, \
            "first entry %r" % items[0].text
        assert not self.driver.find_elements(By.CSS_SELECTOR, "ul li i"), "the message's markup ran"
        self.screenshot("guestbook-signed")
        self.screenshot("guestbook-phone", phone=True)
        form = self.driver.find_elements(By.TAG_NAME, "form")[1]
        form.find_element(By.NAME, "find").send_keys("Cleo")
        self.follow(form.find_element(By.CSS_SELECTOR, "input[type=submit]"))
        self.expect_text("Entries by Cleo")
        items = self.driver.find_elements(By.CSS_SELECTOR, "ul li")
        assert items and all("Cleo" in item.text for item in items), \
            "entries found by name: %r" % [item.text for item in items]
        self.screenshot("guestbook-find")

    def other_pages(self):
        """The web call and the contact form: shown for a person to look at; the contact
        form is not sent, since that needs a mail server."""
        for page in ("call.sn", "contact.sn"):
            self.open(page)
            self.expect_text()
            self.styled()
            self.screenshot(page.replace(".sn", ""))


def main():
    if len(sys.argv) != 4:
        print("usage: browse.py BASE-URL SCREENSHOTS WORK", file=sys.stderr)
        return 2
    base, shots, work = sys.argv[1:]
    os.makedirs(shots, exist_ok=True)
    for old in os.listdir(shots):
        if old.endswith(".png"):
            os.remove(os.path.join(shots, old))
    profile = tempfile.mkdtemp(prefix="chromium-", dir=work)
    try:
        driver = start_browser(profile)
    except WebDriverException as error:
        print("FAIL chromium starts\n     " + str(error.msg))
        return 1
    visit = Visit(driver, base, shots, work)
    try:
        visit.step("index", visit.index)
        visit.step("form with GET", visit.form_get)
        visit.step("form with POST", visit.form_post)
        visit.step("loop", visit.loop)
        visit.step("file upload", visit.upload)
        visit.step("error page", visit.error)
        visit.step("script of a page", visit.source)
        visit.step("guestbook", visit.guestbook)
        visit.step("web call and contact pages", visit.other_pages)
    finally:
        driver.quit()
    print("browser: %d steps failed; screenshots in %s" % (visit.failed, shots))
    return 1 if visit.failed else 0


if __name__ == "__main__":
    sys.exit(main())
