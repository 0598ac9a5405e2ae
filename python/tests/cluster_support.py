"""Real Dask processes on the loopback address for the gallery's tests, and
synthetic templates: every process is started in a session of its own and
killed with its group, whatever the test did."""

import os
import random
import signal
import subprocess
import sys
import time

import pytest

import palm

HERE = os.path.dirname(os.path.abspath(__file__))
# The interpreter that has distributed; tests may run under another one.
PYTHON = sys.executable


def cluster_tests_enabled():
    """Under AddressSanitizer the run-time is preloaded into every process,
    the Dask ones included: they would crawl. PALM_SKIP_CLUSTER_TESTS=1 skips."""
    if os.environ.get("PALM_SKIP_CLUSTER_TESTS") == "1":
        return False
    try:
        import distributed  # noqa: F401
    except ImportError:
        return False
    return True


skip_unless_cluster = pytest.mark.skipif(
    not cluster_tests_enabled(),
    reason="cluster tests off (PALM_SKIP_CLUSTER_TESTS=1 or no distributed)")


def worker_env():
    env = dict(os.environ)
    package_root = os.path.dirname(os.path.dirname(os.path.abspath(palm.__file__)))
    env["PYTHONPATH"] = os.pathsep.join([HERE, package_root] +
                                        [p for p in env.get("PYTHONPATH", "").split(os.pathsep) if p])
    env["PYTHONDONTWRITEBYTECODE"] = "1"
    return env


class DaskProcesses:
    """A scheduler and workers, each its own process group."""

    def __init__(self, tmp_path):
        self.tmp = tmp_path
        tmp_path.mkdir(parents=True, exist_ok=True)
        self.scheduler_file = str(tmp_path / "scheduler.json")
        self.procs = {}
        self.address = None
        self._count = 0

    def _spawn(self, name, args):
        log = open(str(self.tmp / (name + ".log")), "w")
        proc = subprocess.Popen([PYTHON, "-m"] + args, stdout=log, stderr=subprocess.STDOUT,
                                env=worker_env(), start_new_session=True, cwd=str(self.tmp))
        log.close()
        self.procs[name] = proc
        return proc

    def start_scheduler(self, timeout=30):
        import json

        self._spawn("scheduler", ["distributed.cli.dask_scheduler", "--host", "127.0.0.1",
                                  "--port", "0", "--no-dashboard", "--scheduler-file",
                                  self.scheduler_file])
        deadline = time.monotonic() + timeout
        while time.monotonic() < deadline:
            if os.path.exists(self.scheduler_file):
                try:
                    with open(self.scheduler_file) as f:
                        self.address = json.load(f)["address"]
                    return self.address
                except (ValueError, KeyError):
                    pass
            if self.procs["scheduler"].poll() is not None:
                break
            time.sleep(0.1)
        raise RuntimeError("the Dask scheduler did not start: " + self.log("scheduler"))

    def start_worker(self):
        """A worker without a nanny, so that a killed worker stays dead."""
        self._count += 1
        name = "worker%d" % self._count
        self._spawn(name, ["distributed.cli.dask_worker", self.address, "--host", "127.0.0.1",
                           "--nthreads", "1", "--no-nanny", "--no-dashboard", "--name", name])
        self.wait_for_workers()
        return name

    def wait_for_workers(self, timeout=60):
        """Returns once the scheduler knows every live worker: a gallery opened
        before that would place all its shards on the workers seen so far."""
        import distributed

        live = len([n for n, p in self.procs.items()
                    if n.startswith("worker") and p.poll() is None])
        with distributed.Client(self.address, timeout=timeout) as client:
            client.wait_for_workers(live, timeout=timeout)

    def kill(self, name):
        proc = self.procs[name]
        os.killpg(proc.pid, signal.SIGKILL)
        proc.wait(timeout=10)

    def worker_name(self, client, address):
        """The name under which the worker at `address` was started."""
        info = client.sync(client.scheduler.identity)["workers"].get(address, {})
        return info.get("name")

    def log(self, name):
        try:
            with open(str(self.tmp / (name + ".log"))) as f:
                return f.read()[-3000:]
        except OSError:
            return ""

    def stop(self):
        for name, proc in self.procs.items():
            if proc.poll() is None:
                try:
                    os.killpg(proc.pid, signal.SIGKILL)
                except ProcessLookupError:
                    pass
            try:
                proc.wait(timeout=10)
            except subprocess.TimeoutExpired:
                pass


