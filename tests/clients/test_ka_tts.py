"""The Python client against a server that records what it gets. Messages: messages.json, the same
table as for the commands of ka-tts. Run: python3 -m unittest discover tests/clients"""

import json
import pathlib
import socket
import struct
import sys
import threading
import time
import unittest
import xml.etree.ElementTree

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent.parent / "clients" / "python"))

import ka_tts  # noqa: E402

# Where TCP_INFO counts the segments that brought data (tcpi_data_segs_in).
DATA_SEGMENTS = 152


class RecordingServer:
    """Writes down what comes over each connection, and answers its first read."""

    def __init__(self, answer=b"received\n", hangs_up=False):
        self.answer = answer
        self.hangs_up = hangs_up
        self.recorded = []
        self.ended = threading.Condition()
        self.listening = socket.create_server(("127.0.0.1", 0))
        self.port = self.listening.getsockname()[1]
        self.thread = threading.Thread(target=self.serve)
        self.thread.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.listening.shutdown(socket.SHUT_RDWR)
        self.thread.join()
        self.listening.close()

    def client(self, timeout=30.0):
        return ka_tts.Client("127.0.0.1", self.port, self.port, self.port, timeout)

    def serve(self):
        while True:
            try:
                connection, _ = self.listening.accept()
            except OSError:
                return
            with connection:
                self.record(connection)

    def record(self, connection):
        message = connection.recv(65536)
        if self.answer:
            connection.sendall(self.answer)
        if self.hangs_up:
            connection.shutdown(socket.SHUT_WR)
        while more := self.receive(connection):
            message += more
        info = connection.getsockopt(socket.IPPROTO_TCP, socket.TCP_INFO, 256)
        with self.ended:
            self.recorded.append((message, struct.unpack_from("I", info, DATA_SEGMENTS)[0]))
            self.ended.notify_all()

    @staticmethod
    def receive(connection):
        try:
            return connection.recv(65536)
        except ConnectionResetError:  # The client went without having read the answer.
            return b""

    def await_messages(self, count):
        with self.ended:
            self.ended.wait_for(lambda: len(self.recorded) >= count, 30)
            return list(self.recorded)


def table():
    return json.loads((HERE / "messages.json").read_text("utf-8"))


def input_of(row):
    data = bytes.fromhex(row["hex"]) if "hex" in row else row.get("text", "").encode()
    return data * row.get("times", 1)


def deliver(client, row):
    raw = row.get("raw", False)
    if row["command"] in ("say", "urgent"):
        # As Python has text of the command line or a file that is no UTF-8.
        getattr(client, row["command"])(input_of(row).decode("utf-8", "surrogateescape"), raw)
    elif row["command"] == "send":
        client.send(input_of(row), raw)
    elif row["command"] == "play":
        client.play(*(name * row.get("times", 1) for name in row["names"]))
    else:
        getattr(client, row["command"])()


class Messages(unittest.TestCase):
    def test_each_goes_out_by_one_write_as_the_table_says(self):
        with RecordingServer() as server:
            rows = [row for row in table() if "refused" not in row]
            for count, row in enumerate(rows, 1):
                with self.subTest(row=row):
                    deliver(server.client(), row)
                    message, segments = server.await_messages(count)[-1]
                    sent = row["sent"].encode() if "sent" in row else input_of(row)
                    self.assertEqual(message, sent)
                    self.assertEqual(segments, 1)

    def test_what_the_table_refuses_is_refused_before_anything_is_sent(self):
        with RecordingServer() as server:
            for row in table():
                if "refused" not in row:
                    continue
                with self.subTest(row=row):
                    with self.assertRaises(ka_tts.Refused) as refused:
                        deliver(server.client(), row)
                    self.assertEqual(refused.exception.reason, row["refused"])
            server.client().bell()
            self.assertEqual(len(server.await_messages(1)), 1, "the bell alone")

    def test_a_play_list_without_names_is_refused(self):
        with self.assertRaises(ka_tts.Refused) as refused:
            ka_tts.Client().play()
        self.assertEqual(refused.exception.reason, "empty")

    def test_a_block_may_be_text(self):
        with RecordingServer() as server:
            server.client().send("<rbl><row a='ü'/></rbl>")
            self.assertEqual(server.await_messages(1)[0][0], "<rbl><row a='ü'/></rbl>".encode())


