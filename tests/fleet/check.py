"""The parts of the fleet's tests that compare: check.py CASE ARGUMENT..."""

import collections
import functools
import json
import pathlib
import re
import sqlite3
import subprocess
import sys

HERE = pathlib.Path(__file__).parent
ROOT = HERE.parents[1]
data = lambda name: json.loads((HERE / name).read_bytes())


def psql(*statements):
    commands = [
        argument for each in ("SET search_path = fleet; SET timezone = 'UTC'", *statements) for argument in ("-c", each)
    ]
    return subprocess.run(
        ["psql", "-X", "-q", "-A", "-t", "-v", "ON_ERROR_STOP=1", "-F", "\x1f", "-R", "\x1e", *commands],
        capture_output=True,
    )


def rows(engine, statement):
    if engine == "postgresql":
        result = psql(statement)
        assert result.returncode == 0, result.stderr
        return [row.split("\x1f") for row in result.stdout.decode().removesuffix("\n").split("\x1e") if row]
    return [["" if cell is None else str(cell) for cell in row] for row in sqlite3.connect(engine).execute(statement)]


def same(what, expected, got):
    assert expected == got, f"{what}\nexpected {str(expected)[:2000]}\ngot      {str(got)[:2000]}"


def line(**members):
    return json.dumps(data("lines.json")["envelope"] | members, ensure_ascii=False)


def write_history(path):
    """Each case is a machine, each of its documents a day."""
    with open(path, "w") as file:
        for case in data("history.json"):
            for day, document in enumerate(case["days"], 1):
                time = f"2026-11-0{day}T10:00:00Z"
                print(line(machine=case["name"], kind=case["kind"], document=document, collected=time), file=file)


def history(*engines):
    for engine in engines:
        for case in data("history.json"):
            got = rows(engine, "SELECT change, record, key, before, after FROM changes WHERE machine = "
                       f"'{case['name']}' ORDER BY collected, ordinal")  # fmt: skip
            same(
                f"{engine}, {case['name']}",
                case["changes"],
                [[*row[:3], *(json.loads(cell or "null") for cell in row[3:])] for row in got],
            )


def write_lines(path):
    lines = data("lines.json")
    texts = [each if isinstance(each, str) else line(**each) for each, _ in lines["bad"]] + [
        line(**each) for each in lines["good"]
    ]
    pathlib.Path(path).write_bytes(
        "\n".join(text.replace("LONG", "x" * 5000) for text in texts).encode(errors="surrogateescape")
    )


def lines(*engines):
    expected = data("lines.json")
    for engine in engines:
        got = {int(number): reason for number, reason in rows(engine, "SELECT number, reason FROM bad_lines")}
        same(f"{engine}, numbers of bad lines", set(range(1, len(expected["bad"]) + 1)), set(got))
        for number, (text, reason) in enumerate(expected["bad"], 1):
            assert re.search(reason, got[number]) and got[number], f"{engine}, {text}: {got[number]}"
        table = "fleet_store.documents" if engine == "postgresql" else "documents"
        kept = {
            machine: json.loads(document)
            for machine, document in rows(engine, f"SELECT machine, document FROM {table}")
        }
        good = {each["machine"]: each["document"] for each in expected["good"] if each["document"]}
        same(engine, json.loads(json.dumps(good).replace("LONG", "x" * 5000)), kept)
        for statement, answer in expected["shows"]:
            same(f"{engine}, {statement}", answer, rows(engine, statement))


def roles():
    for role, statement, allowed in data("roles.json"):
        result = psql(f"SET ROLE {role}", statement)
        assert (result.returncode == 0) == allowed, f"{role}, {statement}: {result.stderr}"
        assert allowed or b"permission denied" in result.stderr, result.stderr


# The recount: what the questions ask, from the files alone.
KEYS = {
    "cpus": ("", "socketDesignation", "name"),
    "gpus": ("serialNumber", "pciAddress", "name"),
    "rams": ("serialNumber", "deviceLocator", "deviceLocator"),
    "disks": ("serialNumber", "name", "model"),
    "networkAdapters": ("macAddress", "name", "name"),
    "motherBoards": ("serialNumber", "model", "model"),
    "hotfixes": ("", "name", "name"),
}
IGNORED = {"availableSpace", "partitions", "temperature", "ipAddresses", "bootTime"}
EMPTY = ("Default string", "00000000", None)


def flat(record, prefix=""):
    for key, value in record.items():
        if isinstance(value, dict):
            yield from flat(value, f"{prefix}{key}/")
        elif key not in IGNORED:
            yield prefix + key, value


