// SPDX-License-Identifier: GPL-2.0-only
// Draws the recordings that the page holds. Names come from a device: they are put into the page as
// text only. What is not known is null, and a gap.
'use strict';

const NS_PER_S = 1e9;
const MOST_POINTS = 600;
const BASE_COLOURS = ['#0072b2', '#e69f00', '#009e73', '#cc79a7', '#56b4e9', '#d55e00', '#f0e442', '#7f7f7f'];
const REFERENCE = 'REF_EMI';

const byId = (id) => document.getElementById(id);

window.addEventListener('error', (event) => {
  byId('errors').textContent += `${event.message} (line ${event.lineno})\n`;
});

function element(name, text, attributes = {}) {
  const made = document.createElement(name);
  if (text !== undefined) made.textContent = text;
  for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
  return made;
}

const recordings = JSON.parse(byId('recordings').textContent).recordings;

// Seconds since the recording's first sweep.
for (const recording of recordings) {
  const starts = Object.values(recording.reports).map((report) => report.end_ns[0]);
  recording.zero_ns = Math.min(...starts, ...recording.events.map((event) => event.time_ns));
  for (const report of Object.values(recording.reports)) {
    report.seconds = report.end_ns.map((ns) => (ns - recording.zero_ns) / NS_PER_S);
  }
}

const NO_REPORT = {seconds: [], figures: {}, status: []};
const reportOf = (recording, name) => recording.reports[name] || NO_REPORT;

// "modules.VDEC.bus_mbps": the names between are the device's and may hold dots.
function elementNames(report, list, member) {
  return Object.keys(report.figures)
    .filter((name) => name.startsWith(list + '.') && name.endsWith('.' + member))
    .map((name) => name.slice(list.length + 1, -member.length - 1));
}

const moduleNames = [...new Set(recordings.flatMap((recording) =>
  elementNames(reportOf(recording, 'total'), 'modules', 'bus_mbps')))];
const stacked = moduleNames.filter((name) => name !== REFERENCE);
const hidden = new Set();

const lastSecond = Math.max(0, ...recordings.flatMap((recording) =>
  Object.values(recording.reports).map((report) => report.seconds[report.seconds.length - 1])));

// The eight colours that are told apart whatever the eyes, then the same lighter and darker.
function colourOf(index) {
  const base = BASE_COLOURS[index % BASE_COLOURS.length];
  const round = Math.floor(index / BASE_COLOURS.length);
  const towards = round % 2 === 1 ? 255 : 0;
  const share = round === 0 ? 0 : 0.45;
  const parts = [1, 3, 5].map((at) => parseInt(base.slice(at, at + 2), 16));
  return `rgb(${parts.map((part) => Math.round(part + (towards - part) * share)).join(',')})`;
}

const clock = (seconds) => {
  const whole = Math.round(seconds);
  const two = (number) => String(number).padStart(2, '0');
  return `${Math.floor(whole / 3600)}:${two(Math.floor(whole / 60) % 60)}:${two(whole % 60)}`;
};

function range() {
  const ends = ['from', 'to'].map((id) => Number(byId(id).value) / 1000 * lastSecond);
  return [Math.min(...ends), Math.max(...ends)];
}

// The sweeps of the range: [first, behind the last).
function sweepsIn(report, [from, to]) {
  const first = report.seconds.findIndex((seconds) => seconds >= from);
  let end = report.seconds.length;
  while (end > 0 && report.seconds[end - 1] > to) --end;
  return [first < 0 ? end : first, end];
}

// Points of means where there are more sweeps than the picture has room for.
function points(report, values, limits) {
  const [first, end] = sweepsIn(report, limits);
  const size = Math.max(1, Math.ceil((end - first) / MOST_POINTS));
  const made = [];
  for (let at = first; at < end; at += size) {
    const known = values.slice(at, Math.min(at + size, end)).filter((value) => value !== null);
    const mean = known.length ? known.reduce((sum, value) => sum + value, 0) / known.length : null;
    made.push({x: report.seconds[at], y: mean});
  }
  return made;
}

