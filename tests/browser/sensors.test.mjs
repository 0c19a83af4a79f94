// The console's readings in a real browser, against the demo host: the
// hour's plots fill from the console's own record and download as CSV,
// and the sensor panel shows every sensor answer of the demo host while it
// is open, and only then does the console ask for them. Run by CTest
// (tests/CMakeLists.txt) with the paths below in the environment.
//   CONSOLE, DEMO_HOST   the two programs
//   MODULES              the folder whose node_modules holds playwright-core
//   SCREENSHOT           the screenshots are named after it: NAME-plots.png, NAME-sensors.png,
//                        NAME-sensors-map.png
import { mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import assert from 'node:assert/strict';

import { STEP_MS, freePort, launchBrowser, start, stopChildren, watchdog } from './processes.mjs';

const SENSORS = [
  'lidar-sensor-status', 'lidar-data', 'sonic-status', 'tof-status-v2', 'ir-status',
  'recv-ir-status', 'cliff-ir-status', 'line-laser-status-v2', 'camera-status-v2',
];
const CSV_HEADER = 'time (UTC),battery (%),voltage (V),current (A),speed (m/s)';

const work = mkdtempSync(join(tmpdir(), 'robocomm-sensors-'));
const timer = watchdog('sensors browser test', 120);
const shots = (panel) => process.env.SCREENSHOT.replace(/\.png$/, `-${panel}.png`);

// The sensor answers the console publishes during `ms`, read from its event stream.
async function sensorEventsDuring(base, token, ms) {
  const response = await fetch(`${base}/api/events`, { headers: { Authorization: `Bearer ${token}` } });
  const reader = response.body.getReader();
  const decoder = new TextDecoder();
  let text = '';
  const end = Date.now() + ms;
  const stop = setTimeout(() => reader.cancel(), ms);
  try {
    while (Date.now() < end) {
      const { value, done } = await reader.read();
      if (done) break;
      text += decoder.decode(value);
    }
  } finally {
    clearTimeout(stop);
  }
  return [...text.matchAll(/^event: (\S+)$/gm)].map(([, name]) => name).filter((name) => SENSORS.includes(name));
}

// The robot drives to a corner meanwhile, so that its speed and current change.
async function plots(page, context, base, token) {
  const headers = { Authorization: `Bearer ${token}`, 'Content-Type': 'application/json' };
  const sent = await fetch(`${base}/api/set/target-position`, { method: 'POST', headers, body: '[2.4, 2.4, 0.79]' });
  assert.equal(sent.status, 200, 'the robot takes the target');
  await page.locator('#plot-speed-now', { hasText: /^0\.\d+ m\/s$/ }).waitFor({ timeout: STEP_MS });
  await new Promise((resolve) => setTimeout(resolve, 3000));
  for (const key of ['percent', 'voltage', 'current', 'speed'])
    await page.waitForFunction((id) => Number(document.getElementById(id).dataset.points) >= 2, `plot-${key}`,
      { timeout: STEP_MS });
  const [download] = await Promise.all([page.waitForEvent('download'), page.click('#history-csv')]);
  const rows = readFileSync(await download.path(), 'utf8').split('\r\n').filter(Boolean);
  assert.equal(rows[0], CSV_HEADER);
  assert.ok(rows.length >= 3, `the CSV has ${rows.length - 1} rows`);
  for (const row of rows.slice(1)) assert.match(row, /^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ,\d+,\d+(\.\d+)?,-?\d+(\.\d+)?,-?[\d.e-]*$/);
  assert.ok(rows.some((row) => Number(row.split(',')[4]) > 0), 'the CSV has the robot driving');
  console.log(`sensors browser test: the CSV download has ${rows.length - 1} rows, e.g. ${rows[1]}`);
  // A page opened later draws the hour the console kept, not only what comes after.
  const later = await context.newPage();
  try {
    await later.goto(page.url());
    await later.waitForFunction(
      (kept) => Number(document.getElementById('plot-percent').dataset.points) >= kept, rows.length - 1,
      { timeout: STEP_MS });
  } finally {
    await later.close();
  }
  await page.locator('.plots-card').screenshot({ path: shots('plots') });
}

// What the panel shows of each sensor, raw and readable.
async function shown(page) {
  const readings = {};
  for (const name of SENSORS) {
    const row = page.locator(`[data-sensor="${name}"]`);
    readings[name] = { raw: JSON.parse(await row.locator('code').textContent()), text: await row.locator('.reading').textContent() };
  }
  return readings;
}

// The demo host's answers, from its model of a robot standing still in the
// middle of its room, away from the station.
function checkAgainstDemoHost(r) {
  assert.deepEqual(r['lidar-sensor-status'].raw, { front: 1, rear: 1 });
  const { front, rear } = r['lidar-data'].raw;
  assert.ok(front > 1 && rear > 1, `lidar ${front} m, ${rear} m`);
  const ahead = Math.trunc(front * 1000);
  const behind = Math.trunc(rear * 1000);
  assert.equal(r['lidar-data'].text, `front ${front.toFixed(3)} m, rear ${rear.toFixed(3)} m`);
  assert.deepEqual(r['sonic-status'].raw, { leftStatus: 1, LeftSenseing: false, rightStatus: 1, rightSenseing: false });
  assert.equal(r['sonic-status'].text, 'left 1 (clear), right 1 (clear)');
  const tofs = (mm) => [mm, mm + 12, mm + 25, mm + 41];
  assert.deepEqual(r['tof-status-v2'].raw, {
    leftStatus: 1, leftDistances: tofs(ahead), rightStatus: 1, rightDistances: tofs(behind), topStatus: 1, topDistance: 2500,
  });
  assert.equal(r['tof-status-v2'].text,
    `left 1: ${tofs(ahead).join(', ')} mm; right 1: ${tofs(behind).join(', ')} mm; top 1: 2500 mm`);
  const none = (names) => Object.fromEntries(names.map((name) => [name, false]));
  assert.deepEqual(r['ir-status'].raw, none(['sensor1', 'sensor2', 'sensor3', 'sensor4', 'sensor5', 'sensor6',
    'stationIR1', 'stationIR2', 'stationIR3', 'stationIR4']));
  assert.deepEqual(r['recv-ir-status'].raw, none(['RecvIR1', 'RecvIR2', 'RecvIR3', 'RecvIR4']));
  assert.deepEqual(r['cliff-ir-status'].raw, none(['CliffIR1', 'CliffIR2', 'CliffIR3', 'CliffIR4', 'CliffIR5', 'CliffIR6']));
  for (const name of ['ir-status', 'recv-ir-status', 'cliff-ir-status']) assert.equal(r[name].text, 'none sensing');
  assert.deepEqual(r['line-laser-status-v2'].raw, { status: 1, positions: [
    { x: ahead, y: 0, theta: 0, direction: 1, height: 40, distance: 900 },
    { x: 300, y: 150, theta: 26, direction: -1, height: 35, distance: 420 },
  ] });
  assert.equal(r['line-laser-status-v2'].text, `status 1; (${ahead}, 0) mm 900 mm away, height 40, direction 1; ` +
    '(300, 150) mm 420 mm away, height 35, direction -1');
  assert.deepEqual(r['camera-status-v2'].raw, { status: 1, objects: [
    { classID: 3, confidence: 87, x: 450, y: -120, theta: 15, width: 380, height: 520, distance: 610 },
  ] });
  assert.equal(r['camera-status-v2'].text, 'status 1; class 3 (87 %) at (450, -120) mm, 15°, 380×520 mm, 610 mm away');
}

// Pixels of the map near each colour: the places of the readings drawn over the map.
function mapColours(page, colours) {
  return page.evaluate((colours) => {
    const canvas = document.getElementById('map');
    const { data } = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height);
    return colours.map((hex) => {
      const [r, g, b] = [1, 3, 5].map((at) => parseInt(hex.slice(at, at + 2), 16));
      let count = 0;
      for (let i = 0; i < data.length; i += 4)
        if (Math.abs(data[i] - r) + Math.abs(data[i + 1] - g) + Math.abs(data[i + 2] - b) < 40) ++count;
      return count;
    });
  }, colours);
}

