"""The ends of the program that are not its window's close button."""

import resource
import signal
import time
import unittest

from harness import application, files
from harness.case import BLUE, RED, EndToEndTest


class Ending(EndToEndTest):
    def setUp(self):
        super().setUp()
        self.app = self.start_with_camera()
        self.app.select(application.FILE_TYPES, application.TYPE_ORDER.index("pdf"))
        self.photograph = self.app.take_photograph()

    def assert_settings_written(self):
        self.assertIn("type=pdf", self.settings_of(self.app, "1b17*211.ini"))

    def assert_ended_as_by_the_window(self):
        self.assertEqual(0, self.app.wait_for_exit(), self.app.errors()[-3000:])
        self.assertNotIn("Sanitizer", self.app.errors())
        self.assertEqual(["free tavelo success", "close mainwindow"], self.app.lines()[-2:])
        self.assert_settings_written()
        self.assertFalse(self.photograph.exists(), "what was not exported goes with the window")

    def test_interrupt_closes_the_window(self):
        self.app.process.send_signal(signal.SIGINT)
        self.assert_ended_as_by_the_window()

    def test_termination_sent_twice_closes_the_window(self):
        self.app.process.send_signal(signal.SIGTERM)
        time.sleep(0.02)
        self.app.process.send_signal(signal.SIGTERM)
        self.assert_ended_as_by_the_window()

    def test_hangup_closes_an_open_dialog_and_the_window(self):
        self.app.click(application.SETTINGS_BUTTON)
        self.app.dialog("设置")
        self.app.process.send_signal(signal.SIGHUP)
        self.assert_ended_as_by_the_window()

    def test_vanished_display_saves_the_settings_and_leaves_photographs(self):
        self.screen.close()
        self.assertEqual(1, self.app.wait_for_exit(), self.app.errors()[-3000:])
        self.assert_settings_written()
        self.assertTrue(self.photograph.exists(), "the next start is to find it")


class Limits(EndToEndTest):
    def test_file_size_limit_is_a_write_error(self):
        app = self.start_with_camera()
        everything = resource.prlimit(app.process.pid, resource.RLIMIT_FSIZE)
        resource.prlimit(app.process.pid, resource.RLIMIT_FSIZE, (1000, everything[1]))
        mark = app.mark
        app.click(application.PHOTO_BUTTON)
        file = app.wait_for(r"^\[onslot_setbtn_takephoto\]\[436\] file:(.*)$", mark)[1]
        app.wait_for("^display the image$", app.mark)  # it goes on
        self.assertIn("0001", file)
        self.assertEqual([], list(app.home.glob(".vexalinplixo*")))
        resource.prlimit(app.process.pid, resource.RLIMIT_FSIZE, everything)
        picture = files.read_jpeg(app.take_photograph())
        self.assertGreater(picture.width, 0)
        self.close(app)


if __name__ == "__main__":
    unittest.main()
