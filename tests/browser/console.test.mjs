// End to end in a real browser: the demo host, the console, and Debian's
// chromium driven by playwright-core. Run by CTest (tests/CMakeLists.txt)
// with the paths below in the environment.
//   CONSOLE, DEMO_HOST   the two programs
//   MODULES              the folder whose node_modules holds playwright-core
//   SCREENSHOT           where to save the page as the test leaves it
import { randomBytes } from 'node:crypto';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { createServer as createHttpServer } from 'node:http';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { gunzipSync } from 'node:zlib';
import assert from 'node:assert/strict';

import { STEP_MS, freePort, launchBrowser, start, stopChildren, watchdog as boundTest } from './processes.mjs';

const work = mkdtempSync(join(tmpdir(), 'robocomm-browser-'));
// The whole test is bounded, whatever hangs.
const watchdog = boundTest('browser test', 150);

function numbers(text) {
  return text.match(/-?\d+(\.\d+)?/g).map(Number);
}

async function browserSession(page, url) {
  const text = (id) => page.locator(id).textContent();
  const activity = (line) => page.locator('#activity li', { hasText: line }).first().waitFor({ timeout: STEP_MS });

  await page.goto(url);
  await page.locator('#link-state', { hasText: 'connected' }).waitFor({ timeout: STEP_MS });
  assert.ok(!page.url().includes('token'), `the token left the address bar: ${page.url()}`);
  await page.locator('#battery', { hasText: /\d+ %/ }).waitFor({ timeout: STEP_MS });
  await page.locator('#position', { hasText: /x [\d.]+ m/ }).waitFor({ timeout: STEP_MS });
  await page.locator('#version', { hasText: 'demo-host' }).waitFor({ timeout: STEP_MS });
  await page.locator('#map:not([aria-busy])').waitFor({ timeout: STEP_MS });
  // The site's labels file names status 0; the built-in table the rest.
  await page.locator('#robot-status', { hasText: 'waiting for orders (0)' }).waitFor({ timeout: STEP_MS });
  await page.locator('#docking', { hasText: /away from the station \(0\)|docked \(2\)/ }).waitFor({ timeout: STEP_MS });
  const [startX, startY] = numbers(await text('#position'));
  // The map is 3.2 m square: (2.42, 2.42) lies a little over three quarters
  // right and under one quarter down. The browser reports whole pixels, so the
  // click aims inside the 2.4x band rather than at its edge.
  const box = await page.locator('#map').boundingBox();
  await page.mouse.click(box.x + (box.width * 2.42) / 3.2, box.y + (box.height * (3.2 - 2.42)) / 3.2);
  await page.locator('#confirm-text', { hasText: /Send the robot to x 2\.4\d m, y 2\.4\d m/ }).waitFor({ timeout: STEP_MS });
  await page.click('#confirm-ok');
  await activity('Target position: done');
  const distance = ([x, y]) => Math.hypot(2.4 - x, 2.4 - y);
  const before = distance([startX, startY]);
  await page.waitForFunction(
    (limit) => {
      const [x, y] = document.getElementById('position').textContent.match(/-?\d+(\.\d+)?/g).map(Number);
      return Math.hypot(2.4 - x, 2.4 - y) < limit;
    },
    before - 0.2,
    { timeout: STEP_MS },
  );
  console.log(`browser test: the marker moved from ${distance([startX, startY]).toFixed(2)} m toward the target`);

  await page.click('#emergency-stop');
  await activity('Emergency stop: done');
  await page.locator('#errors li[data-severity=fatal]', { hasText: 'emergency stop pressed (EMERGENCY-STOP)' })
    .waitFor({ timeout: STEP_MS });
  await page.click('#acknowledge');
  await activity('Acknowledge errors: delivered');
  await page.locator('#errors li', { hasText: 'no open errors' }).waitFor({ timeout: STEP_MS });
  await page.click('#recovery');
  await activity('Recovery: done');

  const image = join(work, 'firmware.bin');
  writeFileSync(image, randomBytes(1 << 20));
  await page.setInputFiles('#firmware-file', image);
  await page.click('#firmware button[type=submit]');
  await page.locator('#firmware-state', { hasText: 'accepted by the robot' }).waitFor({ timeout: STEP_MS });
  await page.waitForFunction(() => document.getElementById('firmware-progress').value === 100, null, {
    timeout: STEP_MS,
  });

  const [download] = await Promise.all([page.waitForEvent('download', { timeout: STEP_MS }), page.click('#log')]);
  const archive = gunzipSync(readFileSync(await download.path()));
  assert.equal(archive.subarray(257, 262).toString(), 'ustar', 'the log bundle is a tar archive');
  console.log(`browser test: log bundle of ${archive.length} bytes unpacked`);

  await page.selectOption('#raw-command', 'get/robot-info');
  await page.click('#raw button[type=submit]');
  await page.locator('#raw-answer', { hasText: 'DEMO-0001' }).waitFor({ timeout: STEP_MS });
}

