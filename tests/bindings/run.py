#!/usr/bin/env python3
"""Plays a set of scenarios.json on the example program of a binding, and prints a line a case.
    run.py BINDING SET LIBRARY COMMAND...      in a folder for its files

A scenario's folder for the stand-in has the examples of the schemas and its own files. What is printed are lines, as patterns of
the shell; one that begins with + stands for one or more. A kind stands for its document: that of the folder, or one that its
schema allows."""
import fnmatch
import json
import os
import pathlib
import subprocess
import sys
import threading

import jsonschema

ROOT = pathlib.Path(__file__).parents[2]
KINDS = ["cpus", "gpus", "ram", "disks", "network-adapters", "base-boards", "system", "hotfixes"]
SCHEMAS = {kind: json.loads((ROOT / "schemas" / f"{kind}.schema.json").read_text("utf-8")) for kind in KINDS}


def write_folder(scenario):
    """Writes the stand-in's files, and returns the documents."""
    documents = {kind: schema["examples"][0] for kind, schema in SCHEMAS.items()} | scenario.get("documents", {})
    for kind, times in scenario.get("repeat", {}).items():
        documents[kind] = {key: records * times for key, records in documents[kind].items()}
    texts = {f"{kind}.json": json.dumps(document, ensure_ascii=False) for kind, document in documents.items()}
    texts |= {f"{kind}.script": "\n".join(steps) for kind, steps in scenario.get("scripts", {}).items()}
    for old in pathlib.Path("standin").glob("*"):
        old.unlink()
    for name, text in texts.items():
        pathlib.Path("standin", name).write_text(text, "utf-8")
    return documents


def reduced(line, documents):
    """The kind of a document that is as it should be; any other line as it is."""
    if not line.startswith("{"):
        return line
    try:
        document = json.loads(line)
    except ValueError:
        return line
    kind = next(kind for kind in KINDS if SCHEMAS[kind]["required"][0] in document)
    if documents:
        return kind if document == documents[kind] else line
    jsonschema.validate(document, SCHEMAS[kind])
    return kind


def agree(patterns, lines):
    for pattern in patterns:
        first, lines = lines[:1], lines[1:]
        if not fnmatch.filter(first, pattern.lstrip("+")):
            return False
        while pattern[0] == "+" and fnmatch.filter(lines[:1], pattern[1:]):
            lines = lines[1:]
    return not lines


def resources(process):
    """Resident memory in KiB, threads and open files."""
    folder = pathlib.Path(f"/proc/{process.pid}")
    status = dict(line.split(":", 1) for line in (folder / "status").read_text().splitlines())
    return int(status["VmRSS"].split()[0]), int(status["Threads"]), len(os.listdir(folder / "fd"))


def play(scenario, library, command, standin):
    documents = write_folder(scenario) if standin else None
    options, library = scenario.get("options", []), pathlib.Path(scenario.get("library", library)).absolute()
    environment = os.environ | {"HW_INVENTORY_STANDIN": "standin"}
    lines, used = [], []
    command = [*command, *options, library, *scenario.get("kinds", [])]
    with subprocess.Popen(command, stdout=subprocess.PIPE, env=environment) as process:
        limit = threading.Timer(120, process.kill)
        limit.start()
        for line in process.stdout:
            lines.append(reduced(line.decode("utf-8").rstrip("\r\n"), documents))
            if len(lines) in (100, 1100):
                used.append(resources(process))
        limit.cancel()
    grown = [after - before for before, after in zip(*used)] if len(used) == 2 else [0, 0, 0]
    if agree(scenario["prints"], lines) and grown[0] < 14000 and max(grown[1:]) < 50 and process.returncode in (0, 1):
        return True
    print(f"exit status {process.returncode}, grown by {grown}", *lines[:20], sep="\n", file=sys.stderr)
    return False


def main(binding, name, library, *command):
    os.makedirs("standin", exist_ok=True)
    for scenario in json.loads(pathlib.Path(__file__).with_name("scenarios.json").read_text("utf-8"))[name]:
        if binding in scenario.get("not", []):
            outcome = "skipped"
        else:
            outcome = "ok" if play(scenario, library, command, name == "stand-in") else "FAILED"
        print(f"bindings: {binding}, {scenario['name']}: {outcome}", flush=True)


main(*sys.argv[1:])
