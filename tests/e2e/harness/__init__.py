"""Drives the installed application on a display of its own, as a user would."""
