"""Checks the server launchers (run_vsftpd.sh, run_proftpd.sh, run_pureftpd.sh) with Python's ftplib.

Usage: /usr/bin/python3 tests/servers/smoke.py [SERVERS_DIR] [--only NAME]...
SERVERS_DIR defaults to $BUILD_DIR/servers (BUILD_DIR defaulting to build/); scripts/install-servers fills it first (quiet when all is there). For each
launcher, chrooted and with --no-chroot, it starts the server in a temporary work folder, logs in (passive mode),
prints every reply and checks their codes through a fixed series of commands, stops the server with kill -TERM and
checks that the launcher exits and leaves nothing behind; then stops one launcher with SIGTERM while a client is
logged in. Exits non-zero if anything fails.
"""
import ftplib
import io
import os
import pwd
import select
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
LAUNCHERS = [
    ("vsftpd", "run_vsftpd.sh"),
    ("proftpd", "run_proftpd.sh"),
    ("pureftpd", "run_pureftpd.sh"),
]
PASSWORD = "s3cret:pw"


class Failure(Exception):
    pass


class RecordingFTP(ftplib.FTP):
    """An FTP client that prints every command it sends and every reply it gets."""

    def __init__(self, label):
        super().__init__(timeout=20)
        self.label = label

    def putcmd(self, line):
        shown = "PASS ****" if line.startswith("PASS ") else line
        print("  %s > %s" % (self.label, shown), flush=True)
        super().putcmd(line)

    def getresp(self):
        try:
            reply = super().getresp()
        except ftplib.Error as error:
            self.show(str(error))
            raise
        self.show(reply)
        return reply

    def show(self, reply):
        for line in reply.split("\n"):
            print("  %s < %s" % (self.label, line), flush=True)


def expect(what, reply, *prefixes):
    if not any(reply.startswith(prefix) for prefix in prefixes):
        raise Failure("%s: expected %s, got %r" % (what, " or ".join(prefixes), reply))


def expect_error(what, call, *prefixes):
    try:
        reply = call()
    except ftplib.Error as error:
        expect(what, str(error), *prefixes)
        return str(error)
    raise Failure("%s: expected an error %s, got %r" % (what, " or ".join(prefixes), reply))


def read_lines(stream, count, timeout):
    """Reads count lines from a pipe within timeout seconds (fewer if it ends)."""
    lines, buffer = [], b""
    deadline = time.monotonic() + timeout
    fd = stream.fileno()
    while len(lines) < count:
        left = deadline - time.monotonic()
        if left <= 0 or not select.select([fd], [], [], left)[0]:
            break
        chunk = os.read(fd, 4096)
        if not chunk:
            break
        buffer += chunk
        while b"\n" in buffer and len(lines) < count:
            line, buffer = buffer.split(b"\n", 1)
            lines.append(line.decode())
    return lines


def alive(pid):
    try:
        with open("/proc/%d/stat" % pid) as stat:
            text = stat.read()
    except OSError:
        return False
    return text[text.rindex(")") + 2] != "Z"


