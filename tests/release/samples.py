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


def run_python(text):
    pathlib.Path(text.split()[1].strip(":")).write_text(text)  # a shell sample of the page runs it


def run_sh(text):
    for program in (release / "bin").glob("*.exe"):
        pathlib.Path(program.stem).write_text(f'#!/bin/sh\nexec "{wine}" "{prefix}" "{program}" "$@"\n')
        os.chmod(program.stem, 0o755)
    run("bash", "-euo", "pipefail", "-c", text, env=os.environ | {"PATH": f"{os.getcwd()}:{os.environ['PATH']}"})


def run_json(text):  # the documents of fields.md are checked where that page is made
    if '"format"' in text:
        jsonschema.validate(json.loads(text), json.loads((release / "schemas" / "machine-recording.schema.json").read_text("utf-8")))


shutil.copytree(release / "bin", prefix / "drive_c" / "Program Files" / "Agent", dirs_exist_ok=True)
for page in [release / "README.md", *sorted((release / "docs").glob("*.md"))]:
    folder = pathlib.Path("samples", page.stem).absolute()
    folder.mkdir(parents=True)
    (folder / "schemas").symlink_to(release / "schemas")
    (folder / "hw_inventory_interface").symlink_to(checkout)
    for language, text in re.findall(r"^```(\w+)\n(.*?)^```$", page.read_text("utf-8"), re.M | re.S):
        place = f"{page.name}: {text.splitlines()[0]}"
        print(place, flush=True)
        shutil.rmtree(folder / "build", ignore_errors=True)
        os.chdir(folder)
        globals()["run_" + language](text)
    os.chdir(folder.parents[1])
