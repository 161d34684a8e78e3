#!/usr/bin/env python3
"""Loads files of NDJSON envelopes into an SQLite database, which it makes if there is none.

The shell of SQLite can neither skip a bad line nor compare two lists of records; Python's module can, and needs no package.
"""

import argparse
import datetime
import hashlib
import json
import math
import pathlib
import re
import sqlite3
import sys

HERE = pathlib.Path(__file__).parent
SPACE = " \t\r\n\v\f"
TIME = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d([.]\d{1,6})?Z", re.ASCII)
ZERO = re.compile(r"(?<!\\)(?:\\\\)*\\u0000")
FILLER = re.compile(r"(0X)?([:. -]{4,}|[:. -]*0[0:. -]*|(" + "|".join(f"([:. -]*{each}){{4,}}" for each in r"F X \* _ \? #".split())
                    + ")[:. -]*)")  # fmt: skip
CAPITALS = {lower: lower - 32 for lower in range(ord("a"), ord("z") + 1)}


class BadLine(Exception):
    """Why a line is no envelope."""


def refuse(constant):
    raise BadLine(f"no JSON: {constant}")


def finite(text):
    value = float(text)
    return value if math.isfinite(value) else refuse(text)


class Rules:
    """How two documents of a kind are compared: rules.sql, from the database."""

    def __init__(self, database):
        rows = database.execute(
            "SELECT list, kind, unique_key, place, other_place, shown, ignored, looked_up FROM record_rules"
        )
        names = ("list", "kind", "unique", "place", "other", "shown", "ignored", "looked_up")
        self.lists = {row[0]: dict(zip(names, row)) for row in rows}
        self.kinds = {rules["kind"]: rules for rules in self.lists.values() if rules["kind"]}
        self.placeholders = {text for (text,) in database.execute("SELECT text FROM placeholders")}
        self.number_keys = {key for (key,) in database.execute("SELECT key FROM number_keys")}

    def is_placeholder(self, key, value):
        """Whether a text, trimmed and in capitals, stands for no value of a key."""
        if value in self.placeholders or re.sub("[0-9]+", "#", value) in self.placeholders:
            return True
        return key in self.number_keys and FILLER.fullmatch(value) is not None

    def comparable(self, record, key):
        value = record.get(key) if isinstance(record, dict) else None
        value = value.strip(SPACE).translate(CAPITALS) if isinstance(value, str) else ""
        return None if not value or self.is_placeholder(key, value) else value

    def label(self, record, rules, number):
        texts = [
            record.get(rules[key]) if isinstance(record, dict) else None
            for key in ("shown", "place", "other", "unique")
        ]
        texts = [
            re.sub("[\x01-\x1f\x7f-\x9f]", "?", text.strip(SPACE)) if isinstance(text, str) else "" for text in texts
        ]
        name = next((at for at, text in enumerate(texts) if text), None)
        if name is None:
            return f"no. {number}"
        if name < 3 and texts[3] and not self.is_placeholder(rules["unique"], texts[3].translate(CAPITALS)):
            return f"{texts[name]} ({texts[3]})"
        return texts[name]

    def pairs(self, before, after, rules):
        """The place in the second list of each record of the first one; None where it is gone."""
        unique = [[self.comparable(record, rules["unique"]) for record in records] for records in (before, after)]

        def nothing(record):
            return None if any(self.comparable(record, rules[key]) for key in ("unique", "place", "other")) else ""

        found = [None] * len(before)
        left = dict.fromkeys(range(len(after)))
        for key in ("unique", "place", "other", None):
            value = (lambda record, key=rules[key]: self.comparable(record, key)) if key else nothing
            offered = [(at, value(after[at])) for at in left]
            for old, record in enumerate(before):
                wanted = value(record) if found[old] is None else None
                if wanted is None:
                    continue
                for new, text in offered:
                    both = unique[0][old] and unique[1][new]
                    if text == wanted and new in left and not (both and unique[0][old] != unique[1][new]):
                        found[old] = new
                        del left[new]
                        break
        return found

    def compare(self, before, after, record="", path="", ignored=None):
        """Change, record, key, and the value on either side, of all that differs in two objects."""
        for key in sorted({**before, **after}, key=str.encode):
            old, new = before.get(key, ...), after.get(key, ...)
            if key == ignored or old == new:
                continue
            rules = self.lists.get(key)
            if rules and all(each is ... or isinstance(each, list) for each in (old, new)):
                yield from self.compare_lists([] if old is ... else old, [] if new is ... else new, record, rules)
            elif isinstance(old, dict) and isinstance(new, dict):
                inner = (path, rules["ignored"]) if rules else (f"{path}{key}/", ignored)
                yield from self.compare(old, new, record, *inner)
            else:
                yield "changed", record, path + key, old, new

    def compare_lists(self, before, after, record, rules):
        prefix = record + ", " if record else ""
        found = self.pairs(before, after, rules)
        for number, (old, at) in enumerate(zip(before, found), 1):
            label = prefix + self.label(old, rules, number)
            if at is None:
                yield "removed", label, "", old, ...
            elif isinstance(old, dict) and isinstance(after[at], dict):
                yield from self.compare(old, after[at], label, "", rules["ignored"])
            elif old != after[at]:
                yield "changed", label, "", old, after[at]
        for number, new in enumerate(after, 1):
            if number - 1 not in found:
                yield "added", prefix + self.label(new, rules, number), "", ..., new


