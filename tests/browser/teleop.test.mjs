// Driving by hand in a real browser: a demo robot and the console on free
// loopback ports, Debian's chromium driven by playwright-core. Held keys and
// the joystick drive the robot, letting go stops it, and a page or script
// that goes away, or the console's own end, leaves the robot stopped; the
// robot's own record (commands.log) says what reached it and when. Run by
// CTest (tests/CMakeLists.txt) with the paths below in the environment.
//   CONSOLE, DEMO_HOST   the two programs
//   MODULES              the folder whose node_modules holds playwright-core
//   SCREENSHOT           where to save the pad as the robot drives
import { mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import assert from 'node:assert/strict';

import { STEP_MS, freePort, launchBrowser, start, stopChildren, watchdog } from './processes.mjs';

const work = mkdtempSync(join(tmpdir(), 'robocomm-teleop-browser-'));
const timer = watchdog('teleop browser test', 120);
const sleep = (ms) => new Promise((done) => setTimeout(done, ms));

// The manual drives that reached the robot, in order: [linear, angular].
function drives() {
  return readFileSync(join(work, 'robot', 'commands.log'), 'utf8')
    .split('\n')
    .filter((line) => line.startsWith('set motor-manual-vw '))
    .map((line) => line.split(' ').slice(2).map(Number));
}
const moving = ([linear, angular]) => linear !== 0 || angular !== 0;

// Waits until the robot's record, past `from` lines, holds a drive that
// `wanted` accepts; the time it took in ms.
async function robotTook(what, wanted, from = 0) {
  const begun = Date.now();
  while (Date.now() - begun < STEP_MS) {
    if (drives().slice(from).some(wanted)) return Date.now() - begun;
    await sleep(20);
  }
  assert.fail(`the robot never took ${what}; it took ${JSON.stringify(drives().slice(from))}`);
}

async function startSite() {
  const robotPort = await freePort();
  await start(process.env.DEMO_HOST, ['--port', robotPort, '--run-dir', join(work, 'robot')], 'demo host: serving');
  const port = await freePort();
  const args = ['--port', robotPort, '--listen', `127.0.0.1:${port}`, '--max-linear', '0.25', '--max-angular', '0.5'];
  const program = await start(process.env.CONSOLE, args, `127.0.0.1:${port}/`);
  const address = program.output.match(/http:\/\/\S+/)[0];
  return { program, address, base: `http://127.0.0.1:${port}`, token: new URL(address).searchParams.get('token') };
}

// Arrow keys on the map, the pad, and the map losing focus.
async function drivingByHand(page, address) {
  const state = (text) => page.locator('#teleop-state', { hasText: text }).waitFor({ timeout: STEP_MS });
  await page.goto(address);
  await page.locator('#link-state', { hasText: 'connected' }).waitFor({ timeout: STEP_MS });
  await state('stopped: not driven yet');
  assert.equal(await page.locator('#teleop-limits').textContent(), 'limits 0.25 m/s, 0.5 rad/s');

  await page.focus('#map');
  await page.keyboard.down('ArrowUp');
  await state('driving 0.25 m/s, 0.00 rad/s');
  await robotTook('0.25 m/s ahead', ([linear, angular]) => linear === 0.25 && angular === 0);
  // Held for a second: the console tells the robot again, within the link's pacing.
  await sleep(1000);
  await page.locator('.teleop-card').screenshot({ path: process.env.SCREENSHOT });
  const held = drives().length;
  assert.ok(held >= 2 && held <= 5, `${held} commands for a second's drive`);
  await page.keyboard.up('ArrowUp');
  await state('stopped: released');
  await robotTook('zero after the release', (drive) => !moving(drive), held);
  console.log(`teleop browser test: arrow key held, ${held} commands, then zero`);

  // The pad: up and to the left drives forward turning left; letting go stops.
  const pad = await page.locator('#teleop-pad').boundingBox();
  const [cx, cy] = [pad.x + pad.width / 2, pad.y + pad.height / 2];
  let from = drives().length;
  await page.mouse.move(cx, cy);
  await page.mouse.down();
  await page.mouse.move(cx - pad.width / 4, cy - pad.height / 2, { steps: 5 });
  await robotTook('forward and to the left', ([linear, angular]) => linear > 0.1 && angular > 0.05, from);
  from = drives().length;
  await page.mouse.up();
  await state('stopped: released');
  await robotTook('zero after the pad', (drive) => !moving(drive), from);

  // Backwards turning right, then the map loses the keyboard.
  await page.focus('#map');
  await page.keyboard.down('s');
  await page.keyboard.down('d');
  await robotTook('backwards to the right', ([linear, angular]) => linear === -0.25 && angular === -0.5);
  from = drives().length;
  await page.focus('#raw-command');
  await state('stopped: focus lost');
  await robotTook('zero on losing focus', (drive) => !moving(drive), from);
  await page.keyboard.up('s');
  await page.keyboard.up('d');
}

// The page closes while the robot drives: zero within a second.
async function pageCloses(page) {
  await page.focus('#map');
  await page.keyboard.down('ArrowRight');
  await robotTook('a turn on the spot', ([linear, angular]) => linear === 0 && angular === -0.5);
  const from = drives().length;
  await page.close();
  const took = await robotTook('zero after the page closed', (drive) => !moving(drive), from);
  assert.ok(took < 1000, `zero came ${took} ms after the page closed`);
  console.log(`teleop browser test: page closed while driving, zero after ${took} ms`);
}

// The kept "teleop" event, as a page that connects now gets it.
async function teleopEvent(base, token) {
  const controller = new AbortController();
  const response = await fetch(`${base}/api/events`, { headers: { Authorization: `Bearer ${token}` }, signal: controller.signal });
  const reader = response.body.getReader();
  let text = '';
  while (!/event: teleop\ndata: .*\n/.test(text)) text += new TextDecoder().decode((await reader.read()).value);
  controller.abort();
  return JSON.parse(text.match(/event: teleop\ndata: (.*)\n/)[1]);
}

// A script drives once and falls silent: the console stops the robot itself.
async function scriptFallsSilent(base, token) {
  const headers = { Authorization: `Bearer ${token}`, 'Content-Type': 'application/json' };
  const drive = (body) => fetch(`${base}/api/teleop`, { method: 'POST', headers, body: JSON.stringify(body) });
  const from = drives().length;
  const answer = await drive({ linear: 9, angular: 0 });
  assert.equal(answer.status, 200);
  await robotTook('the clamped speed', ([linear]) => linear === 0.25, from);
  const took = await robotTook('zero from the console', (drive) => !moving(drive), drives().length);
  const event = await teleopEvent(base, token);
  assert.equal(event.state, 'stopped');
  assert.equal(event.reason, 'no fresh command for 500 ms');
  assert.equal((await drive({ linear: 0, angular: 0, reason: 'dozing' })).status, 400);
  console.log(`teleop browser test: a silent script's drive stopped by the console after ${took} ms`);
  return drive;
}

// The console ends while a script drives: its last word to the robot is zero.
async function consoleStops(consoleProgram, drive) {
  const from = drives().length;
  let driving = true;
  const keepDriving = (async () => {
    while (driving) {
      await drive({ linear: 0.1, angular: 0 }).catch(() => {});
      await sleep(100);
    }
  })();
  await robotTook('0.1 m/s', ([linear]) => linear === 0.1, from);
  const ended = new Promise((done) => consoleProgram.on('exit', done));
  consoleProgram.kill('SIGTERM');
  await ended;
  driving = false;
  await keepDriving;
  // The robot records a command just after answering it.
  await robotTook('zero as the console stopped', (drive) => !moving(drive), from);
  assert.deepEqual(drives().at(-1), [0, 0], 'the console left the robot stopped');
}

try {
  const started = Date.now();
  const site = await startSite();
  const context = await launchBrowser(work);
  try {
    const page = context.pages()[0] ?? (await context.newPage());
    const problems = [];
    page.on('pageerror', (error) => problems.push(error.message));
    await drivingByHand(page, site.address);
    await pageCloses(page);
    assert.deepEqual(problems, [], 'the page ran without script errors');
  } finally {
    await context.close();
  }
  const drive = await scriptFallsSilent(site.base, site.token);
  await consoleStops(site.program, drive);
  console.log(`teleop browser test: passed in ${((Date.now() - started) / 1000).toFixed(1)} s`);
} finally {
  stopChildren();
  clearTimeout(timer);
  rmSync(work, { recursive: true, force: true });
}
