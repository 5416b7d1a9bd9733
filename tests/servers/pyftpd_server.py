"""A pyftpdlib server for the interoperability tests, on a free loopback port.

Usage: pyftpd_server.py HOME USER PASSWORD
Prints "PORT <number>" on its first line once it listens, then serves until it is killed.
"""
import logging
import sys

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import FTPHandler
from pyftpdlib.servers import FTPServer


def main():
    home, user, password = sys.argv[1:4]
    authorizer = DummyAuthorizer()
    authorizer.add_user(user, password, home, perm="elradfmwMT")
    handler = FTPHandler
    handler.authorizer = authorizer
    handler.passive_ports = None
    logging.basicConfig(level=logging.WARNING)
    server = FTPServer(("127.0.0.1", 0), handler)
    print("PORT %d" % server.address[1], flush=True)
    server.serve_forever()


if __name__ == "__main__":
    main()
