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
ONE_MESSAGE = """msgid ""
msgstr ""
"Project-Id-Version: korvcam\\n"
"Language: zh_CN\\n"
"MIME-Version: 1.0\\n"
"Content-Type: text/plain; charset=UTF-8\\n"
"Content-Transfer-Encoding: 8bit\\n"
"Plural-Forms: nplurals=1; plural=0;\\n"

#, qt-format
msgid "there"
msgstr "有"
"""


class Update(unittest.TestCase):
    def setUp(self):
        self.root = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.root)
        for name in ("app", "cli", "settings", "ui", "tools", "translations"):
            (self.root / name).mkdir()
        shutil.copy(SCRIPT, self.root / "tools")
        self.translation = self.root / "translations" / "vexalin_zh_CN.ts"
        self.translation.write_text(EMPTY, encoding="utf-8")
        self.messages = self.root / "translations" / "korvcam_zh_CN.po"
        self.messages.write_text(ONE_MESSAGE, encoding="utf-8")
        self.say()

    def write(self, *texts):
        calls = "".join(f'QCoreApplication::translate("Window", "{text}");\n' for text in texts)
        (self.root / "app" / "window.cpp").write_text(calls, encoding="utf-8")

    def say(self, *calls):
        body = "".join(f"{call};\n" for call in ('tr("there")', *calls))
        (self.root / "cli" / "command.cpp").write_text(body, encoding="utf-8")

    def translate(self, text, translation):
        old = self.messages.read_text(encoding="utf-8")
        self.assertIn(f'msgid "{text}"\nmsgstr ""', old)
        self.messages.write_text(old.replace(f'msgid "{text}"\nmsgstr ""',
                                             f'msgid "{text}"\nmsgstr "{translation}"'),
                                 encoding="utf-8")

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

    def test_texts_of_korvcam_come_and_go(self):
        self.say('tr("open %1", name)', 'trLater("gone")', 'trCount("%1 page", "%1 pages", n)')
        self.assertIn("3 texts to translate", self.run_script().stdout)
        self.translate("open %1", "打开 %1")
        self.say('tr("open %1", name)')
        self.assertNotIn("to translate", self.run_script().stdout)
        kept = self.messages.read_text(encoding="utf-8")
        self.assertIn('msgid "open %1"\nmsgstr "打开 %1"', kept)
        self.assertNotIn("gone", kept)

    def test_check_asks_for_every_text_of_korvcam_and_its_translation(self):
        self.write("拍照")
        self.say('tr("open %1", name)')
        self.assertEqual(1, self.run_script("--check").returncode)
        self.run_script()
        self.assertIn("1 texts have no translation", self.run_script("--check").stderr)
        self.translate("open %1", "打开 %1")
        self.assertEqual(0, self.run_script("--check").returncode)

    def test_a_translation_has_the_parts_of_its_text(self):
        self.write("拍照")
        self.say('tr("open %1", name)')
        self.run_script()
        self.translate("open %1", "打开")
        checked = self.run_script("--check")
        self.assertEqual(1, checked.returncode)
        self.assertIn("korvcam_zh_CN.po", checked.stderr)


if __name__ == "__main__":
    unittest.main()
