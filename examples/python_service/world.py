"""A world of a page: two sides with two ships each, which sail their courses and see each other.

This is the file to replace by your own simulation.
"""

import math
import random
from dataclasses import dataclass, field
from typing import Any

from orders import read_order
from simulation import Refused, Side, Simulation

SCENARIOS = ["crossing"]

START = 1_903_845_600_000  # of the scenario, in milliseconds since 1970
DURATION = 3600  # seconds
DEFAULT_INTERVAL = 30.0
METRES_PER_DEGREE = 111_195.0
HOSTILE = 3
SHIP = 2  # UnitType


@dataclass
class Ship:
    """Sails in straight lines from place to place of its course, and lies still at its end."""

    id: str
    name: str
    class_name: str
    sight: float  # metres
    lon: float
    lat: float
    course: list[tuple[float, float]]
    max_speed: float = 15.0  # metres per second
    speed: float = 10.0
    heading: float = 0.0

    def sail(self, seconds: float) -> None:
        """Moves on."""
        while self.course and self.speed > 0 and seconds > 0:
            distance, self.heading = way(self.lon, self.lat, *self.course[0])
            if self.speed * seconds < distance:
                share = self.speed * seconds / distance
                self.lon += share * (self.course[0][0] - self.lon)
                self.lat += share * (self.course[0][1] - self.lat)
                return
            seconds -= distance / self.speed
            self.lon, self.lat = self.course.pop(0)

    def position(self) -> dict[str, float]:
        """As it stands in records."""
        speed = self.speed if self.course else 0.0
        return {"Lon": self.lon, "Lat": self.lat, "Alt": 0.0, "Heading": self.heading, "Speed": speed}


def way(lon: float, lat: float, other_lon: float, other_lat: float) -> tuple[float, float]:
    """Distance in metres and direction in degrees, on a map good for a small sea."""
    east = (other_lon - lon) * METRES_PER_DEGREE * math.cos(math.radians(lat))
    north = (other_lat - lat) * METRES_PER_DEGREE
    return math.hypot(east, north), math.degrees(math.atan2(east, north)) % 360


@dataclass
class Fleet:
    """A side: its ships and what it sees."""

    side: Side
    ships: list[Ship]
    contacts: dict[str, str] = field(default_factory=dict)  # id of the ship that is seen, to the contact's id
    contacts_made: int = 0
    seconds_seen: float = 0.0  # of the other ships, added up


