"""The end of a desktop session, as a session manager of the X kind has it."""

import unittest

from harness import application, sessionmanager
from harness.case import EndToEndTest


@unittest.skipUnless(sessionmanager.sm, "libSM is missing")
class Session(EndToEndTest):
    @classmethod
    def setUpClass(cls):
        cls.manager = sessionmanager.SessionManager()
        cls.addClassCleanup(cls.manager.close)

    def test_question_saves_and_only_the_end_closes(self):
        patience = 15 * application.patience()
        app = self.start_with_camera(environment={"SESSION_MANAGER": self.manager.address})
        self.assertTrue(self.manager.wait_for_client(patience), "the program has not registered")
        app.select(application.FILE_TYPES, application.TYPE_ORDER.index("pdf"))
        photograph = app.take_photograph()

        self.assertTrue(self.manager.ask(patience), "no answer to the question")
        self.assertIn("type=pdf", self.settings_of(app, "1b17*211.ini"))
        self.manager.call_off()
        # everything goes on
        app.wait_for("^display the image$", app.mark)
        app.take_photograph()
        self.assertTrue(photograph.exists())

        app.select(application.FILE_TYPES, application.TYPE_ORDER.index("ofd"))
        self.assertTrue(self.manager.ask(patience), "no answer to the second question")
        self.manager.end()
        self.assertEqual(0, app.wait_for_exit(), app.errors()[-3000:])
        self.assertIn("type=ofd", self.settings_of(app, "1b17*211.ini"))
        self.assertFalse(photograph.exists(), "what was not exported goes with the window")


if __name__ == "__main__":
    unittest.main()
