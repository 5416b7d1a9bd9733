"""A pyftpdlib server for the interoperability tests, on a free loopback port.

Usage: pyftpd_server.py HOME USER PASSWORD [COMMAND_LOG]
Prints "PORT <number>" on its first line once it listens, then serves until it is killed. With COMMAND_LOG, every
command line received is written to that file ("<- CWD a/"), so tests can see what reached the server.
"""
import logging
import sys

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import FTPHandler
from pyftpdlib.servers import FTPServer


def main():
    home, user, password = sys.argv[1:4]
    if len(sys.argv) > 4:
        logging.basicConfig(filename=sys.argv[4], level=logging.DEBUG)
    else:
        logging.basicConfig(level=logging.WARNING)
    authorizer = DummyAuthorizer()
    authorizer.add_user(user, password, home, perm="elradfmwMT")
    handler = FTPHandler
    handler.authorizer = authorizer
    handler.passive_ports = None
    server = FTPServer(("127.0.0.1", 0), handler)
    print("PORT %d" % server.address[1], flush=True)
    server.serve_forever()


if __name__ == "__main__":
    main()
