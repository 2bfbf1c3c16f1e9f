#!/usr/bin/env python3
"""Writes the AppStream description of the application with the releases of the changelog in it.

Usage: release_notes.py TEMPLATE CHANGELOG DATE OUTPUT
DATE (yyyy-mm-dd) is that of the newest release, which the changelog may still call unreleased; older
ones carry theirs in the heading: "## 0.9.0 (2026-05-01)".
"""

import pathlib
import re
import sys
from xml.sax.saxutils import escape

HEADING = re.compile(r"^## (\d+(?:\.\d+)+) \((unreleased|\d{4}-\d{2}-\d{2})\)$")


def releases(changelog):
    """[version, date or "unreleased", [item]] of each release, newest first."""
    found = []
    for line in changelog.splitlines():
        heading = HEADING.match(line)
        if heading:
            found.append([heading[1], heading[2], []])
        elif line.startswith("## "):
            raise SystemExit(f"no release heading: {line}")
        elif found and line.startswith("- "):
            found[-1][2].append(line[2:].strip())
        elif found and line.strip():
            found[-1][2][-1] += " " + line.strip()
    if not found or not all(items for _, _, items in found):
        raise SystemExit("the changelog has no release, or one that says nothing")
    return found


def as_xml(found, newest_date):
    lines = []
    for position, (version, date, items) in enumerate(found):
        if date == "unreleased":
            if position > 0:
                raise SystemExit(f"{version} is no longer the newest and still unreleased")
            date = newest_date
        lines.append(f'    <release version="{version}" date="{date}">')
        lines.append("      <description>")
        lines.append("        <ul>")
        # AppStream knows <code>, Markdown's backticks would stand in the text
        lines += ["          <li>" + re.sub(r"`([^`]*)`", r"<code>\1</code>", escape(item)) + "</li>"
                  for item in items]
        lines += ["        </ul>", "      </description>", "    </release>"]
    return "\n".join(lines)


def main(arguments):
    if len(arguments) != 4:
        raise SystemExit(__doc__)
    template, changelog = (pathlib.Path(path).read_text(encoding="utf-8") for path in arguments[:2])
    notes = as_xml(releases(changelog), arguments[2])
    pathlib.Path(arguments[3]).write_text(template.replace("@RELEASES@", notes), encoding="utf-8")


if __name__ == "__main__":
    main(sys.argv[1:])
