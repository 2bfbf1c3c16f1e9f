#!/usr/bin/env python3
"""Refuses an #include that points the wrong way between the folders of the tree, files or folders
that include one another in a circle, and two types of one name in the library, which the linker
would silently mix up.

Usage: check_layers.py [ROOT]
Prints one line per offence and ends with status 1 when there is any.
"""

import graphlib
import pathlib
import re
import sys

# folder -> folders (or single headers) of ours that it may include, besides itself. A folder is
# meant without the folders in it.
MAY_INCLUDE = {
    "util": [],
    "ui": [],
    "camera": ["util", "library/include/korv_camera.h"],
    "settings": ["camera", "util", "ui"],
    "app/preview": ["util"],
    "app/files": ["util"],
    "app/window": ["app/preview", "app/files", "settings", "camera", "util", "ui"],
    "app": ["app/window", "settings", "camera", "util", "ui"],
    "cli/base": ["camera", "util"],
    "cli/calls": ["cli/base"],
    "cli/commandline": ["cli/base", "library/text/text_languages.h"],
    "cli/advice": ["cli/base", "camera", "util"],
    "cli/session": ["cli/progress", "cli/advice", "cli/calls", "cli/commandline", "cli/base", "camera", "util",
                    "library/controls", "library/settling",
                    "library/settings/settings_values.h"],
    "cli/progress": ["cli/commandline/options.h", "cli/base"],
    "cli/turns": [],
    "cli/serve/http": ["cli/base", "util"],
    "cli/serve/escl": ["cli/serve/http", "util"],
    "cli/serve": ["cli/serve/escl", "cli/serve/http", "cli/scan/turnwatch.h", "cli/session",
                  "cli/calls", "cli/commandline", "cli/base", "camera", "util", "library/jpeg", "library/image", "library/base"],
    "cli/documents": ["cli/session", "cli/progress", "cli/calls", "cli/commandline", "cli/base",
                      "camera", "util", "library/settings"],
    "cli/scan": ["cli/documents", "cli/session", "cli/progress", "cli/turns", "cli/calls",
                 "cli/commandline", "cli/base", "camera", "util", "library/photograph/sharpness.h",
                 "library/jpeg", "library/image", "library/base", "library/threads"],
    "cli": ["cli/scan", "cli/documents", "cli/session", "cli/progress", "cli/turns", "cli/advice",
            "cli/calls", "cli/commandline", "cli/base", "camera", "util", "library/controls",
            "library/settings", "library/settling"],
    "library/include": [],
    "library/threads": ["util/mutex.h"],
    "library/base": ["library/threads"],
    "library/controls": ["library/base", "library/threads"],
    "library/files": ["library/base", "library/threads"],
    "library/image": ["library/base", "library/threads"],
    "library/text": ["library/image/turn.h", "library/base", "library/threads"],
    "library/settings": ["util/userfolders.h", "library/text/text_languages.h", "library/image", "library/files",
                         "library/base", "library/threads"],
    "library/exif": ["library/image", "library/base", "library/threads"],
    "library/jpeg": ["library/exif", "library/image", "library/base", "library/threads"],
    "library/recognition": ["library/text", "library/jpeg", "library/image", "library/files",
                            "library/base", "library/threads"],
    "library/jpeg/rework": ["library/jpeg", "library/image", "library/base", "library/threads"],
    "library/settling": ["library/jpeg", "library/image", "library/base", "library/threads"],
    "library/video": ["library/jpeg", "library/image", "library/base", "library/threads"],
    "library/crop/edges": ["library/image", "library/base", "library/threads"],
    "library/crop/lines": ["library/crop/edges", "library/image", "library/base",
                           "library/threads"],
    "library/crop/outlines": ["library/crop/lines", "library/crop/edges", "library/image",
                              "library/base", "library/threads"],
    "library/crop": ["library/crop/outlines", "library/crop/lines", "library/crop/edges",
                     "library/image", "library/base", "library/threads"],
    "library/clean": ["library/image", "library/base", "library/threads"],
    "library/lineart": ["library/image", "library/base", "library/threads"],
    "library/photograph": ["library/crop/crop.h", "library/clean/clean_paper.h",
                           "library/lineart/lineart.h", "library/lineart/paper_light.h",
                           "library/jpeg/rework", "library/jpeg", "library/exif", "library/image",
                           "library/base", "library/threads"],
    "library/formats": ["library/jpeg", "library/exif", "library/image", "library/files",
                        "library/base", "library/threads"],
    "library/formats/jbig2": ["library/image", "library/base"],
    "library/formats/tiff": ["library/formats", "library/jpeg", "library/image", "library/files",
                             "library/base", "library/threads"],
    "library/documents": ["library/formats/tiff", "library/formats", "library/jpeg/rework",
                          "library/jpeg", "library/image", "library/text", "library/files",
                          "library/base", "library/threads"],
    "library/documents/pdf": ["library/documents", "library/formats/tiff", "library/formats",
                              "library/image", "library/text", "library/files", "library/base",
                              "library/threads"],
    "library/documents/ofd": ["library/documents", "library/formats/tiff", "library/formats",
                              "library/image", "library/text", "library/files", "library/base",
                              "library/threads"],
    "library/documents/made": ["library/documents/pdf", "library/documents/ofd",
                               "library/documents", "library/formats/jbig2",
                               "library/formats/tiff", "library/formats",
                               "library/jpeg", "library/image", "library/text", "library/files",
                               "library/base", "library/threads"],
    "library/compact": ["library/lineart/despeckle.h", "library/clean/light_fill.h",
                        "library/clean/paper_regions.h", "library/clean/small_page.h",
                        "library/documents/page_layers.h", "library/formats/jbig2",
                        "library/formats/tiff", "library/jpeg",
                        "library/image", "library/base", "library/threads"],
    "library/export": ["library/compact/compact_page.h", "library/clean/clean_paper.h",
                       "library/documents/made", "library/documents/pdf",
                       "library/documents/ofd", "library/documents", "library/formats/tiff", "library/formats", "library/jpeg/rework",
                       "library/jpeg", "library/image", "library/recognition", "library/text",
                       "library/files", "library/base",
                       "library/threads"],
    "library/device": ["library/base", "library/threads"],
    "library/device/v4l2": ["library/device", "library/video", "library/jpeg/rework",
                            "library/jpeg", "library/image", "library/base", "library/threads"],
    "library/device/udev": ["library/controls", "library/device/v4l2", "library/device",
                            "library/base", "library/threads", "util/noderights.h"],
    "library/device/simulated/drawing": ["library/image", "library/base", "library/threads"],
    "library/device/simulated": ["library/device/simulated/drawing", "library/device",
                                 "library/video", "library/jpeg", "library/image",
                                 "library/base", "library/threads"],
    "library/device/simulated/hands": ["library/device/simulated",
                                       "library/device/simulated/drawing", "library/device",
                                       "library/video", "library/image", "library/base",
                                       "library/threads"],
}
# how numbers and texts are written is every room's matter
MAY_INCLUDE["library/values"] = ["library/base"]
for folder, allowed in MAY_INCLUDE.items():
    if "library/base" in allowed and folder != "library/values":
        allowed.append("library/values")
