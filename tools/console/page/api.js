// The console's HTTP API, as the page uses it. A console started with
// --token is opened with ?token=... and every request carries it on.
const token = new URLSearchParams(location.search).get('token');

export function apiUrl(path) {
  return token ? `${path}?token=${encodeURIComponent(token)}` : path;
}

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
  return answer(await fetch(apiUrl(`api/${verbAndName}`), { method: 'POST', body: JSON.stringify(params) }));
}

export async function commands() {
  return answer(await fetch(apiUrl('api/commands')));
}

// The names and severities of the robot's codes.
export async function labels() {
  return answer(await fetch(apiUrl('api/labels')));
}

// The robot's verdict on a map-edit document.
export async function sendMapEdit(document) {
  return answer(await fetch(apiUrl('api/map-edit'), { method: 'POST', body: JSON.stringify(document) }));
}

// The map edit last sent to this robot, or null.
export async function lastMapEdit() {
  const response = await fetch(apiUrl('api/map-edit'));
  return response.status === 404 ? null : answer(response);
}

export async function uploadFirmware(file) {
  return answer(await fetch(apiUrl('api/ota'), { method: 'POST', body: file }));
}

export async function mapImage() {
  const response = await fetch(apiUrl('api/map.png'));
  if (!response.ok) return answer(response);
  const [originX, originY] = (response.headers.get('X-Map-Origin') ?? '0 0').split(' ').map(Number);
  return {
    bitmap: await createImageBitmap(await response.blob()),
    resolution: Number(response.headers.get('X-Map-Resolution')),
    originX,
    originY,
  };
}

// Calls handlers[name](data) for each event of the console's stream.
export function subscribe(handlers) {
  const stream = new EventSource(apiUrl('api/events'));
  for (const [name, handler] of Object.entries(handlers))
    stream.addEventListener(name, (event) => handler(JSON.parse(event.data)));
  return stream;
}
