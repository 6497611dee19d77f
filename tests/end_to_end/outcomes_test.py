"""Every outcome of jobs and checks with every code, reported by the real programs."""

import contextlib
import datetime
import os
import plistlib
import resource
import shutil
import subprocess
import sys
import threading
import unittest

from programs import PROGRAMS, ScriptedService, UpdateWorld, archive, logged_events

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "../../script"))
import make_images  # noqa: E402

MEMBERS = {"id", "name", "path", "from", "to", "outcome", "code", "reason", "trashed", "started",
           "ended"}
JOB_ENDED, CHECK_ENDED = "host.jobEnded", "host.checkEnded"
START, STOP = "agent:didStartUpdateItem:", "agent:didStopUpdateItem:"


def response(status, kind, body=b"Hi", length=None):
    """A function that sends it."""
    head = (f"HTTP/1.1 {status}\r\nContent-Type: {kind}\r\n"
            f"Content-Length: {length or len(body)}\r\n\r\n")
    return lambda connection: connection.sendall(head.encode() + body)


class Outcomes(UpdateWorld, unittest.TestCase):
    def setUp(self):
        self.open_world()
        self.addCleanup(self.close_world)
        self.env |= {"PATH": self.path("tools"), "XDG_DATA_HOME": self.path("home/share")}
        self.disk, self.jobs, self.reasons = "", [], {}  # the root folder as the agent sees it
        self.addCleanup(self.detach_images)
        os.mkfifo(self.path("pipe"))
        self.stub("xdg-open", f"case $1 in *Late.zip) read -r _ < {self.path('pipe')}; exit 1;; "
                  "*Unopened*) exit 1;; esac")
        self.stub("installer", "case $2 in *Bad.pkg) echo no; echo no licence; exit 3;; esac >&2")
        self.stub("pkexec", 'exec "$@"')

    def stub(self, name, script):
        self.write(f"tools/{name}", f"#!/bin/sh\n{script}\n".encode())
        os.chmod(self.path(f"tools/{name}"), 0o755)

    def slow(self, connection, released=threading.Event()):
        response("200 OK", "application/zip", length=9)(connection)
        released.wait(60)

    def image(self, name, files):
        for file, contents in files:
            self.write(f"images/{name}/{file}", contents)
        make_images.main("dmg", self.path(f"images/{name}"), self.path("image"))
        with open(self.path("image"), "rb") as image:
            return image.read()

    def start_all(self):
        agent, self.client = self.start_agent(self.start_service(self.offers))
        self.ids = {name: record["id"] for name, record in self.client.records().items()}
        self.client.events.clear()
        return agent

    def request(self, name):
        self.client.call("startUpdateItemWithIDs:", [self.ids[name]])

    def update(self, ended, reason):
        """Updates the application that the expected end names first."""
        name = ended.split()[0]
        self.request(name)
        self.assertEqual(ended, self.next_ended())
        self.assertRegex(self.reasons[name] or "none", reason)

    def cancel(self, name):
        self.client.call("cancelUpdateItemWithIDs:", [self.ids[name]])

    def next_ended(self):
        """Checks what holds for every outcome; returns what differs."""
        job = self.client.events_until(JOB_ENDED)[-1][1][0]
        name, explained = job["name"], job["outcome"] not in ("updated", "packageRun")
        self.jobs.append(job)
        self.reasons[name] = job["reason"]
        self.assertEqual((MEMBERS, self.ids[name], self.path(f"apps/{name}.app"), "1"),
                         (set(job), job["id"], job["path"], job["from"]))
        self.assertEqual(self.version(name), job["to"])
        self.assertEqual((explained, explained), (bool(job["code"]), bool(job["reason"])))
        self.assertEqual(1, len((job["reason"] or "one line").splitlines()))
        # The old version is in its place or in the Trash.
        self.assertEqual(job["to"] == "1", job["trashed"] is None, job)
        self.assertTrue(job["trashed"] is None or os.path.exists(self.disk + job["trashed"]), job)
        self.check_times(job["started"] or job["ended"], job["ended"])
        words = [name, job["outcome"], job["code"], "" if job["started"] else "unstarted"]
        return " ".join(filter(None, words))

    def check_times(self, started, ended):
        self.assertRegex(started + ended, r"^(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?Z){2}$")
        self.assertLessEqual(*map(datetime.datetime.fromisoformat, (started, ended)))

    def detach_images(self):
        for reason in filter(None, self.reasons.values()):
            if "/volumes/" in reason:  # ends with the path of the image or the package on it
                mounted = reason.rpartition(": ")[2].removesuffix("/Setup.pkg")
                subprocess.run([f"{PROGRAMS}/../libexec/revwarden/hdiutil", "detach", mounted],
                               check=True)

    def version(self, name):
        path = f"{self.disk}{self.path('apps')}/{name}.app/Contents/Info.plist"
        with contextlib.suppress(OSError, plistlib.InvalidFileException), open(path, "rb") as file:
            return plistlib.load(file)["CFBundleShortVersionString"]

    def check_log(self):
        """It must hold the same outcomes, each after the agent's own events about the job."""
        logged, stopped, queue_stopped = [], set(), False
        for method, params in logged_events(self.path("events")):
            if method in ("didStopQueueInAgent:", START):
                queue_stopped = method != START
            elif method == STOP:
                stopped.add(params[0]["id"])
            elif method == JOB_ENDED:
                logged.append(params[0])
                if params[0]["started"] and params[0]["code"] != "agentEnding":
                    self.assertTrue(params[0]["id"] in stopped or queue_stopped, params)
                elif params[0]["code"] == "queueInterrupted":
                    self.assertTrue(queue_stopped, params)
        self.assertEqual(self.jobs, logged)

    def test_jobs(self):
        cases = []

        def case(ended, reason, download, path=None, **more):
            cases.append((ended, reason))
            self.offer(ended.split()[0], download, path, **more)

        new, package = self.new_app, [("Setup.pkg", b"a package")]
        case("Untrashed failed trashFailed", "Trash.*: Not a directory", archive(new("Untrashed")))
        case("Zip updated", "^none$", archive(new("Zip")))
        case("Image updated", "^none$", self.image("Image", new("Image")), "/Image.dmg")
        case("Package packageRun", "^none$", b"a package", "/Package.pkg")
        case("Page handedOver pageOpened", "http://.*/Page.zip", b"", updateMethod="manual")
        case("Shown handedOver fileRevealed", "/Downloads/Shown.zip", b"",
             updateMethod="downloadOnly")
        case("Mount handedOver imageOpened", "/Mount", self.image("Mount", package), "/Mount.dmg",
             updateMethod="downloadAndMount")
        case("Setup handedOver packageOpened", "/Setup.pkg", self.image("Setup", package),
             "/Setup.dmg")
        case("Html handedOver unsupportedContent", "text/html", response("200 OK", "text/html"))
        case("Gone failed httpStatus", "404", response("404 Not Found", "text/html"))
        case("Error failed httpStatus", "503", response("503 No", "application/octet-stream"))
        case("Unlinked failed noLink", "link", b"", download_link=None)
        case("Holds failed noApplication", "contains Read me", archive([("Read me", b"")]))
        case("Rubbish failed noApplication", "cannot be opened as a zip archive or a disk image", b"rubbish")
        case("Link failed unreadableApplication", "Link.app", archive(
            [("Link.app@", b"real"), ("real/Contents/Info.plist", plistlib.dumps({}))]))
        case("File failed unreadableApplication", "File.app", archive([("File.app", b"")]))
        case("Damaged failed unreadableApplication", "Damaged.app", archive(
            [("Damaged.app/Contents/Info.plist", b"rubbish")]))
        case("Locked failed copyFailed", "Locked.app/a file: Permission denied", archive(
            new("Locked") + [("Locked.app/a file!", b"secret")]))
        case("Bad failed packageFailed", "status 3: no no licence", b"", "/Bad.pkg")
        case("Unopened failed packageNotOpened", "/Setup.pkg", self.image("Unopened", package),
             "/Unopened.dmg")
        case("Inner failed nothingInstalled", "Inner.pkg", archive([("Inner.pkg", b"")]))
        case("Cut failed connection", "closed", response("200 OK", "application/zip", length=9))
        case("Refused failed connection", "connect", b"", download_link="http://127.0.0.1:1/")
        case("Large failed noSpace", "File too large", bytes(2 << 20))
        released = threading.Event()
        self.offer("Stalled", lambda connection: self.slow(connection, released))
        for name in ("Slow", "Waiting", "Dropped"):
            self.offer(name, self.slow)
        self.offer("Late", b"", updateMethod="manual")
        self.offer("Asked", b"", "/Asked.pkg")
        self.offer("Big", archive(new("Big") + [(f"Big.app/{i}", b"") for i in range(300)]))
        if os.geteuid() == 0:  # permissions must count
            self.agent[:0] = [shutil.which("setpriv"),
                              "--bounding-set=-dac_override,-dac_read_search"]
        agent = self.start_all()
        self.write("home/share/Trash", b"")  # where a folder must be
        for ended, reason in cases:
            with self.subTest(ended):
                if ended.endswith("noSpace"):
                    resource.prlimit(agent.pid, resource.RLIMIT_FSIZE, (1 << 20, -1))
                self.update(ended, reason)
                if ended.endswith("trashFailed"):
                    os.remove(self.path("home/share/Trash"))
        resource.prlimit(agent.pid, resource.RLIMIT_FSIZE, (-1, -1))

        self.request("Late")
        self.assertNotIn(JOB_ENDED, dict(self.client.events_until("didStopQueueInAgent:")))
        with open(self.path("pipe"), "w", encoding="ascii"):
            pass  # the opener ends
        self.assertEqual("Late failed pageNotOpened", self.next_ended())
        self.request("Big")
        self.client.events_until("addSilentRemoveBundleID:")
        self.cancel("Big")
        self.assertEqual("Big updated", self.next_ended(), "although cancelled while it was copied")
        self.request("Slow")
        self.request("Waiting")
        self.cancel("Waiting")
        self.assertEqual("Waiting cancelled byUser unstarted", self.next_ended())
        self.cancel("Slow")
        self.assertEqual("Slow cancelled byUser", self.next_ended())
        self.request("Stalled")
        self.request("Dropped")
        released.set()
        self.assertEqual("Stalled failed connection", self.next_ended())
        self.assertEqual("Dropped dropped queueInterrupted unstarted", self.next_ended())
        self.stub("pkexec", "exit 126")
        self.update("Asked refused notAuthorized unstarted", "not granted")
        os.remove(self.path("tools/pkexec"))
        self.update("Asked refused authorizationUnavailable unstarted", "pkexec: No such file")
        stops = [params[0]["applicationName"] for method, params in logged_events(
            self.path("events")) if method == STOP]
        self.assertEqual((2, 1), (stops.count("Mount"), stops.count("Setup")))
        self.end_agent(agent)
        self.check_log()

    def test_without_helper(self):
        self.offer("App", b"", "/App.pkg")
        os.mkdir(self.path("bin"))
        shutil.copy(self.agent[0], self.path("bin/"))
        self.agent = [self.path("bin/revwarden-agent"), "--plugin", f"{PROGRAMS}/Revwarden.plugin"]
        agent = self.start_all()
        self.update("App refused authorizationUnavailable unstarted", "revwarden-helper: No such")
        self.end_agent(agent)

    def test_full_disks(self):
        """The agent has a mount namespace of its own, where its folders hold 1 MB each."""
        unshare = ["unshare", "--mount"] + ["-Ur"] * (os.geteuid() != 0)
        mount = f"""set -e; cd {self.root}; cp -r apps old
            for folder in apps tmp home/share; do
                mkdir -p $folder; mount -t tmpfs -o size=1m none $folder; done
            cp -r old/* apps; head -c 700k /dev/zero > home/share/used"""
        if subprocess.run(unshare + ["mount", "-t", "tmpfs", "none", self.path("tmp")]).returncode:
            self.skipTest("not allowed to mount: noSpace with the free space is not tested")
        self.env["PATH"] += ":" + os.environ["PATH"]
        self.agent[:0] = [*unshare, "sh", "-c", f'({mount}) && exec "$@"', "sh"]
        needs = r"\(needs [\d.]+ [kM]B, [\d.]+ [kM]B free\)$"
        cases = [("Download", "Cannot write .*Download.zip: No space left on device " + needs,
                  os.urandom(2 << 20)),
                 ("Unpack", "no space left to unpack .*/Unpack.zip$",
                  archive([("Unpack.app/large", bytes(2 << 20))])),
                 ("Copy", "/apps/Copy.app: No space left on device " + needs,
                  archive(self.new_app("Copy") + [("Copy.app/large", bytes(700 << 10))])),
                 ("Trash", "/Trash/files/Trash.app: No space left on device " + needs,
                  archive(self.new_app("Trash")))]
        for name, _, download in cases:
            self.offer(name, download)
        self.write("apps/Trash.app/large", bytes(400 << 10))
        self.write(self.defaults, plistlib.dumps(
            {"KQRWAgent": {"updateAllLocalVolumes": True}}))
        agent = self.start_all()
        self.disk = f"/proc/{agent.pid}/root"
        for name, reason, _ in cases:
            with self.subTest(name):
                self.update(f"{name} failed noSpace", reason)
        self.end_agent(agent)

    def test_agent_ends(self):
        for name in ("Slow", "Waiting"):
            self.offer(name, self.slow)
        self.offer("Asked", b"", "/Asked.pkg")
        self.stub("pkexec", f"read -r _ < {self.path('pipe')}")
        agent = self.start_all()
        self.request("Slow")
        self.request("Waiting")
        self.client.socket.sendall(b'{"jsonrpc":"2.0","method":"startUpdateItemWithIDs:","params":'
                                   b'[["%s"]]}\n' % self.ids["Asked"].encode())
        with open(self.path("pipe"), "w", encoding="ascii"):  # the main thread waits for pkexec
            self.end_agent(agent)
        self.assertEqual("Slow failed agentEnding", self.next_ended())
        for name in ("Waiting", "Asked"):
            self.assertEqual(f"{name} dropped agentEnding unstarted", self.next_ended())
        self.check_log()

    def test_checks(self):
        items = "".join(f"<item><bundle_id>{i}</bundle_id></item>" for i in ("a", "unknown"))
        answer = response("200 OK", "text/xml", f"<response>{items}</response>".encode())
        service, expected = ScriptedService(), ["notNeeded"]  # when the agent starts
        self.write(self.defaults, plistlib.dumps(  # the next is due in a day
            {"KQRWAgent": {"lastFireDate": datetime.datetime.utcnow()}}))
        agent, self.client = self.start_agent(service.address)
        while CHECK_ENDED not in str(self.client.call("host.events", 0)):
            pass
        self.client.events.clear()
        for behave, by_user, *ended in (
                (answer, False, "notNeeded", None, 0, 0), (answer, False, "answered", 200, 2, 1),
                (answer, False, "answered", 200, 1, 1), (answer, True, "answered", 200, 2, 1),
                (lambda connection: connection.close(), True, "unreachable", None, 2, 0),
                (response("200 OK", "text/xml", b"no XML"), True, "invalid", 200, 2, 0),
                (response("500 No", "text/html", b"<html/>"), True, "invalid", 500, 2, 0)):
            with self.subTest(ended):
                service.behave = behave
                self.client.call("startFullRescan" if by_user else "startUpdateApplicationsList")
                *_, (before, _), (_, [check]) = self.client.events_until(CHECK_ENDED)
                self.assertEqual("agentDidFinishUpdatingApplicationList:", before)
                self.assertEqual([*ended, by_user], [check.pop(member) for member in (
                    "outcome", "status", "asked", "answered", "byUser")])
                self.assertEqual(ended[0] in ("unreachable", "invalid"), bool(check.pop("reason")))
                self.check_times(**check)
            for name in "AB":
                self.make_app(f"{name}.app", name.lower(), "1")
            expected.append(ended[0])
        self.assertEqual(expected, [params[0]["outcome"] for method, params in logged_events(
            self.path("events")) if method == CHECK_ENDED])
        self.end_agent(agent)


if __name__ == "__main__":
    unittest.main(warnings="ignore")
