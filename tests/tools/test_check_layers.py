"""The layer check must find what it is there to find."""

import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "tools"))
import check_layers  # noqa: E402


class CheckLayers(unittest.TestCase):
    def offences(self, path, include):
        with tempfile.TemporaryDirectory() as folder:
            source = pathlib.Path(folder) / path
            source.parent.mkdir(parents=True)
            source.write_text(f"#include {include}\n", encoding="utf-8")
            return check_layers.check(pathlib.Path(folder))

    def test_wrong_directions_are_refused(self):
        for path, include in [
                ("app/a.cpp", '"library/api/manager.h"'),
                ("app/a.cpp", '"library/include/korv_camera.h"'),
                ("util/a.cpp", '"camera/cameralist.h"'),
                ("util/a.cpp", "<QString>"),
                ("library/base/a.cpp", '"library/imaging/image.h"'),
                ("library/imaging/a.cpp", '"library/device/device_monitor.h"'),
                ("library/device/a.cpp", '"library/output/convert.h"'),
                ("library/api/a.cpp", "<QtCore/QString>"),
                ("camera/a.cpp", '"library/base/result.h"'),
                ("cli/a.cpp", '"settings/backupsetting.h"'),
                ("cli/a.cpp", '"ui_mainwindow.h"'),
                ("app/a.cpp", '"mainwindow.h"')]:
            with self.subTest(path=path, include=include):
                self.assertEqual(1, len(self.offences(path, include)))

    def test_right_directions_pass(self):
        for path, include in [
                ("app/a.cpp", '"settings/backupsetting.h"'),
                ("app/a.cpp", "<QWidget>"),
                ("app/a.cpp", '"ui_mainwindow.h"'),
                ("camera/a.cpp", '"library/include/korv_camera.h"'),
                ("camera/a.cpp", "<QString>"),
                ("cli/a.cpp", '"installpaths.h"'),
                ("library/api/a.cpp", '"library/output/convert.h"'),
                ("library/device/a.cpp", '"library/imaging/image.h"'),
                ("library/base/a.cpp", "<vector>")]:
            with self.subTest(path=path, include=include):
                self.assertEqual([], self.offences(path, include))

    def test_a_type_name_stands_once_in_the_library(self):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            for path, text in [("library/a/one.h", "class Page : public Sheet\n{\n};\nstruct Other;\n"),
                               ("library/b/two.h", "class Page;\nstruct Other\n{\n};\n")]:
                (root / path).parent.mkdir(parents=True)
                (root / path).write_text(text, encoding="utf-8")
            self.assertEqual([], check_layers.check_names(root))
            (root / "library/b/two.h").write_text("struct Page\n{\n};\n", encoding="utf-8")
            self.assertEqual(1, len(check_layers.check_names(root)))


if __name__ == "__main__":
    unittest.main()
