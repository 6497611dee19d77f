"""Scenario tests of the real programs, each in a home of its own."""

import contextlib
import datetime
import os
import plistlib
import random
import stat
import struct
import threading
import time
import unittest
from socket import SO_LINGER, SOL_SOCKET

from programs import PATIENCE, Client, ScriptedService, World, logged_events

CHANGE, DONE = "itemsDidChangeInAgent:", "agentDidFinishValidateItem:"


def http(body, status="200 OK", length=None):
    return f"HTTP/1.1 {status}\r\nContent-Length: {length or len(body)}\r\n\r\n".encode() + body


class EndToEnd(World, unittest.TestCase):
    def setUp(self):
        self.open_world()
        self.addCleanup(self.close_world)

    def test_finds_asks_tells_and_remembers(self):
        self.make_app("Plain.app", "plain", "1.9")
        self.make_app("Plain.app/Contents/Inner.app", "inner", "1")
        self.make_app("Deep/er/Binary.APP", "binary", "1.10",
                      lambda info: plistlib.dumps(info, fmt=plistlib.FMT_BINARY))
        self.make_app("Wide.app", "org.wide", "3.0", lambda info: plistlib.dumps(
            info).decode().replace("UTF-8", "UTF-16").encode("utf-16"), CFBundleName="Wíde")
        self.make_app("../elsewhere/Linked.app", "linked", "1")
        self.make_app("../tmp/Passing.app", "passing", "1")
        for target in ("elsewhere", "tmp", "apps"):
            os.symlink("../" + target, self.path("apps/to " + target))
        foreign = {"kept": [1, 2.5, True, b"bytes", datetime.datetime(2001, 2, 3)]}
        self.write(self.defaults, plistlib.dumps(
            {"Foreign": foreign, "KQRWAgent": {"showRevwardenNotifications": True}}))
        service = self.start_service([{"bundle_id": i, "version": version} for i, version in (
            ("plain", "1.10"), ("binary", "1.9"), ("org.wide", "3.1"), ("linked", "1"))])
        agent, client = self.start_agent(service)
        self.assertEqual({"Plain": ("1.9", "1.10", "1.10"), "Binary": ("1.10", "1.9", None),
                          "Wíde": ("3.0", "3.1", "3.1"), "Linked": ("1", "1", None)},
                         {name: (r["currentVersion"], r["availableVersionInfo"]["version"],
                                 r.get("notifiedVersion")) for name, r in client.records().items()})
        history = logged_events(self.path("events"))[:5]
        self.assertEqual([CHANGE, "updateService", "showNotification:", CHANGE, DONE],
                         [method for method, _ in history])
        self.assertEqual([f"http://{service}/api/update", 200], history[1][1][:2])
        self.assertRegex(history[2][1][0]["text"], "^Updates available for 2 applications: (Plain, "
                         "Wíde|Wíde, Plain). Open Pellmark to install updates.$")

        # A client sees a rescan that finds a new version, a star given, and one ignored.
        self.make_app("Plain.app", "plain", "1.10")
        while "host.checkEnded" not in str(client.call("host.events", 0)):
            pass  # the last event of the pass before
        client = Client(self.socket, self.path("events"))
        client.call("startFullRescan")
        client.events_until("agentDidStartValidateItem:")
        self.assertEqual([CHANGE, "updateService", CHANGE, DONE],
                         [name for name, _ in client.events_until(DONE)])
        self.assertEqual("agentDidFinishUpdatingApplicationList:", client.message()["method"])
        self.assertEqual((0, "Starred: Plain\n", ""), self.cli("star", "plain"))
        self.assertEqual((0, "Ignored: Wíde\n", ""), self.cli("ignore", "org.wide"))
        for name, key in (("Plain", "isFavourite"), ("Wíde", "isInBlackList")):
            [[record]] = client.events_until("agent:didChangeStatusForItems:")[-1][1]
            self.assertEqual((name, True), (record["applicationName"], record[key]))
        self.assertEqual("[]\n", self.cli("list", "--outdated", "--json")[1])
        records, asked = client.records(), client.call("lastFireDate")
        self.end_agent(agent)

        self.assertEqual(0o600, stat.S_IMODE(os.stat(self.defaults).st_mode))
        self.assertEqual(foreign, self.stored()["Foreign"])
        self.assertEqual(asked[:19], self.stored()["KQRWAgent"]["lastFireDate"].isoformat())
        os.remove(self.path("events"))
        agent, client = self.start_agent(service)
        self.assertEqual(records, client.records())
        self.assertEqual(["updateService", CHANGE, DONE],
                         [method for method, _ in logged_events(self.path("events"))][:3])
        self.end_agent(agent)
        self.assertEqual("", self.complaints())

    def test_hostile_disk(self):
        plain = plistlib.dumps({"CFBundleShortVersionString": "1"})
        for name, contents in {
                "Broken": plain[:-30], "Empty": b"", "Huge": plain + b" " * (20 << 20),
                "Deep": b"<plist><dict>" + b"<key>a</key><array>" * 200000,
                "Circle": b"bplist00\xa1\0\x08" + bytes(6) + b"\1\1" + struct.pack(">3Q", 1, 0, 10),
                "Wrong": plistlib.dumps(["no dictionary"]),
                "Typed": plistlib.dumps({"CFBundleShortVersionString": [1]})}.items():
            self.write(f"apps/{name}.app/Contents/Info.plist", contents)
        os.makedirs(self.path("apps/Pipe.app/Contents"))
        os.mkfifo(self.path("apps/Pipe.app/Contents/Info.plist"))
        self.make_app(os.fsdecode(b"Raw\xff.app"), "raw", "1")
        hostile = "Line\nbreak \x1b[31mred\x1b]0;title\x07"
        self.make_app(hostile + ".app", "hostile", "1")
        self.make_app("Odd.app", "odd", 2, CFBundleName=["no text"])
        self.make_app("Locked/Seen by root.app", "locked", "1")
        os.chmod(self.path("apps/Locked"), 0)
        self.addCleanup(os.chmod, self.path("apps/Locked"), 0o700)
        agent, client = self.start_agent()
        self.assertEqual({hostile, "Odd"}, set(client.records()) - {"Seen by root"})
        self.assertRegex(self.cli("list")[1], r"(?m)^Line break red +1 ")
        self.end_agent(agent)

    def test_hostile_service(self):
        turn = iter(range(1, 99))

        def document(encoding="UTF-8", more="", name="Café"):
            return (f'<?xml version="1.0" encoding="{encoding}"?>{more}<response><item><bundle_id>'
                    f"app</bundle_id><version>2.{next(turn)}</version><name>{name}</name></item>"
                    "</response>").encode(encoding)

        def reset(connection):
            connection.setsockopt(SOL_SOCKET, SO_LINGER, struct.pack("ii", 1, 0))
            connection.close()

        def endless(connection):
            connection.sendall(b"HTTP/1.1 200 OK\r\n\r\n<response>")
            for _ in range(300):
                connection.sendall(b" " * (1 << 20))

        laughs = '<!DOCTYPE r [<!ENTITY a "lol">%s]>' % "".join(
            f'<!ENTITY {b} "{f"&{a};" * 10}">' for a, b in zip("abcdefghijkl", "bcdefghijklm"))
        self.make_app("App.app", "app", "1")
        service, offer = ScriptedService(), None
        agent, client = self.start_agent(service.address)
        for name, outcome, wire in (  # an answer that cannot be read costs the offer on record
                ("Latin 1", "merged", http(document("ISO-8859-1"))),
                ("wide", "merged", http(document("UTF-16"))),
                ("500", "merged", http(document(), "500 Internal Server Error")),
                ("no HTTP", "kept", b"\0\1\2" * 100), ("cut", "kept", http(document(), length=999)),
                ("reset", "kept", reset), ("endless", "kept", endless),
                ("garbage", "lost", http(os.urandom(5000))), ("good", "merged", http(document())),
                ("cut document", "lost", http(document()[:-9])), ("ok", "merged", http(document())),
                ("bomb", "lost", http(document(more=laughs, name="&m;")))):
            with self.subTest(name):
                service.behave = wire if callable(wire) else lambda c, w=wire: c.sendall(w)
                status, _, complaint = self.cli("check")
                self.assertEqual(outcome != "merged", status == 1, complaint)
                self.assertEqual(status == 1, "service gave no answer" in complaint)
                before, offer = offer, client.records()["App"].get("availableVersionInfo", {})
                self.assertEqual(None if outcome == "lost" else "Café", offer.get("name"))
                self.assertEqual(outcome == "kept", before == offer)

        asked, over = threading.Event(), threading.Event()
        service.behave = lambda connection: (asked.set(), over.wait())
        client.call("startFullRescan")
        self.assertTrue(asked.wait(10 * PATIENCE))
        self.assertEqual((0, "Starred: App\n", ""), self.cli("star", "App"))
        self.assertIs(True, client.call("updateIsInProgress"))
        self.end_agent(agent)
        over.set()
        self.assertIs(True, self.stored()["KQRWAgent"]["itemsPrefsKey"][0]["isFavourite"])

    def test_damaged_settings_and_a_second_agent(self):
        for number, contents in enumerate((b"rubbish", plistlib.dumps([1])), 1):
            self.write(self.defaults, contents)
            agent, client = self.start_agent()
            self.assertEqual({}, client.records())
            self.assertEqual(1, self.start("revwarden-agent").wait(10 * PATIENCE))
            self.assertIn(self.socket, self.complaints())
            self.assertEqual(1, client.call("host.version")["protocol"])
            agent.kill()
            agent.wait()
            self.assertEqual(3, self.cli("status")[0])
            with open(f"{self.defaults}.damaged-{number}", "rb") as file:
                self.assertEqual(contents, file.read())

    def test_killed_while_saving(self):
        for i in range(100):
            self.make_app(f"App {i}.app", f"{i}", "1")
        agent, client = self.start_agent()
        ids = {name: record["id"] for name, record in client.records().items()}
        requests = "".join('{"jsonrpc":"2.0","method":"setStarred:forItemWithId:","params":[true,'
                           f'"{record}"]}}\n' for record in ids.values()).encode()
        for _ in range(20):
            client.socket.sendall(requests)
            for _ in range(random.randrange(20)):
                client.events_until("agent:didChangeStatusForItems:")
            time.sleep(random.random() / 200)  # to anywhere within a save
            agent.kill()
            agent.wait()
            self.assertEqual(ids, {record["applicationName"]: record["id"] for record in
                                   self.stored()["KQRWAgent"]["itemsPrefsKey"]})
            agent, client = self.start_agent()
            self.assertEqual(ids, {n: record["id"] for n, record in client.records().items()})
        client.socket.sendall(requests)
        self.end_agent(agent)
        self.assertEqual(100, len(ids))
        self.assertEqual(["defaults.plist"], os.listdir(os.path.dirname(self.defaults)))

    def test_rubbish_from_clients(self):
        agent, client = self.start_agent()
        request = b'{"jsonrpc":"2.0","id":7,"method":"%s","params":%s}\n'
        for line, code in ((b"rubbish\n", -32700), (b'{"id":7}\n', -32600), (b"\xff\xfe\n", -32700),
                           (b"[" * 100000 + b"\n", -32700), (b"[]\n", -32600),
                           (request % (b"startUpdateItem:", b"[[]]"), -32601),
                           (request % (b"setStarred:forItemWithId:", b'["x", 1]'), -32602)):
            client.socket.sendall(line)
            self.assertEqual(code, client.answer()["error"]["code"], line[:50])
        Client(self.socket).socket.sendall(b'{"jsonrpc":"2.0","id":7,"me')
        huge = Client(self.socket)
        with contextlib.suppress(BrokenPipeError):  # the agent need not read it all
            huge.socket.sendall(b" " * (17 << 20))
        self.assertEqual(-32600, huge.answer()["error"]["code"])
        self.assertRaises((OSError, ValueError), huge.message)  # reset or ended
        self.assertEqual(1, client.call("host.version")["protocol"])
        self.end_agent(agent)


if __name__ == "__main__":
    unittest.main(warnings="ignore")