// Sweep by sweep over the modules that are shown; unknown where one of them is.
function shownSum(report) {
  const series = stacked.filter((name) => !hidden.has(name))
    .map((name) => report.figures[`modules.${name}.bus_mbps`])
    .filter((values) => values !== undefined);
  return report.seconds.map((_, at) => series.reduce(
    (sum, values) => sum === null || values[at] === null ? null : sum + values[at], 0));
}

// Where the verdict's limit must be, in percent, by the verdicts that were given.
function limitBounds(recording) {
  const total = reportOf(recording, 'total');
  const usage = total.figures['usage.percent'] || [];
  let low = 0;
  let high = Infinity;
  if (recording.penalty_percent !== null) return [recording.penalty_percent, recording.penalty_percent];
  usage.forEach((percent, at) => {
    if (percent === null) return;
    if (total.status[at] === 'SAFE') low = Math.max(low, percent + 10);
    if (total.status[at] === 'WARNING') [low, high] = [Math.max(low, percent), Math.min(high, percent + 9)];
    if (total.status[at] === 'DANGER') high = Math.min(high, percent - 1);
  });
  return [low, high];
}

const style = (name) => getComputedStyle(document.documentElement).getPropertyValue(name).trim();

// Draws into the charts what they have no datasets for: the band of the limit, and events.
const overlay = {
  id: 'overlay',
  beforeDatasetsDraw(chart) {
    const band = chart.options.plugins.overlay.band;
    if (!band) return;
    const {ctx, chartArea: area, scales: {y}} = chart;
    const top = Math.max(area.top, y.getPixelForValue(band.high));
    const bottom = Math.min(area.bottom, y.getPixelForValue(band.low));
    ctx.save();
    ctx.fillStyle = 'rgba(213, 94, 0, 0.18)';
    ctx.fillRect(area.left, top, area.width, Math.max(2, bottom - top));
    ctx.restore();
  },
  afterDatasetsDraw(chart) {
    const {ctx, chartArea: area, scales: {x}} = chart;
    ctx.save();
    ctx.strokeStyle = ctx.fillStyle = style('--text');
    ctx.font = '11px sans-serif';
    for (const event of chart.options.plugins.overlay.events) {
      const at = x.getPixelForValue(event.seconds);
      if (at < area.left || at > area.right) continue;
      ctx.setLineDash(event.mark ? [] : [4, 3]);
      ctx.beginPath();
      ctx.moveTo(at, area.top);
      ctx.lineTo(at, area.bottom);
      ctx.stroke();
      ctx.fillText(event.number, at + 3, area.top + 10);
    }
    ctx.restore();
  },
};

const events = recordings.flatMap((recording) => recording.events.map((event) => ({
  ...event, recording, seconds: (event.time_ns - recording.zero_ns) / NS_PER_S})))
  .sort((one, other) => one.seconds - other.seconds)
  .map((event, at) => ({...event, number: String(at + 1)}));

const charts = {};

function draw(id, datasets, options = {}) {
  const [from, to] = range();
  const dim = style('--dim');
  const grid = {color: style('--line')};
  if (charts[id]) charts[id].destroy();
  charts[id] = new Chart(byId(id), {
    type: 'line',
    data: {datasets},
    plugins: [overlay],
    options: {
      animation: false,
      maintainAspectRatio: false,
      parsing: false,
      interaction: {mode: 'nearest', axis: 'x', intersect: false},
      elements: {point: {radius: 0, hitRadius: 6}, line: {borderWidth: 1.5}},
      scales: {
        x: {type: 'linear', min: from, max: Math.max(to, from + 1), grid,
            ticks: {color: dim, callback: clock, maxRotation: 0}},
        y: {beginAtZero: true, stacked: options.stacked || false, grid, ticks: {color: dim},
            suggestedMax: options.top},
      },
      plugins: {
        legend: {display: false},
        tooltip: {callbacks: {title: (items) => items.length ? clock(items[0].parsed.x) : ''}},
        overlay: {events, band: options.band},
      },
    },
  });
}

