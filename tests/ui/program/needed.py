"""What these tests need of a machine. One may lack it, but not the one that judges changes."""

import os
import pathlib
import shutil
import sys

SKIPPED = 77  # as the build knows it
ACCESSIBILITY_SERVICE = pathlib.Path("/usr/share/dbus-1/services/org.a11y.Bus.service")


def leave_because(reason):
    print(f"{'Failed' if os.environ.get('CI') == 'true' else 'Skipped'}: {reason}", file=sys.stderr)
    sys.exit(1 if os.environ.get("CI") == "true" else SKIPPED)


def look_for(*tools):
    """Ends the test where a desktop of its own, or one of these programs, is not to be had."""
    for tool in ["Xvfb", "openbox", "dbus-daemon", *tools]:
        if shutil.which(tool) is None:
            leave_because(f"there is no {tool}.")
    if not ACCESSIBILITY_SERVICE.exists():
        leave_because("there is no accessibility bus (at-spi2-core).")
    try:
        import gi  # noqa: F401
        import Xlib  # noqa: F401
    except ImportError as error:
        leave_because(f"Python's modules python3-gi and python3-xlib are needed: {error}.")
