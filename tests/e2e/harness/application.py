"""The application as a running process: its trace, its window, its widgets."""

import os
import pathlib
import re
import signal
import subprocess
import threading
import time

from .screen import Rect

NAME = "vexalin-plixo-base"
TITLE = "棱湾拍摄仪数字化采集系统"

# main window at its smallest size, which is the one it starts with
PREVIEW = Rect(0, 0, 686, 508)
THUMBNAILS = Rect(1, 509, 684, 148)
DEVICES = Rect(696, 20, 191, 27)
RESOLUTIONS = Rect(696, 80, 191, 27)
COLOURS = Rect(696, 140, 191, 27)
MULTI_PAGE = Rect(826, 180, 61, 22)
FILE_TYPES = Rect(696, 200, 191, 27)
CROPS = Rect(696, 260, 191, 27)
ROTATIONS = Rect(696, 320, 191, 27)
PHOTO_BUTTON = Rect(696, 478, 81, 41)
SAVE_BUTTON = Rect(706, 618, 85, 38)
SETTINGS_BUTTON = Rect(806, 618, 85, 38)

TYPE_ORDER = ["jpg", "bmp", "pdf", "ofd", "png", "tiff"]

# `ps` as the application's guard runs it, showing this test's processes only: other tests, other
# clones and editors may well have the name in their command lines
PS_SHIM = r"""#!/bin/sh
/bin/ps "$@" | grep "$KORV_E2E_NAME" | while read -r user pid rest; do
    grep -qz "^KORV_E2E=$KORV_E2E\$" "/proc/$pid/environ" 2>/dev/null &&
        printf '%s %s %s\n' "$user" "$pid" "$rest"
done
true
"""

# stands for the desktop's viewer; tells what it was asked to open, and in which environment
OPEN_SHIM = r"""#!/bin/sh
env >"$KORV_E2E_OPENED.environment"
printf '%s\n' "$*" >>"$KORV_E2E_OPENED"
"""


def patience():
    """Factor on time limits: sanitized builds are slow, and machines differ."""
    return float(os.environ.get("KORV_E2E_PATIENCE", "1"))


