"""pyftpdlib as an anonymous, read-only server: `pyftpd.py FOLDER PORT`."""

import logging
import sys

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import FTPHandler
from pyftpdlib.servers import FTPServer

logging.basicConfig(level=logging.ERROR)
authorizer = DummyAuthorizer()
authorizer.add_anonymous(sys.argv[1])
FTPHandler.authorizer = authorizer
server = FTPServer(("127.0.0.1", int(sys.argv[2])), FTPHandler)
server.max_cons = 8192
server.serve_forever(handle_exit=False)