def session(name, port, home, user, chroot, pasv_seen):
    ftp = RecordingFTP(name)
    ftp.connect("127.0.0.1", port)
    expect("greeting", ftp.welcome, "220")
    expect("USER/PASS", ftp.login(user, PASSWORD), "230")

    wanted = "/" if chroot else home
    reply = ftp.sendcmd("PWD")
    expect("PWD", reply, "257")
    if '"%s"' % wanted not in reply:
        raise Failure("PWD: expected %r in %r" % (wanted, reply))

    expect("MKD a", ftp.sendcmd("MKD a"), "257")
    expect_error("MKD a again", lambda: ftp.sendcmd("MKD a"), "5")
    expect("CWD a/", ftp.sendcmd("CWD a/"), "250")
    expect_error("CWD missing", lambda: ftp.sendcmd("CWD missing"), "5")
    expect("STOR a/inner.txt", ftp.storbinary("STOR inner.txt", io.BytesIO(b"inner\n")), "226")
    expect("CWD ..", ftp.sendcmd("CWD .."), "250")

    data = bytes((i * 7 + 3) % 256 for i in range(3000))
    ftp.voidcmd("TYPE I")
    connection, _ = ftp.ntransfercmd("STOR data.bin")
    preliminary = ftp.lastresp
    connection.sendall(data)
    connection.close()
    expect("STOR data.bin", ftp.voidresp(), "226")
    expect("STOR preliminary reply", preliminary, "150", "125")
    with open(os.path.join(home, "data.bin"), "rb") as stored:
        if stored.read() != data:
            raise Failure("the stored file differs on disk")
    os.symlink("data.bin", os.path.join(home, "link"))

    listing = []
    expect("LIST", ftp.retrlines("LIST", listing.append), "226")
    for line in listing:
        print("  %s | %s" % (name, line), flush=True)
    for entry in ("data.bin", "a", "link"):
        if not any(line.split()[-1] == entry or (" %s -> " % entry) in line for line in listing):
            raise Failure("LIST lacks %s" % entry)

    received = bytearray()
    expect("RETR data.bin", ftp.retrbinary("RETR data.bin", received.extend), "226")
    if bytes(received) != data:
        raise Failure("RETR gave other bytes (%d of 3000)" % len(received))

    expect_error("RETR missing", lambda: ftp.retrbinary("RETR missing.bin", lambda b: None), "5")
    expect_error("DELE missing", lambda: ftp.sendcmd("DELE missing.bin"), "5")
    expect_error("DELE a directory", lambda: ftp.sendcmd("DELE a"), "5")
    expect_error("RMD non-empty", lambda: ftp.sendcmd("RMD a"), "5")
    expect("DELE a/inner.txt", ftp.sendcmd("DELE a/inner.txt"), "250")
    expect("RMD a", ftp.sendcmd("RMD a"), "250")
    if os.path.exists(os.path.join(home, "a")):
        raise Failure("RMD a left the folder on disk")

    reply = ftp.sendcmd("PASV")
    expect("PASV", reply, "227")
    if "(127,0,0,1," not in reply:
        raise Failure("PASV does not announce 127,0,0,1: %r" % reply)
    pasv_seen.append(reply)

    # A wrong password on a second connection, while the first is open.
    other = RecordingFTP(name + "#2")
    other.connect("127.0.0.1", port)
    expect_error("PASS wrong", lambda: other.login(user, "wrong-" + PASSWORD), "530")
    other.close()

    # The PASV above opened a data port that stays unused: QUIT must work all the same.
    expect("QUIT", ftp.quit(), "221")


def start_launcher(servers, script, work, user, chroot):
    """Starts a launcher; returns it with the port, home and server pid it printed."""
    command = ["bash", os.path.join(HERE, script), servers, work, user, PASSWORD]
    if not chroot:
        command.append("--no-chroot")
    started = time.monotonic()
    launcher = subprocess.Popen(command, stdout=subprocess.PIPE)
    lines = read_lines(launcher.stdout, 3, 30)
    print("  launcher: %s (%.2f s)" % (" | ".join(lines), time.monotonic() - started), flush=True)
    if len(lines) != 3 or not lines[0].startswith("PORT ") or not lines[1].startswith("HOME ") \
            or not lines[2].startswith("PID "):
        raise Failure("launcher printed %r" % lines)
    port, home, pid = int(lines[0][5:]), lines[1][5:], int(lines[2][4:])
    if home != os.path.join(os.path.realpath(work), "home"):
        raise Failure("HOME %s is not %s/home" % (home, work))
    if not alive(pid):
        raise Failure("PID %d is not running" % pid)
    return launcher, port, home, pid


