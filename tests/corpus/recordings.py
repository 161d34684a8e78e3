"""Recordings for hw-machine of the data of real machines."""
import json

KINDS = ["Processor", "BaseBoard", "VideoController", "LogicalDiskToPartition", "DiskDrive", "BIOS", "ComputerSystem",
         "OperatingSystem", "ComputerSystemProduct", "Timezone", "QuickFixEngineering", "NetworkAdapter"]
PARTITIONS = "ASSOCIATORS OF {Win32_DiskDrive.DeviceID='%s'} WHERE ResultClass=Win32_DiskPartition"
CONFIGURATIONS = "SELECT * FROM Win32_NetworkAdapterConfiguration WHERE SettingID='%s'"


def value(variant):
    """A VARIANT as a recording has it: 32 bits for every number."""
    held = variant["v"]
    return (held + 2**31) % 2**32 - 2**31 if isinstance(held, int) and not isinstance(held, bool) else held


def queries(classes):
    """The readers' queries and their answers, without the namespace."""
    objects = {name.lower(): [{key: value(variant) for key, variant in each.items()} for each in objects]
               for name, objects in classes.items()}
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


def text(string):
    try:
        return string.decode("utf-8")
    except UnicodeDecodeError:
        return {"hex": string.hex(" ")}


def table_answer(table):
    """Structures up to the first that is not whole, each the formatted area and the strings, and the rest."""
    structures, at = [], 8
    while at + 4 <= len(table) and table[at + 1] >= 4:
        strings_at = at + table[at + 1]
        end = table.find(b"\0\0", strings_at)
        if end < 0:
            break
        strings = table[strings_at:end].split(b"\0") if end > strings_at else []
        structures.append([table[at:strings_at].hex(" "), *map(text, strings)])
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
        space = "StandardCIMV2" if "MSFT" in query else "CIMV2"
        answers[f"query ROOT\\{space} {query}"] = objects
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
