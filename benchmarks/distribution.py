#!/usr/bin/python3
"""Measures `sysconfsync follow` and writes benchmarks/distribution.md. Run it on an idle machine.

usage: distribution.py BUILD-DIRECTORY [FOLLOWERS [CHANGES]]

Three members of etcd and all followers run on this machine. For each follower a process with the
library and the event library shows its answer (`sysconfctl watch`). Every change gives one port to
all nodes; the time is that from the start of `publish` until the last process has shown the port.
Traffic is that of the loopback interface: `unshare -n` keeps other processes out of it.
"""

import base64
import datetime
import json
import os
import pathlib
import platform
import selectors
import shutil
import socket
import statistics
import subprocess
import sys
import tempfile
import time
import urllib.request

SOURCE = pathlib.Path(__file__).resolve().parent.parent
WATCHES = 3000


def free_ports(number):
    sockets = [socket.create_server(("127.0.0.1", 0)) for _ in range(number)]
    ports = [one.getsockname()[1] for one in sockets]
    for one in sockets:
        one.close()
    return ports


class Cluster:
    """Three members of etcd."""

    def __init__(self, folder):
        ports = free_ports(6)
        self.endpoints = [f"http://127.0.0.1:{port}" for port in ports[:3]]
        peers = [f"http://127.0.0.1:{port}" for port in ports[3:]]
        everyone = ",".join(f"m{n}={peer}" for n, peer in enumerate(peers))
        self.members = [
            subprocess.Popen(
                ["etcd", "--name", f"m{n}", "--data-dir", folder / f"m{n}"]
                + ["--listen-client-urls", endpoint, "--advertise-client-urls", endpoint]
                + ["--listen-peer-urls", peer, "--initial-advertise-peer-urls", peer]
                + ["--initial-cluster", everyone, "--max-txn-ops", "1024"],
                stdout=subprocess.DEVNULL,
                stderr=subprocess.DEVNULL,
            )
            for n, (endpoint, peer) in enumerate(zip(self.endpoints, peers))
        ]
        environment = dict(os.environ, ETCDCTL_API="3")
        while subprocess.run(
            ["etcdctl", "--endpoints", ",".join(self.endpoints), "endpoint", "health"],
            env=environment,
            capture_output=True,
            check=False,
        ).returncode:
            time.sleep(0.2)

    def counters(self):
        """Returns the calls by their gRPC method, and the memory of all members."""
        calls, memory = {}, 0
        for endpoint in self.endpoints:
            with urllib.request.urlopen(endpoint + "/metrics") as answer:
                for line in answer.read().decode().splitlines():
                    name, _, value = line.rpartition(" ")
                    if name.startswith("grpc_server_started_total{") and "Health" not in name:
                        method = name.partition('grpc_method="')[2].partition('"')[0]
                        calls[method] = calls.get(method, 0) + float(value)
                    elif name == "process_resident_memory_bytes":
                        memory += float(value)
        return calls, memory


def loopback_bytes():
    fields = pathlib.Path("/proc/net/dev").read_text().split("lo:")[1].split()
    return int(fields[0])


def resident(pid):
    """Returns the resident and the private memory of a process in bytes."""
    rollup = pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text().splitlines()
    values = {line.split()[0]: int(line.split()[1]) * 1024 for line in rollup[1:]}
    return values["Rss:"], values["Private_Clean:"] + values["Private_Dirty:"]


def write_tree(tree, number):
    """Node "nodeI" has its own app config file; all have the same lists."""
    app = json.loads((SOURCE / "samples/ha-pair/node-1/etc/app.json").read_text())
    nodes = {
        f"node{i}": {
            "assignedToTenancy": f"t{i}",
            "extAttr": {
                "hostType": "master",
                "domain_node_type": "ACCESS_Master",
                "HOSTID": f"H{i}",
            },
            "IPAddresses": [
                {"IP": f"10.{i // 250}.{i % 250}.1", "usage": ["maintenance"]},
                {"IP": f"10.{i // 250}.{i % 250}.2", "usage": ["service"]},
                {"IP": f"10.{i // 250}.{i % 250}.3", "usage": ["internal_service"]},
            ],
        }
        for i in range(number)
    }
    process = next(iter(app["processes"].values()))
    for i in range(number):
        node = tree / f"node{i}"
        (node / "etc/sysconf").mkdir(parents=True)
        process["nodeId"] = f"node{i}"
        for group in "IR", "wss":
            process[group]["ip"] = f"10.{i // 250}.{i % 250}.1"
        (node / "etc/app.json").write_text(json.dumps({**app, "processes": {"p": process}}))
        (node / "etc/sysconf/nodelist.json").write_text(json.dumps({"nodeList": nodes}))
        (tree / f"node{i}.env").write_text(
            f"APP_CONF_FILE=node{i}/etc/app.json\nPROCESS_INSTANCE_ID=p\nAPP_ROOT=node{i}\n"
            "TOLM_ROOT=manager\n"
        )
    (tree / "manager/etc/sysconf").mkdir(parents=True)
    (tree / "manager/etc/sysconf/nodelists.json").write_text(json.dumps({"nodeList": nodes}))


