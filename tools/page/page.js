// Draws the page from one JSON document. A served page gets another one whenever a file has changed; what the
// author looks at stays.

"use strict";

const severities = ["error", "warning", "note"];
let page = null; // the document
const view = { screen: null, region: null, ground: "given", picture: null }; // what the author has chosen

const byId = (id) => document.getElementById(id);
const counted = (number, thing) => `${number.toLocaleString("en")} ${thing}${number === 1 ? "" : "s"}`;

/// An element with properties and children; texts are never read as HTML.
function element(name, properties = {}, ...children) {
  const made = Object.assign(document.createElement(name), properties);
  made.append(...children.filter((child) => child !== null));
  return made;
}

function svg(name, attributes, ...children) {
  const made = document.createElementNS("http://www.w3.org/2000/svg", name);
  for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
  made.append(...children);
  return made;
}

// Screens and findings

/// What a screen is known by when others come or go before it: its code, and a number where a code comes twice.
const keyOf = (screen) => screen.key;
const buttonOf = (key) => byId(`of-screen-${key}`);

function giveKeys(screens) {
  const given = new Set([""]);
  for (const screen of screens) {
    screen.key = screen.code;
    for (let number = 2; given.has(screen.key); ++number) screen.key = `${screen.code}:${number}`;
    given.add(screen.key);
  }
}

const chosen = () => page.screens.find((screen) => keyOf(screen) === view.screen);
const nameOf = (screen) =>
  [screen.brand, screen.model].map((text) => text.trim()).filter(Boolean).join(" ") || "without a name";
/// What is wrong with a region of the layout is wrong on all screens that show the region.
const isOn = (found, screen) => found.screen === screen.number ||
  (found.screen === 0 && found.article === "" && screen.regions.some(({ name }) => name === found.region));
const findingsOf = (screen) => page.findings.filter((found) => isOn(found, screen));
const worstOf = (findings) => severities.find((each) => findings.some((found) => found.severity === each)) ?? "";

function badges(findings) {
  return severities.flatMap((severity) => {
    const count = findings.filter((found) => found.severity === severity).length;
    return count === 0 ? [] : [element("span", { className: `badge ${severity}`, textContent: counted(count, severity) })];
  });
}

const placeOf = (found) =>
  found.file === "" ? "" : found.line === 0 ? found.file : `${found.file}:${found.line}:${found.column}`;

/// Findings that say the same, once.
function grouped(findings) {
  const groups = new Map();
  for (const found of findings) {
    const key = JSON.stringify([found.severity, found.file, found.kind, found.region, found.same || [found.what, found.advice],
      found.article === "" ? [found.line, found.column] : ""]);
    if (!groups.has(key)) groups.set(key, []);
    groups.get(key).push(found);
  }
  const rank = ([found]) => severities.indexOf(found.severity);
  return [...groups.values()].sort((one, other) => rank(one) - rank(other));
}

function screenButton(found, id) {
  const screen = page.screens.find((each) => each.number === found.screen);
  if (screen === undefined) return document.createTextNode(` ${found.article}`);
  const button = element("button", { type: "button", className: "link", id, textContent: `screen ${screen.number} ${screen.code}` });
  button.addEventListener("click", () => choose(keyOf(screen), found.region));
  return button;
}

function findingItem(group, id, withScreens) {
  const [found] = group;
  const screens = withScreens ? group.filter((each) => each.screen !== 0 || each.article !== "") : [];
  const subject = [found.region === "" ? "" : `region ${found.region}`, group.length > 1 ? `${group.length} times` : ""];
  return element("li", { className: `finding ${found.severity}` },
    element("p", {}, element("b", { textContent: found.severity }), ` ${found.what}`),
    found.advice === "" ? null : element("p", { className: "advice", textContent: found.advice }),
    element("p", {},
      element("span", { className: "place", textContent: placeOf(found) }),
      ` ${subject.filter(Boolean).join(", ")} `,
      ...screens.map((each, index) => screenButton(each, `${id}-${index}`))));
}

function drawFindings(list, findings, none, withScreens) {
  const items = grouped(findings).map((group, index) => findingItem(group, `${list.id}-${index}`, withScreens));
  list.replaceChildren(...(items.length > 0 ? items : [element("li", { className: "well", textContent: none })]));
}

