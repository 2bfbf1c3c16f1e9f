#!/usr/bin/env python3
"""Brings translations/vexalin_zh_CN.ts up to date with the sources.

The texts in the sources are Chinese already, so a new entry's translation is its source. Needs
lupdate (Debian: qttools5-dev-tools).
"""

import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
TRANSLATION = ROOT / "translations" / "vexalin_zh_CN.ts"
UNFINISHED = re.compile(
    r'(<source>)([^<]*)(</source>\s*)<translation type="unfinished"></translation>'
)


def main() -> int:
    folders = [str(ROOT / name) for name in ("app", "settings", "ui")]
    subprocess.run(
        ["lupdate", *folders, "-locations", "none", "-no-obsolete", "-source-language", "zh_CN",
         "-target-language", "zh_CN", "-ts", str(TRANSLATION)],
        check=True,
    )
    text = TRANSLATION.read_text(encoding="utf-8")
    text, added = UNFINISHED.subn(r"\1\2\3<translation>\2</translation>", text)
    TRANSLATION.write_text(text, encoding="utf-8")
    print(f"{added} new texts")
    return 0


if __name__ == "__main__":
    sys.exit(main())