const line = (label, data, colour, more = {}) => ({label, data, borderColor: colour,
  backgroundColor: colour, spanGaps: false, stack: label, fill: false, ...more});

function drawBandwidth(limits) {
  const [main, other] = recordings.map((recording) => reportOf(recording, 'total'));
  const text = style('--text');
  const series = (name) => main.figures[name];
  const sets = stacked.filter((name) => !hidden.has(name) && series(`modules.${name}.bus_mbps`))
    .map((name) => line(name, points(main, series(`modules.${name}.bus_mbps`), limits),
      colourOf(stacked.indexOf(name)), {fill: 'stack', stack: 'modules', borderColor: style('--ground'), borderWidth: 1}));
  const theory = series('usage.total_mbps');
  const reference = series(`modules.${REFERENCE}.bus_mbps`);
  if (reference && !hidden.has(REFERENCE)) {
    sets.push(line(REFERENCE, points(main, reference, limits), text, {borderDash: [2, 2], borderWidth: 2}));
  }
  if (theory) sets.push(line('theoretical', points(main, theory, limits), '#d55e00', {borderDash: [10, 4], borderWidth: 2}));
  if (other) {
    sets.push(line(`${recordings[1].name}: sum`, points(other, shownSum(other), limits), text,
      {borderDash: [6, 3], borderWidth: 2.5}));
  }
  const most = (theory || []).reduce((all, value) => Math.max(all, value ?? 0), 0);
  const [low, high] = limitBounds(recordings[0]);
  const exact = low === high;
  const band = low > 0 && high < Infinity && most
    ? {low: (exact ? low - 10 : low) / 100 * most, high: high / 100 * most} : undefined;
  draw('bandwidth', sets, {stacked: true, top: most * 1.05, band});
  byId('bandwidth-note').textContent = [
    `Areas: modules of ${recordings[0].name}.`,
    theory ? 'Long dashes: what the memory can carry in theory.' : '',
    reference ? `Dots: ${REFERENCE}.` : '',
    other ? `Short dashes: the same modules of ${recordings[1].name} together.` : '',
    band && exact ? `Band: the verdict is WARNING there, and DANGER above ${low} %.` : '',
    band && !exact ? `Band: in there, at ${low} to ${high} %, the verdict turns to DANGER.` : '',
  ].join(' ');
}

function drawEfficiency(limits) {
  const sets = recordings.flatMap((recording, at) => {
    const total = reportOf(recording, 'total');
    return [...stacked.filter((name) => !hidden.has(name)), null].flatMap((name) => {
      const values = total.figures[name === null ? 'sum.efficiency_percent' : `modules.${name}.efficiency_percent`];
      const label = (recordings.length > 1 ? recording.name + ': ' : '') + (name === null ? 'all' : name);
      return values ? [line(label, points(total, values, limits),
        name === null ? style('--text') : colourOf(stacked.indexOf(name)),
        {borderDash: at ? [6, 3] : [], borderWidth: name === null ? 2.5 : 1.5})] : [];
    });
  });
  draw('efficiency', sets, {top: 100});
}

function drawLatency(limits) {
  const sets = [];
  for (const [at, recording] of recordings.entries()) {
    for (const [name, report] of Object.entries(recording.reports)) {
      for (const [figure, values] of Object.entries(report.figures)) {
        if (figure.endsWith('latency_ns') || figure.endsWith('period_ns')) {
          sets.push(line(`${recordings.length > 1 ? recording.name + ': ' : ''}${name}.${figure}`,
            points(report, values, limits), colourOf(sets.length), {borderDash: at ? [6, 3] : []}));
        }
      }
    }
  }
  draw('latency', sets);
  byId('latency-note').textContent = sets.length
    ? '' : 'None was recorded: ovk record --reports total,emi has the latencies of the EMI ports.';
}

