"""unit.py: the reference unit of a build folder for the scripts that measure or attack it, and requests to it."""
import atexit
import base64
import os
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
from pathlib import Path

HERE = os.path.dirname(os.path.realpath(__file__))
PATIENCE_SECONDS = 8  # of an ordinary client
START_SECONDS = 30
BIG_BYTES = 1 << 20
FORM = "Content-Type: application/x-www-form-urlencoded\r\n"
ENVELOPE = ("<E:Envelope xmlns:E='http://schemas.xmlsoap.org/soap/envelope/' xmlns:n='urn:soapServ'><E:Body>"
            "<n:coreDbReadData><inputType>analog</inputType><inputName>FDR1_IA</inputName><inputFormat>"
            "</inputFormat></n:coreDbReadData></E:Body></E:Envelope>")


def post(body, header="", path="/"):
    return f"POST {path} HTTP/1.1\r\n{header}Content-Length: {len(body)}\r\n\r\n{body}".encode()


def form(**fields):
    encoded = {name: base64.b64encode(text.encode()).decode().replace("=", "%3D") for name, text in fields.items()}
    return "&".join(f"{name}={text}" for name, text in encoded.items())


def login(user, password=None):
    return post(form(cgiMethod="cgiLogin", arg1=user, arg2=password or user), FORM + "Accept: application/json\r\n")


LOGIN = login("viewer")  # ends this user's earlier session, so the other requests are the administrator's
HALF = post(ENVELOPE)[:-len(ENVELOPE) // 2]

# name, bytes that are sent at once, bytes that follow every second
SLOW_KINDS = [
    ("silent", b"", b""),
    ("half a request line", b"GET /sc", b"r"),
    ("half a header", b"GET / HTTP/1.1\r\nHost: un", b"x"),
    ("half an envelope", HALF, b""),
    ("half a form", LOGIN[:-20], b""),
    ("large upload, drips", b"POST / HTTP/1.1\r\n" + FORM.encode() + b"Content-Length: 9999999\r\n\r\n"
     + b"x" * 300000, b"x" * 100),
    ("unread 1 MB", b"GET /big.png HTTP/1.1\r\n\r\n", b""),
    ("chunks that stop", b"POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n9\r\n<E", b""),
    ("Expect, no body", b"POST / HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 99\r\n\r\n", b""),
    ("no length", b"POST / HTTP/1.1\r\n\r\n" + ENVELOPE[:-20].encode(), b""),
    ("envelope not closed", post(ENVELOPE[:-3]), b""),
]


def receive_all(client):
    reply = b""
    while True:
        part = client.recv(1 << 16)
        if not part:
            return reply
        reply += part


def drip(client, request):
    """Sends what the kernel takes at once; a client whose connection has ended sends nothing."""
    try:
        client.send(request, socket.MSG_DONTWAIT)
    except OSError:
        pass


def free_port():
    """A loopback port below the kernel's ephemeral range that nobody listens on."""
    for port in range(21000 + os.getpid() % 5000, 32000):
        with socket.socket() as probe:
            try:
                probe.bind(("127.0.0.1", port))
                return port
            except OSError:
                continue
    sys.exit("no free port")


class Unit:
    """The reference unit, in a folder and a /mnt that end with it. patience is that of its clients, in seconds."""

    def __init__(self, build, *options, patience=PATIENCE_SECONDS):
        self.patience = patience
        self.folder = tempfile.mkdtemp()
        atexit.register(self.stop)
        root = self.folder + "/www"
        shutil.copytree(HERE + "/../sim/www", root)
        Path(root, "big.png").write_bytes(b"b" * BIG_BYTES)
        with open(root + "/huge.png", "wb") as file:
            file.truncate(500 << 20)
        settings = Path(build, "bench/figures.sh").read_text(encoding="utf-8")
        emulator = re.search("^EMULATOR='(.*)'$", settings, re.MULTILINE)[1].split()
        self.is_emulated = bool(emulator)
        self.port = free_port()
        self.process = subprocess.Popen(
            [HERE + "/private_mnt", *emulator, build + "/sim/sim", "--port", str(self.port), "--state",
             self.folder + "/state", "--web-root", root, "--quiet", "--strict", "off", *options],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        for _ in range(START_SECONDS * 20):
            try:
                reply = self.talk(login("admin"))
                break
            except OSError:
                time.sleep(0.05)
        else:
            sys.exit("the unit does not answer")
        self.cookie = "Cookie: " + re.search("\r\nSet-Cookie: ([^;]*);", reply.decode())[1] + "\r\n"
        self.read = post(ENVELOPE, self.cookie)

    def get(self, path):
        return f"GET {path} HTTP/1.1\r\n{self.cookie}\r\n".encode()

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        try:
            self.process.wait(20)
        except subprocess.TimeoutExpired:
            self.process.kill()
        shutil.rmtree(self.folder, ignore_errors=True)

    def connect(self, request=b""):
        client = socket.create_connection(("127.0.0.1", self.port), self.patience)
        if request:
            try:
                client.settimeout(0.2)  # the unit may not take all of it
                client.sendall(request)
            except OSError:
                pass
            client.settimeout(self.patience)
        return client

    def talk(self, request):
        with socket.create_connection(("127.0.0.1", self.port), self.patience) as client:
            client.settimeout(self.patience)
            client.sendall(request)
            return receive_all(client)

    def kib(self):
        return self.status("VmRSS:")

    def peak_kib(self):
        return self.status("VmHWM:")

    def status(self, name):
        return int(re.search(rf"^{name}\s*(\d+)", self.proc("status").read_text(), re.MULTILINE)[1])

    def forget_peak(self):
        self.proc("clear_refs").write_text("5")

    def descriptors(self):
        return len(list(self.proc("fd").iterdir()))

    def new_descriptors(self, before, seconds):
        """How many more there are than before, when the service has had so much time to close the last ones."""
        end = time.monotonic() + seconds
        while self.descriptors() != before and time.monotonic() < end:
            time.sleep(0.002)
        return self.descriptors() - before

    def proc(self, path):
        return Path(f"/proc/{self.process.pid}", path)

    def service_thread(self):
        """Its folder in /proc."""
        return next(task for task in self.proc("task").iterdir() if (task / "comm").read_text() == "webServer\n")

    def service_seconds(self):
        """Processor time of the service thread since its start."""
        return int((self.service_thread() / "schedstat").read_text().split()[0]) / 1e9
