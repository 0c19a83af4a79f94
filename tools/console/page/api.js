// The console's HTTP API, as the page uses it. The page was opened with
// ?token=...; the console answered with a cookie that carries the token from
// then on, so the address bar need not show it.
if (new URLSearchParams(location.search).has('token')) history.replaceState(null, '', location.pathname);

// The JSON answer, or an Error with the console's message.
async function answer(response) {
  const body = response.headers.get('Content-Type')?.startsWith('application/json') ? await response.json() : {};
  if (!response.ok) {
    const error = new Error(body.error ?? `HTTP ${response.status}`);
    error.status = response.status;
    throw error;
  }
  return body;
}

// verbAndName: "get/position", "set/target-position".
export async function command(verbAndName, params = []) {
  const headers = { 'Content-Type': 'application/json' };
  return answer(await fetch(`api/${verbAndName}`, { method: 'POST', headers, body: JSON.stringify(params) }));
}

export async function commands() {
  return answer(await fetch('api/commands'));
}

// The names and severities of the robot's codes.
export async function labels() {
  return answer(await fetch('api/labels'));
}

// The robot's verdict on a map-edit document.
export async function sendMapEdit(document) {
  const headers = { 'Content-Type': 'application/json' };
  return answer(await fetch('api/map-edit', { method: 'POST', headers, body: JSON.stringify(document) }));
}

// The map edit last sent to this robot, or null.
export async function lastMapEdit() {
  const response = await fetch('api/map-edit');
  return response.status === 404 ? null : answer(response);
}

// The console's last hour of battery and speed: {samples: [{time, percent, voltage, current, speed}]}.
export async function robotHistory() {
  return answer(await fetch('api/history'));
}

// Keeps the console polling the sensors for a few seconds more.
export async function renewSensorLease() {
  const headers = { 'Content-Type': 'application/json' };
  return answer(await fetch('api/sensors/lease', { method: 'POST', headers, body: '{}' }));
}

// Driving by hand: {linear, angular} in m/s and rad/s, or zero with the
// reason the page let go. keepalive: the zero a closing page sends still
// reaches the console.
export async function teleop(body) {
  const headers = { 'Content-Type': 'application/json' };
  return answer(await fetch('api/teleop', { method: 'POST', headers, body: JSON.stringify(body), keepalive: true }));
}

export async function uploadFirmware(file) {
  const headers = { 'Content-Type': 'application/octet-stream' };
  return answer(await fetch('api/ota', { method: 'POST', headers, body: file }));
}

export async function mapImage() {
  const response = await fetch('api/map.png');
  if (!response.ok) return answer(response);
  const [originX, originY] = (response.headers.get('X-Map-Origin') ?? '0 0').split(' ').map(Number);
  return {
    bitmap: await createImageBitmap(await response.blob()),
    resolution: Number(response.headers.get('X-Map-Resolution')),
    originX,
    originY,
  };
}

// How long the page waits before it asks again for a stream the console
// turned away (503: too many open).
const STREAM_RETRY_MS = 5000;

// Calls handlers[name](data) for each event of the console's stream, and
// failed() whenever the stream fails. The browser reopens a stream that
// broke off by itself, but not one the console refused: that is reopened here.
export function subscribe(handlers, failed) {
  const stream = new EventSource('api/events');
  for (const [name, handler] of Object.entries(handlers))
    stream.addEventListener(name, (event) => handler(JSON.parse(event.data)));
  stream.addEventListener('error', () => {
    failed();
    if (stream.readyState === EventSource.CLOSED) setTimeout(() => subscribe(handlers, failed), STREAM_RETRY_MS);
  });
}

// The fleet page's table: {broker, robots}.
export async function fleet() {
  return answer(await fetch('api/fleet'));
}

// command: pause, resume, cancel, charge, stop-charging, stop, or goto with {x, y}.
export async function fleetAction(serial, command, body = {}) {
  const headers = { 'Content-Type': 'application/json' };
  const path = `api/fleet/${encodeURIComponent(serial)}/${command}`;
  return answer(await fetch(path, { method: 'POST', headers, body: JSON.stringify(body) }));
}
