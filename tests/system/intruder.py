# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""A program that is not the companion: connects to the helper's socket, asks for the version, says what it got.

Usage: intruder.py once | intruder.py flood COUNT | intruder.py call >FILE

It waits for the helper for as long as it takes.
"""

import socket
import struct
import sys

SOCKET_PATH = "/run/net.orvane.Wicket.TlvPrivilegedHelper"


def connected():
    client = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    client.connect(SOCKET_PATH)
    return client


def header_field(code, signature, text):
    field = struct.pack("<BB", code, 1) + signature + b"\0" + struct.pack("<I", len(text)) + text + b"\0"
    return field + b"\0" * (-len(field) % 8)


def version_call():
    """A D-Bus method call as the companion sends it."""
    fields = header_field(1, b"o", b"/net/orvane/Wicket") + \
        header_field(2, b"s", b"net.orvane.Wicket.HelperProtocol") + \
        header_field(3, b"s", b"getVersionWithCompletion_")
    length = len(fields.rstrip(b"\0")) + 1
    return b"l\1\0\1" + struct.pack("<III", 0, 1, length) + fields


def request():
    return b"\0AUTH EXTERNAL\r\nDATA\r\nBEGIN\r\n" + version_call()


def ask():
    client = connected()
    received = b""
    try:
        client.sendall(request())
        while True:
            data = client.recv(4096)
            if not data:
                return "cut", received
            received += data
    except OSError:
        return "cut", received


def main():
    if sys.argv[1:] == ["once"]:
        try:
            end, received = ask()
        except OSError as error:
            print(f"no connection: {error.strerror}")
            return
        print(f"{end}, {'answered' if b'9417' in received else 'not answered'}")
    elif sys.argv[1:] == ["call"]:
        sys.stdout.buffer.write(request())
    else:
        for _ in range(int(sys.argv[2])):
            try:
                connected().close()
            except OSError as error:
                print(f"no connection: {error.strerror}")
                return
        print("connected each time")


main()
