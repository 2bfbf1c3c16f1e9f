"""A private X display, what is on it, and the user's hands."""

import os
import pathlib
import struct
import subprocess
import time
import zlib
from typing import NamedTuple

from . import xclient


class Rect(NamedTuple):
    x: int
    y: int
    width: int
    height: int

    def moved(self, dx, dy):
        return Rect(self.x + dx, self.y + dy, self.width, self.height)

    def inner(self, margin):
        return Rect(self.x + margin, self.y + margin,
                    self.width - 2 * margin, self.height - 2 * margin)

    @property
    def centre(self):
        return self.x + self.width // 2, self.y + self.height // 2


class Picture:
    """RGB pixels, rows without padding."""

    def __init__(self, width, height, rgb):
        assert len(rgb) == width * height * 3, (width, height, len(rgb))
        self.width, self.height, self.rgb = width, height, bytes(rgb)

    def pixel(self, x, y):
        at = (y * self.width + x) * 3
        return tuple(self.rgb[at:at + 3])

    def crop(self, rect):
        rows = (self.rgb[((rect.y + row) * self.width + rect.x) * 3:][:rect.width * 3]
                for row in range(rect.height))
        return Picture(rect.width, rect.height, b"".join(rows))

    def difference(self, other):
        """Share of the pixels that are not the same, 0 to 1."""
        assert (self.width, self.height) == (other.width, other.height)
        pixels = self.width * self.height
        changed = sum(self.rgb[i * 3:i * 3 + 3] != other.rgb[i * 3:i * 3 + 3]
                      for i in range(pixels))
        return changed / pixels

    def colours(self):
        """The set of colours that occur."""
        return {self.rgb[i:i + 3] for i in range(0, len(self.rgb), 3)}

    def save_png(self, path):
        def chunk(kind, data):
            body = kind + data
            return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))

        stride = self.width * 3
        rows = b"".join(b"\0" + self.rgb[y * stride:(y + 1) * stride] for y in range(self.height))
        header = struct.pack(">IIBBBBB", self.width, self.height, 8, 2, 0, 0, 0)
        pathlib.Path(path).write_bytes(
            b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header)
            + chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))


def read_xwd(data):
    """The picture in an X window dump of 32 bits a pixel (X11/XWDFile.h, version 7)."""
    fields = struct.unpack(">25I", data[:100])
    header_size, version, _, _, width, height = fields[:6]
    byte_order, bits_per_pixel, bytes_per_line, colours = fields[7], fields[11], fields[12], fields[19]
    assert version == 7 and bits_per_pixel == 32, fields
    start = header_size + colours * 12
    pixels = data[start:start + bytes_per_line * height]
    red, green, blue = (2, 1, 0) if byte_order == 0 else (1, 2, 3)
    rgb = bytearray(width * height * 3)
    rgb[0::3], rgb[1::3], rgb[2::3] = pixels[red::4], pixels[green::4], pixels[blue::4]
    return Picture(width, height, rgb)


class Screen:
    """An Xvfb server; its frame buffer is a file, so that a screenshot needs no client."""

    WIDTH, HEIGHT = 1280, 1024

    def __init__(self, folder, width=WIDTH, height=HEIGHT, dpi=None):
        self._folder = pathlib.Path(folder)
        self._folder.mkdir(parents=True, exist_ok=True)
        read_end, write_end = os.pipe()
        self._log = open(self._folder / "xvfb.log", "wb")
        self._server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_end), "-nolisten", "tcp", "-noreset",
             "-screen", "0", f"{width}x{height}x24", "-dpi", "100",
             "-fbdir", str(self._folder)],
            pass_fds=[write_end], stderr=self._log, stdin=subprocess.DEVNULL)
        os.close(write_end)
        with os.fdopen(read_end) as answer:
            number = answer.readline().strip()
        if not number:
            raise RuntimeError((self._folder / "xvfb.log").read_text(errors="replace"))
        self.display = ":" + number
        if dpi:
            xclient.say_density(self.display, dpi)

    def close(self):
        self._server.terminate()
        self._server.wait(10)
        self._log.close()

    def screenshot(self):
        return read_xwd((self._folder / "Xvfb_screen0").read_bytes())

    # --- hands -------------------------------------------------------------------------------

    def xdotool(self, *arguments):
        done = subprocess.run(["xdotool", *map(str, arguments)], capture_output=True, text=True,
                              env={**os.environ, "DISPLAY": self.display}, timeout=30)
        return done.stdout

    def move(self, x, y):
        self.xdotool("mousemove", "--sync", x, y)

    def click(self, x, y, button=1, repeat=1):
        self.xdotool("mousemove", x, y, "sleep", "0.05",
                     "click", "--repeat", repeat, "--delay", "40", button)

    def keys(self, *names):
        self.xdotool("key", "--delay", "30", *names)

    def type(self, text):
        self.xdotool("type", "--delay", "10", text)

    def windows(self, pid):
        """Visible windows of a process: (id, title, Rect)."""
        found = []
        for window in self.xdotool("search", "--onlyvisible", "--pid", pid, ".*").split():
            title = self.xdotool("getwindowname", window).rstrip("\n")
            values = dict(line.split("=") for line in
                          self.xdotool("getwindowgeometry", "--shell", window).split())
            if "WIDTH" in values:
                rect = Rect(*(int(values[key]) for key in ("X", "Y", "WIDTH", "HEIGHT")))
                found.append((window, title, rect))
        return found

    def wait_for_window(self, pid, accept, timeout=20, ended=lambda: False):
        """The first window of the process that `accept(title, rect)` takes, as (id, Rect). Gives
        up early once `ended()`."""
        deadline = time.monotonic() + timeout
        while True:
            windows = self.windows(pid)
            for window, title, rect in windows:
                if accept(title, rect):
                    return window, rect
            if time.monotonic() > deadline or ended():
                raise AssertionError(f"no such window of process {pid}, there are: {windows}")
            time.sleep(0.1)

    def close_window(self, window):
        xclient.ask_to_close(self.display, window)
