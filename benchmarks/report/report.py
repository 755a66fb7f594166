"""report.py RESULTS OUTPUT: from a run of scripts/bench, writes the page for users, performance.md,
and the plots to OUTPUT, and the page for maintainers to OUTPUT/../benchmarks/README.md."""

import datetime
import math
import os
import pathlib
import platform
import subprocess
import sys

import plots
import userpage
from results import Results
from tables import duration, table

SIZES = (2, 10, 100, 1000, 10000)
# Queries of one address are compared with the kernel only, which takes most of their time.
ONE_NODE = ()
ONE_NODE_LIMIT = (1.8, 2.0, 2.2, 2.6, 2.5)
MANAGER = (6, 12, 20, 22, 22)
MANY = (3.5, 4, 4, 4, 5)
LOADS = (3, 5, 10, 12, 12)
# Name in the programs, name on the pages, target against the baseline by size (times faster).
OPERATIONS = (
    ("getLocalIPByUsage", "getLocalIPByUsage", ONE_NODE),
    ("getLocalMaintenanceIP", "getLocalMaintenanceIP", ONE_NODE),
    ("getLocalServiceIP", "getLocalServiceIP", ONE_NODE),
    ("getLocalService2IP", "getLocalService2IP", ONE_NODE),
    ("getLocalNorthIP", "getLocalNorthIP", ONE_NODE),
    ("getLocalNodeIPs-1", "getLocalNodeIPs, by number", ONE_NODE),
    ("getLocalSouthIP", "getLocalSouthIP", ONE_NODE),
    ("getLocalNodeIPs-2", "getLocalNodeIPs, by tag", (5, 8, 20, 25, 25)),
    ("getIPAddresses-quarter", "getIPAddresses, a quarter", MANAGER),
    ("getIPAddresses-all", "getIPAddresses, all nodes", MANAGER),
    ("master-and-standby", "scan for master and standby", MANAGER),
    ("getAllFloatIP", "getAllFloatIP", MANY),
    ("getSourceNodeId", "getSourceNodeId", MANY),
    ("first-use", "first use of both singletons", LOADS),
    ("reload", "reload of both singletons", LOADS),
)
LOADED_VALUES = (
    ("loaded-text", "getMaintenanceIPAddress", "guarded-text"),
    ("loaded-number", "getLocalPort", "guarded-number"),
    ("database-text", "getDBUserName", "guarded-text"),
    ("database-number", "getDBAccessPort", "guarded-number"),
)
LOADED_VALUE_LIMIT, KEPT_LIMIT = 1.3, 2.5
# The kernel lets two threads that open one path gain about a third.
TWO_THREADS = (1.3, 1.8, 1.8, 1.8, 1.8)
# Targets for the wait of a reload, in milliseconds.
RELOAD_MEDIAN, RELOAD_WORST = 10, 100
NAMES = {"baseline": "baseline", "product": "library", "limit": "open, read, close",
         "ideal": "in proportion to threads"}


