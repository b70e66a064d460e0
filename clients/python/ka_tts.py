"""Client of the announcement server ka-tts-server.

Every message is one TCP connection: connect, send, wait for "received". The server answers when it
has done what was asked, i.e. when a text has been spoken or a play list has been played; "received"
does not say that anything was heard.

    import ka_tts

    server = ka_tts.Client("127.0.0.1")
    server.send(ka_tts.block([{"event": "D", "category": "ICE", "number": 618, "time": "09:04"}]))
    server.play("de0", "en0")

What the server would cut, take for something else, or hand to its shell is refused before anything
is sent. One file, Python 3.9 or later, standard library only; no state is shared between threads.
"""

from __future__ import annotations

import re
import socket
import time
import xml.parsers.expat
from typing import Iterable, Mapping, Union

__all__ = ["Client", "block", "KaTtsError", "Refused", "NotSent", "NoAnswer"]

#: Most bytes of a message: the server reads once.
LONGEST_MESSAGE = 11999

_RECEIVED = b"received\n"
_LONGEST_CONNECTING = 10.0
_LONGEST_END = 1.0

# What the server's shell interprets within double quotes, and where names stand without any.
_OF_QUOTED_TEXT = '"$`\\'
_OF_NAMES = " ,\t\r\n|&;<>()$`\\\"'*?[]{}"

_NAME = re.compile(r"[A-Za-z_][A-Za-z0-9_.-]*")
_NO_XML_CHARACTER = re.compile("[^\t\n\r\x20-\ud7ff\ue000-\ufffd\U00010000-\U0010ffff]")
_REFERENCES = {
    "&": "&amp;",
    "<": "&lt;",
    ">": "&gt;",
    '"': "&quot;",
    "\t": "&#9;",
    "\n": "&#10;",
    "\r": "&#13;",
}


class KaTtsError(Exception):
    """A message was not delivered."""


class Refused(KaTtsError, ValueError):
    """Nothing was sent, because the message would not arrive as it is meant.

    `reason` is the same word as in the JSON of the commands, e.g. "too-long".
    """

    def __init__(self, reason: str, problem: str) -> None:
        super().__init__(problem)
        self.reason = reason


class NotSent(KaTtsError, ConnectionError):
    """Nothing was sent, because there is no connection to the server. Trying again is safe."""


class NoAnswer(KaTtsError):
    """The message was sent, but "received" did not come; the server may have handled it.

    `reason` is "timeout", "closed" or "other-answer".
    """

    def __init__(self, reason: str, problem: str) -> None:
        super().__init__(problem)
        self.reason = reason


class Client:
    """The three ports of a server.

    :param host: name or address
    :param timeout: seconds to wait for an answer. A text must be spoken and a play list played in
        that time, and so must what other clients sent before. Connecting takes 10 s at most.
    """

    def __init__(
        self,
        host: str = "127.0.0.1",
        text_port: int = 5701,
        data_port: int = 5702,
        command_port: int = 5703,
        timeout: float = 300.0,
    ) -> None:
        self.host = host
        self.text_port = text_port
        self.data_port = data_port
        self.command_port = command_port
        self.timeout = timeout

    def say(self, text: str, raw: bool = False) -> None:
        """Has a text spoken. The server drops it while a play list runs.

        :param raw: allow what the server's shell interprets: " $ ` and backslash
        """
        self._deliver(self.text_port, _speakable(text, "", raw))

    def urgent(self, text: str = "", raw: bool = False) -> None:
        """Ends a running play list and has a text spoken. An empty text only ends the list."""
        self._deliver(self.text_port, _speakable(text, "!u", raw))

    def send(self, data: Union[str, bytes], raw: bool = False) -> None:
        """Sends a data block, of which announcements are made. Nothing is played yet.

        :param data: XML, e.g. of `block`; bytes may be in an encoding that their declaration names
        :param raw: allow faulty XML, and what the server cuts off behind the last tag
        """
        message = _without_line_end(data if isinstance(data, bytes) else data.encode("utf-8"))
        _require_whole(message)
        if not raw:
            _require_used(message)
        self._deliver(self.data_port, message)

    def play(self, *names: str) -> None:
        """Plays announcements one by one, e.g. play("de0", "en0"). The server passes over those
        that it does not have, and drops the list while a text is spoken."""
        for name in names:
            _require_name(name)
        message = ",".join(names).encode("utf-8", "surrogateescape")
        _require_whole(message)
        self._deliver(self.command_port, message)

    def bell(self) -> None:
        """Rings the bell."""
        self._deliver(self.command_port, b"!bell")

    def stop(self) -> None:
        """Ends all players of the server's machine, once a running play list is over."""
        self._deliver(self.command_port, b"!stop")

    def terminate(self) -> None:
        """Ends the server."""
        self._deliver(self.command_port, b"!terminate", ends_server=True)

    def restart(self) -> None:
        """Restarts the server. It takes messages again after some seconds."""
        self._deliver(self.command_port, b"!restart", ends_server=True)

    def _deliver(self, port: int, message: bytes, ends_server: bool = False) -> None:
        limit = min(self.timeout, _LONGEST_END) if ends_server else self.timeout
        with self._connect(port, min(limit, _LONGEST_CONNECTING)) as connection:
            # One call: the server takes what its first read brings.
            try:
                sent = connection.send(message)
            except OSError as error:
                raise NotSent(f"no connection to {self.host}:{port}: {error}") from error
            if sent != len(message):
                raise NoAnswer("closed", "only a part of the message was sent")
            try:
                _await_answer(connection, limit)
            except NoAnswer as failure:
                # A server that ends may be gone before it has answered.
                if not (ends_server and failure.reason == "closed"):
                    raise

    def _connect(self, port: int, limit: float) -> socket.socket:
        try:
            connection = socket.create_connection((self.host, port), timeout=limit)
            connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            return connection
        except OSError as error:
            raise NotSent(f"no connection to {self.host}:{port}: {error}") from error


