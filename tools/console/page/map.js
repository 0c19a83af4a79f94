// The map view: the robot's map image with the robot (position and
// heading) and its target drawn over it, and clicks turned into places in
// the robot's own coordinates (metres; y grows upwards, row 0 of the image
// is the top).
export class MapView {
  constructor(canvas, onPick) {
    this.canvas = canvas;
    this.context = canvas.getContext('2d');
    this.map = null;
    this.robot = null;
    this.target = null;
    // Drawn over the map in turn: { draw(context, view), capturesClicks() }.
    this.layers = [];
    canvas.addEventListener('click', (event) => {
      if (!this.map || this.layers.some((layer) => layer.capturesClicks())) return;
      onPick(this.toWorld(...this.canvasPoint(event)));
    });
  }

  addLayer(layer) {
    this.layers.push(layer);
    this.draw();
  }

  // The canvas pixel under a mouse or pointer event.
  canvasPoint(event) {
    const box = this.canvas.getBoundingClientRect();
    return [
      ((event.clientX - box.left) / box.width) * this.canvas.width,
      ((event.clientY - box.top) / box.height) * this.canvas.height,
    ];
  }

  // The map image's own pixel (column, row from the top) of a place.
  toImage(x, y) {
    const { bitmap, resolution, originX, originY } = this.map;
    return { x: (x - originX) / resolution, y: bitmap.height - (y - originY) / resolution };
  }

  // The canvas stays busy until the first map arrives: clicks mean nothing before.
  setMap(map) {
    this.map = map;
    this.canvas.removeAttribute('aria-busy');
    this.draw();
  }

  setRobot(pose) { this.robot = pose; this.draw(); }
  setTarget(pose) { this.target = pose; this.draw(); }

  // Canvas pixels per map cell, the map centred in the canvas.
  scale() {
    const { bitmap } = this.map;
    return Math.min(this.canvas.width / bitmap.width, this.canvas.height / bitmap.height);
  }

  offset() {
    const { bitmap } = this.map;
    const s = this.scale();
    return [(this.canvas.width - bitmap.width * s) / 2, (this.canvas.height - bitmap.height * s) / 2];
  }

  toCanvas(x, y) {
    const { bitmap, resolution, originX, originY } = this.map;
    const s = this.scale();
    const [ox, oy] = this.offset();
    return [ox + ((x - originX) / resolution) * s, oy + (bitmap.height - (y - originY) / resolution) * s];
  }

  toWorld(px, py) {
    const { bitmap, resolution, originX, originY } = this.map;
    const s = this.scale();
    const [ox, oy] = this.offset();
    return { x: originX + ((px - ox) / s) * resolution, y: originY + (bitmap.height - (py - oy) / s) * resolution };
  }

  draw() {
    const c = this.context;
    c.clearRect(0, 0, this.canvas.width, this.canvas.height);
    if (!this.map) return;
    const { bitmap } = this.map;
    const s = this.scale();
    const [ox, oy] = this.offset();
    c.imageSmoothingEnabled = false;
    c.drawImage(bitmap, ox, oy, bitmap.width * s, bitmap.height * s);
    for (const layer of this.layers) layer.draw(c, this);
    if (this.target) this.drawTarget(this.target);
    if (this.robot) this.drawRobot(this.robot);
  }

  drawTarget({ x, y }) {
    const c = this.context;
    const [px, py] = this.toCanvas(x, y);
    c.strokeStyle = '#2563eb';
    c.lineWidth = 3;
    c.beginPath();
    c.arc(px, py, 11, 0, 2 * Math.PI);
    c.moveTo(px - 17, py);
    c.lineTo(px + 17, py);
    c.moveTo(px, py - 17);
    c.lineTo(px, py + 17);
    c.stroke();
  }

  drawRobot({ x, y, theta }) {
    const c = this.context;
    const [px, py] = this.toCanvas(x, y);
    c.save();
    c.translate(px, py);
    // The canvas's y grows downwards: a positive heading turns the other way.
    c.rotate(-theta);
    c.fillStyle = '#dc2626';
    c.strokeStyle = 'white';
    c.lineWidth = 2.5;
    c.beginPath();
    c.arc(0, 0, 12, 0, 2 * Math.PI);
    c.fill();
    c.stroke();
    c.beginPath();
    c.moveTo(10, 0);
    c.lineTo(-5, -7);
    c.lineTo(-5, 7);
    c.closePath();
    c.fillStyle = 'white';
    c.fill();
    c.restore();
  }
}
