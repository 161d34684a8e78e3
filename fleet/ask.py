#!/usr/bin/env python3
"""Asks a question of questions.sql and prints the answer with tabs between the columns.

Without a question it lists them. The database is psql's (PGHOST, PGDATABASE, PGUSER...), or that of --sqlite.
"""

import argparse
import datetime
import pathlib
import re
import sqlite3
import subprocess
import sys

HEAD = re.compile(r"^-- (\w+): (.*)$")
PARAMETER = re.compile(r"^--   (\w+) = (.*)$")


class Question:
    def __init__(self, name, about):
        self.name, self.about, self.defaults, self.sql = name, about, {}, ""


def questions():
    found = {}
    for line in (pathlib.Path(__file__).parent / "questions.sql").read_text("utf-8").splitlines():
        if head := HEAD.match(line):
            question = found[head[1]] = Question(*head.groups())
        elif parameter := PARAMETER.match(line):
            question.defaults[parameter[1]] = parameter[2]
        elif line and not line.startswith("--"):
            question.sql += line + "\n"
    return found


def value_of(text):
    """A time in the form that both databases compare."""
    if days := re.fullmatch(r"now - (\d+)", text):
        moment = datetime.datetime.now(datetime.timezone.utc) - datetime.timedelta(days=int(days[1]))
        return f"{moment:%Y-%m-%d %H:%M:%S}+00"
    return re.sub(r"^(\d{4}-\d\d-\d\d)T([\d:.]+)Z$", r"\1 \2+00", text)


def quoted(value):
    """psql replaces :name by the text, so that the text brings its quotes: a number has none."""
    return value if re.fullmatch(r"\d{1,15}", value) else "'" + value.replace("'", "''") + "'"


def ask_postgresql(sql, values, time):
    variables = [argument for name, value in values.items() for argument in ("-v", f"{name}={quoted(value)}")]
    setting = "SET search_path = fleet; SET timezone = 'UTC'; SET jit = off;\n" + ("\\timing on\n" if time else "")
    command = ["psql", "-X", "-q", "-A", "-F", "\t", "-P", "footer=off", "-v", "ON_ERROR_STOP=1", *variables, "-f", "-"]
    return subprocess.run(command, input=setting + sql, text=True, encoding="utf-8").returncode


def ask_sqlite(path, sql, values):
    database = sqlite3.connect(f"{path.resolve().as_uri()}?mode=ro", uri=True)
    values = {name: int(value) if re.fullmatch(r"\d{1,15}", value) else value for name, value in values.items()}
    answer = database.execute(sql, values)
    print(*(column[0] for column in answer.description), sep="\t")
    for row in answer:
        print(*("" if value is None else value for value in row), sep="\t")
    return 0


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--sqlite", type=pathlib.Path, metavar="DATABASE")
    parser.add_argument("--time", action="store_true", help="print how long PostgreSQL took, too")
    parser.add_argument("question", nargs="?")
    parser.add_argument("values", nargs="*", metavar="NAME=VALUE")
    arguments = parser.parse_args()
    known = questions()
    if not arguments.question:
        for question in known.values():
            defaults = (f"    {name} = {text}" for name, text in question.defaults.items())
            print(f"{question.name}: {question.about}", *defaults, sep="\n")
        return 0
    question = known.get(arguments.question) or parser.error(f"no question {arguments.question}")
    given = dict(each.partition("=")[::2] for each in arguments.values)
    if unknown := given.keys() - question.defaults.keys():
        parser.error(f"{question.name} has no {', '.join(sorted(unknown))}")
    values = {name: value_of(text) for name, text in (question.defaults | given).items()}
    sys.stdout.reconfigure(encoding="utf-8")
    if arguments.sqlite:
        return ask_sqlite(arguments.sqlite, question.sql, values)
    return ask_postgresql(question.sql, values, arguments.time)


try:
    sys.exit(main())
except sqlite3.Error as error:
    sys.exit(f"ask: {error}")
