#include "report/report_style.h"

namespace zkcli {

// Only fonts the reader's system already has: the page must open offline and
// print the same anywhere. Cards skip layout while off screen, so a page of a
// few hundred pictures opens at once. The colour tints are kept when printing
// because the Cb/Cr plane and the outline mean something through their
// colours; the plane's tint multiplies two opaque gradients, as translucent
// CSS gradients get lost on the way to some PDF renderers.
std::string_view report_stylesheet() {
  return R"css(
:root {
  --bg: #f2f3f5; --card: #fff; --ink: #1c2430; --muted: #667085; --line: #e4e7ec;
  --accent: #1d5fd1; --select: #e8590c; --average: #7048e8; --ok: #1a7f46; --warn: #b54708;
  --bad: #b42318; --outline: #ffe03a;
  --mono: ui-monospace, SFMono-Regular, Menlo, Consolas, "Liberation Mono", monospace;
  color-scheme: light;
}
html { scroll-padding-top: 150px; }
* { box-sizing: border-box; -webkit-print-color-adjust: exact; print-color-adjust: exact; }
body { margin: 0; padding: 0 16px 40px; background: var(--bg); color: var(--ink);
  font: 14px/1.45 system-ui, -apple-system, "Segoe UI", Roboto, "Noto Sans", "Helvetica Neue",
    Arial, sans-serif;
  font-variant-numeric: tabular-nums; }
main, .page-head > * { max-width: 1180px; margin-left: auto; margin-right: auto; }
h1 { font-size: 21px; margin: 0 auto 10px; padding-top: 20px; letter-spacing: -0.01em; }
h2 { font-size: 17px; margin: 0; overflow-wrap: anywhere; }
button, select, input { font: inherit; }
button { cursor: pointer; border: 1px solid #c8ced6; background: #fff; color: var(--ink);
  border-radius: 8px; padding: 4px 12px; }
button:hover { background: #f5f7fa; }
button:focus-visible, select:focus-visible, input:focus-visible, a:focus-visible {
  outline: 2px solid var(--accent); outline-offset: 2px; }
button.primary { background: var(--accent); border-color: var(--accent); color: #fff; }
a { color: var(--accent); }
.page-head { position: sticky; top: 0; z-index: 5; background: var(--bg); padding-bottom: 10px;
  margin: 0 -16px 14px; padding-left: 16px; padding-right: 16px;
  border-bottom: 1px solid var(--line); }
.summary { display: flex; flex-wrap: wrap; gap: 8px; margin: 0 auto 10px; }
.summary div { background: var(--card); border: 1px solid var(--line); border-radius: 10px;
  padding: 5px 12px; min-width: 92px; }
.summary .run { flex: 1 1 220px; }
.summary dt { font-size: 11px; text-transform: uppercase; letter-spacing: 0.06em;
  color: var(--muted); }
.summary dd { margin: 1px 0 0; font-weight: 600; overflow-wrap: anywhere; }
.summary .count dd { font-size: 18px; line-height: 1.2; }
.summary .good dd { color: var(--ok); }
.summary .bad { border-color: #f5c48a; background: #fffaf2; }
.summary .bad dd, .summary .bad a { color: var(--warn); }
.toolbar { display: flex; flex-wrap: wrap; align-items: center; gap: 8px 14px; }
.toolbar[hidden] { display: none; }
.toolbar label { font-size: 13px; color: var(--muted); }
.toolbar select { margin-left: 4px; max-width: 100%; }
.tally { font-size: 13px; color: var(--muted); }
.actions { margin-left: auto; display: flex; flex-wrap: wrap; gap: 8px; }
.card { background: var(--card); border: 1px solid var(--line); border-radius: 14px;
  box-shadow: 0 1px 2px rgba(16, 24, 40, 0.05), 0 4px 14px rgba(16, 24, 40, 0.05);
  padding: 16px 18px 14px; margin-bottom: 16px; border-left: 5px solid var(--line);
  content-visibility: auto; contain-intrinsic-size: auto 640px; }
.card[hidden] { display: none; }
.card[data-warn]:not([data-warn=""]) { border-left-color: #f79009; }
.card.picture[data-decision="accept"] { border-left-color: var(--ok); }
.card.picture[data-decision="reject"] { border-left-color: var(--bad); }
.card.picture[data-decision="adjust"] { border-left-color: var(--accent); }
.card-head h2 { display: inline; margin-right: 8px; }
.verdict { font-size: 12px; font-weight: 700; text-transform: uppercase; letter-spacing: 0.05em;
  margin-right: 8px; }
.card[data-decision="accept"] .verdict { color: var(--ok); }
.card[data-decision="reject"] .verdict { color: var(--bad); }
.card[data-decision="adjust"] .verdict { color: var(--accent); }
.chips { display: inline-flex; flex-wrap: wrap; gap: 6px; vertical-align: 2px; }
.chip { font-size: 12px; padding: 1px 9px; border-radius: 999px; background: #eef1f5;
  color: #344054; white-space: nowrap; }
.chip.ok { background: #e3f4ea; color: var(--ok); }
.chip.off { background: #f2f4f7; color: var(--muted); }
.card-body { display: grid; grid-template-columns: minmax(0, 760px) minmax(240px, 1fr); gap: 20px;
  margin-top: 12px; }
.side { min-width: 0; }
.said { margin: 0; padding: 0; list-style: none; font-size: 15px; font-weight: 600; }
.said li { margin-bottom: 3px; }
.warnings { margin: 0 0 8px; padding: 0; list-style: none; }
.warnings li { margin: 0 0 4px; padding: 3px 10px; border-radius: 6px;
  background: #fef0c7; color: #93370d; font-size: 13px; font-weight: 600; }
.warnings li::before { content: "\26A0  "; }
.measures { margin: 8px 0 0; font-size: 13px; }
.measures div { display: flex; justify-content: space-between; gap: 10px; padding: 2px 0;
  border-bottom: 1px dotted var(--line); }
.measures dt { color: var(--muted); }
.measures dd { margin: 0; font-weight: 600; }
.note { margin: 4px 0 0; color: var(--muted); font-size: 12.5px; }
.paths { margin: 4px 0 0; font-size: 12px; color: var(--muted); overflow-wrap: anywhere;
  font-family: var(--mono); }
.compare { display: grid; grid-template-columns: repeat(2, minmax(0, 1fr)); gap: 12px; }
figure { margin: 0; }
.pic { position: relative; display: block; width: 100%; padding: 0; border: 0; border-radius: 8px;
  overflow: hidden; background: #dde1e7; line-height: 0; }
button.pic { cursor: zoom-in; }
.pic img { display: block; width: 100%; height: auto; }
.outline { position: absolute; inset: 0; width: 100%; height: 100%; pointer-events: none;
  display: none; }
.show-outline .outline { display: block; }
.outline path { fill: none; vector-effect: non-scaling-stroke; stroke-linecap: square; }
.outline .halo { stroke: rgba(0, 0, 0, 0.72); stroke-width: 4px; }
.outline .edge { stroke: var(--outline); stroke-width: 1.75px; }
.missing { line-height: 1.4; padding: 40px 10px; text-align: center; color: var(--muted); }
figcaption { font-size: 12px; color: var(--muted); margin-top: 4px; }
figcaption b { color: var(--ink); font-weight: 600; }
.shot figcaption { text-align: center; font-weight: 600; color: var(--ink); }
.card-tools { display: flex; flex-wrap: wrap; gap: 6px 16px; margin: 8px 0 0; font-size: 13px; }
.histograms { display: grid; grid-template-columns: repeat(2, minmax(0, 1fr)); gap: 12px;
  margin-top: 10px; }
.hist { display: block; width: 100%; height: 56px; background: #f7f8fa; border-radius: 6px; }
.hist polygon.luma { fill: #98a2b3; fill-opacity: 0.45; }
.hist polyline { fill: none; stroke-width: 1.2; vector-effect: non-scaling-stroke; }
.hist .red { stroke: #d92d20; } .hist .green { stroke: #079455; } .hist .blue { stroke: #1570ef; }
.decide { display: flex; flex-wrap: wrap; align-items: center; gap: 8px; margin-top: 14px;
  padding-top: 12px; border-top: 1px solid var(--line); }
.decide button[aria-pressed="true"][data-decision="accept"] { background: var(--ok);
  border-color: var(--ok); color: #fff; }
.decide button[aria-pressed="true"][data-decision="reject"] { background: var(--bad);
  border-color: var(--bad); color: #fff; }
.decide button[aria-pressed="true"][data-decision="adjust"] { background: var(--accent);
  border-color: var(--accent); color: #fff; }
.adjust { display: grid; grid-template-columns: repeat(auto-fill, minmax(130px, 1fr));
  gap: 6px 12px; border: 0; margin: 4px 0 0; padding: 0; flex-basis: 100%; }
.adjust[hidden] { display: none; }
.adjust legend { font-size: 13px; color: var(--muted); padding: 0 0 2px; }
.adjust label { display: flex; justify-content: space-between; align-items: center; gap: 6px;
  font-size: 13px; color: var(--muted); }
.adjust input { width: 4.6em; padding: 2px 4px; border: 1px solid #c8ced6; border-radius: 6px; }
.analysis { margin-top: 10px; }
.analysis summary { cursor: pointer; color: var(--muted); font-size: 13px; }
.charts { display: grid; grid-template-columns: repeat(auto-fit, minmax(200px, 1fr)); gap: 16px;
  margin: 10px 0; align-items: start; }
.chart svg { display: block; width: 100%; height: auto; max-width: 300px; margin: 0 auto;
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
.chart .cbcr { border-radius: 8px; border: 1px solid #cfd5dd; max-width: 220px;
  background: linear-gradient(to right, #f7e4a2, #fff 50%, #bdcdf7),
    linear-gradient(to bottom, #f7bdc1, #fff 50%, #afe9df);
  background-blend-mode: multiply; }
.cbcr .axis { stroke: rgba(28, 36, 48, 0.45); stroke-width: 1; }
.cbcr .axis-title { font-weight: 600; fill: #344054; }
.offset-line { stroke: var(--ink); stroke-width: 2; stroke-linecap: round; }
.offset-point { fill: var(--ink); stroke: #fff; stroke-width: 2; }
.figures { width: 100%; border-collapse: collapse; font-size: 12.5px; }
.figures th { text-align: left; font-family: var(--mono); font-weight: 400; color: var(--muted);
  white-space: nowrap;
  padding: 2px 10px 2px 0; }
.figures td { padding: 2px 10px 2px 0; border-bottom: 1px dotted var(--line); }
.figures td:nth-child(2) { font-family: var(--mono); font-weight: 600; white-space: nowrap; }
.listed { background: var(--card); border: 1px solid var(--line); border-radius: 12px;
  padding: 10px 16px; margin-bottom: 14px; }
.listed.bad { border-color: #f5c48a; background: #fffaf2; }
.listed summary { cursor: pointer; font-weight: 600; }
.listed ul { margin: 8px 0 0; padding-left: 18px; }
.listed li { margin-bottom: 6px; overflow-wrap: anywhere; }
#glossary dl { display: grid; grid-template-columns: max-content minmax(0, 1fr); gap: 2px 14px;
  margin: 8px 0 0; font-size: 13px; }
#glossary dt { font-family: var(--mono); color: var(--muted); }
#glossary dd { margin: 0; }
.empty { color: var(--muted); }
dialog#viewer { width: 100vw; height: 100vh; max-width: 100vw; max-height: 100vh; margin: 0;
  padding: 0; border: 0; background: #111418; color: #e6e9ee; }
dialog#viewer[open] { display: flex; flex-direction: column; }
body:has(dialog[open]) { overflow: hidden; }
dialog#viewer::backdrop { background: rgba(0, 0, 0, 0.8); }
.viewer-bar { display: flex; flex-wrap: wrap; align-items: center; gap: 6px 10px;
  padding: 8px 12px; background: #1d2228; }
.viewer-bar strong { margin-right: auto; overflow-wrap: anywhere; }
.viewer-bar a { color: #9ec5ff; font-size: 13px; }
.viewer-bar a[hidden], #viewer-flip[hidden] { display: none; }
.viewer-bar button { background: #2b323b; border-color: #3d4650; color: #e6e9ee; padding: 3px 10px; }
.viewer-bar button[aria-pressed="true"] { background: #e6e9ee; color: #111418; }
.seg { display: inline-flex; gap: 2px; }
.viewer-note { margin: 0; padding: 4px 12px; background: #3a2e12; color: #fde7a9; font-size: 13px; }
.stage { flex: 1; min-height: 0; overflow: auto; display: flex; }
.viewer-frame { position: relative; line-height: 0; margin: auto; flex: none; }
.viewer-frame img { display: block; max-width: none; }
.viewer-frame #viewer-after { position: absolute; inset: 0; width: 100%; height: 100%; }
.viewer-frame #viewer-after[hidden] { display: none; }
/* Fit: both pictures scaled, small ones up, to the room there is. */
.stage.fit .viewer-frame { flex: 1 1 auto; align-self: stretch; margin: 0; }
.stage.fit .viewer-frame img { position: absolute; inset: 0; width: 100%; height: 100%;
  object-fit: contain; }
.side-label { position: absolute; top: 8px; padding: 2px 8px; border-radius: 6px; font: 12px/1.4 system-ui,
  sans-serif; background: rgba(0, 0, 0, 0.6); color: #fff; }
.side-label.left { left: 8px; } .side-label.right { right: 8px; }
.split-line { position: absolute; top: 0; bottom: 0; width: 2px; margin-left: -1px;
  background: rgba(255, 255, 255, 0.85); box-shadow: 0 0 3px rgba(0, 0, 0, 0.8); }
.viewer-frame[data-view="flip"] .side-label, .viewer-frame[data-view="flip"] .split-line {
  display: none; }
#split { width: calc(100% - 24px); margin: 6px 12px 10px; }
#split[hidden] { display: none; }
@media (max-width: 980px) {
  .card-body { grid-template-columns: minmax(0, 1fr); }
}
@media (max-width: 700px) {
  body { padding: 0 10px 30px; }
  html { scroll-padding-top: 0; }
  .page-head { position: static; margin: 0 -10px 12px; padding-left: 10px; padding-right: 10px; }
  .card { padding: 12px 12px 10px; }
  .actions { margin-left: 0; }
  .figures td:nth-child(3) { font-size: 11.5px; }
}
@media print {
  @page { margin: 12mm; }
  body { background: #fff; padding: 0; font-size: 11px; }
  html { scroll-padding-top: 0; }
  .page-head { position: static; }
  .toolbar, .decide, .card-tools { display: none; }
  .card { box-shadow: none; border-color: #c8ced6; padding: 12px 14px; margin-bottom: 12px;
    break-inside: avoid; content-visibility: visible; }
  .analysis:not([open]) { display: none; }
}
)css";
}

}  // namespace zkcli