def set_port(tree, nodes, port):
    for i in range(nodes):
        path = tree / f"node{i}/etc/app.json"
        app = json.loads(path.read_text())
        app["processes"]["p"]["local"]["port"] = port
        path.write_text(json.dumps(app))


class Measurement:
    def __init__(self, build, folder, nodes):
        self.build, self.folder, self.nodes = build, folder, nodes
        self.tree = folder / "tree"
        write_tree(self.tree, nodes)
        self.cluster = Cluster(folder)
        self.environment = dict(
            os.environ,
            LD_LIBRARY_PATH=f"{build}/src:{build}/platform/eventcbutil",
            SYSCONFSYNC_ENDPOINTS=",".join(self.cluster.endpoints),
        )
        self.followers, self.watches = [], []
        self.selector = selectors.DefaultSelector()

    def sync(self, *arguments):
        program = self.build / "tools/sysconfsync/sysconfsync"
        return subprocess.run(
            [program, *arguments], env=self.environment, capture_output=True, text=True, check=False
        )

    def publish(self):
        done = self.sync("publish", self.tree)
        if done.returncode:
            sys.exit(done.stdout + done.stderr)

    def start(self):
        program = self.build / "tools/sysconfsync/sysconfsync"
        for i in range(self.nodes):
            self.followers.append(
                subprocess.Popen(
                    [program, "follow", f"node{i}", "--folder", self.folder / f"n{i}"],
                    env=self.environment,
                    stderr=subprocess.DEVNULL,
                )
            )
        if self.sync("status", "--wait", "1", "--timeout", "120").returncode:
            sys.exit("not all nodes run the version")
        for i in range(self.nodes):
            current = self.folder / f"n{i}/current"
            watch = subprocess.Popen(
                [self.build / "tools/sysconfctl/sysconfctl", "watch", "local-port", "-o", "json"]
                + ["--env-file", current / f"node{i}.env"],
                env=self.environment,
                stdout=subprocess.PIPE,
                stderr=subprocess.DEVNULL,
            )
            os.set_blocking(watch.stdout.fileno(), False)
            self.selector.register(watch.stdout, selectors.EVENT_READ, [watch, b""])
            self.watches.append(watch)
        self.wait_for(b'"31000"', b"31000")

    def wait_for(self, *texts):
        """Returns when every process has shown one of the texts."""
        missing = {watch.pid for watch in self.watches}
        while missing:
            for key, _ in self.selector.select(60) or sys.exit("a process shows no change"):
                key.data[1] += key.fileobj.read() or b""
                if any(text in key.data[1] for text in texts):
                    key.data[1] = b""
                    missing.discard(key.data[0].pid)

    def end(self):
        for process in self.watches + self.followers + self.cluster.members:
            process.kill()
        for process in self.watches + self.followers + self.cluster.members:
            process.wait()


def watch_memory(endpoint, number):
    """Returns the memory that each of many idle watches takes in one member."""

    def memory():
        with urllib.request.urlopen(endpoint + "/metrics") as answer:
            text = answer.read().decode()
        return float(text.partition("\nprocess_resident_memory_bytes ")[2].split()[0])

    host, port = endpoint.removeprefix("http://").split(":")
    body = json.dumps({"create_request": {"key": base64.b64encode(b"/sysconf/current").decode()}})
    request = f"POST /v3/watch HTTP/1.1\r\nHost: etcd\r\nContent-Length: {len(body)}\r\n\r\n{body}"
    before, connections = memory(), []
    for _ in range(number):
        connections.append(socket.create_connection((host, int(port))))
        connections[-1].sendall(request.encode())
        connections[-1].recv(1000)
    grown = memory() - before
    for connection in connections:
        connection.close()
    return grown / number


def difference(after, before):
    return {name: after[name] - before.get(name, 0) for name in after}


