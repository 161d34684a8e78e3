"""Plays cases of the program hw-inventory, and prints what of a case is not as it should be.
    run.py CASES.json PROGRAM STANDIN [EMULATOR...]      the stand-in for the library; what runs a Windows program

A case is played in an empty folder of its own:
    name, arguments         <library> is the stand-in's file
    each                    instead of arguments: a list of them, each played as a case
    files                   what lies in the folder; text, or JSON
    standin                 the stand-in's files beside the schemas' examples; null takes one away
    environment, input      variables; what is on standard input, as in files
    output                  "closed" or a file instead of a pipe; "terminal": standard error is one;
                            {"columns": width}: standard output is one
    room                    bytes that a file may have
    kill                    seconds after which the program is killed
    on                      "linux" or "windows", where the case is for one alone
    status                  0 if not given
    prints                  on standard output: the text; a list has its lines; JSON where it is not text. Nothing if not given
    says                    an expression that the whole of standard error matches. Nothing if not given
    leaves                  the files that are new or changed, as in files
Within prints and leaves a text that begins with ~ is an expression for the whole text. Afterwards the folder has no other file, and
no process of the program is left."""

import concurrent.futures
import json
import os
import pathlib
import pty
import re
import resource
import subprocess
import sys
import tempfile
import termios
import time
import uuid

ROOT = pathlib.Path(__file__).resolve().parents[2]
KINDS = ["cpus", "gpus", "ram", "disks", "network-adapters", "base-boards", "system", "hotfixes"]
EXAMPLES = {kind: json.loads((ROOT / "schemas" / f"{kind}.schema.json").read_bytes())["examples"][0] for kind in KINDS}
SECONDS = 120


def compact(value):
    return value if isinstance(value, str) else json.dumps(value, ensure_ascii=False, separators=(",", ":"))


def write(folder, files):
    for name, content in files.items():
        path = folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(compact(content), "utf-8", newline="", errors="surrogateescape")


def contents(folder):
    found = [path for path in folder.rglob("*") if path.is_file()]
    return {path.relative_to(folder).as_posix(): path.read_bytes() for path in found}


def agrees(expected, found):
    if isinstance(expected, str) and isinstance(found, str):
        return bool(re.fullmatch(expected[1:], found, re.DOTALL)) if expected[:1] == "~" else expected == found
    if isinstance(expected, dict) and isinstance(found, dict):
        return expected.keys() == found.keys() and all(agrees(expected[key], found[key]) for key in expected)
    if isinstance(expected, list) and isinstance(found, list):
        return len(expected) == len(found) and all(map(agrees, expected, found))
    return agrees(expected, str(found)) if isinstance(expected, str) and expected[:1] == "~" else expected == found


def text_agrees(expected, text):
    """Of a text with what a case has for it: text, JSON or a list of such lines."""
    if isinstance(expected, list):
        lines = text.split("\n")
        return lines.pop() == "" and len(lines) == len(expected) and all(map(text_agrees, expected, lines))
    try:
        return agrees(expected, text if isinstance(expected, str) else json.loads(text))
    except ValueError:
        return False


def left_running(mark):
    """The processes that have a mark in their environment, of this program or of one that Wine runs."""
    found = []
    for folder in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            if mark.encode() in (folder / "environ").read_bytes() and b"hw-inventory" in (folder / "cmdline").read_bytes():
                found.append(folder.name)
        except OSError:  # it has ended
            pass
    return found


def drain(descriptor):
    text = b""
    try:
        while part := os.read(descriptor, 65536):
            text += part
    except OSError:  # the other side of a terminal is closed
        pass
    return text


