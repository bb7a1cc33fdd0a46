"""The peers: the packages they come in, and how each is configured for the same job: one folder,
read-only, on one loopback port, one request per HTTP connection, no log."""

import grp
import os
import pwd
import subprocess
import sys
from dataclasses import dataclass, field
from pathlib import Path
from typing import Callable

from harness import packages

PYFTPD = Path(__file__).with_name("pyftpd.py")
PEERS_FOLDER = "peers"
MAX_CLIENTS = 4096
NOBODY = pwd.getpwnam("nobody")
# vsftpd needs an account whose home folder exists.
DAEMON = "daemon"


@dataclass(frozen=True)
class Place:
    """Where a server runs: the folder it shares, its port, and its working folder."""

    shared: Path
    port: int
    work: Path


@dataclass(frozen=True)
class Start:
    """How to start a server in the foreground, and the login it expects."""

    command: list[str]
    environment: dict[str, str] = field(default_factory=dict)
    user: str = "anonymous"
    password: str = "bench"


@dataclass(frozen=True)
class Server:
    """One of the servers that are measured."""

    name: str
    protocol: str
    package: str
    configure: Callable[[Path, Place], Start]

    def prepare(self, peers: Path, place: Place) -> Start:
        """Writes the configuration; the server must have been downloaded."""
        place.work.mkdir(parents=True, exist_ok=True)
        return self.configure(peers / self.name, place)


def nginx(root: Path, place: Place) -> Start:
    user = pwd.getpwuid(os.getuid())
    group = grp.getgrgid(user.pw_gid)
    configuration = place.work / "nginx.conf"
    configuration.write_text(f"""
daemon off;
user {user.pw_name} {group.gr_name};
pid {place.work}/pid;
error_log stderr crit;
worker_processes 2;
worker_rlimit_nofile {4 * MAX_CLIENTS};
events {{ worker_connections {MAX_CLIENTS}; }}
http {{
    access_log off;
    sendfile on;
    tcp_nopush on;
    keepalive_timeout 0;
    client_header_timeout 600;
    send_timeout 600;
    client_body_temp_path {place.work}/body;
    proxy_temp_path {place.work}/proxy;
    fastcgi_temp_path {place.work}/fastcgi;
    uwsgi_temp_path {place.work}/uwsgi;
    scgi_temp_path {place.work}/scgi;
    types {{ text/html html; text/plain txt; }}
    default_type application/octet-stream;
    server {{
        listen 127.0.0.1:{place.port};
        root {place.shared};
        autoindex on;
    }}
}}
""", encoding="utf-8")
    program = root / "usr/sbin/nginx"
    return Start([str(program), "-e", "stderr", "-p", str(place.work), "-c", str(configuration)])


def lighttpd(root: Path, place: Place) -> Start:
    configuration = place.work / "lighttpd.conf"
    configuration.write_text(f"""
server.modules = ( "mod_dirlisting" )
server.bind = "127.0.0.1"
server.port = {place.port}
server.document-root = "{place.shared}"
server.errorlog = "{place.work}/error.log"
server.max-keep-alive-requests = 0
server.max-connections = {MAX_CLIENTS}
server.max-fds = {4 * MAX_CLIENTS}
server.max-read-idle = 600
server.max-write-idle = 600
dir-listing.activate = "enable"
mimetype.assign = ( ".html" => "text/html", ".txt" => "text/plain",
                    "" => "application/octet-stream" )
""", encoding="utf-8")
    return Start([str(root / "usr/sbin/lighttpd"), "-D", "-f", str(configuration),
                  "-m", str(root / "usr/lib/lighttpd")])


def vsftpd(root: Path, place: Place) -> Start:
    empty = place.work / "empty"
    empty.mkdir(exist_ok=True)
    configuration = place.work / "vsftpd.conf"
    # Without a network namespace for each session, which would halve its speed.
    configuration.write_text(f"""listen=YES
listen_address=127.0.0.1
listen_port={place.port}
background=NO
anonymous_enable=YES
local_enable=NO
write_enable=NO
anon_root={place.shared}
ftp_username={DAEMON}
nopriv_user={NOBODY.pw_name}
secure_chroot_dir={empty}
max_clients=0
max_per_ip=0
xferlog_enable=NO
idle_session_timeout=600
""", encoding="utf-8")
    return Start([str(root / "usr/sbin/vsftpd"), str(configuration)],
                 {"LD_LIBRARY_PATH": packages.library_path(root)})


# crypt(3) of "bench" with the cheapest method: the server is measured, not the password hash.
CHEAP_HASH = "qvBLXk8O0P8Z."


def pure_ftpd(root: Path, place: Place) -> Start:
    # Anonymous access needs the system account "ftp", a virtual user does not.
    accounts = place.work / "accounts"
    accounts.write_text(f"bench:{CHEAP_HASH}:{NOBODY.pw_uid}:{NOBODY.pw_gid}::{place.shared}/./"
                        ":::::::::::::\n", encoding="utf-8")
    database = place.work / "accounts.pdb"
    libraries = {"LD_LIBRARY_PATH": packages.library_path(root)}
    subprocess.run([root / "usr/bin/pure-pw", "mkdb", database, "-f", accounts], check=True,
                   env={**os.environ, **libraries})
    clients = str(MAX_CLIENTS)
    command = [str(root / "usr/sbin/pure-ftpd"), "-4", "-S", f"127.0.0.1,{place.port}",
               "-c", clients, "-C", clients, "-l", f"puredb:{database}", "-E", "-u", "1",
               "-H", "-I", "10", "-L", "1000000:5", "-f", "none", "-g", str(place.work / "pid")]
    return Start(command, libraries, "bench", "bench")


def pyftpdlib(root: Path, place: Place) -> Start:
    return Start(["/usr/bin/python3", str(PYFTPD), str(place.shared), str(place.port)],
                 {"PYTHONPATH": str(root / "usr/lib/python3/dist-packages")})


PEERS = [
    Server("nginx", "http", "nginx", nginx),
    Server("lighttpd", "http", "lighttpd", lighttpd),
    Server("vsftpd", "ftp", "vsftpd", vsftpd),
    Server("pure-ftpd", "ftp", "pure-ftpd", pure_ftpd),
    Server("pyftpdlib", "ftp", "python3-pyftpdlib", pyftpdlib),
]


def fetched(servers: list[Server], folder: Path) -> list[Server]:
    """Downloads what is missing; returns the servers that are available."""
    had = []
    for server in servers:
        try:
            if server.package:
                packages.unpacked(server.package, folder / PEERS_FOLDER / server.name)
            had.append(server)
        except packages.PackageError as error:
            print(f"{server.name} left out: {error}", file=sys.stderr)
    return had


OURS = "quorvel"
BEFORE = "before"  # an earlier build of this server


def ours(program: Path, name: str = OURS) -> list[Server]:
    """FTP with a login, so that a session has as many commands as with the peers."""

    def start(protocol: str, place: Place) -> Start:
        command = [str(program), "--type", protocol, "--folder", str(place.shared),
                   "--port", str(place.port)]
        if protocol == "http":
            return Start(command)
        return Start([*command, "--user", "bench", "--pass", "bench"], {}, "bench", "bench")

    return [Server(name, protocol, "", lambda _, place, protocol=protocol: start(protocol, place))
            for protocol in ("http", "ftp")]
