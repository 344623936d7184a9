"use strict";

// The page of a host: reads the service's JSON interface every few seconds, listens to its events, and shows both.

const kPeriod = 5000; // ms between two rounds of requests
const kSlowRounds = 12; // what rarely changes is read once in this many rounds
const kPatience = 10000; // ms after which a request has failed
const kSpan = 600000; // ms that the plots show
const kMaxEvents = 50;

// ---- Words for the CIM schema's numbers, and their colours ----

const kHealth = {
  0: ["Unknown", "none"],
  5: ["OK", "good"],
  10: ["Degraded", "warn"],
  15: ["Minor failure", "warn"],
  20: ["Major failure", "bad"],
  25: ["Critical failure", "bad"],
  30: ["Non-recoverable error", "bad"],
};

const kPortStates = {
  2: ["Link up", "good"],
  3: ["Disabled", "none"],
  6: ["No link", "warn"],
};

const kProcessorStates = {
  0: "Unknown",
  1: "Enabled",
  2: "Disabled by user",
  3: "Disabled by firmware",
  4: "Idle",
  7: "Other",
};

// ---- Elements ----

const byId = (id) => document.getElementById(id);

function element(name, attributes = {}, ...children) {
  const made = document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
  made.append(...children);
  return made;
}

function setText(node, text) {
  if (node.textContent !== text) node.textContent = text;
}

function setBadge(badge, [text, tone]) {
  setText(badge, text);
  badge.dataset.tone = tone;
}

function code(text) {
  return element("span", { class: "code" }, text);
}

// ---- Numbers and times with their units ----

const kDigits = new Intl.NumberFormat(undefined, { maximumSignificantDigits: 3 });
const kWhole = new Intl.NumberFormat();
const kTime = new Intl.DateTimeFormat(undefined, { timeStyle: "medium" });
const kDateTime = new Intl.DateTimeFormat(undefined, { dateStyle: "medium", timeStyle: "medium" });
const kDate = new Intl.DateTimeFormat(undefined, { dateStyle: "medium", timeZone: "UTC" });

function scaled(value, unit) {
  for (const [factor, prefix] of [
    [1e9, "G"],
    [1e6, "M"],
    [1e3, "k"],
  ]) {
    if (value >= factor) return `${kDigits.format(value / factor)} ${prefix}${unit}`;
  }
  return `${kDigits.format(value)} ${unit}`;
}

const bitRate = (value) => scaled(value, "bit/s");
const packetRate = (value) => `${kWhole.format(Math.round(value))} packets/s`;
const errorRate = (value) => `${kDigits.format(value)} errors/s`;

// The Date of a CIM date-time; null when the text is not one.
function dateOf(text) {
  const parts = /^(\d{4})(\d\d)(\d\d)(\d\d)(\d\d)(\d\d)\.(\d{3})\d{3}([+-]\d{3})$/.exec(text || "");
  if (!parts) return null;
  const [, year, month, day, hour, minute, second, milli, offset] = parts.map(Number);
  return new Date(Date.UTC(year, month - 1, day, hour, minute - offset, second, milli));
}

function timeElement(date, format = kDateTime) {
  if (!date || Number.isNaN(date.getTime())) return "–";
  return element("time", { datetime: date.toISOString() }, format.format(date));
}

function macText(digits) {
  return /^[0-9A-F]{12}$/.test(digits || "") ? digits.toLowerCase().match(/../g).join(":") : digits;
}

// ---- Requests ----

// The service answered with an error. Any other failure is a lost connection.
class Refused extends Error {}

async function ask(path, parameters = []) {
  const query = new URLSearchParams(parameters).toString();
  const response = await fetch(query ? `${path}?${query}` : path, {
    cache: "no-store",
    credentials: "same-origin",
    signal: AbortSignal.timeout(kPatience),
  });
  if (response.ok) return response.json();
  let text = `HTTP status ${response.status}`;
  try {
    text = (await response.json()).text || text;
  } catch {
    // The answer is not the service's.
  }
  throw new Refused(text);
}