def text_of(value):
    return None if value is ... else json.dumps(value, ensure_ascii=False, separators=(",", ":"))


def time_of(text):
    """As PostgreSQL prints it in UTC, so that texts sort like times."""
    if not isinstance(text, str) or not TIME.fullmatch(text):
        return None
    moment = datetime.datetime.fromisoformat(text[:19])
    fraction = text[20:-1].rstrip("0")
    return f"{moment:%Y-%m-%d %H:%M:%S}".zfill(19) + (f".{fraction}" if fraction else "") + "+00"


def envelope_of(line, rules, tomorrow):
    """An envelope, its time, and the rules of its kind."""
    if b"\0" in line:
        raise BadLine("a zero byte")
    try:
        text = line.decode()
        envelope = json.loads(text, parse_constant=refuse, parse_float=finite)
        text_of(envelope).encode()
    except (ValueError, RecursionError) as error:
        raise BadLine(str(error)) from error
    if ZERO.search(text):
        raise BadLine("a zero character")
    get = envelope.get if isinstance(envelope, dict) else lambda key: None
    kind = rules.kinds.get(get("kind")) if isinstance(get("kind"), str) else None
    if not kind:
        raise BadLine("no kind of document")
    try:
        collected = time_of(get("collected"))
    except ValueError as error:
        raise BadLine(str(error)) from error
    if not collected:
        raise BadLine("no time of collection")
    if collected > tomorrow:
        raise BadLine("collected in the future")
    if not isinstance(get("machine"), str):
        raise BadLine("no machine")
    if not 1 <= len(get("machine")) <= 255:
        raise BadLine("the name of the machine is empty or too long")
    document, error = get("document"), get("error")
    if document is None and "document" in envelope:
        status = error.get("status") if isinstance(error, dict) else None
        if not isinstance(status, (int, float)) or isinstance(status, bool):
            raise BadLine("neither a document nor an error")
    elif not isinstance(document, dict) or not isinstance(
        document.get(kind["list"]), dict if kind["list"] == "system" else list
    ):
        raise BadLine("no document of its kind")
    return envelope, collected, kind


