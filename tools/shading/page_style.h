/// The page's style sheet, but for the colours of the inks.
#pragma once

namespace shading {

inline constexpr const char* page_style = R"css(:root {
  color-scheme: light dark;
  --text: #1a1a1a; --faint: #5f5f5f; --paper: #ffffff; --alarm: #b4001e; --rule: #d0d0d0;
}
@media (prefers-color-scheme: dark) {
  :root { --text: #e8e8e8; --faint: #a8a8a8; --paper: #16181c; --alarm: #ff7a86; --rule: #44474d; }
}
body { margin: 1.5rem; background: var(--paper); color: var(--text);
  font: 14px/1.45 "DejaVu Sans", Verdana, sans-serif; }
h1 { font-size: 1.5rem; overflow-wrap: anywhere; }
h2 { font-size: 1.15rem; margin: 2rem 0 0.5rem; border-bottom: 1px solid var(--rule); }
p { margin: 0.3rem 0; overflow-wrap: anywhere; }
nav { margin: 0.8rem 0; }
a { color: inherit; }
.alarm { color: var(--alarm); font-weight: bold; }
.wide { overflow-x: auto; }
svg { display: block; max-width: 100%; min-width: 900px; height: auto;
  font-family: "DejaVu Sans", Verdana, sans-serif; }
svg text.bold { font-weight: bold; }
svg text.halo { paint-order: stroke; stroke-width: 2px; stroke-linejoin: round; }
svg polyline { stroke-linejoin: round; }
svg image { image-rendering: pixelated; }
table { border-collapse: collapse; margin: 0.8rem 0; font-size: 11px; }
caption { text-align: left; color: var(--faint); padding-bottom: 0.2rem; }
th, td { padding: 0.15rem 0.5rem; border-bottom: 1px solid var(--rule); text-align: left;
  vertical-align: top; white-space: nowrap; }
td.number { text-align: right; font-variant-numeric: tabular-nums; }
table.names td, #findings td { white-space: normal; overflow-wrap: anywhere; }
@media print {
  :root { --text: #000000; --faint: #444444; --paper: #ffffff; --alarm: #b4001e; --rule: #bbbbbb; }
  @page { size: A4 landscape; margin: 10mm; }
  body { margin: 0; print-color-adjust: exact; -webkit-print-color-adjust: exact; }
  nav { display: none; }
  svg { min-width: 0; max-height: 185mm; break-inside: avoid; }
  section { break-before: page; }
  .wide { overflow: visible; }
  table { font-size: 7.5px; }
  th, td { padding: 0.1rem 0.3rem; }
}
)css";

}  // namespace shading
