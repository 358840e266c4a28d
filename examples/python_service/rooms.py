"""The protocol: rooms with their tokens and leases, and numbered calls of which a repeated one runs once.

This file knows nothing about ships or scores. Keep it as it is when you serve your own simulation.
proto/tessra/v1/simulation.proto describes every call.
"""

import contextlib
import functools
import hmac
import json
import logging
import math
import secrets
import threading
import time
from collections import deque
from collections.abc import Callable, Iterator
from dataclasses import dataclass, field
from typing import Any

import grpc

import stubs  # noqa: F401  makes the code that the next lines import
from tessra.v1 import simulation_pb2 as pb
from tessra.v1.simulation_pb2_grpc import SimulationServicer
from tessra.v1.simulation_pb2_grpc import add_SimulationServicer_to_server as add_to_server  # noqa: F401  for service.py

from simulation import Refused, Simulation

VERSION = 1  # of the contract
LARGEST_MESSAGE = 64 << 20  # bytes
MOST_ROOMS = 64
MOST_COMMANDS = 10_000  # in a package
LARGEST_COMMAND = 64 << 10  # bytes
MOST_WAITING = 4  # calls per room, besides the one that runs
DEFAULT_LEASE = 120  # seconds
LONGEST_LEASE = 1200

# gRPC's own settings would cut the connection: clients send larger messages and ping more often than it allows.
SERVER_OPTIONS = [
    ("grpc.max_receive_message_length", LARGEST_MESSAGE),
    ("grpc.max_send_message_length", LARGEST_MESSAGE),
    ("grpc.keepalive_permit_without_calls", 1),
    ("grpc.http2.min_ping_interval_without_data_ms", 10_000),
    ("grpc.http2.max_ping_strikes", 0),
    ("grpc.so_reuseport", 0),  # a second service on the same port is an error
]

# Starts an episode: name of the scenario, seed, number of the episode, simulated seconds per advance (0: your default).
Start = Callable[[str, int, int, float], Simulation]


class CallFailed(Exception):
    """A call is answered with a status code and a text instead of a reply."""

    def __init__(self, code: str, text: str) -> None:
        super().__init__(text)
        self.code = grpc.StatusCode[code]


@dataclass
class Room:
    """One client's room and the episode it plays."""

    request_id: str
    client_id: str
    lease: int
    step_interval: float
    id: str = field(default_factory=lambda: secrets.token_hex(16))
    token: bytes = field(default_factory=lambda: secrets.token_hex(16).encode())
    simulation: Simulation | None = None
    last_number: int = 0
    last_request: Any = None
    last_reply: Any = None
    closed: bool = False
    last_used: float = field(default_factory=time.monotonic)
    queue: deque = field(default_factory=deque)  # the running call and those that wait, in the order they arrived
    changed: threading.Condition = field(default_factory=threading.Condition)  # guards closed, last_used and queue

    def has_ended(self) -> bool:
        """Whether it was closed or its lease has run out, which it does not while a call runs."""
        with self.changed:
            self.closed |= not self.queue and time.monotonic() > self.last_used + self.lease
            return self.closed

    def close(self) -> None:
        """Lets the running call end; those that wait fail."""
        with self.changed:
            self.closed = True
            self.changed.notify_all()

    @contextlib.contextmanager
    def turn(self) -> Iterator[None]:
        """Waits until the calls that came before have ended. The lease starts anew with the end of this one."""
        me = object()
        with self.changed:
            if len(self.queue) > MOST_WAITING:
                raise CallFailed("RESOURCE_EXHAUSTED", f"more than {MOST_WAITING} calls wait in this room")
            self.queue.append(me)
        try:
            with self.changed:
                self.changed.wait_for(lambda: self.closed or self.queue[0] is me)
                if self.closed:
                    raise CallFailed("NOT_FOUND", "the room was closed")
            yield
        finally:
            with self.changed:
                self.queue.remove(me)
                self.last_used = time.monotonic()
                self.changed.notify_all()

    def once(self, request: Any, run: Callable[[], Any]) -> Any:
        """Runs a call, or returns its kept reply if it has run already."""
        number = request.call.number
        if number == self.last_number > 0 and request == self.last_request:
            return self.last_reply
        if number != self.last_number + 1:
            expected = self.last_number + 1
            raise CallFailed("OUT_OF_RANGE", f"call number {number} is not the one expected, {expected}")
        reply = run()
        self.last_number, self.last_request, self.last_reply = number, request, reply
        return reply


def as_json(record: dict[str, Any]) -> pb.Json:
    """A record as it travels."""
    text = json.dumps(record, ensure_ascii=False, allow_nan=False, separators=(",", ":")).encode()
    if len(text) + 1024 > LARGEST_MESSAGE:
        raise CallFailed("RESOURCE_EXHAUSTED", f"the record has {len(text)} bytes, more than a message holds")
    return pb.Json(encoding=pb.Json.ENCODING_JSON, text=text)


