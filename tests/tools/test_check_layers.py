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
                ("app/preview/a.cpp", '"app/window/mainwindow.h"'),
                ("util/a.cpp", '"camera/cameralist.h"'),
                ("util/a.cpp", "<QString>"),
                ("library/base/a.cpp", '"library/image/image.h"'),
                ("library/image/a.cpp", '"library/jpeg/jpeg.h"'),
                ("library/jpeg/a.cpp", '"library/crop/crop.h"'),
                ("library/photograph/a.cpp", '"library/crop/sheet_search.h"'),
                ("library/photograph/a.cpp", '"library/crop/edges/edge_map.h"'),
                ("library/documents/pdf/a.cpp", '"library/documents/ofd/zip_writer.h"'),
                ("library/export/a.cpp", '"library/photograph/photograph.h"'),
                ("library/device/a.cpp", '"library/device/v4l2/v4l2_device.h"'),
                ("library/device/simulated/a.cpp", '"library/device/v4l2/v4l2_device.h"'),
                ("library/device/v4l2/a.cpp", '"library/export/convert.h"'),
                ("library/api/a.cpp", "<QtCore/QString>"),
                ("library/threads/a.h", '"util/general.h"'),
                ("library/base/a.cpp", '"util/mutex.h"'),
                ("camera/a.cpp", '"library/base/result.h"'),
                ("cli/a.cpp", '"settings/backupsetting.h"'),
                ("cli/a.cpp", '"ui_mainwindow.h"'),
                ("library/device/part/a.cpp", '"library/base/result.h"'),
                ("library/export/a.cpp", '"library/image/part/a.h"'),
                ("library/api/a.cpp", '"library/device/part/a.h"'),
                ("app/a.cpp", '"mainwindow.h"')]:
            with self.subTest(path=path, include=include):
                self.assertEqual(1, len(self.offences(path, include)))

    def test_right_directions_pass(self):
        for path, include in [
                ("app/a.cpp", '"settings/backupsetting.h"'),
                ("app/window/a.cpp", '"app/preview/framebuffer.h"'),
                ("app/a.cpp", "<QWidget>"),
                ("app/a.cpp", '"ui_mainwindow.h"'),
                ("camera/a.cpp", '"library/include/korv_camera.h"'),
                ("camera/a.cpp", "<QString>"),
                ("cli/a.cpp", '"installpaths.h"'),
                ("library/api/a.cpp", '"library/export/convert.h"'),
                ("library/threads/a.h", '"util/mutex.h"'),
                ("library/api/a.cpp", '"library/device/v4l2/v4l2_device.h"'),
                ("library/photograph/a.cpp", '"library/crop/crop.h"'),
                ("library/device/v4l2/a.cpp", '"library/image/image.h"'),
                ("library/device/udev/a.cpp", '"library/device/v4l2/v4l2_calls.h"'),
                ("library/base/a.cpp", "<vector>")]:
            with self.subTest(path=path, include=include):
                self.assertEqual([], self.offences(path, include))

    def circles(self, files):
        with tempfile.TemporaryDirectory() as folder:
            for path, headers in files.items():
                source = pathlib.Path(folder) / path
                source.parent.mkdir(parents=True, exist_ok=True)
                source.write_text("".join(f'#include "{header}"\n' for header in headers),
                                  encoding="utf-8")
            return check_layers.check_circles(pathlib.Path(folder))

    def test_files_that_include_one_another_are_refused(self):
        # through a header and a source file of one name, as well
        found = self.circles({"library/base/a.h": ["library/base/b.h"],
                              "library/base/b.cpp": ["library/base/b.h", "library/base/c.h"],
                              "library/base/c.h": ["library/base/a.h"]})
        self.assertEqual(1, len(found))
        self.assertEqual({"library/base/a", "library/base/b", "library/base/c"},
                         set(found[0].split(" includes ")))

    def test_folders_that_include_one_another_are_refused(self):
        found = self.circles({"library/base/a.h": ["library/files/b.h"],
                              "library/files/c.h": ["library/base/d.h"]})
        self.assertEqual(1, len(found))
        self.assertEqual({"library/base", "library/files"}, set(found[0].split(" includes ")))

    def test_a_chain_is_no_circle(self):
        self.assertEqual([], self.circles({"library/base/a.cpp": ["library/base/a.h"],
                                           "library/base/b.h": ["library/base/a.h"],
                                           "library/files/c.h": ["library/base/a.h",
                                                                  "library/base/b.h"]}))

    def test_the_table_itself_has_no_circle(self):
        folders = {folder: [target for target in targets if not target.endswith(".h")]
                   for folder, targets in check_layers.MAY_INCLUDE.items()}
        self.assertIsNone(check_layers.circle_in(folders))
        self.assertIsNotNone(check_layers.circle_in({"a": ["b"], "b": ["a"]}))

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
