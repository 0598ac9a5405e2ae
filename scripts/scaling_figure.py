"""Draws docs/scaling.png: the model of docs/scaling.md for 10,000,000 users,
latency of one probe cell and memory per machine against the number of
machines of 16 cores, one shard each.

    /usr/bin/python3 scripts/scaling_figure.py [OUT.png]

The inputs are the per-user costs measured in docs/scaling.md; change them
there and here together."""

import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402

USERS = 10_000_000
CORES = 16
BYTES_PER_TEMPLATE = 19_424.5
CPU_PER_USER_S = (0.52e-6, 0.65e-6)  # at 100,000 and at 1,000,000 users
ROUND_TRIPS_S = (0.25e-3, 5.6e-3)  # one on a LAN; all the overhead measured over loopback
MERGE_S = 1e-3


def main(out="docs/scaling.png"):
    machines = list(range(1, 33))
    fig, (lat, mem) = plt.subplots(1, 2, figsize=(10, 4))
    for cpu, rtt, style in ((CPU_PER_USER_S[0], ROUND_TRIPS_S[0], "-"),
                            (CPU_PER_USER_S[1], ROUND_TRIPS_S[1], "--")):
        ms = [1e3 * (USERS / m * cpu / CORES + rtt + MERGE_S) for m in machines]
        lat.plot(machines, ms, style, label="%.2f µs per user, %.2f ms of messaging" %
                 (cpu * 1e6, rtt * 1e3))
    lat.axvline(8, color="grey", lw=0.8)
    lat.set_yscale("log")
    lat.set_xlabel("machines of 16 cores")
    lat.set_ylabel("one probe cell, ms")
    lat.set_title("latency, 10,000,000 users")
    lat.legend(fontsize=8)
    lat.grid(True, which="both", lw=0.3)
    gb = [USERS / m * BYTES_PER_TEMPLATE / 1e9 for m in machines]
    mem.plot(machines, gb)
    mem.axvline(8, color="grey", lw=0.8)
    mem.set_yscale("log")
    mem.set_xlabel("machines of 16 cores")
    mem.set_ylabel("templates per machine, GB")
    mem.set_title("memory, 19,424.5 bytes per template")
    mem.grid(True, which="both", lw=0.3)
    fig.tight_layout()
    fig.savefig(out, dpi=80)


if __name__ == "__main__":
    main(*sys.argv[1:])