function instancesOf(className, ...properties) {
  return ask(
    `/api/instances/${className}`,
    properties.map((name) => ["property", name]),
  );
}

// ---- The connection ----

const connection = {
  state: "waiting",

  set(state, text) {
    if (this.state === state) return;
    this.state = state;
    const shown = byId("connection");
    shown.dataset.state = state;
    setText(shown, text);
  },
  live() {
    this.set("live", "Live");
  },
  lost() {
    this.set("lost", `Connection lost at ${kTime.format(new Date())}; trying again`);
  },
};

// ---- Tables ----

// Rows are arrays of cells, which are texts or elements; the first cell is the row's header.
function showTable(list, caption, columns, rows, empty) {
  const panel = document.querySelector(`[data-list="${list}"]`);
  if (rows.length === 0) {
    panel.replaceChildren(element("p", { class: "empty" }, empty));
    return;
  }
  const head = element("tr", { role: "row" });
  for (const column of columns) {
    head.append(element("th", { scope: "col", role: "columnheader" }, column));
  }
  const body = element("tbody", { role: "rowgroup" });
  for (const row of rows) {
    const line = element("tr", { role: "row" });
    row.forEach((cell, i) => {
      const attributes = { "data-column": columns[i] };
      line.append(
        i === 0
          ? element("th", { ...attributes, scope: "row", role: "rowheader" }, cell)
          : element("td", { ...attributes, role: "cell" }, cell ?? "–"),
      );
    });
    body.append(line);
  }
  panel.replaceChildren(
    element(
      "table",
      { role: "table" },
      element("caption", {}, caption),
      element("thead", { role: "rowgroup" }, head),
      body,
    ),
  );
}

function showProblem(list, what, error) {
  const panel = document.querySelector(`[data-list="${list}"]`);
  panel.replaceChildren(
    element("p", { class: "problem" }, `The ${what} cannot be read: ${error.message}`),
  );
}

const plural = (count, one, more) => (count === 1 ? `1 ${one}` : `${kWhole.format(count)} ${more}`);

// ---- Health ----

const elementsOfRecords = new Map(); // by a record's path

async function elementOf(record) {
  const known = elementsOfRecords.get(record.path);
  if (known) return known;
  const found = await ask("/api/associators", [
    ["path", record.path],
    ["association", "Orvane_LatchedHealthAssociation"],
  ]);
  const now = found.length > 0 ? found[0].properties : null;
  const told = {
    name: (now && (now.ElementName || now.Name || now.DeviceID)) || record.properties.LatchedClassName,
    now: now ? now.HealthState : null,
    wrong: ((now && now.StatusDescriptions) || []).join("; "),
  };
  elementsOfRecords.set(record.path, told);
  return told;
}

function healthBadge(state) {
  const badge = element("span", { class: "badge" });
  setBadge(badge, kHealth[state] || [`State ${state}`, "none"]);
  return badge;
}

async function showHealth(slow) {
  if (slow) elementsOfRecords.clear(); // their health may have changed
  const rollup = await instancesOf("Orvane_RollupHealthState");
  const state = rollup.length > 0 ? rollup[0].properties.HealthState : 0;
  setBadge(byId("rollup").querySelector(".badge"), kHealth[state] || [`State ${state}`, "none"]);
  setText(
    byId("rollup").querySelector(".quiet"),
    state === 0 ? "no element reports its health" : "the worst health of all elements now",
  );
  const records = await instancesOf("Orvane_LatchedHealthState");
  const rows = [];
  for (const record of records) {
    const about = await elementOf(record);
    rows.push([
      about.name || "–",
      healthBadge(record.properties.HealthState),
      timeElement(dateOf(record.properties.Timestamp)),
      about.now === null || about.now === undefined ? "Gone" : healthBadge(about.now),
      about.wrong || "–",
    ]);
  }
  showTable(
    "records",
    "The worst health ever seen of each element",
    ["Element", "Worst health", "Since", "Now", "What is wrong"],
    rows,
    "No element has been seen in any health other than OK.",
  );
}