function statistics(report, values, limits) {
  const [first, end] = sweepsIn(report, limits);
  const known = values.slice(first, end).filter((value) => value !== null);
  const sum = known.reduce((all, value) => all + value, 0);
  const of = (pick) => known.length ? pick() : '';
  return [of(() => end > first && values[end - 1] !== null ? values[end - 1] : ''),
    of(() => known.reduce((a, b) => Math.min(a, b))), of(() => Math.round(sum / known.length * 10) / 10),
    of(() => known.reduce((a, b) => Math.max(a, b))), of(() => sum), known.length, end - first - known.length];
}

function fillTable(limits) {
  const body = byId('data').tBodies[0];
  body.replaceChildren();
  for (const recording of recordings) {
    for (const [name, report] of Object.entries(recording.reports)) {
      for (const [figure, values] of Object.entries(report.figures)) {
        const row = element('tr');
        row.append(element('td', recording.name), element('td', `${name}.${figure}`));
        for (const value of statistics(report, values, limits)) row.append(element('td', value));
        body.append(row);
      }
    }
  }
}

function drawAll() {
  const limits = range();
  byId('range-text').textContent = `${clock(limits[0])} to ${clock(limits[1])}`;
  drawBandwidth(limits);
  drawEfficiency(limits);
  drawLatency(limits);
  fillTable(limits);
}

function fillModules() {
  for (const name of moduleNames) {
    const button = element('button', undefined, {type: 'button', 'aria-pressed': 'true'});
    const swatch = element('span', undefined, {class: 'swatch'});
    swatch.style.background = name === REFERENCE ? 'transparent' : colourOf(stacked.indexOf(name));
    button.append(swatch, name);
    button.addEventListener('click', () => {
      const show = hidden.delete(name);
      if (!show) hidden.add(name);
      button.setAttribute('aria-pressed', String(show));
      drawAll();
    });
    byId('modules').append(button);
  }
}

function fillEvents() {
  for (const event of events) {
    const kind = event.mark ? 'mark' : 'setting';
    const whose = recordings.length > 1 ? `${event.recording.name}, ` : '';
    byId('events').append(element('li', `${whose}${clock(event.seconds)} ${kind}: ${event.text}`));
  }
  if (!events.length) byId('events').replaceWith(element('p', 'None.', {class: 'hint'}));
}

function fillFacts() {
  for (const recording of recordings) {
    const list = element('dl');
    for (const [what, value] of Object.entries(recording.facts)) {
      list.append(element('dt', what), element('dd', value === null ? 'unknown' : String(value)));
    }
    byId('facts').append(element('h3', recording.name), list);
  }
  const sweeps = recordings.map((recording) => `${recording.name}: ${
    Object.entries(recording.reports).map(([name, report]) => `${report.seconds.length} of ${name}`).join(', ')}`);
  byId('summary').textContent = sweeps.join('; ');
}

const cell = (text) => /[",\r\n]/.test(text) ? `"${text.replaceAll('"', '""')}"` : text;

function csv() {
  const rows = ['recording,report,figure,start_ns,end_ns,value'];
  for (const recording of recordings) {
    for (const [name, report] of Object.entries(recording.reports)) {
      for (const [figure, values] of Object.entries(report.figures)) {
        const head = [recording.name, name, figure].map(cell).join(',');
        values.forEach((value, at) =>
          rows.push(`${head},${report.start_ns[at]},${report.end_ns[at]},${value === null ? '' : value}`));
      }
    }
  }
  return rows.join('\n') + '\n';
}

byId('download').addEventListener('click', () => {
  const link = element('a', undefined, {download: 'figures.csv',
    href: URL.createObjectURL(new Blob([csv()], {type: 'text/csv'}))});
  link.click();
  URL.revokeObjectURL(link.href);
});
for (const id of ['from', 'to']) byId(id).addEventListener('change', drawAll);
matchMedia('(prefers-color-scheme: dark)').addEventListener('change', drawAll);

fillModules();
fillEvents();
fillFacts();
drawAll();
document.documentElement.dataset.ready = 'yes';