class Report:
    def __init__(self, results):
        self.results = results
        self.missed = 0
        self.judged = 0

    def judge(self, value, target, at_least):
        """Returns the value as text, in bold if it misses its target."""
        self.judged += 1
        digits = 2 if value < 10 else 1
        shown = f"{value:.{digits}f}"
        if value >= target if at_least else value <= target:
            return shown
        self.missed += 1
        return f"**{shown}**"

    def by_size(self, cell):
        """A table of operations by size; `cell` returns the text for name, targets, nodes."""
        rows = [("operation", *(f"{nodes:,} nodes" for nodes in self.results.sizes))]
        for name, title, targets in OPERATIONS:
            rows.append((title, *(cell(name, targets, nodes) for nodes in self.results.sizes)))
        return table(rows)

    def speedup(self, layout):
        def cell(name, targets, nodes):
            baseline = self.results.time(layout, nodes, "baseline", name)
            product = self.results.time(layout, nodes, "product", name)
            if targets is ONE_NODE:
                return f"{duration(product)}: {baseline / product:.1f}"
            target = targets[SIZES.index(nodes)]
            ratio = self.judge(baseline / product, target, True)
            return f"{duration(product)}: {ratio} (≥ {target})"
        return self.by_size(cell)

    def against_kernel(self, layout):
        def cell(name, targets, nodes):
            product = self.results.time(layout, nodes, "product", name)
            ratio = product / self.results.time(layout, nodes, "limit", "read")
            if targets is not ONE_NODE:
                return f"{ratio:.2f}"
            most = ONE_NODE_LIMIT[SIZES.index(nodes)]
            return f"{self.judge(ratio, most, False)} (≤ {most})"
        return self.by_size(cell)

    def loaded_values(self):
        rows = [("operation", "baseline", "library", "bare guard and copy", "ratio", "target")]
        for name, title, limit_name in LOADED_VALUES:
            product = self.results.anywhere("product", name)
            limit = self.results.anywhere("limit", limit_name)
            rows.append((title, duration(self.results.anywhere("baseline", name)),
                         duration(product), duration(limit),
                         self.judge(product / limit, LOADED_VALUE_LIMIT, False),
                         f"≤ {LOADED_VALUE_LIMIT}"))
        return table(rows)

    def memory(self):
        rows = [("variant", "file", "peak of one query", "times the file", "kept",
                 "times the file", "target")]
        for run in self.results.memory:
            ratio, target = f"{run['kept'] / run['file']:.2f}", ""
            if run["variant"] == "product":
                ratio = self.judge(run["kept"] / run["file"], KEPT_LIMIT, False)
                target = f"≤ {KEPT_LIMIT}"
            rows.append((NAMES[run["variant"]], f"{run['file'] / 1e6:.1f} MB",
                         f"{run['peak'] / 1e6:.1f} MB", f"{run['peak'] / run['file']:.2f}",
                         f"{run['kept'] / 1e6:.1f} MB", ratio, target))
        return table(rows)

    def throughput(self):
        layout = self.results.layouts[0]
        rows = [("nodes", *(f"{n} thread{'s' if n > 1 else ''}" for n in self.results.threads),
                 "2 threads to 1", "target", "baseline 2 to 1", "kernel 2 to 1")]
        for nodes in self.results.sizes:
            def gain(variant, size=nodes):
                return (self.results.rate(layout, size, variant, 2) /
                        self.results.rate(layout, size, variant, 1))
            target = TWO_THREADS[SIZES.index(nodes)]
            rows.append((f"{nodes:,}",
                         *(f"{self.results.rate(layout, nodes, 'product', n):,.0f} /s"
                           for n in self.results.threads),
                         self.judge(gain("product"), target, True),
                         f"≥ {target}", f"{gain('baseline'):.2f}", f"{gain('limit'):.2f}"))
        return table(rows)

    def reloads(self):
        rows = [("reload of", "threads", "reloads", "query, median", "wait, median",
                 "target", "wait, 99 of 100", "longest wait", "target")]
        for which, title in (("reader", "the reader"), ("roles", "the role reader")):
            run = self.results.reload[which]
            query, wait = run["query"], run["wait"]
            median = self.judge(wait["median_ms"], RELOAD_MEDIAN, False)
            longest = self.judge(wait["worst_ms"], RELOAD_WORST, False)
            rows.append((title, str(run["threads"]), str(run["reloads"]),
                         duration(query["median_ms"] * 1e6), median + " ms",
                         f"≤ {RELOAD_MEDIAN} ms", duration(wait["p99_ms"] * 1e6), longest + " ms",
                         f"≤ {RELOAD_WORST} ms"))
        return table(rows)

    def growth(self):
        layout = self.results.layouts[0]
        rows = [("operation", "library: exponent", "furthest", "baseline: exponent", "furthest")]
        for name, title, _ in OPERATIONS:
            cells = [f"{figure:.2f}" for variant in ("product", "baseline")
                     for figure in self.results.growth(layout, variant, name)]
            rows.append((title, cells[0], f"{cells[1]} times", cells[2], f"{cells[3]} times"))
        limit = [f"{figure:.2f}" for figure in self.results.growth(layout, "limit", "read")]
        rows.append(("open, read, close", limit[0], f"{limit[1]} times", "", ""))
        return table(rows)