def run(case, folder, command, environment):
    """Exit status, standard output and standard error of a case's program."""
    errors = tempfile.TemporaryFile()
    output, terminal, screen = subprocess.PIPE, None, None
    if case.get("output") == "closed":
        reading, output = os.pipe()
        os.close(reading)
    elif case.get("output") == "terminal":
        terminal, errors = pty.openpty()
    elif isinstance(case.get("output"), dict):
        screen, output = pty.openpty()
        termios.tcsetwinsize(output, (24, case["output"]["columns"]))
    elif "output" in case:
        output = os.open(folder / case["output"], os.O_WRONLY | os.O_CREAT | os.O_APPEND)
    room = (lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (case["room"],) * 2)) if "room" in case else None
    pipes = {"stdin": subprocess.PIPE, "stdout": output, "stderr": errors}
    with subprocess.Popen(command, cwd=folder, env=environment, preexec_fn=room, **pipes) as process:
        try:
            printed, _ = process.communicate(compact(case.get("input", "")).encode(), case.get("kill", SECONDS))
        except subprocess.TimeoutExpired:
            process.kill()
            printed, _ = process.communicate()
            if "kill" not in case:
                return "does not end", printed or b"", b""
    if screen:
        os.close(output)
        printed = drain(screen).replace(b"\r\n", b"\n")
    if terminal:
        os.close(errors)
        return process.returncode, printed, drain(terminal)
    errors.seek(0)
    return process.returncode, printed or b"", errors.read()


def play(case):
    program, library = (os.path.abspath(each) for each in sys.argv[2:4])
    emulator = sys.argv[4:]
    if case.get("on", "") not in ("", "windows" if program.endswith(".exe") else "linux"):
        return []
    with tempfile.TemporaryDirectory() as name:
        folder, standin, mark = pathlib.Path(name, "folder"), pathlib.Path(name, "standin"), str(uuid.uuid4())
        folder.mkdir()
        write(folder, case.get("files", {}))
        documents = {f"{kind}.json": example for kind, example in EXAMPLES.items()} | case.get("standin", {})
        write(standin, {file: content for file, content in documents.items() if content is not None})
        before = contents(folder)
        environment = os.environ | {"HW_INVENTORY_STANDIN": str(standin), "TZ": "UTC", "MARK": mark}
        environment |= case.get("environment", {})
        arguments = [library if argument == "<library>" else argument for argument in case.get("arguments", [])]
        status, printed, said = run(case, folder, [*emulator, program, *arguments], environment)
        printed, said = printed.decode("utf-8", "backslashreplace"), said.decode("utf-8", "backslashreplace")
        wrong = []
        if status != case.get("status", 0):
            wrong.append(f"status {status}, expected {case.get('status', 0)}")
        if not text_agrees(case.get("prints", ""), printed):
            wrong.append(f"prints {printed}")
        if not re.fullmatch(case.get("says", ""), said.rstrip("\r\n"), re.DOTALL):
            wrong.append(f"says {said}")
        after, leaves = contents(folder), case.get("leaves", {})
        changed = {file: data for file, data in after.items() if before.get(file) != data}
        if changed.keys() != leaves.keys() or not before.keys() <= after.keys():
            wrong.append(f"leaves {sorted(after)}, changed {sorted(changed)}")
        for file, data in changed.items():
            if file in leaves and not text_agrees(leaves[file], data.decode("utf-8", "backslashreplace")):
                wrong.append(f"leaves {file} with {data.decode('utf-8', 'backslashreplace')}")
        limit = time.monotonic() + 5
        while (left := left_running(mark)) and time.monotonic() < limit:
            time.sleep(0.05)
        if left:
            wrong.append(f"leaves the processes {left}")
        return [f"{case['name']}: {each}" for each in (wrong + [f"said {said}"] if wrong and said else wrong)]


if __name__ == "__main__":
    cases = []
    for case in json.loads(pathlib.Path(sys.argv[1]).read_text("utf-8")):
        for arguments in case.pop("each", [case.get("arguments", [])]):
            cases.append(case | {"arguments": arguments, "name": f"{case['name']}: {' '.join(arguments)}"})
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        failures = [line for lines in pool.map(play, cases) for line in lines]
    sys.exit("\n".join(failures) or 0)