// ---- Ports ----

const histories = new Map(); // samples by a port's name, oldest first

const kCounters = ["bytesRx", "bytesTx", "packetsRx", "packetsTx", "errorsRx", "errorsTx"];

function keepSample(name, at, counters) {
  const samples = histories.get(name) || [];
  samples.push({ at, ...counters });
  while (samples.length > 0 && samples[0].at < at - kSpan - kPeriod) samples.shift();
  histories.set(name, samples);
}

// Change of a counter per second between two samples. Null when it was reset.
function rate(before, after, counter) {
  const seconds = (after.at - before.at) / 1000;
  const difference = after[counter] - before[counter];
  return seconds > 0 && difference >= 0 ? difference / seconds : null;
}

// Points of a plot: seconds relative to now, and the rate; a gap where samples are far apart.
function pointsOf(name, counter, factor, now) {
  const samples = histories.get(name) || [];
  const points = [];
  for (let i = 1; i < samples.length; ++i) {
    const value = rate(samples[i - 1], samples[i], counter);
    const gap = samples[i].at - samples[i - 1].at > 6 * kPeriod;
    points.push({ x: (samples[i].at - now) / 1000, y: value === null || gap ? null : value * factor });
  }
  return points;
}

function lastRate(name, counter) {
  const samples = histories.get(name) || [];
  if (samples.length < 2) return null;
  return rate(samples[samples.length - 2], samples[samples.length - 1], counter);
}

const colour = (name) => getComputedStyle(document.documentElement).getPropertyValue(name).trim();

const kPlots = {
  traffic: { receive: ["bytesRx", 8], send: ["bytesTx", 8], unit: bitRate, least: 1000 },
  errors: { receive: ["errorsRx", 1], send: ["errorsTx", 1], unit: errorRate, least: 1 },
};

function timeTick(seconds) {
  return seconds === 0 ? "now" : `\u2212${kWhole.format(-seconds / 60)} min`;
}

function makePlot(canvas, kind) {
  const dataset = (label, dash) => ({ label, data: [], borderDash: dash, borderWidth: 2, pointRadius: 0, tension: 0 });
  const chart = new Chart(canvas, {
    type: "line",
    data: { datasets: [dataset("received", []), dataset("sent", [6, 4])] },
    options: {
      animation: false,
      maintainAspectRatio: false,
      parsing: false,
      normalized: true,
      events: ["mousemove", "mouseout", "touchstart"],
      interaction: { mode: "index", axis: "x", intersect: false },
      plugins: {
        legend: { display: false },
        tooltip: {
          callbacks: {
            title: (items) => (items.length > 0 ? kTime.format(new Date(chart.drawnAt + items[0].parsed.x * 1000)) : ""),
            label: (item) => `${item.dataset.label}: ${kPlots[kind].unit(item.parsed.y)}`,
          },
        },
      },
      scales: {
        x: {
          type: "linear",
          min: -kSpan / 1000,
          max: 0,
          ticks: { stepSize: 120, maxRotation: 0, callback: timeTick },
        },
        y: {
          min: 0,
          suggestedMax: kPlots[kind].least,
          ticks: { maxTicksLimit: 4, callback: kPlots[kind].unit },
          afterFit: (axis) => {
            axis.width = 92; // so that the plots of all cards are aligned
          },
        },
      },
    },
  });
  return chart;
}

function paint(chart) {
  const { x, y } = chart.options.scales;
  for (const axis of [x, y]) {
    axis.grid = { color: colour("--line") };
    axis.ticks.color = colour("--quiet");
  }
  chart.data.datasets[0].borderColor = colour("--receive");
  chart.data.datasets[1].borderColor = colour("--send");
}

// A port's card. Its plots exist while the card is in view.
class PortCard {
  constructor(name) {
    this.name = name;
    this.card = byId("port-template").content.firstElementChild.cloneNode(true);
    this.card.dataset.port = name;
    setText(this.card.querySelector("h3"), name);
    this.charts = new Map();
    this.state = null;
    this.card.classList.toggle("no-plots", typeof Chart === "undefined");
    PortCard.watcher.observe(this.card);
  }