class Application:
    """One start of the application. `folder` is the test's own; HOME lies in it and survives, so
    that a second Application with the same folder is a second start by the same user.
    `environment` is set on top of what every start gets."""

    def __init__(self, screen, folder, desk=None, real_ps=False, environment=None):
        self.screen = screen
        self.folder = pathlib.Path(folder)
        self.home = self.folder / "home"
        self.opened = self.folder / "opened"
        self.home.mkdir(exist_ok=True)
        self.runtime = self.folder / "runtime"
        self.runtime.mkdir(mode=0o700, exist_ok=True)
        self._lines = []
        self._changed = threading.Condition()
        self.environment = {**self._environment(desk, real_ps), **(environment or {})}
        with open(self.folder / "stderr.log", "ab") as errors:
            self.process = self._start(self.environment, errors)
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _start(self, environment, errors):
        stage = pathlib.Path(os.environ["KORV_E2E_STAGE"])
        # the name stands in the process list exactly once: argv is the bare name, whatever the
        # path of the build is
        return subprocess.Popen(
            [NAME], executable=stage / "bin" / NAME, env=environment,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=errors, cwd=self.folder)

    def _environment(self, desk, real_ps):
        shims = self.folder / "shims"
        shims.mkdir(exist_ok=True)
        scripts = {"xdg-open": OPEN_SHIM}
        if not real_ps:
            scripts["ps"] = PS_SHIM
        for name, text in scripts.items():
            (shims / name).write_text(text)
            (shims / name).chmod(0o755)
        kept = {key: os.environ[key] for key in os.environ
                if key.endswith("SAN_OPTIONS") or key.startswith("GCOV")}
        return {
            **kept,
            "PATH": f"{shims}:/usr/local/bin:/usr/bin:/bin",
            "HOME": str(self.home),
            "XDG_RUNTIME_DIR": str(self.runtime),
            "DISPLAY": self.screen.display,
            "LC_ALL": "C.UTF-8",
            "QT_QPA_PLATFORM": "xcb",
            "KORV_CAMERA_DESK": str(desk.folder if desk else self.folder / "empty-desk"),
            "KORV_E2E": str(self.folder),
            "KORV_E2E_NAME": NAME,
            "KORV_E2E_OPENED": str(self.opened),
        }

    # --- trace -------------------------------------------------------------------------------

    def _read(self):
        for raw in self.process.stdout:
            with self._changed:
                self._lines.append(raw.decode("utf-8", "replace").rstrip("\n"))
                self._changed.notify_all()
        with self._changed:
            self._changed.notify_all()

    @property
    def mark(self):
        """The present end of the trace, for wait_for()."""
        with self._changed:
            return len(self._lines)

    def lines(self, since=0):
        with self._changed:
            return self._lines[since:]

    def wait_for(self, pattern, since=0, timeout=15):
        """The first match of the regular expression in a trace line from `since` on."""
        expression = re.compile(pattern)
        deadline = time.monotonic() + timeout * patience()
        with self._changed:
            at = since
            while True:
                for line in self._lines[at:]:
                    match = expression.search(line)
                    if match:
                        return match
                at = len(self._lines)
                left = deadline - time.monotonic()
                if left <= 0 or (not self._reader.is_alive() and at == len(self._lines)):
                    raise AssertionError(f"no line {pattern!r} in time\n" + self._state(since))
                self._changed.wait(min(left, 0.5))

    def wait_until(self, condition, what, timeout=15):
        """Waits for something that leaves no trace line; returns the condition's value."""
        deadline = time.monotonic() + timeout * patience()
        while True:
            value = condition()
            if value:
                return value
            if time.monotonic() > deadline:
                raise AssertionError(f"not in time: {what}\n" + self._state())
            time.sleep(0.05)

    def _state(self, since=0):
        """What somebody who reads a failure needs: is it alive, what did it say last."""
        status = self.process.poll()
        with self._changed:
            tail = "\n  ".join(self._lines[since:][-30:])
        alive = "running" if status is None else f"ended with {status}"
        return (f"the program is {alive}; the last lines of its trace:\n  {tail}\n"
                f"of its errors:\n{self.errors()[-3000:]}")

    # --- window ------------------------------------------------------------------------------

    def window(self):
        """(id, Rect) of the main window, once it is there."""
        return self._wait_for_window(
            lambda title, rect: title == TITLE and rect.width >= 897, timeout=20)

    def dialog(self, title, timeout=10):
        return self._wait_for_window(lambda text, _: text == title, timeout)

    def _wait_for_window(self, accept, timeout):
        try:
            return self.screen.wait_for_window(self.process.pid, accept, timeout * patience(),
                                               ended=lambda: self.process.poll() is not None)
        except AssertionError as error:
            raise AssertionError(f"{error}\n{self._state()}") from None

    def place(self, rect):
        """A widget's place on the screen."""
        _, window = self.window()
        return rect.moved(window.x, window.y)

    def picture(self, rect):
        return self.screen.screenshot().crop(self.place(rect))

    def click(self, rect, button=1, repeat=1):
        self.screen.click(*self.place(rect).centre, button=button, repeat=repeat)

    def choose(self, rect, *keys, button=1):
        """Opens the list or menu of a place with the mouse and works it by keys, which close it."""
        before = self._window_numbers()
        self.click(rect, button)
        opened = self.wait_until(lambda: self._window_numbers() - before, "a list or menu")
        self.screen.keys(*keys)
        self.wait_until(lambda: not self._window_numbers() & opened, "the end of the list or menu")

    def _window_numbers(self):
        return {window for window, _, _ in self.screen.windows(self.process.pid)}

    def select(self, selector, index):
        """Chooses an entry of a selector with the mouse and the keyboard."""
        self.choose(selector, "Home", *["Down"] * index, "Return")

    def focus(self, window):
        self.screen.xdotool("windowfocus", "--sync", window)

    # --- actions -----------------------------------------------------------------------------

    def wait_for_live_picture(self, since=0):
        self.wait_for(r"^\[OpenCamera\]\[1098\]KorvCamera_SetResolutionNo", since)
        self.wait_for(r"^display the image$", since)

    def take_photograph(self):
        """Presses the button; the path of the working file once its thumbnail is there."""
        mark = self.mark
        # pressing while the controls are off does nothing, so the last action must be over
        self.click(PHOTO_BUTTON)
        path = pathlib.Path(
            self.wait_for(r"^\[onslot_setbtn_takephoto\]\[436\] file:(.*)$", mark)[1])
        self.wait_until(path.exists, f"working file {path}")
        return path

    def save(self, outputs):
        """Presses the save button; waits for that many output files and gives their paths."""
        mark = self.mark
        self.click(SAVE_BUTTON)
        self.wait_until(lambda: self._count(r"\[38[5]\] \(|\[369\] \(", mark) >= outputs,
                        f"{outputs} output files")
        return [pathlib.Path(match[1]) for match in
                (re.match(r"^\[onslot_savebtn_createfile\]\[(?:384|368)\] file:(.*)$", line)
                 for line in self.lines(mark)) if match]

    def _count(self, pattern, since):
        return sum(re.search(pattern, line) is not None for line in self.lines(since))

    # --- end ---------------------------------------------------------------------------------

    def close(self, timeout=20):
        """Closes the window as a window manager would; the exit status."""
        if self.process.poll() is None:
            window, _ = self.window()
            self.screen.close_window(window)
        return self.wait_for_exit(timeout)

    def wait_for_exit(self, timeout=20):
        status = self.process.wait(timeout * patience())
        self._reader.join(5)
        return status

    def errors(self):
        return (self.folder / "stderr.log").read_text(errors="replace")

    def kill(self):
        """Ends what a failed test left running."""
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGKILL)
            self.process.wait()
        self._reader.join(5)
        self.process.stdout.close()
