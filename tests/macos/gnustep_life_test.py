"""Runs the bundle in an agent application under GNUstep, from its first start to a restart."""

import datetime
import json
import os
import plistlib
import socket
import subprocess
import sys
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "../end_to_end"))
from programs import PROGRAMS, Client, UpdateWorld, archive  # noqa: E402

BUNDLE = os.environ["REVWARDEN_BUNDLE"]
CHANGED, VALIDATED = "itemsDidChangeInAgent:", "agentDidFinishValidateItem:"
LISTED, STOPPED = "agentDidFinishUpdatingApplicationList:", "didStopQueueInAgent:"
STATUS = "agent:didChangeStatusForItems:"
# Events whose number depends on timing.
TIMING_DEPENDENT = {"agent:didChangeUpdatedStatusForItem:", "agentDidStartValidateItem:",
                    VALIDATED, CHANGED}
# Events that do not come from the main thread.
OTHER_THREADS = {"showNotification:", "script", "activateHostApp",
                 "root moveItemAtPathToTrash:", "root runScript",
                 "root performCopyItemAtPath:toPath:"}
NEWS = ("Updates available for %?1$u applications: %2$@. Open Pellmark to install updates. "
        "[{}, {}]").format
SUCCESS = "KQLog {} was updated from 1 to 2 version successfully.".format


class Host(Client):
    """Controls the agent application over its standard input and output."""

    def __init__(self, ours):
        self.socket, self.lines, self.events, self.off_main = ours, ours.makefile("rb"), [], set()
        ours.settimeout(20)

    def message(self):
        message = plistlib.loads(self.lines.read(int(self.lines.readline())))
        if "method" in message:
            self.events.append((message["method"], message["params"]))
            self.off_main |= set() if message["main"] else {message["method"]}
        return message

    def answer(self):
        return {"result": None} | super().answer()

    def send(self, method, *params):
        message = plistlib.dumps({"method": method, "params": params})
        self.socket.sendall(b"%d\n" % len(message) + message)

    def call(self, method, *params):
        self.send(method, *params)
        return self.answer()["result"]

    def summaries_until(self, method):
        """Returns a summary of each event up to this one."""
        return [summary(*event) for event in self.events_until(method)]


def summary(method, params):
    subject = params[0] if params else ""
    if isinstance(subject, list):
        subject = " ".join(sorted(record["applicationName"] for record in subject))
    elif isinstance(subject, dict):
        subject = subject.get("applicationName") or subject.get("setText:", subject)
    return f"{method} {subject}".strip()


