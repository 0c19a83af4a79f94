// The sensor panel: while it is open (and the tab shown) the page renews
// the console's sensor lease, so the console asks the robot for each
// sensor in turn; closed, the console stops asking within a few seconds.
// Each reading is shown readable and raw, and those with a place (lidar,
// line laser, camera objects) are drawn on the map in the robot's frame.
import { renewSensorLease } from './api.js';

const RENEW_MS = 2000;
const MM = 0.001;

const seeing = (reading) => {
  const on = Object.entries(reading).filter(([, flag]) => flag === true).map(([name]) => name);
  return on.length ? `sensing: ${on.join(', ')}` : 'none sensing';
};
const millimetres = (list) => `${list.join(', ')} mm`;
const place = ({ x, y }) => `(${x}, ${y}) mm`;

// Title and readable text of each answer, by its command name.
const SENSORS = {
  'lidar-sensor-status': ['Lidar status', ({ front, rear }) => `front ${front}, rear ${rear}`],
  'lidar-data': ['Lidar', ({ front, rear }) => `front ${front.toFixed(3)} m, rear ${rear.toFixed(3)} m`],
  'sonic-status': ['Sonar', (s) =>
    `left ${s.leftStatus} (${s.LeftSenseing ? 'sensing' : 'clear'}), right ${s.rightStatus} (${s.rightSenseing ? 'sensing' : 'clear'})`],
  'tof-status-v2': ['Time of flight', (t) =>
    `left ${t.leftStatus}: ${millimetres(t.leftDistances)}; right ${t.rightStatus}: ${millimetres(t.rightDistances)}; ` +
    `top ${t.topStatus}: ${t.topDistance} mm`],
  'ir-status': ['Infrared', seeing],
  'recv-ir-status': ['Station infrared', seeing],
  'cliff-ir-status': ['Cliff infrared', seeing],
  'line-laser-status-v2': ['Line laser', ({ status, positions }) =>
    `status ${status}; ${positions.map((p) => `${place(p)} ${p.distance} mm away, height ${p.height}, direction ${p.direction}`).join('; ') || 'no points'}`],
  'camera-status-v2': ['Camera', ({ status, objects }) =>
    `status ${status}; ${objects.map((o) => `class ${o.classID} (${o.confidence} %) at ${place(o)}, ${o.theta}°, ` +
      `${o.width}×${o.height} mm, ${o.distance} mm away`).join('; ') || 'no objects'}`],
};

const readings = new Map();

// A point in the robot's frame (metres ahead, metres to the left) on the map.
function onMap(view, pose, ahead, left) {
  const cos = Math.cos(pose.theta);
  const sin = Math.sin(pose.theta);
  return view.toCanvas(pose.x + ahead * cos - left * sin, pose.y + ahead * sin + left * cos);
}

function dot(c, [x, y], colour, size = 5) {
  c.fillStyle = colour;
  c.beginPath();
  c.arc(x, y, size, 0, 2 * Math.PI);
  c.fill();
}

// The map layer: the readings that have a place, while the panel is open.
class SensorLayer {
  constructor(panel) {
    this.panel = panel;
  }

  capturesClicks() {
    return false;
  }

  draw(c, view) {
    const pose = view.robot;
    if (!this.panel.open || !pose) return;
    const lidar = readings.get('lidar-data');
    if (lidar) {
      dot(c, onMap(view, pose, lidar.front, 0), '#0891b2');
      dot(c, onMap(view, pose, -lidar.rear, 0), '#0891b2');
    }
    for (const p of readings.get('line-laser-status-v2')?.positions ?? [])
      dot(c, onMap(view, pose, p.x * MM, p.y * MM), '#d97706', 4);
    for (const o of readings.get('camera-status-v2')?.objects ?? []) {
      const [x, y] = onMap(view, pose, o.x * MM, o.y * MM);
      c.strokeStyle = '#7c3aed';
      c.lineWidth = 2;
      c.strokeRect(x - 7, y - 7, 14, 14);
      c.fillStyle = '#7c3aed';
      c.font = '11px system-ui, sans-serif';
      c.fillText(`class ${o.classID}`, x + 9, y + 4);
    }
  }
}

function show(name, reading) {
  readings.set(name, reading);
  const row = document.querySelector(`[data-sensor="${name}"]`);
  if (!reading) {
    row.querySelector('.reading').textContent = 'no answer';
    return;
  }
  row.querySelector('.reading').textContent = SENSORS[name][1](reading);
  row.querySelector('code').textContent = JSON.stringify(reading);
}

function buildRows(list) {
  list.replaceChildren(
    ...Object.entries(SENSORS).map(([name, [title]]) => {
      const row = document.createElement('li');
      row.dataset.sensor = name;
      const heading = document.createElement('b');
      heading.textContent = title;
      const reading = document.createElement('span');
      reading.className = 'reading';
      reading.textContent = '—';
      const raw = document.createElement('code');
      row.append(heading, reading, raw);
      return row;
    }),
  );
}

// The event stream's handlers; `redraw` is set once the map is known.
let redraw = () => {};
export const sensorEvents = Object.fromEntries(
  Object.keys(SENSORS).map((name) => [name, (reading) => {
    show(name, reading);
    redraw();
  }]),
);

// panel: the <details> element; log(text, failed): the activity list.
export function sensorPanel(panel, view, log) {
  buildRows(panel.querySelector('ul'));
  view.addLayer(new SensorLayer(panel));
  redraw = () => view.draw();
  let timer = null;
  const renew = () =>
    renewSensorLease().catch((error) => log(`Sensors: ${error.message}`, true));
  const update = () => {
    const wanted = panel.open && !document.hidden;
    if (wanted && !timer) {
      renew();
      timer = setInterval(renew, RENEW_MS);
    } else if (!wanted && timer) {
      clearInterval(timer);
      timer = null;
    }
    view.draw();
  };
  panel.addEventListener('toggle', update);
  document.addEventListener('visibilitychange', update);
  update();
}
