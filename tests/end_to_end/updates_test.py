"""Updates that are downloaded and installed for real; each scenario has a home of its own."""

import contextlib
import os
import plistlib
import random
import shutil
import threading
import time
import unittest

from programs import PATIENCE, UpdateWorld, archive

STOPPED = "didStopQueueInAgent:"
# What depends on timing, or belongs to passes.
PASSING = {"agent:didChangeUpdatedStatusForItem:", "itemsDidChangeInAgent:", "updateService",
           "agentDidStartValidateItem:", "agentDidFinishValidateItem:",
           "agentDidFinishUpdatingApplicationList:", "host.checkEnded"}


class Updates(UpdateWorld, unittest.TestCase):
    def setUp(self):
        self.open_world()
        self.addCleanup(self.close_world)
        os.makedirs(self.path("tools"))
        self.env["PATH"] = self.path("tools") + ":" + os.environ["PATH"]
        self.env["XDG_DATA_HOME"] = self.path("home/share")

    def stub(self, name, script):
        self.write(f"tools/{name}", b"#!/bin/sh\n" + script.encode())
        os.chmod(self.path(f"tools/{name}"), 0o755)

    def start_all(self, *arguments):
        agent, client = self.start_agent(self.start_service(self.offers), *arguments)
        client.ids = {name: record["id"] for name, record in client.records().items()}
        client.events.clear()
        return agent, client

    def in_trash(self):
        with contextlib.suppress(FileNotFoundError):
            return sorted(os.listdir(self.path("home/share/Trash/files")))
        return []

    def told(self, method, params):
        """An event in a word or two, with what does not depend on this run."""
        names = {"agent:didStartUpdateItem:": "start", "agent:didStopUpdateItem:": "stop"}
        if method == "agent:didChangeStatusForItems:":
            return " ".join(["status", *sorted(r["applicationName"] for r in params[0])])
        if method in names:
            return f"{names[method]} {params[0]['applicationName']}"
        if method == "log":
            return params[2] if "%@ to %@" not in params[2] else params[1]
        if method == "rootTask":
            return f"root {params[0]} {params[2]}"
        if method == "host.jobEnded":
            return " ".join(str(params[0][key]) for key in ("name", "outcome", "code"))
        return " ".join([method, *map(str, params)])

    def test_a_queue_from_its_start_to_its_interruption(self):
        released = threading.Event()
        self.addCleanup(released.set)

        def slow(connection):
            connection.sendall(b"HTTP/1.1 200 OK\r\nContent-Type: application/zip\r\n\r\nPK")
            released.wait(60)

        self.offer("Slow", slow)
        self.offer("Zip", archive(self.new_app("Zip")))
        self.offer("Package", b"a package", "/Package.pkg")
        self.offer("Page", lambda connection: connection.sendall(
            b"HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: 2\r\n\r\nHi"), "/page")
        self.offer("Cut", lambda connection: connection.sendall(
            b"HTTP/1.1 200 OK\r\nContent-Type: application/zip\r\nContent-Length: 9\r\n\r\nPK"))
        self.offer("Never", b"")
        self.stub("installer", f'[ "$1 $3 $4" = "-pkg -target /" ] && cp "$2" {self.root}/ran')
        self.stub("xdg-open", "exit 0")
        agent, client = self.start_all("--authorization", "always")
        names = ["Slow", "Zip", "Package", "Page", "Cut", "Never"]
        for name in names:
            client.call("startUpdateItemWithIDs:", [client.ids[name]])
            while name == "Slow" and client.records()[name].get("currentAction") != 2:
                client.message()
        self.assertEqual(6, client.call("installerQueueCount"))
        client.call("cancelUpdateItemWithIDs:", [client.ids["Slow"]])
        events = [event for event in client.events_until(STOPPED) if event[0] not in PASSING]
        told = [self.told(*event) for event in events]
        # A job's own threads do not wait for what the main thread still has to say of the last one.
        elsewhere = [text for text in told if text.startswith(("[RW", "open", "root ", "show"))]
        told = [text for text in told if text not in elsewhere]

        def end(name, outcome, following, line="%s was updated from 1 to 2 version successfully."):
            return [f"status {name}", f"stop {name}", f"{name} {outcome}", f"start {following}",
                    line % name]

        failed = "Update of %s from 1 to 2 version was failed."
        prompt = "Pellmark requires administrator privileges to perform update."
        connection = ("Could not establish a connection to the server. Updating failed with "
                      "error: ")
        self.assertEqual(
            ["didStartQueueInAgent:", "start Slow", "status Slow", "status Zip",
             f"rootTaskWithPrompt: {prompt} True", "status Package", "status Page", "status Cut",
             "status Never", *end("Slow", "cancelled byUser", "Zip", failed), "status Slow",
             "addSilentRemoveBundleID: zip", *end("Zip", "updated None", "Package"),
             *end("Package", "packageRun None", "Page"),
             *end("Page", "handedOver unsupportedContent", "Cut"),
             "!!!!! QUEUE INTERRUPTED !!!!!!", "status Cut Never", STOPPED], told)
        self.assertEqual(
            ["root performAction:withArguments: None",
             "[RWInstaller] Invalid content. Open target URL in browser.",
             f"openURL: http://{self.downloads.address}/page True"], elsewhere[:3])
        self.assertIn(connection, elsewhere[3])

        # The versions on disk, on record and in the Trash; nothing of the downloads is left over.
        self.assertEqual(["2", "1"], [self.installed(name) for name in ("Zip", "Slow")])
        self.assertTrue(os.access(self.path("apps/Zip.app/Contents/MacOS/Zip"), os.X_OK))
        self.assertTrue(os.path.exists(self.path("ran")))
        self.assertEqual(["Zip.app"], self.in_trash())
        self.assertEqual(3, client.call("totalUpdatesCount"))
        self.assertFalse([name for name in os.listdir(self.path("tmp")) if "Cut" in name])
        self.assertFalse(any(r.get("isInQueue") for r in client.records().values()))

        # The rights that were granted are there for the next run, and end with it.
        client.events.clear()
        client.call("startUpdateItemWithIDs:", [client.ids["Package"]])
        told = [self.told(*event) for event in client.events_until(STOPPED)]
        self.assertNotIn(f"rootTaskWithPrompt: {prompt} True", told)
        while client.message().get("params", [0])[0] != "stop":
            pass
        self.end_agent(agent)

    def test_hostile_downloads(self):
        outside = self.path("outside")
        new = self.new_app("Up")
        for name, download in (
                ("Up", archive([("../../outside", b"!"), ("../../apps/Other.app/x", b"!")] + new)),
                ("Absolute", archive([(outside, b"!")])),
                ("Link", archive([("out@", self.path("apps").encode()), ("out/new", b"!")])),
                ("Away", archive([("Away.app@", self.path("secret").encode())])),
                ("Locked", self.encrypted()), ("Empty", b"")):
            self.offer(name, download, f"/%2e%2e%2f{name}.app" if name == "Empty" else None)
        self.make_app("Other.app", "other", "1")
        self.write("secret/Contents/Info.plist", plistlib.dumps({"CFBundleIdentifier": "away"}))
        agent, client = self.start_all()
        for name in sorted(client.ids.keys() - {"Other"}):
            with self.subTest(name):
                status, output, complaint = self.cli("update", name)
                self.assertEqual(status, name != "Up", output + complaint)
                whole = os.path.exists(self.path(f"apps/{name}.app"))
                self.assertTrue(whole or f"{name}.app" in self.in_trash())
                self.assertFalse(os.path.islink(self.path(f"apps/{name}.app")))
        self.assertFalse(os.path.exists(outside))
        self.assertFalse(os.path.exists(self.path("apps/Other.app/x")))
        self.assertEqual([], [n for n in os.listdir(self.path("apps")) if not n.endswith(".app")])
        self.assertEqual(["Contents"], os.listdir(self.path("secret")))
        self.end_agent(agent)

    def encrypted(self):
        """An archive whose entry is marked as encrypted: unzip asks for a password."""
        made = bytearray(archive([("Locked.app/Contents/Info.plist", b"x" * 20)]))
        for signature, place in ((b"PK\3\4", 6), (b"PK\1\2", 8)):
            made[made.index(signature) + place] |= 1
        return bytes(made)

    def test_cancelled_and_killed_at_any_moment(self):
        files = [(f"App.app/Contents/Resources/{i // 50}/{i}", os.urandom(500)) for i in range(300)]
        download = archive(self.new_app("App") + files)
        self.offer("App", download)
        agent, client = self.start_all()
        whole = 0
        for round_ in range(119):  # a hundred cancels
            if "App" not in client.records():
                client.call("startFullRescan")
            app = client.records()["App"]["id"]
            client.events.clear()
            client.call("startUpdateItemWithIDs:", [app])
            time.sleep(random.random() * 0.08 * PATIENCE)  # to anywhere within the job
            if round_ % 6 == 5:
                agent.kill()
                agent.wait()
            else:
                client.call("cancelUpdateItemWithIDs:", [app])
                self.assertEqual(0, client.call("installerQueueCount"))
            if os.path.exists(self.path("apps/App.app")):
                whole += 1
                resources = self.path("apps/App.app/Contents/Resources")
                found = sum(len(names) for _, _, names in os.walk(resources))
                self.assertEqual({"1": 0, "2": 300}[self.installed("App")], found)
            else:
                self.assertIn("App.app", self.in_trash())
            for folder in ("apps", "home/share"):
                shutil.rmtree(self.path(folder), ignore_errors=True)
            self.make_app("App.app", "app", "1")
            if round_ % 6 == 5:
                agent, client = self.start_all()
        self.assertGreater(whole, 0)
        self.end_agent(agent)


if __name__ == "__main__":
    unittest.main(warnings="ignore")
