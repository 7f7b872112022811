"""What a window manager, a keyboard, a mouse and a file manager do to the program's windows."""

import contextlib

from Xlib import X, XK, Xatom
from Xlib.error import BadWindow
from Xlib.ext import xtest
from Xlib.protocol import event

from waiting import eventually

XDND_VERSION = 5
FROM_A_PAGER = 2  # the source of a request that a window manager fulfils in any case


class XClient:
    def __init__(self, display):
        self._display = display
        self._root = display.screen().root

    def windows(self, process):
        """The windows with a title bar that this process has, oldest first."""
        found = []
        for id_ in self._values(self._root, "_NET_CLIENT_LIST"):
            window = self._display.create_resource_object("window", id_)
            if list(self._values(window, "_NET_WM_PID")) == [process]:
                found.append(window)
        return found

    def title(self, window):
        return bytes(self._values(window, "_NET_WM_NAME")).decode()

    def has_popup(self, process):
        """Whether this process shows a menu."""
        with contextlib.suppress(BadWindow):  # one that has just been closed
            for window in self._root.query_tree().children:
                if list(self._values(window, "_NET_WM_PID")) == [process]:
                    facts = window.get_attributes()
                    if facts.override_redirect and facts.map_state == X.IsViewable:
                        return True
        return False

    def activate(self, window):
        """Brings a window forward and waits until it has the keyboard."""
        self._ask_manager(window, "_NET_ACTIVE_WINDOW", [FROM_A_PAGER, X.CurrentTime, 0])
        eventually(lambda: self._has_keyboard(window), "a window that comes forward")

    def close(self, window):
        """What the button of the title bar does."""
        self._ask_manager(window, "_NET_CLOSE_WINDOW", [X.CurrentTime, FROM_A_PAGER])

    def press(self, key):
        """Types a key, named as in X11/keysymdef.h without its prefix."""
        code = self._display.keysym_to_keycode(XK.string_to_keysym(key))
        xtest.fake_input(self._display, X.KeyPress, code)
        xtest.fake_input(self._display, X.KeyRelease, code)
        self._display.sync()

    def click(self, box):
        """Clicks into the middle of this part of the screen."""
        xtest.fake_input(self._display, X.MotionNotify, x=box.x + box.width // 2, y=box.y + box.height // 2)
        xtest.fake_input(self._display, X.ButtonPress, 1)
        xtest.fake_input(self._display, X.ButtonRelease, 1)
        self._display.sync()

    def color(self, x, y):
        """The colour that this point of the screen has, as red, green and blue."""
        pixel = self._root.get_image(x, y, 1, 1, X.ZPixmap, 0xFFFFFFFF).data
        return tuple(pixel[2::-1])

    def drop(self, window, box, addresses):
        """Drags these addresses into the middle of a part of the screen, which `window` shows, and drops them."""
        with contextlib.closing(_Drag(self._display, window, addresses)) as drag:
            drag.enter()
            drag.move(box.x + box.width // 2, box.y + box.height // 2)
            drag.drop()

    def _has_keyboard(self, window):
        focus = self._display.get_input_focus().focus
        return getattr(focus, "id", None) == window.id

    def _ask_manager(self, window, request, values):
        message = event.ClientMessage(window=window, client_type=self._display.intern_atom(request),
                                      data=(32, values + [0] * (5 - len(values))))
        self._root.send_event(message, event_mask=X.SubstructureRedirectMask | X.SubstructureNotifyMask)
        self._display.sync()

    def _values(self, window, name):
        try:
            found = window.get_full_property(self._display.intern_atom(name), X.AnyPropertyType)
        except BadWindow:  # it has just been closed
            return []
        return found.value if found is not None else []


class _Drag:
    """A file manager's side of one drag: the XDND protocol, version 5, and the selection that it hands over."""

    def __init__(self, display, target, addresses):
        self._display, self._target = display, target
        self._content = "".join(f"{address}\r\n" for address in addresses).encode()  # RFC 2483, section 5
        self._window = display.screen().root.create_window(0, 0, 1, 1, 0, X.CopyFromParent,
                                                           event_mask=X.PropertyChangeMask)
        self._time = self._server_time()
        self._window.set_selection_owner(self._atom("XdndSelection"), self._time)

    def close(self):
        self._window.destroy()
        self._display.sync()

    def enter(self):
        self._send("XdndEnter", XDND_VERSION << 24, self._atom("text/uri-list"), 0, 0)

    def move(self, x, y):
        self._send("XdndPosition", 0, x << 16 | y, self._time, self._atom("XdndActionCopy"))
        if not self._answer("XdndStatus")[1] & 1:
            raise AssertionError("the window does not accept what is dragged over it")

    def drop(self):
        self._send("XdndDrop", 0, self._time, 0, 0)
        if not self._answer("XdndFinished")[1] & 1:
            raise AssertionError("the window did not take what was dropped")

    def _atom(self, name):
        return self._display.intern_atom(name)

    def _send(self, message, *values):
        self._target.send_event(event.ClientMessage(window=self._target, client_type=self._atom(message),
                                                    data=(32, [self._window.id, *values])))
        self._display.sync()

    def _server_time(self):
        """The display's clock, which stamps every change of a property."""
        self._window.change_property(self._atom("OVREL_TEST_TIME"), Xatom.INTEGER, 32, [0])
        return eventually(lambda: self._next(X.PropertyNotify), "the display's clock").time

    def _answer(self, name):
        """Waits for a message of the window, and hands over the selection meanwhile."""
        def received():
            message = self._next(X.ClientMessage)
            return message if message is not None and message.client_type == self._atom(name) else None

        return list(eventually(received, name).data[1])

    def _next(self, kind):
        while self._display.pending_events():
            arrived = self._display.next_event()
            if arrived.type == X.SelectionRequest:
                self._hand_over(arrived)
            elif arrived.type == kind:
                return arrived
        return None

    def _hand_over(self, request):
        wanted, place = request.target, request.property
        if wanted == self._atom("text/uri-list"):
            request.requestor.change_property(place, wanted, 8, self._content)
        elif wanted == self._atom("TARGETS"):
            request.requestor.change_property(place, Xatom.ATOM, 32, [wanted, self._atom("text/uri-list")])
        else:
            place = X.NONE
        request.requestor.send_event(event.SelectionNotify(
            time=request.time, requestor=request.requestor, selection=request.selection, target=wanted,
            property=place))
        self._display.sync()
