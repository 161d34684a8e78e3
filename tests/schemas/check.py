"""Documents of all machines match the schemas, wrong ones do not, and what schemas and pages say of the keys is so.
    check.py PROGRAM LIBRARY      the command-line program; the library over the machine that the variable CASE names"""
import copy
import json
import os
import re
import subprocess
import sys

from documents import ROOT, SCHEMAS, VALIDATORS, errors, machine_cases

EXAMPLES = {key: validator.schema["examples"][0] for key, validator in VALIDATORS.items()}
failures = []


def expect(rule, found, expected):
    if found != expected:
        failures.append(f"{rule}: {found!r}, expected {expected!r}")


def run(*command, **options):
    return subprocess.run(command, capture_output=True, encoding="utf-8", **options)


collect = sys.argv[1], "--library", sys.argv[2], "--timeout", "0", "--format", "ndjson", "--log=trace"
printed, asked = {}, set()
for case in machine_cases():
    done = run(*collect, env=os.environ | {"CASE": case, "TZ": "UTC"})
    envelopes = [json.loads(line) for line in done.stdout.splitlines()]
    printed[case] = [each["document"] for each in envelopes if each["document"]]
    expect(f"{case}: kinds", len(envelopes), 8)
    expect(case, [error for each in envelopes + printed[case] for error in errors(each)], [])
    asked |= set(re.findall(r"'(\w+)' property of", done.stderr))
expect("read, or a source, but not both", asked ^ set(re.findall(r"WMI \w+\.(\w+)", json.dumps(SCHEMAS))), set())
expect("examples", EXAMPLES | {"collected": None}, {min(each): each for each in printed["whole/machine"]} | {"collected": None})

for values, places in json.loads((ROOT / "tests" / "schemas" / "wrong.json").read_text("utf-8")):
    for place, value in [(place, value) for place in places for value in values]:
        key, pointer = place.split("#")
        node = document = copy.deepcopy(EXAMPLES[key])
        *path, last = [int(part) if part.isdigit() else part for part in pointer.split("/")[1:]]
        for part in path:
            node = node[part]
        node[last] = value
        if value == "gone":
            del node[last]
        found = {at.startswith(pointer.rpartition("/")[0]) for at, _ in errors(document, key)}
        expect(f"{pointer}: {value!r} is wrong", found, {True})

sys.exit("\n".join(failures) or 0)