def answered(run: Callable) -> Callable:
    """Makes a method a call: it returns the reply, and what it raises becomes the status."""

    @functools.wraps(run)
    def call(self: "RoomService", request: Any, context: grpc.ServicerContext) -> Any:
        try:
            self.admit(context)
            return run(self, request)
        except CallFailed as failed:
            code, text = failed.code, str(failed)
        except Exception as error:
            logging.exception("%s failed", run.__name__)
            code, text = grpc.StatusCode.ABORTED, f"{type(error).__name__}: {error}"
        context.abort(code, text)

    return call


def in_room(run: Callable) -> Callable:
    """Makes a method, which gets the room as well, a numbered call."""

    @functools.wraps(run)
    def call(self: "RoomService", request: Any) -> Any:
        room = self.find(request.call)
        with room.turn():
            return room.once(request, lambda: run(self, room, request))

    return answered(call)


def in_episode(run: Callable) -> Callable:
    """Makes a method, which gets room and simulation as well, a numbered call that needs a loaded scenario."""

    @functools.wraps(run)
    def call(self: "RoomService", room: Room, request: Any) -> Any:
        if room.simulation is None:
            raise CallFailed("FAILED_PRECONDITION", "no scenario is loaded")
        return run(self, room, room.simulation, request)

    return in_room(call)


def check_command(number: int, command: str) -> None:
    """Fails for one that is too long."""
    if len(command.encode()) > LARGEST_COMMAND:
        raise CallFailed("RESOURCE_EXHAUSTED", f"command {number} has more than the {LARGEST_COMMAND} bytes allowed")


