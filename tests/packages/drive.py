#!/usr/bin/env python3
"""Starts the installed application in a fresh Debian as its desktop entry says, and uses it: two
photographs from the simulated desk, one pdf, the end.

Usage: drive.py ROOT EVIDENCE
ROOT is the folder of that Debian, with a user "tester"; EVIDENCE gets a screenshot and the trace.
"""

import configparser
import os
import pathlib
import shlex
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "e2e"))
from harness import application, files, screen  # noqa: E402

ENTRY = "usr/share/applications/vexalin-plixo-base.desktop"
# exec all the way: the program's guard counts every process that has its name in the command line,
# and there is nobody between it and the desktop
ENTER = """
read -ra words <<<"$KORV_EXEC"
root=$1
mount -t proc proc "$root/proc"
exec env -i PATH=/usr/bin:/bin HOME=/home/tester XDG_RUNTIME_DIR=/home/tester/runtime \\
    LANG=zh_CN.UTF-8 DISPLAY="$DISPLAY" KORV_CAMERA_DESK=builtin \\
    /usr/sbin/chroot --userspec=tester:tester "$root" "${words[@]}"
"""


class AnyScreen(screen.Screen):
    """The process number that the window states is that of another name space."""

    def xdotool(self, *arguments):
        if arguments[0] == "search":
            arguments = ("search", "--onlyvisible", ".*")
        return super().xdotool(*arguments)


class InstalledApplication(application.Application):
    def __init__(self, display, folder, root):
        self.root = root
        super().__init__(display, folder)

    def _start(self, environment, errors):
        # the texts of a desktop entry hold percent signs
        entry = configparser.ConfigParser(interpolation=None)
        entry.optionxform = str
        entry.read(self.root / ENTRY, encoding="utf-8")
        words = shlex.split(entry["Desktop Entry"]["Exec"])
        return subprocess.Popen(
            ["unshare", "--mount", "--pid", "--fork", "--kill-child", "--",
             "bash", "-c", ENTER, "enter", self.root],
            env={"PATH": os.environ["PATH"], "DISPLAY": self.screen.display,
                 "KORV_EXEC": " ".join(words)},
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=errors)


def use(app, display, evidence):
    app.wait_for_live_picture()
    app.select(application.FILE_TYPES, application.TYPE_ORDER.index("pdf"))
    app.click(application.MULTI_PAGE)
    for _ in range(2):
        mark = app.mark
        app.click(application.PHOTO_BUTTON)
        name = app.wait_for(r"^\[onslot_setbtn_takephoto\]\[436\] file:(.*)$", mark)[1]
        working_file = app.root / name.lstrip("/")
        app.wait_until(working_file.exists, f"working file {name}")
        app.wait_for("^display the image$", app.mark)
    display.screenshot().save_png(evidence / "installed.png")
    mark = app.mark
    app.click(application.SAVE_BUTTON)
    app.wait_for(r"\[38[5]\] \(|\[369\] \(", mark)
    return app.close()


def check(home, status, work):
    """What the user has of it, read by programs that are not ours."""
    assert status == 0, f"the program ended with {status}"
    pages = files.pdf_pages(home / "0001.pdf", work)
    assert len(pages) == 2, f"{len(pages)} pages"
    for page in pages:
        assert len(page.colours()) > 50, "an empty page"
    settings = list((home / ".config/vexalin/plixo-base/backup").glob("*.ini"))
    assert settings and settings[0].stat().st_size > 0, "no settings were written"
    leftovers = list(home.glob(".vexalinplixo-preview-*"))
    assert not leftovers, leftovers


def main(arguments):
    if len(arguments) != 2:
        sys.exit(__doc__)
    root, evidence = (pathlib.Path(path).resolve() for path in arguments)
    evidence.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory(prefix="korv-installed-") as work:
        # as Xorg says; at Xvfb's own 100 the window would be larger, and so its places others
        display = AnyScreen(pathlib.Path(work) / "display", dpi=96)
        app = InstalledApplication(display, work, root)
        try:
            status = use(app, display, evidence)
        finally:
            app.kill()
            display.screenshot().save_png(evidence / "last.png")
            display.close()
            (evidence / "trace.log").write_text("\n".join(app.lines()) + "\n" + app.errors())
        check(root / "home/tester", status, work)


if __name__ == "__main__":
    main(sys.argv[1:])
