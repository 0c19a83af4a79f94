// The console's fleet page in a real browser: a mosquitto broker on a free
// loopback port, three demo robots, the fleet bridge and two consoles on
// that broker. The page shows the three, pauses one and sends another to a
// point; the robots' own records say what reached them. Run by CTest
// (tests/CMakeLists.txt) with the paths below in the environment.
//   CONSOLE, DEMO_HOST, FLEET   the programs
//   MODULES                     the folder whose node_modules holds playwright-core
//   SCREENSHOT                  where to save the page as the test leaves it
import { existsSync, mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import assert from 'node:assert/strict';

import { STEP_MS, freePort, launchBrowser, start, stopChildren, watchdog } from './processes.mjs';

const SERIALS = ['DEMO-1', 'DEMO-2', 'DEMO-3'];
const work = mkdtempSync(join(tmpdir(), 'robocomm-fleet-browser-'));
const timer = watchdog('fleet browser test', 150);

// The commands that reached a robot, as its demo host records them.
function robotRecord(serial) {
  const file = join(work, serial, 'commands.log');
  return existsSync(file) ? readFileSync(file, 'utf8').split('\n').filter(Boolean) : [];
}

async function recorded(serial, command) {
  const until = Date.now() + STEP_MS;
  while (Date.now() < until) {
    if (robotRecord(serial).includes(command)) return;
    await new Promise((done) => setTimeout(done, 100));
  }
  assert.fail(`${serial} never received ${command}; it has: ${robotRecord(serial).join(', ')}`);
}

async function startSite() {
  const brokerPort = await freePort();
  const conf = join(work, 'mosquitto.conf');
  writeFileSync(conf, `listener ${brokerPort} 127.0.0.1\nallow_anonymous true\npersistence false\nlog_dest stderr\n`);
  await start('mosquitto', ['-c', conf], 'running');
  const robots = [];
  for (const serial of SERIALS) {
    const port = await freePort();
    mkdirSync(join(work, serial));
    await start(process.env.DEMO_HOST, ['--port', port, '--serial', serial, '--run-dir', join(work, serial)], 'demo host: serving');
    robots.push('--robot', `${serial}=127.0.0.1:${port}`);
  }
  const broker = `127.0.0.1:${brokerPort}`;
  await start(process.env.FLEET, ['--broker', broker, ...robots], 'robot(s) on broker');
  return broker;
}

// A console on the broker: the address it prints to open, with its token.
async function startConsole(broker) {
  const port = await freePort();
  const child = await start(process.env.CONSOLE, ['--fleet', broker, '--listen', `127.0.0.1:${port}`], `127.0.0.1:${port}/`);
  const address = child.output.match(/http:\/\/\S+/)[0];
  return { address, base: `http://127.0.0.1:${port}`, token: new URL(address).searchParams.get('token') };
}

const row = (page, serial) => page.locator(`#fleet-table tr[data-serial="${serial}"]`);
const activity = (page, line) => page.locator('#activity li', { hasText: line }).first().waitFor({ timeout: STEP_MS });

async function fleetSession(page, address) {
  await page.goto(address);
  await page.waitForFunction(() => document.querySelectorAll('#fleet-table tr[data-connection="ONLINE"]').length === 3, null, {
    timeout: STEP_MS,
  });
  // They share the demo map: all three on it.
  await page.waitForFunction(() => document.querySelectorAll('#fleet-map .robot').length === 3, null, { timeout: STEP_MS });
  assert.equal(await page.locator('#map-id').textContent(), 'map');

  await row(page, 'DEMO-1').click();
  await page.locator('[data-command="pause"]:not([disabled])').click();
  await activity(page, 'DEMO-1 pause: sent on instantActions');
  await row(page, 'DEMO-1').locator('.driving', { hasText: 'paused' }).waitFor({ timeout: STEP_MS });
  await recorded('DEMO-1', 'set driving');

  await row(page, 'DEMO-2').click();
  // Where (2.4 m, 2.4 m) of the robots' map lies on the screen.
  const target = await page.evaluate(() => {
    const map = document.getElementById('fleet-map');
    const [minX, minY] = [Number(map.dataset.minX), Number(map.dataset.minY)];
    const size = map.viewBox.baseVal.width;
    const point = new DOMPoint(2.4 - minX, minY + size - 2.4).matrixTransform(map.getScreenCTM());
    return { x: point.x, y: point.y };
  });
  await page.mouse.click(target.x, target.y);
  await activity(page, /DEMO-2 to x 2\.\d+ m, y 2\.\d+ m: sent on order/);
  await row(page, 'DEMO-2').locator('.order', { hasText: 'console-order-DEMO-2' }).waitFor({ timeout: STEP_MS });
  await recorded('DEMO-2', 'set target-position');
}

try {
  const broker = await startSite();
  const first = await startConsole(broker);
  const second = await startConsole(broker);
  const context = await launchBrowser(work);
  try {
    const page = context.pages()[0] ?? (await context.newPage());
    const problems = [];
    page.on('pageerror', (error) => problems.push(error.message));
    await fleetSession(page, first.address);
    await page.screenshot({ path: process.env.SCREENSHOT, fullPage: true });
    assert.deepEqual(problems, [], 'the page ran without script errors');
  } finally {
    await context.close();
  }
  assert.ok(!robotRecord('DEMO-1').includes('set target-position'), 'only DEMO-2 was sent away');
  assert.ok(!robotRecord('DEMO-2').includes('set driving'), 'only DEMO-1 was paused');
  assert.deepEqual(robotRecord('DEMO-3').filter((line) => /driving|target-position/.test(line)), [], 'DEMO-3 was left alone');

  // A second console on the broker sees the same fleet, the pause included.
  const answer = await fetch(`${second.base}/api/fleet`, { headers: { Authorization: `Bearer ${second.token}` } });
  assert.equal(answer.status, 200);
  const { robots } = await answer.json();
  assert.deepEqual(robots.map((robot) => robot.serial), SERIALS);
  assert.ok(robots.every((robot) => robot.connection === 'ONLINE'));
  assert.equal(robots.find((robot) => robot.serial === 'DEMO-1').paused, true, 'the second console sees the pause');
  // The API refuses what the robot's factsheet does not list, and a body that is not JSON.
  const post = (path, body, type = 'application/json') =>
    fetch(`${second.base}${path}`, { method: 'POST', headers: { Authorization: `Bearer ${second.token}`, 'Content-Type': type }, body });
  assert.equal((await post('/api/fleet/DEMO-3/dance', '{}')).status, 400);
  assert.equal((await post('/api/fleet/DEMO-9/pause', '{}')).status, 400);
  assert.equal((await post('/api/fleet/DEMO-3/goto', '{"x": "far"}')).status, 400);
  assert.equal((await post('/api/fleet/DEMO-3/pause', '{}', 'text/plain')).status, 415);
  console.log('fleet browser test: passed');
} finally {
  stopChildren();
  clearTimeout(timer);
  rmSync(work, { recursive: true, force: true });
}
