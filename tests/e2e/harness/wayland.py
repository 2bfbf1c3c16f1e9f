"""A Wayland desktop on the private X display: hands and eyes are those of the display."""

import glob
import itertools
import pathlib
import shutil
import subprocess
import time
from collections import Counter

from . import application
from .screen import Rect, Screen

SOCKET = "wayland-test"
# leaves a strip of the display free on the right
DESKTOP = Rect(0, 0, Screen.WIDTH - 16, Screen.HEIGHT)
BACKGROUND = 0x30
# the window stands alone on one colour, in its place at once
CONFIGURATION = f"""[core]
idle-time=0
[shell]
panel-position=none
animation=none
startup-animation=none
close-animation=none
locking=false
background-color=0xff{BACKGROUND:02x}{BACKGROUND:02x}{BACKGROUND:02x}
"""

# of Qt's decoration, from the right upper corner of the whole window
CLOSE_BUTTON = (17, 15)


def missing():
    """What is not installed of what these tests need; empty when nothing is."""
    lacking = []
    if not shutil.which("weston") or not glob.glob("/usr/lib/*/libweston-*/x11-backend.so"):
        lacking.append("weston")
    if not glob.glob("/usr/lib/*/qt5/plugins/platforms/libqwayland-generic.so"):
        lacking.append("qtwayland5")
    return lacking


class Compositor:
    """Weston as a window that covers the display."""

    def __init__(self, screen, folder):
        folder = pathlib.Path(folder)
        runtime = folder / "runtime"
        runtime.mkdir(mode=0o700, exist_ok=True)
        configuration = folder / "weston.ini"
        configuration.write_text(CONFIGURATION)
        self.environment = {"QT_QPA_PLATFORM": "wayland", "WAYLAND_DISPLAY": SOCKET}
        self._log = open(folder / "weston.log", "wb")
        self._server = subprocess.Popen(
            ["weston", "--backend=x11-backend.so", "--use-pixman", f"--socket={SOCKET}",
             f"--width={DESKTOP.width}", f"--height={DESKTOP.height}", f"--config={configuration}"],
            env={"PATH": "/usr/bin:/bin", "HOME": str(folder), "DISPLAY": screen.display,
                 "XDG_RUNTIME_DIR": str(runtime), "LC_ALL": "C.UTF-8"},
            stdin=subprocess.DEVNULL, stdout=self._log, stderr=self._log)
        try:
            self._wait_for(runtime / SOCKET, folder)
            # no window manager of the display gives it the keyboard
            window, _ = screen.wait_for_window(
                self._server.pid, lambda title, _: title.startswith("Weston"),
                10 * application.patience())
            screen.xdotool("windowfocus", "--sync", window)
            self._wait_for_pointer(screen)
        except BaseException:
            self.close()
            raise

    def _wait_for(self, socket, folder):
        deadline = time.monotonic() + 10 * application.patience()
        while not socket.exists():
            if time.monotonic() > deadline or self._server.poll() is not None:
                raise AssertionError((folder / "weston.log").read_text(errors="replace"))
            time.sleep(0.05)

    @staticmethod
    def _wait_for_pointer(screen):
        """Weston counts the pointer's steps from where it came in, and misses that while it starts:
        the pointer goes out and comes in until it is seen where it is."""
        nothing = bytes([BACKGROUND]) * 3
        deadline = time.monotonic() + 10 * application.patience()
        for step in itertools.cycle(range(40)):
            x, y = 400 + 5 * step, 300 + 5 * step
            screen.move(DESKTOP.width + 8, y)
            screen.move(x, y)
            time.sleep(0.1)
            seen = screen.screenshot().crop(Rect(x - 4, y - 4, 16, 16)).colours()
            if nothing in seen and len(seen) > 1:
                return
            if time.monotonic() > deadline:
                raise AssertionError("Weston does not follow the pointer")

    def close(self):
        self._server.terminate()
        self._server.wait(10)
        self._log.close()


class WaylandApplication(application.Application):
    """Under Wayland nobody but the compositor knows where a window stands: it is looked for."""

    CONTENT = Rect(0, 0, 897, 658)
    _place = None

    def decorated(self):
        """The whole window with its frame, wherever it stands; None when there is none."""
        picture = self.screen.screenshot().crop(DESKTOP)
        background = bytes([BACKGROUND])
        stride = picture.width * 3
        extents = {}
        for y in range(picture.height):
            row = picture.rgb[y * stride:(y + 1) * stride]
            left = stride - len(row.lstrip(background))
            right = len(row.rstrip(background))
            if right - left >= self.CONTENT.width * 3:
                extents[y] = left // 3, -(-right // 3)
        if not extents:
            return None
        # the pointer may widen some lines
        left, right = Counter(extents.values()).most_common(1)[0][0]
        return Rect(left, min(extents), right - left, max(extents) + 1 - min(extents))

    def window(self):
        if self._place is None:
            frame = self.wait_until(self.decorated, "a window on the Wayland desktop", 20)
            border = (frame.width - self.CONTENT.width) // 2
            self._place = self.CONTENT.moved(
                frame.x + border, frame.y + frame.height - border - self.CONTENT.height)
        return None, self._place

    def choose(self, rect, *keys, button=1):
        """Nobody tells here when a list or menu has opened."""
        self.click(rect, button)
        time.sleep(0.5 * application.patience())
        self.screen.keys(*keys)
        time.sleep(0.3 * application.patience())

    def close(self, timeout=20):
        frame = self.decorated()
        dx, dy = CLOSE_BUTTON
        self.screen.click(frame.x + frame.width - dx, frame.y + dy)
        return self.wait_for_exit(timeout)