def random_code(rng):
    return bytes(rng.getrandbits(8) for _ in range(palm.FEATURE_DATA_SIZE))


def flip(code, rng, fraction):
    data = bytearray(code)
    for bit in rng.sample(range(len(data) * 8), int(len(data) * 8 * fraction)):
        data[bit // 8] ^= 1 << (bit % 8)
    return bytes(data)


def template(cells):
    return palm.crypt_feature(cells)[0]


def make_people(n, cells=5, seed=7):
    """{name: [(print, vein)] * cells} of unrelated random codes."""
    rng = random.Random(seed)
    people = {}
    for i in range(n):
        base_p, base_v = random_code(rng), random_code(rng)
        people["user%03d" % i] = [(flip(base_p, rng, 0.05), flip(base_v, rng, 0.05))
                                  for _ in range(cells)]
    return people


def probe_of(cells, rng, fraction=0.12, count=1):
    return template([(flip(p, rng, fraction), flip(v, rng, fraction))
                     for p, v in cells[:count]])


class Reference:
    """What the gallery must answer: one shard holding everybody, and the
    library's own parallel partition, changed as the gallery is."""

    PARTITION = 4217

    def __init__(self, policy=1):
        self.shard = palm.GalleryShard(policy=policy, workers=2)
        palm.clear_partitions()
        palm.clear_templates()
        assert palm.create_partition(self.PARTITION, 1)
        assert palm.set_match_policy(self.PARTITION, policy)
        self.assigned = set()

    def push(self, user, text):
        ok = self.shard.push(user, text)
        assert palm.push_template(user, text) == ok
        if ok and user not in self.assigned:
            assert palm.assign_user_to_partition(self.PARTITION, user)
            self.assigned.add(user)
        return ok

    def delete(self, user):
        ok = self.shard.delete(user)
        palm.remove_user_from_partition(self.PARTITION, user)
        palm.delete_template(user)
        self.assigned.discard(user)
        return ok

    def identify(self, text):
        answer = self.shard.identify(text)
        found = palm.match_1vN(self.PARTITION, text, "")
        assert answer == (palm.match_1vN_get_identify_user_name(self.PARTITION) if found else None)
        return answer

    def verify(self, user, text):
        return self.shard.verify(user, text)

    def close(self):
        palm.clear_partitions()
        palm.clear_templates()


def population(seed=11):
    """Templates and probes that exercise the merge: strangers, a crowd of
    near-twins (more than the funnel's 50) close to one probe, exact twins
    whose tie only the order breaks, and probes of several cells."""
    rng = random.Random(seed + 1000)
    people = make_people(40, cells=5, seed=seed)
    base_p, base_v = random_code(rng), random_code(rng)
    for i in range(60):
        people["crowd%02d" % i] = [(flip(base_p, rng, 0.06), flip(base_v, rng, 0.06))
                                   for _ in range(5)]
    twin = people["user007"]
    for name in ("twin-a", "twin-b", "twin-c"):
        people[name] = list(twin)
    templates = {name: template(cells) for name, cells in people.items()}
    probes = []
    for name in ("user001", "user002", "user013", "user039", "twin-a", "crowd05", "crowd44"):
        probes.append(probe_of(people[name], rng))
    probes.append(template([(flip(base_p, rng, 0.1), flip(base_v, rng, 0.1))]))
    stranger = [(random_code(rng), random_code(rng)) for _ in range(3)]
    probes.append(template(stranger))
    # Two strangers' cells, then a genuine one: the third cell answers.
    probes.append(template(stranger[:2] + [(flip(people["user021"][0][0], rng, 0.1),
                                            flip(people["user021"][0][1], rng, 0.1))]))
    return templates, probes


def apply_step(gallery, reference, templates, op, name):
    """One push or delete, on the gallery and on the reference alike."""
    if op == "push":
        assert gallery.push(name, templates[name])
        reference.push(name, templates[name])
    else:
        assert gallery.delete(name)
        reference.delete(name)
