"""Cameras coming, going and being chosen; the live picture."""

import time
import unittest

from harness import application, files
from harness.case import BLUE, GREEN, RED, EndToEndTest, is_near

FIRST = "1b17:0211 First"
SECOND = "1b17:0212 Second"


def page(left, right):
    return files.halves(1600, 1200, left, right)


class Live(EndToEndTest):
    def centre_of_half(self, app, half):
        """Colour in the middle of the left (0) or right (1) half of the preview."""
        picture = app.picture(application.PREVIEW)
        return picture.pixel(picture.width // 4 * (1 + 2 * half), picture.height // 2)

    def wait_for_halves(self, app, left, right):
        def shown():
            return (is_near(self.centre_of_half(app, 0), left)
                    and is_near(self.centre_of_half(app, 1), right))
        app.wait_until(shown, f"preview of {left} and {right}")

    def test_camera_plugged_in_later_is_shown(self):
        app = self.start()
        app.wait_for("^RegCallBackCameraChange callback function  0$")
        self.desk.plug(FIRST, [page(RED, BLUE)])
        app.wait_for(r"^\[ondeviceChange\] enter add,0,First,6935,529$")
        app.wait_for_live_picture()
        self.wait_for_halves(app, RED, BLUE)

    def test_live_picture_moves(self):
        app = self.start_with_camera()
        first = app.picture(application.PREVIEW)

        def moved():
            return app.picture(application.PREVIEW).difference(first) > 0
        app.wait_until(moved, "a picture that differs from the first")

    def test_picture_keeps_its_proportions_inside_the_preview(self):
        app = self.start_with_camera()
        self.wait_for_halves(app, RED, BLUE)
        preview = app.picture(application.PREVIEW)
        # 4:3 in 686 x 508: 677 x 508 from x = 4
        row = preview.height // 2
        self.assertFalse(is_near(preview.pixel(1, row), RED))
        self.assertTrue(is_near(preview.pixel(8, row), RED))
        self.assertTrue(is_near(preview.pixel(677, row), BLUE))
        self.assertFalse(is_near(preview.pixel(684, row), BLUE))

    def test_selector_switches_cameras(self):
        self.desk.plug(FIRST, [page(RED, BLUE)])
        app = self.start()
        app.wait_for_live_picture()
        self.wait_for_halves(app, RED, BLUE)
        mark = app.mark
        self.desk.plug(SECOND, [page(GREEN, RED)])
        app.wait_for(r"^\[func-ondeviceListFresh\] out$", mark)
        app.select(application.DEVICES, 1)
        app.wait_for(r"^closecamera index 1", mark)
        app.wait_for(r"^\[CloseCamera\] KorvCamera_Close-0$", mark)
        self.wait_for_halves(app, GREEN, RED)
        app.select(application.DEVICES, 0)
        self.wait_for_halves(app, RED, BLUE)

    def test_unplugged_camera_is_closed_and_the_other_one_runs(self):
        self.desk.plug(FIRST, [page(RED, BLUE)])
        app = self.start()
        app.wait_for_live_picture()
        mark = app.mark
        self.desk.plug(SECOND, [page(GREEN, RED)])
        app.wait_for(r"^\[func-ondeviceListFresh\] out$", mark)
        mark = app.mark
        self.desk.unplug(FIRST)
        app.wait_for(r"^\[CloseCamera\] KorvCamera_Close-", mark)
        app.wait_for(r"^\[OpenCamera\] ENTER$", mark)
        self.wait_for_halves(app, GREEN, RED)

    def test_last_camera_unplugged_while_running_leaves_a_working_window(self):
        app = self.start_with_camera(FIRST)
        mark = app.mark
        self.desk.unplug(FIRST)
        app.wait_for(r"^\[CloseCamera\] KorvCamera_Close-", mark)
        app.wait_for(r"^\[func-ondeviceListFresh\] out$", mark)
        # nothing listens to the photograph button any more
        mark = app.mark
        app.click(application.PHOTO_BUTTON)
        time.sleep(0.5)
        self.assertFalse(any("onslot_setbtn_takephoto" in line for line in app.lines(mark)))
        self.desk.plug(FIRST, [page(GREEN, RED)])
        self.wait_for_halves(app, GREEN, RED)
        self.close(app)

    def test_resolution_selector_restarts_the_camera(self):
        app = self.start_with_camera()
        mark = app.mark
        app.select(application.RESOLUTIONS, 1)
        number = app.wait_for(r"^\[SetCameraResolution\] SetCameraResolution-(\d+)$", mark)[1]
        self.assertNotEqual("0", number)
        mark = app.mark
        app.wait_for(r"^data:\S+ size:\d+ w:\d+ h:\d+$", mark)
        self.wait_for_halves(app, RED, BLUE)


if __name__ == "__main__":
    unittest.main()
