"""The folder of cameras that the camera library watches."""

import pathlib
import shutil

from . import files


class Desk:
    """Cameras are sub-folders with pages; making one plugs it in, removing it unplugs it."""

    def __init__(self, folder, pool):
        self.folder = pathlib.Path(folder)
        self.folder.mkdir(parents=True)
        self._pool = pathlib.Path(pool)

    def prepare(self, identity, pictures):
        """Makes a camera's folder outside the desk, complete, so that it arrives in one step."""
        waiting = self._pool / identity
        waiting.mkdir(parents=True)
        for number, picture in enumerate(pictures, 1):
            files.write_jpeg(waiting / f"page{number}.jpg", picture)
        return waiting

    def plug(self, identity, pictures):
        self.prepare(identity, pictures).rename(self.folder / identity)

    def unplug(self, identity):
        (self.folder / identity).rename(self._pool / identity)
        shutil.rmtree(self._pool / identity)
