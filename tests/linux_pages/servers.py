"""The servers on the network that the pages speak of, on this machine, for one test.

The test is a case of unittest with a folder `home`, `write` and `start`.
"""

import base64
import os
import shutil
import socket
import subprocess
import tempfile
import time
import urllib.request
from email.utils import formatdate
from pathlib import Path

patience = 60  # seconds
secret = "correct horse"


def wait_until(holds):
    deadline = time.monotonic() + patience
    while not holds():
        if time.monotonic() > deadline:
            raise TimeoutError
        time.sleep(0.05)


class CalendarServer:
    """A server of calendars and address books on this machine, with a password."""

    def __init__(self, test):
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            port = free.getsockname()[1]
        test.write("server/users", f"ada:{secret}\n")
        settings = test.write("server/config", f"""[server]
hosts = 127.0.0.1:{port}
[auth]
type = htpasswd
htpasswd_filename = {test.home}/server/users
htpasswd_encryption = plain
delay = 0
[storage]
filesystem_folder = {test.home}/server/data
""")
        log = open(test.home / "server/log", "w", encoding="utf-8")
        test.addCleanup(log.close)
        test.start(["radicale", "--config", settings], stderr=log, stdout=log)
        self.folder = test.home / "server/data/collection-root/ada"
        self.address = f"http://127.0.0.1:{port}/"

        def answers():
            with socket.socket() as probe:
                return probe.connect_ex(("127.0.0.1", port)) == 0

        wait_until(answers)

    def request(self, method, path, kind, body):
        key = base64.b64encode(f"ada:{secret}".encode()).decode()
        asked = urllib.request.Request(f"{self.address}ada/{path}", body.encode(), method=method, headers={
            "Content-Type": kind, "Authorization": "Basic " + key})
        urllib.request.urlopen(asked, timeout=patience).close()

    def create(self, name, kind, title):
        prefix = "urn:ietf:params:xml:ns:" + ("caldav" if kind == "calendar" else "carddav")
        self.request("MKCOL", name + "/", "application/xml", f"""<?xml version="1.0" encoding="UTF-8"?>
<create xmlns="DAV:" xmlns:C="{prefix}"><set><prop><resourcetype><collection/><C:{kind}/></resourcetype>
<displayname>{title}</displayname></prop></set></create>""")

    def put(self, path, kind, lines):
        text = f"BEGIN:{kind}\r\nUID:{path}\r\n{lines}END:{kind}\r\n"
        if kind != "VCARD":
            text = f"BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//x//y//EN\r\n{text}END:VCALENDAR\r\n"
        self.request("PUT", path, "text/calendar" if kind != "VCARD" else "text/vcard", text)

    def items(self, name):
        return [path.read_text() for path in (self.folder / name).glob("*.ics")]


class MailServer:
    """The mailbox of an IMAP server on this machine, which mbsync starts by itself. That server will not
    run as root."""

    def __init__(self, test):
        if not shutil.which("doveadm"):
            test.skipTest("dovecot-imapd is not installed, because it would start to serve mail")
        nobody = 65534
        root_runs = os.getuid() == 0
        user = nobody if root_runs else os.getuid()
        group = nobody if root_runs else os.getgid()
        top = Path(tempfile.mkdtemp(dir="/tmp"))
        test.addCleanup(shutil.rmtree, top)
        top.chmod(0o755)
        self.folder = top / "mail"
        (top / "run").mkdir()
        for folder in ("mail", "mail/.Sent"):
            for name in ("cur", "new", "tmp"):
                (top / folder / name).mkdir(parents=True)
        self.owner = (user, group)
        (top / "conf").write_text(f"""{self.place()}
log_path = /dev/stderr
base_dir = {top}/run
mail_uid = {user}
mail_gid = {group}
first_valid_uid = 1
first_valid_gid = 1
namespace inbox {{
  inbox = yes
  separator = /
  mailbox Drafts {{
    auto = create
  }}
  mailbox Archive/2026 {{
    auto = create
  }}
}}
""")
        for path in top.rglob("*"):
            os.chown(path, user, group)
        become = f"setpriv --reuid={user} --regid={group} --clear-groups " if root_runs else ""
        self.command = f"{become}env HOME={top} USER=ada doveadm -c {top}/conf exec imap"
        self.delivered = 0

    def place(self):
        """The settings of the mailbox, in the language of the version that is installed."""
        version = subprocess.run(["dovecot", "--version"], capture_output=True, text=True, check=True).stdout
        if tuple(map(int, version.split(".")[:2])) < (2, 4):
            return f"mail_location = maildir:{self.folder}"
        return ("dovecot_config_version = 2.4.0\ndovecot_storage_version = 2.4.0\n"
                f"mail_driver = maildir\nmail_path = {self.folder}")

    def deliver(self, folder, where, sender, subject, flags=""):
        self.delivered += 1
        name = f"{int(time.time()) - self.delivered}.{self.delivered}.host{flags}"
        path = self.folder / folder / where / name
        path.write_text(f"From: {sender}\nTo: ada@example.org\nSubject: {subject}\nDate: {formatdate()}\n\n"
                        "Hello, Ada\n")
        os.chown(path, *self.owner)
