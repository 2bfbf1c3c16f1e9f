"""korvcam serve as a process, and what a client of it needs."""

import http.client
import os
import subprocess
import tempfile

SETTINGS = """<?xml version="1.0" encoding="UTF-8"?>
<scan:ScanSettings xmlns:scan="http://schemas.hp.com/imaging/escl/2011/05/03"
                   xmlns:pwg="http://www.pwg.org/schemas/2010/12/sm">
  <pwg:Version>2.6</pwg:Version>
  <pwg:ScanRegions><pwg:ScanRegion>
    <pwg:ContentRegionUnits>escl:ThreeHundredthsOfInches</pwg:ContentRegionUnits>
    <pwg:XOffset>0</pwg:XOffset><pwg:YOffset>0</pwg:YOffset>
    <pwg:Width>{width}</pwg:Width><pwg:Height>{height}</pwg:Height>
  </pwg:ScanRegion></pwg:ScanRegions>
  <pwg:InputSource>{source}</pwg:InputSource>
  <scan:DocumentFormatExt>{format}</scan:DocumentFormatExt>
  <scan:ColorMode>{color}</scan:ColorMode>
  <scan:XResolution>{dpi}</scan:XResolution><scan:YResolution>{dpi}</scan:YResolution>
</scan:ScanSettings>
"""
# How many times as long as usual programs need here: ctest sets it for emulators.
SLOWNESS = int(os.environ.get("KORV_TEST_SLOWNESS", "1"))
A4 = {"width": 2480, "height": 3508}


def settings(**changes):
    values = {**A4, "format": "image/jpeg", "color": "RGB24", "dpi": 150, "source": "Platen"}
    return SETTINGS.format(**{**values, **changes})


def pass_on(listening, command):
    """The command with a socket passed to it as systemd does, see sd_listen_fds(3)."""
    script = 'LISTEN_PID=$$ LISTEN_FDS=1 exec "$@" 3<&"$0"'
    return ["bash", "-c", script, str(listening.fileno()), *command]


class Desk:
    """A simulated desk with one camera that can be unplugged; it shows one sheet."""

    CAMERA = "1b17:0211 My Camera"

    def __init__(self):
        self._desk = tempfile.TemporaryDirectory()
        self.folder = self._desk.name
        os.mkdir(self._camera(False))
        page = os.path.join(self._camera(False), "page.jpg")
        subprocess.run([os.environ["KORVCAM"], "--library", os.environ["CAMERA_LIBRARY"],
                        "--desk", "builtin", "snap", "--no-settle", "--timeout", "60",
                        "-o", page],
                       stdout=subprocess.DEVNULL, check=True)
        self.plug(True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._desk.cleanup()

    def _camera(self, is_present):
        return os.path.join(self.folder, ("" if is_present else ".") + self.CAMERA)

    def plug(self, is_present):
        os.rename(self._camera(not is_present), self._camera(is_present))


class Server:
    """The program on a free port; ends with the block."""

    def __init__(self, *arguments, desk="builtin", listen="127.0.0.1:0", inherited=None):
        self._folder = tempfile.TemporaryDirectory()
        self.errors = open(os.path.join(self._folder.name, "errors"), "w+", encoding="utf-8")
        environment = {**os.environ, "KORV_CAMERA_REAL": "0", "TMPDIR": self._folder.name}
        command = [os.environ["KORVCAM"], "--library", os.environ["CAMERA_LIBRARY"], "--desk", desk,
                   "serve", "--no-announce", "--listen", listen,
                   "--timeout", str(10 * SLOWNESS), *arguments]
        if inherited:
            command = pass_on(inherited, command)
        self.process = subprocess.Popen(command, env=environment, stdout=subprocess.PIPE,
                                        stderr=self.errors, text=True,
                                        pass_fds=[inherited.fileno()] if inherited else [])
        self.url = self.process.stdout.readline().strip()
        if not self.url:
            self.process.wait(10)
            messages = self.messages()
            self.close()
            raise RuntimeError(messages)
        self.port = int(self.url.rsplit(":", 1)[1].split("/")[0])

    def messages(self):
        self.errors.seek(0)
        return self.errors.read()

    def leftovers(self):
        """Files below the program's temporary folder that it has not deleted."""
        return [name for name in os.listdir(self._folder.name) if name != "errors"]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()
        self.close()

    def close(self):
        self.process.stdout.close()
        self.errors.close()
        self._folder.cleanup()

    def stop(self):
        """Ends the program as systemd does; its status."""
        if self.process.poll() is None:
            self.process.terminate()
        return self.process.wait(60)

    def ask(self, method, path, body=None, headers=None, timeout=60 * SLOWNESS):
        """The answer: status, headers, body."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=timeout)
        try:
            connection.request(method, path, body, headers or {})
            answer = connection.getresponse()
            return answer.status, dict(answer.getheaders()), answer.read()
        finally:
            connection.close()

    def create(self, **changes):
        """The path of a new job."""
        status, headers, body = self.ask("POST", "/eSCL/ScanJobs", settings(**changes),
                                         {"Content-Type": "text/xml"})
        if status != 201:
            raise RuntimeError(f"{status}: {body!r}")
        return headers["Location"]

    def scan(self, **changes):
        """One page, as bytes."""
        job = self.create(**changes)
        status, _, body = self.ask("GET", job + "/NextDocument")
        if status != 200:
            raise RuntimeError(f"{status}: {body!r}")
        return body
