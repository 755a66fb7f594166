"""The tables of docs/performance.md: the library alone, on indented lists."""

from tables import duration, size, table

# Rows of the overview: what is called, name in the programs, None if it depends on no file.
KINDS = (
    ("a loaded value, `getMaintenanceIPAddress`", "loaded-text", False),
    ("a database field, `getDBUserName`", "database-text", False),
    ("an address of this node, `getLocalServiceIP`", "getLocalServiceIP", True),
    ("addresses of all nodes, `getIPAddresses`", "getIPAddresses-all", True),
    ("a reload of both singletons", "reload", True),
)


# Operations that read more than one file have a large constant part.
LOADS = {"first-use", "reload"}


def node_header(first, results):
    return (first, *(f"{nodes:,} nodes" for nodes in results.sizes))


def overview(results):
    layout = results.layouts[0]
    rows = [node_header("call", results),
            ("size of the node list", *(size(results.bytes[layout, n]) for n in results.sizes))]
    for title, name, by_size in KINDS:
        if by_size:
            times = [results.time(layout, n, "product", name) for n in results.sizes]
        else:
            times = [results.anywhere("product", name)] * len(results.sizes)
        rows.append((title, *map(duration, times)))
    return table(rows)


def times(results, operations):
    layout = results.layouts[0]
    rows = [node_header("operation", results)]
    for name, title, _ in operations:
        rows.append((title, *(duration(results.time(layout, nodes, "product", name))
                              for nodes in results.sizes)))
    return table(rows)


def exponents(results, operations):
    found = [results.growth(results.layouts[0], "product", name)[0]
             for name, _, _ in operations if name not in LOADS]
    return f"{min(found):.2f} to {max(found):.2f}"


def memory(results):
    run = next(run for run in results.memory if run["variant"] == "product")
    return (f"One query of a node's address on a list of {size(run['file'])} raises peak memory of "
            f"the process by\n{size(run['peak'])}, {run['peak'] / run['file']:.1f} times the "
            f"size of the file. The text and its parse are kept: {size(run['kept'])}, "
            f"{run['kept'] / run['file']:.1f} times the file.")


def throughput(results):
    layout = results.layouts[0]
    rows = [("nodes", *(f"{n} thread{'s' if n > 1 else ''}" for n in results.threads))]
    for nodes in results.sizes:
        rows.append((f"{nodes:,}", *(f"{results.rate(layout, nodes, 'product', n):,.0f}"
                                     for n in results.threads)))
    return table(rows)


def reloads(results):
    rows = [("reload of", "wait, median", "wait, 99 of 100", "wait, maximum", "query, median")]
    for which, title in (("reader", "`SysConfReader`"), ("roles", "`SysConfReaderImpl`")):
        run = results.reload[which]
        rows.append((title, *(duration(run["wait"][key] * 1e6)
                              for key in ("median_ms", "p99_ms", "worst_ms")),
                     duration(run["query"]["median_ms"] * 1e6)))
    return table(rows)


def tables(results, operations):
    return {
        "overview": overview(results),
        "exponents": exponents(results, operations),
        "times": times(results, operations),
        "memory": memory(results),
        "throughput": throughput(results),
        "threads": results.reload["reader"]["threads"],
        "reloads": reloads(results),
    }