def measure(build, folder, nodes, changes):
    work = Measurement(build, folder, nodes)
    try:
        set_port(work.tree, nodes, 31000)
        work.publish()
        sent = loopback_bytes()
        time.sleep(20)
        own_bytes = (loopback_bytes() - sent) * 3  # of the members without followers, in a minute
        work.start()
        time.sleep(2)
        times, traffic, calls = [], [], []
        for change in range(changes):
            port = 31001 + change
            set_port(work.tree, nodes, port)
            before, sent = work.cluster.counters()[0], loopback_bytes()
            begin = time.monotonic()
            work.publish()
            work.wait_for(str(port).encode())
            times.append(time.monotonic() - begin)
            work.sync("status", "--wait", str(change + 2), "--timeout", "60")
            traffic.append(loopback_bytes() - sent)
            calls.append(difference(work.cluster.counters()[0], before))
        begin, sent, before = time.monotonic(), loopback_bytes(), work.cluster.counters()[0]
        time.sleep(60)
        idle = time.monotonic() - begin
        idle_bytes = loopback_bytes() - sent
        idle_calls = sum(difference(work.cluster.counters()[0], before).values())
        memory = [resident(process.pid) for process in work.followers]
        members = work.cluster.counters()[1]
        watch = watch_memory(work.cluster.endpoints[0], WATCHES)
        size = work.sync("publish", "--dry-run", work.tree).stdout.strip().splitlines()[-1]
    finally:
        work.end()
    return {
        "times": times,
        "bytes": statistics.median(traffic) / nodes,
        "calls": {
            name: statistics.median(one.get(name, 0) for one in calls) / nodes for name in calls[0]
        },
        "idle_bytes": (idle_bytes / idle * 60 - own_bytes) / nodes,
        "watch": watch,
        "idle_calls": idle_calls / nodes / idle * 60,
        "resident": statistics.median(one[0] for one in memory),
        "private": statistics.median(one[1] for one in memory),
        "members": members / 3,
        "size": size,
    }


def page(result, nodes, changes, load):
    times = [1000 * one for one in result["times"]]
    calls = ", ".join(
        f"{name} {value:.1f}" for name, value in sorted(result["calls"].items()) if value >= 0.05
    )
    version = subprocess.run(["etcd", "--version"], capture_output=True, text=True, check=True)
    memory = pathlib.Path("/proc/meminfo").read_text().split()[1]
    rows = [
        (
            f"`publish` until the last of {nodes} answers has changed",
            f"median {statistics.median(times):.0f} ms, maximum {max(times):.0f} ms",
        ),
        ("of that, the quiet time of the event library", "50 ms"),
        ("traffic of one change, for each follower", f"{result['bytes'] / 1000:.1f} kB"),
        ("calls of one change, for each follower", calls),
        (
            "idle, for each follower and minute",
            f"{result['idle_calls']:.1f} calls, {result['idle_bytes'] / 1000:.1f} kB",
        ),
        (
            "memory of a follower",
            f"{result['resident'] / 1e6:.1f} MB resident,"
            f" {result['private'] / 1e6:.1f} MB of it private",
        ),
        ("memory of a member of etcd", f"{result['members'] / 1e6:.0f} MB"),
        (
            f"memory of a member for each further watch, with {WATCHES}",
            f"{result['watch'] / 1000:.0f} kB",
        ),
        ("size of a version", result["size"]),
    ]
    table = "\n".join(f"| {name} | {value} |" for name, value in rows)
    cores = f"{os.cpu_count()} cores ({platform.machine()})"
    machine = f"{cores}, {int(memory) / 2**20:.0f} GiB of memory"
    system = f"Linux {platform.release()}; {version.stdout.splitlines()[0]}"
    return f"""# Distribution

What `sysconfsync follow` costs. `benchmarks/distribution.py BUILD` measures it and writes this
page. [docs/cluster.md](../docs/cluster.md) is the page for users.

## Results of {datetime.date.today()}

{machine}, {system}.
Three members of etcd, {nodes} followers and {nodes} processes with the library share this machine.
{changes} changes; load average before: {load:.2f}.

| | |
| --- | --- |
{table}

Traffic includes that between the members, which send each change to each other, and the headers of
IP and TCP.
"""


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    nodes = int(sys.argv[2]) if len(sys.argv) > 2 else 50
    changes = int(sys.argv[3]) if len(sys.argv) > 3 else 100
    load = os.getloadavg()[0]
    folder = pathlib.Path(tempfile.mkdtemp())
    try:
        result = measure(build, folder, nodes, changes)
    finally:
        shutil.rmtree(folder)
    text = page(result, nodes, changes, load)
    estimate = SOURCE / "benchmarks/report/distribution.md.in"
    (SOURCE / "benchmarks/distribution.md").write_text(text + "\n" + estimate.read_text())


if __name__ == "__main__":
    main()