// Where a place of the 3.2 m room lies on the page's map.
async function onMap(page, [x, y]) {
  await page.locator('#map').scrollIntoViewIfNeeded();
  const box = await page.locator('#map').boundingBox();
  return [box.x + (box.width * x) / 3.2, box.y + (box.height * (3.2 - y)) / 3.2];
}

// The map edit as the demo host holds it: { block_area: [{ id, robot, image }], ... }.
function robotsMapEdit() {
  const record = {};
  const pairs = (text) => text.trim().split(' ').map((pair) => pair.split(',').map(Number));
  for (const line of readFileSync(join(work, 'robot', 'logs', 'map-edit-record.txt'), 'utf8').trim().split('\n')) {
    const [list, id] = line.split(' ', 2);
    const match = line.match(/ robot (.*) image (.*)$/);
    if (match) (record[list] ??= []).push({ id, robot: pairs(match[1]), image: pairs(match[2]) });
  }
  return record;
}

// Draws a blocked area and a wall, sends them, and finds them on the robot
// in both coordinates; exports, changes, undoes and imports the edit.
async function mapEditing(page, shots) {
  const area = [[0.5, 2.5], [1.0, 2.5], [1.0, 2.9]];
  const wall = [[2.0, 0.5], [2.8, 0.5]];
  await page.click('[data-tool=area]');
  for (const place of area) await page.mouse.click(...(await onMap(page, place)));
  await page.click('#edit-finish');
  await page.click('[data-tool=wall]');
  for (const place of wall) await page.mouse.click(...(await onMap(page, place)));
  await page.keyboard.press('Enter');
  await page.locator('#edit-summary', { hasText: '1 blocked areas, 1 walls' }).waitFor({ timeout: STEP_MS });
  await page.click('#edit-send');
  await page.locator('#edit-verdict', { hasText: 'accepted by the robot' }).waitFor({ timeout: STEP_MS });
  await page.locator('.map-card').screenshot({ path: shots('map-edit') });

  const record = robotsMapEdit();
  const drawn = { block_area: area, block_wall: wall };
  for (const [list, places] of Object.entries(drawn)) {
    assert.equal(record[list]?.length, 1, `the robot holds one ${list}`);
    const [{ robot, image }] = record[list];
    assert.equal(robot.length, places.length);
    robot.forEach(([x, y], i) => {
      // Within a screen pixel of where the mouse went.
      assert.ok(Math.hypot(x - places[i][0], y - places[i][1]) < 0.02, `${list} corner ${i}: ${x},${y}`);
      // The map's cells are 5 cm, row 0 at the top of the 64-cell image.
      assert.ok(Math.abs(image[i][0] - x / 0.05) < 0.01 && Math.abs(image[i][1] - (64 - y / 0.05)) < 0.01,
        `${list} corner ${i}: image ${image[i]} agrees with robot ${x},${y}`);
    });
  }
  console.log('browser test: the robot holds the drawn blocked area and wall in both coordinates');

  const [download] = await Promise.all([page.waitForEvent('download', { timeout: STEP_MS }), page.click('#edit-export')]);
  const exported = join(work, 'exported-map-edit.json');
  await download.saveAs(exported);
  assert.equal(JSON.parse(readFileSync(exported, 'utf8')).Request.Set.ByPass.block_wall.length, 1);
  // Select the wall and delete it, undo that, then delete both and import the export.
  await page.click('[data-tool=select]');
  await page.mouse.click(...(await onMap(page, [2.4, 0.5])));
  await page.locator('#edit-selected', { hasText: 'wall-' }).waitFor({ timeout: STEP_MS });
  await page.click('#edit-delete');
  await page.locator('#edit-summary', { hasText: '1 blocked areas, 0 walls' }).waitFor({ timeout: STEP_MS });
  await page.click('#edit-undo');
  await page.locator('#edit-summary', { hasText: '1 blocked areas, 1 walls' }).waitFor({ timeout: STEP_MS });
  await page.mouse.click(...(await onMap(page, [0.9, 2.6])));
  await page.click('#edit-delete');
  await page.mouse.click(...(await onMap(page, [2.4, 0.5])));
  await page.click('#edit-delete');
  await page.locator('#edit-summary', { hasText: '0 blocked areas, 0 walls' }).waitFor({ timeout: STEP_MS });
  await page.setInputFiles('#edit-import', exported);
  await page.locator('#edit-summary', { hasText: '1 blocked areas, 1 walls' }).waitFor({ timeout: STEP_MS });
  await page.click('[data-tool=off]');
}

