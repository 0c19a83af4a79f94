// The last hour of battery and speed as line plots. The console keeps the
// samples (GET api/history), so a page opened late shows the shift so far;
// each new sample then comes with the event stream.
import { robotHistory } from './api.js';

const HOUR_MS = 3600 * 1000;
const PLOTS = [
  { key: 'percent', title: 'battery', unit: '%', colour: '#16a34a' },
  { key: 'voltage', title: 'voltage', unit: 'V', colour: '#2563eb' },
  { key: 'current', title: 'current', unit: 'A', colour: '#d97706' },
  { key: 'speed', title: 'speed', unit: 'm/s', colour: '#7c3aed' },
];
// In CSS pixels; the canvas is drawn at the screen's own resolution.
const MARGIN = { left: 60, right: 8, top: 8, bottom: 16 };
const HEIGHT = 90;
// The time axis spans what the console kept, at least a minute, at most the hour.
const MIN_SPAN_MS = 60 * 1000;

const samples = [];

function numberText(value) {
  return Math.abs(value) >= 100 ? value.toFixed(0) : Number(value.toFixed(2)).toString();
}

function spanText(ms) {
  return ms >= 120 * 1000 ? `−${Math.round(ms / 60000)} min` : `−${Math.round(ms / 1000)} s`;
}

// The value range, widened a little so that a flat line is not on the edge.
function range(values) {
  const low = Math.min(...values);
  const high = Math.max(...values);
  const pad = (high - low) * 0.1 || Math.max(Math.abs(high) * 0.05, 0.05);
  return [low - pad, high + pad];
}

// A context in CSS pixels on a canvas as wide as it is shown.
function context(canvas) {
  const ratio = window.devicePixelRatio || 1;
  const width = canvas.clientWidth || canvas.width;
  canvas.width = Math.round(width * ratio);
  canvas.height = Math.round(HEIGHT * ratio);
  const c = canvas.getContext('2d');
  c.setTransform(ratio, 0, 0, ratio, 0, 0);
  return [c, width];
}

function drawPlot(canvas, { key, unit, colour }, now, span) {
  const [c, width] = context(canvas);
  const points = samples.filter((s) => s[key] !== null).map((s) => [Date.parse(s.time), s[key]]);
  canvas.dataset.points = points.length;
  const plotWidth = width - MARGIN.left - MARGIN.right;
  const plotHeight = HEIGHT - MARGIN.top - MARGIN.bottom;
  c.strokeStyle = '#e3e7ee';
  c.strokeRect(MARGIN.left, MARGIN.top, plotWidth, plotHeight);
  c.fillStyle = '#667085';
  c.font = '11px system-ui, sans-serif';
  c.fillText(spanText(span), MARGIN.left, HEIGHT - 3);
  c.textAlign = 'right';
  c.fillText('now', width - MARGIN.right, HEIGHT - 3);
  if (!points.length) return;
  const [low, high] = range(points.map(([, v]) => v));
  c.fillText(`${numberText(high)} ${unit}`, MARGIN.left - 4, MARGIN.top + 9);
  c.fillText(`${numberText(low)} ${unit}`, MARGIN.left - 4, MARGIN.top + plotHeight);
  const x = (t) => MARGIN.left + ((t - (now - span)) / span) * plotWidth;
  const y = (v) => MARGIN.top + ((high - v) / (high - low)) * plotHeight;
  c.strokeStyle = colour;
  c.lineWidth = 1.5;
  c.beginPath();
  points.forEach(([t, v], i) => (i ? c.lineTo(x(t), y(v)) : c.moveTo(x(t), y(v))));
  c.stroke();
  // A single sample is no line: a dot shows the latest.
  const [lastT, lastV] = points[points.length - 1];
  c.fillStyle = colour;
  c.fillRect(x(lastT) - 2, y(lastV) - 2, 4, 4);
}

function draw() {
  const newest = samples.length ? Date.parse(samples[samples.length - 1].time) : Date.now();
  const oldest = samples.length ? Date.parse(samples[0].time) : newest;
  const span = Math.min(HOUR_MS, Math.max(MIN_SPAN_MS, newest - oldest));
  for (const plot of PLOTS) {
    drawPlot(document.getElementById(`plot-${plot.key}`), plot, newest, span);
    const last = samples.findLast((s) => s[plot.key] !== null);
    document.getElementById(`plot-${plot.key}-now`).textContent =
      last ? `${numberText(last[plot.key])} ${plot.unit}` : '—';
  }
}

function add(sample) {
  samples.push(sample);
  const oldest = Date.parse(sample.time) - HOUR_MS;
  while (samples.length && Date.parse(samples[0].time) <= oldest) samples.shift();
  draw();
}

// The event stream's handlers: each sample the console takes.
export const plotEvents = { history: add };

export async function plotPanel() {
  const kept = await robotHistory();
  // Samples that came with the stream meanwhile are newer than the kept ones.
  const since = samples.length ? Date.parse(samples[0].time) : Infinity;
  samples.unshift(...kept.samples.filter((s) => Date.parse(s.time) < since));
  draw();
  window.addEventListener('resize', draw);
}
