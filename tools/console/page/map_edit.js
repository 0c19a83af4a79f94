// The map editor: rooms, blocked areas and walls drawn on the map as
// corners, charging stations and start positions as points with a heading;
// select, move, delete, undo; sent to the robot as one map-edit document
// (ByPassOneData, code 71) with every place in the robot's coordinates
// (metres) and in the map image's own pixels.

// What each tool draws: its list in the document, the fewest corners (0 for
// a point), and its colours.
const KINDS = {
  room: { list: 'room_list', corners: 3, stroke: '#0f766e', fill: 'rgb(20 184 166 / 20%)' },
  area: { list: 'block_area', corners: 3, stroke: '#b91c1c', fill: 'rgb(220 38 38 / 25%)' },
  wall: { list: 'block_wall', corners: 2, stroke: '#7c2d12' },
  station: { list: 'charging_station', corners: 0, stroke: '#15803d' },
  start: { list: 'init_position', corners: 0, stroke: '#7c3aed' },
};
// How near (canvas pixels) a click must come to pick a shape.
const PICK_PX = 10;
const round = (value, places) => Number(value.toFixed(places));

function pointInPolygon([px, py], corners) {
  let inside = false;
  for (let i = 0, j = corners.length - 1; i < corners.length; j = i++) {
    const [xi, yi] = corners[i];
    const [xj, yj] = corners[j];
    if (yi > py !== yj > py && px < ((xj - xi) * (py - yi)) / (yj - yi) + xi) inside = !inside;
  }
  return inside;
}

function distanceToSegment([px, py], [ax, ay], [bx, by]) {
  const length = (bx - ax) ** 2 + (by - ay) ** 2;
  const t = length ? Math.max(0, Math.min(1, ((px - ax) * (bx - ax) + (py - ay) * (by - ay)) / length)) : 0;
  return Math.hypot(px - (ax + t * (bx - ax)), py - (ay + t * (by - ay)));
}

export class MapEditor {
  // view: the MapView; onChange(editor) after every change.
  constructor(view, onChange) {
    this.view = view;
    this.onChange = onChange;
    this.shapes = [];
    this.history = [];
    this.tool = 'off';
    this.drawing = null;
    this.selected = null;
    this.dragFrom = null;
    this.version = 0;
    this.nextId = 1;
    this.style = { name: '', color: '#14b8a6', desc: '', heading: 0 };
    view.addLayer(this);
    const canvas = view.canvas;
    canvas.addEventListener('pointerdown', (event) => this.press(event));
    canvas.addEventListener('pointermove', (event) => this.drag(event));
    canvas.addEventListener('pointerup', () => this.release());
    canvas.addEventListener('dblclick', () => this.finish());
  }

  capturesClicks() {
    return this.tool !== 'off';
  }

  setTool(tool) {
    this.drawing = null;
    this.tool = tool;
    this.changed();
  }

  changed() {
    this.view.draw();
    this.onChange(this);
  }

  remember() {
    this.history.push(JSON.stringify(this.shapes));
  }

  undo() {
    if (this.drawing?.points.length) this.drawing.points.pop();
    else if (this.history.length) {
      this.shapes = JSON.parse(this.history.pop());
      this.selected = null;
    }
    this.changed();
  }

  deleteSelected() {
    if (!this.selected) return;
    this.remember();
    this.shapes = this.shapes.filter((shape) => shape !== this.selected);
    this.selected = null;
    this.changed();
  }

  // Applies the name, colour, description and heading fields to the selected shape.
  restyle(style) {
    this.style = { ...this.style, ...style };
    if (!this.selected) return;
    this.remember();
    if (this.selected.kind === 'room') Object.assign(this.selected, { name: style.name, color: style.color, desc: style.desc });
    if (!KINDS[this.selected.kind].corners) this.selected.theta = (style.heading * Math.PI) / 180;
    this.changed();
  }

  worldAt(event) {
    const { x, y } = this.view.toWorld(...this.view.canvasPoint(event));
    return { x: round(x, 3), y: round(y, 3) };
  }

  press(event) {
    if (!this.view.map || this.tool === 'off') return;
    const place = this.worldAt(event);
    if (this.tool === 'select') {
      this.selected = this.pick(this.view.canvasPoint(event));
      this.dragFrom = this.selected ? place : null;
      if (this.selected) this.remember();
      return this.changed();
    }
    const kind = KINDS[this.tool];
    if (!kind.corners) {
      this.remember();
      this.add({ kind: this.tool, points: [place], theta: (this.style.heading * Math.PI) / 180 });
      return this.changed();
    }
    this.drawing ??= { kind: this.tool, points: [] };
    // The clicks of a double click that ends the shape add no corner twice.
    const last = this.drawing.points.at(-1);
    if (last && Math.hypot(last.x - place.x, last.y - place.y) < 0.005) return;
    this.drawing.points.push(place);
    this.changed();
  }

  drag(event) {
    if (!this.dragFrom || !this.selected) return;
    const place = this.worldAt(event);
    const dx = place.x - this.dragFrom.x;
    const dy = place.y - this.dragFrom.y;
    this.selected.points = this.selected.points.map((p) => ({ x: round(p.x + dx, 3), y: round(p.y + dy, 3) }));
    this.dragFrom = place;
    this.view.draw();
  }

  release() {
    // A click that moved nothing leaves no step to undo.
    if (this.dragFrom && this.history.at(-1) === JSON.stringify(this.shapes)) this.history.pop();
    this.dragFrom = null;
    this.changed();
  }

