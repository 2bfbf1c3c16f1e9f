"""Everything by keyboard: nothing here touches the mouse."""

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

    def photograph(self):
        mark = self.app.mark
        self.screen.keys("space")
        return self.app.wait_for(r"^\[onslot_setbtn_takephoto\]\[436\] file:(.*)$", mark)[1]

    def go_to_photograph_button(self):
        """The first Tab brings the keyboard to the first selector."""
        self.screen.keys(*["Tab"] * (len(SELECTORS) + 1))

    def test_photographs_are_taken_and_saved(self):
        self.go_to_photograph_button()
        # the second press finds the keyboard where the first one left it
        self.assertTrue(self.photograph().endswith("-0001.jpg"))
        self.assertTrue(self.photograph().endswith("-0002.jpg"))
        self.screen.keys("Tab", "space")
        self.app.wait_until(lambda: sorted(path.name for path in self.app.home.glob("0*.jpg"))
                            == ["0001.jpg", "0002.jpg"], "two files")

    def test_the_keyboard_is_seen_wherever_it_is(self):
        for control in SELECTORS + BUTTONS:
            before = self.app.picture(control)
            self.screen.keys("Tab")
            self.app.wait_until(lambda: self.app.picture(control).difference(before) > 0.005,
                                f"the keyboard at {control}", timeout=5)

    def test_menu_of_the_thumbnails(self):
        self.go_to_photograph_button()
        paths = [self.app.home / name.rsplit("/", 1)[1] for name in
                 (self.photograph(), self.photograph())]
        self.app.wait_until(lambda: all(path.exists() for path in paths), "photographs")
        self.screen.keys("Tab", "Tab", "Tab", "Home")
        self.screen.keys("Menu")
        self.screen.keys("Down", "Down", "Return")
        self.app.wait_until(lambda: not paths[0].exists(), "removal of the first")
        self.assertTrue(paths[1].exists())
        self.screen.keys("shift+F10")
        self.screen.keys("Down", "Return")
        self.app.wait_until(self.app.opened.exists, "the viewer")
        self.assertIn(paths[1].name, self.app.opened.read_text())

    def test_settings(self):
        self.go_to_photograph_button()
        self.screen.keys("Tab", "Tab", "space")
        dialog, _ = self.app.dialog("设置")
        self.app.focus(dialog)
        # the tabs first, on the last page; then path, its button, quality, cancel, ok
        self.screen.keys("Left")
        self.screen.keys("Tab", "Tab", "Tab", "End", "Tab", "Tab", "space")
        self.app.wait_for(r"^\[onslot_setbtn_setwidget\] user clicked ok button$")


if __name__ == "__main__":
    unittest.main()
