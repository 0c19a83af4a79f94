// Driving by hand: an on-screen joystick, and the arrow keys or WASD while
// the map has the keyboard. While held, the wanted velocity goes to the
// console every REFRESH_MS; letting go, the map or the window losing focus,
// a hidden tab, a closing page and a lost event stream send zero with the
// reason. The console has its own dead man's switch: when these words stop
// coming it stops the robot itself. What the page shows is the console's
// word on the event stream ("teleop"), not its own guess.
import { teleop } from './api.js';

const REFRESH_MS = 150;
// [forward, left] for each key, letters in lower case.
const KEYS = {
  ArrowUp: [1, 0], w: [1, 0],
  ArrowDown: [-1, 0], s: [-1, 0],
  ArrowLeft: [0, 1], a: [0, 1],
  ArrowRight: [0, -1], d: [0, -1],
};

const clampUnit = (value) => Math.max(-1, Math.min(1, value));
const keyName = (event) => (event.key.length === 1 ? event.key.toLowerCase() : event.key);

// elements: { pad, knob, state, limits, keyboard (the map's canvas) };
// log(text, failed) tells the operator. Returns { show(state), streamLost() }.
export function teleopPad(elements, log) {
  const { pad, knob, keyboard } = elements;
  const held = new Set();
  let stick = null; // [forward, left], each -1..1, while the pad is held
  let limits = null; // from the console
  let refresh = null;
  let active = false; // a velocity was sent since the last zero
  let failed = false; // said once per hold

  function send(body) {
    teleop(body).then(
      () => (failed = false),
      (error) => {
        if (!failed) log(`Drive by hand: ${error.message}`, true);
        failed = true;
      },
    );
  }

  // The unit command of the pad, else of the keys.
  function unitCommand() {
    if (stick) return stick;
    let forward = 0;
    let left = 0;
    for (const key of held) {
      forward += KEYS[key][0];
      left += KEYS[key][1];
    }
    return [clampUnit(forward), clampUnit(left)];
  }

  function wanted() {
    const [forward, left] = unitCommand();
    return { linear: forward * limits.linear, angular: left * limits.angular };
  }

  // A hold starts with a word at once; changes during it go with the next
  // refresh, so that a moving pointer does not flood the console.
  function update() {
    // The knob shows the command, keys' included, within the pad's rim.
    const [forward, left] = unitCommand();
    const reach = (pad.clientWidth - knob.clientWidth) / 2;
    knob.style.transform = `translate(${-left * reach}px, ${-forward * reach}px)`;
    if (!limits) return;
    const velocity = wanted();
    if (velocity.linear === 0 && velocity.angular === 0) return letGo('released');
    active = true;
    if (refresh) return;
    send(velocity);
    refresh = setInterval(() => send(wanted()), REFRESH_MS);
  }

  function letGo(reason) {
    held.clear();
    stick = null;
    knob.style.transform = '';
    clearInterval(refresh);
    refresh = null;
    if (active) send({ linear: 0, angular: 0, reason });
    active = false;
    failed = false;
  }

  keyboard.addEventListener('keydown', (event) => {
    const key = keyName(event);
    if (!(key in KEYS) || event.ctrlKey || event.metaKey || event.altKey) return;
    event.preventDefault(); // arrows would scroll the page
    if (held.has(key)) return;
    held.add(key);
    update();
  });
  keyboard.addEventListener('keyup', (event) => {
    if (!held.delete(keyName(event))) return;
    update();
  });
  // Pressing the pad takes the focus from the map: only held keys are let go.
  keyboard.addEventListener('blur', () => {
    if (held.size && !stick) letGo('focus-lost');
  });
  window.addEventListener('blur', () => letGo('focus-lost'));
  document.addEventListener('visibilitychange', () => {
    if (document.hidden) letGo('tab-hidden');
  });
  window.addEventListener('pagehide', () => letGo('page-closed'));

  // The pad: up drives forward, left turns left, further out goes faster.
  function steer(event) {
    const box = pad.getBoundingClientRect();
    const radius = box.width / 2;
    const dx = (event.clientX - box.left - radius) / radius;
    const dy = (event.clientY - box.top - radius) / radius;
    const out = Math.hypot(dx, dy);
    const [x, y] = out > 1 ? [dx / out, dy / out] : [dx, dy];
    stick = [-y, -x];
    update();
  }
  pad.addEventListener('pointerdown', (event) => {
    pad.setPointerCapture(event.pointerId);
    steer(event);
  });
  pad.addEventListener('pointermove', (event) => {
    if (pad.hasPointerCapture(event.pointerId)) steer(event);
  });
  pad.addEventListener('lostpointercapture', () => letGo('released'));

  return {
    show(state) {
      limits = { linear: state.maxLinear, angular: state.maxAngular };
      elements.limits.textContent = `limits ${state.maxLinear} m/s, ${state.maxAngular} rad/s`;
      elements.state.dataset.state = state.state;
      elements.state.textContent =
        state.state === 'driving'
          ? `driving ${state.linear.toFixed(2)} m/s, ${state.angular.toFixed(2)} rad/s`
          : `stopped: ${state.reason}`;
    },
    streamLost: () => letGo('stream-lost'),
  };
}
