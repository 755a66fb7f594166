// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace sysconfctl {

inline constexpr const char* kPageTitle = "Configuration report";

/// The rules for the picture override the fixed colours with which it is drawn.
inline constexpr const char* kPageStyle = R"(
:root { color-scheme: light dark; --text: #1a1a1a; --back: #ffffff; --line: #c4c4c4;
  --soft: #f3f3f3; --mark: #fff3c4; --error: #b3001b; --warning: #8a5a00; --note: #1b6e3a; }
@media (prefers-color-scheme: dark) {
  :root { --text: #e8e8e8; --back: #17191c; --line: #4a4f55; --soft: #23272b; --mark: #4d4317;
    --error: #ff8a94; --warning: #f0b955; --note: #7fd69b; }
}
body { margin: 0 auto; max-width: 80rem; padding: 1rem; background: var(--back);
  color: var(--text); font: 15px/1.45 system-ui, sans-serif; }
code, pre, th[scope=row], td.answer { font-family: ui-monospace, monospace; font-size: 0.92em; }
code, pre, td, th { overflow-wrap: anywhere; }
pre { background: var(--soft); padding: 0.5rem; overflow-x: auto; white-space: pre; }
dl { display: grid; grid-template-columns: max-content 1fr; gap: 0.1rem 1rem; }
dt { font-weight: 600; }
dd { margin: 0; overflow-wrap: anywhere; }
h2 { border-bottom: 1px solid var(--line); margin-top: 2rem; }
.wide { overflow-x: auto; }
table { border-collapse: collapse; width: 100%; }
th, td { border-bottom: 1px solid var(--line); padding: 0.3rem 0.6rem; text-align: left;
  vertical-align: top; min-width: 5rem; }
thead th { background: var(--soft); }
th[scope=row] { font-weight: 600; }
tr.this { background: var(--mark); }
td.none { color: var(--error); }
#findings li { margin-bottom: 1rem; }
#findings p { margin: 0.15rem 0; }
li.error b { color: var(--error); }
li.warning b { color: var(--warning); }
li.note b { color: var(--note); }
li.decides { font-weight: 600; }
details ul { padding-left: 1.2rem; }
figure { margin: 0; overflow-x: auto; }
/* Graphviz measures Helvetica; other fonts are wider. */
figure text { fill: var(--text); }
figure .node text { font-size: 8.8px; }
figure .graph > polygon { fill: none; stroke: none; }
figure .cluster path, figure .cluster polygon { stroke: var(--line); }
figure .node path, figure .node polygon { fill: var(--back); stroke: var(--text); }
figure .node path[fill="#fff3c4"] { fill: var(--mark); }
figure .edge path { stroke: var(--text); }
figure .edge polygon { fill: var(--text); stroke: var(--text); }
[hidden] { display: none; }
)";

inline constexpr const char* kPageScript = R"(
"use strict";
const label = document.getElementById("search");
const matches = document.getElementById("matches");
const rows = Array.from(document.querySelectorAll("#nodes tbody tr"));
const texts = rows.map((row) => row.innerText.toLowerCase());
const all = matches.textContent;
label.hidden = false;
label.querySelector("input").addEventListener("input", (event) => {
  const words = event.target.value.toLowerCase().split(/\s+/).filter(Boolean);
  let shown = 0;
  rows.forEach((row, i) => {
    row.hidden = !words.every((word) => texts[i].includes(word));
    shown += row.hidden ? 0 : 1;
  });
  matches.textContent = words.length === 0 ? all : shown + " of " + all;
});
)";

/// The SHA-256 of kPageScript, the only script that the page's content security policy allows.
inline constexpr const char* kPageScriptHash =
    "sha256-FV61CjlXK8SKfEOh0y0KMC1hBTZyEz4lxoeHIMwqppM=";

} // namespace sysconfctl
