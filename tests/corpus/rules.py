#!/usr/bin/env python3
"""Replays real machines and checks their documents by rules of its own, computed from the recorded answers; then the same once more
with each machine anonymised, which may change nothing but what identifies it.
    rules.py CORPUS FOLDER SCHEMA PROGRAM"""
import json
import os
import pathlib
import re
import subprocess
import sys

import jsonschema

sys.path.append(str(pathlib.Path(__file__).parents[1] / "schemas"))
from documents import IDENTIFYING, errors

KINDS = ["Processor", "BaseBoard", "VideoController", "LogicalDiskToPartition", "DiskDrive", "BIOS", "ComputerSystem",
         "OperatingSystem", "ComputerSystemProduct", "Timezone", "QuickFixEngineering", "NetworkAdapter"]
PARTITIONS = "ASSOCIATORS OF {Win32_DiskDrive.DeviceID='%s'} WHERE ResultClass=Win32_DiskPartition"
CONFIGURATIONS = "SELECT * FROM Win32_NetworkAdapterConfiguration WHERE SettingID='%s'"
failures = []


def value(held):
    """32 bits for every number, as a recording has it."""
    return (held + 2**31) % 2**32 - 2**31 if type(held) is int else held


def queries(classes):
    """The readers' queries and their answers, without the namespace."""
    objects = {name.lower(): [{key: value(held["v"]) for key, held in each.items()} for each in all] for name, all in classes.items()}
    of = lambda name: objects.get(name.lower(), [])
    answers = {f"SELECT * FROM Win32_{kind}": of("Win32_" + kind) for kind in KINDS}
    answers["SELECT * FROM MSFT_NetAdapter"] = of("MSFT_NetAdapter")
    answers |= {PARTITIONS % drive["DeviceID"]: [] for drive in of("Win32_DiskDrive")}
    answers |= {CONFIGURATIONS % (adapter.get("GUID") or ""): [] for adapter in of("Win32_NetworkAdapter")}
    answers |= {CONFIGURATIONS % adapter["DeviceID"]: [] for adapter in of("MSFT_NetAdapter")}
    for each in of("Win32_DiskPartition"):
        drive = "\\\\.\\PHYSICALDRIVE" + each["DeviceID"][6:each["DeviceID"].index(",")]  # "Disk #0, Partition #0"
        answers.setdefault(PARTITIONS % drive, []).append(each)
    for each in of("Win32_NetworkAdapterConfiguration"):
        answers.setdefault(CONFIGURATIONS % each["SettingID"], []).append(each)
    for each in of("Win32_LogicalDisk"):
        answers.setdefault(f"SELECT * FROM Win32_LogicalDisk WHERE DeviceID = '{each['DeviceID']}'", []).append(each)
    return answers


def table_answer(table):
    """Structures up to the first that is not whole, each the formatted area and the strings, and the rest."""
    structures, at = [], 8
    while at + 4 <= len(table) and table[at + 1] >= 4:
        strings_at = at + table[at + 1]
        end = table.find(b"\0\0", strings_at)
        if end < 0:
            break
        strings = table[strings_at:end].split(b"\0") if end > strings_at else []
        texts = (each.decode() if each.isascii() else {"hex": each.hex(" ")} for each in strings)
        structures.append([table[at:strings_at].hex(" "), *texts])
        at = end + 2
    return {"header": table[:8].hex(" "), "structures": structures, "rest": table[at:].hex(" ")}


def recording(classes, table=None, modern=True, virtual=False):
    answers = {"connect ROOT\\CIMV2": True, "connect optional ROOT\\StandardCIMV2": modern or {"failed": 2},
               "domain controller": {"status": 1355, "name": "", "freeStatus": 0},
               "registry SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\DisplayVersion": "23H2",
               "locale 2048 language": "en", "locale 2048 country": "US", "physical memory": 8 << 30,
               "vm type": 5 if virtual else 0, "vm virtual 5": True, "vm virtual 0": False,
               "message 2": "The system cannot find the file specified.\r\n", "firmware tables RSMB": 0,
               "module nvml.dll": False, "module atiadlxx.dll": False, "module atiadlxy.dll": False}
    for query, objects in queries(classes).items():
        answers[f"query ROOT\\{'StandardCIMV2' if 'MSFT' in query else 'CIMV2'} {query}"] = objects
    for number, each in enumerate(answers["query ROOT\\CIMV2 SELECT * FROM Win32_DiskDrive"]):
        answers["trim " + each["DeviceID"]] = [True, False, {"failed": "openDrive", "code": 5}][number % 3]
    for number, each in enumerate(answers["query ROOT\\CIMV2 SELECT * FROM Win32_VideoController"]):
        answers["device " + each["PNPDeviceID"]] = {"busNumber": number + 1, "address": number}
    if table is not None:
        answers |= {"firmware tables RSMB": 4, "firmware table RSMB 0": table_answer(table)}
    return {"format": "hw-machine recording", "version": 1, "anonymised": False, "answers": answers}