  static watcher = new IntersectionObserver((entries) => {
    for (const entry of entries) ports.get(entry.target.dataset.port)?.see(entry.isIntersecting);
  });

  remove() {
    this.see(false);
    PortCard.watcher.unobserve(this.card);
    this.card.remove();
  }

  see(visible) {
    if (typeof Chart === "undefined") return;
    if (!visible) {
      for (const chart of this.charts.values()) chart.destroy();
      this.charts.clear();
      return;
    }
    for (const kind of Object.keys(kPlots)) {
      if (this.charts.has(kind)) continue;
      const chart = makePlot(this.card.querySelector(`[data-plot="${kind}"]`), kind);
      paint(chart);
      this.charts.set(kind, chart);
    }
    this.draw(Date.now());
  }

  paint() {
    for (const chart of this.charts.values()) {
      paint(chart);
      chart.update();
    }
  }

  show(port) {
    const state = kPortStates[port.EnabledState] || ["Not known", "none"];
    setBadge(this.card.querySelector(".badge"), state);
    const up = port.EnabledState === 2;
    setText(this.card.querySelector(".speed"), up && port.Speed ? bitRate(port.Speed) : "");
    if (this.state !== null && this.state !== state[0]) {
      setText(byId("port-changes"), `Port ${this.name}: ${state[0]}`);
    }
    this.state = state[0];
    const facts = [
      ["MAC", port.PermanentAddress && code(macText(port.PermanentAddress))],
      ["MTU", port.ActiveMaximumTransmissionUnit && `${port.ActiveMaximumTransmissionUnit} bytes`],
      ["Duplex", up && port.FullDuplex !== undefined && (port.FullDuplex ? "full" : "half")],
      ["Driver", drivers.get(this.name)],
      ["Firmware", firmwares.get(this.name)],
    ];
    this.card.querySelector(".facts").replaceChildren(
      ...facts
        .filter(([, value]) => value)
        .map(([name, value]) => element("div", {}, element("dt", {}, name), element("dd", {}, value))),
    );
  }

  draw(now) {
    this.showRates("traffic", (bytes, packets) => `${bitRate(bytes * 8)}, ${packetRate(packets)}`, [
      ["receive", "in", "bytesRx", "packetsRx"],
      ["send", "out", "bytesTx", "packetsTx"],
    ]);
    this.showRates("errors", (errors) => errorRate(errors), [
      ["receive", "in", "errorsRx", "errorsRx"],
      ["send", "out", "errorsTx", "errorsTx"],
    ]);
    for (const [kind, chart] of this.charts) {
      const { receive, send } = kPlots[kind];
      chart.drawnAt = now;
      chart.data.datasets[0].data = pointsOf(this.name, ...receive, now);
      chart.data.datasets[1].data = pointsOf(this.name, ...send, now);
      chart.update();
    }
  }

  // Shows the last rates in words, beside the plot and in its accessible name.
  showRates(kind, format, directions) {
    const parts = [];
    for (const [direction, word, first, second] of directions) {
      const a = lastRate(this.name, first);
      const b = lastRate(this.name, second);
      if (a !== null && b !== null) {
        parts.push([direction, `${word} ${format(a, b)}`]);
      }
    }
    const shown = this.card.querySelector(`[data-now="${kind}"]`);
    if (parts.length === 0) {
      setText(shown, "measuring");
    } else {
      shown.replaceChildren(...parts.map(([direction, text]) => element("span", { class: direction }, text)));
    }
    const canvas = this.card.querySelector(`[data-plot="${kind}"]`);
    const words = parts.map(([, text]) => text).join("; ");
    canvas.setAttribute(
      "aria-label",
      `${kind === "traffic" ? "Traffic" : "Errors"} of ${this.name} in the last ten minutes${words ? `, now ${words}` : ""}`,
    );
  }
}