def block(rows: Iterable[Mapping[str, object]], root: str = "rbl") -> str:
    """A data block with one row for each mapping of attributes to values.

    Values become text by `str`; those that are None are left out. Whatever they hold arrives as it
    is, but for a backslash before an "e", which the server makes the escape character.
    """
    lines = [f"<{_xml_name(root)}>"]
    for row in rows:
        attributes = "".join(
            f' {_xml_name(name)}="{_xml_value(str(value))}"'
            for name, value in row.items()
            if value is not None
        )
        lines.append(f"  <row{attributes}/>")
    lines.append(f"</{root}>\n")
    return "\n".join(lines)


def _xml_name(name: str) -> str:
    if not _NAME.fullmatch(name):
        raise ValueError(f"{name!r} is no name of an attribute or element")
    return name


def _xml_value(value: str) -> str:
    if _NO_XML_CHARACTER.search(value):
        raise ValueError(f"{value!r} holds a character that XML does not have")
    escaped = "".join(_REFERENCES.get(character, character) for character in value)
    # Three of them would end the message.
    return escaped.replace("//", "/&#47;")


def _without_line_end(message: bytes) -> bytes:
    for end in (b"\r\n", b"\n"):
        if message.endswith(end):
            return message[: -len(end)]
    return message


def _require_whole(message: bytes) -> None:
    if not message:
        raise Refused("empty", "nothing to send")
    if len(message) > LONGEST_MESSAGE:
        raise Refused("too-long", f"longer than {LONGEST_MESSAGE} bytes, the rest would be cut off")
    if b"\0" in message:
        raise Refused("nul-byte", "a NUL byte, where the message ends for the server")
    if b"///" in message:
        raise Refused("end-mark", '"///", where the message ends for the server')


def _speakable(text: str, mark: str, raw: bool) -> bytes:
    try:
        message = mark.encode() + _without_line_end(text.encode("utf-8", "surrogateescape"))
        _require_whole(message)
        if message.startswith(b"!u", len(mark)):
            raise Refused("urgent-mark", 'begins with "!u", the mark of urgent texts')
        found = "" if raw else _first_of(_OF_QUOTED_TEXT, text)
        if found:
            raise Refused("shell-character", f"holds {found!r}, which is the shell's at the server")
        if not raw:
            text.encode("utf-8")
        return message
    except UnicodeEncodeError as error:
        raise Refused("not-utf8", "is no UTF-8") from error


def _require_name(name: str) -> None:
    if not name:
        raise Refused("empty-name", "an empty name")
    if name.startswith("!"):
        raise Refused("name-command", f'the name {name!r} begins with "!" as commands do')
    found = _first_of(_OF_NAMES, name)
    if found:
        raise Refused("name-character", f"the name {name!r} holds {found!r}")


def _first_of(characters: str, text: str) -> str:
    return next((character for character in text if character in characters), "")


def _require_used(message: bytes) -> None:
    used = _used_part(message)
    if message[len(used) :].strip(b" \t\r\n"):
        raise Refused("block-end", f"the server cuts off what stands behind byte {len(used)}")
    try:
        xml.parsers.expat.ParserCreate().Parse(used, True)
    except (xml.parsers.expat.ExpatError, ValueError, LookupError) as error:
        raise Refused("not-xml", f"is no XML that the server takes: {error}") from error


def _used_part(message: bytes) -> bytes:
    """Up to the end of the last tag, as the server takes a block."""
    last = max(message.rfind(b"<"), message.rfind(b"/"))
    end = message.find(b">", last) if last >= 0 else -1
    return message if end < 0 else message[: end + 1]


def _await_answer(connection: socket.socket, limit: float) -> None:
    deadline = time.monotonic() + limit
    answer = b""
    while answer != _RECEIVED:
        try:
            # 0 would mean: do not wait at all.
            connection.settimeout(max(deadline - time.monotonic(), 1e-3))
            part = connection.recv(len(_RECEIVED))
        except socket.timeout as error:
            raise NoAnswer("timeout", f"no answer after {limit:g} s") from error
        except OSError:
            part = b""
        if not part:
            raise NoAnswer("closed", "the connection ended without an answer")
        answer += part
        if not _RECEIVED.startswith(answer):
            raise NoAnswer("other-answer", "the answer is not that of an announcement server")