// Grounds

/// Ramps, bars and squares: every text lies on something bright and on something dark.
function testCard() {
  const bars = ["#c0c0c0", "#c0c000", "#00c0c0", "#00c000", "#c000c0", "#c00000", "#0000c0", "#101010"];
  const squares = Array.from({ length: 48 }, (_, i) =>
    `<rect x="${(i % 12) * 60}" y="${336 + Math.floor(i / 12) * 60}" width="60" height="60" ` +
    `fill="${(i + Math.floor(i / 12)) % 2 ? "#f4f4f4" : "#101010"}"/>`);
  return "data:image/svg+xml," + encodeURIComponent(
    `<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 720 576" preserveAspectRatio="none" width="720" height="576">` +
    `<linearGradient id="r"><stop/><stop offset="1" stop-color="#fff"/></linearGradient>` +
    `<rect width="720" height="112" fill="url(#r)"/>` +
    bars.map((bar, i) => `<rect x="${i * 90}" y="112" width="90" height="112" fill="${bar}"/>`).join("") +
    `<rect width="720" height="112" fill="url(#r)" transform="rotate(180 360 168)"/>` +
    squares.join("") + "</svg>");
}

/// The ground as a colour and a picture on it.
function ground() {
  const given = page.background;
  if (view.ground === "colour") return { colour: byId("ground-colour").value, picture: "" };
  if (view.ground === "card") return { colour: "#606060", picture: testCard() };
  if (view.ground === "file" && view.picture !== null) return { colour: "#606060", picture: view.picture };
  return given;
}

function layGround() {
  const { colour, picture } = ground();
  for (const display of document.querySelectorAll(".display")) {
    display.style.backgroundColor = colour;
    display.style.backgroundImage = picture === "" ? "none" : `url("${picture}")`;
  }
}

// All screens

function setPicture(image, source) {
  if ((image.getAttribute("src") ?? "") === source && image.hidden === (source === "")) return false;
  if (source === "") image.removeAttribute("src");
  else image.src = source;
  image.hidden = source === "";
  return true;
}

function screenItem(screen) {
  const button = element("button", { type: "button", className: "screen", id: `of-screen-${keyOf(screen)}` },
    element("div", { className: "display" }, element("img", { width: 720, height: 576, alt: "" }),
      element("span", { className: "marks" })),
    element("div", { className: "caption" }));
  button.addEventListener("click", () => choose(keyOf(screen), null));
  return element("li", {}, button);
}

function drawScreenItem(item, screen) {
  const button = item.firstChild;
  const isNew = button.dataset.drawn === undefined;
  const changed = setPicture(button.querySelector("img"), screen.picture);
  button.dataset.drawn = "yes";
  button.classList.toggle("changed", changed && !isNew);
  button.querySelector(".marks").replaceChildren(...badges(findingsOf(screen)).slice(0, 1));
  button.querySelector(".caption").replaceChildren(
    element("span", { className: "number", textContent: screen.number }),
    element("b", { textContent: nameOf(screen) }),
    element("small", { textContent: [screen.code, screen.price.trim(), `channel ${screen.service.channel}`].filter(Boolean).join(" · ") }));
  if (keyOf(screen) === view.screen) button.setAttribute("aria-current", "true");
  else button.removeAttribute("aria-current");
}

function drawScreens() {
  const list = byId("screens");
  const items = page.screens.map((screen) => buttonOf(keyOf(screen))?.parentElement ?? screenItem(screen));
  if (items.length !== list.children.length || items.some((item, index) => item !== list.children[index]))
    list.replaceChildren(...items);
  items.forEach((item, index) => drawScreenItem(item, page.screens[index]));
}

// The large view