const ports = new Map(); // PortCards by name
const drivers = new Map();
const firmwares = new Map();

function lastPart(instanceId) {
  return instanceId.split(":").slice(2).join(":");
}

async function learnVersions() {
  for (const [className, versions] of [
    ["Orvane_EPDriverSoftwareIdentity", drivers],
    ["Orvane_EPFirmwareSoftwareIdentity", firmwares],
  ]) {
    try {
      const found = await instancesOf(className, "InstanceID", "VersionString");
      versions.clear();
      for (const { properties } of found) {
        const version = (properties.VersionString || "").replace(/ (driver|device firmware) /, " ").trim();
        if (!/^(|driver|device firmware)$/.test(version)) versions.set(lastPart(properties.InstanceID), version);
      }
    } catch (error) {
      if (!(error instanceof Refused)) throw error; // ports without versions are better than none
    }
  }
}

async function measure() {
  const before = Date.now();
  const found = await instancesOf("Orvane_EPStatisticalInformation", "InstanceID", ...kCounters);
  const now = (before + Date.now()) / 2;
  for (const { properties } of found) {
    const known = kCounters.every((name) => typeof properties[name] === "number");
    if (!known) continue;
    keepSample(lastPart(properties.InstanceID), now, Object.fromEntries(kCounters.map((name) => [name, properties[name]])));
  }
}

async function showPorts(slow) {
  if (slow) await learnVersions();
  const found = await instancesOf(
    "Orvane_EthernetPort",
    "DeviceID",
    "SystemName",
    "EnabledState",
    "Speed",
    "PermanentAddress",
    "ActiveMaximumTransmissionUnit",
    "FullDuplex",
  );
  try {
    await measure();
  } catch (error) {
    if (!(error instanceof Refused)) throw error; // ports without plots are better than none
  }
  const list = byId("port-list");
  list.querySelector(".empty, .problem")?.remove();
  const names = new Set(found.map(({ properties }) => properties.DeviceID));
  for (const [name, card] of ports) {
    if (names.has(name)) continue;
    card.remove();
    ports.delete(name);
    histories.delete(name);
  }
  for (const { properties } of found) {
    const name = properties.DeviceID;
    if (!ports.has(name)) {
      const card = new PortCard(name);
      ports.set(name, card);
      list.append(card.card);
    }
    ports.get(name).show(properties);
    ports.get(name).draw(Date.now());
    nameHost(properties.SystemName);
  }
  if (found.length === 0) list.append(element("p", { class: "empty" }, "This host has no physical Ethernet port."));
}

function showPortProblem(error) {
  const list = byId("port-list");
  list.querySelector(".empty, .problem")?.remove();
  list.prepend(element("p", { class: "problem" }, `The ports cannot be read: ${error.message}`));
}

// ---- What rarely changes ----

async function showAddresses() {
  const four = await instancesOf("Orvane_KernelIPv4ProtocolEndpoint");
  const six = await instancesOf("Orvane_KernelIPv6ProtocolEndpoint");
  const rows = [
    ...four.map(({ properties: p }) => [p.Name, "IPv4", p.IPv4Address && code(p.IPv4Address), p.SubnetMask && code(p.SubnetMask)]),
    ...six.map(({ properties: p }) => [
      p.Name,
      "IPv6",
      p.IPv6Address && code(p.IPv6Address),
      p.PrefixLength !== undefined && `/${p.PrefixLength}`,
    ]),
  ];
  rows.sort((a, b) => a[0].localeCompare(b[0]) || a[1].localeCompare(b[1]));
  showTable(
    "addresses",
    plural(rows.length, "address of kernel interfaces", "addresses of kernel interfaces"),
    ["Interface", "Family", "Address", "Mask or prefix"],
    rows,
    "No kernel interface has an address.",
  );
}