def differences(old, new):
    """Of two documents of a simulated machine, whose records all have an identity."""
    found = []
    for key in sorted(new):
        if not isinstance(new[key], list):
            before, after = (dict(flat(each[key] if key == "system" else {key: each[key]})) for each in (old, new))
            found += [
                ("changed", "", name, before[name], after[name])
                for name in sorted(after)
                if before[name] != after[name]
            ]
            continue
        unique, place, shown = KEYS[key]
        named = lambda record: record.get(unique) if record.get(unique) not in EMPTY else None
        before, after = ({named(each) or each[place]: each for each in document[key]} for document in (old, new))
        label = lambda record: record[shown] + (f" ({named(record)})" if named(record) else "")
        for identity, record in before.items():
            other = after.get(identity)
            if other is None:
                found.append(("removed", label(record), "", record, None))
                continue
            other = dict(flat(other))
            found += [("changed", label(record), name, value, other[name]) for name, value in flat(record)
                      if value != other[name] and not (key == "rams" and name == "name")]  # fmt: skip
        found += [
            ("added", label(record), "", None, record) for identity, record in after.items() if identity not in before
        ]
    return found


def recount(paths):
    newest, attempts, seen, changes = {}, {}, collections.defaultdict(list), []
    for envelope in (json.loads(each) for path in paths for each in open(path, encoding="utf-8")):
        at = (envelope["machine"], envelope["kind"])
        time = envelope["collected"].replace("T", " ").replace("Z", "+00")
        attempts[at] = time, envelope["error"]
        seen[at[0]].append(time)
        if envelope["error"] is None:
            if at in newest:
                changes += [
                    (time, *at, number, *each)
                    for number, each in enumerate(differences(newest[at][1], envelope["document"]), 1)
                ]
            newest[at] = time, envelope["document"]

    records = lambda key: [
        (machine, each) for (machine, _), (_, document) in newest.items() for each in document.get(key, [])
    ]
    systems = {machine: document["system"] for (machine, kind), (_, document) in newest.items() if kind == "system"}
    text = lambda machine, *path: (lambda value: value if isinstance(value, str) else "")(
        functools.reduce(lambda value, key: value.get(key) or {}, path, systems.get(machine, {})))  # fmt: skip
    identifiers = collections.defaultdict(list)
    for key, unique in [(key, unique) for key, (unique, *_) in KEYS.items() if unique] + [("system", "serialNumber")]:
        for machine, record in systems.items() if key == "system" else records(key):
            if record.get(unique) not in EMPTY:
                identifiers[record[unique]].append((machine, key, unique))
    count = lambda values: collections.Counter(values).items()
    failed = [
        (kind, error["status"], error["name"], (machine, kind) in newest)
        for (machine, kind), (_, error) in attempts.items()
        if error
    ]
    fitted = collections.defaultdict(list)
    for machine, module in records("rams"):
        fitted[machine].append(module["capacity"])
    with_hotfix = {machine for machine, each in records("hotfixes") if each["name"] == "KB5012345"}
    answers = {
        "who_has": [(machine, key, unique, "BIOS-0000001") for machine, key, unique in identifiers["BIOS-0000001"]],
        "shared_identifiers": [(value, each[0][2], len(each), min(each)[0], max(each)[0])
                               for value, each in identifiers.items() if len(each) > 1],
        "lacks_hotfix": [(machine, text(machine, "machineName"), text(machine, "osInfo", "name"),
                          text(machine, "osInfo", "releaseId"), time)
                         for (machine, kind), (time, _) in newest.items() if kind == "hotfixes" and machine not in with_hotfix],
        "hotfix_spread": count(each["name"] for _, each in records("hotfixes")),
        "changes_since": [(time, machine, kind, *each) for time, machine, kind, _, *each in changes if time >= "2026-11-03"],
        "changes_by_sort": [(*sort, number, len({each[1] for each in changes if (each[2], each[4], each[6]) == sort}))
                            for sort, number in count((each[2], each[4], each[6]) for each in changes)],
        "disks_nearly_full": [(machine, each["name"], each["model"], each["serialNumber"], each["size"], each["availableSpace"])
                              for machine, each in records("disks") if each["availableSpace"] * 10 < each["size"]],
        "devices_with_issues": [(machine, "disk", each["model"], each["serialNumber"], each["status"])
                                for machine, each in records("disks") if each["status"] != "ok"],
        "memory_below": [(machine, text(machine, "manufacturer"), text(machine, "model"), len(sizes), sum(sizes))
                         for machine, sizes in fitted.items() if sum(sizes) < 16 * 2**30],
        "not_seen_since": [(machine, text(machine, "machineName"), min(times), max(times))
                           for machine, times in seen.items() if max(times) < "2026-11-03"],
        "models": [(*model, number) for model, number in
                   count((each["manufacturer"], each["model"], each["type"]) for each in systems.values())],
        "failures_by_status": [(*sort, number, sum(each[3] for each in failed if each[:3] == sort))
                               for sort, number in count(each[:3] for each in failed)],
    }  # fmt: skip
    sizes = {"documents": newest, "machines": seen, "changes": changes, "attempts": attempts}
    sizes["identifiers"] = [each for machines in identifiers.values() for each in machines]
    return answers, {table: len(each) for table, each in sizes.items()}