def recordings(corpus):
    """Names and recordings: WMI in four ways, since the second namespace and a hypervisor decide what is read; all identifiers of
    devices, as those of video controllers; and firmware."""
    for file in sorted((corpus / "wmi").glob("*.json")):
        classes = json.loads(file.read_text("utf-8"))
        for suffix, modern, virtual in (("", True, False), ("-vm", True, True), ("-old", False, False), ("-old-vm", False, True)):
            yield file.stem + suffix, recording(classes, None, modern, virtual)
    lines = (corpus / "strings" / "pnp_device_ids.txt").read_text("utf-8").splitlines()[1:]
    adapters = [{"Name": {"v": f"Adapter {number}"}, "PNPDeviceID": {"v": line.split("\t")[0]}} for number, line in enumerate(lines)]
    yield "pnp-identifiers", recording({"Win32_VideoController": adapters})
    for file in sorted((corpus / "smbios").glob("*.rsmb")):
        yield "smbios-" + file.stem, recording({}, file.read_bytes())


def expect(rule, found, expected):
    if found != expected:
        failures.append(f"{expect.place}: {rule}: {found!r}, expected {expected!r}")


def texts(objects, name):
    return [next((value for key, value in each.items() if key.lower() == name.lower()), None) or "" for each in objects]


def check_pci(record, id):
    pci = id.upper().startswith("PCI\\")
    expect("id", record.get("deviceID", ""), id[8:12].upper() + ":" + id[17:21].upper() if pci else "")
    for name in (record.get("manufacturer", ""), record.get("model", "")):
        expect("trimmed", name, name.strip("\r\n\t .") if pci else name)


def check_adapters(of, adapters, modern):
    objects = [each for each in of("MSFT_NetAdapter" if modern else "Win32_NetworkAdapter")
               if not each.get("Virtual") and each.get("PhysicalAdapter") is not False]
    expect("adapters", len(adapters), len(objects))
    names = ("PNPDeviceID", "PermanentAddress", "DeviceID") if modern else ("PNPDeviceID", "MACAddress", "GUID")
    for adapter, id, mac, setting in zip(adapters, *(texts(objects, name) for name in names)):
        check_pci(adapter, id)
        address = adapter.get("macAddress", "")
        expect("MAC address", bool(re.fullmatch("(..:){5}..|", address)), True)
        expect("MAC address", address.replace(":", "") if modern else address, mac)
        configured = of(f"Win32_NetworkAdapterConfiguration WHERE SettingID='{setting}'")
        expect("IP addresses", adapter.get("ipAddresses", []), configured[-1]["IPAddress"] or [] if configured else [])


def check_disks(of, disks, answers):
    expect("disks", [disk.get("serialNumber", "") for disk in disks], texts(of("Win32_DiskDrive"), "SerialNumber"))
    links = [(link["Antecedent"].split('"')[1], link["Dependent"].split('"')[1]) for link in of("Win32_LogicalDiskToPartition")]
    for disk, drive in zip(disks, of("Win32_DiskDrive")):
        partitions = disk.get("partitions", [])
        expect("partitions", [each["name"] for each in partitions], texts(of(PARTITIONS % drive["DeviceID"]), "Name"))
        used = 0
        for each in partitions:
            volumes = [of(f"Win32_LogicalDisk WHERE DeviceID = '{id}'") for name, id in links if name == each["name"]]
            free = each["size"] - sum(int(one["Size"] or 0) - int(one["FreeSpace"] or 0) for same in volumes for one in same)
            expect("partition", each.get("availableSpace", 0), free)
            used += each["size"] - free
        size = int(drive["Size"] or 0)
        expect("disk", (disk["size"], disk["availableSpace"]), (size, max(size - used, 0)))
        expect("media", disk.get("mediaType", ""), {"True": "SSD", "False": "HDD"}.get(str(answers["trim " + drive["DeviceID"]]), ""))


