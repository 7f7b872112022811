"""Waiting for what another process does."""

import time

from gi.repository import GLib

LIMIT_SECONDS = 60


def eventually(condition, what, seconds=LIMIT_SECONDS):
    """What `condition` returns as soon as that is something.

    Messages of the buses are taken meanwhile. `what` is what is missing otherwise: a text, or a function that tells.
    """
    deadline = time.monotonic() + seconds
    while True:
        while GLib.MainContext.default().iteration(False):
            pass
        if result := condition():
            return result
        if time.monotonic() > deadline:
            raise AssertionError(f"not within {seconds} seconds: {what() if callable(what) else what}")
        time.sleep(0.02)
