"""The measures that are times: the library and its counterparts."""

from dataclasses import dataclass
from statistics import median, quantiles

from report.programs import run_in_turns
from report.table import Row, answer


@dataclass
class Speed:
    """A measure, its counterpart, and the goal for the ratio of the two.

    The goal is an upper bound for a ratio of times and, with `is_rate`, a lower bound for a ratio
    of operations per second.
    """

    measure: str
    library: str
    counterpart_name: str
    counterpart: str
    goal: float | None
    is_rate: bool = False


CALLBACK = "library_callback_round_trip"
WAIT = "library_waited_round_trip"
EXCHANGE = "library_exchange"
DIRECT = "library_requests"
BATCHED = "library_requests --batched 1"
INBOUND = "library_inbound"
CODEC = "library_codec"

ROUND_TRIPS = [
    Speed("round trip, result callback", CALLBACK,
          "two sockets, callback", "baseline_two_sockets_callback", 1.15),
    Speed("round trip, result callback (stretch)", CALLBACK,
          "two sockets, callback, one read", "baseline_two_sockets_callback --reads 1", 1.15),
    Speed("round trip, result callback", CALLBACK,
          "one socket, no thread", "baseline_one_socket --bytes 1500", None),
    Speed("round trip, waiting thread", WAIT,
          "two sockets, datagram pair", "baseline_two_sockets_datagram", 1.15),
    Speed("round trip, waiting thread (stretch)", WAIT,
          "two sockets, datagram pair, one read", "baseline_two_sockets_datagram --reads 1", 1.15),
]
EXCHANGES = [
    Speed("exchange of 8 and 8 bytes", EXCHANGE,
          "one socket, header and body read", "baseline_one_socket", 1.15),
    Speed("exchange of 8 and 8 bytes (stretch)", EXCHANGE,
          "one socket, one read", "baseline_one_socket --reads 1", 1.15),
]
REQUESTS = [
    Speed("requests, direct", DIRECT, "encode, write", "baseline_writes", 0.85, True),
    Speed("requests, direct", DIRECT,
          "encode, frame in a block, write", "baseline_writes --framed 1", None, True),
    Speed("requests, batched", BATCHED, "requests, direct", DIRECT, 1.8, True),
    Speed("requests, batched", BATCHED,
          "encode, write five at once", "baseline_writes --together 5", None, True),
    Speed("requests, batched", BATCHED, "encode, frame in a block, write five at once",
          "baseline_writes --together 5 --framed 1", None, True),
]
MESSAGES = [
    Speed("inbound results under load, 1,500 bytes", INBOUND,
          "poll, two reads a message", "baseline_events", 2.0, True),
    Speed("inbound notices under load, 12 bytes", INBOUND + " --bytes 12",
          "poll, two reads a message", "baseline_events --bytes 12", 2.0, True),
]
COPIES = "baseline_copies --counted 1"
CODECS = [
    Speed("encode and decode, authentication", CODEC,
          "memcpy, as many counted allocations", COPIES, 1.8),
    Speed("encode and decode, authentication (stretch)", CODEC,
          "memcpy, as many counted allocations", COPIES, 1.6),
    Speed("encode and decode, authentication", CODEC,
          "memcpy, as many plain allocations", "baseline_copies", None),
]

# The programs of a group run in turns.
GROUPS = [ROUND_TRIPS, EXCHANGES, REQUESTS, MESSAGES, CODECS]

AGENT_INBOUND = [
    Speed("inbound results in agent mode, loop on poll", "library_loop_inbound_poll",
          name, program, None, True)
    for name, program in [
        ("loop on libevent", "library_loop_inbound"),
        ("loop on sd-event", "library_loop_inbound_sd"),
        ("receive thread", INBOUND),
    ]
]
LOOP_GROUPS = [AGENT_INBOUND]

PEER_ROUND_TRIPS = [
    Speed("round trip, result callback", CALLBACK, name, f"peer_{program}", None)
    for name, program in [
        ("sd-bus, peer to peer", "sd_bus"),
        ("libdbus, peer to peer", "dbus"),
        ("ZeroMQ", "zeromq"),
    ]
]
PEER_CODECS = [
    Speed("encode and decode, authentication", CODEC, name, f"peer_{program}", None)
    for name, program in [
        ("Protocol Buffers, arena", "protobuf"),
        ("FlatBuffers", "flatbuffers"),
    ]
]
PEER_GROUPS = [PEER_ROUND_TRIPS, PEER_CODECS]


def installed(directory, groups):
    """Without measures whose counterpart was not built."""
    return [
        [speed for speed in group if (directory / speed.counterpart.split()[0]).exists()]
        for group in groups
    ]


def measure_groups(directory, groups):
    rows = []
    for group in filter(None, groups):
        rows += measure(directory, group)
    return rows


def measure(directory, group):
    texts = [text for speed in group for text in (speed.library, speed.counterpart)]
    rounds = run_in_turns(directory, texts)
    return [row(speed, rounds) for speed in group]


def row(speed, rounds):
    # Rates are inverse times.
    pair = (speed.library, speed.counterpart)
    ratios = rounds.ratios(*(reversed(pair) if speed.is_rate else pair))
    low, _, high = quantiles(ratios, n=4)
    ratio = median(ratios)
    return Row(
        speed.measure,
        figure(rounds.median(speed.library), speed.is_rate),
        f"{speed.counterpart_name}: {figure(rounds.median(speed.counterpart), speed.is_rate)}",
        f"{ratio:.2f} ({low:.2f} to {high:.2f})",
        goal_text(speed),
        met_text(speed, ratio),
    )


def figure(nanoseconds, is_rate):
    if is_rate:
        return f"{1e9 / nanoseconds:,.0f}/s"
    if nanoseconds < 1000:
        return f"{nanoseconds:.0f} ns"
    return f"{nanoseconds / 1000:.2f} µs"


def goal_text(speed):
    if speed.goal is None:
        return ""
    return f"{'>=' if speed.is_rate else '<='} {speed.goal}"


def met_text(speed, ratio):
    if speed.goal is None:
        return ""
    return answer(ratio >= speed.goal if speed.is_rate else ratio <= speed.goal)
