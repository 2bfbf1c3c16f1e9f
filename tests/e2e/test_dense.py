"""A dense screen: twice as many pixels on the same width."""

import unittest

from harness import application, files
from harness.case import EndToEndTest
from harness.screen import Picture, Rect


def stripes(width, height, period):
    """Black and white, upright."""
    line = b"".join(bytes(3) if x // period % 2 else b"\xff\xff\xff" for x in range(width))
    return Picture(width, height, line * height)


class Dense(EndToEndTest):
    SCREEN = {"width": 1900, "height": 1400, "dpi": 192}

    def setUp(self):
        super().setUp()
        self.desk.plug("1b17:0211 Desk", [stripes(1600, 1200, 3)])
        self.app = self.start(environment={"KORV_WINDOW_GROWS": "1"})
        self.app.wait_for_live_picture()

    def place(self, rect):
        _, window = self.app.window()
        return Rect(*(2 * value for value in rect)).moved(window.x, window.y)

    def test_window_grows_with_the_letters(self):
        _, window = self.app.window()
        self.assertEqual((2 * 897, 2 * 658), (window.width, window.height))
        mark = self.app.mark
        self.screen.click(*self.place(application.PHOTO_BUTTON).centre)
        self.app.wait_for(r"^\[onslot_setbtn_takephoto\]\[436\] file:", mark)

    def test_live_picture_uses_every_pixel(self):
        middle = self.place(application.PREVIEW).inner(300)

        def sharp():
            picture = self.screen.screenshot().crop(middle)
            row = [picture.pixel(x, 100)[0] for x in range(picture.width)]
            unlike = sum(abs(row[x] - row[x + 1]) > 40 for x in range(0, picture.width - 1, 2))
            # a picture of half the size would show pairs of equal pixels
            return unlike > picture.width // 8
        self.app.wait_until(sharp, "stripes narrower than two pixels")


if __name__ == "__main__":
    unittest.main()
