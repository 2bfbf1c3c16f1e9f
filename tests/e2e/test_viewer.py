"""The desktop's viewer: what it is started with."""

import pathlib
import shlex
import unittest

from harness.case import EndToEndTest
from harness.screen import Rect

ENTRY = pathlib.Path(__file__).parents[2] / "packaging" / "vexalin-plixo-base.desktop"
FIRST = Rect(20, 530, 40, 40)  # inside the first thumbnail
SHELLS_OWN = {"_", "OLDPWD", "PWD", "SHLVL"}


def assignments_of_the_entry():
    """What the entry of the applications menu sets for the program."""
    [command] = [line.split("=", 1)[1] for line in ENTRY.read_text(encoding="utf-8").splitlines()
                 if line.startswith("Exec=")]
    words = shlex.split(command)
    return dict(word.split("=", 1) for word in words[1:-1]) if words[0] == "env" else {}


class Viewer(EndToEndTest):
    def environment_of_the_viewer(self, environment):
        app = self.start_with_camera(environment=environment)
        app.take_photograph()
        app.click(FIRST, repeat=2)
        app.wait_until(app.opened.exists, "the viewer")
        lines = pathlib.Path(f"{app.opened}.environment").read_text().splitlines()
        return app, dict(line.split("=", 1) for line in lines)

    def assert_same(self, expected, seen):
        self.assertEqual({key: expected[key] for key in expected.keys() - SHELLS_OWN},
                         {key: seen[key] for key in seen.keys() - SHELLS_OWN})

    def test_it_gets_the_environment_of_the_start(self):
        app, seen = self.environment_of_the_viewer({"LC_ALL": "POSIX"})
        self.assert_same(app.environment, seen)

    def test_it_gets_nothing_from_the_entry_of_the_applications_menu(self):
        own = assignments_of_the_entry()
        self.assertNotEqual({}, own)
        app, seen = self.environment_of_the_viewer(own)
        self.assert_same({key: value for key, value in app.environment.items() if key not in own},
                         seen)


if __name__ == "__main__":
    unittest.main()
