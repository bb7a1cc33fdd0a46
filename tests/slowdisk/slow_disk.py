"""A file system in user space that answers when a test says so (linux/fuse.h).

The kernel asks a thread of this process, so nothing in this process may touch what is mounted. Two
opens of a file whose read is held wait for each other in the kernel, and no signal ends that.
"""

import collections
import contextlib
import ctypes
import errno
import os
import random
import struct
import threading
import zlib

from served import PATIENCE

KINDS = {
    1: "lookup", 2: "forget", 3: "getattr", 5: "readlink", 14: "open", 15: "read", 17: "statfs",
    18: "release", 25: "flush", 26: "init", 27: "opendir", 28: "readdir", 29: "release",
    34: "access", 36: "interrupt", 42: "forget",
}
# Version 7.31, asynchronous reads, parallel lookups, 1000 requests at once: none waits for another.
INIT = struct.pack("<4I2H2I8I", 7, 31, 1 << 17, 1 << 0 | 1 << 18, 1000, 1000, 4096, 1, *[0] * 8)
STATFS = struct.pack("<5Q10I", *[0] * 5, 4096, 255, 4096, *[0] * 7)
FIXED = {"init": INIT, "statfs": STATFS, "opendir": bytes(16), "access": b"", "flush": b"",
         "release": b""}
REQUEST, REPLY = struct.Struct("<IIQQIIII"), struct.Struct("<IiQ")
CLONE_NEWNS, MS_PRIVATE, MS_REC, MNT_FORCE, MNT_DETACH = 0x20000, 1 << 18, 1 << 14, 1, 2
FOLDER, FILE, LINK = 4, 8, 10  # readdir(3)
PATTERN = random.Random(1).randbytes(1_000_003)  # its length is prime, so no two chunks are alike
LIBC = ctypes.CDLL(None, use_errno=True)


def system(call, *arguments):
    if getattr(LIBC, call)(*arguments) != 0:
        raise OSError(ctypes.get_errno(), os.strerror(ctypes.get_errno()), call)


def enter_own_namespace():
    """What this process mounts from here on vanishes with it. Returns why that cannot be."""
    try:
        os.close(os.open("/dev/fuse", os.O_RDWR))
        system("unshare", CLONE_NEWNS)
        system("mount", b"none", b"/", None, MS_REC | MS_PRIVATE, None)
    except OSError as refused:
        return f"only root can mount a file system in user space ({refused})"


