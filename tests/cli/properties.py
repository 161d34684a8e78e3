"""What holds of the tools on the documents of every machine of tests/machines.
    properties.py PROGRAM LIBRARY      the program hw-inventory; the library over the machine that the variable CASE names"""

import copy
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

sys.path.append(str(pathlib.Path(__file__).resolve().parents[1] / "schemas"))
from documents import IDENTIFYING, VALIDATORS, errors, machine_cases

PROGRAM, LIBRARY = map(os.path.abspath, sys.argv[1:3])
KINDS = ["cpus", "gpus", "ram", "disks", "network-adapters", "base-boards", "system", "hotfixes"]
KEYS = dict(zip(["cpus", "gpus", "rams", "disks", "networkAdapters", "motherBoards", "system", "hotfixes"], KINDS))
IGNORED = re.compile(r"temperature|availableSpace|bootTime|ipAddresses|rams/\d+/name")
NOTHING = ["", " ", "-", "0X00000000"]  # values that stand for none
failures = []


def expect(rule, holds):
    if not holds:
        failures.append(rule)


def run(*arguments, status=0, text=""):
    done = subprocess.run([PROGRAM, *arguments], capture_output=True, encoding="utf-8", input=text)
    expect(f"{arguments} ended with {done.returncode}: {done.stderr}", done.returncode == status)
    return done.stdout


def leaves(value, at=""):
    """JSON pointers of all that is no list and no object."""
    if not isinstance(value, (dict, list)) or not value:
        return [(at, value)]
    members = value.items() if isinstance(value, dict) else enumerate(value)
    return [leaf for key, member in members for leaf in leaves(member, f"{at}/{key}")]


def envelope(machine, document):
    kind = next(KEYS[key] for key in document if key in KEYS)
    given = {"collected": "", "document": document, "durationMs": 0, "error": None, "kind": kind}
    return json.dumps(given | {"machine": machine, "status": 0, "version": ""})


def changed(document, pointer):
    """A copy with another value at a place."""
    *path, last = [int(part) if part.isdigit() else part for part in pointer.split("/")[1:]]
    node = other = copy.deepcopy(document)
    for part in path:
        node = node[part]
    value = node[last]
    if isinstance(value, str):
        node[last] = f"{value}?"
    else:
        node[last] = {"name": "?"} if value is None else value - 1 if value else 1
    return other


def changes(documents, *options):
    """The place of each value, and what diff reports when it alone has changed."""
    places = [(document, at) for document in documents for at, _ in leaves(document) if at.count("/") > 1]
    for name, of in (("old", [each for each, _ in places]), ("new", [changed(*each) for each in places])):
        pathlib.Path(name).write_text("\n".join(envelope(str(index), each) for index, each in enumerate(of)), "utf-8")
    found = [[] for _ in places]
    for change in json.loads(run("diff", "--format", "json", "old", "new", *options, status=1)):
        found[int(change["machine"])].append((change["change"], change["oldAt"], change["newAt"]))
    return [(at, each) for (_, at), each in zip(places, found)]


def kinds_of(at):
    return re.sub(r"/\d+", "", at or "")


os.chdir(tempfile.mkdtemp())
pathlib.Path("key").write_text("a key", "utf-8")
texts = set()
for case in machine_cases():
    command = [PROGRAM, "--library", LIBRARY, "--timeout", "0"]
    done = subprocess.run(command, capture_output=True, encoding="utf-8", env=os.environ | {"CASE": case, "TZ": "UTC"})
    texts.add(done.stdout)
every = [json.loads(line) for text in sorted(texts) for line in text.splitlines()]
for text in filter(None, texts):
    pathlib.Path("file").write_text(text, "utf-8")
    expect("a file differs from itself", run("diff", "--all", "file", "file") == "")

lines = "\n".join(map(json.dumps, every))
redacted = run("redact", "--key", "key", text=lines)
expect("a key gives other placeholders in another run", run("redact", "--key", "key", text=lines) == redacted)
expect("without a key two runs have the same placeholders", run("redact", text=lines) != run("redact", text=lines))
for before, after in zip(every, map(json.loads, redacted.splitlines()), strict=True):
    expect(f"redacted, but wrong: {after}", not errors(after))
    for (at, old), (there, new) in zip(leaves(before), leaves(after), strict=True):
        identifies = bool(IDENTIFYING & set(at.split("/"))) and old not in NOTHING
        expect(f"{at}: {old!r} became {new!r}", at == there and identifies == (old != new))

examples = [VALIDATORS[key].schema["examples"][0] for key in KEYS]
text = "\n".join(map(json.dumps, examples))
whole, hidden = [
    [each["name"] for each in json.loads(run("fingerprint", text=of))["components"]]
    for of in (text, run("redact", text=text))
]
whole.remove("network-adapter")
expect(f"redacting leaves the components {hidden}", hidden == whole)
for at, found in changes(examples, "--all"):
    at = re.sub(r"(ipAddresses)/.*", r"\1", at)
    record = at.rpartition("/")[0]
    exchanged = [("removed", record, None), ("added", None, record)]
    expect(f"{at} changed, reported {found}", found in ([("changed", at, at)], exchanged))
for at, found in changes(examples):
    expect(f"{at} changed, reported {found}", bool(found) != bool(IGNORED.search(at)))
for at, found in changes(every, "--all"):
    seen = [kinds_of(at).startswith(kinds_of(place)) for _, old, new in found for place in (old, new) if place]
    expect(f"{at} changed, reported {found}", any(seen))
sys.exit("\n".join(failures[:50]) or 0)