// Lidar, line laser, camera object (page/sensors.js).
const READING_COLOURS = ['#0891b2', '#d97706', '#7c3aed'];

async function sensors(page, base, token) {
  assert.deepEqual(await sensorEventsDuring(base, token, 1500), [], 'sensors polled while no page shows them');
  await page.click('#sensors summary');
  for (const name of SENSORS)
    await page.locator(`[data-sensor="${name}"] code`, { hasText: '{' }).waitFor({ timeout: STEP_MS });
  checkAgainstDemoHost(await shown(page));
  const drawn = await mapColours(page, READING_COLOURS);
  assert.ok(drawn.every((pixels) => pixels > 0), `lidar, line laser and camera pixels on the map: ${drawn}`);
  await page.locator('.sensors-card').screenshot({ path: shots('sensors') });
  await page.locator('#map').screenshot({ path: shots('sensors-map') });
  // Closed, the page lets its lease lapse (5 s) and the console stops asking.
  await page.click('#sensors summary');
  assert.deepEqual(await mapColours(page, READING_COLOURS), [0, 0, 0], 'the readings leave the map with the panel');
  await new Promise((resolve) => setTimeout(resolve, 5500));
  assert.deepEqual(await sensorEventsDuring(base, token, 1500), [], 'sensors still polled after the panel closed');
}

try {
  await start(process.env.DEMO_HOST, ['--run-dir', join(work, 'robot')], 'demo host: serving');
  const port = await freePort();
  const consoleProgram = await start(process.env.CONSOLE,
    ['--listen', `127.0.0.1:${port}`, '--state-dir', join(work, 'console-state')], `127.0.0.1:${port}/`);
  const address = consoleProgram.output.match(/http:\/\/\S+/)[0];
  const token = new URL(address).searchParams.get('token');
  const context = await launchBrowser(work);
  try {
    const page = await context.newPage();
    const problems = [];
    page.on('pageerror', (error) => problems.push(error.message));
    await page.goto(address);
    await page.locator('#link-state', { hasText: 'connected' }).waitFor({ timeout: STEP_MS });
    await page.locator('#map:not([aria-busy])').waitFor({ timeout: STEP_MS });
    const base = `http://127.0.0.1:${port}`;
    await sensors(page, base, token);
    await plots(page, context, base, token);
    assert.deepEqual(problems, [], 'the page ran without script errors');
  } finally {
    await context.close();
  }
  console.log('sensors browser test: passed');
} finally {
  clearTimeout(timer);
  stopChildren();
  rmSync(work, { recursive: true, force: true });
}