def machine():
    def output(*command):
        return subprocess.run(command, check=True, capture_output=True, text=True).stdout

    model = next((line.split(":", 1)[1].strip() for line in output("lscpu").splitlines()
                  if line.startswith("Model name")), platform.machine())
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30
    compiler = output(os.environ.get("CXX", "c++"), "--version").splitlines()[0]
    return (f"{model}, {os.cpu_count()} cores, {memory:.1f} GiB of memory, Linux "
            f"{platform.release()}, {compiler}")


def draw(results, output):
    layout = results.layouts[0]
    limit = [(n, results.time(layout, n, "limit", "read")) for n in results.sizes]
    panels = [(title, {"baseline": [(n, results.time(layout, n, "baseline", name))
                                    for n in results.sizes],
                       "limit": limit,
                       "product": [(n, results.time(layout, n, "product", name))
                                   for n in results.sizes]}) for name, title, _ in OPERATIONS]
    x_axis = plots.Axis([(n, f"{n:,}") for n in results.sizes], 1.5, results.sizes[-1] * 1.4, True)
    y_axis = plots.Axis([(10.0**e, duration(10.0**e)) for e in range(3, 11)], 1e3, 1e10, True)
    plots.write_grid(output / "performance-time.svg", "Time of a call against nodes in the list",
                     "Across: nodes. Up: CPU time of one call. Both logarithmic.", NAMES, panels,
                     x_axis, y_axis, 4)

    most = results.threads[-1]
    cores = min(os.cpu_count(), most)
    panels = []
    for nodes in results.sizes:
        lines = {variant: [(n, results.rate(layout, nodes, variant, n) /
                            results.rate(layout, nodes, variant, 1)) for n in results.threads]
                 for variant in ("baseline", "limit", "product")}
        one = results.rate(layout, nodes, "product", 1)
        panels.append((f"{nodes:,} nodes (1 = {one:,.0f} queries/s)",
                       {"ideal": [(1, 1), (cores, cores), (most, cores)], **lines}))
    x_axis = plots.Axis([(n, str(n)) for n in results.threads], 0.8, most + 0.2, False)
    highest = math.ceil(max(y for _, lines in panels for points in lines.values()
                            for _, y in points) + 0.25)
    y_axis = plots.Axis([(n, str(n)) for n in range(highest + 1)], 0, highest, False)
    plots.write_grid(output / "performance-throughput.svg", "Throughput against threads",
                     "Across: threads. Up: getLocalIPByUsage calls a second of all threads, "
                     "relative to the same variant on one thread.", NAMES, panels, x_axis, y_axis,
                     3)


def fill(template, values):
    path = pathlib.Path(__file__).parent / template
    return path.read_text(encoding="utf-8").format(**values)


def maintainers_tables(results):
    report = Report(results)
    values = {f"speedup_{layout}": report.speedup(layout) for layout in results.layouts}
    values |= {f"kernel_{layout}": report.against_kernel(layout)
               for layout in results.layouts}
    values |= {"loaded_values": report.loaded_values(), "memory": report.memory(),
               "throughput": report.throughput(),
               "reloads": report.reloads(), "growth": report.growth()}
    values["verdict"] = f"{report.judged - report.missed} of {report.judged} targets are met."
    return values


def main():
    results, output = Results(sys.argv[1]), pathlib.Path(sys.argv[2]).resolve()
    run = {"machine": machine(), "date": datetime.date.today().isoformat(),
           "load": results.load, "rounds": results.rounds}
    pages = {
        output / "performance.md":
            fill("performance.md.in", run | userpage.tables(results, OPERATIONS)),
        output.parent / "benchmarks" / "README.md":
            fill("benchmarks.md.in", run | maintainers_tables(results)),
    }
    for path, text in pages.items():
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")
    draw(results, output)


if __name__ == "__main__":
    main()