  // Ends the shape being drawn (double click, Enter or the Finish button).
  finish() {
    const shape = this.drawing;
    this.drawing = null;
    if (shape && shape.points.length >= KINDS[shape.kind].corners) {
      this.remember();
      this.add(shape);
    }
    this.changed();
  }

  add(shape) {
    const id = `${shape.kind}-${this.nextId++}`;
    const room = shape.kind === 'room' ? { name: this.style.name || id, color: this.style.color, desc: this.style.desc } : {};
    this.shapes.push({ id, ...room, ...shape });
    this.selected = this.shapes.at(-1);
  }

  // The shape nearest the canvas point, points and lines before areas.
  pick(at) {
    const canvasOf = (shape) => shape.points.map((p) => this.view.toCanvas(p.x, p.y));
    const near = (shape) => {
      const corners = canvasOf(shape);
      if (corners.length === 1) return Math.hypot(at[0] - corners[0][0], at[1] - corners[0][1]) <= PICK_PX;
      const closed = shape.kind !== 'wall';
      for (let i = 0; i + 1 < corners.length + (closed ? 1 : 0); ++i)
        if (distanceToSegment(at, corners[i], corners[(i + 1) % corners.length]) <= PICK_PX) return true;
      return false;
    };
    const reversed = [...this.shapes].reverse();
    return reversed.find(near) ?? reversed.find((s) => s.points.length > 2 && pointInPolygon(at, canvasOf(s))) ?? null;
  }

  // The request document robocomm-client send 71 takes.
  document() {
    const image = (p) => {
      const { x, y } = this.view.toImage(p.x, p.y);
      return { x: round(x, 2), y: round(y, 2) };
    };
    const robot = (p) => ({ x: p.x, y: p.y });
    const byPass = {
      info: { uid: `console-${Date.now()}`, version: String(this.version + 1), modified: new Date().toISOString() },
    };
    for (const kind of Object.values(KINDS)) byPass[kind.list] = [];
    for (const shape of this.shapes) {
      const kind = KINDS[shape.kind];
      const element = { id: shape.id };
      if (shape.kind === 'room') Object.assign(element, { name: shape.name, color: shape.color, desc: shape.desc ?? '' });
      if (kind.corners) {
        element.robot_path = shape.points.map(robot);
        element.image_path = shape.points.map(image);
      } else {
        element.robot_position = { ...robot(shape.points[0]), theta: round(shape.theta ?? 0, 4) };
        element.image_position = image(shape.points[0]);
      }
      byPass[kind.list].push(element);
    }
    return { Request: { Set: { ByPass: byPass } } };
  }

  // Takes a document (one sent before, or imported) as the edit to go on from.
  load(document, remember = true) {
    const byPass = document?.Request?.Set?.ByPass;
    if (!byPass || typeof byPass !== 'object') throw new Error('not a map edit: {"Request": {"Set": {"ByPass": ...}}} expected');
    const shapes = [];
    for (const [name, kind] of Object.entries(KINDS)) {
      for (const element of byPass[kind.list] ?? []) {
        const points = kind.corners ? element.robot_path : [element.robot_position];
        if (!Array.isArray(points) || points.some((p) => typeof p?.x !== 'number' || typeof p?.y !== 'number'))
          throw new Error(`${kind.list} ${element.id ?? ''}: its places are not points in metres`);
        shapes.push({ ...element, kind: name, points: points.map(({ x, y }) => ({ x, y })), theta: element.robot_position?.theta });
      }
    }
    if (remember) this.remember();
    for (const shape of shapes) {
      delete shape.robot_path;
      delete shape.image_path;
      delete shape.robot_position;
      delete shape.image_position;
    }
    this.shapes = shapes;
    this.version = Number(byPass.info?.version) || 0;
    this.nextId = shapes.length + 1;
    while (shapes.some((s) => s.id.endsWith(`-${this.nextId}`))) this.nextId++;
    this.selected = null;
    this.changed();
  }

  draw(c, view) {
    for (const shape of this.shapes) this.drawShape(c, view, shape, shape === this.selected);
    if (this.drawing) this.drawShape(c, view, this.drawing, true, true);
  }

  drawShape(c, view, shape, highlighted, open = false) {
    const kind = KINDS[shape.kind];
    const corners = shape.points.map((p) => view.toCanvas(p.x, p.y));
    c.save();
    c.lineWidth = highlighted ? 4 : 2.5;
    c.strokeStyle = shape.kind === 'room' ? shape.color : kind.stroke;
    if (!kind.corners) {
      const [[px, py]] = corners;
      c.translate(px, py);
      c.rotate(-(shape.theta ?? 0));
      c.fillStyle = kind.stroke;
      c.beginPath();
      c.moveTo(12, 0);
      c.lineTo(-8, -8);
      c.lineTo(-4, 0);
      c.lineTo(-8, 8);
      c.closePath();
      c.fill();
      if (highlighted) c.stroke();
      return c.restore();
    }
    c.beginPath();
    corners.forEach(([x, y], i) => (i ? c.lineTo(x, y) : c.moveTo(x, y)));
    if (kind.corners > 2 && !open) {
      c.closePath();
      c.fillStyle = shape.kind === 'room' ? `${shape.color}40` : kind.fill;
      c.fill();
    }
    if (shape.kind === 'area') c.setLineDash([6, 4]);
    c.stroke();
    c.setLineDash([]);
    c.fillStyle = c.strokeStyle;
    for (const [x, y] of open || highlighted ? corners : []) c.fillRect(x - 3, y - 3, 6, 6);
    c.restore();
  }
}
