#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""test_serve.py TOOL PATIENT - the web server of `ezossl ... --serve`: every page, every refusal,
readers that are slow, gone or too many. PATIENT is 1 where the tool is slow, as under an
emulator."""

import base64
import hashlib
import json
import os
import pathlib
import re
import socket
import statistics
import subprocess
import sys
import threading
import time

from serving import FOLDER, PATIENCE, TOOL, Served, run, run_tests, wait_until

PATIENT = sys.argv[2] == "1"
AT_ONCE = 5 if PATIENT else 1  # seconds


def connect(port, receive_buffer=0):
    link = socket.socket()
    if receive_buffer:
        link.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)
    link.settimeout(PATIENCE)
    link.connect(("127.0.0.1", port))
    return link


def until_closed(link):
    got = b""
    try:
        while piece := link.recv(65536):
            got += piece
    except ConnectionResetError:
        pass  # closed with bytes of ours unread
    return got


def ask(port, request):
    with connect(port) as link:
        link.sendall(request)
        return until_closed(link).decode()


def request(path="/", host="127.0.0.1", method="GET", more=""):
    return f"{method} {path} HTTP/1.1\r\nHost: {host}\r\n{more}\r\n".encode()


class Reader:
    """A reader of /events; a small buffer keeps the system from buffering events."""

    def __init__(self, port, receive_buffer=0):
        self.link = connect(port, receive_buffer)
        self.link.sendall(request("/events", host=f"127.0.0.1:{port}"))
        self.file = self.link.makefile("rb")
        self.head = b"".join(iter(self.file.readline, b"\r\n")).decode()

    def events(self):
        """Name ("" for those of -f jsonl) and data of the events until the stream ends."""
        text = b""
        while size := int(self.file.readline(), 16):
            text += self.file.read(size + 2)[:-2]
            *whole, text = text.split(b"\n\n")
            for lines in (event.decode().split("\n") for event in whole if event != b":"):
                yield "".join(line[7:] for line in lines[:-1]), lines[-1].removeprefix("data: ")

    def close(self):
        self.file.close()
        self.link.close()


def test_ports_that_are_not_free():
    with Served("demo") as served:
        for command in ("demo", "track x.wav -s 5.8cm -o out.csv", "live -D null -s 5.8cm"):
            done = run(*command.split(), f"--serve={served.port}")
            reason = f"port {served.port} of 127.0.0.1 is in use; choose another one"
            assert done.returncode == 1 and reason in done.stderr, done
            assert not done.stdout and not pathlib.Path(FOLDER.name, "out.csv").exists(), done
    if int(pathlib.Path("/proc/sys/net/ipv4/ip_unprivileged_port_start").read_text()) <= 1:
        print("LEFT OUT: here everybody may use every port")
        return
    ordinary = ["setpriv", "--bounding-set=-all"] if os.geteuid() == 0 else []
    done = run("demo", "--serve=1", before=ordinary)
    assert done.returncode == 1 and "port 1 is reserved for the admin" in done.stderr, done


def test_pages():
    headers = ("Connection: close", "Cache-Control: no-store", "Referrer-Policy: no-referrer",
               "Cross-Origin-Resource-Policy: same-origin", "X-Content-Type-Options: nosniff")
    ok, moved, begun = "200 OK", "421 Misdirected", time.monotonic()
    own = socket.gethostname()
    with Served("demo", "0.0.0.0:0") as served:
        cross_site = "Sec-Fetch-Site: cross-site\r\n"
        for answer, text, *requests in (
                (ok, "</html>", request(), request(host=f"localhost:{served.port}"),
                 request(host="LOCALHOST"), request(more=cross_site), request(host=own),
                 request(host=f"{own}.local:{served.port}")),
                ("20", "", request("/latest", host="[::1]:81")),  # 204 until there is a block
                ("404", "/events and /latest", request("/../etc/passwd"),
                 request("http://evil.example/")),
                (moved, "", request(host="evil.example"), request(host=""),
                 request("/latest", host="127.0.0.1.evil.example"),
                 request("/events", host="localhost.evil.example:80"),
                 request(host="localhost:80@evil.example")),
                ("400", "\nA request needs exactly one", b"GET / HTTP/1.0\r\n\r\n"),
                ("400", "", b"GET / HTTP/1.1\r\n\r\n",  # libmicrohttpd 1.0 refuses it itself
                 request(more="Host: localhost\r\n")),
                ("403", "", request("/events", more=cross_site),
                 request("/latest", more="Sec-Fetch-Site: same-site\r\n")),
                ("405", "Allow: GET, HEAD", request(method="OPTIONS"), request(method="DELETE"),
                 request(method="POST", more="Content-Length: 999\r\n"),
                 request(method="PUT", more="Transfer-Encoding: chunked\r\n")),
                ("431", "", request(more=f"X: {'x' * 100000}\r\n"))):
            for asked in requests:
                got = ask(served.port, asked)
                assert got.startswith("HTTP/1.1 " + answer) and text in got, (asked[:99], got)
                assert "Access-Control" not in got, got
                if answer not in ("400", "431"):
                    assert all(f"\r\n{header}\r\n" in got for header in headers), got
        assert not ask(served.port, b"\x16\x03\x01\x02\0\r\n\r\n").startswith("HTTP/1.1 2")
        for path in ("/", "/latest", "/events"):
            got = ask(served.port, request(path, method="HEAD"))
            assert got.startswith("HTTP/1.1 20") and got.endswith("\r\n\r\n"), got
        head, page = ask(served.port, request()).split("\r\n\r\n", 1)
        policy = re.search("Content-Security-Policy: (.*)", head)[1]
        assert "default-src 'none'" in policy and "unsafe" not in policy, policy
        for element in ("style", "script"):
            text = re.search(f"<{element}>(.*?)</{element}>", page, re.S)[1].encode()
            digest = base64.b64encode(hashlib.sha256(text).digest()).decode()
            assert f"{element}-src 'sha256-{digest}'" in policy, policy
        assert not re.search(r"(src|href)=.?(https?:|//)", page)
        statuses = json.loads(re.search(r'id="statuses">(.*?)</script>', page)[1])
        assert statuses["quiet"]["words"] == "too quiet", statuses
        assert "lower" in statuses["quiet"]["next_step"], statuses
        latest = wait_until(lambda: ask(served.port, request("/latest")).split("\r\n\r\n", 1)[1])
        # The demo takes as long as its sound.
        assert json.loads(latest)["t_end"] < time.monotonic() - begun + 1, latest
    with Served("demo", f"0.0.0.0:{served.port}") as again:  # old connections do not block it
        assert again.port == served.port, again.said()


def test_events_are_those_of_jsonl():
    for command in ("track x.wav y.wav -s 5.8cm", "live -D null -s 5.8cm --realtime -d 1"):
        with Served(f"{command} -f jsonl") as served:
            got = list(Reader(served.port).events())
            assert served.process.wait(PATIENCE) == 0
            printed = served.printed().splitlines()
        assert [data for name, data in got if not name] == printed, (got, printed)
        assert got[-1] == ("end", '{"type":"end"}') and '"block"' in printed[1], got
        assert command.startswith("live") == ('"time":"20' in printed[1]), printed
    faults = [json.loads(data) for name, data in got if name == "fault"]
    assert [fault["name"] for fault in faults] == ["too quiet"], got
    assert "What to do: raise the capture gain" in faults[0]["text"], faults
    # All blocks are events, though not all are printed; and what is printed is the same as ever.
    command = "track x.wav -s 5.8cm -f csv --on-change 9"
    with Served(command) as served:
        got = [json.loads(data) for _, data in Reader(served.port).events()]
        assert served.process.wait(PATIENCE) == 0
        assert served.printed() == run(*command.split()).stdout != ""
        assert [event["type"] for event in got].count("block") == 7, got
        assert served.printed().count("\n") < 7


def test_address_of_ipv6():
    interfaces = pathlib.Path("/proc/net/if_inet6")
    if not interfaces.exists() or " lo\n" not in interfaces.read_text():
        print("LEFT OUT: this computer has no IPv6")
        return
    for address, url in (("[::1]:0", r"http://\[::1\]:\d+/, for this computer only"),
                         ("[::]:0", rf"http://{socket.gethostname()}:\d+/, for everybody")):
        with Served("demo", address) as served:
            assert re.search(url, served.said()), served.said()


def test_too_many_readers():
    with Served("demo") as served:
        readers = [Reader(served.port) for _ in range(32)]
        assert all("200 OK" in reader.head and "Content-Type: text/event-stream" in reader.head
                   for reader in readers)
        refused = Reader(served.port).head
        assert refused.startswith("HTTP/1.1 503") and "Retry-After" in refused, refused
        assert "200 OK" in ask(served.port, request()) + ask(served.port, request("/latest"))
        readers.pop().close()
        wait_until(lambda: "503" not in Reader(served.port).head)
        # The end reaches all of them, at once.
        seconds, status = served.interrupt()
        assert status == 0 and seconds < AT_ONCE, (seconds, status)
        assert "keeps moving" not in served.said() or " of 25 blocks" in served.printed()
        assert b'"summary"' in until_closed(readers[0].link)
        assert "lost" not in served.said(), served.said()


NOISE = os.urandom(128 * 2 * 2)  # a frame
FLOOD = "track - --raw -s 5.8cm --raw-blocks -b 1 -f csv"  # a block of every frame


def test_reader_that_does_not_read():
    frames = 4000
    alone = subprocess.run([TOOL, *FLOOD.split()], input=NOISE * frames, capture_output=True)
    with Served(FLOOD) as served:
        served.feed(NOISE * 100)
        reader = Reader(served.port, 2048)
        deaf = Reader(served.port, 2048)
        served.feed(NOISE * (frames - 100))
        # Blocks are printed although nobody reads the events.
        wait_until(lambda: served.printed().count("\n") >= frames - 100, served.said)
        got = []
        reading = threading.Thread(target=lambda: got.extend(reader.events()))
        reading.start()
        last = 0.008 * (frames - 100)  # s, until it has caught up
        wait_until(lambda: got and json.loads(got[-1][1]).get("t_end", 0) >= last, lambda: got[-1:])
        served.process.stdin.close()
        assert served.process.wait(PATIENCE) == 0
        reading.join()
        lost = sum(json.loads(data)["events"] for name, data in got if name == "lost")
        told = [json.loads(data) for name, data in got if not name]
        assert lost > 1000 and '"end"' in got[-1][1], (lost, got[-1])
        assert sum(block["type"] == "block" for block in told) + lost == frames, (lost, len(told))
        assert re.search(r"\d+ events of the dial were lost", served.said()), served.said()
        assert served.printed() == alone.stdout.decode()
        deaf.close()


def test_connections_that_take_their_time():
    """A byte now and then, nothing at all, a stream that is not read. Others are answered meanwhile,
    silent streams show that they are alive, and an interrupt ends the tool at once."""
    with Served("demo") as demo, Served(FLOOD) as served:
        begun = time.monotonic()
        patient = Reader(served.port)
        silent, slow, deaf = connect(served.port), connect(served.port), Reader(served.port, 2048)
        served.feed(NOISE * 4000)
        slow.settimeout(0.2)
        try:
            while time.monotonic() < begun + 20:
                slow.sendall(b"G")
                try:
                    assert slow.recv(1) == b""
                    break
                except TimeoutError:
                    assert "200 OK" in ask(served.port, request())
        except (BrokenPipeError, ConnectionResetError):
            pass
        assert until_closed(silent) == b"" and 4 < time.monotonic() - begun < 12
        piece = b"-"
        while not piece.endswith(b":\n\n\r\n"):  # or it would time out
            assert (piece := patient.link.recv(65536)), "the server has closed the stream"
        time.sleep(max(0.0, begun + 12 - time.monotonic()))
        assert b"event: end" not in until_closed(deaf.link)
        deaf = Reader(served.port, 2048)
        served.feed(NOISE * 4000)
        seconds, status = served.interrupt()
        assert status == 130 and seconds < AT_ONCE, (seconds, status)
        # The demo has printed its walk, and goes on in the browser.
        seen = ask(demo.port, request("/latest"))
        wait_until(lambda: ask(demo.port, request("/latest")) != seen, demo.said)
        assert "mean absolute error" in demo.printed(), demo.printed()


def test_latency():
    """The time from the last sample of a block on standard input to its event."""
    with Served("track - --raw -s 5.8cm") as served:
        assert ask(served.port, request("/latest")).startswith("HTTP/1.1 204")
        events = Reader(served.port).events()
        next(events)
        delays = []
        for _ in range(20):
            served.feed(NOISE * 31)
            time.sleep(0.05)
            begun = time.monotonic()
            served.feed(NOISE)
            assert '"block"' in next(events)[1]
            delays.append(1000 * (time.monotonic() - begun))
    print(f"latency: median {statistics.median(delays):.2f} ms, longest {max(delays):.2f} ms")
    assert statistics.median(delays) < (200 if PATIENT else 20), delays


if __name__ == "__main__":
    conf = pathlib.Path(FOLDER.name, "alsa.conf")
    conf.write_text("pcm.null { type null }\n")
    os.environ["ALSA_CONFIG_PATH"] = str(conf)
    for name, seconds in (("x", 2), ("y", 1)):
        run("simulate", "-a30", "-s5.8cm", f"-d{seconds}", f"-o{name}.wav")
    run_tests(globals())
