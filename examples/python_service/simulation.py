"""What a simulation must be able to do to be served: the interface between the protocol and your world."""

from abc import ABC, abstractmethod
from dataclasses import dataclass, field
from typing import Any


@dataclass
class Side:
    """A side of the scenario. `friends` are the ids of the sides that share their contacts with it."""

    id: str
    name: str
    friends: list[str] = field(default_factory=list)


class Refused(Exception):
    """An order cannot be carried out. Says why, and the name of the side that gave it if that can be read."""

    def __init__(self, reason: str, side: str = "") -> None:
        super().__init__(reason)
        self.side = side


class Simulation(ABC):
    """One episode of one scenario. Its calls come one at a time, but not always from the same thread.

    Records are dictionaries that Python's `json` can write; docs/service.md says what must be in them. A whole number
    must be an `int` and a real one a `float`, even when it has no fraction. An exception other than `Refused` fails the
    call, and its text is reported by the client; raise it before anything has changed.
    """

    @abstractmethod
    def sides(self) -> list[Side]:
        """The sides of the scenario."""

    @abstractmethod
    def situation(self) -> dict[str, Any]:
        """The whole situation as it is. The engine asks for it before the first advance."""

    @abstractmethod
    def execute(self, order: str) -> None:
        """Carries out one order, or raises `Refused` and has no effect."""

    @abstractmethod
    def advance(self) -> dict[str, Any]:
        """Simulates one step and returns what changed. `IsEnd` in it says whether the episode is over."""

    @abstractmethod
    def end(self) -> None:
        """Ends the episode: the next advance says so."""

    @abstractmethod
    def set_step_interval(self, seconds: float) -> None:
        """Sets how many simulated seconds an advance takes."""
