"""Plays a host that was not written with this code: listens on one port, sends back each record to another, and ends
when the connection does; with "closing" it closes the connection after each record and ends by itself never.
Usage: python_peer.py LINE LISTEN ANSWER [closing], where LINE is the descriptor to say "o" on."""
import array
import fcntl
import os
import socket
import sys

SEALS = 0x1 | 0x2 | 0x4 | 0x8  # F_SEAL_SEAL, _SHRINK, _GROW, _WRITE
F_ADD_SEALS, F_GET_SEALS = 1033, 1034


def send(port, record):
    if 0 < len(record) <= 65536:
        port.send(record)
        return
    memory = os.memfd_create("record", os.MFD_CLOEXEC | os.MFD_ALLOW_SEALING)
    with os.fdopen(memory, "wb") as file:
        file.write(record)
        file.flush()
        fcntl.fcntl(memory, F_ADD_SEALS, SEALS)
        port.sendmsg([b"\0"], [(socket.SOL_SOCKET, socket.SCM_RIGHTS, array.array("i", [memory]))])


def receive(connection):  # None at the end
    packet, control, flags, _ = connection.recvmsg(65536, socket.CMSG_SPACE(4))
    if not control:
        return packet or None
    memory = array.array("i", control[0][2][:4])[0]
    with os.fdopen(memory, "rb") as file:
        if fcntl.fcntl(memory, F_GET_SEALS) & SEALS != SEALS:
            raise ValueError("not sealed")
        file.seek(0)
        return file.read()


line, listen, answer, closes = int(sys.argv[1]), sys.argv[2], sys.argv[3], sys.argv[4:] == ["closing"]
listener = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
listener.bind(listen)
listener.listen()
port = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
port.connect(answer)
os.write(line, b"o")
connection, _ = listener.accept()
while (record := receive(connection)) is not None:
    send(port, record)
    if closes:
        connection.close()
        os.write(line, b"c")
        connection, _ = listener.accept()