def check_stopped(launcher, name, port, pid, user):
    try:
        code = launcher.wait(timeout=15)
    except subprocess.TimeoutExpired:
        raise Failure("the launcher did not exit within 15 s")
    if code != 0:
        raise Failure("the launcher exited with %d" % code)
    if launcher.stdout.read():
        raise Failure("the launcher printed more after PID")
    if alive(pid):
        raise Failure("the server %d still runs" % pid)
    try:
        socket.create_connection(("127.0.0.1", port), timeout=2).close()
        raise Failure("port %d still accepts connections" % port)
    except OSError:
        pass
    if name == "vsftpd":
        try:
            pwd.getpwnam(user)
            raise Failure("the temporary user %s is still there" % user)
        except KeyError:
            pass


def stop_launcher(launcher):
    if launcher.poll() is None:
        launcher.send_signal(signal.SIGTERM)
        try:
            launcher.wait(timeout=15)
        except subprocess.TimeoutExpired:
            launcher.kill()
            launcher.wait()
    launcher.stdout.close()


def run_case(servers, name, script, chroot, user):
    """The command series, then kill -TERM of the server."""
    label = "%s%s" % (name, "" if chroot else " --no-chroot")
    print("== %s" % label, flush=True)
    started = time.monotonic()
    work = tempfile.mkdtemp(prefix="plx_smoke_%s_" % name)
    launcher = None
    try:
        launcher, port, home, pid = start_launcher(servers, script, work, user, chroot)
        session(label, port, home, user, chroot, [])
        os.kill(pid, signal.SIGTERM)
        check_stopped(launcher, name, port, pid, user)
        print("  ok (%.2f s)" % (time.monotonic() - started), flush=True)
    finally:
        if launcher is not None:
            stop_launcher(launcher)
        shutil.rmtree(work, ignore_errors=True)


def run_stop_case(servers, name, script, user):
    """SIGTERM to the launcher itself while a client is logged in: all of it must go, the session too."""
    label = "%s stop" % name
    print("== %s" % label, flush=True)
    started = time.monotonic()
    work = tempfile.mkdtemp(prefix="plx_smoke_%s_" % name)
    launcher = None
    try:
        launcher, port, home, pid = start_launcher(servers, script, work, user, True)
        ftp = RecordingFTP(label)
        ftp.connect("127.0.0.1", port)
        expect("USER/PASS", ftp.login(user, PASSWORD), "230")
        launcher.send_signal(signal.SIGTERM)
        check_stopped(launcher, name, port, pid, user)
        ftp.sock.settimeout(5)
        try:
            while ftp.sock.recv(4096):
                pass
        except socket.timeout:
            raise Failure("the logged-in session still runs")
        except OSError:
            pass
        ftp.close()
        print("  ok (%.2f s)" % (time.monotonic() - started), flush=True)
    finally:
        if launcher is not None:
            stop_launcher(launcher)
        shutil.rmtree(work, ignore_errors=True)


def main():
    args = sys.argv[1:]
    only = []
    while "--only" in args:
        at = args.index("--only")
        only.append(args[at + 1])
        del args[at:at + 2]
    build = os.environ.get("BUILD_DIR") or os.path.join(ROOT, "build")
    servers = os.path.abspath(args[0] if args else os.path.join(build, "servers"))
    subprocess.run([os.path.join(ROOT, "scripts", "install-servers"), servers], check=True)
    user = "plxsmoke%d" % (os.getpid() % 100000)
    cases = []
    for name, script in LAUNCHERS:
        if not only or name in only:
            cases += [(name, lambda n=name, s=script: run_case(servers, n, s, True, user)),
                      (name + " --no-chroot", lambda n=name, s=script: run_case(servers, n, s, False, user)),
                      (name + " stop", lambda n=name, s=script: run_stop_case(servers, n, s, user))]
    failures = []
    for label, case in cases:
        try:
            case()
        except (Failure, ftplib.Error, OSError, EOFError) as error:
            print("  FAILED: %s" % error, flush=True)
            failures.append("%s: %s" % (label, error))
    print("%d passed, %d failed" % (len(cases) - len(failures), len(failures)))
    for failure in failures:
        print("FAILED " + failure)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