function regionButton(region, screen) {
  const findings = findingsOf(screen).filter((found) => found.region === region.name);
  const button = element("button", { type: "button", id: `region-${region.name}`,
    className: `region ${worstOf(findings)} ${region.y < 20 ? "top" : ""}` },
    element("span", { textContent: region.name }));
  const percent = (part, whole) => `${(100 * part) / whole}%`;
  Object.assign(button.style, { left: percent(region.x, 720), top: percent(region.y, 576),
    width: percent(region.width, 720), height: percent(region.height, 576) });
  button.setAttribute("aria-pressed", String(region.name === view.region));
  button.setAttribute("aria-label", `Region ${region.name}: ${region.width} × ${region.height} at ${region.x}, ${region.y}` +
    (findings.length === 0 ? "" : `; ${counted(findings.length, "finding")}`));
  button.addEventListener("click", () => choose(view.screen, view.region === region.name ? null : region.name));
  return button;
}

function drawPictures(screen) {
  const both = byId("mode").value === "both";
  byId("drawn").hidden = !both;
  byId("sent-caption").hidden = !both;
  setPicture(byId("drawn-picture"), screen.drawn);
  setPicture(byId("sent-picture"), screen.picture);
  byId("no-picture").hidden = screen.picture !== "";
  byId("drawn-picture").alt = `Screen ${screen.number} before the reduction to 16 colours`;
  byId("sent-picture").alt = `Screen ${screen.number} as viewers see it: ${nameOf(screen)} ${screen.price.trim()}`;
  byId("regions").hidden = !byId("names").checked;
  byId("regions").replaceChildren(...screen.regions.map((region) => regionButton(region, screen)));
}

const pair = (term, text) => [element("dt", { textContent: term }), element("dd", { textContent: text })];
const sizeText = (part) => `${counted(part.bytes, "byte")} in ${counted(part.packets, "packet")}`;

function drawSizes(screen) {
  byId("sizes").replaceChildren(...(screen.display_set === null ? pair("display set", "none")
    : [...pair("display set", sizeText(screen.display_set)), ...pair("refresh", sizeText(screen.refresh)),
      ...pair("PID", `${screen.service.pid}`), ...pair("service", `${screen.service.id}, ${screen.service.name}`)]));
}

function crop(source, region, caption) {
  const { colour, picture } = ground();
  const whole = { width: 720, height: 576, preserveAspectRatio: "none" };
  return element("figure", {},
    svg("svg", { viewBox: `${region.x} ${region.y} ${region.width} ${region.height}`, width: region.width,
      height: region.height, role: "img", "aria-label": `Region ${region.name}, ${caption}` },
      svg("rect", { ...whole, fill: colour }),
      ...[picture, source].filter(Boolean).map((href) => svg("image", { ...whole, href }))),
    element("figcaption", { textContent: caption }));
}

function coloursItem(region, screen) {
  const palette = region.palette.map((colour) => {
    const swatch = element("span", { title: colour });
    swatch.style.backgroundColor = colour;
    return swatch;
  });
  return element("li", { id: `colours-${region.name}`, className: region.name === view.region ? "chosen" : "" },
    element("p", {}, element("b", { textContent: region.name }),
      ` ${region.width} × ${region.height} at ${region.x}, ${region.y}; tolerance ${region.tolerance}, ` +
      `carried error ${region.carried_error.toLocaleString("en")}`),
    element("div", { className: "crops" },
      crop(screen.drawn, region, `before: ${counted(region.colours, "colour")}`),
      crop(screen.picture, region, `after: ${counted(region.palette.length, "colour")}`)),
    element("div", { className: "palette", role: "img", ariaLabel: `${counted(palette.length, "colour")} of the palette` }, ...palette));
}

function drawScreen() {
  const screen = chosen();
  byId("screen").hidden = screen === undefined;
  if (screen === undefined) return;
  byId("screen-title").textContent = `Screen ${screen.number}: ${nameOf(screen)}`;
  byId("screen-about").textContent = [screen.code, screen.price.trim(), `channel ${screen.service.channel}`,
    screen.last_good ? "the last good picture" : ""].filter(Boolean).join(" · ");
  drawPictures(screen);
  drawFindings(byId("screen-findings"), findingsOf(screen), "None on this screen.", false);
  drawSizes(screen);
  byId("colours").replaceChildren(...screen.regions.map((region) => coloursItem(region, screen)));
}

// What belongs to all screens

