#include "report/review_script.h"

namespace zkcli {

// Plain script with no library: the page must open offline from a file. The
// decisions are kept per run (the run's id names them in local storage), so
// that reopening the page keeps them and another run's page starts afresh.
// The exported file lists the decided pictures in run order, one a line.
std::string_view review_script() {
  return R"js(
"use strict";
(() => {
  const run = JSON.parse(document.getElementById("run").textContent);
  const list = document.getElementById("pictures");
  const toolbar = document.getElementById("toolbar");
  if (!list || !toolbar) return;
  const cards = Array.from(list.querySelectorAll("article.picture"));
  const sortSelect = document.getElementById("sort");
  const filterSelect = document.getElementById("filter");
  const storeKey = "zkimgset-review:" + run.id;
  let decisions = {};
  try { decisions = JSON.parse(localStorage.getItem(storeKey)) || {}; } catch (e) { decisions = {}; }
  const save = () => { try { localStorage.setItem(storeKey, JSON.stringify(decisions)); } catch (e) {} };

  const num = (card, key) => parseFloat(card.dataset[key]) || 0;
  const decisionOf = (card) => (decisions[card.dataset.index] || {}).decision || "";
  // Names as people read them: letter case aside, "img2" before "img10".
  const collator = new Intl.Collator(undefined, {numeric: true, sensitivity: "base"});
  const byName = (a, b) => collator.compare(a.dataset.name, b.dataset.name) || num(a, "index") - num(b, "index");
  const sorts = {
    priority: (a, b) => num(b, "priority") - num(a, "priority") || byName(a, b),
    shift: (a, b) => Math.abs(num(b, "shift")) - Math.abs(num(a, "shift")) || byName(a, b),
    cast: (a, b) => num(b, "cast") - num(a, "cast") || byName(a, b),
    name: byName,
    run: (a, b) => num(a, "index") - num(b, "index"),
  };
  const hasWarning = (card, kind) => card.dataset.warn.split(" ").includes(kind);
  const filters = {
    all: () => true,
    warnings: (card) => card.dataset.warn !== "",
    clip: (card) => hasWarning(card, "clip"),
    dark: (card) => hasWarning(card, "dark"),
    undecided: (card) => decisionOf(card) === "",
    accept: (card) => decisionOf(card) === "accept",
    reject: (card) => decisionOf(card) === "reject",
    adjust: (card) => decisionOf(card) === "adjust",
  };

  function arrange() {
    const keep = filters[filterSelect.value] || filters.all;
    for (const card of cards.slice().sort(sorts[sortSelect.value] || sorts.priority)) {
      card.hidden = !keep(card);
      list.appendChild(card);
    }
  }

  const verdicts = {accept: "Accepted", reject: "Rejected", adjust: "Adjusted"};
  function show(card) {
    const d = decisions[card.dataset.index];
    const decision = d ? d.decision : "";
    card.dataset.decision = decision;
    for (const button of card.querySelectorAll("button[data-decision]"))
      button.setAttribute("aria-pressed", String(button.dataset.decision === decision));
    card.querySelector(".verdict").textContent = verdicts[decision] || "";
    const fields = card.querySelector("fieldset.adjust");
    fields.hidden = decision !== "adjust";
    if (decision === "adjust")
      for (const input of fields.querySelectorAll("input")) input.value = d.adjustments[input.name];
  }

  function tally() {
    const counts = {accept: 0, reject: 0, adjust: 0, "": 0};
    for (const card of cards) counts[decisionOf(card)] += 1;
    document.getElementById("tally").textContent = counts.accept + " accepted \u00b7 " +
      counts.reject + " rejected \u00b7 " + counts.adjust + " adjusted \u00b7 " +
      counts[""] + " undecided";
  }

  // The adjustments in the fields, each a whole number within its range; a
  // field left empty or not a number keeps the value it had.
  function adjustmentsOf(card, previous) {
    const values = {};
    for (const input of card.querySelectorAll("fieldset.adjust input")) {
      const min = Number(input.min), max = Number(input.max);
      const value = Math.round(Number(input.value));
      const kept = previous ? previous[input.name] : Number(input.defaultValue);
      values[input.name] = input.value.trim() === "" || !Number.isFinite(value)
        ? kept : Math.min(max, Math.max(min, value));
    }
    return values;
  }

  function decide(card, decision) {
    const key = card.dataset.index;
    if (decisionOf(card) === decision) {
      delete decisions[key];  // a second press takes the decision back
    } else {
      decisions[key] = {decision};
      if (decision === "adjust") decisions[key].adjustments = adjustmentsOf(card);
    }
    save();
    show(card);
    tally();
  }

  list.addEventListener("click", (event) => {
    const card = event.target.closest("article.picture");
    if (!card) return;
    const button = event.target.closest("button[data-decision]");
    if (button) decide(card, button.dataset.decision);
    const opener = event.target.closest("button.open");
    if (opener) openViewer(card, opener.dataset.side);
  });
  list.addEventListener("change", (event) => {
    const card = event.target.closest("article.picture");
    if (event.target.classList.contains("outline-toggle")) {
      card.classList.toggle("show-outline", event.target.checked);
    } else if (event.target.closest("fieldset.adjust") && decisionOf(card) === "adjust") {
      const d = decisions[card.dataset.index];
      d.adjustments = adjustmentsOf(card, d.adjustments);
      save();
      // The field just left shows the value kept, unless it was emptied to
      // be typed into again.
      const field = event.target;
      if (field.value.trim() !== "") field.value = d.adjustments[field.name];
    }
  });
  sortSelect.addEventListener("change", arrange);
  filterSelect.addEventListener("change", arrange);
  document.getElementById("accept-rest").addEventListener("click", () => {
    for (const card of cards)
      if (decisionOf(card) === "") { decisions[card.dataset.index] = {decision: "accept"}; show(card); }
    save();
    tally();
    arrange();
  });

  function decisionsText() {
    const lines = [];
    for (const card of cards.slice().sort(sorts.run)) {
      const d = decisions[card.dataset.index];
      if (!d) continue;
      const picture = {file: card.dataset.file || null, output: card.dataset.output || null,
                       name: card.dataset.dest, format: card.dataset.format, decision: d.decision};
      if (d.decision === "adjust") picture.adjustments = d.adjustments;
      lines.push(JSON.stringify(picture));
    }
    const head = {type: "zkimgset-decisions", version: 1, base: run.base, report: run.report,
                  settings: run.settings};
    return JSON.stringify(head).slice(0, -1) + ',"pictures":[\n' + lines.join(",\n") + "\n]}\n";
  }
  document.getElementById("export").addEventListener("click", () => {
    const link = document.createElement("a");
    link.href = URL.createObjectURL(new Blob([decisionsText()], {type: "application/json"}));
    link.download = "decisions.json";
    document.body.appendChild(link);
    link.click();
    setTimeout(() => { URL.revokeObjectURL(link.href); link.remove(); }, 2000);
  });

  // The full-size viewer: the two files themselves, one over the other, cut
  // by a split line or flipped; a side the browser cannot show (a TIFF, or
  // an original replaced in place) falls back to its thumbnail, and says so.
  const viewer = document.getElementById("viewer");
  const stage = document.getElementById("stage");
  const frame = document.getElementById("frame");
  const beforeImage = document.getElementById("viewer-before");
  const afterImage = document.getElementById("viewer-after");
  const split = document.getElementById("split");
  const flip = document.getElementById("viewer-flip");
  let current = null;
  let view = "split";
  let showing = "after";

  function place(image, link, card, side, notes) {
    const anchor = document.getElementById("viewer-" + side + "-link");
    anchor.hidden = !link;
    if (link) anchor.href = link;
    if (link && card.hasAttribute("data-" + side + "-shows")) { image.src = link; return; }
    const thumbnail = card.querySelector(".shot." + side + " img");
    image.src = thumbnail ? thumbnail.src : "";
    notes.push(side === "before"
      ? (link ? "The browser cannot show the original's format" : "The original was not kept")
      : (link ? "The browser cannot show the output's format" : "The output was not written to a file"));
  }

  function setView(next) {
    view = next;
    for (const b of viewer.querySelectorAll("[data-view]")) b.setAttribute("aria-pressed", String(b.dataset.view === view));
    split.hidden = view !== "split";
    flip.hidden = view !== "flip";
    frame.dataset.view = view;
    render();
  }
  function setZoom(zoom) {
    for (const b of viewer.querySelectorAll("[data-zoom]")) b.setAttribute("aria-pressed", String(b.dataset.zoom === zoom));
    stage.classList.toggle("fit", zoom === "fit");
  }
  function render() {
    afterImage.style.clipPath = view === "split" ? "inset(0 0 0 " + split.value + "%)" : "none";
    document.getElementById("split-line").style.left = split.value + "%";
    afterImage.hidden = view === "flip" && showing === "before";
    flip.textContent = showing === "before" ? "Showing before" : "Showing after";
    frame.dataset.showing = showing;
  }

  function openViewer(card, side) {
    current = card;
    const notes = [];
    place(beforeImage, card.dataset.before, card, "before", notes);
    place(afterImage, card.dataset.after, card, "after", notes);
    for (const image of [beforeImage, afterImage]) {
      image.width = Number(card.dataset.width);
      image.height = Number(card.dataset.height);
    }
    document.getElementById("viewer-title").textContent = card.dataset.name;
    const note = document.getElementById("viewer-note");
    note.textContent = notes.length ? notes.join("; ") + ": its thumbnail stands in." : "";
    note.hidden = notes.length === 0;
    showing = side === "before" ? "before" : "after";
    setZoom("fit");
    render();
    if (!viewer.open) viewer.showModal();
  }

  function step(by) {
    const shown = Array.from(list.querySelectorAll("article.picture:not([hidden])"));
    const next = shown[shown.indexOf(current) + by];
    if (next) { openViewer(next, showing); next.scrollIntoView({block: "center"}); }
  }

  viewer.addEventListener("click", (event) => {
    const target = event.target;
    if (target === viewer || target.id === "viewer-close") viewer.close();
    else if (target.dataset.view) setView(target.dataset.view);
    else if (target.dataset.zoom) setZoom(target.dataset.zoom);
    else if (target === flip) { showing = showing === "after" ? "before" : "after"; render(); }
  });
  document.addEventListener("keydown", (event) => {
    if (!viewer.open) return;
    if (event.key === "f" || event.key === "F") {
      // The first press leaves the split at the side the viewer was opened
      // on; each further press flips.
      if (view !== "flip") setView("flip");
      else showing = showing === "after" ? "before" : "after";
      render();
    } else if (event.key === "ArrowRight" && event.target !== split) step(1);
    else if (event.key === "ArrowLeft" && event.target !== split) step(-1);
  });
  split.addEventListener("input", render);
  viewer.addEventListener("close", () => { beforeImage.removeAttribute("src"); afterImage.removeAttribute("src"); });

  const meanings = new Map(Array.from(document.querySelectorAll("#glossary dt"),
                                      (dt) => [dt.textContent, dt.nextElementSibling.textContent]));
  for (const cell of list.querySelectorAll(".figures td.meaning"))
    cell.textContent = meanings.get(cell.parentElement.firstElementChild.textContent) || "";
  for (const card of cards) show(card);
  tally();
  setView("split");
  toolbar.hidden = false;
  arrange();
  document.documentElement.dataset.ready = "true";
  performance.mark("review-ready");
})();
)js";
}

}  // namespace zkcli
