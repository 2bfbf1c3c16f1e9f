#!/usr/bin/env python3
"""Measures how long an export waits for the text of pages that were photographed one by one.

    cmake --preset bench && cmake --build --preset bench
    bench/export_wait.py build/bench PAGE.jpg... [--interval 5] [--languages eng]

Lays the pictures, which must differ, one after the other on a simulated desk, photographs each
through the library's C functions as the application does, and makes one pdf of all right after the
last one. Exit status 1 when the export takes more than a second longer than the recognition of the
last page, or recognises a page a second time. Needs tesseract with the languages.
"""
import argparse
import ctypes
import os
import pathlib
import shutil
import sys
import tempfile
import threading
import time

FRAME = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_int, ctypes.c_int, ctypes.c_int)
ALLOWED = 1.0  # seconds behind the recognition of the last page
PATIENCE = 30  # seconds until a page that was laid down must be seen


class Recogniser:
    """A script in tesseract's place that calls it, and leaves a file at its beginning and its end.
    The files are empty: the library lets it write none."""

    def __init__(self, folder):
        self.notes = folder / "notes"
        self.notes.mkdir()
        bin_folder = folder / "bin"
        bin_folder.mkdir()
        script = bin_folder / "tesseract"
        script.write_text(f"""#!/bin/sh
[ "$1" = --list-langs ] && exec '{shutil.which("tesseract")}' "$@"
/usr/bin/touch '{self.notes}/begin-'$$
'{shutil.which("tesseract")}' "$@"
status=$?
/usr/bin/touch '{self.notes}/end-'$$
exit $status
""")
        script.chmod(0o755)
        os.environ["PATH"] = f"{bin_folder}:{os.environ['PATH']}"

    def runs(self):
        """Beginning and end of each run, in seconds since the epoch; no end of one that was killed."""
        times = []
        for begin in self.notes.glob("begin-*"):
            end = begin.with_name(begin.name.replace("begin", "end"))
            times.append((begin.stat().st_mtime, end.stat().st_mtime if end.exists() else None))
        return sorted(times)


class Camera:
    """The library with its only camera open; keeps the newest frame."""

    def __init__(self, library):
        self.library = library
        self.lock = threading.Lock()
        self.frame = None
        self.callback = FRAME(self.receive)
        self.must(library.KorvCamera_Init(), "Init")
        self.must(library.KorvCamera_SetImageJPGQuality(95), "SetImageJPGQuality")
        deadline = time.monotonic() + PATIENCE
        while library.KorvCamera_GetDevCount() < 1 and time.monotonic() < deadline:
            time.sleep(0.05)
        self.must(library.KorvCamera_Open(0), "Open")
        self.must(library.KorvCamera_StartCapture(0, self.callback), "StartCapture")

    @staticmethod
    def must(result, what):
        if result < 0:
            raise RuntimeError(f"{what}: {os.strerror(-result)}")

    def receive(self, data, size, width, height):
        frame = ctypes.string_at(data, size), width, height
        with self.lock:
            self.frame = frame
        return 0

    def photograph(self, path):
        with self.lock:
            data, width, height = self.frame
            self.must(self.library.KorvCamera_SaveVideoData(data, width, height, 0,
                                                            str(path).encode()), "SaveVideoData")

    def export(self, sources, path):
        """Seconds."""
        start = time.monotonic()
        for source in sources:
            self.must(self.library.KorvCamera_AddImageFiletoMultiFile(str(source).encode()), "Add")
        self.must(self.library.KorvCamera_CombineMultiFile(str(path).encode()), "Combine")
        return time.monotonic() - start

    def close(self):
        self.must(self.library.KorvCamera_UnInit(), "UnInit")


def lay(page, desk):
    """Replaces what is on the desk."""
    before = list(desk.glob("*.jpg"))
    number = len(before) and int(before[0].stem) + 1
    shutil.copyfile(page, desk / "next.part")
    (desk / "next.part").rename(desk / f"{number:04}.jpg")
    for old in before:
        old.unlink()


def photographs(camera, pages, desk, folder, interval):
    sources = []
    due = time.monotonic()
    for number, page in enumerate(pages):
        lay(page, desk)
        due += interval
        time.sleep(max(0.0, due - time.monotonic()))
        sources.append(folder / f"{number:04}.jpg")
        camera.photograph(sources[-1])
    return sources


def report(waited, again, runs, pages):
    begin, end = runs[-1]
    last = (end or time.time()) - begin
    killed = sum(1 for _, end in runs if end is None)
    durations = sorted(end - begin for begin, end in runs if end is not None)
    print(f"pages {pages}, runs of tesseract {len(runs)} ({killed} killed), "
          f"median {durations[len(durations) // 2]:.2f} s, last {last:.2f} s")
    print(f"export {waited:.2f} s, of the same pages again {again:.2f} s")
    good = waited <= last + ALLOWED and len(runs) == pages
    print(f"{'ok' if good else 'MISSED':6} export <= {ALLOWED:.0f} s + last page's recognition, "
          "no page twice")
    return good


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("pages", type=pathlib.Path, nargs="+")
    parser.add_argument("--interval", type=float, default=5, help="seconds from page to page")
    parser.add_argument("--languages", default="eng")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        desk = folder / "desk" / "1b17:0211 Bench"
        desk.mkdir(parents=True)
        lay(options.pages[0], desk)
        os.environ.update(KORV_CAMERA_DESK=str(desk.parent), KORV_CAMERA_REAL="0",
                          KORV_CAMERA_TEXT=options.languages, HOME=name, XDG_CONFIG_HOME=name,
                          XDG_CACHE_HOME=name)
        recogniser = Recogniser(folder)
        camera = Camera(ctypes.CDLL(str(options.build / "library/libKorvPlixoManager.so")))
        sources = photographs(camera, options.pages, desk, folder, options.interval)
        waited = camera.export(sources, folder / "a.pdf")
        runs = recogniser.runs()
        again = camera.export(sources, folder / "b.pdf")
        camera.close()
        return 0 if report(waited, again, runs, len(sources)) else 1


if __name__ == "__main__":
    sys.exit(main())
