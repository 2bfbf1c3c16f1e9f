"""The update of the translation, on a small tree of its own."""

import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "tools" / "update_translations.py"
EMPTY = """<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN" sourcelanguage="zh_CN">
</TS>
"""


class Update(unittest.TestCase):
    def setUp(self):
        self.root = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.root)
        for name in ("app", "settings", "ui", "tools", "translations"):
            (self.root / name).mkdir()
        shutil.copy(SCRIPT, self.root / "tools")
        self.translation = self.root / "translations" / "vexalin_zh_CN.ts"
        self.translation.write_text(EMPTY, encoding="utf-8")

    def write(self, *texts):
        calls = "".join(f'QCoreApplication::translate("Window", "{text}");\n' for text in texts)
        (self.root / "app" / "window.cpp").write_text(calls, encoding="utf-8")

    def run_script(self, *arguments):
        return subprocess.run(
            [sys.executable, "-B", self.root / "tools" / SCRIPT.name, *arguments],
            capture_output=True, text=True, timeout=60)

    def entries(self):
        return dict(re.findall(r"<source>([^<]*)</source>\s*<translation>([^<]*)</translation>",
                               self.translation.read_text(encoding="utf-8")))

    def test_every_new_text_is_its_own_translation(self):
        self.write("拍照")
        self.run_script()
        self.write("拍照", "导出", "设置 & 更多")
        self.assertEqual("2 new texts\n", self.run_script().stdout)
        self.assertEqual({"拍照": "拍照", "导出": "导出", "设置 &amp; 更多": "设置 &amp; 更多"},
                         self.entries())

    def test_a_text_that_is_gone_goes(self):
        self.write("拍照", "导出")
        self.run_script()
        self.write("导出")
        self.run_script()
        self.assertEqual({"导出": "导出"}, self.entries())

    def test_check_refuses_and_writes_nothing(self):
        self.write("拍照")
        self.assertEqual(1, self.run_script("--check").returncode)
        self.assertEqual(EMPTY, self.translation.read_text(encoding="utf-8"))
        self.run_script()
        self.assertEqual(0, self.run_script("--check").returncode)


if __name__ == "__main__":
    unittest.main()
