"""Serves the simulation in world.py to the engine, on this machine. Start it with `python service.py`."""

import argparse
import signal
import sys
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import grpc

from rooms import MOST_ROOMS, SERVER_OPTIONS, RoomService, add_to_server
from world import SCENARIOS, Crossing


def port_number(text: str) -> int:
    """Reads one for the command line."""
    if not 0 <= int(text) <= 65535:
        raise ValueError
    return int(text)


def arguments() -> argparse.Namespace:
    """What the command line says."""
    parser = argparse.ArgumentParser(description="Serves a small simulation to the engine.")
    parser.add_argument("--port", type=port_number, default=50051, help="port on 127.0.0.1; 0: any free one")
    parser.add_argument("--token-file", type=Path, help="file with the token that clients must show")
    return parser.parse_args()


def read_token(file: Path | None) -> str:
    """The token in the file; empty if there is no file."""
    if file is None:
        return ""
    try:
        token = file.read_text().strip()
    except OSError as error:
        sys.exit(f"cannot read the token: {error}")
    return token or sys.exit(f"{file}: the token file is empty")


def main() -> None:
    """Serves until Ctrl-C or SIGTERM."""
    args = arguments()
    service = RoomService(SCENARIOS, Crossing, read_token(args.token_file))
    server = grpc.server(ThreadPoolExecutor(max_workers=2 * MOST_ROOMS), options=SERVER_OPTIONS)
    add_to_server(service, server)
    # Plain text: on this machine only. For the network: server.add_secure_port with a certificate, and a token.
    try:
        port = server.add_insecure_port(f"127.0.0.1:{args.port}")
    except RuntimeError:
        port = 0
    if port == 0:
        sys.exit(f"cannot listen on port {args.port}")
    server.start()
    print(f"listening on grpc://127.0.0.1:{port}", flush=True)

    signal.signal(signal.SIGTERM, lambda *_: sys.exit(0))
    try:
        while True:
            time.sleep(1)
            service.forget_ended_rooms()
    except (KeyboardInterrupt, SystemExit):
        server.stop(grace=1).wait()


if __name__ == "__main__":
    main()
