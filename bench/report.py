#!/usr/bin/python3
"""Builds the performance table from the JSON files of one benchmark run.

Inputs are Google Benchmark JSON files (bandwidth probe, our operations, the
OpenCV peer) and the Python peers' file, which has the same layout. Only the
"median" aggregates are read. The table is printed as Markdown, written to
--out, and with --update-doc it replaces the block between the markers
<!-- bench-table:begin --> and <!-- bench-table:end --> of that file.

Figures:
- GB/s: bytes read plus bytes written per call (inputs once, output once)
  divided by the median time, in 10^9 bytes per second.
- limit: the STREAM-like probe of the same run with the same shape (add for two
  inputs, copy for one), the same thread count and arrays of the workload's
  image size (16, 32, 64 MiB), the faster of its plain-store and streaming-store
  loops. A workload that fits in the last-level cache is thus held to what a
  simple loop reaches at that footprint. The machine's memory bandwidth (the
  "dram" probe) is printed in the header.
- ours vs peer: the best peer's median time divided by ours (above 1: we are faster).
"""

import argparse
import json
import os
import platform
import re
import subprocess
import sys
import time

NAME = re.compile(
    r"^(?P<impl>[^/]+)/(?P<op>[a-z]+)/(?P<type>[a-z0-9]+)/(?P<w>\d+)x(?P<h>\d+)"
    r"/threads:(?P<threads>\d+)(?P<rest>(/[a-z]+:[^/]+)*)$")
PROBE = re.compile(
    r"^probe/(?P<kernel>copy|add)(?P<nt>-nt)?/(?P<size>[^/]+)/threads:(?P<threads>\d+)$")
ELEM_BYTES = {"u8": 1, "i16": 2, "f32": 4}
TO_US = {"ns": 1e-3, "us": 1.0, "ms": 1e3, "s": 1e6}
SINGLE_THREADED = {"numpy"}  # peers measured once, valid at every thread count
BEGIN, END = "<!-- bench-table:begin -->", "<!-- bench-table:end -->"

# Where a peer computes something else than ours on the same pass over memory.
NOTES = [
    ("opencv", r"^(add|subtract|multiply)$", "u8", "a", "OpenCV saturates to [0, 255]; ours wraps around"),
    ("opencv", r"^divide$", "u8", "b", "OpenCV rounds the quotient to nearest; ours truncates"),
    ("opencv", r"^abs$", "i16", "c", "OpenCV (absdiff with 0) saturates |-32768| to 32767; ours wraps"),
    ("numpy", r"^divide$", "u8", "d", "NumPy floor_divide: equals truncation for unsigned values"),
    ("numpy", r"^divide$", "f32", "e", "NumPy gives inf for x/0 where ours gives 0 (the data has no zero divisor)"),
    ("numexpr", r".*", "u8|i16", "f", "numexpr computes in int32/float64 blocks and casts on store (casting='unsafe')"),
    ("opencv", r"^lincomb$", "u8", "g", "OpenCV addWeighted rounds halves to even; ours rounds them away from zero"),
    ("numpy", r"^cmul$", "f32", "h", "NumPy complex64 multiply on interleaved data: the same arithmetic and bytes, another layout"),
    ("numexpr", r"^cmul$", "f32", "i", "numexpr: two calls (real part, imaginary part), each reading the four planes"),
]


def load(path):
    if not path or not os.path.exists(path):
        return None
    with open(path) as f:
        return json.load(f)


def medians(doc):
    """{run name: (median us, bytes per second)} of a Google Benchmark JSON document."""
    out = {}
    if not doc:
        return out
    for b in doc.get("benchmarks", []):
        if b.get("run_type") != "aggregate" or b.get("aggregate_name") != "median":
            continue
        if b.get("error_occurred"):
            continue
        name = b["run_name"]
        if name.endswith("/real_time"):
            name = name[: -len("/real_time")]
        out[name] = (b["real_time"] * TO_US[b.get("time_unit", "ns")], b.get("bytes_per_second"))
    return out


def spreads(doc):
    """{run name: coefficient of variation of the repetitions' times}."""
    out = {}
    for b in (doc or {}).get("benchmarks", []):
        if b.get("run_type") == "aggregate" and b.get("aggregate_name") == "cv":
            out[b["run_name"].replace("/real_time", "")] = b["real_time"]
    return out


def streaming(doc):
    """{run name: whether the library chose streaming stores} (the "streaming" counter)."""
    out = {}
    for b in (doc or {}).get("benchmarks", []):
        if b.get("run_type") == "aggregate" and b.get("aggregate_name") == "median" and "streaming" in b:
            out[b["run_name"].replace("/real_time", "")] = b["streaming"] > 0.5
    return out