class Answers(unittest.TestCase):
    def assert_no_answer(self, reason, server, call):
        with self.assertRaises(ka_tts.NoAnswer) as failure:
            call(server.client(0.2))
        self.assertEqual(failure.exception.reason, reason)

    def test_one_that_does_not_come_is_a_timeout(self):
        with RecordingServer(answer=b"") as server:
            self.assert_no_answer("timeout", server, lambda client: client.say("x"))
            self.assertEqual(server.await_messages(1)[0][0], b"x")

    def test_one_that_is_cut_short_is_none(self):
        with RecordingServer(answer=b"recei", hangs_up=True) as server:
            self.assert_no_answer("closed", server, lambda client: client.bell())

    def test_one_of_another_program_is_none(self):
        with RecordingServer(answer=b"SSH-2.0-x\r\n") as server:
            self.assert_no_answer("other-answer", server, lambda client: client.bell())

    def test_a_server_that_ends_need_not_answer(self):
        with RecordingServer(answer=b"", hangs_up=True) as server:
            server.client().terminate()
            server.client().restart()

    def test_a_server_that_ends_has_a_second_to_answer(self):
        with RecordingServer(answer=b"") as server:
            for call in (server.client(600).terminate, server.client(600).restart):
                begin = time.monotonic()
                with self.assertRaises(ka_tts.NoAnswer) as failure:
                    call()
                self.assertEqual(failure.exception.reason, "timeout")
                self.assertLess(time.monotonic() - begin, 60)

    def test_no_connection_is_told_apart(self):
        with socket.create_server(("127.0.0.1", 0)) as taken:
            port = taken.getsockname()[1]
        with self.assertRaises(ka_tts.NotSent):
            ka_tts.Client(command_port=port).bell()

    def test_every_failure_is_of_one_kind(self):
        for kind in (ka_tts.Refused, ka_tts.NotSent, ka_tts.NoAnswer):
            self.assertTrue(issubclass(kind, ka_tts.KaTtsError))


class Blocks(unittest.TestCase):
    @staticmethod
    def rows(text):
        return [row.attrib for row in xml.etree.ElementTree.fromstring(text)]

    def test_have_a_row_for_each_mapping(self):
        text = ka_tts.block([{"event": "D", "number": 618}, {}, {"event": "A", "via": None}])
        self.assertEqual(self.rows(text), [{"event": "D", "number": "618"}, {}, {"event": "A"}])

    def test_keep_every_value_as_it_is(self):
        values = {
            "a": "\"<&>'",
            "b": " Köln\t\r\n",
            "c": "////",
            "d": "///",
            "e": "$`\\]]>",
            "f": "/",
            "g": "😀",
        }
        text = ka_tts.block([values])
        self.assertEqual(self.rows(text), [values])
        self.assertNotIn("///", text)

    def test_arrive_as_they_are(self):
        with RecordingServer() as server:
            text = ka_tts.block([{"dest": "Köln // Bonn"}], root="daten")
            server.client().send(text)
            self.assertEqual(server.await_messages(1)[0][0], text.rstrip("\n").encode())

    def test_refuse_what_xml_cannot_hold(self):
        for row in ({"a b": 1}, {"1": 1}, {"": 1}, {"a": "\0"}, {"a": "\x1b"}, {"a": "\ud800"}):
            with self.subTest(row=row), self.assertRaises(ValueError):
                ka_tts.block([row])
        with self.assertRaises(ValueError):
            ka_tts.block([], root="a>")


if __name__ == "__main__":
    unittest.main()
