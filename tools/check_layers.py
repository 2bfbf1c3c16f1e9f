#!/usr/bin/env python3
"""Refuses an #include that points the wrong way between the folders of the tree, and two types of
one name in the library, which the linker would silently mix up.

Usage: check_layers.py [ROOT]
Prints one line per offence and ends with status 1 when there is any.
"""

import pathlib
import re
import sys

# folder -> folders (or single headers) of ours that it may include, besides itself
MAY_INCLUDE = {
    "util": [],
    "ui": [],
    "camera": ["util", "library/include/korv_camera.h"],
    "settings": ["camera", "util", "ui"],
    "app": ["settings", "camera", "util", "ui"],
    "cli": ["camera", "util"],
    "library/include": [],
    "library/base": [],
    "library/imaging": ["library/base"],
    "library/device": ["library/imaging", "library/base"],
    "library/output": ["library/imaging", "library/base"],
    "library/api": ["library"],
}
WITHOUT_QT = ("util", "library")
GENERATED = re.compile(r"(installpaths\.h|library_version\.h|ui_\w+\.h|moc_\w+\.cpp|\w+\.moc)$")
# the generated layouts need widgets: only these files may show them
# forward declarations end with a semicolon; types inside others are indented
TYPE = re.compile(r"(?:class|struct)\s+(\w+)[^;]*$")
LAYOUT_USERS = re.compile(r"(settings/csettingdlg|app/|ui/)")
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def folder_of(path):
    """The longest rule that the path falls under."""
    rules = [rule for rule in MAY_INCLUDE if path.startswith(rule + "/")]
    return max(rules, key=len, default=None)


def offence(path, quote, header):
    folder = folder_of(path)
    if quote == "<":
        qt = re.match(r"Q[A-Z]|Qt", header) is not None
        return "no Qt below " + folder if qt and path.startswith(WITHOUT_QT) else None
    if GENERATED.match(header):
        if header.startswith("ui_") and not LAYOUT_USERS.match(path):
            return "layouts belong to the windows"
        return None
    if "/" not in header:
        return "includes of ours start at the root of the tree"
    allowed = [folder] + MAY_INCLUDE[folder]
    if any(header == target or header.startswith(target + "/") for target in allowed):
        return None
    return f"{folder} may not include it"


def check(root):
    offences = []
    for path in sorted(root.rglob("*")):
        name = path.relative_to(root).as_posix()
        if path.suffix not in (".h", ".cpp", ".c") or folder_of(name) is None:
            continue
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            match = INCLUDE.match(line)
            reason = match and offence(name, *match.groups())
            if reason:
                offences.append(f"{name}:{number}: {match.group(2)}: {reason}")
    return offences


def check_names(root):
    """A type name stands in one header of the library."""
    places = {}
    for path in sorted(root.glob("library/**/*.h")):
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            match = TYPE.match(line)
            if match:
                place = f"{path.relative_to(root).as_posix()}:{number}"
                places.setdefault(match.group(1), []).append(place)
    return [f"{place}: {name} is the name of another type, too: {found[0]}"
            for name, found in places.items() for place in found[1:]]


def main(arguments):
    root = pathlib.Path(arguments[0] if arguments else pathlib.Path(__file__).parents[1])
    offences = check(root) + check_names(root)
    print("\n".join(offences) if offences else "all includes and names are in order")
    return 1 if offences else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