class Crossing(Simulation):
    """Two fleets pass each other. For each minute that a side sees a ship of the other it gets a point."""

    def __init__(self, scenario: str, seed: int, episode: int, interval: float) -> None:
        chance = random.Random(f"{seed} {episode}")  # the same two give the same episode
        self.interval = interval or DEFAULT_INTERVAL
        self.elapsed = 0.0
        self.ending = False
        self.fleets = [
            Fleet(Side("side-1", "红方"), self.line_up("red", 149.9, 150.1, chance)),
            Fleet(Side("side-2", "蓝方"), self.line_up("blue", 150.1, 149.9, chance)),
        ]
        self.look()

    @staticmethod
    def line_up(colour: str, lon: float, to: float, chance: random.Random) -> list[Ship]:
        """A frigate and a picket boat, one north of the other."""
        frigate_lat, picket_lat = chance.uniform(20.0, 20.2), chance.uniform(20.0, 20.2)
        frigate = Ship(f"{colour}-1", f"{colour} frigate", "Frigate", 16e3, lon, frigate_lat, [(to, frigate_lat)])
        picket = Ship(f"{colour}-2", f"{colour} picket", "Picket boat", 9e3, lon, picket_lat, [(to, picket_lat)])
        return [frigate, picket]

    def pairs(self) -> list[tuple[Fleet, Fleet]]:
        """Each fleet with its opponent."""
        return [(self.fleets[0], self.fleets[1]), (self.fleets[1], self.fleets[0])]

    def look(self) -> None:
        """Finds out who sees whom."""
        for fleet, others in self.pairs():
            for ship in others.ships:
                seen = any(way(own.lon, own.lat, ship.lon, ship.lat)[0] <= own.sight for own in fleet.ships)
                if seen and ship.id not in fleet.contacts:
                    fleet.contacts_made += 1
                    fleet.contacts[ship.id] = f"{fleet.side.id}-contact#{fleet.contacts_made}"
                elif not seen:
                    fleet.contacts.pop(ship.id, None)

    def sides(self) -> list[Side]:
        return [fleet.side for fleet in self.fleets]

    def execute(self, order: str) -> None:
        name, arguments = read_order(order)
        if name == "ChangeSpeed":
            return  # the engine's wish for real time: it has no effect here
        side = str(arguments.get("SIDE", ""))
        try:
            self.order_ship(name, side, arguments)
        except (KeyError, TypeError, ValueError) as error:
            raise Refused(f"{name}: an argument is missing or wrong: {error}", side) from error

    def order_ship(self, name: str, side: str, arguments: dict[str, Any]) -> None:
        """Carries out the two orders that this simulation knows."""
        if name not in ("PlotCourse", "SetSpeed"):
            raise Refused(f"{name}: this simulation has no such order", side)
        unit = arguments["UNIT"]
        own = [ship for fleet in self.fleets if fleet.side.name == side for ship in fleet.ships]
        ship = next((ship for ship in own if ship.id == unit), None)
        if ship is None:
            raise Refused(f"{name}: side '{side}' has no ship '{unit}'", side)
        if name == "SetSpeed":
            ship.speed = min(max(float(arguments["SPEED"]), 0.0), ship.max_speed)
        else:
            places = [(float(place["LON"]), float(place["LAT"])) for place in arguments["COURSE"]]
            if any(abs(lon) > 180 or abs(lat) > 90 for lon, lat in places):
                raise Refused("PlotCourse: a place is outside of the map", side)
            ship.course = places

    def advance(self) -> dict[str, Any]:
        before = [dict(fleet.contacts) for fleet in self.fleets]
        left = min(self.interval, DURATION - self.elapsed)
        while left > 0 and not self.ending:
            tick = min(left, 1.0)
            self.tick(tick)
            left -= tick
        records = {}
        for fleet, others, old in zip(self.fleets, reversed(self.fleets), before):
            records[fleet.side.id] = self.live_record(fleet, others)
            if lost := [contact for contact in old.values() if contact not in fleet.contacts.values()]:
                records[fleet.side.id]["SideReal"]["mapdel"] = {"Contacts": {"v": lost}}
        is_over = self.ending or self.elapsed >= DURATION
        return {"IsEnd": is_over, "ScenarioInfo": {"Time": self.clock()}, "Situation": {"SituationSides": records}}

    def tick(self, seconds: float) -> None:
        """Everybody sails and looks."""
        self.elapsed += seconds
        for fleet in self.fleets:
            for ship in fleet.ships:
                ship.sail(seconds)
        self.look()
        for fleet in self.fleets:
            fleet.seconds_seen += len(fleet.contacts) * seconds

    def clock(self) -> int:
        """Milliseconds since 1970."""
        return START + round(1000 * self.elapsed)

    def end(self) -> None:
        self.ending = True

    def set_step_interval(self, seconds: float) -> None:
        self.interval = seconds

    # Records.

    def situation(self) -> dict[str, Any]:
        side_info, records = {}, {}
        for fleet, others in self.pairs():
            side_info[fleet.side.id] = {"Name": fleet.side.name, "Postures": {others.side.id: HOSTILE}}
            units = {
                ship.id: {"Name": ship.name, "ClassName": ship.class_name, "UnitType": SHIP, "MaxSpeed": ship.max_speed}
                for ship in fleet.ships
            }
            own = {"ActiveUnitsInfo": units, "Missions": {}}
            records[fleet.side.id] = {"Side": own} | self.live_record(fleet, others)
        times = {"StartTime": START, "Time": self.clock(), "Duration": DURATION}
        info = {"ScenarioID": "crossing", "Title": "Crossing", **times, "SideInfo": side_info}
        return {"ScenarioInfo": info, "Situation": {"SituationInfo": {}, "SituationSides": records}}

    def live_record(self, fleet: Fleet, others: Fleet) -> dict[str, Any]:
        """What a side knows of itself and of the other, as it changes."""
        ships, places, contacts, contact_places = {}, {}, {}, {}
        for ship in fleet.ships:
            course = [{"Lon": lon, "Lat": lat} for lon, lat in ship.course]
            ships[ship.id] = {"Status": "OnCourse" if course else "Waiting", "Course": course}
            places[ship.id] = ship.position()
        for ship in others.ships:
            if contact := fleet.contacts.get(ship.id):
                contacts[contact] = {
                    "Name": ship.name, "Type": SHIP, "ActualUnitID": ship.id, "IDStatus": 4, "Age": 0,
                    "Side": others.side.id, "ClassName": ship.class_name,
                }  # fmt: skip
                contact_places[contact] = ship.position()
        return {
            "SideReal": {"ActiveUnits": {"Ship": ships}, "Contacts": contacts},
            "SidePosition": {"Ship": places, "Contacts": contact_places},
            "SideVitalChange": {"TotalScore": round(fleet.seconds_seen / 60, 1)},
        }
