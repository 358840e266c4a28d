"""What `deduce check-service` cannot know of the service in Python: its own orders and limits. Used by
tests/python_service.sh: python_service.py HOST:PORT."""

import json
import sys

import grpc
import rooms  # makes the contract's code
from rooms import pb
from tessra.v1.simulation_pb2_grpc import SimulationStub

stub = SimulationStub(grpc.insecure_channel(sys.argv[1]))


class Client:
    """A client's room."""

    def __init__(self) -> None:
        self.room = stub.OpenRoom(pb.OpenRoomRequest(request_id=str(id(self)), step_interval_seconds=60))
        self.number = 1

    def call(self, method: str, **fields):
        """Makes a call with the next number."""
        key = pb.RoomCall(room=self.room.room, token=self.room.token, number=self.number)
        reply = getattr(stub, method)(getattr(pb, method + "Request")(call=key, **fields))
        self.number += 1
        return reply

    def call_in_place_of_the_last(self, method: str):
        self.number -= 1
        try:
            self.call(method)
        except grpc.RpcError:
            self.number += 1
            raise

    def advance(self) -> dict:
        return json.loads(self.call("Advance").record.text)


def status_of(call) -> str:
    try:
        call()
    except grpc.RpcError as error:
        return error.code().name
    return "OK"


def expect(what: str, found, expected) -> None:
    if found != expected:
        sys.exit(f"{what}: {found!r} instead of {expected!r}")


def place_of_red_1(record: dict) -> tuple[float, float]:
    ship = record["Situation"]["SituationSides"]["side-1"]["SidePosition"]["Ship"]["red-1"]
    return ship["Lon"], ship["Lat"]


client = Client()
client.call("ResetRoom")
expect("the scenario", client.call("LoadScenario", name="crossing", episode=1).loaded, True)
start = place_of_red_1(json.loads(client.call("GetSituation").record.text))

# Each order, and the reason why it is refused.
UNIT = "SIDE='红方', UNIT='red-1'"
DEEP = "{" * 9 + "}" * 9
orders = {
    "SetSpeed({%s, SPEED=99})" % UNIT: "",
    r"""PlotCourse({SIDE='红\230\150\185', UNIT="red-1", COURSE={{LON=149.9, LAT=-1.5e1},}});""": "",
    "SetRadar({%s, ON=true})" % UNIT: "SetRadar: this simulation has no such order",
    "SetSpeed({SIDE='蓝方', UNIT='red-1', SPEED=1})": "SetSpeed: side '蓝方' has no ship 'red-1'",
    "SetSpeed({%s})" % UNIT: "SetSpeed: an argument is missing or wrong: 'SPEED'",
    "PlotCourse({%s, COURSE={{LON=0, LAT=91}}})" % UNIT: "PlotCourse: a place is outside of the map",
    "SetSpeed({%s, SPEED=1}) x" % UNIT: "an order takes one table with named arguments, and nothing follows it",
    "SetSpeed({SPEED=1x})": "byte 17: this is no part of an order",
    "SetSpeed({A=%s})" % DEEP: "more than 8 tables in each other",
}
reply = client.call("Execute", commands=list(orders))
reasons = {refusal.number: refusal.reason for refusal in reply.refused}
for number, (order, reason) in enumerate(orders.items(), 1):
    expect(order, reasons.get(number, ""), reason)
expect("the side that gave an order", [refusal.side for refusal in reply.refused][:2], ["红方", "蓝方"])

# South for a minute at the greatest speed.
first = client.advance()
expect("metres sailed", round((start[1] - place_of_red_1(first)[1]) * 111_195), 900)
expect("degrees sailed sideways", round(place_of_red_1(first)[0] - start[0], 6), 0)
other = status_of(lambda: client.call_in_place_of_the_last("EndEpisode"))
expect("another call with the number of the last", other, "OUT_OF_RANGE")
expect("the next call", client.advance()["ScenarioInfo"]["Time"] - first["ScenarioInfo"]["Time"], 60_000)
expect("agent settings", status_of(lambda: client.call("GetAgentSettings")), "UNIMPLEMENTED")

# A lease ends between calls alone; the clock is turned on instead of waited for.
room = rooms.Room("1", "", 10, 60.0)
room.last_used -= 11
with room.turn():
    expect("a room at work", room.has_ended(), False)

# No more calls wait than the limit says.
room.queue.extend([None] * (1 + rooms.MOST_WAITING))
try:
    with room.turn():
        sys.exit("too many calls wait")
except rooms.CallFailed as failed:
    expect("one call too many", failed.code.name, "RESOURCE_EXHAUSTED")
