"""Holds a bill of materials against the CycloneDX schema and its release: check_bill.py SCHEMAS BILL RELEASE."""

import hashlib
import json
import sys
from pathlib import Path
from urllib.parse import urljoin

import jsonschema

schemas, bill, release = Path(sys.argv[1]), json.loads(Path(sys.argv[2]).read_text()), Path(sys.argv[3])
schema = json.loads((schemas / "bom-1.5.SNAPSHOT.schema.json").read_text())
store = {urljoin(schema["$id"], path.name): json.loads(path.read_text()) for path in schemas.glob("*.schema.json")}
jsonschema.Draft7Validator(schema, resolver=jsonschema.RefResolver.from_schema(schema, store=store)).validate(bill)

hashes = {part["bom-ref"]: [entry["content"] for entry in part.get("hashes", [])] for part in bill["components"]}
needs = {entry["ref"]: set(entry["dependsOn"]) for entry in bill["dependencies"]}
shipped = {path.name: [hashlib.sha256(path.read_bytes()).hexdigest()] for path in release.glob("bin/*.[de][lx][le]")}
assert shipped == {ref: value for ref, value in hashes.items() if value}, "the sums of the shipped files"
assert needs["hw_inventory_interface"] == set(shipped) and len(hashes) == 4 + 7, "four files, seven parts of others"
assert set(hashes) == set().union(*needs.values()), "needed by none, or unknown"
assert {"hw_inventory_interface.dll", "CLI11"} <= needs["hw-inventory.exe"] and "CLI11" not in needs["hw_inventory_interface.dll"]
