#!/usr/bin/env python3
"""Takes the pictures of the documentation: the main window and the pages of the settings dialog.

Usage: take_pictures.py STAGE [FOLDER]
STAGE is an installation of the application (build/dev/stage, /opt/vexalin/camera); FOLDER is
docs/pictures by default. Needs what the end-to-end tests need. Where the machine allows
it, the application sees an empty /home with one user, so that the save folder looks like anybody's.
"""

import os
import pathlib
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "tests" / "e2e"))
from harness import application, screen  # noqa: E402

# tabs of the settings dialog, left to right
TABS = {"settings-camera": 45, "settings-files": 115, "settings-about": 180}
TAB_HEIGHT = 24
PAGE_SECONDS = 3
# set in the second run of this script, which has a /home of its own
HOME_VARIABLE = "KORV_PICTURES_HOME"
HOME = "/home/user"


class BuiltinDesk:
    folder = "builtin"


def picture_of(display, rect):
    return display.screenshot().crop(rect)


def take_main_window(display, app, folder):
    """The live picture above thumbnails of several pages."""
    app.wait_for_live_picture()
    for _ in range(3):
        app.take_photograph()
        time.sleep(PAGE_SECONDS + 1)
    app.wait_for("^display the image$", app.mark)
    # the pointer must not highlight anything
    display.move(screen.Screen.WIDTH - 1, screen.Screen.HEIGHT - 1)
    time.sleep(1)
    _, rect = app.window()
    picture_of(display, rect).save_png(folder / "main-window.png")


def take_settings(display, app, folder):
    app.click(application.SETTINGS_BUTTON)
    _, dialog = app.dialog("设置")
    for name, x in TABS.items():
        display.click(dialog.x + 10 + x, dialog.y + 10 + TAB_HEIGHT // 2)
        display.move(screen.Screen.WIDTH - 1, screen.Screen.HEIGHT - 1)
        time.sleep(0.5)
        picture_of(display, dialog).save_png(folder / (name + ".png"))
    display.click(*screen.Rect(440, 410, 97, 26).moved(dialog.x, dialog.y).centre)


def run_in_own_home(*needed):
    """Runs this script again behind an empty /home and ends; comes back where that cannot be."""
    if HOME_VARIABLE in os.environ or any(path.is_relative_to("/home") for path in needed):
        return
    again = ["unshare", "--map-root-user", "--mount"]
    if subprocess.run([*again, "mount", "-t", "tmpfs", "none", "/home"], check=False).returncode:
        return
    script = 'mount -t tmpfs none /home && mkdir "$0" && exec "$@"'
    done = subprocess.run([*again, "sh", "-c", script, HOME, sys.executable, *sys.argv],
                          env={**os.environ, HOME_VARIABLE: HOME}, check=False)
    sys.exit(done.returncode)


def main(arguments):
    if not 1 <= len(arguments) <= 2:
        sys.exit(__doc__)
    os.environ["KORV_E2E_STAGE"] = os.path.abspath(arguments[0])
    folder = pathlib.Path(arguments[1] if len(arguments) == 2 else ROOT / "docs" / "pictures")
    folder = folder.resolve()
    folder.mkdir(parents=True, exist_ok=True)
    run_in_own_home(ROOT, folder, pathlib.Path(os.environ["KORV_E2E_STAGE"]))
    with tempfile.TemporaryDirectory(prefix="korv-pictures-") as work:
        display = screen.Screen(pathlib.Path(work) / "display")
        environment = {"HOME": os.environ[HOME_VARIABLE]} if HOME_VARIABLE in os.environ else {}
        app = application.Application(display, work, desk=BuiltinDesk, environment=environment)
        try:
            take_main_window(display, app, folder)
            take_settings(display, app, folder)
            app.close()
        finally:
            app.kill()
            display.close()


if __name__ == "__main__":
    main(sys.argv[1:])
