"""Packs an installed product: the archives of packaging/release.json, a bill of materials, and the sums of all in DIST.

    release.py ROOT BUILD STAGE DIST VERSION TIME

STAGE has a folder for each archive. TIME, in seconds since 1970, is that of every entry: the same files give the same
bytes. Ends with one line and status 1 where STAGE and the list differ, or THIRD-PARTY-NOTICES is not true of the build.
"""

import hashlib
import json
import re
import subprocess
import sys
import time
import uuid
import zipfile
from pathlib import Path
from urllib.parse import quote

PRODUCT = "hw_inventory_interface"


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def found(pattern, text, what):
    match = re.search(pattern, text)
    if not match:
        sys.exit(f"release: {what} is not found")
    return match[1]


def files_below(folder):
    return {path.relative_to(folder).as_posix() for path in folder.rglob("*") if path.is_file()}


def check_tree(root, folder, listed):
    """A pattern of the list is one of the checkout: what it matches there is expected here."""
    expected, actual = set(), files_below(folder)
    for entry in listed:
        expected |= {path.relative_to(root).as_posix() for path in root.glob(entry)} if "*" in entry else {entry}
    if expected != actual:
        missing, unlisted = sorted(expected - actual), sorted(actual - expected)
        sys.exit(f"release: by packaging/release.json {folder.name} lacks {missing} and should not have {unlisted}")


def add_symbol_server(binaries, folder):
    """Copies each PDB to where a symbol server looks for it: NAME/GUID and age/NAME."""
    for pdb in sorted((folder / "bin").glob("*.pdb")):
        summary = output("llvm-pdbutil-16", "dump", "-summary", pdb)
        guid = uuid.UUID(found(r"GUID: \{(.*)\}", summary, f"the GUID of {pdb.name}"))
        age = int(found(r"Age: (\d+)", summary, f"the age of {pdb.name}"))
        # The debug directory of the file that it belongs to: a signature, GUID, age, and the name of the PDB.
        identity = b"RSDS" + guid.bytes_le + age.to_bytes(4, "little") + pdb.name.encode() + b"\0"
        if not any(identity in path.read_bytes() for path in binaries.glob(f"{pdb.stem}.*")):
            sys.exit(f"release: {pdb.name} is the PDB of another build")
        target = folder / "symbols" / pdb.name / f"{guid.hex.upper()}{age:X}" / pdb.name
        target.parent.mkdir(parents=True)
        target.write_bytes(pdb.read_bytes())


