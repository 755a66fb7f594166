"""The results of the benchmark programs, and what is computed from them."""

import collections
import json
import math
import pathlib
import statistics

NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}


class Results:
    """Medians over the rounds, by layout, number of nodes, variant and name."""

    def __init__(self, directory):
        times = collections.defaultdict(list)
        rates = collections.defaultdict(list)
        self.sizes, self.layouts, self.bytes, self.rounds = set(), [], {}, 0
        for path in sorted(pathlib.Path(directory).glob("*-*-*-*.json")):
            nodes, layout, variant, number = path.stem.split("-")
            self.rounds = max(self.rounds, int(number))
            self.sizes.add(int(nodes))
            if layout not in self.layouts:
                self.layouts.append(layout)
            for run in json.loads(path.read_text(encoding="utf-8"))["benchmarks"]:
                if run.get("error_occurred"):
                    raise ValueError(f"{path}: {run['name']}: {run['error_message']}")
                key = layout, int(nodes), variant
                if run["name"].startswith("throughput/"):
                    rates[*key, run["threads"]].append(run["items_per_second"])
                else:
                    name = run["name"].split("/")[0]
                    times[*key, name].append(run["cpu_time"] * NANOSECONDS[run["time_unit"]])
        self.sizes = sorted(self.sizes)
        self.layouts.sort(reverse=True)
        self._times = {key: statistics.median(values) for key, values in times.items()}
        self._rates = {key: statistics.median(values) for key, values in rates.items()}
        self.threads = sorted({key[-1] for key in rates})
        self.memory = [json.loads(path.read_text(encoding="utf-8"))
                       for path in sorted(pathlib.Path(directory).glob("memory-*.json"))]
        self.reload = {path.stem.split("-")[1]: json.loads(path.read_text(encoding="utf-8"))
                       for path in pathlib.Path(directory).glob("reload-*.json")}
        self.load = (pathlib.Path(directory) / "load").read_text(encoding="utf-8").strip()
        for path in pathlib.Path(directory).glob("*.bytes"):
            nodes, layout = path.stem.split("-")
            self.bytes[layout, int(nodes)] = int(path.read_text(encoding="utf-8"))

    def time(self, layout, nodes, variant, name):
        """Nanoseconds of CPU time, user and system."""
        return self._times[layout, nodes, variant, name]

    def rate(self, layout, nodes, variant, threads):
        """Queries a second of all threads together."""
        return self._rates[layout, nodes, variant, threads]

    def anywhere(self, variant, name):
        """The time of what does not depend on the deployment, over all of them."""
        return statistics.median(time for key, time in self._times.items()
                                 if key[2:] == (variant, name))

    def growth(self, layout, variant, name):
        """The exponent of the least squares fit of time against the file's size, both as
        logarithms, and the factor by which a size is furthest from the fitted line."""
        xs = [math.log(self.bytes[layout, nodes]) for nodes in self.sizes]
        ys = [math.log(self.time(layout, nodes, variant, name)) for nodes in self.sizes]
        slope, intercept = statistics.linear_regression(xs, ys)
        furthest = max(abs(y - slope * x - intercept) for x, y in zip(xs, ys))
        return slope, math.exp(furthest)
