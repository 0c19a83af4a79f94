// The console page: the robot's state from the event stream, and the
// operator's orders through the API.
import { command, commands, mapImage, subscribe, uploadFirmware } from './api.js';
import { MapView } from './map.js';
import { log as logActivity } from './activity.js';
import { label, loadLabels, showLabel } from './labels.js';
import { mapEditPanel } from './map_edit_panel.js';
import { plotEvents, plotPanel } from './plots.js';
import { sensorEvents, sensorPanel } from './sensors.js';
import { teleopPad } from './teleop.js';

const $ = (id) => document.getElementById(id);
// How often the map image is fetched again while the link is up.
const MAP_REFRESH_MS = 5000;
const LINK_TEXT = {
  up: 'connected',
  connecting: 'connecting…',
  down: 'robot unreachable',
  held: 'robot busy',
  console: 'console unreachable',
};

let linkUp = false;
let pose = null;

const log = (text, failed = false) => logActivity($('activity'), text, failed);

// Runs an order, telling the operator how it went; the answer or null.
async function order(title, verbAndName, params = []) {
  try {
    const answer = await command(verbAndName, params);
    log(`${title}: ${answer.outcome ?? 'done'}`);
    return answer;
  } catch (error) {
    log(`${title}: ${error.message}`, true);
    return null;
  }
}

const degrees = (radians) => Math.round((radians * 180) / Math.PI);
const poseText = ({ x, y, theta }) => `x ${x.toFixed(2)} m, y ${y.toFixed(2)} m, ${degrees(theta)}°`;

function ask(text) {
  $('confirm-text').textContent = text;
  $('confirm').showModal();
  return new Promise((resolve) => {
    $('confirm').addEventListener('close', () => resolve($('confirm').returnValue === 'ok'), { once: true });
  });
}

const view = new MapView($('map'), async ({ x, y }) => {
  // Face the way the robot will travel.
  const theta = pose ? Math.atan2(y - pose.y, x - pose.x) : 0;
  const target = { x: Math.round(x * 100) / 100, y: Math.round(y * 100) / 100, theta: Math.round(theta * 100) / 100 };
  if (!(await ask(`Send the robot to ${poseText(target)}?`))) return;
  if (await order('Target position', 'set/target-position', [target.x, target.y, target.theta])) view.setTarget(target);
});

async function refreshMap() {
  if (linkUp) {
    try {
      view.setMap(await mapImage());
    } catch (error) {
      log(`Map: ${error.message}`, true);
    }
  }
  setTimeout(refreshMap, MAP_REFRESH_MS);
}

function showLink({ state, reason, robot }) {
  const wasUp = linkUp;
  linkUp = state === 'up';
  $('link-state').dataset.state = state;
  $('link-state').textContent = LINK_TEXT[state] ?? state;
  const banner = {
    down: `The robot at ${robot} is unreachable (${reason}). The console keeps trying.`,
    held: `Another client holds the robot at ${robot}: it serves one client at a time. The console keeps trying.`,
    console: 'The console does not answer. The page keeps trying.',
  }[state];
  $('banner').hidden = !banner;
  $('banner').textContent = banner ?? '';
  if (linkUp && !wasUp) mapImage().then((map) => view.setMap(map), () => {});
}

function showBattery(battery) {
  const percent = battery.batteryPercent;
  $('battery').textContent = `${percent} %`;
  $('battery-fill').style.width = `${Math.max(0, Math.min(100, percent))}%`;
  $('battery-fill').className = percent < 20 ? 'low' : percent < 50 ? 'mid' : '';
  const flow = battery.batteryCurrent > 0 ? 'charging' : 'discharging';
  $('battery-detail').textContent =
    `${battery.batteryVoltage.toFixed(2)} V, ${battery.batteryCurrent.toFixed(2)} A (${flow}), ` +
    `${battery.batteryTemperature1} °C, ${battery.numberOfCycles} cycles`;
}

function showErrors(list) {
  const errors = list ?? [];
  $('errors').replaceChildren(
    ...(errors.length ? errors : [null]).map((error) => {
      const item = document.createElement('li');
      if (!error) {
        item.className = 'none';
        item.textContent = 'no open errors';
      } else {
        const { text, severity } = label('errors', error.errorCode);
        const detail = document.createElement('small');
        detail.textContent = `rank ${error.rank}${error.resolved ? ', resolved' : ''}`;
        item.append(text, detail);
        item.dataset.severity = severity;
      }
      return item;
    }),
  );
  $('acknowledge').disabled = errors.length === 0;
}

