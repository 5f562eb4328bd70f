"""The files of this project and how a build folder compiles them."""
import json
import os
import pathlib
import shlex

ROOT = pathlib.Path(__file__).resolve().parent.parent
# These are not part of every build.
OPTIONAL = ("examples/window_panel", "tests/window")
FOLDERS = ("include", "src", "sdk", "tools", "demo", "examples", "tests", "bench")


class Compilation:
    """One file, the compiler's flags for it, and the folder that they hold in."""

    def __init__(self, path, compiler, flags, folder):
        self.path, self.compiler, self.flags, self.folder = path, compiler, flags, folder


def sources(build):
    found = []
    for entry in json.loads((build / "compile_commands.json").read_text()):
        if entry["file"].startswith(str(build)):
            continue
        command = shlex.split(entry["command"])
        while pathlib.Path(command[0]).name == "ccache":
            command = command[1:]
        found.append(Compilation(pathlib.Path(entry["file"]), command[0], command[1:command.index("-o")],
                                 entry["directory"]))
    if not found:
        raise SystemExit(f"no source files in the compile commands of {build}")
    return found


def headers(build):
    """Every header, compiled as the nearest source is, but finding what any source finds."""
    compiled = [source for source in sources(build) if source.path.suffix == ".cpp"]
    absent = [ROOT / folder for folder in OPTIONAL
              if not any(source.path.is_relative_to(ROOT / folder) for source in compiled)]
    folders = sorted({flag for source in compiled for flag in source.flags if flag.startswith("-I")})
    found = []
    for folder in FOLDERS:
        for header in sorted((ROOT / folder).rglob("*.h")):
            if "node_modules" in header.parts or any(header.is_relative_to(folder) for folder in absent):
                continue
            nearest = max(compiled, key=lambda source: (len(os.path.commonpath([source.path, header])),
                                                        f"-I{header.parent}" in source.flags))
            found.append(Compilation(header, nearest.compiler, nearest.flags + folders, nearest.folder))
    if not found:
        raise SystemExit("no headers found")
    return found
