"""Start, refusal of a second copy, end."""

import unittest

from harness.case import EndToEndTest
from harness.screen import Rect

REFUSAL_TITLE = "棱湾拍摄仪"


class Startup(EndToEndTest):
    def test_window_opens_with_its_title_and_size(self):
        app = self.start()
        _, rect = app.window()
        self.assertEqual((897, 658), (rect.width, rect.height))

    def test_closing_without_camera_ends_well(self):
        app = self.start()
        app.wait_for("^RegCallBackCameraChange callback function  0$")
        self.close(app)
        self.assertEqual(["free tavelo success", "close mainwindow"], app.lines()[-2:])

    def test_second_copy_is_refused_above_the_centre_and_ends_with_255(self):
        first = self.start()
        first.window()
        second = self.start()
        second.wait_for("检测vexalin-plixo-base 已运行|strName=")
        window, rect = second.dialog(REFUSAL_TITLE)
        self.assertEqual(Rect((1280 - 600) // 2, (1024 - 300) // 2 - 150, 600, 300), rect)
        self.screen.move(*rect.centre)
        second.focus(window)
        self.screen.keys("Return")
        self.assertEqual(255, second.wait_for_exit())
        self.assertIn("[getAppIsRunning][87]检测vexalin-plixo-base 已运行",
                      "\n".join(second.lines()))
        self.assertIsNone(first.process.poll(), "the first copy must go on")


if __name__ == "__main__":
    unittest.main()
