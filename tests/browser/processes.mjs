// What the browser tests share: free loopback ports, programs started and
// awaited by their output, a bound on the whole test, and Debian's chromium.
import { spawn } from 'node:child_process';
import { createRequire } from 'node:module';
import { createServer } from 'node:net';
import { join, resolve } from 'node:path';

const { chromium } = createRequire(resolve(process.env.MODULES, 'package.json'))('playwright-core');
export const STEP_MS = 20000;
const children = [];

export function stopChildren() {
  for (const child of children) if (child.exitCode === null) child.kill('SIGTERM');
}

// Ends the test, whatever hangs, after `seconds`; clearTimeout on the result
// when it is done.
export function watchdog(name, seconds) {
  return setTimeout(() => {
    console.error(`${name}: gave up after ${seconds} s`);
    stopChildren();
    process.exit(1);
  }, seconds * 1000);
}

export async function freePort() {
  const server = createServer();
  await new Promise((done) => server.listen(0, '127.0.0.1', done));
  const { port } = server.address();
  await new Promise((done) => server.close(done));
  return port;
}

// Starts a program and waits for `ready` in its output, which stays in
// child.output.
export function start(program, args, ready) {
  const child = spawn(program, args, { stdio: ['ignore', 'pipe', 'pipe'] });
  children.push(child);
  child.output = '';
  return new Promise((done, fail) => {
    const timer = setTimeout(() => fail(new Error(`${program} did not start:\n${child.output}`)), STEP_MS);
    const take = (chunk) => {
      child.output += chunk;
      if (child.output.includes(ready)) {
        clearTimeout(timer);
        done(child);
      }
    };
    child.stdout.on('data', take);
    child.stderr.on('data', take);
    child.on('exit', (code) => fail(new Error(`${program} ended (${code}):\n${child.output}`)));
  });
}

// Debian's chromium with a profile in `work`. The machine's network is
// closed: no background connections, no sandbox (which needs privileges a
// CI container lacks).
export function launchBrowser(work, extraArgs = []) {
  return chromium.launchPersistentContext(join(work, 'profile'), {
    executablePath: '/usr/bin/chromium',
    headless: true,
    acceptDownloads: true,
    viewport: { width: 1280, height: 1000 },
    args: [
      '--headless',
      '--no-sandbox',
      '--disable-gpu',
      '--disable-quic',
      '--no-first-run',
      '--disable-background-networking',
      '--disable-component-update',
      '--disable-sync',
      ...extraArgs,
    ],
  });
}