def check(answers, documents):
    def of(wql):
        wql = wql if wql.startswith("ASSOCIATORS") else "SELECT * FROM " + wql
        return answers.get("query ROOT\\CIMV2 " + wql, answers.get("query ROOT\\StandardCIMV2 " + wql, []))

    virtual = answers["vm type"] != 0
    check_adapters(of, documents["networkAdapters"], answers["connect optional ROOT\\StandardCIMV2"] is True)
    check_disks(of, documents["disks"], answers)
    expect("processors", [cpu["name"] for cpu in documents["cpus"]], texts(of("Win32_Processor"), "Name"))
    ids = texts([each for each in of("Win32_VideoController") if each["Name"] != "Microsoft Remote Display Adapter"], "PNPDeviceID")
    expect("controllers", len(documents["gpus"]), len(ids) or int(virtual))
    for gpu, id in zip(documents["gpus"], ids):
        check_pci(gpu, id)
        expect("controller: names", bool(gpu["name"] and gpu["model"]), True)
    expect("boards", len(documents["motherBoards"]), len(of("Win32_BaseBoard")) or int(virtual))
    system = documents["system"]
    written = lambda text: re.sub(r"(....)(..)(..)(..)(..)(..)\..*", r"\2/\3/\1 \4:\5:\6", text or "")
    for each in of("Win32_OperatingSystem"):
        for key, name in (("bootTime", "LastBootUpTime"), ("installationDate", "InstallDate")):
            expect("date", system.get(key, ""), written(each.get(name)))
    for bios in of("Win32_BIOS"):
        expect("BIOS", system["biosVersion"].endswith(written(bios.get("ReleaseDate"))[:10]), True)
    dates = texts(of("Win32_QuickFixEngineering"), "InstalledOn")
    expect("hotfixes", [fix.get("installationDate", "") for fix in documents["hotfixes"]], dates)
    table = answers.get("firmware table RSMB 0", {"structures": [], "rest": ""})
    areas = [bytes.fromhex(structure[0]) for structure in table["structures"]]
    modules = sum(area[0] == 17 and any(area[12:14]) for area in areas) + virtual
    expect("modules", len(documents["rams"]) if not table["rest"] else modules, modules)


def run(*command):
    done = subprocess.run(command, capture_output=True, encoding="utf-8", env=os.environ | {"TZ": "UTC"})
    expect("status", (done.returncode, re.findall("^(?:<error>|not recorded|hw-machine).*", done.stderr, re.M)), (0, []))
    return done.stdout


def replay(program, file):
    documents = [json.loads(line) for line in run(program, "replay", "--log", file).splitlines()]
    expect("schemas", [error for each in documents for error in errors(each)], [])
    return {key: value for each in documents for key, value in each.items()}


def split(node, key=None):
    """The texts that may change, and what may not."""
    if key in IDENTIFYING:
        return node if isinstance(node, list) else [node], None
    if not isinstance(node, (dict, list)):
        return [], node
    parts = [(name, *split(value, name)) for name, value in (node.items() if isinstance(node, dict) else enumerate(node))]
    return [text for _, texts_, _ in parts for text in texts_], [(name, rest) for name, _, rest in parts]


def form(text):
    return re.sub("[a-z]", "a", re.sub("[A-Z]", "A", re.sub("[0-9]", "9", text)))


def check_anonymised(text, documents, again):
    (before, rest), (after, rest_after) = split(documents), split(again)
    expect("what identifies nothing", rest_after, rest)
    expect("equal values", [after.index(each) for each in after], [before.index(each) for each in before])
    none = re.compile(r"\W*|\W*(\w\W*){1,3}|(.)\2*|none|windows user|.*o\.e\.m\.?|default string|fe[89ab].:.*", re.I)
    for old, new in zip(before, after):
        expect("changed", (old, old != new), (old, not none.fullmatch(old)))
        if old != new and len(old) > 5:
            expect("left", old if old.lower() in text.lower() else "", "")
        if not re.search("\\.\\d|::|^\\w{4}:", old):  # an address may get another length
            expect("form", form(new), form(old))


def main(corpus, folder, schema, program):
    if not (corpus / "wmi").is_dir():
        sys.exit(77)
    validator = jsonschema.Draft202012Validator(json.loads(schema.read_text("utf-8")))
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "key").write_bytes(b"key")
    file, anonymised = folder / "recording.json", folder / "anonymised.json"
    for expect.place, content in recordings(corpus):
        file.write_text(json.dumps(content), "utf-8")
        run(program, "anonymise", file, "-o", anonymised, "--key", folder / "key")
        text = anonymised.read_text("utf-8")
        documents, again = replay(program, file), replay(program, anonymised)
        for replayed, recorded in ((documents, content), (again, json.loads(text))):
            check(recorded["answers"], replayed)
            expect("schema", [error.message[:200] for error in validator.iter_errors(recorded)], [])
        check_anonymised(text, documents, again)
    print(*failures, sep="\n")
    sys.exit(f"{len(failures)} broken rules" if failures else 0)


main(*map(pathlib.Path, sys.argv[1:]))
