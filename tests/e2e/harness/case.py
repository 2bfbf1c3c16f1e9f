"""What every end-to-end test starts from."""

import os
import pathlib
import shutil
import tempfile
import unittest

from . import application, desk, files, screen

RED, BLUE, GREEN = (200, 40, 40), (40, 60, 200), (40, 160, 60)


def is_near(colour, wanted, tolerance=40):
    return all(abs(a - b) <= tolerance for a, b in zip(colour, wanted))


class EndToEndTest(unittest.TestCase):
    """Own folder, HOME, display and desk; whatever is started ends with the test."""

    SCREEN = {}  # what is special about the display

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="korv-e2e-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.screen = screen.Screen(self.folder / "display", **self.SCREEN)
        self.addCleanup(self.screen.close)
        self.desk = desk.Desk(self.folder / "desk", self.folder / "pool")

    def _keep_evidence(self):
        """A failing test leaves its last screenshot where KORV_E2E_EVIDENCE says."""
        target = os.environ.get("KORV_E2E_EVIDENCE")
        outcome = self._outcome.result
        failed = any(test is self for test, _ in outcome.failures + outcome.errors)
        if target and failed:
            os.makedirs(target, exist_ok=True)
            self.screen.screenshot().save_png(pathlib.Path(target) / (self.id() + ".png"))

    def start(self, kind=application.Application, **options):
        app = kind(self.screen, self.folder, desk=self.desk, **options)
        self.addCleanup(app.kill)
        # before that: the last cleanup comes first
        self.addCleanup(self._keep_evidence)
        return app

    def start_with_camera(self, identity="1b17:0211 Desk", left=RED, right=BLUE, **options):
        """The application, showing the live picture of one camera with a two-coloured page."""
        self.desk.plug(identity, [files.halves(1600, 1200, left, right)])
        app = self.start(**options)
        app.wait_for_live_picture()
        return app

    def close(self, app):
        """Closes the window; the program must end well."""
        status = app.close()
        self.assertEqual(0, status, app.errors()[-3000:])
        self.assertNotIn("Sanitizer", app.errors())

    def settings_of(self, app, name):
        """Lines of a camera model's settings file."""
        path = app.home / ".config/vexalin/plixo-base/backup" / name
        self.assertTrue(path.exists(), path)
        return path.read_text(encoding="utf-8").splitlines()