PARAMETERS = {
    "who_has": "identifier= bios-0000001",
    "changes_since": "since=2026-11-03",
    "changes_by_sort": "since=2026-11-01",
    "not_seen_since": "since=2026-11-03T00:00:00Z",
}


def answers(sqlite, *paths):
    """The twelve answers of an engine ("-" is PostgreSQL) against the recount of the files."""
    expected, _ = recount(paths)
    options = [] if sqlite == "-" else ["--sqlite", sqlite]
    listed = subprocess.run([ROOT / "fleet/ask.py"], capture_output=True, text=True, check=True).stdout
    same("questions", set(expected), set(re.findall(r"^(\w+):", listed, re.M)))
    for question, rows_of in expected.items():
        command = [ROOT / "fleet/ask.py", *options, question, *filter(None, [PARAMETERS.get(question)])]
        result = subprocess.run(command, capture_output=True, encoding="utf-8", check=True).stdout
        # The last two columns of the history are JSON.
        plain = 6 if question == "changes_since" else 99
        cell = lambda at, text: json.dumps(json.loads(text), sort_keys=True) if at >= plain and text else text
        form = (
            lambda at, value: "" if value is None else str(value) if at < plain else json.dumps(value, sort_keys=True)
        )
        got = sorted([cell(*each) for each in enumerate(row.split("\t"))] for row in result.split("\n")[1:-1])
        wanted = sorted([form(*each) for each in enumerate(row)] for row in rows_of)
        assert len(wanted) > (0 if question == "who_has" else 3), f"{question}: {len(wanted)} rows"
        same(question, [row for row in wanted if row not in got], [row for row in got if row not in wanted])
        same(question, len(wanted), len(got))


def counts(engine, *paths):
    prefix = "fleet_store." if engine == "postgresql" else ""
    _, expected = recount(paths)
    got = {
        table: int(rows(engine, f"SELECT count(*) FROM {'' if table == 'machines' else prefix}{table}")[0][0])
        for table in expected
    }
    same(engine, expected, got)


def rules(program):
    """rules.sql, and the history it gives, against the program's own rules and `hw-inventory diff`."""
    header = (ROOT / "cli/documents/Placeholders.h").read_text("utf-8")
    database = sqlite3.connect(":memory:")
    tables = re.findall(
        r"CREATE TABLE IF NOT EXISTS (?:record_rules|placeholders|number_keys) .*?;",
        (ROOT / "fleet/sqlite/schema.sql").read_text(),
        re.S,
    )
    database.executescript("".join(tables) + (ROOT / "fleet/rules.sql").read_text("utf-8"))
    column = lambda statement: {text for (text,) in database.execute(statement)}
    same(
        "placeholders",
        {text.upper() for text in re.findall(r'^    \{"([^"]+)", "', header, re.M)},
        column("SELECT text FROM placeholders"),
    )
    same(
        "keys of numbers",
        set(re.findall(r'"(\w+)"', re.search("kNumberKeys = .*", header)[0])),
        column("SELECT key FROM number_keys"),
    )
    if not pathlib.Path(program).exists():
        sys.exit(77)
    ours = {list_: {"unique": unique, "places": [each for each in places if each], "ignored": [ignored] if ignored else []}
            for list_, unique, *places, ignored in
            database.execute("SELECT list, unique_key, place, other_place, ignored FROM record_rules")}  # fmt: skip
    same("rules of records", json.loads(subprocess.run([program, "diff", "--rules"], capture_output=True).stdout), ours)
    for case in data("history.json"):
        got = []
        for old, new in zip(case["days"], case["days"][1:]):
            for name, document in (("old.json", old), ("new.json", new)):
                pathlib.Path(name).write_text(json.dumps(document))
            found = json.loads(
                subprocess.run(
                    [program, "diff", "--format", "json", "old.json", "new.json"], capture_output=True
                ).stdout
            )
            got += [
                [each["change"], each["record"] or "", each["key"] or "", each["old"], each["new"]] for each in found
            ]
        same(f"hw-inventory diff, {case['name']}", case["changes"], got)


try:
    globals()[sys.argv[1]](*sys.argv[2:])
except AssertionError as error:
    sys.exit(f"{sys.argv[1]}: {error}")
