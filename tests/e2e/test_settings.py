"""What the application remembers: the settings file of a camera model and the settings dialog."""

import time
import unittest

from harness import application, files
from harness.case import BLUE, RED, EndToEndTest
from harness.screen import Rect

# on the settings dialog, by its fixed layout
FILE_TAB = Rect(90, 14, 60, 20)
QUALITY = Rect(10 + 110 + 12, 10 + 70 + 40, 141, 31)
PATH_BUTTON = Rect(10 + 590 + 12, 10 + 30 + 40, 51, 26)
OK_BUTTON = Rect(570, 410, 97, 26)
CANCEL_BUTTON = Rect(440, 410, 97, 26)


class Settings(EndToEndTest):
    def open_dialog(self, app):
        app.click(application.SETTINGS_BUTTON)
        window, rect = app.dialog("设置")
        self.assertEqual((692, 448), (rect.width, rect.height))
        time.sleep(0.3)
        return window, rect

    def press(self, dialog, widget):
        self.screen.click(*widget.moved(dialog.x, dialog.y).centre)

    def test_closing_writes_the_choices_of_the_camera_model(self):
        app = self.start_with_camera("000a:0001 Desk")
        app.select(application.RESOLUTIONS, 1)
        app.wait_for(r"^\[SetCameraResolution\]")
        app.select(application.FILE_TYPES, application.TYPE_ORDER.index("pdf"))
        app.click(application.MULTI_PAGE)
        app.select(application.COLOURS, 2)
        app.select(application.CROPS, 1)
        app.select(application.ROTATIONS, 2)
        self.close(app)

        lines = self.settings_of(app, "a*1.ini")
        values = dict(line.split("=", 1) for line in lines if "=" in line)
        self.assertEqual(["[device]", "[file]", "[image]"],
                         [line for line in lines if line.startswith("[")])
        self.assertEqual({"vid", "pid", "res", "path", "type", "multpage",
                          "color", "crop-type", "rotate"}, set(values))
        self.assertEqual(("a", "1"), (values["vid"], values["pid"]))
        self.assertRegex(values["res"], r"^\d+\*\d+$")
        self.assertEqual(("pdf", "true", "2"),
                         (values["type"], values["multpage"], values["color"]))
        self.assertEqual(str(app.home), values["path"])
        self.assertEqual(r"\x81ea\x52a8\x88c1\x5207", values["crop-type"])
        self.assertIn(r"\x53f3\x65cb", values["rotate"])

    def test_restart_comes_back_with_the_choices(self):
        app = self.start_with_camera("1b17:0211 Desk")
        app.select(application.RESOLUTIONS, 2)
        number = app.wait_for(r"^\[SetCameraResolution\] SetCameraResolution-(\d+)$")[1]
        app.select(application.FILE_TYPES, application.TYPE_ORDER.index("pdf"))
        app.click(application.MULTI_PAGE)
        app.select(application.ROTATIONS, 1)
        self.close(app)

        again = self.start()
        again.wait_for_live_picture()
        again.wait_for(rf"^\[OpenCamera\]\[1098\]KorvCamera_SetResolutionNo {number} 0$")
        frame = again.wait_for(r"^data:\S+ size:\d+ w:(\d+) h:(\d+)$")
        photographs = [files.read_jpeg(again.take_photograph()) for _ in range(2)]
        for picture in photographs:
            self.assertEqual((int(frame[2]), int(frame[1])), (picture.width, picture.height))
        [path] = again.save(1)
        self.assertEqual("0001.pdf", path.name)
        self.assertEqual(2, len(files.pdf_pages(path, self.folder)))
        before = self.settings_of(app, "1b17*211.ini")
        self.close(again)
        self.assertEqual(before, self.settings_of(again, "1b17*211.ini"))

    def test_dialog_changes_the_quality_until_the_end(self):
        app = self.start_with_camera()
        best = app.take_photograph().stat().st_size
        _, dialog = self.open_dialog(app)
        self.press(dialog, FILE_TAB)
        time.sleep(0.3)
        self.press(dialog, QUALITY)
        time.sleep(0.3)
        self.screen.keys("End", "Return")
        time.sleep(0.2)
        self.press(dialog, OK_BUTTON)
        app.wait_for(r"^\[onslot_setbtn_setwidget\] user clicked ok button$")
        worst = app.take_photograph().stat().st_size
        self.assertLess(worst, best)
        self.close(app)
        self.assertNotIn("quality", "\n".join(self.settings_of(app, "1b17*211.ini")))

    def test_cancelled_dialog_changes_nothing(self):
        app = self.start_with_camera()
        _, dialog = self.open_dialog(app)
        self.press(dialog, CANCEL_BUTTON)
        app.wait_for(r"^\[onslot_setbtn_setwidget\] user clicked cancel button$")
        self.assertEqual(app.home, app.take_photograph().parent)

    def test_escape_cancels_the_dialog(self):
        app = self.start_with_camera()
        window, _ = self.open_dialog(app)
        app.focus(window)
        self.screen.keys("Escape")
        app.wait_for(r"^\[onslot_setbtn_setwidget\] user clicked cancel button$")


if __name__ == "__main__":
    unittest.main()
