"""A page and its translation say the same: sections, code, tables, lists, links and everything that
stands in code type. Captions of the window are named in both."""

import pathlib
import re
import unittest
from xml.etree import ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAIRS = [("README.md", "README.zh_CN.md"),
         ("docs/troubleshooting.md", "docs/troubleshooting.zh_CN.md")]


def language_free(target):
    return target.replace(".zh_CN.", ".")


def code_line(line):
    """What a reader would type: no remark, no placeholder."""
    return re.sub(r"<[^>]*>", "<>", re.sub(r"\s+#.*", "", line)).strip()


def structure_of(section):
    """Counts and contents of one section that do not depend on the language."""
    lines = section.splitlines()
    text = "\n".join(line for line in lines if not line.startswith("    "))
    rows = [line for line in lines if line.startswith("|")]
    return {
        "level": len(lines[0]) - len(lines[0].lstrip("#")) if lines else 0,
        "code": [code_line(line) for line in lines if line.startswith("    ")],
        "rows": len(rows),
        "columns": [len(re.split(r"(?<!\\)\|", row)) - 2 for row in rows],
        "first cells": [sorted(re.findall(r"`([^`]+)`", row.split("|")[1])) for row in rows],
        "bullets": len(re.findall(r"^- ", text, re.MULTILINE)),
        "steps": len(re.findall(r"^\d+\. ", text, re.MULTILINE)),
        "links": sorted(map(language_free, re.findall(r"\]\(([^)]+)\)", text))),
        "code words": sorted(set(re.findall(r"`([^`]+)`", text.replace("\n", " ")))),
    }


def sections_of(page):
    return [structure_of(part) for part in re.split(r"^(?=#+ )", page, flags=re.MULTILINE)]


def differences(page, translation):
    first, second = sections_of(page), sections_of(translation)
    if len(first) != len(second):
        return [f"{len(first)} and {len(second)} sections"]
    return [f"section {number}, {key}: {one[key]} and {other[key]}"
            for number, (one, other) in enumerate(zip(first, second)) for key in one
            if one[key] != other[key]]


def captions_of_the_window():
    """The texts of labels, buttons and boxes to tick."""
    window = ElementTree.parse(ROOT / "ui/mainwindow.ui")
    return {text.text for widget in window.iter("widget")
            if widget.get("class") in ("QLabel", "QPushButton", "QCheckBox")
            for text in widget.findall("./property[@name='text']/string") if text.text}


class Pages(unittest.TestCase):
    def read(self, name):
        return (ROOT / name).read_text(encoding="utf-8")

    def test_translations_are_in_step(self):
        for page, translation in PAIRS:
            with self.subTest(page=page):
                self.assertEqual([], differences(self.read(page), self.read(translation)))

    def test_every_control_of_the_window_is_named(self):
        captions = captions_of_the_window()
        self.assertGreaterEqual(len(captions), 10)
        for name in PAIRS[0]:
            page = self.read(name)
            self.assertEqual(set(), {text for text in captions if text not in page}, name)

    def test_linked_files_exist(self):
        for name in (name for pair in PAIRS for name in pair):
            for target in re.findall(r"\]\(([^)#:]+)\)", self.read(name)):
                self.assertTrue(((ROOT / name).parent / target).exists(), f"{name}: {target}")


class Comparison(unittest.TestCase):
    """It finds what it is there to find."""

    PAGE = ("# Name\n\nText with `word`.\n\n## Use\n\n    ./run  # starts\n\n1. one\n2. two\n\n- a\n\n"
            "| what | where |\n|---|---|\n| `x` | there |\n\n[more](docs/a.md)\n")

    def test_another_language_is_no_difference(self):
        other = (self.PAGE.replace("Text with", "文字").replace("starts", "启动")
                 .replace("docs/a.md", "docs/a.zh_CN.md").replace("there", "那里"))
        self.assertEqual([], differences(self.PAGE, other))

    def test_whatever_is_missing_is_found(self):
        for part in ("## Use\n", "./run", "2. two\n", "- a\n", "| `x` | there |\n", "`word`",
                     "[more](docs/a.md)"):
            with self.subTest(part=part):
                self.assertNotEqual([], differences(self.PAGE, self.PAGE.replace(part, "")))

    def test_another_level_or_column_is_found(self):
        for old, new in (("## Use", "### Use"), ("| there |", "| there | too |")):
            with self.subTest(new=new):
                self.assertNotEqual([], differences(self.PAGE, self.PAGE.replace(old, new)))


if __name__ == "__main__":
    unittest.main()
