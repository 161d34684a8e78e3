"""Prints the envelopes of a fleet that does not exist, one a line, as `hw-inventory --format ndjson` prints those of a machine.

The models are those of models.json beside this file. The same arguments give the same fleet on any machine. Days follow one
another: a larger number of days begins with the same ones. Without --output all days of a machine follow one another.
"""

import argparse
import datetime
import json
import pathlib
import random
import sys

GB, GIB = 10**9, 2**30
VERSION = "1.1.0"
HOTFIXES = [f"KB50{number}" for number in range(12345, 99999, 1777)]
FAILURES = [
    (2, "WMI connection", "ERROR: Failed to connect to ROOT\\CIMV2"),
    (1000, "timed out", "no answer within 60 s"),
]
KINDS = ("cpus", "gpus", "ram", "disks", "network-adapters", "base-boards", "system", "hotfixes")
encode = json.JSONEncoder(ensure_ascii=False, separators=(",", ":")).encode


class Machine:
    """A machine through its days. What its documents are made of are members, which changes replace."""

    def __init__(self, seed, index, models):
        self.random = random.Random(f"{seed}/{index}")
        self.index, self.serials = index, 0
        self.model = self.random.choices(models, [model["share"] for model in models])[0]
        self.id = f"{self.random.getrandbits(64):016x}-{index:07d}"
        self.name = f"PC-{index:07d}"
        memory = self.model["memory"]
        size = self.random.choice(memory["sizes"]) * GIB
        self.memory = {slot: (size, self.serial("RAM")) for slot in memory["slots"][: memory["fitted"]]}
        self.drives = [(*disk, self.serial("DISK")) for disk in self.model["disks"]]
        self.adapters = [[*adapter, self.mac()] for adapter in self.model["adapters"]]
        self.board, self.bios = self.serial("BOARD"), 60
        self.fixes = sorted(self.random.sample(HOTFIXES, self.random.randint(4, 24)))

    def serial(self, part):
        self.serials += 1
        if self.model.get("placeholders") and part in ("BOARD", "RAM"):
            return {"BOARD": "Default string", "RAM": "00000000"}[part]
        return f"{part}-{self.index:07d}-{self.serials}"

    def mac(self):
        self.serials += 1
        return ":".join(f"{byte:02X}" for byte in (2, self.serials, *self.index.to_bytes(4, "big")))

    def change(self):
        """One thing that happens to machines."""
        slots = self.model["memory"]["slots"]
        match self.random.randrange(7):
            case 0:
                disk = self.random.randrange(len(self.drives))
                self.drives[disk] = (*self.drives[disk][:4], self.serial("DISK"))
            case 1:
                slot = self.random.choice(slots)
                self.memory[slot] = (self.random.choice(self.model["memory"]["sizes"]) * GIB, self.serial("RAM"))
            case 2:
                if len(self.memory) > 1:
                    self.memory.pop(self.random.choice(list(self.memory)))
            case 3:
                self.board = self.serial("BOARD")
            case 4:
                self.bios += 1
            case 5:
                adapter = self.random.choice(self.adapters)
                adapter[0] = f"{adapter[0].split(' #')[0]} #{self.random.randrange(9)}"
            case 6:
                missing = sorted(set(HOTFIXES) - set(self.fixes))
                self.fixes = sorted(self.fixes + self.random.sample(missing, min(3, len(missing))))

    def cpus(self, day):
        name, sockets = self.model["cpu"], self.model["sockets"]
        return {"cpus": [{"cores": self.model["cores"], "manufacturer": "GenuineACME", "maxClockSpeed": 3600, "model": name,
                          "name": name, "socketDesignation": socket, "status": "ok"} for socket in sockets]}  # fmt: skip

    def gpus(self, day):
        device, manufacturer, name = self.model["gpu"]
        return {"gpus": [{"deviceID": device, "manufacturer": manufacturer, "model": name, "name": name,
                          "pciAddress": "0000:01:00.0", "status": "ok", "temperature": day.randint(35, 60)}]}  # fmt: skip

    def ram(self, day):
        # In the order of the slots. The name is the place in the list and so belongs to another module once one is missing.
        fitted = [(slot, *self.memory[slot]) for slot in self.model["memory"]["slots"] if slot in self.memory]
        return {"rams": [{"capacity": size, "deviceLocator": slot, "manufacturer": "ACME Memory",
                          "name": f"Physical Memory Slot {place}", "serialNumber": serial}
                         for place, (slot, size, serial) in enumerate(fitted, 1)],
                "usableMemory": sum(size for _, size, _ in fitted)}  # fmt: skip

    def disks(self, day):
        disks = []
        for number, (model, interface, media, size, serial) in enumerate(self.drives):
            size *= GB
            free = int(size * day.choice((0.02, 0.2, 0.3, 0.5, 0.7)) * day.random())
            disk = {"availableSpace": free, "interfaceType": interface, "mediaType": media, "model": model,
                    "name": f"\\\\.\\PHYSICALDRIVE{number}",
                    "partitions": [{"availableSpace": free, "name": f"Disk #{number}, Partition #0", "size": size - GB,
                                    "status": "ok"}],
                    "serialNumber": serial, "size": size, "status": "ok" if self.index % 97 else "has issues"}  # fmt: skip
            disks.append({key: value for key, value in disk.items() if value is not None})
        return {"disks": disks}

    def network_adapters(self, day):
        return {"networkAdapters": [{"deviceID": device, "ipAddresses": [f"10.{day.randrange(256)}.{day.randrange(256)}.7"],
                                     "macAddress": mac, "model": model, "name": name, "status": "ok", "type": "802.3"}
                                    for name, device, model, mac in self.adapters]}  # fmt: skip

    def base_boards(self, day):
        return {"motherBoards": [{"manufacturer": self.model["manufacturer"], "model": self.model["board"], "name": "Base Board",
                                  "serialNumber": self.board, "status": "ok"}]}  # fmt: skip

    def system(self, day):
        name, version, release = self.model["os"]
        copied = self.index % 250 == 0  # from the machine before it
        boot = f"11/{day.randint(1, 28):02d}/2026 {day.randint(0, 23):02d}:00:00"
        return {"system": {"biosVersion": f"ACME Inc. 1.{self.bios}, 05/12/2021", "bootTime": boot, "domain": "example.test",
                           "machineName": self.name, "manufacturer": self.model["manufacturer"], "model": self.model["model"],
                           "osInfo": {"name": name, "releaseId": release, "version": version},
                           "serialNumber": f"BIOS-{self.index - copied:07d}", "type": self.model["type"]}}  # fmt: skip

    def hotfixes(self, day):
        return {"hotfixes": [{"installationDate": "11/5/2023", "name": name} for name in self.fixes]}

    def documents(self, day):
        for kind in KINDS:
            yield kind, getattr(self, kind.replace("-", "_"))(day)

    def lines(self, date, changes, failures, absent):
        """A day's envelopes; none on a day on which the machine is off."""
        day = random.Random(self.random.getrandbits(64))
        if day.random() < changes:
            self.change()
        if day.random() < absent:
            return
        start = date + datetime.timedelta(seconds=day.randrange(20 * 3600))
        machine = encode(self.id)
        for kind, document in self.documents(day):
            start += datetime.timedelta(seconds=1)
            text, error, status = encode(document), "null", 0
            if day.random() < failures:
                status, name, words = day.choice(FAILURES)
                text, error = "null", encode({"name": name, "status": status, "text": words})
            yield (
                f'{{"collected":"{start:%Y-%m-%dT%H:%M:%SZ}","document":{text},"durationMs":{day.randint(1, 900)},"error":{error},'
                f'"kind":"{kind}","machine":{machine},"status":{status},"version":"{VERSION}"}}\n'
            )


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("machines", type=int)
    parser.add_argument("days", type=int, nargs="?", default=1)
    parser.add_argument("-o", "--output", type=pathlib.Path, help="folder for a file a day, day-1.ndjson and so on")
    parser.add_argument("--seed", default="1", help="another seed is another fleet")
    parser.add_argument("--first", type=datetime.date.fromisoformat, default="2026-11-01", help="date of the first day")
    parser.add_argument("--changes", type=float, default=0.02, help="share of the machines that change in a day (0.02)")
    parser.add_argument("--failures", type=float, default=0.002, help="share of the collections that fail (0.002)")
    parser.add_argument("--absent", type=float, default=0.03, help="share of the machines that are off in a day (0.03)")
    arguments = parser.parse_args()

    models = json.loads((pathlib.Path(__file__).parent / "models.json").read_bytes())
    sys.stdout.reconfigure(encoding="utf-8", newline="\n")
    files = [sys.stdout] * arguments.days
    if arguments.output:
        arguments.output.mkdir(parents=True, exist_ok=True)
        names = [arguments.output / f"day-{day}.ndjson" for day in range(1, arguments.days + 1)]
        files = [open(name, "w", encoding="utf-8", newline="\n") for name in names]
    midnight = datetime.datetime.combine(arguments.first, datetime.time())
    for index in range(1, arguments.machines + 1):
        machine = Machine(arguments.seed, index, models)
        for day, file in enumerate(files):
            # On the first day nothing can change: there is no day before it.
            changes = arguments.changes if day else 0
            date = midnight + datetime.timedelta(days=day)
            file.writelines(machine.lines(date, changes, arguments.failures, arguments.absent))
    for file in files:
        file.flush()


try:
    main()
except BrokenPipeError:
    sys.stderr.close()
    sys.exit(1)
