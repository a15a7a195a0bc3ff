"""What the program tells the accessibility services, as a screen reader asks it."""

from gi.repository import Gio, GLib

PREFIX = "org.a11y.atspi."
CALL_LIMIT = 10000  # milliseconds
LABELLED_BY = 2
STATES = {name: bit for bit, name in enumerate(
    "invalid active armed busy checked collapsed defunct editable enabled expandable expanded focusable focused "
    "has_tooltip horizontal iconified modal multi_line multiselectable opaque pressed resizable selectable selected "
    "sensitive showing single_line stale transient vertical visible".split())}


class Bus:
    """The accessibility bus of a session."""

    def __init__(self, session_address):
        session = self._connect(session_address)
        address = session.call_sync("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", None, None, 0,
                                    CALL_LIMIT, None).unpack()[0]
        self.session, self.wire = session, self._connect(address)

    @staticmethod
    def _connect(address):
        flags = (Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION)
        return Gio.DBusConnection.new_for_address_sync(address, flags, None, None)

    def program(self, pid):
        """The program of a process, once it is there."""
        root = Node(self, (PREFIX + "Registry", "/org/a11y/atspi/accessible/root"))
        for node in root.children():
            owner = self.wire.call_sync("org.freedesktop.DBus", "/", "org.freedesktop.DBus",
                                        "GetConnectionUnixProcessID", GLib.Variant("(s)", (node.where[0],)), None, 0,
                                        CALL_LIMIT, None).unpack()[0]
            if owner == pid:
                return node
        return None


class Node:
    """One object of the tree. It holds nothing but its address: every answer is the present one. An object that is
    gone answers as if it were invisible and nameless."""

    def __init__(self, bus, where):
        self.bus, self.where = bus, tuple(where)

    def __eq__(self, other):
        return isinstance(other, Node) and self.where == other.where

    def __hash__(self):
        return hash(self.where)

    def _call(self, interface, method, arguments=None, otherwise=None):
        try:
            return self.bus.wire.call_sync(self.where[0], self.where[1], interface, method, arguments, None, 0,
                                           CALL_LIMIT, None).unpack()[0]
        except GLib.Error:
            return otherwise

    def _property(self, name, interface="Accessible", otherwise=""):
        return self._call("org.freedesktop.DBus.Properties", "Get",
                          GLib.Variant("(ss)", (PREFIX + interface, name)), otherwise)

    def children(self):
        found = self._call(PREFIX + "Accessible", "GetChildren", None, [])
        return [Node(self.bus, where) for where in found if where[1] != "/org/a11y/atspi/null"]

    @property
    def name(self):
        return self._property("Name")

    @property
    def description(self):
        return self._property("Description")

    @property
    def role(self):
        return self._call(PREFIX + "Accessible", "GetRoleName", None, "gone")

    def label(self):
        """The name of what labels the object."""
        for relation, targets in self._call(PREFIX + "Accessible", "GetRelationSet", None, []):
            if relation == LABELLED_BY:
                return Node(self.bus, targets[0]).name
        return ""

    def value(self):
        """What a list that drops down shows."""
        texts = [child.text() for child in self.children() if child.role == "text"]
        return texts[0] if texts else self.name

    def states(self):
        low, high = self._call(PREFIX + "Accessible", "GetState", None, (0, 0))
        bits = low | high << 32
        return {name for name, bit in STATES.items() if bits >> bit & 1}

    def has(self, *states):
        return self.states().issuperset(states)

    def rectangle(self):
        """x, y, width, height on the screen."""
        return self._call(PREFIX + "Component", "GetExtents", GLib.Variant("(u)", (0,)), (0, 0, 0, 0))

    def centre(self):
        x, y, width, height = self.rectangle()
        return x + width // 2, y + height // 2

    def text(self):
        return self._call(PREFIX + "Text", "GetText", GLib.Variant("(ii)", (0, -1)), "")

    def walk(self, visible=True):
        """The object and all below it, parents first; those that are not shown are left out with all below them."""
        yield self
        for child in self.children():
            if not visible or child.has("showing"):
                yield from child.walk(visible)

    def dump(self):
        lines = []

        def line(node, depth):
            states = sorted(node.states() & {"focused", "checked", "selected", "enabled", "showing"})
            lines.append(f"{'  ' * depth}{node.role} {node.name!r} {node.text()!r} {node.rectangle()} {' '.join(states)}")
            for child in node.children():
                line(child, depth + 1)

        line(self, 0)
        return "\n".join(lines)
