#!/usr/bin/python3
"""Every quoted include of the library and the tool keeps to the layers, bottom up:

    platform -> astronomy -> calculation, configuration -> cities
             -> facade, prayers, summary (one layer) -> capi -> tools

A file includes headers of its own layer and of the layers below it only; calculation and
configuration stand side by side and include neither each other. Public headers (installed
from include/tarvo) include public headers only, and the tool reaches the library through
its public headers only. The build's per-layer header views catch most wrong includes when
a source is compiled; this also catches relative paths ("../cities/X.h"), headers that no
source of their layer compiles, and the public headers' view of src/.

Usage: check_includes.py SOURCE_DIR. Prints each wrong include; exit status 1 when any.
"""
import pathlib
import re
import subprocess
import sys

RANK = {"platform": 0, "astronomy": 1, "calculation": 2, "configuration": 2, "cities": 3,
        "facade": 4, "prayers": 4, "summary": 4, "capi": 5, "tools": 6}
# Headers at the top of include/tarvo: the C interface belongs to capi, the others to all.
TOP_LEVEL = {"tarvo.h": "capi", "Export.h": "platform", "Version.h": "platform"}
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)


def layer_of(path: pathlib.PurePosixPath):
    """The layer of a file of the repository, or None for files of no layer."""
    parts = path.parts
    if parts[:2] == ("include", "tarvo"):
        if len(parts) == 3:
            return TOP_LEVEL.get(parts[2])
        return parts[2] if parts[2] in RANK else None
    if parts[0] == "src" and len(parts) > 2 and parts[1] in RANK:
        return parts[1]
    if parts[:2] == ("tools", "tarvo"):
        return "tools"
    return None


def resolve(root: pathlib.Path, source: pathlib.PurePosixPath, name: str):
    """The repository path an include names: beside the file first, then the include folders."""
    for base in (root / source.parent, root / "include", root / "src"):
        candidate = (base / name).resolve()
        if candidate.is_file():
            try:
                return pathlib.PurePosixPath(candidate.relative_to(root))
            except ValueError:
                return None
    return None


def check(root: pathlib.Path):
    listed = subprocess.run(["git", "-C", str(root), "ls-files", "include", "src", "tools"],
                            check=True, capture_output=True, text=True).stdout.split()
    problems = []
    for name in listed:
        source = pathlib.PurePosixPath(name)
        layer = layer_of(source)
        if layer is None or source.suffix not in (".h", ".hpp", ".cpp", ".c"):
            continue
        text = (root / source).read_text(encoding="utf-8")
        for match in INCLUDE.finditer(text):
            line = text.count("\n", 0, match.start()) + 1
            where = f"{source}:{line}: \"{match.group(1)}\""
            target = resolve(root, source, match.group(1))
            if target is None:
                problems.append(f"{where} names no file of the repository")
                continue
            public_target = target.parts[0] == "include"
            if source.parts[0] == "include" and not public_target:
                problems.append(f"{where}: a public header includes a header that is not installed")
            if layer == "tools" and target.parts[0] == "src":
                problems.append(f"{where}: the tool includes a header of the library's internals")
            included = layer_of(target)
            if included is None or included == layer or layer == "tools":
                continue
            if RANK[included] > RANK[layer] or {layer, included} == {"calculation", "configuration"}:
                problems.append(f"{where}: {layer} includes {included}, a layer above or beside it")
    return problems


def main():
    if len(sys.argv) != 2:
        print(__doc__.strip().splitlines()[-1], file=sys.stderr)
        return 2
    problems = check(pathlib.Path(sys.argv[1]).resolve())
    for problem in problems:
        print(problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