// What a script sees of the API beside the page.
async function apiAnswers(base, token) {
  const authorization = `Bearer ${token}`;
  const headers = { Authorization: authorization, 'Content-Type': 'application/json' };
  const post = (path, body) => fetch(`${base}${path}`, { method: 'POST', headers, body });
  const outside = await post('/api/set/target-position', '[9, 9, 0]');
  assert.equal(outside.status, 422, 'a target outside the room is refused');
  assert.match((await outside.json()).error, /refused/);
  assert.equal((await post('/api/set/target-position', '["x", 1, 0]')).status, 400);
  assert.equal((await post('/api/get/no-such-thing', '[]')).status, 404);
  const map = await fetch(`${base}/api/map.png`, { headers: { Authorization: authorization } });
  const png = Buffer.from(await map.arrayBuffer());
  assert.equal(png.subarray(1, 4).toString(), 'PNG');
  assert.deepEqual([png.readUInt32BE(16), png.readUInt32BE(20)], [64, 64], 'the map is 64 cells square');
  assert.equal(map.headers.get('Cache-Control'), 'no-cache');

  const last = await (await fetch(`${base}/api/map-edit`, { headers: { Authorization: authorization } })).json();
  assert.equal(last.Request.Set.ByPass.block_area.length, 1, 'the console keeps the edit it sent');
  last.Request.Set.ByPass.info.modified = 'x'.repeat(40000);
  const tooLarge = await post('/api/map-edit', JSON.stringify(last));
  assert.equal(tooLarge.status, 400);
  assert.match((await tooLarge.json()).error, /one frame\): \d+ bytes too many/);
  const plainText = await fetch(`${base}/api/map-edit`, {
    method: 'POST', headers: { Authorization: authorization, 'Content-Type': 'text/plain' }, body: '{}' });
  assert.equal(plainText.status, 415, 'the map edit wants the JSON content type, like every command');
}

// The commands that reached the robot, as the demo host records them.
const robotRecord = () => readFileSync(join(work, 'robot', 'commands.log'), 'utf8').split('\n').filter(Boolean);

