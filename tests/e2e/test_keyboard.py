"""Everything by keyboard: nothing here touches the mouse."""

import time
import unittest

from harness import application
from harness.case import EndToEndTest

# the Tab key's order; the box for documents of many pages is off for jpg
SELECTORS = [application.DEVICES, application.RESOLUTIONS, application.COLOURS,
             application.FILE_TYPES, application.CROPS, application.ROTATIONS]
BUTTONS = [application.PHOTO_BUTTON, application.SAVE_BUTTON, application.SETTINGS_BUTTON]


class Keyboard(EndToEndTest):
    def setUp(self):
        super().setUp()
        self.app = self.start_with_camera()
        window, _ = self.app.window()
        self.app.focus(window)

    def press(self, *keys):
        self.screen.keys(*keys)
        time.sleep(0.2 * application.patience())

    def photograph(self):
        mark = self.app.mark
        self.press("space")
        return self.app.wait_for(r"^\[onslot_setbtn_takephoto\]\[436\] file:(.*)$", mark)[1]

    def go_to_photograph_button(self):
        """The first Tab brings the keyboard to the first selector."""
        self.press(*["Tab"] * (len(SELECTORS) + 1))

    def test_photographs_are_taken_and_saved(self):
        self.go_to_photograph_button()
        # the second press finds the keyboard where the first one left it
        self.assertTrue(self.photograph().endswith("-0001.jpg"))
        self.assertTrue(self.photograph().endswith("-0002.jpg"))
        self.press("Tab", "space")
        self.app.wait_until(lambda: sorted(path.name for path in self.app.home.glob("0*.jpg"))
                            == ["0001.jpg", "0002.jpg"], "two files")

    def test_the_keyboard_is_seen_wherever_it_is(self):
        for control in SELECTORS + BUTTONS:
            before = self.app.picture(control)
            self.press("Tab")
            self.assertGreater(self.app.picture(control).difference(before), 0.005, control)

    def test_menu_of_the_thumbnails(self):
        self.go_to_photograph_button()
        paths = [self.app.home / name.rsplit("/", 1)[1] for name in
                 (self.photograph(), self.photograph())]
        self.app.wait_until(lambda: all(path.exists() for path in paths), "photographs")
        self.press("Tab", "Tab", "Tab", "Home")
        self.press("Menu")
        self.press("Down", "Down", "Return")
        self.app.wait_until(lambda: not paths[0].exists(), "removal of the first")
        self.assertTrue(paths[1].exists())
        self.press("shift+F10")
        self.press("Down", "Return")
        self.app.wait_until(self.app.opened.exists, "the viewer")
        self.assertIn(paths[1].name, self.app.opened.read_text())

    def test_settings(self):
        self.go_to_photograph_button()
        self.press("Tab", "Tab", "space")
        dialog, _ = self.app.dialog("设置")
        self.app.focus(dialog)
        # the tabs first, on the last page; then path, its button, quality, cancel, ok
        self.press("Left")
        self.press("Tab", "Tab", "Tab", "End", "Tab", "Tab", "space")
        self.app.wait_for(r"^\[onslot_setbtn_setwidget\] user clicked ok button$")


if __name__ == "__main__":
    unittest.main()
