"""Prints the hardware inventory of this machine, one document a line.
    machine.py [--log] LIBRARY [KIND...]"""
import json
import os
import sys

sys.path.append(os.path.join(os.path.dirname(__file__), ".."))
import hw_inventory


def print_log(level, message):
    print(f"log {level}: {message}")


def main(arguments):
    sys.stdout.reconfigure(encoding="utf-8")
    log = arguments.pop(0) if arguments[:1] == ["--log"] else None
    if not arguments:
        print(__doc__)
        return 64
    try:
        inventory = hw_inventory.Inventory(arguments[0], print_log if log else None)
    except OSError as problem:
        print(f"cannot load {arguments[0]}: {problem}")
        return 1
    for kind in arguments[1:] or hw_inventory.KINDS:
        try:
            print(json.dumps(inventory.collect(kind), ensure_ascii=False))
        except hw_inventory.InventoryError as failure:
            print(failure)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
