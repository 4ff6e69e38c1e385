#!/usr/bin/python3
"""An SMTP server on loopback for the mail tests and benchmark.

Writes each delivered message once per envelope recipient into --maildir as
NNNN.eml, with a Delivered-To line in front (written beside the final name
and renamed, so a reader never sees half a message). Prints "ready PORT" on
stdout once it listens; stops on SIGTERM.

  smtp_server.py --maildir DIR [--port N] [--cert PEM --key PEM]
                 [--user U --password P [--mechanisms PLAIN,LOGIN]]
                 [--pop-log FILE] [--silent]

--cert/--key offer STARTTLS and refuse mail before it. --user/--password
require AUTH (only offered after STARTTLS). --pop-log takes mail only after
a POP log-in of --user (or of anyone, without --user) shows in that
dovecot log file.
--silent accepts connections and never says a word.
"""

import argparse
import asyncio
import logging
import os
import signal
import ssl
import sys

from aiosmtpd.smtp import SMTP, AuthResult, LoginPassword


class Delivery:
    def __init__(self, maildir, pop_log, pop_user):
        self.maildir, self.pop_log, self.pop_user, self.count = maildir, pop_log, pop_user, 0

    def pop_logged_in(self):
        try:
            with open(self.pop_log, encoding="utf-8", errors="replace") as log:
                lines = log.read().splitlines()
        except OSError:
            return False
        return any("pop3-login: Info: Login: " in line and (not self.pop_user or "user=<%s>" % self.pop_user in line)
                   for line in lines)

    async def handle_MAIL(self, server, session, envelope, address, mail_options):
        if self.pop_log and not self.pop_logged_in():
            return "530 5.7.1 Log in to the POP server first"
        envelope.mail_from = address
        envelope.mail_options.extend(mail_options)
        return "250 OK"

    async def handle_DATA(self, server, session, envelope):
        for recipient in envelope.rcpt_tos:
            self.count += 1
            final = os.path.join(self.maildir, "%04d.eml" % self.count)
            with open(final + ".part", "wb") as out:
                out.write(b"Delivered-To: " + recipient.encode() + b"\r\n")
                out.write(envelope.original_content)
            os.rename(final + ".part", final)
        return "250 Message accepted for delivery"


async def stay_silent(reader, writer):
    while await reader.read(65536):
        pass
    writer.close()


def main():
    logging.getLogger("mail.log").setLevel(logging.ERROR)  # quiet about its own deprecations
    parser = argparse.ArgumentParser()
    parser.add_argument("--port", type=int, default=0)
    parser.add_argument("--maildir", required=True)
    for name in ("--cert", "--key", "--user", "--password", "--pop-log"):
        parser.add_argument(name)
    parser.add_argument("--mechanisms", default="PLAIN,LOGIN")
    parser.add_argument("--silent", action="store_true")
    args = parser.parse_args()

    tls = None
    if args.cert:
        tls = ssl.create_default_context(ssl.Purpose.CLIENT_AUTH)
        tls.load_cert_chain(args.cert, args.key)

    def authenticate(server, session, envelope, mechanism, data):
        ok = (isinstance(data, LoginPassword)
              and data.login.decode() == args.user and data.password.decode() == args.password)
        return AuthResult(success=ok, handled=False)

    delivery = Delivery(args.maildir, args.pop_log, args.user)
    offered = {m.strip().upper() for m in args.mechanisms.split(",")}
    excluded = [m for m in ("PLAIN", "LOGIN") if m not in offered]

    def protocol():
        return SMTP(delivery, hostname="tarlox-test", tls_context=tls, require_starttls=tls is not None,
                    authenticator=authenticate if args.user else None, auth_required=bool(args.user),
                    auth_require_tls=True, auth_exclude_mechanism=excluded, data_size_limit=64 * 1024 * 1024)

    loop = asyncio.new_event_loop()
    asyncio.set_event_loop(loop)
    server = loop.run_until_complete(asyncio.start_server(stay_silent, "127.0.0.1", args.port) if args.silent
                                     else loop.create_server(protocol, "127.0.0.1", args.port))
    loop.add_signal_handler(signal.SIGTERM, loop.stop)
    print("ready %d" % server.sockets[0].getsockname()[1], flush=True)
    loop.run_forever()
    server.close()
    return 0


if __name__ == "__main__":
    sys.exit(main())