function drawTable(table, heads, rows) {
  const cell = (name, value) => (value instanceof Node ? element(name, {}, value)
    : element(name, { textContent: value, className: typeof value === "number" ? "number" : "" }));
  table.replaceChildren(
    element("thead", {}, element("tr", {}, ...heads.map((head) => element("th", { scope: "col", textContent: head })))),
    element("tbody", {}, ...rows.map((row) => element("tr", {}, ...row.map((value) => cell("td", value))))));
}

function drawChannels() {
  const screens = [...page.screens].sort((one, other) => one.service.channel - other.service.channel);
  drawTable(byId("channels"), ["Channel", "Service", "Article", "Screen", "Display set", "Refresh", "Findings"],
    screens.map((screen) => [screen.service.channel, `${screen.service.name} (${screen.service.id})`,
      screenButton({ screen: screen.number }, `channel-${keyOf(screen)}`), nameOf(screen),
      screen.display_set === null ? "none" : sizeText(screen.display_set),
      screen.refresh === null ? "none" : sizeText(screen.refresh), element("span", {}, ...badges(findingsOf(screen)))]));
}

function swatch(argb) {
  const made = element("span", { className: "swatch" });
  made.style.backgroundColor = `#${argb.slice(2)}${argb.slice(0, 2)}`;
  return element("span", {}, made, argb);
}

function drawLayout() {
  const yes = (value) => (value ? "yes" : "no");
  drawTable(byId("layout"), ["Region", "At", "Size", "Font", "Text", "Ground", "Adjusted", "Ratio kept", "Findings"],
    page.layout.map((region) => [region.name, `${region.x}, ${region.y}`, `${region.width} × ${region.height}`,
      region.font === "" ? "none" : `${region.font} ${region.size}`, swatch(region.foreground), swatch(region.background),
      yes(region.adjusted), yes(region.ratio),
      element("span", {}, ...badges(page.findings.filter((found) => found.region === region.name)))]));
}

function drawCycle() {
  const cycle = page.cycle;
  byId("cycle").replaceChildren(...(cycle === null ? pair("time", "not known: not all screens can be prepared")
    : [...pair("at 100 kHz", `${cycle.seconds_at_100_khz.toFixed(2)} s`),
      ...pair("at 400 kHz", `${cycle.seconds_at_400_khz.toFixed(2)} s`),
      ...pair("sent", `${counted(cycle.display_sets, "display set")}, ${counted(cycle.refreshes, "refresh")}`.replace("refreshs", "refreshes")),
      ...pair("in", `${counted(cycle.packets, "packet")}, ${counted(cycle.loads, "load")} of a stream slot of ${cycle.slot_packets}`),
      ...pair("on the bus", counted(cycle.requests, "request"))]));
}

function drawDropped() {
  const more = page.dropped_total - page.dropped.length;
  byId("dropped-section").hidden = page.dropped.length === 0;
  byId("dropped-more").hidden = more === 0;
  byId("dropped-more").textContent = `and ${counted(more, "other")}`;
  drawTable(byId("dropped"), ["Article", "Why"], page.dropped.map(({ code, reason }) => [code || "no code", reason]));
}

function drawHeader() {
  byId("title").textContent = `Screens of ${page.host || "no host"}`;
  byId("about").textContent = `${page.screens.length} of ${counted(page.listed, "article")} · ${page.folder}`;
  const isWell = page.findings.every((found) => found.severity === "note");
  byId("counts").replaceChildren(...(isWell ? [element("span", { className: "well", textContent: "All is well" })] : []),
    ...badges(page.findings));
  const errors = page.findings.filter((found) => found.severity === "error").length;
  document.title = (errors === 0 ? "" : `${counted(errors, "error")}: `) + byId("title").textContent;
}

/// Is read out whenever it is filled.
function drawTrouble() {
  const said = JSON.stringify([page.trouble, page.stale]);
  if (byId("trouble").dataset.said === said) return;
  byId("trouble").dataset.said = said;
  byId("trouble").hidden = page.trouble.length === 0;
  byId("trouble").replaceChildren(
    element("ul", { className: "findings" }, ...page.trouble.map((found, index) => findingItem([found], `trouble-${index}`, false))),
    page.stale ? element("p", { textContent: "The last good screens stay until this is mended." }) : "");
}

