"""The context menu of the thumbnails, import, and the desktop's viewer."""

import pathlib
import time
import unittest

from harness import application, files
from harness.case import BLUE, GREEN, RED, EndToEndTest
from harness.screen import Rect

# the first thumbnail and a place behind all of them
FIRST = Rect(20, 530, 40, 40)
NOWHERE = Rect(640, 560, 20, 20)


class Menu(EndToEndTest):
    def setUp(self):
        super().setUp()
        self.app = self.start_with_camera()

    def choose_from_menu(self, place, steps):
        """Opens the menu and walks down to an entry."""
        mark = self.app.mark
        self.app.choose(place, *["Down"] * steps, "Return", button=3)
        self.app.wait_for("MouseButtonRight$", mark)

    def photograph(self, count):
        empty = self.app.picture(application.THUMBNAILS)
        paths = [self.app.take_photograph() for _ in range(count)]
        self.app.wait_until(
            lambda: self.app.picture(application.THUMBNAILS).difference(empty) > 0.02, "thumbnails")
        return paths

    def test_delete_all(self):
        empty = self.app.picture(application.THUMBNAILS)
        paths = self.photograph(2)
        self.choose_from_menu(FIRST, 3)
        self.app.wait_until(lambda: not any(path.exists() for path in paths), "removal")
        self.app.wait_until(
            lambda: self.app.picture(application.THUMBNAILS).difference(empty) < 0.01,
            "an empty strip")
        self.assertTrue(self.app.take_photograph().name.endswith("-0001.jpg"))

    def test_delete_the_selected_one(self):
        paths = self.photograph(2)
        self.app.click(FIRST)
        self.choose_from_menu(FIRST, 2)
        self.app.wait_until(lambda: not paths[0].exists(), "removal of the first")
        self.assertTrue(paths[1].exists())

    def test_export_the_selected_one(self):
        paths = self.photograph(2)
        self.app.click(FIRST)
        self.choose_from_menu(FIRST, 4)
        self.app.wait_for(r"^\[onslot_savebtn_createfile\]\[385\]")
        self.app.wait_until(lambda: not paths[0].exists(), "removal of the first")
        self.assertTrue(paths[1].exists())
        self.assertEqual(["0001.jpg"], [path.name for path in self.app.home.glob("*.jpg")
                                        if not path.name.startswith(".")])

    def test_open_shows_the_working_file_in_the_viewer(self):
        [path] = self.photograph(1)
        self.choose_from_menu(FIRST, 1)
        self.app.wait_until(self.app.opened.exists, "the viewer")
        self.assertIn(path.name, self.app.opened.read_text())

    def test_double_click_shows_the_working_file_in_the_viewer(self):
        [path] = self.photograph(1)
        self.app.click(FIRST, repeat=2)
        self.app.wait_for(r"^item:0001$")
        self.app.wait_until(self.app.opened.exists, "the viewer")
        self.assertIn(path.name, self.app.opened.read_text())

    def test_import_copies_the_file_byte_for_byte(self):
        chosen = pathlib.Path(self.folder) / "chosen.jpg"
        files.write_jpeg(chosen, files.halves(320, 240, GREEN, RED), quality=77)
        self.choose_from_menu(NOWHERE, 1)
        window, _ = self.app.dialog("导入一个jpg格式图像")
        self.app.focus(window)
        time.sleep(0.3)
        self.screen.type(str(chosen))
        self.screen.keys("Return")
        working = self.app.home / ".vexalinplixo-preview-0001.jpg"
        self.app.wait_until(working.exists, "the imported file")
        self.assertEqual(chosen.read_bytes(), working.read_bytes())
        self.assertTrue(chosen.exists())
        [path] = self.app.save(1)
        picture = files.read_jpeg(path)
        self.assertEqual((320, 240), (picture.width, picture.height))


if __name__ == "__main__":
    unittest.main()
