"""The start beside the machine's own process list: no other test may run an application meanwhile."""

import os
import subprocess
import unittest

from harness import application
from harness.case import EndToEndTest


def foreign_copies():
    """Lines of the process list that the application would count against itself."""
    listing = subprocess.run(["ps", "-aux"], capture_output=True, text=True).stdout
    return [line for line in listing.splitlines()
            if application.NAME in line and "grep" not in line and "ps" not in line]


class ProcessList(EndToEndTest):
    def test_starts_beside_the_real_process_list(self):
        if os.path.realpath(os.environ["KORV_E2E_STAGE"]).startswith("/opt/vexalin"):
            self.skipTest("an installed application may be running")
        foreign = foreign_copies()
        if foreign:
            self.skipTest("a process with the application's name is there: " + foreign[0])
        app = self.start(real_ps=True)
        _, rect = app.window()
        self.assertEqual((897, 658), (rect.width, rect.height))


if __name__ == "__main__":
    unittest.main()