// The page another site serves: each attack a browser lets any page try on
// the console at `target`, and what the page itself learns in `outcomes`.
function attackerPage(target) {
  return `<!doctype html>
<meta charset="utf-8"><title>another site</title>
<iframe name="sink" hidden></iframe>
<form id="stop" method="post" enctype="text/plain" target="sink" action="${target}/api/set/emergency-stop"></form>
<script>
const target = '${target}';
const outcomes = (window.outcomes = {});
const settle = (name, request) =>
  request.then((r) => (outcomes[name] = 'answered ' + r.status), (e) => (outcomes[name] = 'failed: ' + e.message));
const noCors = (path, body) => fetch(target + path, { method: 'POST', mode: 'no-cors', body });
settle('no-cors fetch set target-position', noCors('/api/set/target-position', '[2.5, 0.8, 0]'));
settle('no-cors fetch set driving', noCors('/api/set/driving', '[0]'));
settle('no-cors fetch ota', noCors('/api/ota', 'a text as firmware'));
settle('no-cors fetch map-edit', noCors('/api/map-edit',
  '{"Request": {"Set": {"ByPass": {"info": {"uid": "x"}, "block_area": [{"id": "a", "robot_path": [], "image_path": []}]}}}}'));
settle('JSON fetch set emergency-stop', fetch(target + '/api/set/emergency-stop',
  { method: 'POST', headers: { 'Content-Type': 'application/json' }, body: '[]' }));
const events = new EventSource(target + '/api/events');
events.addEventListener('link', (event) => (outcomes['EventSource'] = 'read ' + event.data));
events.onerror = () => { outcomes['EventSource'] ??= 'failed'; events.close(); };
const map = new Image();
map.onload = () => (outcomes['img of the map'] = 'loaded');
map.onerror = () => (outcomes['img of the map'] = 'failed');
map.src = target + '/api/map.png';
document.getElementById('stop').submit();
outcomes['text/plain form set emergency-stop'] = 'submitted';
</script>`;
}

// A web server of another site on this machine, serving the attacker page.
async function attackerSite(host, port, target) {
  const server = createHttpServer((request, response) => {
    response.writeHead(200, { 'Content-Type': 'text/html' });
    response.end(attackerPage(target));
  });
  await new Promise((resolve, reject) => server.on('error', reject).listen(port, host, resolve));
  return server;
}

// Pages of other origins try every way a browser offers; the robot's own
// record shows that none of it reached the robot.
async function otherSitesAttack(context, target) {
  const attackCommands = [
    'set target-position', 'set driving', 'set ota', 'set ota-data', 'set emergency-stop', 'set by-pass-one-data',
  ];
  const sites = [
    ['127.0.0.2', 9000, 'http://127.0.0.2:9000/'],
    ['127.0.0.1', await freePort(), 'http://localhost:PORT/'],
  ];
  for (const [host, port, address] of sites) {
    const url = address.replace('PORT', port);
    const server = await attackerSite(host, port, target);
    // The host records a command just after answering it: a moment lets
    // the last of the operator's commands land first.
    await new Promise((resolve) => setTimeout(resolve, 500));
    const before = robotRecord().length;
    const page = await context.newPage();
    try {
      await page.goto(url);
      await page.waitForFunction(() => Object.keys(window.outcomes).length === 8, null, { timeout: STEP_MS });
      const outcomes = await page.evaluate(() => window.outcomes);
      // Long enough for the console to relay a command and the robot to take it.
      await new Promise((resolve) => setTimeout(resolve, 2000));
      const reached = robotRecord().slice(before).filter((line) => attackCommands.includes(line));
      console.log(`browser test: a page of ${url} against ${target}:`);
      for (const [attack, outcome] of Object.entries(outcomes)) console.log(`  ${attack}: ${outcome}`);
      console.log(`  reached the robot: ${reached.length ? reached.join(', ') : 'nothing'}`);
      assert.deepEqual(reached, [], `commands from ${url} reached the robot`);
      assert.match(outcomes['JSON fetch set emergency-stop'], /^failed/);
      assert.equal(outcomes['EventSource'], 'failed');
      assert.equal(outcomes['img of the map'], 'failed');
    } finally {
      await page.close();
      // The browser keeps its connection to the site open: close it too.
      server.closeAllConnections();
      await new Promise((resolve) => server.close(resolve));
    }
  }
}

// DNS rebinding: a foreign name that resolves to the console's address
// (chromium maps it, see --host-resolver-rules) reaches the console as its
// own origin. Every route refuses it, the token in hand or not.
async function rebindingRefused(context, port, token) {
  const base = `http://rebind.example:${port}`;
  const page = await context.newPage();
  const statuses = {};
  try {
    for (const path of ['/', `/?token=${token}`, '/console.js', '/api/commands', '/api/map.png', '/api/log'])
      statuses[`GET ${path}`] = (await page.goto(`${base}${path}`)).status();
    await page.goto(`${base}/?token=${token}`);
    const post = (path, type) =>
      page.evaluate(
        ([path, type, token]) =>
          fetch(path, { method: 'POST', headers: { 'Content-Type': type, Authorization: `Bearer ${token}` }, body: '[]' })
            .then((r) => r.status),
        [path, type, token],
      );
    statuses['POST /api/set/emergency-stop'] = await post('/api/set/emergency-stop', 'application/json');
    statuses['POST /api/ota'] = await post('/api/ota', 'application/octet-stream');
    statuses['GET /api/events'] = await page.evaluate(() => fetch('/api/events').then((r) => r.status));
  } finally {
    await page.close();
  }
  console.log(`browser test: ${base} (DNS rebinding): ${JSON.stringify(statuses)}`);
  for (const [route, status] of Object.entries(statuses)) assert.equal(status, 403, `${route} from ${base}`);
}

