"""before.py RESULTS: from a run of scripts/bench-before, prints two tables: how many times faster
the library is than before, and the same without the kernel's time, with targets. A figure in bold
misses its target."""

import sys

from results import Results
from tables import table

# Name in the programs, name on the page, targets by size.
OPERATIONS = (
    ("getLocalServiceIP", "getLocalServiceIP", (1.6, 3, 5, 4, 5)),
    ("getIPAddresses-quarter", "getIPAddresses, a quarter", (1.2, 2, 2.5, 2.2, 2)),
    ("getIPAddresses-all", "getIPAddresses, all nodes", (1.2, 2, 2.5, 2.2, 2)),
    ("getAllFloatIP", "getAllFloatIP", (1.2, 1.4, 1.5, 1.5, 1.7)),
    ("reload", "reload of both singletons", (2.5, 3, 3.5, 3.5, 3)),
    ("first-use", "first use of both singletons", None),
)


class Comparison:
    def __init__(self, results):
        self.results = results

    def time(self, nodes, variant, name):
        return self.results.time("indented", nodes, variant, name)

    def kernel(self, nodes, name):
        """The time to open, read and close the files that the operation reads: a load reads lists
        six times, and twice the app config file, which takes about as long as the shortest list."""
        lists, app_configs = (6, 2) if name == "reload" else (1, 0)
        return (lists * self.time(nodes, "limit", "read") +
                app_configs * self.time(self.results.sizes[0], "limit", "read"))

    def factor(self, nodes, name):
        return self.time(nodes, "before", name) / self.time(nodes, "after", name)

    def own_factor(self, nodes, name):
        kernel = self.kernel(nodes, name)
        return ((self.time(nodes, "before", name) - kernel) /
                (self.time(nodes, "after", name) - kernel))

    def tables(self):
        sizes = self.results.sizes
        header = ["operation"] + [f"{nodes:,} nodes" for nodes in sizes]
        whole, own = [header], [header]
        for name, shown, targets in OPERATIONS:
            whole.append([shown] + [f"{self.factor(nodes, name):.2f}" for nodes in sizes])
            if targets is not None:
                own.append([shown] + [self.judged(self.own_factor(nodes, name), target)
                                      for nodes, target in zip(sizes, targets)])
        return table(whole), table(own)

    @staticmethod
    def judged(factor, target):
        bold = "**" if factor < target else ""
        return f"{bold}{factor:.2f}{bold} ({target})"


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    print("\n\n".join(Comparison(Results(sys.argv[1])).tables()))


if __name__ == "__main__":
    main()
