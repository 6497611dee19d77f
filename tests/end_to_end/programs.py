"""The real programs as separate processes in a scratch home, and a client of the agent's socket."""

import contextlib
import io
import json
import os
import plistlib
import shutil
import socket
import socketserver
import stat
import subprocess
import tempfile
import threading
import time
import zipfile

PROGRAMS = os.environ["REVWARDEN_PROGRAMS"]
PATIENCE = float(os.environ.get("REVWARDEN_PATIENCE", "1"))  # larger for slow, sanitized builds


class Client:
    """Speaks to the agent line by line and keeps the events that came in between."""

    def __init__(self, path, log=None):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(20 * PATIENCE)
        self.socket.connect(path)
        self.lines = self.socket.makefile("rb")
        self.events, self.log = [], log  # which must hold each event when it arrives

    def message(self):
        message = json.loads(self.lines.readline())
        if "id" not in message:
            self.events.append((message["method"], message["params"]))
            assert not self.log or self.events[-1] in logged_events(self.log)
        return message

    def answer(self):
        while "id" not in (message := self.message()):
            pass
        return message

    def call(self, method, *params):
        request = {"jsonrpc": "2.0", "id": 1, "method": method, "params": params}
        self.socket.sendall(json.dumps(request).encode() + b"\n")
        return self.answer()["result"]

    def events_until(self, method):
        """Takes the events up to the first of that name."""
        while method not in (names := [name for name, _ in self.events]):
            self.message()
        count = names.index(method) + 1
        taken, self.events = self.events[:count], self.events[count:]
        return taken

    def records(self):
        """The catalogue by name, once no pass runs."""
        while self.call("updateIsInProgress"):
            self.events_until("agentDidFinishValidateItem:")
        return {record["applicationName"]: record for record in self.call("itemsSnapshot")}


def logged_events(path):
    """Methods and parameters in an event log, which must be numbered without holes."""
    with open(path, encoding="utf-8") as file:
        events = [json.loads(line) for line in file]
    assert [event["seq"] for event in events] == list(range(1, len(events) + 1))
    return [(event["method"], event["params"]) for event in events]


class ScriptedService(socketserver.ThreadingTCPServer):
    """Does what `behave(connection)` does once it has read a whole request."""

    def __init__(self):
        super().__init__(("127.0.0.1", 0), None)
        self.address, self.behave, self.daemon_threads = f"127.0.0.1:{self.server_address[1]}", 0, 1
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def finish_request(self, request, _):
        with request.makefile("rb") as file, contextlib.suppress(OSError):  # when not heard out
            head = b"".join(iter(file.readline, b"\r\n")).lower()
            file.read(int(head.partition(b"content-length:")[2].split()[0]))
            self.behave(request)


