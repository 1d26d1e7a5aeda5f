"""The link checks: 15 s after a connect, 3 s after a disconnect and on SIGUSR1."""


from panel.facts import APN, DONGLE_STATUS, FAILED, GREEN, LINK_STATUS, RED
from privateroot.files import DONGLE
from privateroot.operating import check_link, connect, leave, wait_link
from privateroot.process import PrivateRoot
from programtest import ProgramTest

# Seconds. pppd logs its call from the background, a little after the shell that started it has
# ended. A busy machine may be late; it must never be early.
CONNECT_CHECK = 15.0
DISCONNECT_CHECK = 3.0
LATE = 1.0


class AfterConnect(ProgramTest):
    def dialling(self) -> PrivateRoot:
        root = self.started()
        connect(root)
        return root

    def test_fifteen_seconds(self) -> None:
        """Four attempts that go different ways, at the same time."""
        fails, comes_up, early, leaves = (self.dialling() for _ in range(4))
        dialled = {root: root.calls("pppd")[0].time for root in (fails, comes_up, early, leaves)}
        comes_up.set_link(True)
        check_link(early, True)  # before the 15 s are over
        self.assertEqual(early.wait_calls("route", 1).arguments, "add default ppp0")
        self.assertEqual(early.panel.screen().busy_bars(), [])
        with self.subTest("Exit with the check pending"):
            leave(leaves)
        with self.subTest("the link is up by then"):
            check = comes_up.wait_calls("ifconfig", 2, 17)
            self.assert_lasted(check.time - dialled[comes_up], CONNECT_CHECK, LATE)
            comes_up.wait_calls("route", 1)
            wait_link(comes_up, True)
            screen = comes_up.panel.screen()
            self.assertFalse(screen.has_dialog())
            self.assertEqual(screen.busy_bars(), [])
            self.check_disconnect(comes_up)
        with self.subTest("an earlier check does not replace it"):
            check = early.wait_calls("ifconfig", 3, 3)
            self.assert_lasted(check.time - dialled[early], CONNECT_CHECK, LATE)
            early.wait_calls("route", 2)
            self.assertFalse(early.panel.screen().has_dialog())
            leave(early)
        with self.subTest("no link"):
            check = fails.wait_calls("ifconfig", 2, 1)
            self.assert_lasted(check.time - dialled[fails], CONNECT_CHECK, LATE)
            self.check_failed(fails)

    def check_failed(self, root: PrivateRoot) -> None:
        """A notice appears; afterwards all is as before, except for the dongle's dialog."""
        dialog = root.panel.wait(lambda screen: screen.dialog(), 2, "the notice")
        self.assertEqual((dialog["text"], dialog["buttons"], dialog["rect"]),
                         (FAILED, ["OK"], [0, 0, 800, 480]))
        self.assertEqual(root.panel.screen().cut_off(), [])
        # The panel beneath takes no touch: with it, the program would end.
        root.panel.press("Exit")
        check_link(root, False)
        root.panel.press("OK")
        root.wait(lambda screen: not screen.has_dialog(), 2, "the notice closed")
        self.assertEqual(root.panel.screen().busy_bars(), [])
        self.assertEqual(root.calls("route"), [])
        # No dialog for a missing dongle once there has been one: the wait is all there is.
        root.set_usb("")
        root.remove_node("ttyUSB0")
        polls = len(root.calls("ls"))
        root.panel.press("Connect")
        root.wait_calls("ls", polls + 2)
        screen = root.panel.screen()
        self.assertFalse(screen.has_dialog())
        self.assertEqual(len(screen.busy_bars()), 1)
        leave(root)

    def check_disconnect(self, root: PrivateRoot) -> None:
        """A pppd that takes its time, then one that ends."""
        for up in (True, False):
            checks, stops = len(root.calls("ifconfig")), len(root.calls("killall"))
            root.panel.press("Disconnect")
            stop = root.wait_calls("killall", stops + 1)
            self.assertEqual(stop.arguments, "pppd")
            screen = root.panel.screen()
            self.assertEqual([screen.button(name)["enabled"] for name in ("Connect", "Disconnect")],
                             [False, False])
            self.assertEqual(screen.value(LINK_STATUS)["text"], "connected")
            self.assertFalse(screen.field(APN)["enabled"])
            self.assertEqual(screen.busy_bars(), [])
            root.set_link(up)
            check = root.wait_calls("ifconfig", checks + 1)
            self.assert_lasted(check.time - stop.time, DISCONNECT_CHECK, LATE)
            wait_link(root, up)
        leave(root)

    def test_notices_pile_up_and_are_released(self) -> None:
        """Two failed attempts, the second notice over the first; then Exit."""
        root = self.dialling()
        check_link(root, False)
        connect(root)
        for left in (2, 1, 0):
            root.wait(lambda screen: sum(window["class"] == "DetectMsg" and window["visible"]
                                         for window in screen.windows) == left, 20, f"{left} left")
            if left:
                root.panel.press("OK")
        leave(root)


class OnSignal(ProgramTest):
    def test_each_check_shows_what_is(self) -> None:
        steps = (
            # bus, node, link, dongle text, dongle colour
            (DONGLE, True, True, "detected", GREEN),
            ("", True, True, "undetected", RED),
            (DONGLE, False, False, "undetected", RED),
            (DONGLE, True, False, "detected", GREEN),
            (DONGLE, False, True, "detected", GREEN),
            ("init -1\n", False, False, "detected", GREEN),
            ("", False, False, "undetected", RED),
        )
        root = self.started()
        node = root.host("/dev/ttyUSB0")
        for number, (bus, has_node, link, text, colour) in enumerate(steps):
            with self.subTest(step=number):
                root.set_usb(bus)
                if node.exists() != has_node:
                    root.add_node("ttyUSB0") if has_node else root.remove_node("ttyUSB0")
                check_link(root, link)
                root.wait_calls("ifconfig", number + 2)
                root.wait(lambda screen: (screen.value(DONGLE_STATUS)["text"],
                                          screen.value(DONGLE_STATUS)["style"])
                          == (text, colour), 2, f"{text} in {colour}")
        self.assertEqual(len(root.calls("route")), sum(step[2] for step in steps))
        self.assertEqual(len(root.calls("ifconfig")), 1 + len(steps), "a check for each signal")
        leave(root)

    def test_any_ppp_interface_counts(self) -> None:
        lists = {"ppp1: flags=4305<UP>\n": True, "eth0: flags=4163<UP>\n": False,
                 "": False, "eth0 ether aa\n  wppp9 x\n": True}
        root = self.started()
        for text, up in lists.items():
            with self.subTest(text):
                root.answer("ifconfig", f"echo '{text}'")
                check_link(root, up)
        self.assertEqual({call.arguments for call in root.calls("route")}, {"add default ppp0"})
        leave(root)
