"""The schemas of the documents. As a program, it checks the documents on standard input, one a line."""
import json
import pathlib
import re
import sys

import jsonschema

ROOT = pathlib.Path(__file__).resolve().parents[2]
IDENTIFYING = set()


def noted(pairs):
    IDENTIFYING.update(name for name, each in pairs if isinstance(each, dict) and each.get("x-identifying"))
    return dict(pairs)


SCHEMAS = [json.loads(each.read_text("utf-8"), object_pairs_hook=noted) for each in ROOT.glob("schemas/*.schema.json")]
VALIDATORS = {each["required"][0]: jsonschema.Draft202012Validator(each) for each in SCHEMAS if "$id" in each}


def errors(document, key=None):
    """Place and message of whatever is wrong with a document, by the schema of its first key or of the given one."""
    found = VALIDATORS[key or min(document)].iter_errors(document)
    return [("".join(f"/{part}" for part in error.absolute_path), error.message[:200]) for error in found]


def machine_cases():
    """Every machine of tests/machines, and every case of one, as the variable CASE names them."""
    for file in sorted((ROOT / "tests" / "machines").glob("*.json")):
        machine = json.loads(re.sub("//.*", "", file.read_text("utf-8")))
        for each in [{"name": "machine"}, *machine.get("cases", [])]:
            yield f"{file.stem}/{each['name']}"


if __name__ == "__main__":
    wrong = [error for line in sys.stdin for error in errors(json.loads(line))]
    sys.exit(f"documents do not match their schemas: {wrong}" if wrong else 0)
