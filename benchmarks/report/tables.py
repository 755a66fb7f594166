"""Figures and tables as Markdown."""


def duration(nanoseconds):
    for unit, factor in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= factor:
            return f"{nanoseconds / factor:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def size(number):
    for unit, factor in (("MB", 1e6), ("KB", 1e3)):
        if number >= factor:
            return f"{number / factor:.3g} {unit}"
    return f"{number} B"


def table(rows):
    header, *body = rows
    lines = ["| " + " | ".join(header) + " |",
             "| --- |" + " ---: |" * (len(header) - 1)]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in body])