def errors(doc):
    out = {}
    for b in (doc or {}).get("benchmarks", []):
        if b.get("error_occurred"):
            out[b["run_name"].replace("/real_time", "")] = b.get("error_message", "error")
    return out


def parse(name):
    m = NAME.match(name)
    if not m:
        return None
    rest = dict(part.split(":", 1) for part in m["rest"].split("/") if part)
    return {
        "impl": m["impl"], "op": m["op"], "type": m["type"], "w": int(m["w"]), "h": int(m["h"]),
        "threads": int(m["threads"]), "isa": rest.get("isa", "best"),
        "form": rest.get("form", "given"), "stores": rest.get("stores", "auto"),
    }


def fmt_time(us, cv=None):
    if us is None:
        return "—"
    if us >= 1000:
        text = f"{us / 1000:.2f} ms"
    else:
        text = f"{us:.2f} µs" if us < 100 else f"{us:.0f} µs"
    return text + (f" ±{cv:.0%}" if cv is not None else "")


def nbytes(w):
    arrays = {"abs": 2, "cmul": 6}.get(w["op"], 3)
    return w["w"] * w["h"] * ELEM_BYTES[w["type"]] * arrays


def note_codes(impl, op, type_name):
    return "".join(code for peer, ops, types, code, _ in NOTES
                   if peer == impl and re.match(ops, op) and re.fullmatch(types, type_name))


def table(headers, rows, align):
    widths = [max(len(str(x)) for x in col) for col in zip(headers, *rows)]

    def line(cells):
        out = []
        for cell, width, a in zip(cells, widths, align):
            out.append(str(cell).rjust(width) if a == "r" else str(cell).ljust(width))
        return "| " + " | ".join(out) + " |"

    sep = "|" + "|".join(("-" * (w + 1) + ":") if a == "r" else ("-" * (w + 2))
                         for w, a in zip(widths, align)) + "|"
    return "\n".join([line(headers), sep] + [line(r) for r in rows])