MAY_INCLUDE["library/api"] = [folder for folder in MAY_INCLUDE if folder.startswith("library/")]
TREES = {folder.split("/")[0] for folder in MAY_INCLUDE}
WITHOUT_QT = ("util", "library")
GENERATED = re.compile(r"(installpaths\.h|library_version\.h|ui_\w+\.h|moc_\w+\.cpp|\w+\.moc)$")
# forward declarations end with a semicolon; types inside others are indented
TYPE = re.compile(r"(?:class|struct)\s+(\w+)[^;]*$")
# the generated layouts need widgets: only these files may show them
LAYOUT_USERS = re.compile(r"(settings/csettingdlg|app/|ui/)")
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def folder_of(path):
    return path.rpartition("/")[0]


def component_of(path):
    """A header and the source file of its name are one thing."""
    return path.rpartition(".")[0]


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
    if folder not in MAY_INCLUDE:
        return f"{folder} has no row in MAY_INCLUDE"
    if {header, folder_of(header)} & {folder, *MAY_INCLUDE[folder]}:
        return None
    return f"{folder} may not include it"


def includes(root):
    """Every include of our sources: file, line number, quote, header."""
    for path in sorted(root.rglob("*")):
        name = path.relative_to(root).as_posix()
        if path.suffix not in (".h", ".cpp", ".c") or name.split("/")[0] not in TREES:
            continue
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            match = INCLUDE.match(line)
            if match:
                yield name, number, *match.groups()


def check(root):
    offences = []
    for name, number, quote, header in includes(root):
        reason = offence(name, quote, header)
        if reason:
            offences.append(f"{name}:{number}: {header}: {reason}")
    return offences


def circle_in(graph):
    try:
        graphlib.TopologicalSorter(graph).prepare()
    except graphlib.CycleError as error:
        return error.args[1][::-1]
    return None


def check_circles(root):
    """One circle of files and one of folders, when there are any."""
    offences = []
    for part_of in component_of, folder_of:
        graph = {}
        for name, _, quote, header in includes(root):
            if quote == '"' and "/" in header and part_of(name) != part_of(header):
                graph.setdefault(part_of(name), set()).add(part_of(header))
        circle = circle_in(graph)
        if circle:
            offences.append(" includes ".join(circle))
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
    offences = check(root) + check_circles(root) + check_names(root)
    print("\n".join(offences) if offences else "all includes and names are in order")
    return 1 if offences else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
