#!/usr/bin/env python3
"""Brings the translations up to date with the sources.

Usage: update_translations.py [--check]
With --check nothing is written; fails when something would be, or when a text of korvcam has no
Chinese one, or one with other placeholders.

translations/vexalin_zh_CN.ts: the application. Its texts are Chinese already, so a new entry's
translation is its source. Needs lupdate (Debian: qttools5-dev-tools).
translations/korvcam_zh_CN.po: korvcam. Its texts are English; whoever adds one writes its Chinese
into the file. Needs xgettext, msgmerge and msgfmt (Debian:
gettext).
"""

import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
TRANSLATION = ROOT / "translations" / "vexalin_zh_CN.ts"
MESSAGES = ROOT / "translations" / "korvcam_zh_CN.po"
UNFINISHED = re.compile(
    r'(<source>)([^<]*)(</source>\s*)<translation type="unfinished"></translation>'
)
# the functions of cli/base/translation.h, whose placeholders are written as Qt writes them
XGETTEXT = ["xgettext", "--language=C++", "--from-code=UTF-8", "--qt", "--keyword", "--keyword=tr",
            "--keyword=trLater", "--keyword=trCount:1,2", "--flag=tr:1:qt-format",
            "--flag=trLater:1:qt-format", "--flag=trCount:1:qt-format",
            "--flag=trCount:2:qt-format", "--no-location", "--no-wrap", "--package-name=korvcam"]


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


def update_messages(messages: pathlib.Path) -> int:
    """The number of texts without a translation."""
    sources = sorted(str(path) for path in (ROOT / "cli").rglob("*.cpp"))
    template = subprocess.run([*XGETTEXT, "--output=-", *sources], check=True,
                              capture_output=True, text=True, encoding="utf-8").stdout
    with tempfile.TemporaryDirectory() as folder:
        pot = pathlib.Path(folder) / "korvcam.pot"
        # the time would change the file with every run
        pot.write_text(re.sub(r'"POT-Creation-Date:.*\n', "", template), encoding="utf-8")
        subprocess.run(["msgmerge", "--quiet", "--update", "--backup=none", "--no-fuzzy-matching",
                        "--no-wrap", str(messages), str(pot)], check=True)
    kept = subprocess.run(["msgattrib", "--no-obsolete", "--no-wrap", str(messages)], check=True,
                          capture_output=True, text=True, encoding="utf-8").stdout
    messages.write_text(kept, encoding="utf-8")
    left = subprocess.run(["msgattrib", "--untranslated", "--no-wrap", str(messages)], check=True,
                          capture_output=True, text=True, encoding="utf-8").stdout
    # the head of the file comes along with the first
    return max(0, len(re.findall("^msgid ", left, re.MULTILINE)) - 1)


def changed_by(work, path: pathlib.Path) -> tuple[bool, int]:
    """Whether `work` would change the file, and what it returns."""
    present = path.read_text(encoding="utf-8")
    with tempfile.TemporaryDirectory() as folder:
        copy = pathlib.Path(folder) / path.name
        copy.write_text(present, encoding="utf-8")
        result = work(copy)
        return copy.read_text(encoding="utf-8") != present, result


def check() -> int:
    stale = [path.name for work, path in ((update, TRANSLATION), (update_messages, MESSAGES))
             if changed_by(work, path)[0]]
    for name in stale:
        print(f"{name} lacks texts or holds old ones: run tools/update_translations.py",
              file=sys.stderr)
    untranslated = changed_by(update_messages, MESSAGES)[1]
    if untranslated:
        print(f"{MESSAGES.name}: {untranslated} texts have no translation", file=sys.stderr)
    # names the file, the line and what is wrong
    is_sound = subprocess.run(["msgfmt", "--check", "--output-file=/dev/null", str(MESSAGES)],
                             check=False).returncode == 0
    return 1 if stale or untranslated or not is_sound else 0


def main(arguments: list[str]) -> int:
    if arguments == ["--check"]:
        return check()
    if arguments:
        sys.exit(__doc__)
    print(f"{update(TRANSLATION)} new texts")
    untranslated = update_messages(MESSAGES)
    if untranslated:
        print(f"{MESSAGES.name}: {untranslated} texts to translate")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