class World:
    """A scratch home. It lies outside the temporary folder, where no application is catalogued."""

    def open_world(self):
        self.root, self.processes = tempfile.mkdtemp(prefix="revwarden-", dir="/var/tmp"), []
        self.agent = [os.path.join(PROGRAMS, "revwarden-agent")]  # its command
        self.socket = self.path("run/revwarden/agent.sock")
        self.defaults = self.path("home/.config/revwarden/defaults.plist")
        for folder in ("apps", "tmp", "run", "home/.config/revwarden"):
            os.makedirs(self.path(folder), 0o700)
        self.env = {k: v for k, v in os.environ.items() if k == "PATH" or "SAN_OPTIONS" in k}
        self.env |= {"HOME": self.path("home"), "TMPDIR": self.path("tmp"),
                     "XDG_RUNTIME_DIR": self.path("run")}

    def close_world(self):
        for process in self.processes:
            process.kill()
            process.wait()
        while os.path.exists(self.root):  # what a killed agent had started may still write
            shutil.rmtree(self.root, ignore_errors=True)

    def path(self, name):
        return os.path.join(self.root, name)

    def write(self, name, contents):
        os.makedirs(os.path.dirname(self.path(name)), exist_ok=True)
        with open(self.path(name), "wb") as file:
            file.write(contents)

    def make_app(self, place, bundle_id, version, write=plistlib.dumps, **more):
        """Makes a bundle at the place below the folder of applications."""
        info = {"CFBundleIdentifier": bundle_id, "CFBundleShortVersionString": version, **more}
        self.write(f"apps/{place}/Contents/Info.plist", write(info))

    def start(self, name, *arguments):
        command = self.agent if name == "revwarden-agent" else [os.path.join(PROGRAMS, name)]
        with open(self.path(name + ".errors"), "ab") as errors:
            self.processes.append(subprocess.Popen([*command, *arguments], env=self.env, bufsize=0,
                                                   stderr=errors, stdout=subprocess.PIPE))
        return self.processes[-1]

    def start_service(self, offers):
        """The reference service with these offers; answers its address."""
        self.write("offers", json.dumps(offers).encode())
        arguments = ("--listen", "127.0.0.1:0", "--catalogue", self.path("offers"))
        return self.start("revwarden-service", *arguments).stdout.readline().decode()[20:].strip()

    def start_agent(self, service="127.0.0.1:1", *more):
        """Answers the agent and a client, once it serves."""
        agent = self.start("revwarden-agent", "--applications", self.path("apps"), "--service",
                           service, "--event-log", self.path("events"), *more)
        for _ in range(int(2000 * PATIENCE)):
            with contextlib.suppress(OSError):
                return agent, Client(self.socket)
            time.sleep(0.005)  # nothing announces the socket
        raise AssertionError(self.complaints())

    def end_agent(self, agent):
        agent.terminate()
        status = agent.wait(2 * PATIENCE)
        text = self.complaints()
        assert (status, "Sanitizer" in text) == (0, False), f"status {status}: {text}"
        assert not os.path.exists(self.socket)

    def complaints(self):
        with open(self.path("revwarden-agent.errors"), encoding="utf-8") as file:
            return file.read()

    def cli(self, *arguments):
        """The command line; answers its status, output and complaints."""
        done = subprocess.run([os.path.join(PROGRAMS, "revwarden"), *arguments], env=self.env,
                              capture_output=True, timeout=10 * PATIENCE, check=False)
        return done.returncode, done.stdout.decode(), done.stderr.decode()

    def stored(self):
        with open(self.defaults, "rb") as file:
            return plistlib.load(file)


class Downloads(ScriptedService):
    """Answers a GET by what is set for its path: bytes, or a function of the connection."""

    def __init__(self):
        super().__init__()
        self.answers = {}

    def finish_request(self, request, _):
        with request.makefile("rb") as file, contextlib.suppress(OSError):
            head = b"".join(iter(file.readline, b"\r\n")).decode()
            answer = self.answers[head.split()[1]]
            if callable(answer):
                return answer(request)
            request.sendall(b"HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\n"
                            b"Content-Length: %d\r\n\r\n" % len(answer) + answer)


def archive(files):
    """A zip archive of (name, contents) pairs. A name that ends in @ is a link to its contents, one
    that ends in ! a file that nobody may read."""
    made = io.BytesIO()
    with zipfile.ZipFile(made, "w") as file:
        for name, contents in files:
            entry = zipfile.ZipInfo(name.rstrip("@!"))
            mode = {"@": stat.S_IFLNK | 0o777, "!": stat.S_IFREG}.get(name[-1], 0o100755)
            entry.external_attr, entry.compress_type = mode << 16, zipfile.ZIP_DEFLATED
            file.writestr(entry, contents)
    return made.getvalue()


class UpdateWorld(World):
    """A scratch home with applications that are offered updates."""

    def open_world(self):
        super().open_world()
        self.offers, self.downloads = [], Downloads()

    def new_app(self, name, **more):
        """The new version of an application as files of an archive."""
        info = {"CFBundleIdentifier": name.lower(), "CFBundleShortVersionString": "2", **more}
        return [(f"{name}.app/Contents/Info.plist", plistlib.dumps(info)),
                (f"{name}.app/Contents/MacOS/{name}", b"#!/bin/sh\n")]

    def offer(self, name, download, path=None, **more):
        """An old application and an offer to update it with what the path is answered with."""
        self.make_app(f"{name}.app", name.lower(), "1")
        path = path or f"/{name}.zip"
        self.downloads.answers[path] = download
        self.offers.append({"bundle_id": name.lower(), "version": "2",
                            "download_link": f"http://{self.downloads.address}{path}", **more})

    def installed(self, name):
        with open(self.path(f"apps/{name}.app/Contents/Info.plist"), "rb") as file:
            return plistlib.load(file)["CFBundleShortVersionString"]
