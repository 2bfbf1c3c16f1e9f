"""A camera that is unplugged while it scans, and while it does not: clients are told at once."""

import threading
import time
import unittest
import xml.etree.ElementTree as ElementTree

from scanner import Desk, Server

PWG = "{http://www.pwg.org/schemas/2010/12/sm}"
AT_ONCE = 4  # seconds, for a busy machine; the time-out of a scan is ten


def status_of(server):
    """The scanner's state, and those of its jobs."""
    root = ElementTree.fromstring(server.ask("GET", "/eSCL/ScannerStatus")[2])
    return root.find(PWG + "State").text, [state.text for state in root.iter(PWG + "JobState")]


class Request(threading.Thread):
    """Takes the job's pages, and notes the answer that was none and when it came.

    The coin that rolls over the desk may, rarely, be taken for a page that is turned.
    """

    def __init__(self, server, job):
        super().__init__()
        self.server, self.path = server, job + "/NextDocument"
        self.status = self.body = self.at = None  # of the answer
        self.start()

    def run(self):
        self.status = 200
        while self.status == 200:
            self.status, _, self.body = self.server.ask("GET", self.path)
        self.at = time.monotonic()


class Unplugged(unittest.TestCase):
    def wait_for(self, state, server):
        deadline = time.monotonic() + AT_ONCE
        while status_of(server)[0] != state:
            self.assertLess(time.monotonic(), deadline, state)
            time.sleep(0.05)

    def unplug_while_it_waits(self, desk, server, job):
        """Unplugs the camera under a request for a page, which then ends at once."""
        request = Request(server, job)
        time.sleep(2)
        self.assertIsNone(request.at, f"no wait for a page: {request.status} {request.body!r:.80}")
        begun = time.monotonic()
        desk.plug(False)
        request.join(60)
        self.assertEqual(request.status, 500)
        self.assertIn(b"unplugged", request.body)
        self.assertLess(request.at - begun, AT_ONCE)
        self.assertEqual(status_of(server), ("Stopped", ["Aborted"]))
        self.assertIn("no scan: the camera was unplugged", server.messages())

    def test_a_scan_from_the_feeder_ends_at_once_after_the_pages_it_has(self):
        with Desk() as desk, Server("--hands-free", "--still", "600", desk=desk.folder) as server:
            job = server.create(source="Feeder", dpi=75)
            self.assertEqual(server.ask("GET", job + "/NextDocument")[0], 200)
            self.unplug_while_it_waits(desk, server, job)
            self.assertEqual(server.ask("GET", job + "/NextDocument")[0], 500)
            desk.plug(True)
            self.wait_for("Idle", server)
            self.assertTrue(server.scan(dpi=75))

    def test_a_page_that_is_there_can_still_be_fetched(self):
        with Desk() as desk, Server("--hands-free", "--still", "600", desk=desk.folder) as server:
            job = server.create(source="Feeder", dpi=75)
            while server.ask("GET", job + "/ScanImageInfo")[0] != 200:
                time.sleep(0.1)
            desk.plug(False)
            while "no scan" not in server.messages():
                time.sleep(0.1)
            self.assertEqual(server.ask("GET", job + "/NextDocument")[0], 200)
            request = Request(server, job)
            request.join(60)
            self.assertEqual(request.status, 500)

    def test_the_status_follows_without_a_job(self):
        with Desk() as desk, Server(desk=desk.folder) as server:
            self.assertEqual(status_of(server), ("Idle", []))
            desk.plug(False)
            self.wait_for("Stopped", server)
            desk.plug(True)
            self.wait_for("Idle", server)
            self.assertTrue(server.scan(dpi=75))


if __name__ == "__main__":
    unittest.main()
