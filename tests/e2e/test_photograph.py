"""Photographs, their thumbnails and working files."""

import time
import unittest

from harness import application, files
from harness.case import BLUE, GREEN, RED, EndToEndTest, is_near


class Photograph(EndToEndTest):
    def setUp(self):
        super().setUp()
        self.app = self.start_with_camera()

    def frame_size(self):
        match = self.app.wait_for(r"^data:\S+ size:\d+ w:(\d+) h:(\d+)$")
        return int(match[1]), int(match[2])

    def photograph(self, rotation):
        self.app.select(application.ROTATIONS, rotation)
        path = self.app.take_photograph()
        return files.read_jpeg(path)

    def assert_corners(self, picture, top_left, bottom_right):
        x, y = picture.width // 4, picture.height // 4
        self.assertTrue(is_near(picture.pixel(x, y), top_left), picture.pixel(x, y))
        self.assertTrue(is_near(picture.pixel(picture.width - x, picture.height - y), bottom_right))

    def test_photograph_is_the_frame(self):
        path = self.app.take_photograph()
        self.assertEqual(self.app.home / ".vexalinplixo-preview-0001.jpg", path)
        picture = files.read_jpeg(path)
        self.assertEqual(self.frame_size(), (picture.width, picture.height))
        self.assert_corners(picture, RED, BLUE)

    def test_turned_left_the_right_side_is_on_top(self):
        width, height = self.frame_size()
        picture = self.photograph(1)
        self.assertEqual((height, width), (picture.width, picture.height))
        self.assert_corners(picture, BLUE, RED)

    def test_turned_right_the_left_side_is_on_top(self):
        width, height = self.frame_size()
        picture = self.photograph(2)
        self.assertEqual((height, width), (picture.width, picture.height))
        self.assert_corners(picture, RED, BLUE)

    def test_turned_around_the_sides_change(self):
        picture = self.photograph(3)
        self.assertEqual(self.frame_size(), (picture.width, picture.height))
        self.assert_corners(picture, BLUE, RED)

    def test_gray_photograph_has_no_colours(self):
        self.app.select(application.COLOURS, 1)
        picture = files.read_jpeg(self.app.take_photograph())
        self.assertTrue(all(abs(a - b) < 8 and abs(b - c) < 8 for a, b, c in
                            (picture.pixel(picture.width * i // 10, picture.height // 2)
                             for i in range(1, 10))))

    def test_thumbnails_appear_one_below_the_other_files_numbered(self):
        empty = self.app.picture(application.THUMBNAILS)
        paths = [self.app.take_photograph() for _ in range(3)]
        self.assertEqual([f".vexalinplixo-preview-000{n}.jpg" for n in (1, 2, 3)],
                         [path.name for path in paths])

        def shown():
            return self.app.picture(application.THUMBNAILS).difference(empty) > 0.1
        self.app.wait_until(shown, "thumbnails")
        strip = self.app.picture(application.THUMBNAILS)
        colours = [strip.pixel(x, strip.height // 2) for x in range(0, strip.width, 4)]
        self.assertTrue(any(is_near(colour, RED) for colour in colours))
        self.assertTrue(any(is_near(colour, BLUE) for colour in colours))
        self.assertFalse(any(is_near(colour, GREEN) for colour in colours))

    def test_working_files_are_gone_after_the_window_closed(self):
        paths = [self.app.take_photograph() for _ in range(2)]
        self.close(self.app)
        self.assertEqual([False, False], [path.exists() for path in paths])

    def test_lost_save_folder_adds_no_thumbnail_and_costs_a_number(self):
        empty = self.app.picture(application.THUMBNAILS)
        elsewhere = self.folder / "elsewhere"
        self.app.home.rename(elsewhere)
        mark = self.app.mark
        self.app.click(application.PHOTO_BUTTON)
        self.app.wait_for(r"\[436\] file:.*-0001.jpg$", mark)
        time.sleep(0.5)
        self.assertLess(self.app.picture(application.THUMBNAILS).difference(empty), 0.01)
        elsewhere.rename(self.app.home)
        self.assertEqual([], list(self.app.home.glob(".vexalinplixo*")))
        self.assertTrue(self.app.take_photograph().name.endswith("-0002.jpg"))


if __name__ == "__main__":
    unittest.main()
