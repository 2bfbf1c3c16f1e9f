"""The application for those who hear it: the tree that screen readers walk, and its actions."""

import unittest

from harness import accessible, application
from harness.case import EndToEndTest

CAPTIONS = {"设备列表", "分辨率", "文件颜色", "文件模式", "裁切方式", "旋转方式"}


def setUpModule():
    lacking = accessible.missing()
    if lacking:
        raise unittest.SkipTest("not installed: " + ", ".join(lacking))


class Accessibility(EndToEndTest):
    def setUp(self):
        super().setUp()
        bus = accessible.Bus(self.screen, self.folder)
        self.addCleanup(bus.close)
        self.app = self.start_with_camera(environment=bus.environment)
        self.program = bus.program(application.NAME)

    def test_tree_of_the_window(self):
        nodes = [(role, node.name, node) for role, node in self.program.walk()]
        names = {}
        for role, name, _ in nodes:
            names.setdefault(role, set()).add(name)
        self.assertEqual([application.TITLE], [node.name for node in self.program.children()])
        self.assertEqual(CAPTIONS,
                         {node.label() for role, _, node in nodes if role == "combo box"})
        self.assertEqual({"拍照", "导出", "设置"}, names["push button"])
        self.assertEqual({"多页"}, names["check box"])
        self.assertEqual({"照片列表"}, names["list"])
        [(role, preview)] = [(role, node) for role, name, node in nodes if name == "实时画面"]
        self.assertIn("实时画面", preview.description)
        self.assertNotIn(role, ("frame", "panel", "filler"))

    def test_photograph_export_and_settings_by_actions(self):
        nodes = self.program.index()
        strip = nodes["list", "照片列表"]
        nodes["push button", "拍照"].press()
        self.app.wait_until(lambda: ("list item", "0001") in strip.index(), "a thumbnail")
        nodes["push button", "导出"].press()
        self.app.wait_until((self.app.home / "0001.jpg").exists, "the exported file")
        nodes["push button", "设置"].press()
        dialogs = self.app.wait_until(lambda: self.program.children()[1:], "the dialog")
        nodes = dialogs[0].index()
        self.assertIn(("dialog", "设置"), nodes)
        nodes["push button", "取消"].press()
        self.app.wait_for(r"^\[onslot_setbtn_setwidget\] user clicked cancel button$")
        self.close(self.app)


if __name__ == "__main__":
    unittest.main()
