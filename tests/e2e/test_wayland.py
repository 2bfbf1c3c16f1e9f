"""The application on a Wayland desktop."""

import time
import unittest

from harness import accessible, application, files, wayland
from harness.case import BLUE, RED, EndToEndTest, is_near
from harness.screen import Rect

FIRST_THUMBNAIL = Rect(20, 530, 40, 40)


def setUpModule():
    lacking = wayland.missing()
    if lacking:
        raise unittest.SkipTest("not installed: " + ", ".join(lacking))


class Wayland(EndToEndTest):
    def setUp(self):
        super().setUp()
        compositor = wayland.Compositor(self.screen, self.folder)
        self.addCleanup(compositor.close)
        self.environment = compositor.environment

    def show_window(self, **more):
        app = self.start_with_camera(
            kind=wayland.WaylandApplication, environment={**self.environment, **more})
        app.window()
        return app

    def test_window_with_live_picture_photograph_and_export(self):
        app = self.show_window()
        preview = app.picture(application.PREVIEW)
        self.assertTrue(is_near(preview.pixel(100, 200), RED), preview.pixel(100, 200))
        self.assertTrue(is_near(preview.pixel(600, 200), BLUE), preview.pixel(600, 200))
        app.select(application.ROTATIONS, 1)
        working = app.take_photograph()
        [exported] = app.save(1)
        self.assertFalse(working.exists())
        picture = files.read_jpeg(exported)
        self.assertEqual((2448, 3264), (picture.width, picture.height))
        self.assertTrue(is_near(picture.pixel(1200, 100), BLUE), "turned to the left")
        self.close(app)

    def test_menus_of_the_thumbnails_and_settings_by_keyboard(self):
        app = self.show_window()
        paths = [app.take_photograph() for _ in range(2)]
        app.click(FIRST_THUMBNAIL)
        app.choose(FIRST_THUMBNAIL, "Down", "Down", "Return", button=3)
        app.wait_until(lambda: not paths[0].exists(), "removal of the first")
        self.assertTrue(paths[1].exists())
        self.screen.keys("Menu")
        time.sleep(0.5 * application.patience())
        self.screen.keys("Down", "Return")
        app.wait_until(app.opened.exists, "the viewer")
        self.assertIn(paths[1].name, app.opened.read_text())
        app.click(application.SETTINGS_BUTTON)
        time.sleep(0.5 * application.patience())
        self.screen.keys("Escape")
        app.wait_for(r"^\[onslot_setbtn_setwidget\] user clicked cancel button$")
        self.close(app)

    @unittest.skipIf(accessible.missing(), "not installed: " + ", ".join(accessible.missing()))
    def test_assistive_technology_takes_a_photograph(self):
        bus = accessible.Bus(self.screen, self.folder)
        self.addCleanup(bus.close)
        app = self.show_window(**bus.environment, QT_LOGGING_RULES="qt.accessibility.atspi=true")
        try:
            program = bus.program(application.NAME)
        except AssertionError:
            if '"Not connected to D-Bus server"' in app.errors():
                self.skipTest("Qt registered before it was connected to the accessibility bus")
            raise
        nodes = program.index()
        strip = nodes["list", "照片列表"]
        nodes["push button", "拍照"].press()
        path = app.wait_for(r"^\[onslot_setbtn_takephoto\]\[436\] file:(.*)$")[1]
        self.assertTrue(path.endswith("-0001.jpg"))
        app.wait_until(lambda: ("list item", "0001") in strip.index(), "a thumbnail")


if __name__ == "__main__":
    unittest.main()