class RoomService(SimulationServicer):
    """All calls of the contract but those for the agents of scheduling clients, which stay UNIMPLEMENTED."""

    def __init__(self, scenarios: list[str], start: Start, token: str = "") -> None:
        """Offers these scenarios. With a token every call must carry it."""
        self.scenarios = scenarios
        self.start = start
        self.authorization = f"Bearer {token}" if token else ""
        self.instance = secrets.token_hex(16)
        self.rooms: dict[str, Room] = {}
        self.lock = threading.Lock()  # guards rooms

    def admit(self, context: grpc.ServicerContext) -> None:
        """Fails if the client does not show the token."""
        given = str(dict(context.invocation_metadata()).get("authorization", ""))
        if self.authorization and not hmac.compare_digest(given.encode(), self.authorization.encode()):
            raise CallFailed("UNAUTHENTICATED", "the token is wrong" if given else "a token is required")

    def find(self, key: Any) -> Room:
        """The room that a message with `room` and `token` names."""
        with self.lock:
            room = self.rooms.get(key.room)
        if room is None or room.has_ended():
            raise CallFailed("NOT_FOUND", "there is no such room, or no longer")
        if not hmac.compare_digest(key.token, room.token):
            raise CallFailed("PERMISSION_DENIED", "the room has another token")
        return room

    def forget_ended_rooms(self) -> None:
        """To be called now and then."""
        with self.lock:
            self.rooms = {id: room for id, room in self.rooms.items() if not room.has_ended()}

    # Without a room.

    @answered
    def Hello(self, request: pb.HelloRequest) -> pb.HelloReply:
        if not request.oldest_version <= VERSION <= request.newest_version:
            mine, theirs = f"versions {VERSION} to {VERSION}", f"{request.oldest_version} to {request.newest_version}"
            raise CallFailed("FAILED_PRECONDITION", f"this server speaks {mine}, the client {theirs}")
        return pb.HelloReply(
            version=VERSION, instance=self.instance, largest_message=LARGEST_MESSAGE, server="python example 1"
        )

    @answered
    def ListRooms(self, request: pb.ListRoomsRequest) -> pb.ListRoomsReply:
        self.forget_ended_rooms()
        with self.lock:
            mine = [room.id for room in self.rooms.values() if room.client_id == request.client_id != ""]
        return pb.ListRoomsReply(rooms=mine)

    @answered
    def OpenRoom(self, request: pb.OpenRoomRequest) -> pb.OpenRoomReply:
        interval = request.step_interval_seconds
        if not 1 <= len(request.request_id.encode()) <= 64:
            raise CallFailed("INVALID_ARGUMENT", "request_id: must have 1 to 64 bytes")
        if interval < 0 or not math.isfinite(interval):
            raise CallFailed("INVALID_ARGUMENT", f"step_interval_seconds: must be 0 or more, is {interval}")
        if request.side:
            raise CallFailed("PERMISSION_DENIED", "this service has no rooms for the agent of one side")
        self.forget_ended_rooms()
        with self.lock:
            room = next((room for room in self.rooms.values() if room.request_id == request.request_id), None)
            if room is None:
                if len(self.rooms) >= MOST_ROOMS:
                    raise CallFailed("RESOURCE_EXHAUSTED", f"all {MOST_ROOMS} rooms of this server are taken")
                lease = min(request.lease_seconds or DEFAULT_LEASE, LONGEST_LEASE)
                room = Room(request.request_id, request.client_id, lease, interval)
                self.rooms[room.id] = room
        return pb.OpenRoomReply(room=room.id, token=room.token, lease_seconds=room.lease)

    @answered
    def ResumeRoom(self, request: pb.ResumeRoomRequest) -> pb.ResumeRoomReply:
        room = self.find(request)
        with room.turn():
            return pb.ResumeRoomReply(next_number=room.last_number + 1)

    @answered
    def CloseRoom(self, request: pb.CloseRoomRequest) -> pb.CloseRoomReply:
        try:
            self.find(request).close()
        except CallFailed as failed:
            if failed.code != grpc.StatusCode.NOT_FOUND:
                raise
        return pb.CloseRoomReply()

    # In a room.

    @in_room
    def ResetRoom(self, room: Room, request: pb.ResetRoomRequest) -> pb.ResetRoomReply:
        if request.reason not in pb.ResetRoomRequest.Reason.values():
            raise CallFailed("INVALID_ARGUMENT", f"reason: must be 0 to 2, is {request.reason}")
        room.simulation = None
        return pb.ResetRoomReply(answer=pb.ResetRoomReply.ANSWER_READY)

    @in_room
    def ListScenarios(self, room: Room, request: pb.ListScenariosRequest) -> pb.ListScenariosReply:
        return pb.ListScenariosReply(names=self.scenarios)

    @in_room
    def LoadScenario(self, room: Room, request: pb.LoadScenarioRequest) -> pb.LoadScenarioReply:
        if not request.name:
            raise CallFailed("INVALID_ARGUMENT", "name: must not be empty")
        if request.episode < 1:
            raise CallFailed("INVALID_ARGUMENT", "episode: must be 1 or more")
        if request.name not in self.scenarios:
            room.simulation = None
            return pb.LoadScenarioReply(loaded=False)
        room.simulation = self.start(request.name, request.seed, request.episode, room.step_interval)
        return pb.LoadScenarioReply(loaded=True)

    # In an episode.

    @in_episode
    def DeleteScenario(self, room: Room, simulation: Simulation, request: Any) -> pb.DeleteScenarioReply:
        return pb.DeleteScenarioReply()  # it stays

    @in_episode
    def GetSides(self, room: Room, simulation: Simulation, request: Any) -> pb.GetSidesReply:
        sides = [pb.Side(id=side.id, name=side.name, friends=side.friends) for side in simulation.sides()]
        return pb.GetSidesReply(sides=sides)

    @in_episode
    def GetSituation(self, room: Room, simulation: Simulation, request: Any) -> pb.GetSituationReply:
        return pb.GetSituationReply(record=as_json(simulation.situation()))

    @in_episode
    def RunCommand(self, room: Room, simulation: Simulation, request: pb.RunCommandRequest) -> pb.RunCommandReply:
        check_command(1, request.command)
        try:
            simulation.execute(request.command)
        except Refused as refused:
            return pb.RunCommandReply(refusal=str(refused))
        return pb.RunCommandReply()

    @in_episode
    def Execute(self, room: Room, simulation: Simulation, request: pb.ExecuteRequest) -> pb.ExecuteReply:
        if len(request.commands) > MOST_COMMANDS:
            raise CallFailed("RESOURCE_EXHAUSTED", f"more than the {MOST_COMMANDS} commands allowed in a package")
        for number, command in enumerate(request.commands, 1):
            check_command(number, command)
        reply = pb.ExecuteReply()
        for number, command in enumerate(request.commands, 1):
            try:
                simulation.execute(command)
            except Refused as refused:
                beginning = command.encode()[:200].decode(errors="ignore")
                reply.refused.add(number=number, side=refused.side, command=beginning, reason=str(refused))
        return reply

    @in_episode
    def Advance(self, room: Room, simulation: Simulation, request: pb.AdvanceRequest) -> pb.AdvanceReply:
        return pb.AdvanceReply(record=as_json(simulation.advance()))

    @in_episode
    def EndEpisode(self, room: Room, simulation: Simulation, request: Any) -> pb.EndEpisodeReply:
        simulation.end()
        return pb.EndEpisodeReply()

    @in_episode
    def SetStepInterval(self, room: Room, simulation: Simulation, request: Any) -> pb.SetStepIntervalReply:
        if not 0 < request.seconds < math.inf:
            raise CallFailed("INVALID_ARGUMENT", f"seconds: must be more than 0, is {request.seconds}")
        simulation.set_step_interval(request.seconds)
        return pb.SetStepIntervalReply()

    @in_episode
    def SetTimestamp(self, room: Room, simulation: Simulation, request: Any) -> pb.SetTimestampReply:
        return pb.SetTimestampReply()  # the client's clock does not matter here