const pad = teleopPad(
  { pad: $('teleop-pad'), knob: $('teleop-knob'), state: $('teleop-state'), limits: $('teleop-limits'), keyboard: $('map') },
  log,
);

// Names first, so that the first codes the stream brings are shown with them.
await loadLabels().catch((error) => log(`Labels: ${error.message}`, true));
subscribe(
  {
    link: showLink,
    'software-version': ({ version }) => ($('version').textContent = version),
    'robot-info': ({ serialNumber }) => ($('serial').textContent = serialNumber),
    position: (p) => {
      pose = p;
      $('position').textContent = poseText(p);
      view.setRobot(p);
    },
    'target-position': (t) => {
      $('target').textContent = poseText(t);
      view.setTarget(t);
    },
    'robot-status': ({ status }) => showLabel($('robot-status'), 'status', status),
    'docking-status': ({ state }) => showLabel($('docking'), 'docking', state),
    'battery-status-v2': showBattery,
    'error-list': showErrors,
    push: ({ name }) => log(`The robot pushed ${name}`),
    ota: ({ sent, total, robotPercent }) => {
      $('firmware-progress').value = Math.floor((sent * 100) / total);
      $('firmware-state').textContent = `${Math.floor((sent * 100) / total)} % sent, the robot reports ${robotPercent} %`;
    },
    log: ({ got, total }) => ($('log-state').textContent = `${Math.floor((got * 100) / total)} % received`),
    ...plotEvents,
    ...sensorEvents,
    teleop: pad.show,
  },
  // Until the stream is back the page says so; the console then sends the link state anew.
  // Driving blind is no driving: the pad lets go.
  () => {
    showLink({ state: 'console' });
    pad.streamLost();
  },
);

$('emergency-stop').addEventListener('click', () => order('Emergency stop', 'set/emergency-stop'));
$('recovery').addEventListener('click', () => order('Recovery', 'set/recovery'));
for (const button of document.querySelectorAll('[data-command]'))
  button.addEventListener('click', () =>
    order(button.textContent, button.dataset.command, JSON.parse(button.dataset.params)));

$('acknowledge').addEventListener('click', async () => {
  if (await order('Acknowledge errors', 'set/error')) showErrors(null);
});

$('firmware').addEventListener('submit', async (event) => {
  event.preventDefault();
  const file = $('firmware-file').files[0];
  $('firmware-progress').value = 0;
  $('firmware-state').textContent = `sending ${file.name}…`;
  try {
    const verdict = await uploadFirmware(file);
    $('firmware-state').textContent = `${file.name}: accepted by the robot (SHA-256 ${verdict.sha256.slice(0, 16)}…)`;
    log(`Firmware ${file.name}: accepted`);
  } catch (error) {
    $('firmware-state').textContent = `${file.name}: ${error.message}`;
    log(`Firmware ${file.name}: ${error.message}`, true);
  }
});

// The raw command panel: a form generated from the vocabulary.
async function buildCommandPanel() {
  const list = await commands();
  const select = $('raw-command');
  for (const verb of ['get', 'set']) {
    const group = document.createElement('optgroup');
    group.label = verb;
    for (const c of list.filter((c) => c.verb === verb)) group.append(new Option(`${c.code} ${c.name}`, `${verb}/${c.name}`));
    select.append(group);
  }
  const byValue = new Map(list.map((c) => [`${c.verb}/${c.name}`, c]));
  const showParams = () => {
    const c = byValue.get(select.value);
    $('raw-params').replaceChildren(
      ...c.parameters.map((p) => {
        const input = document.createElement('input');
        input.name = p.name;
        input.placeholder = p.unit ? `${p.name} (${p.unit})` : p.name;
        input.title = `${p.name}: ${p.accepts}`;
        input.required = true;
        return input;
      }),
    );
    $('raw-help').textContent = [c.usage, c.remark].filter(Boolean).join(' — ');
  };
  select.addEventListener('change', showParams);
  showParams();
  $('raw').addEventListener('submit', async (event) => {
    event.preventDefault();
    const params = [...$('raw-params').querySelectorAll('input')].map((input) => input.value);
    const answer = await order(select.value.replace('/', ' '), select.value, params);
    $('raw-answer').textContent = answer ? JSON.stringify(answer, null, 2) : '';
  });
}

buildCommandPanel().catch((error) => log(`Commands: ${error.message}`, true));
mapEditPanel(view, log).catch((error) => log(`Map edit: ${error.message}`, true));
plotPanel().catch((error) => log(`History: ${error.message}`, true));
sensorPanel($('sensors'), view, log);
refreshMap();