// All of it

function keepFocus(draw) {
  const focused = document.activeElement?.id;
  draw();
  if (focused) byId(focused)?.focus({ preventScroll: true }); // what is drawn anew has lost it
}

/// What depends on the author's choices.
function drawChosen() {
  drawScreens();
  drawScreen();
  layGround();
}

const draw = () => keepFocus(drawChosen);

function drawDocument() {
  drawHeader();
  drawTrouble();
  drawChosen();
  drawFindings(byId("findings"), page.findings, "None: all is well.", true);
  drawChannels();
  drawCycle();
  drawLayout();
  drawDropped();
}

function choose(screen, region) {
  view.screen = screen;
  view.region = region || null;
  history.replaceState(null, "", `#article=${encodeURIComponent(screen)}`);
  draw();
  buttonOf(screen).scrollIntoView({ block: "nearest", inline: "nearest" });
}

function step(by) {
  const index = page.screens.indexOf(chosen()) + by;
  if (index >= 0 && index < page.screens.length) choose(keyOf(page.screens[index]), null);
}

function show(data) {
  const before = page === null ? -1 : page.screens.indexOf(chosen());
  page = data;
  giveKeys(page.screens);
  if (chosen() === undefined) // gone: what has taken its place
    view.screen = page.screens.length === 0 ? null : keyOf(page.screens[Math.min(Math.max(before, 0), page.screens.length - 1)]);
  keepFocus(drawDocument);
}

function chooseGround() {
  view.ground = byId("ground").value;
  byId("ground-colour-label").hidden = view.ground !== "colour";
  byId("ground-file-label").hidden = view.ground !== "file";
  draw();
}

function takePicture() {
  const [file] = byId("ground-file").files;
  if (view.picture !== null) URL.revokeObjectURL(view.picture);
  view.picture = file === undefined ? null : URL.createObjectURL(file);
  draw();
}

function chooseSize() {
  const scale = Number(byId("size").value);
  byId("stage").classList.toggle("scaled", scale !== 0);
  byId("large").classList.toggle("wide", scale > 1 || byId("mode").value === "both");
  byId("stage").style.setProperty("--scale", scale);
  document.documentElement.style.setProperty("--shape", byId("shape").value);
}

function stepByKey(event) {
  const by = { ArrowLeft: -1, ArrowUp: -1, ArrowRight: 1, ArrowDown: 1 }[event.key];
  if (by === undefined || event.altKey || event.ctrlKey || event.metaKey) return;
  event.preventDefault();
  step(by);
  buttonOf(view.screen).focus();
}

function listen() {
  for (const id of ["mode", "names"]) byId(id).addEventListener("change", draw);
  for (const id of ["mode", "size", "shape"]) byId(id).addEventListener("change", chooseSize);
  byId("ground").addEventListener("change", chooseGround);
  byId("ground-colour").addEventListener("input", draw);
  byId("ground-file").addEventListener("change", takePicture);
  byId("previous").addEventListener("click", () => step(-1));
  byId("next").addEventListener("click", () => step(1));
  byId("screens").addEventListener("keydown", stepByKey);
  byId("view").addEventListener("submit", (event) => event.preventDefault());
  byId("skip").addEventListener("click", (event) => {
    event.preventDefault(); // the address names the article
    byId("screen").focus();
  });
}

/// A served page: the server sends the whole document after each change.
function follow() {
  const live = byId("live");
  const say = (text, lost) => {
    live.textContent = text;
    live.classList.toggle("lost", lost);
  };
  live.hidden = false;
  const events = new EventSource(`events?after=${page.revision}`);
  events.onopen = () => say("follows the files", false);
  events.onerror = () => say("the preview has ended or cannot be reached", true);
  events.onmessage = (event) => {
    show(JSON.parse(event.data));
    say(`drawn anew at ${new Date().toLocaleTimeString()}`, false);
  };
}

/// The article that the address names; null where it is malformed.
function namedArticle() {
  try {
    return decodeURIComponent(location.hash.replace("#article=", ""));
  } catch {
    return null;
  }
}

view.screen = namedArticle();
listen();
show(JSON.parse(byId("data").textContent));
if (page.live) follow();