def content(seed, offset, size):
    start = (offset + zlib.crc32(seed.encode())) % len(PATTERN)
    return (PATTERN * ((start + size) // len(PATTERN) + 1))[start : start + size]


class Node:
    """Made of a size for a file, a dictionary for a folder, or a text for a link."""

    def __init__(self, number, name, made_of, seed):
        self.number, self.name, self.made_of, self.seed = number, name, made_of, seed
        self.type = {dict: FOLDER, int: FILE, str: LINK}[type(made_of)]
        self.fails_at = None  # the first byte, or entry, that cannot be read

    def content(self):
        return content(self.seed, 0, self.made_of)


class SlowDisk:
    """No two items in the tree may have the same name."""

    def __init__(self, folder, tree):
        self.folder = os.fsencode(folder)
        self.nodes, self.named, self.seen = [None], {}, collections.Counter()
        self.held_kind, self.held, self.changed = None, [], threading.Condition()
        self.entry_timeout = self.attribute_timeout = 0  # seconds
        self.largest_read = None  # if set, reads are direct and short
        self.add("/", tree)
        self.device = os.open("/dev/fuse", os.O_RDWR)
        options = f"fd={self.device},rootmode=40000,user_id=0,group_id=0,allow_other".encode()
        system("mount", b"slow", self.folder, b"fuse", 0, options)
        self.thread = threading.Thread(target=self.serve, daemon=True)
        self.thread.start()
        self.wait_for(lambda: self.seen["init"])

    def close(self):
        """Fails every request that is still held. So does the end of this process."""
        system("umount2", self.folder, MNT_FORCE | MNT_DETACH)
        self.thread.join(PATIENCE)

    def __getitem__(self, name):
        return self.nodes[self.named[name]]

    def add(self, name, made_of, seed=None):
        """Adds an item, or replaces the one of that name."""
        self.named[name] = len(self.nodes)
        self.nodes.append(Node(len(self.nodes), name, made_of, seed or name))
        for entry in made_of.items() if isinstance(made_of, dict) else ():
            self.add(*entry)

    @contextlib.contextmanager
    def holding(self, kind):
        """Inside, no request of that kind, or of "any", is answered. One that is interrupted fails,
        as on network file systems, so that a process that waits can be killed."""
        self.held_kind = kind
        try:
            yield
        finally:
            with self.changed:
                held, self.held, self.held_kind = self.held, [], None
            for request in held:
                self.answer(*request)

    def wait_held(self, count):
        """Waits until requests about so many names are held."""
        self.wait_for(lambda: len({self.name_of(*request) for request in self.held}) >= count)

    def wait_for(self, condition):
        with self.changed:
            assert self.changed.wait_for(condition, PATIENCE), "the disk waited in vain"

    def serve(self):
        try:
            while True:
                with contextlib.suppress(FileNotFoundError):  # interrupted before it was read
                    self.take(os.read(self.device, 1 << 16))
        except OSError as ended:
            assert ended.errno == errno.ENODEV, ended
        finally:
            os.close(self.device)  # the kernel ends whatever still waits

    def take(self, message):
        _, opcode, unique, number, *_ = REQUEST.unpack_from(message)
        kind, body = KINDS.get(opcode, "unknown"), message[REQUEST.size :]
        with self.changed:
            self.seen[kind] += 1
            self.changed.notify_all()
            if kind == "interrupt":
                return self.interrupt(*struct.unpack_from("<Q", body))
            if kind == "forget":
                return
            if self.held_kind in (kind, "any"):
                return self.held.append((kind, unique, number, body))
        self.answer(kind, unique, number, body)

    def interrupt(self, unique):
        for request in [request for request in self.held if request[1] == unique]:
            self.held.remove(request)
            self.reply(unique, -errno.EINTR)

    def name_of(self, kind, _unique, number, body):
        return body[:-1].decode() if kind == "lookup" else self.nodes[number].name

    def answer(self, kind, unique, number, body):
        if kind in FIXED or kind == "unknown":
            return self.reply(unique, 0 if kind in FIXED else -errno.ENOSYS, FIXED.get(kind, b""))
        try:
            self.reply(unique, 0, getattr(self, kind)(self.nodes[number], body))
        except OSError as error:
            self.reply(unique, -error.errno)

    def reply(self, unique, error, body=b""):
        with contextlib.suppress(OSError):  # whoever asked has gone
            os.write(self.device, REPLY.pack(REPLY.size + len(body), error, unique) + body)

    def attributes(self, node):
        size = node.made_of if node.type == FILE else 0
        times, mode = [1_000_000_000] * 3, node.type << 12 | 0o555
        numbers = node.number, size, size // 512 + 1, *times, 0, 0, 0, mode, 1, 0, 0, 0, 4096, 0
        return struct.pack("<6Q10I", *numbers)

    def lookup(self, folder, body):
        if (name := body[:-1].decode()) not in folder.made_of:
            raise OSError(errno.ENOENT, name)
        times = self.entry_timeout, self.attribute_timeout, 0, 0
        return struct.pack("<4Q2I", self.named[name], 0, *times) + self.attributes(self[name])

    def getattr(self, node, _body):
        return struct.pack("<Q2I", self.attribute_timeout, 0, 0) + self.attributes(node)

    def readlink(self, node, _body):
        return node.made_of.encode()

    def open(self, _node, _body):
        is_direct = self.largest_read is not None  # otherwise a short read means the end
        return struct.pack("<Q2I", 0, is_direct, 0)

    def read(self, node, body):
        _, offset, size = struct.unpack_from("<2QI", body)
        end = min(offset + min(size, self.largest_read or size), node.made_of)
        if node.fails_at is not None and end > node.fails_at:
            raise OSError(errno.EIO, node.name)
        return content(node.seed, offset, max(end - offset, 0))

    def readdir(self, node, body):
        _, offset, size = struct.unpack_from("<2QI", body)
        if node.fails_at is not None and offset >= node.fails_at:
            raise OSError(errno.EIO, node.name)
        text = b""
        for at, name in list(enumerate(node.made_of, 1))[offset : node.fails_at]:
            entry = struct.pack("<2Q2I", at, at, len(name), self[name].type) + name.encode()
            if len(text) + len(entry) + 7 > size:
                break
            text += entry + bytes(-len(entry) % 8)
        return text