class Loader:
    def __init__(self, database):
        self.run = database.execute
        self.rules = Rules(database)
        now = datetime.datetime.now(datetime.timezone.utc)
        self.tomorrow = f"{now + datetime.timedelta(days=1):%Y-%m-%d %H:%M:%S}+00"

    def load(self, name, lines):
        counts = dict.fromkeys(("lines", "bad", "documents", "failures", "changes"), 0)
        for number, line in enumerate(lines, 1):
            line = line.rstrip(b"\r\n")
            if not line or line.isspace():
                continue
            counts["lines"] += 1
            try:
                envelope, collected, kind = envelope_of(line, self.rules, self.tomorrow)
            except BadLine as reason:
                counts["bad"] += 1
                values = (
                    name,
                    number,
                    hashlib.md5(line).hexdigest(),
                    str(reason),
                    line.decode(errors="backslashreplace"),
                )
                self.run("INSERT OR IGNORE INTO bad_lines VALUES (?, ?, ?, datetime('now') || '+00', ?, ?)", values)
                continue
            self.take(envelope, collected, kind, counts)
        return counts

    def take(self, envelope, collected, kind, counts):
        key = (envelope["machine"], envelope["kind"])
        document, error = envelope["document"], envelope.get("error")
        known = self.run("SELECT collected FROM attempts WHERE machine = ? AND kind = ?", key).fetchone()
        failed = document is None
        counts["failures"] += failed
        status, name, text = (error.get(each) for each in ("status", "name", "text")) if failed else (0, None, None)
        texts = [value if isinstance(value, str) else None for value in (name, text, envelope.get("version"))]
        duration = envelope.get("durationMs")
        duration = duration if type(duration) in (int, float) else None
        newest = (collected, status, *texts[:2], duration, texts[2])
        self.run(
            """INSERT INTO attempts VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?) ON CONFLICT DO UPDATE SET
                first_seen = min(first_seen, excluded.first_seen),
                collected = nullif(max(ifnull(collected, ''), ifnull(excluded.collected, '')), '')""",
            (*key, collected, collected, None if failed else collected, *newest[1:]),
        )
        self.run(
            """UPDATE attempts SET (attempted, status, error_name, error_text, duration_ms, version) = (?, ?, ?, ?, ?, ?)
                WHERE machine = ? AND kind = ? AND attempted < ?""",
            (*newest, *key, collected),
        )
        if failed or (known and known[0] and collected <= known[0]):
            return
        row = self.run("SELECT document FROM documents WHERE machine = ? AND kind = ?", key).fetchone()
        new = text_of(document)
        if row and row[0] == new:
            return
        changes = []
        if row:
            before = json.loads(row[0])
            if before == document:
                return
            changes = list(self.rules.compare(before, document))
        counts["documents"] += 1
        self.run(
            "INSERT INTO documents VALUES (?, ?, ?) ON CONFLICT DO UPDATE SET document = excluded.document", (*key, new)
        )
        for ordinal, (change, record, name, old, value) in enumerate(changes, 1):
            values = (*key, collected, ordinal, change, record, name, text_of(old), text_of(value))
            self.run("INSERT INTO changes VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)", values)
        counts["changes"] += len(changes)
        if kind["looked_up"] and (changes or not row):
            self.identify(key, document[kind["list"]], kind["looked_up"])

    def identify(self, key, records, looked_up):
        self.run("DELETE FROM identifiers WHERE machine = ? AND kind = ?", key)
        for record in records if isinstance(records, list) else [records]:
            value = self.rules.comparable(record, looked_up)
            if value and len(value) <= 200:
                self.run("INSERT OR IGNORE INTO identifiers VALUES (?, ?, ?, ?)", (*key, value, looked_up))


def forget(database, before):
    """Forgets the history from before a time."""
    return database.execute("DELETE FROM changes WHERE collected < ?", (before,)).rowcount


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("database", type=pathlib.Path)
    parser.add_argument("files", nargs="*", metavar="FILE", help='"-" is standard input')
    parser.add_argument("--forget-before", metavar="DATE", help="forget the history from before 2026-11-22")
    arguments = parser.parse_args()
    # Two loaders at once: the second waits up to ten minutes for the file of the first.
    database = sqlite3.connect(arguments.database, timeout=600, isolation_level=None)
    database.execute("PRAGMA journal_mode = WAL")
    for script in (HERE / "schema.sql", HERE.parent / "rules.sql"):
        database.executescript(f"BEGIN IMMEDIATE; {script.read_text('utf-8')} COMMIT;")
    status = 0
    for name in arguments.files:
        try:
            with open(0 if name == "-" else name, "rb") as lines:
                database.execute("BEGIN IMMEDIATE")
                counts = Loader(database).load(name, lines)
                database.execute("COMMIT")
            print(f"{name}:", *(f"{key}={value}" for key, value in counts.items()))
        except (OSError, sqlite3.Error) as error:
            if database.in_transaction:
                database.execute("ROLLBACK")
            print(f"load: {name} is not loaded: {error}", file=sys.stderr)
            status = 1
    if arguments.forget_before:
        print(f"forgotten: changes={forget(database, arguments.forget_before)}")
    return status


if __name__ == "__main__":
    sys.exit(main())
