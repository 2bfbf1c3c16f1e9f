"""Saved files of every format, read back by other programs."""

import unittest

from harness import application, files
from harness.case import BLUE, RED, EndToEndTest, is_near


class Export(EndToEndTest):
    def setUp(self):
        super().setUp()
        self.app = self.start_with_camera()
        match = self.app.wait_for(r"^data:\S+ size:\d+ w:(\d+) h:(\d+)$")
        self.size = int(match[1]), int(match[2])

    def choose(self, file_type, multi_page=False):
        self.app.select(application.FILE_TYPES, application.TYPE_ORDER.index(file_type))
        if multi_page:
            self.app.click(application.MULTI_PAGE)

    def export(self, photographs, outputs):
        self.working_files = [self.app.take_photograph() for _ in range(photographs)]
        paths = self.app.save(outputs)
        self.app.wait_until(lambda: not any(path.exists() for path in self.working_files),
                            "removal of the working files")
        return paths

    def assert_halves(self, picture):
        x, y = picture.width // 4, picture.height // 2
        self.assertTrue(is_near(picture.pixel(x, y), RED), picture.pixel(x, y))
        self.assertTrue(is_near(picture.pixel(3 * x, y), BLUE), picture.pixel(3 * x, y))

    def test_jpg_and_numbers_that_go_on(self):
        self.choose("jpg")
        paths = self.export(2, 2)
        self.assertEqual([self.app.home / "0001.jpg", self.app.home / "0002.jpg"], paths)
        for path in paths:
            picture = files.read_jpeg(path)
            self.assertEqual(self.size, (picture.width, picture.height))
            self.assert_halves(picture)
        self.assertEqual([self.app.home / "0003.jpg"], self.export(1, 1))
        self.assertTrue(self.working_files[0].name.endswith("-0001.jpg"))

    def test_bmp(self):
        self.choose("bmp")
        [path] = self.export(1, 1)
        self.assertEqual("0001.bmp", path.name)
        self.assertEqual(self.size, files.read_bmp_size(path)[:2])

    def test_png(self):
        # the smallest resolution: the reader of this test is slow
        self.app.select(application.RESOLUTIONS, 20)
        self.app.wait_for(r"^\[SetCameraResolution\]")
        mark = self.app.mark
        match = self.app.wait_for(r"^data:\S+ size:\d+ w:(\d+) h:(\d+)$", mark)
        self.app.wait_for("^display the image$", self.app.mark)
        self.choose("png")
        [path] = self.export(1, 1)
        self.assertEqual("0001.png", path.name)
        picture = files.read_png(path)
        self.assertEqual((int(match[1]), int(match[2])), (picture.width, picture.height))
        self.assert_halves(picture)

    def test_tiff(self):
        self.choose("tiff")
        [path] = self.export(1, 1)
        self.assertEqual("0001.tiff", path.name)
        self.assertEqual([self.size], files.tiff_pages(path))

    def test_pdf_of_single_pages(self):
        self.choose("pdf")
        paths = self.export(2, 2)
        self.assertEqual(["0001.pdf", "0002.pdf"], [path.name for path in paths])
        for path in paths:
            pages = files.pdf_pages(path, self.folder)
            self.assertEqual(1, len(pages))
            self.assert_halves(pages[0])

    def test_pdf_of_several_pages(self):
        self.choose("pdf", multi_page=True)
        [path] = self.export(3, 1)
        self.assertEqual("0001.pdf", path.name)
        pages = files.pdf_pages(path, self.folder)
        self.assertEqual(3, len(pages))
        for picture in pages:
            self.assert_halves(picture)
        self.assertEqual([(*self.size, "jpeg")] * 3, files.pdf_images(path))

    def test_ofd_of_single_pages(self):
        self.choose("ofd")
        paths = self.export(2, 2)
        self.assertEqual(["0001.ofd", "0002.ofd"], [path.name for path in paths])
        for path in paths:
            self.assertEqual(1, files.ofd_page_count(path))

    def test_ofd_of_several_pages(self):
        self.choose("ofd", multi_page=True)
        [path] = self.export(3, 1)
        self.assertEqual("0001.ofd", path.name)
        self.assertEqual(3, files.ofd_page_count(path))
        images = files.ofd_images(path)
        self.assertEqual(3, len(images))
        for data in images:
            picture = files.read_ppm(files.run("djpeg", "-pnm", input=data))
            self.assertEqual(self.size, (picture.width, picture.height))
            self.assert_halves(picture)


if __name__ == "__main__":
    unittest.main()
