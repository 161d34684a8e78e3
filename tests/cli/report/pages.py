"""Opens pages that the program made in Chromium, and compares what they show.
    pages.py PROGRAM

Of a case in pages.json:
    files     of the case itself, lists being NDJSON; or names of files beside it
    search    what follows "#q=" in the address
    browser   false: not opened; the page as its file is, as without scripts
    title     of the page, also after scripts of its own making
    links     of the overview, each to a section
    open      how many machines are shown and open
    found     what is written beside the search box
    rows      the texts of the rows that are shown, their cells apart by "|"; one that begins with ~ is an expression
The search box is there for a browser alone. No page has another element or attribute than those of the program, and none makes the
browser complain."""

import html.parser
import json
import pathlib
import re
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).parent
ELEMENTS = """html head meta title style body header h1 div label input output main section h2 table thead tr th tbody td a svg rect
    details summary span time dl dt dd h3 ul li data p strong script""".split()
ATTRIBUTES = """lang charset http-equiv content name id class role hidden for type autocomplete spellcheck aria-labelledby aria-hidden
    scope title href data-label datetime value colspan open viewbox preserveaspectratio width height x y rx""".split()
VOID = ["meta", "input"]


class Page(html.parser.HTMLParser):
    """The rows that are shown, and what else of a page is checked."""

    def __init__(self, text):
        super().__init__()
        self.path, self.rows, self.texts, self.links, self.ids, self.strange, self.open = [], [], {}, [], set(), set(), 0
        self.feed(text)
        self.close()

    def handle_starttag(self, tag, attributes):
        names = dict(attributes)
        self.strange |= {tag} - set(ELEMENTS) | {name for name in names if name not in ATTRIBUTES}
        self.ids.add(names.get("id"))
        self.links += [names["href"]] if "href" in names else []
        shown = "hidden" not in names and all(shown for _, _, shown in self.path)
        within = {each for each, _, _ in self.path}
        self.open += tag == "details" and shown and "open" in names
        row = (tag in ("tr", "p") and "thead" not in within) or (tag == "div" and "dl" in within)
        if row and shown:
            self.rows.append("")
        if tag in ("td", "th") and shown and self.path[-1][1]:
            self.rows[-1] += "|"
        if tag in VOID:
            return
        self.path.append((tag, row or bool(self.path and self.path[-1][1]), shown))
        self.texts.setdefault(tag, "" if shown else None)

    def handle_endtag(self, tag):
        while self.path and self.path.pop()[0] != tag:
            pass

    def handle_data(self, data):
        if not self.path:
            return
        tag, row, shown = self.path[-1]
        if shown:
            self.texts[tag] = (self.texts[tag] or "") + data
        if row and shown:
            self.rows[-1] += data


def same(expected, found):
    return re.fullmatch(expected[1:], found) if expected[:1] == "~" else expected == found


def play(case, folder):
    names = case["files"]
    files = [HERE / name for name in names] if isinstance(names, list) else [folder / name for name in names]
    for file in files if isinstance(names, dict) else []:
        content = names[file.name]
        file.write_text("\n".join(map(json.dumps, content if isinstance(content, list) else [content])), "utf-8")
    subprocess.run([sys.argv[1], "report", *files, "-o", folder / "page.html"], check=True)
    address = f"file://{folder}/page.html" + (f"#q={case['search']}" if "search" in case else "")
    command = ["chromium", "--headless=new", "--no-sandbox", "--disable-gpu", f"--user-data-dir={folder}/profile"]
    command += ["--enable-logging=stderr", "--v=0", "--dump-dom", address]
    if not case.get("browser", True):
        command = ["cat", folder / "page.html"]
    done = subprocess.run(command, capture_output=True, encoding="utf-8", timeout=120)
    page = Page(done.stdout)
    wrong = [line for line in done.stderr.splitlines() if "CONSOLE" in line]
    wrong += [f"has {page.strange}"] if page.strange else []
    wrong += [f"links to {link}" for link in page.links if link[1:] not in page.ids]
    found = {
        "title": page.texts.get("title"),
        "links": page.links,
        "open": page.open,
        "box": page.texts.get("label") is not None,
        "found": page.texts.get("output"),
    }
    expected = {"box": case.get("browser", True)} | case
    wrong += [f"{key} {found[key]!r}" for key in found if key in expected and expected[key] != found[key]]
    rows = [row.strip("\n").removeprefix("|") for row in page.rows]
    if len(rows) != len(case["rows"]) or not all(map(same, case["rows"], rows)):
        wrong.append(f"shows {json.dumps(rows, ensure_ascii=False, indent=1)}")
    return [f"{case['name']}: {each}" for each in wrong]


failures = []
for case in json.loads((HERE / "pages.json").read_text("utf-8")):
    with tempfile.TemporaryDirectory() as name:
        failures += play(case, pathlib.Path(name))
sys.exit("\n".join(failures) or 0)