// The page says when the robot goes away, and the console reconnects.
async function robotRestarts(page, host) {
  host.kill('SIGTERM');
  await page.locator('#banner', { hasText: 'unreachable' }).waitFor({ timeout: STEP_MS });
  await startHost();
  await page.locator('#link-state', { hasText: 'connected' }).waitFor({ timeout: STEP_MS });
  assert.ok(await page.locator('#banner').isHidden());
}

// A second console, with a token, finds the robot held by the first.
async function heldRobotAndToken(port) {
  const base = `http://127.0.0.1:${port}`;
  await start(process.env.CONSOLE, ['--listen', `127.0.0.1:${port}`, '--token', 'secret', '--timeout', '1'], 'open ');
  assert.equal((await fetch(`${base}/api/commands`)).status, 401, 'no token, no answer');
  const headers = { Authorization: 'Bearer secret', 'Content-Type': 'application/json' };
  const deadline = Date.now() + STEP_MS;
  let status;
  do {
    await new Promise((resolve) => setTimeout(resolve, 300));
    status = (await fetch(`${base}/api/get/position`, { method: 'POST', headers, body: '[]' })).status;
  } while (status !== 409 && Date.now() < deadline);
  assert.equal(status, 409, 'a robot held by another client answers 409');
}

const startHost = () => start(process.env.DEMO_HOST, ['--run-dir', join(work, 'robot')], 'demo host: serving');

try {
  const host = await startHost();
  const port = await freePort();
  const labels = join(work, 'labels.json');
  writeFileSync(labels, JSON.stringify({ status: { 0: { label: 'waiting for orders', severity: 'info' } } }));
  const consoleArgs = ['--labels', labels, '--state-dir', join(work, 'console-state')];
  const consoleProgram = await start(process.env.CONSOLE, ['--listen', `127.0.0.1:${port}`, ...consoleArgs], `127.0.0.1:${port}/`);
  // The address to open, printed with its token.
  const address = consoleProgram.output.match(/http:\/\/\S+/)[0];
  const token = new URL(address).searchParams.get('token') ?? '';
  const context = await launchBrowser(work, [
    // A foreign name that resolves to the console's address, as DNS rebinding makes it.
    '--host-resolver-rules=MAP rebind.example 127.0.0.1',
  ]);
  try {
    const page = context.pages()[0] ?? (await context.newPage());
    const problems = [];
    page.on('pageerror', (error) => problems.push(error.message));
    const shots = (panel) => process.env.SCREENSHOT.replace(/\.png$/, `-${panel}.png`);
    await browserSession(page, address);
    await mapEditing(page, shots);
    await page.screenshot({ path: process.env.SCREENSHOT, fullPage: true });
    const drove = robotRecord();
    assert.ok(drove.includes('set target-position') && drove.includes('set emergency-stop'), 'the page drove the robot');
    assert.ok(drove.includes('set by-pass-one-data'), 'the map edit reached the robot');
    await apiAnswers(`http://127.0.0.1:${port}`, token);
    await otherSitesAttack(context, `http://127.0.0.1:${port}`);
    await rebindingRefused(context, port, token);
    await robotRestarts(page, host);
    assert.deepEqual(problems, [], 'the page ran without script errors');
  } finally {
    await context.close();
  }
  await heldRobotAndToken(await freePort());
  console.log('browser test: passed');
} finally {
  stopChildren();
  clearTimeout(watchdog);
  rmSync(work, { recursive: true, force: true });
}
