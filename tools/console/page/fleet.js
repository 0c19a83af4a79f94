// The fleet page: every robot on the console's broker from the event
// stream ("fleet"), and the operator's VDA 5050 actions through the API.
import { fleet, fleetAction, subscribe } from './api.js';
import { log } from './activity.js';

const $ = (id) => document.getElementById(id);
const SVG = 'http://www.w3.org/2000/svg';
// The map shows at least this much room, in metres, and this much around the robots.
const MIN_SIZE = 4;
const MARGIN = 0.5;

let robots = [];
let selected = null;

const rowOf = (serial) => robots.find((robot) => robot.serial === serial);
const percent = (robot) => (robot.battery === undefined ? '—' : `${Math.round(robot.battery)} %${robot.charging ? ' ⚡' : ''}`);
const errorsText = (robot) => (robot.errors.length ? robot.errors.map((error) => error.type).join(', ') : 'none');
const drivingText = (robot) => (robot.paused ? 'paused' : robot.driving ? 'driving' : 'standing');

function cell(text, className) {
  const td = document.createElement('td');
  td.textContent = text;
  if (className) td.className = className;
  return td;
}

function showTable() {
  const body = $('fleet-table').tBodies[0];
  body.replaceChildren();
  for (const robot of robots) {
    const tr = document.createElement('tr');
    tr.dataset.serial = robot.serial;
    tr.dataset.connection = robot.connection;
    tr.classList.toggle('selected', robot.serial === selected);
    tr.append(
      cell(robot.serial),
      cell(robot.connection, 'connection'),
      cell(percent(robot)),
      cell(robot.operatingMode ?? '—'),
      cell(drivingText(robot), 'driving'),
      cell(errorsText(robot), robot.errors.length ? 'errors' : ''),
      cell(robot.orderId || '—', 'order'),
    );
    tr.addEventListener('click', () => select(robot.serial));
    body.append(tr);
  }
  if (!robots.length) {
    const tr = document.createElement('tr');
    tr.className = 'empty';
    tr.append(cell('no robot on the broker yet'));
    tr.firstChild.colSpan = 7;
    body.append(tr);
  }
}

// The map of the selected robot, or of the first robot that has one: all
// robots that share its map id are drawn on it.
function shownMapId() {
  const withPosition = robots.filter((robot) => robot.position);
  const chosen = withPosition.find((robot) => robot.serial === selected) ?? withPosition[0];
  return chosen?.position.mapId ?? null;
}

function bounds(positions) {
  const xs = [0, MIN_SIZE, ...positions.map((p) => p.x - MARGIN), ...positions.map((p) => p.x + MARGIN)];
  const ys = [0, MIN_SIZE, ...positions.map((p) => p.y - MARGIN), ...positions.map((p) => p.y + MARGIN)];
  const minX = Math.floor(Math.min(...xs));
  const minY = Math.floor(Math.min(...ys));
  const size = Math.ceil(Math.max(Math.max(...xs) - minX, Math.max(...ys) - minY));
  return { minX, minY, size };
}

function svg(name, attributes) {
  const element = document.createElementNS(SVG, name);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
  return element;
}

// The view box keeps metres, y upward as on the robots' map.
let frame = { minX: 0, minY: 0, size: MIN_SIZE };
const toView = ({ x, y }) => ({ x: x - frame.minX, y: frame.minY + frame.size - y });

function showMap() {
  const map = $('fleet-map');
  const mapId = shownMapId();
  const onMap = robots.filter((robot) => robot.position && robot.position.mapId === mapId);
  frame = bounds(onMap.map((robot) => robot.position));
  map.setAttribute('viewBox', `0 0 ${frame.size} ${frame.size}`);
  // Where the view box's corner lies on the robots' map, for scripts.
  map.dataset.minX = frame.minX;
  map.dataset.minY = frame.minY;
  map.replaceChildren();
  for (let metre = 0; metre <= frame.size; ++metre) {
    map.append(svg('line', { x1: metre, y1: 0, x2: metre, y2: frame.size, class: 'grid' }));
    map.append(svg('line', { x1: 0, y1: metre, x2: frame.size, y2: metre, class: 'grid' }));
  }
  for (const robot of onMap) {
    const at = toView(robot.position);
    const degrees = (-robot.position.theta * 180) / Math.PI;
    const marker = svg('g', {
      transform: `translate(${at.x} ${at.y}) rotate(${degrees})`,
      class: `robot${robot.serial === selected ? ' selected' : ''}`,
      'data-serial': robot.serial,
      'data-connection': robot.connection,
    });
    marker.append(svg('circle', { r: 0.15 }), svg('line', { x1: 0, y1: 0, x2: 0.22, y2: 0 }));
    const label = svg('text', { x: at.x + 0.2, y: at.y - 0.2, class: 'robot-label' });
    label.textContent = robot.serial;
    map.append(marker, label);
  }
  $('map-id').textContent = mapId ?? '—';
}

function showActions() {
  const robot = rowOf(selected);
  $('selected').textContent = robot ? robot.serial : 'none';
  for (const button of document.querySelectorAll('[data-command]'))
    button.disabled = !robot || !robot.commands.includes(button.dataset.command);
}

function show(update) {
  $('broker').textContent = `broker ${update.broker}`;
  robots = update.robots;
  showTable();
  showMap();
  showActions();
}

function select(serial) {
  selected = serial;
  showTable();
  showMap();
  showActions();
}

async function act(title, commandName, body) {
  const serial = selected;
  try {
    const sent = await fleetAction(serial, commandName, body);
    log($('activity'), `${serial} ${title}: sent on ${sent.topic.split('/').pop()}`);
  } catch (error) {
    log($('activity'), `${serial} ${title}: ${error.message}`, true);
  }
}

for (const button of document.querySelectorAll('[data-command]'))
  button.addEventListener('click', () => act(button.textContent.toLowerCase(), button.dataset.command));

$('fleet-map').addEventListener('click', (event) => {
  if (!selected) return log($('activity'), 'select a robot first (a row of the table)', true);
  const point = new DOMPoint(event.clientX, event.clientY).matrixTransform($('fleet-map').getScreenCTM().inverse());
  const x = Math.round((point.x + frame.minX) * 100) / 100;
  const y = Math.round((frame.minY + frame.size - point.y) * 100) / 100;
  act(`to x ${x} m, y ${y} m`, 'goto', { x, y });
});

subscribe(
  {
    fleet: (update) => {
      $('stream-state').dataset.state = 'up';
      $('stream-state').textContent = 'live';
      show(update);
    },
  },
  () => {
    $('stream-state').dataset.state = 'down';
    $('stream-state').textContent = 'console unreachable';
  },
);
fleet().then(show, (error) => log($('activity'), `fleet: ${error.message}`, true));
