#!/usr/bin/env python3
"""Brings translations/vexalin_zh_CN.ts up to date with the sources.

Usage: update_translations.py [--check]
With --check nothing is written; fails when something would be.
The texts in the sources are Chinese already, so a new entry's translation is its source. Needs
lupdate (Debian: qttools5-dev-tools).
"""

import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
TRANSLATION = ROOT / "translations" / "vexalin_zh_CN.ts"
UNFINISHED = re.compile(
    r'(<source>)([^<]*)(</source>\s*)<translation type="unfinished"></translation>'
)


def update(translation: pathlib.Path) -> int:
    """The number of new texts."""
    folders = [str(ROOT / name) for name in ("app", "settings", "ui")]
    subprocess.run(
        ["lupdate", *folders, "-locations", "none", "-no-obsolete", "-source-language", "zh_CN",
         "-target-language", "zh_CN", "-ts", str(translation)],
        check=True, stdout=subprocess.DEVNULL,
    )
    text = translation.read_text(encoding="utf-8")
    text, added = UNFINISHED.subn(r"\1\2\3<translation>\2</translation>", text)
    translation.write_text(text, encoding="utf-8")
    return added


def is_up_to_date() -> bool:
    present = TRANSLATION.read_text(encoding="utf-8")
    with tempfile.TemporaryDirectory() as folder:
        copy = pathlib.Path(folder) / TRANSLATION.name
        copy.write_text(present, encoding="utf-8")
        update(copy)
        return copy.read_text(encoding="utf-8") == present


def main(arguments: list[str]) -> int:
    if arguments == ["--check"]:
        if is_up_to_date():
            return 0
        print(f"{TRANSLATION} lacks texts or holds old ones: run tools/update_translations.py",
              file=sys.stderr)
        return 1
    if arguments:
        sys.exit(__doc__)
    print(f"{update(TRANSLATION)} new texts")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