def machine():
    model, mem = platform.processor() or "?", "?"
    try:
        with open("/proc/cpuinfo") as f:
            for line in f:
                if line.startswith("model name"):
                    model = line.split(":", 1)[1].strip()
                    break
        with open("/proc/meminfo") as f:
            kb = int(f.readline().split()[1])
            mem = f"{kb / 2**20:.0f} GiB"
    except OSError:
        pass
    cores = os.cpu_count()
    try:
        compiler = subprocess.run(["c++", "--version"], capture_output=True, text=True,
                                  check=False).stdout.splitlines()[0]
    except (OSError, IndexError):
        compiler = "?"
    return model, cores, mem, compiler


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--probe", required=True)
    parser.add_argument("--ours")
    parser.add_argument("--opencv")
    parser.add_argument("--python")
    parser.add_argument("--probe-after", help="probe run at the end (drift check)")
    parser.add_argument("--order", help="--benchmark_list_tests listing that orders the rows")
    parser.add_argument("--out", help="Markdown file to write")
    parser.add_argument("--update-doc", help="Markdown file whose marked block gets the table")
    parser.add_argument("--note", action="append", default=[], help="extra header line")
    args = parser.parse_args()

    docs = {k: load(getattr(args, k)) for k in ("probe", "ours", "opencv", "python", "probe_after")}
    if docs["probe"] is None:
        sys.exit(f"report: no probe results in {args.probe}")

    # Probe: best figure per (kernel, stores, size, threads) over the runs before and
    # after; the limit of a (kernel, size, threads) is the faster store kind.
    probe = {}
    for key in ("probe", "probe_after"):
        for name, (_, bps) in medians(docs[key]).items():
            m = PROBE.match(name)
            if m and bps:
                k = (m["kernel"], bool(m["nt"]), m["size"], int(m["threads"]))
                probe[k] = max(probe.get(k, 0.0), bps / 1e9)
    limit = {}
    for (kernel, _, size, threads), v in probe.items():
        limit[(kernel, size, threads)] = max(limit.get((kernel, size, threads), 0.0), v)
    thread_counts = sorted({k[2] for k in limit})

    def limit_for(w, threads):
        per_image = w["w"] * w["h"] * ELEM_BYTES[w["type"]]
        if per_image < (1 << 20):
            return None  # overhead-bound: no bandwidth figure
        kernel = "copy" if w["op"] == "abs" else "add"
        sizes = {s for (kk, s, t) in limit if kk == kernel and t == threads and s.endswith("MiB")}
        label = f"{per_image >> 20}MiB"
        if label not in sizes:
            label = "dram"
        return limit.get((kernel, label, threads))

    # Results of every implementation, keyed by workload and thread count.
    results, spread, order, streamed = {}, {}, [], {}
    for impl_doc in ("ours", "opencv", "python"):
        cvs = spreads(docs[impl_doc])
        chosen = streaming(docs[impl_doc])
        for name, (us, _) in medians(docs[impl_doc]).items():
            p = parse(name)
            if p is None:
                continue
            wkey = (p["op"], p["type"], p["w"], p["h"], p["form"])
            if wkey not in order:
                order.append(wkey)
            # Runs forced to plain stores are listed as an instruction-set row of their own.
            isa = p["isa"] + (", plain stores" if p["stores"] == "plain" else "")
            results[(p["impl"], wkey, p["threads"], isa)] = us
            spread[(p["impl"], wkey, p["threads"], isa)] = cvs.get(name)
            if name in chosen:
                streamed[(p["impl"], wkey, p["threads"], isa)] = chosen[name]
    impls = sorted({k[0] for k in results if k[0] != "ours"})
    if args.order and os.path.exists(args.order):
        listed = []
        with open(args.order) as f:
            for line in f:
                p = parse(line.strip().replace("/real_time", ""))
                if p:
                    wkey = (p["op"], p["type"], p["w"], p["h"], p["form"])
                    if wkey not in listed:
                        listed.append(wkey)
        order.sort(key=lambda k: listed.index(k) if k in listed else len(listed))

    main_rows, isa_rows = [], []
    used_notes = set()
    for wkey in order:
        op, type_name, w, h, form = wkey
        wl = {"op": op, "type": type_name, "w": w, "h": h}
        label = f"{op} {type_name} {w}x{h}" + (" (creates output)" if form == "create" else "")
        for t in thread_counts:
            ours = results.get(("ours", wkey, t, "best"))
            lim = limit_for(wl, t)
            gbs = nbytes(wl) / (ours * 1e-6) / 1e9 if ours else None
            best = None
            for impl in impls:
                tt = 1 if impl in SINGLE_THREADED else t
                us = results.get((impl, wkey, tt, "best"))
                if us is not None and (best is None or us < best[1]):
                    best = (impl, us, spread.get((impl, wkey, tt, "best")))
            peer_label, peer_time, ratio = "—", "—", "—"
            if best:
                codes = note_codes(best[0], op, type_name)
                used_notes.update(codes)
                peer_label = best[0] + (" (1 thread)" if best[0] in SINGLE_THREADED and t > 1 else "")
                peer_label += f" [{codes}]" if codes else ""
                peer_time = fmt_time(best[1], best[2])
                if ours:
                    ratio = f"{best[1] / ours:.2f}x"
            chose = streamed.get(("ours", wkey, t, "best"))
            main_rows.append([
                label, t, fmt_time(ours, spread.get(("ours", wkey, t, "best"))),
                "—" if chose is None else ("streaming" if chose else "plain"), f"{gbs:.1f}" if gbs else "—",
                f"{lim:.1f}" if lim and ours else "—",
                f"{gbs / lim:.0%}" if (gbs and lim) else "—",
                peer_label, peer_time, ratio])
            isas = sorted({k[3] for k in results if k[0] == "ours" and k[1] == wkey and k[2] == t
                           and k[3] != "best"},
                          key=lambda s: ["standard", "SSE2", "AVX", "AVX2", "AVX-512"].index(s)
                          if s in ["standard", "SSE2", "AVX", "AVX2", "AVX-512"] else 99)
            for isa in isas + (["best"] if isas else []):
                us = results[("ours", wkey, t, isa)] if isa != "best" else ours
                if us is None:
                    continue
                g = nbytes(wl) / (us * 1e-6) / 1e9
                isa_rows.append([label, t, isa, fmt_time(us, spread.get(("ours", wkey, t, isa))),
                                 f"{g:.1f}",
                                 f"{g / lim:.0%}" if lim else "—"])

    # Header: machine, probe, load.
    model, cores, mem, compiler = machine()
    loads = []
    for key in ("probe", "ours", "opencv", "python", "probe_after"):
        ctx = (docs[key] or {}).get("context", {})
        if "load_avg" in ctx and ctx["load_avg"]:
            loads.append(f"{key.replace('_', ' ')} {ctx['load_avg'][0]:.2f}")
    pctx = docs["probe"].get("context", {})
    llc = int(pctx.get("llc_bytes", "0") or 0)
    dram_rows = []
    for kernel in ("copy", "add"):
        for nt in (False, True):
            row = [f"{kernel}, {'streaming' if nt else 'plain'} stores"]
            for t in thread_counts:
                cells = []
                for size in ("dram", "64MiB", "32MiB", "16MiB"):
                    v = probe.get((kernel, nt, size, t))
                    cells.append(f"{v:.1f}" if v else "—")
                row.append(" / ".join(cells))
            dram_rows.append(row)
    dram_best = max((v for (k, s, t), v in limit.items() if s == "dram"), default=None)

    out = []
    out.append(f"Measured {time.strftime('%Y-%m-%d %H:%M %Z')} on {model}, {cores} cores, {mem} memory, "
               f"last-level cache {llc >> 20} MiB; {compiler}; release build.")
    out.append(f"Load average (1 min) when each program started (our own runs included): "
               f"{', '.join(loads)}.")
    cache = int((docs["ours"] or {}).get("context", {}).get("streaming_cache_bytes", "0") or 0)
    if cache:
        out.append(f"Our kernels stream their stores when a run writes more than {cache / 2**21:.0f} MiB "
                   f"(half of the {cache >> 20} MiB of cache the library counts on here).")
    for n in args.note:
        out.append(n)
    out.append("")
    out.append(f"Memory bandwidth limit (STREAM-like probe, bytes read + written, GB/s): "
               f"**{dram_best:.1f}**" if dram_best else "Memory bandwidth limit: not measured")
    out.append("")
    out.append(table(["probe (GB/s), arrays: dram / 64 / 32 / 16 MiB"] +
                     [f"{t} thread{'s' if t > 1 else ''}" for t in thread_counts],
                     dram_rows, ["l"] + ["r"] * len(thread_counts)))
    out.append("")
    out.append(table(["workload", "threads", "ours (median)", "stores", "GB/s", "limit GB/s", "of limit",
                      "best peer", "peer (median)", "ours vs peer"],
                     main_rows, ["l", "r", "r", "l", "r", "r", "r", "l", "r", "r"]))
    out.append("")
    out.append("Times are medians; ±: coefficient of variation of the repetitions. "
               "ours vs peer = peer time / our time (above 1: ours is faster). limit = probe with the "
               "same shape (copy: one input, add: two), thread count and array size as the "
               "workload's images, the faster of plain and streaming stores. stores: what the "
               "library chose for the run (streaming stores when the run writes more than half the "
               "cache it counts on; docs/performance.md). "
               "Small images are bound by per-call overhead: no bandwidth limit is given.")
    overhead = [(t, results.get(("ours", ("add", "u8", 64, 64, "given"), t, "best")))
                for t in thread_counts]
    overhead = [(t, us) for t, us in overhead if us is not None]
    if overhead:
        worst = max(us for _, us in overhead)
        out.append("")
        out.append("Per-call overhead, add u8 64x64 with a given output: " +
                   ", ".join(f"{fmt_time(us)} with {t} thread{'s' if t > 1 else ''}"
                             for t, us in overhead) +
                   f" (target: under 10 µs; {'met' if worst < 10 else 'NOT met'}).")
    if used_notes:
        out.append("")
        for _, _, _, code, text in NOTES:
            if code in used_notes:
                out.append(f"- [{code}] {text}")
                used_notes.discard(code)
    if isa_rows:
        out.append("")
        out.append("Per instruction set (ours, preallocated output):")
        out.append("")
        out.append(table(["workload", "threads", "instruction set", "median", "GB/s", "of limit"],
                         isa_rows, ["l", "r", "l", "r", "r", "r"]))
    errs = {}
    for key in ("ours", "opencv"):
        errs.update(errors(docs[key]))
    if errs:
        out.append("")
        out.append("Benchmarks that reported an error (left out of the table):")
        for name, msg in errs.items():
            out.append(f"- {name}: {msg}")
    if docs["ours"] is None:
        out.append("")
        out.append("Our operations were not measured (the library's benchmark program was not built).")
    text = "\n".join(out) + "\n"

    print(text)
    if args.out:
        with open(args.out, "w") as f:
            f.write(text)
    if args.update_doc:
        with open(args.update_doc) as f:
            doc = f.read()
        if BEGIN not in doc or END not in doc:
            sys.exit(f"report: {args.update_doc} has no {BEGIN} ... {END} block")
        head, rest = doc.split(BEGIN, 1)
        _, tail = rest.split(END, 1)
        with open(args.update_doc, "w") as f:
            f.write(head + BEGIN + "\n" + text + END + tail)


if __name__ == "__main__":
    main()