async function showProcessors() {
  const found = await instancesOf(
    "Orvane_Processor",
    "DeviceID",
    "SystemName",
    "ModelName",
    "NumberOfEnabledCores",
    "CPUStatus",
  );
  const rows = found.map(({ properties: p }) => {
    nameHost(p.SystemName);
    return [p.DeviceID, p.ModelName, p.NumberOfEnabledCores && kWhole.format(p.NumberOfEnabledCores), kProcessorStates[p.CPUStatus]];
  });
  showTable(
    "processors",
    plural(rows.length, "processor package", "processor packages"),
    ["Processor", "Model", "Enabled cores", "State"],
    rows,
    "The host reports no processor.",
  );
}

async function showImages() {
  const found = await instancesOf("Orvane_HypervisorSoftwareIdentity");
  const rows = found.map(({ properties: p }) => [
    p.Name || p.InstanceID,
    p.InstanceID.startsWith("Alt Boot Bank: ") ? "alternate" : "running",
    p.VersionString,
    p.Manufacturer,
    timeElement(dateOf(p.ReleaseDate), kDate),
    timeElement(dateOf(p.LastStartTime)),
  ]);
  showTable(
    "images",
    plural(rows.length, "image", "images"),
    ["Image", "Use", "Version", "Manufacturer", "Released", "Started"],
    rows,
    "The host reports no image.",
  );
}

function nameHost(name) {
  if (!name) return;
  setText(byId("host"), name);
  document.title = name;
}

// ---- Rounds of requests ----

const kParts = [
  { every: true, show: showHealth, problem: (error) => showProblem("records", "health", error) },
  { every: true, show: showPorts, problem: showPortProblem },
  { every: false, show: showAddresses, problem: (error) => showProblem("addresses", "addresses", error) },
  { every: false, show: showProcessors, problem: (error) => showProblem("processors", "processors", error) },
  { every: false, show: showImages, problem: (error) => showProblem("images", "software", error) },
];

// Shows a part, or its problem, whatever happens to the others. False: the service does not answer.
async function show(part, slow) {
  try {
    await part.show(slow);
    return true;
  } catch (error) {
    if (!(error instanceof Refused)) return false;
    part.problem(error);
    return true;
  }
}

let askEverything = true;

async function round(number) {
  const slow = askEverything || number % kSlowRounds === 0;
  askEverything = false;
  const answered = await Promise.all(kParts.filter((part) => slow || part.every).map((part) => show(part, slow)));
  if (answered.every(Boolean)) {
    connection.live();
  } else {
    connection.lost();
    askEverything = true;
  }
  setTimeout(round, kPeriod, number + 1);
}

// ---- Indications ----

const seenEvents = new Set();

function textOf(indication) {
  const p = indication.properties;
  if (indication.class === "Orvane_CIMHeartbeat") return `Heartbeat of ${p.hostname || "the host"}`;
  if (indication.class === "Orvane_KernelIPChangedIndication") {
    const name = (p.IndicationIdentifier || "").replace(/^Orvane:/, "");
    return `Address of ${name || "an interface"} changed to ${p.SourceInstanceHost || "another"}`;
  }
  return p.Description || p.Message || p.Caption || indication.class;
}

function showIndication(event) {
  if (seenEvents.has(event.lastEventId)) return;
  seenEvents.add(event.lastEventId);
  const indication = JSON.parse(event.data);
  const list = byId("event-list");
  list.prepend(
    element("li", {}, timeElement(new Date(indication.received)), element("span", { title: indication.class }, textOf(indication))),
  );
  while (list.children.length > kMaxEvents) list.lastElementChild.remove();
  byId("no-events").hidden = true;
  if (indication.class === "Orvane_KernelIPChangedIndication") askEverything = true;
}

function listen() {
  const source = new EventSource("/api/events");
  source.addEventListener("indication", showIndication);
  source.addEventListener("error", () => {
    // The browser connects again by itself, unless the service refused.
    if (source.readyState === EventSource.CLOSED) setTimeout(listen, 2 * kPeriod);
  });
}

// ---- Start ----

setText(byId("host"), location.hostname);
byId("plots-missing").hidden = typeof Chart !== "undefined";
matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => {
  for (const card of ports.values()) card.paint();
});
round(0);
listen();
