"""The measures that are times: the library and its counterparts."""

from dataclasses import dataclass
from statistics import median, quantiles

from report import goals
from report.programs import run_in_turns
from report.table import Row, judged


@dataclass
class Speed:
    """A measure, its counterpart, and the goal for the ratio of the two.

    The ratio is one of times or, with `is_rate`, one of operations per second.
    """

    measure: str
    library: str
    counterpart_name: str
    counterpart: str
    goal: goals.Goal | None
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
          "two sockets, callback", "baseline_two_sockets_callback", goals.CALLBACK_ROUND_TRIP),
    Speed("round trip, result callback", CALLBACK,
          "two sockets, callback, one read", "baseline_two_sockets_callback --reads 1", None),
    Speed("round trip, result callback", CALLBACK,
          "one socket, no thread", "baseline_one_socket --bytes 1500", None),
    Speed("round trip, waiting thread", WAIT,
          "two sockets, datagram pair", "baseline_two_sockets_datagram", goals.WAITED_ROUND_TRIP),
    Speed("round trip, waiting thread", WAIT,
          "two sockets, datagram pair, one read", "baseline_two_sockets_datagram --reads 1", None),
]
EXCHANGES = [
    Speed("exchange of 8 and 8 bytes", EXCHANGE,
          "one socket, header and body read", "baseline_one_socket", goals.EXCHANGE),
    Speed("exchange of 8 and 8 bytes", EXCHANGE,
          "one socket, one read", "baseline_one_socket --reads 1", None),
]
REQUESTS = [
    Speed("requests, direct", DIRECT, "encode, write", "baseline_writes", None, True),
    Speed("requests, direct", DIRECT,
          "encode, frame in a block, write", "baseline_writes --framed 1",
          goals.DIRECT_REQUESTS, True),
    Speed("requests, direct", DIRECT, "the same beside a receiving thread",
          "baseline_writes --framed 1 --receiver 1", None, True),
    Speed("requests, batched", BATCHED, "requests, direct", DIRECT, goals.BATCHED_REQUESTS, True),
    Speed("requests, batched", BATCHED,
          "encode, write five at once", "baseline_writes --together 5", None, True),
    Speed("requests, batched", BATCHED, "encode, frame in a block, write five at once",
          "baseline_writes --together 5 --framed 1", None, True),
]
MESSAGES = [
    Speed("inbound results under load, 1,500 bytes", INBOUND,
          "poll, two reads a message", "baseline_events", goals.INBOUND_RESULTS, True),
    Speed("inbound notices under load, 12 bytes", INBOUND + " --bytes 12",
          "poll, two reads a message", "baseline_events --bytes 12", goals.INBOUND_NOTICES, True),
]
COPIES = "baseline_copies --counted 1"
CODECS = [
    Speed("encode and decode, authentication", CODEC,
          "memcpy, as many counted allocations", COPIES, goals.CODEC),
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
    Speed("round trip, result callback", CALLBACK, name, f"peer_{program}", goal)
    for name, program, goal in [
        ("sd-bus, peer to peer", "sd_bus", goals.CALLBACK_TO_SD_BUS),
        ("libdbus, peer to peer", "dbus", None),
        ("ZeroMQ", "zeromq", None),
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
    measured = Row(
        speed.measure,
        figure(rounds.median(speed.library), speed.is_rate),
        f"{speed.counterpart_name}: {figure(rounds.median(speed.counterpart), speed.is_rate)}",
        f"{ratio:.2f} ({low:.2f} to {high:.2f})",
    )
    return judged(measured, speed.goal, ratio, high - low)


def figure(nanoseconds, is_rate):
    if is_rate:
        return f"{1e9 / nanoseconds:,.0f}/s"
    if nanoseconds < 1000:
        return f"{nanoseconds:.0f} ns"
    return f"{nanoseconds / 1000:.2f} µs"

