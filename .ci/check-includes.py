#!/usr/bin/env python3
"""Checks that the includes between the folders point one way, and that row sources stand on the row layer alone."""

import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent

FAMILIES = ["pixel", "keying", "convert", "spatial", "field", "analysis", "transform", "wipe"]
# What each folder of the library may include beside itself.
BELOW = {
    "platform": [],
    "image": ["platform"],
    "kernel": ["platform", "image"],
    "frame": ["platform", "image", "kernel"],
    "numeric": ["platform", "image"],
    **{family: ["platform", "image", "kernel", "frame", "numeric"] for family in FAMILIES},
}
# Effects of one family that really are built on another's: (family, used family).
FAMILY_EDGES = {("spatial", "pixel")}
# The one source by which the frame uses effects.
FILE_EDGES = {("qzil/frame/frame_effects.cpp", "pixel")}
# What the folders outside the library may include of each other; all may include the library.
OUTSIDE = {
    "catalog": [],
    "media": [],
    "tools": ["catalog", "media"],
    "bindings": ["catalog", "media"],
    "plugins": ["catalog", "media"],
}

# Whatever a row source reaches is compiled for newer processors, too: a shared inline function among it could be
# chosen by the linker for all. These headers define none.
ROW_HEADERS = re.compile(r"qzil/kernel/\w+\.h|qzil/image/(pixel_math|lines)\.h|qzil/platform/api\.h")
ROW_STD_HEADERS = {"type_traits", "cstddef", "cstdint"}
# Intrinsics are always inlined; effects have the row layer's loops instead.
KERNEL_STD_HEADERS = {"immintrin.h"}

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)


def includes(path):
    """The headers that a source includes, without the marks round them."""
    return [name for _, name in INCLUDE.findall((ROOT / path).read_text(encoding="utf-8"))]


def folder(path):
    """The folder of the library that a file belongs to; None for the umbrella header."""
    parts = path.split("/")
    if len(parts) < 3:
        return None
    return parts[1]


def library_fault(path, name):
    if not name.startswith("qzil/"):
        own = (ROOT / path).parent / name
        return f"includes {name}; write it as qzil/..." if own.exists() else None
    if path == "qzil/qzil.h":
        return None
    source, target = folder(path), folder(name)
    if target is None:
        return f"includes {name}, which is for hosts"
    if source not in BELOW or target not in BELOW:
        return f"includes {name}; .ci/check-includes.py does not know one of the folders"
    allowed = target == source or target in BELOW[source] or (source, target) in FAMILY_EDGES
    return None if allowed or (path, target) in FILE_EDGES else f"includes {name}: {source} may not use {target}"


def outside_fault(path, name):
    top, target = path.split("/")[0], name.split("/")[0]
    if target not in OUTSIDE or target == top or target in OUTSIDE[top]:
        return None
    return f"includes {name}: {top} may not use {target}"


def row_faults(path):
    """Faults of everything that a row source reaches."""
    own = path.removesuffix(".cpp") + ".h"
    faults, seen, waiting = [], set(), [path]
    while waiting:
        source = waiting.pop()
        for name in includes(source):
            if name in seen:
                continue
            seen.add(name)
            if name == own or ROW_HEADERS.fullmatch(name):
                waiting.append(name)
            elif name in KERNEL_STD_HEADERS and source.startswith("qzil/kernel/"):
                continue
            elif name not in ROW_STD_HEADERS:
                faults.append((path, f"reaches {name} by {source}; row sources may not"))
    return faults


def main():
    listed = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard", "*.h", "*.cpp"],
                            cwd=ROOT, capture_output=True, text=True, check=True).stdout.split()
    faults = []
    for path in listed:
        if not (ROOT / path).exists():
            continue
        top = path.split("/")[0]
        check = library_fault if top == "qzil" else outside_fault if top in OUTSIDE else None
        if check:
            faults += [(path, fault) for name in includes(path) if (fault := check(path, name))]
        if top == "qzil" and path.endswith("_rows.cpp"):
            faults += row_faults(path)
    for path, fault in faults:
        print(f"{path}: {fault}", file=sys.stderr)
    print(f"includes: {len(listed)} files, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
