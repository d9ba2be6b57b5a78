#include "report/report_style.h"

namespace zkcli {

// Only fonts the reader's system already has: the page must open offline and
// print the same anywhere. The colour tints are kept when printing because the
// Cb/Cr plane and the outline mean something through their colours. The plane's
// tint multiplies two opaque gradients: translucent CSS gradients get lost on
// the way to some PDF renderers.
std::string_view report_stylesheet() {
  return R"css(
:root {
  --bg: #f2f3f5; --card: #fff; --ink: #1c2430; --muted: #667085; --line: #e4e7ec;
  --accent: #1d5fd1; --select: #e8590c; --average: #7048e8; --ok: #1a7f46; --warn: #b54708;
  --outline: #ffe03a;
  color-scheme: light;
}
* { box-sizing: border-box; -webkit-print-color-adjust: exact; print-color-adjust: exact; }
body {
  margin: 0; padding: 28px 20px 40px; background: var(--bg); color: var(--ink);
  font: 14px/1.45 system-ui, -apple-system, "Segoe UI", Roboto, "Noto Sans", "Helvetica Neue",
    Arial, sans-serif;
  font-variant-numeric: tabular-nums;
}
main, .page-head { max-width: 1180px; margin: 0 auto; }
h1 { font-size: 22px; margin: 0 0 12px; letter-spacing: -0.01em; }
h2 { font-size: 17px; margin: 0; overflow-wrap: anywhere; }
h3 { font-size: 12px; margin: 0 0 8px; text-transform: uppercase; letter-spacing: 0.06em;
  color: var(--muted); }
.page-head { margin-bottom: 22px; }
.summary { display: flex; flex-wrap: wrap; gap: 10px; margin: 0; }
.summary div { background: var(--card); border: 1px solid var(--line); border-radius: 10px;
  padding: 8px 14px; min-width: 110px; }
.summary dt { font-size: 11px; text-transform: uppercase; letter-spacing: 0.06em;
  color: var(--muted); }
.summary dd { margin: 2px 0 0; font-weight: 600; overflow-wrap: anywhere; }
.summary .good dd { color: var(--ok); }
.summary .bad { border-color: #f5c48a; background: #fffaf2; }
.summary .bad dd { color: var(--warn); }
.card { background: var(--card); border: 1px solid var(--line); border-radius: 14px;
  box-shadow: 0 1px 2px rgba(16, 24, 40, 0.05), 0 4px 14px rgba(16, 24, 40, 0.05);
  padding: 18px 20px 20px; margin-bottom: 20px; }
.card-head { margin-bottom: 14px; }
.card-head h2 { display: inline; margin-right: 10px; }
.chips { display: inline-flex; flex-wrap: wrap; gap: 6px; vertical-align: 2px; }
.chip { font-size: 12px; padding: 1px 9px; border-radius: 999px; background: #eef1f5;
  color: #344054; white-space: nowrap; }
.chip.ok { background: #e3f4ea; color: var(--ok); }
.chip.off { background: #f2f4f7; color: var(--muted); }
.paths { margin: 6px 0 0; font-size: 12px; color: var(--muted); overflow-wrap: anywhere;
  font-family: ui-monospace, SFMono-Regular, Menlo, Consolas, "Liberation Mono", monospace; }
.top { display: grid; grid-template-columns: minmax(0, 2fr) minmax(220px, 1fr); gap: 20px; }
.shots { display: grid; grid-template-columns: repeat(2, minmax(0, 1fr)); gap: 14px;
  align-items: start; }
figure { margin: 0; }
.shot .pic { position: relative; margin: 0 auto; border-radius: 8px; overflow: hidden;
  background: #dde1e7; line-height: 0; }
.shot img { display: block; width: 100%; height: auto; }
.shot .outline { position: absolute; inset: 0; width: 100%; height: 100%; pointer-events: none; }
.outline path { fill: none; vector-effect: non-scaling-stroke; stroke-linecap: square; }
.outline .halo { stroke: rgba(0, 0, 0, 0.72); stroke-width: 4px; }
.outline .edge { stroke: var(--outline); stroke-width: 1.75px; }
.missing { line-height: 1.4; padding: 40px 10px; text-align: center; color: var(--muted); }
figcaption { font-size: 12px; color: var(--muted); margin-top: 6px; }
figcaption b { color: var(--ink); font-weight: 600; }
.shot figcaption { text-align: center; }
.swatch { display: inline-block; width: 14px; height: 9px; margin-right: 5px; vertical-align: 0;
  border: 2px solid var(--outline); outline: 1.5px solid rgba(0, 0, 0, 0.72); }
.note { color: var(--muted); }
.facts { border-left: 1px solid var(--line); padding-left: 18px; min-width: 0; }
.figures { display: grid; grid-template-columns: repeat(auto-fill, minmax(165px, 1fr));
  column-gap: 16px; margin: 0; font-size: 12.5px; }
.figures div { display: flex; justify-content: space-between; gap: 8px; padding: 2px 0;
  border-bottom: 1px dotted var(--line); }
.figures dt { color: var(--muted); overflow-wrap: anywhere; }
.figures dd { margin: 0; font-weight: 600; white-space: nowrap;
  font-family: ui-monospace, SFMono-Regular, Menlo, Consolas, "Liberation Mono", monospace; }
.figures .hex { color: var(--muted); font-weight: 400; }
.charts { display: grid; grid-template-columns: repeat(auto-fit, minmax(230px, 1fr)); gap: 20px;
  margin-top: 18px; padding-top: 16px; border-top: 1px solid var(--line); align-items: start; }
.chart figcaption { margin: 0 0 6px; }
.chart svg { display: block; width: 100%; height: auto; max-width: 340px; margin: 0 auto;
  overflow: visible; }
.plot text { font-size: 9.5px; fill: var(--muted); }
.plot .axis-title { font-size: 10.5px; fill: #475467; }
.grid { stroke: #edf0f3; stroke-width: 1; }
.grid.faint { stroke: rgba(255, 255, 255, 0.6); }
.frame { fill: none; stroke: #cfd5dd; stroke-width: 1; }
.identity { stroke: #98a2b3; stroke-width: 1.2; stroke-dasharray: 4 3; }
.curve { fill: none; stroke: var(--accent); stroke-width: 2.2; stroke-linejoin: round; }
.band { fill: var(--accent); fill-opacity: 0.12; stroke: none; }
.plot .ref-label { fill: #667085; font-size: 9px; paint-order: stroke; stroke: #fff;
  stroke-width: 3px; stroke-linejoin: round; }
.marker { stroke-width: 1.3; stroke-dasharray: 2 2; }
.marker.select, .marker-dot.select { stroke: var(--select); }
.marker.average, .marker-dot.average { stroke: var(--average); }
.marker-dot { fill: #fff; stroke-width: 1.8; }
.plot .marker-label { font-size: 10px; font-weight: 600; paint-order: stroke;
  stroke: #fff; stroke-width: 3px; stroke-linejoin: round; }
.plot .marker-label.select { fill: var(--select); }
.plot .marker-label.average { fill: var(--average); }
.chart .cbcr { border-radius: 8px; border: 1px solid #cfd5dd; max-width: 260px;
  background: linear-gradient(to right, #f7e4a2, #fff 50%, #bdcdf7),
    linear-gradient(to bottom, #f7bdc1, #fff 50%, #afe9df);
  background-blend-mode: multiply; }
.cbcr .axis { stroke: rgba(28, 36, 48, 0.45); stroke-width: 1; }
.cbcr .axis-title { font-weight: 600; fill: #344054; }
.offset-line { stroke: var(--ink); stroke-width: 2; stroke-linecap: round; }
.offset-point { fill: var(--ink); stroke: #fff; stroke-width: 2; }
.failure { display: flex; gap: 14px; align-items: flex-start; background: #fffaf2;
  border-color: #f5c48a; padding: 14px 18px; }
.failure .sign { flex: none; width: 28px; height: 28px; border-radius: 50%; background: var(--warn);
  color: #fff; font-weight: 700; text-align: center; line-height: 28px; }
.failure h2 { font-size: 15px; }
.reason { margin: 6px 0 0; color: #7a2e0e; overflow-wrap: anywhere; }
.empty { color: var(--muted); }
@media (max-width: 820px) {
  .top { grid-template-columns: minmax(0, 1fr); }
  .facts { border-left: 0; padding-left: 0; }
}
@media print {
  @page { margin: 12mm; }
  body { background: #fff; padding: 0; font-size: 11px; }
  /* One picture to a page where it fits, so that no card is cut in two. */
  .card { box-shadow: none; border-color: #c8ced6; padding: 12px 14px; margin-bottom: 12px;
    break-inside: avoid; }
  .summary div { border-color: #c8ced6; }
  .top { grid-template-columns: minmax(0, 1fr); gap: 10px; }
  .facts { border-left: 0; padding-left: 0; }
  .figures { grid-template-columns: repeat(4, minmax(0, 1fr)); font-size: 10.5px; }
  .figures div { padding: 1px 0; }
  .charts { grid-template-columns: repeat(3, minmax(0, 1fr)); gap: 12px; margin-top: 10px;
    padding-top: 10px; }
  .chart svg { max-width: 210px; }
  .chart .cbcr { max-width: 180px; }
}
)css";
}

}  // namespace zkcli