class Life(UpdateWorld, unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.open_world()
        self.addCleanup(self.close_world)
        os.makedirs(self.path("trash"))
        self.defaults = self.path("home/gnustep_host.plist")
        with open("/etc/GNUstep/GNUstep.conf", encoding="utf-8") as file:
            places = file.read()
        self.write("conf", f"{places}\nGNUSTEP_USER_DEFAULTS_DIR={self.path('home')}\n".encode())
        self.env |= {"GNUSTEP_CONFIG_FILE": self.path("conf"), "TEMP": self.path("tmp"),
                     "WORLD": self.root}

    def start_host(self, *arguments):
        ours, its = socket.socketpair()
        self.addCleanup(ours.close)
        with its, open(self.path("errors"), "ab") as errors:
            self.processes.append(subprocess.Popen(
                [os.path.join(PROGRAMS, "gnustep_host"), BUNDLE, *arguments],
                env=self.env, stdin=its, stdout=its, stderr=errors))
        return Host(ours)

    def end_host(self, host):
        host.socket.shutdown(socket.SHUT_WR)
        self.assertEqual(0, self.processes[-1].wait(10))

    def run_queue(self, host, *names):
        """Updates these applications; returns event summaries until they are validated again."""
        host.events.clear()
        host.call("startUpdateItemWithIDs:", [host.ids[name] for name in names])
        return self.rest_of_queue(host)

    def rest_of_queue(self, host):
        events = host.summaries_until(STOPPED) + host.summaries_until(VALIDATED)
        return [event for event in events if event.split()[0] not in TIMING_DEPENDENT]

    def test_life(self):
        for name in ("Zip", "Locked", "LockedLong"):
            self.offer(name, archive(self.new_app(name)))
        self.offer("Package", b"a package", "/Package.pkg")
        self.offer("Cut", lambda connection: connection.sendall(
            b"HTTP/1.1 200 OK\r\nContent-Type: application/zip\r\nContent-Length: 9\r\n\r\nPK"))
        self.offer("Page", b"")
        self.offers[-1]["updateMethod"] = "manual"
        self.write("apps/Still.app/Contents/Info.plist", plistlib.dumps(
            {"CFBundleIdentifier": "quiet", "CFBundleName": "Quiet", "CFBundleVersion": 7}))
        self.write(self.defaults, plistlib.dumps(
            {"KQRWAgent": {"showRevwardenNotifications": True, "another": 1 << 40}}))
        self.env["updater"] = self.start_service(self.offers)
        host = self.start_host()
        self.begin(host)
        self.mark(host)
        self.update(host)
        self.cancel(host)
        self.update_the_product(host)
        self.end_host(host)
        self.start_again(host)

    def begin(self, host):
        """Checks the first refresh, the check with the service and the notice."""
        events = host.summaries_until(LISTED)
        notice = events.pop(1)
        self.assertEqual([f"{event} KQRWAgent" for event in (CHANGED, CHANGED, VALIDATED, LISTED)],
                         events)
        self.assertTrue(notice.startswith("showNotification: " + NEWS(6, "")[:-1]), notice)
        records = host.records()
        host.ids = {name: record["id"] for name, record in records.items()}
        self.assertEqual(host.ids.keys() - {"Quiet"},
                         {record["applicationName"] for record in host.call("items")})
        self.assertEqual(self.offers[0], records["Zip"]["availableVersionInfo"])
        self.assertIsInstance(records["Quiet"]["lastFullCheckDate"], datetime.datetime)
        self.assertEqual("7", records["Quiet"]["currentVersion"])
        self.assertEqual(
            {"setTarget:": "KQRWAgent", "setLiveTime:": "10", "setButton1Text:": "OK",
             "setButton1Action:": "openRevwarden", "setButton2Text:": "Cancel"},
            {k: v for k, v in host.call("fieldsOfNotice").items() if k != "setText:"})
        self.assertEqual(records["Zip"], host.call("itemSnapshotWithID:", host.ids["Zip"]))
        self.assertIsNone(host.call("itemSnapshotWithID:", "unknown"))
        host.call("pressButton1")
        host.events_until("KQRevwarden openRevwarden")

    def mark(self, host):
        """Sets star, black list and switches, which are stored immediately."""
        host.call("setStarred:forItemWithId:", True, host.ids["Zip"])
        host.call("moveItemsWithIds:toBlackList:", [host.ids["Cut"], host.ids["Page"]], True)
        host.call("setUpdatesApplicationsFromAllLocalVolumes:", True)
        host.call("setShowRevwardenNotifications:", False)
        (_, [[starred]]), (_, [listed]) = host.events
        self.assertIs(True, starred["isFavourite"])
        self.assertEqual([("Cut", True), ("Page", True)],
                         [(item["applicationName"], item["isInBlackList"]) for item in listed])
        self.assertIs(True, host.call("itemWithIdIsInBlackList:", host.ids["Cut"]))
        self.assertIs(False, host.call("itemWithIdIsInBlackList:", host.ids["Zip"]))
        stored = self.stored()["KQRWAgent"]
        self.assertEqual(host.call("itemsSnapshot"), stored["itemsPrefsKey"])
        self.assertIs(True, stored["itemsPrefsKey"][list(host.ids).index("Zip")]["isFavourite"])
        self.assertEqual((True, False), (stored["updateAllLocalVolumes"],
                                         stored["showRevwardenNotifications"]))
        self.assertEqual(1 << 40, stored["another"])
        self.assertEqual(stored["lastFireDate"], host.call("lastFireDate"))

    def update(self, host):
        """Runs each kind of update, with administrator rights where they are needed."""
        self.assertEqual(
            ["didStartQueueInAgent: KQRWAgent", "agent:didStartUpdateItem: Zip", f"{STATUS} Zip",
             "KQUninstallerAgent addSilentRemoveBundleID: zip", f"{STATUS} Zip",
             "agent:didStopUpdateItem: Zip", f"{STOPPED} KQRWAgent", SUCCESS("Zip")],
            self.run_queue(host, "Zip"))
        self.assertEqual(["Zip.app"], os.listdir(self.path("trash")))
        self.assertEqual("22", self.installed("Zip") + host.records()["Zip"]["currentVersion"])
        self.assertEqual(1, host.call("totalUpdatesCount"))
        locked, script = self.path("apps/Locked.app"), {
            "PKG_PATH": self.path("tmp/Package.pkg"), "SCRIPT": f"{BUNDLE}/Resources/installPkg"}
        self.assertEqual(
            [f"root moveItemAtPathToTrash: {locked}",
             f"root performCopyItemAtPath:toPath: {locked}",
             f"root runScript {script}", "root stop",
             "rootTaskWithPrompt: Pellmark requires administrator privileges to perform update."],
            sorted(e for e in self.run_queue(host, "Package", "Locked") if e.startswith("root")))
        self.assertEqual("2", self.installed("Locked"))
        self.assertIn(f"openURL: http://{self.downloads.address}/Page.zip",
                      self.run_queue(host, "Page"))
        self.assertIn("showNotification: Could not establish a connection to the server. Updating "
                      "failed with error: transfer closed with 7 bytes remaining to read.",
                      self.run_queue(host, "Cut"))

    def cancel(self, host):
        """Cancels a long copy. Other requests are answered until the copy has ended."""
        self.write("hold", b"")
        host.call("startUpdateItemWithIDs:", [host.ids["LockedLong"]])
        host.events_until("root performCopyItemAtPath:toPath:")
        host.send("cancelUpdateItemWithIDs:", [host.ids["LockedLong"]])
        while "begun" not in host.message():
            pass
        self.assertEqual(1, host.call("installerQueueCount"))
        self.assertIs(True, host.call("installerQueueIsInProgress"))
        os.remove(self.path("hold"))
        self.assertIsNone(host.answer()["result"])
        self.assertEqual(0, host.call("installerQueueCount"))
        self.assertIn("KQLog Update of LockedLong from 1 to 2 version was failed.",
                      self.rest_of_queue(host))

    def update_the_product(self, host):
        """Updates the host product and relaunches it."""
        self.offer("Pellmark", archive(self.new_app("Pellmark")))
        self.write("offers", json.dumps(self.offers).encode())
        host.call("startFullRescan")
        self.assertIn("showNotification: Pellmark updated successfully! Would you like to relaunch "
                      "it?", self.rest_of_queue(host))
        record = host.records()["Pellmark"]
        self.assertEqual(
            {"setTarget:": "KQRWPellmarkUpdater", "setIcon:": "NSImage", "setButton1Text:": "Relaunch",
             "setButton1Action:": "relaunchPellmark", "setButton2Text:": "Ignore"},
            {k: v for k, v in host.call("fieldsOfNotice").items() if k != "setText:"})
        for name, value in {"originalAppItemID": record["id"], "currentAction": 10,
                            "simpleCurrentAction": 4, "totalBytes": record["totalBytes"],
                            "receivedBytes": record["totalBytes"],
                            "downloadPath": self.path("tmp/Pellmark.zip"),
                            "resourcesPath": self.path("tmp/Pellmark.unpacked")}.items():
            self.assertEqual(value, host.call(name))
        host.call("pressButton1")
        self.assertIn('script tell application "Pellmark" to quit',
                      host.summaries_until("activateHostApp"))
        host.records()
        # The new version is read only if no pass was running.
        host.call("startUpdateInfoForItemsWithIDs:", [record["id"]])
        self.assertEqual("2", host.records()["Pellmark"]["currentVersion"])
        host.call("failNextMessage")  # so the delegate raises on the next event
        host.call("setStarred:forItemWithId:", False, host.ids["Page"])  # saves all records
        host.call("failNextMessage")
        host.call("openRevwarden")
        self.assertLessEqual(host.off_main, OTHER_THREADS)

    def start_again(self, first):
        """Restarts with the stored state; a check became due while the machine slept."""
        root, long_ago = self.stored(), datetime.datetime(2001, 1, 1)
        root["KQRWAgent"]["lastFireDate"] = long_ago
        for record in root["KQRWAgent"]["itemsPrefsKey"]:
            record.setdefault("lastFullCheckDate", long_ago)
            record.setdefault("availableVersionInfo", {"version": "1"})
        self.write(self.defaults, plistlib.dumps(root))
        host = self.start_host("--asleep")
        host.events_until(LISTED)
        self.assertEqual(root["KQRWAgent"]["itemsPrefsKey"], host.call("itemsSnapshot"))
        records = host.records()
        self.assertEqual(first.ids, {name: records[name]["id"] for name in first.ids})
        self.assertIs(True, records["Zip"]["isFavourite"] and records["Cut"]["isInBlackList"])
        self.assertIs(False, host.call("showRevwardenNotifications"))
        host.call("setShowRevwardenNotifications:", True)
        self.assertIs(True, host.call("updatesApplicationsFromAllLocalVolumes"))
        self.assertEqual((5, long_ago), (host.call("totalUpdatesCount"), host.call("lastFireDate")))
        self.offer("Late", b"")
        self.write("offers", json.dumps(self.offers).encode())
        host.call("wake")
        self.assertIn(f"showNotification: {NEWS(1, 'Late')}", host.summaries_until(LISTED))
        self.assertLess(long_ago, host.call("lastFireDate"))
        host.call("makeOtherAgents")
        self.end_host(host)
        with open(self.path("errors"), encoding="utf-8") as file:
            lines = {line.split("] ")[-1].split(" <")[0].strip() for line in file}
        self.assertEqual({"!!!!! QUEUE INTERRUPTED !!!!!!", f"{STATUS} failed:",
                          "hostAppProxyWithTargetId:protocol: failed:"},
                         {line for line in lines if not line.endswith("in progress. Skip.")})


if __name__ == "__main__":
    unittest.main(warnings="ignore")