def write_zip(archive, folder, prefix, timestamp):
    with zipfile.ZipFile(archive, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as stream:
        for name in sorted(files_below(folder)):
            entry = zipfile.ZipInfo(f"{prefix}/{name}", time.gmtime(timestamp)[:6])
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = 3  # Unix, whatever this is: the modes below are
            entry.external_attr = (0o100755 if name.endswith((".dll", ".exe")) else 0o100644) << 16
            stream.writestr(entry, (folder / name).read_bytes())


def notices(text):
    """The files of the table in THIRD-PARTY-NOTICES; per part its name, its heading, and the files that it is in."""
    files = re.split(r"\s{2,}", found(r"\n {4}(in .*)", text, "the table of THIRD-PARTY-NOTICES"))[1:]
    parts = {}
    for number, row in re.findall(r"^ *(\d+)  (\S.*)$", text, re.MULTILINE):
        name, *columns = re.split(r"\s{2,}", row)
        heading = found(rf"\n{number}\. (.*)\n-+\n", text, f"section {number} of THIRD-PARTY-NOTICES")
        parts[name] = heading, [file for file, column in zip(files, columns) if column != "-"]
    return parts


def third_party(root, build, listed):
    """The parts that are linked or embedded, with the versions that the build took, and the files that each is in."""
    cache = (build / "CMakeCache.txt").read_text()
    boost = Path(found(r"\nHW_INVENTORY_BOOST:\w+=(.*)", cache, "the Boost of the build"))
    boost_header = next(boost.glob("include/**/boost/version.hpp")).read_text()
    number = int(found(r"#define BOOST_VERSION (\d+)", boost_header, "the version of Boost"))
    pci_ids = Path(found(r"\nHW_INVENTORY_PCI_IDS:\w+=(.*)", cache, "the PCI ID list of the build"))
    own_versions = {
        "Boost": f"{number // 100000}.{number // 100 % 1000}.{number % 100}",
        "PCI ID list": found(r"Version: ([0-9.]+)", pci_ids.read_text("latin-1"), "the version of the PCI ID list"),
    }
    stated = notices((root / "THIRD-PARTY-NOTICES").read_text())
    if list(stated) != [part["name"] for part in listed]:
        sys.exit(f"release: THIRD-PARTY-NOTICES has {list(stated)}, the release list something else")
    for part in listed:
        name = part["name"]
        heading, files = stated[name]
        if "package" in part:
            full, architecture = output("dpkg-query", "-W", "-f", "${Version} ${Architecture}", part["package"]).split()
            version = found(r"^(?:\d+:)?([0-9.]+)", full, f"the version of {part['package']}")
            purl = f"pkg:deb/debian/{quote(part['package'])}@{quote(full)}?arch={architecture}"
        else:
            version = own_versions[name]
            purl = f"pkg:generic/{quote(name.lower().replace(' ', '-'))}@{version}"
        # The PCI ID list has no version there: which one is embedded is the builder's choice.
        if heading != name and not f"{name} {version}.".startswith(f"{heading}."):
            sys.exit(f"release: THIRD-PARTY-NOTICES is about {heading}, the build has {version}")
        component = {
            "type": "library",
            "bom-ref": quote(name),
            "name": name,
            "version": version,
            "licenses": [{"expression": part["licence"]}],
            "purl": purl,
        }
        yield component, files


def bill_of_materials(root, build, binaries, version, timestamp, listed):
    """CycloneDX 1.5: the shipped files, what is in each, and which of the others each loads."""
    own = sorted(binaries.iterdir())
    parts = list(third_party(root, build, listed["third party"]))
    components, dependencies = [], {PRODUCT: [path.name for path in own]}
    for path in own:
        loaded = re.findall(r"Name: (\S+\.dll)", output("llvm-readobj-16", "--coff-imports", path))
        loaded += listed["loaded by name"].get(path.name, [])
        dependencies[path.name] = [other.name for other in own if other.name in loaded]
        dependencies[path.name] += [component["bom-ref"] for component, files in parts if path.name in files]
        components.append(
            {
                "type": "application" if path.suffix == ".exe" else "library",
                "bom-ref": path.name,
                "name": path.name,
                "version": version,
                "hashes": [{"alg": "SHA-256", "content": hashlib.sha256(path.read_bytes()).hexdigest()}],
                "licenses": [{"license": {"id": "MIT"}}],
            }
        )
    components += [component for component, files in parts]
    product = {
        "type": "library",
        "bom-ref": PRODUCT,
        "name": PRODUCT,
        "version": version,
        "licenses": [{"license": {"id": "MIT"}}],
        "purl": f"pkg:generic/{PRODUCT}@{version}",
    }
    return {
        "bomFormat": "CycloneDX",
        "specVersion": "1.5",
        "serialNumber": f"urn:uuid:{uuid.uuid5(uuid.NAMESPACE_OID, json.dumps(components))}",
        "version": 1,
        "metadata": {"timestamp": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(timestamp)), "component": product},
        "components": components,
        "dependencies": [{"ref": ref, "dependsOn": others} for ref, others in dependencies.items()],
    }


def main():
    root, build, stage, dist = map(Path, sys.argv[1:5])
    version, timestamp = sys.argv[5], int(sys.argv[6])
    listed = json.loads((root / "packaging/release.json").read_text())
    name = f"{PRODUCT}-{version}"
    binaries = stage / "win64/bin"
    for archive in "win64", "symbols":
        check_tree(root, stage / archive, listed[archive])
    add_symbol_server(binaries, stage / "symbols")
    bill = bill_of_materials(root, build, binaries, version, timestamp, listed)
    # One folder for both: unpacked side by side, the PDBs lie beside their files.
    write_zip(dist / f"{name}-win64.zip", stage / "win64", f"{name}-win64", timestamp)
    write_zip(dist / f"{name}-symbols.zip", stage / "symbols", f"{name}-win64", timestamp)
    (dist / f"{name}.cdx.json").write_text(json.dumps(bill, indent=2) + "\n")
    sums = [f"{hashlib.sha256(path.read_bytes()).hexdigest()}  {path.name}\n" for path in sorted(dist.iterdir())]
    (dist / "SHA256SUMS").write_text("".join(sums))


main()
