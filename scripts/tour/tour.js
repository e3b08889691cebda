import * as THREE from 'three';
import { OrbitControls } from 'three/orbit';

// What the page's test reads: faults, and which views have drawn.
const errors = [];
const report = () => { document.body.dataset.errors = JSON.stringify(errors); };
window.addEventListener('error', (event) => { errors.push(String(event.message)); report(); });
window.addEventListener('unhandledrejection', (event) => { errors.push(String(event.reason)); report(); });
report();

const data = JSON.parse(document.getElementById('data').textContent);

function decoded(text, Type) {
  const bytes = Uint8Array.from(atob(text), (c) => c.charCodeAt(0));
  return new Type(bytes.buffer);
}

const INSIDE = 0xc4302b;
const SURFACE = new THREE.Color(0x9fb2c8);
const FILLED = new THREE.Color(0xe8a33d);

// Every face twice: the outside shaded, the inside in flat red, so that a hole shows.
function meshes(side) {
  const geometry = new THREE.BufferGeometry();
  geometry.setAttribute('position', new THREE.BufferAttribute(decoded(side.points, Float32Array), 3));
  geometry.setIndex(new THREE.BufferAttribute(decoded(side.faces, Uint32Array), 1));
  const filled = decoded(side.filled, Uint8Array);
  const colors = new Float32Array(3 * filled.length);
  filled.forEach((is, i) => (is ? FILLED : SURFACE).toArray(colors, 3 * i));
  geometry.setAttribute('color', new THREE.BufferAttribute(colors, 3));
  geometry.computeVertexNormals();
  const outside = new THREE.Mesh(geometry,
    new THREE.MeshStandardMaterial({ vertexColors: true, roughness: 0.75, side: THREE.FrontSide }));
  const inside = new THREE.Mesh(geometry, new THREE.MeshBasicMaterial({ color: INSIDE, side: THREE.BackSide }));
  const rims = new THREE.BufferGeometry();
  rims.setAttribute('position', new THREE.BufferAttribute(decoded(side.rings, Float32Array), 3));
  const lines = new THREE.LineSegments(rims, new THREE.LineBasicMaterial({ color: 0xb00000 }));
  return new THREE.Group().add(outside, inside, lines);
}

class View {
  // `sphere` is what the camera looks at: of the repaired mesh, which has no debris round it.
  constructor(id, side, sphere) {
    this.canvas = document.getElementById(id);
    // Kept after drawing, so that what was drawn can be read back.
    this.renderer = new THREE.WebGLRenderer({ canvas: this.canvas, antialias: true, preserveDrawingBuffer: true });
    this.renderer.setClearColor(0xfdfdfe);
    this.scene = new THREE.Scene();
    this.scene.add(meshes(side));
    this.center = sphere.center;
    this.radius = sphere.radius;
    this.camera = new THREE.PerspectiveCamera(32, 4 / 3, this.radius / 50, this.radius * 20);
    this.camera.position.copy(this.center).add(new THREE.Vector3(0.25, 0.35, 1).setLength(3.3 * this.radius));
    this.scene.add(new THREE.HemisphereLight(0xffffff, 0x8794a5, 1.3));
    const sun = new THREE.DirectionalLight(0xffffff, 1.9);
    sun.position.set(-1, 1.2, 1.5);
    this.camera.add(sun);
    this.scene.add(this.camera);
    this.controls = new OrbitControls(this.camera, this.canvas);
    this.controls.target.copy(this.center);
    this.controls.update();
  }
  draw() {
    const width = this.canvas.clientWidth;
    const height = this.canvas.clientHeight;
    this.renderer.setPixelRatio(Math.min(window.devicePixelRatio, 2));
    this.renderer.setSize(width, height, false);
    this.camera.aspect = width / height;
    this.camera.updateProjectionMatrix();
    this.renderer.render(this.scene, this.camera);
  }
  // Share of the pixels that aren't background.
  drawn() {
    const gl = this.renderer.getContext();
    const { drawingBufferWidth: w, drawingBufferHeight: h } = gl;
    const pixels = new Uint8Array(4 * w * h);
    gl.readPixels(0, 0, w, h, gl.RGBA, gl.UNSIGNED_BYTE, pixels);
    let count = 0;
    for (let i = 0; i < pixels.length; i += 4) if (pixels[i] + pixels[i + 1] + pixels[i + 2] < 720) ++count;
    return count / (w * h);
  }
}

const sphere = new THREE.Sphere();
new THREE.Box3().setFromArray(decoded(data.repaired.points, Float32Array)).getBoundingSphere(sphere);
const views = { scan: new View('scan', data.scan, sphere), repaired: new View('repaired', data.repaired, sphere) };
const [left, right] = [views.scan, views.repaired];
function drawBoth() { left.draw(); right.draw(); }
// One turns with the other.
function follow(from, to) {
  from.controls.addEventListener('change', () => {
    to.camera.position.copy(from.camera.position).sub(from.controls.target).add(to.controls.target);
    to.camera.quaternion.copy(from.camera.quaternion);
    drawBoth();
  });
}
follow(left, right);
follow(right, left);
new ResizeObserver(drawBoth).observe(left.canvas);
drawBoth();

const format = (x) => x.toLocaleString('en', { maximumSignificantDigits: 3 });
const whole = (x) => x.toLocaleString('en');

function table(head, rows) {
  const row = (cells, tag) => `<tr>${cells.map((c) => `<${tag}>${c}</${tag}>`).join('')}</tr>`;
  return `<table>${row(head, 'th')}${rows.map((r) => row(r, 'td')).join('')}</table>`;
}

const COLORS = ['var(--scan)', 'var(--repaired)'];
function chart({ title, high, series }) {
  const [w, h, base] = [520, 200, 168];
  const bins = series[0].counts.length;
  const shares = series.map((s) => s.counts.map((c) => c / Math.max(1, s.counts.reduce((a, b) => a + b))));
  const most = Math.max(...shares.flat(), 1e-9);
  const color = (i) => COLORS[series.length === 1 ? 1 : i];
  const steps = shares.map((values, i) => {
    const points = values.map((v, k) => {
      const y = base - (v / most) * (base - 26);
      return `${(k / bins) * w},${y} ${((k + 1) / bins) * w},${y}`;
    });
    return `<polygon points="0,${base} ${points.join(' ')} ${w},${base}" fill="${color(i)}" fill-opacity="0.28" stroke="${color(i)}"/>`;
  });
  const legend = series.map((s, i) => `<tspan fill="${color(i)}">■</tspan> ${s.name}, mean ${format(s.mean)} `).join(' ');
  return `<div><h2>${title}</h2><svg viewBox="0 0 ${w} ${h}" role="img" aria-label="${title}">
    <text x="4" y="14">${legend}</text>${steps.join('')}
    <line x1="0" x2="${w}" y1="${base}" y2="${base}" stroke="var(--line)"/>
    <text x="0" y="${base + 18}">0</text><text x="${w / 2}" y="${base + 18}" text-anchor="middle">${format(high / 2)}</text>
    <text x="${w}" y="${base + 18}" text-anchor="end">${format(high)} and more</text></svg></div>`;
}

const { before, filled, after, steps } = data.report;
document.getElementById('summary').textContent =
  `${whole(data.report.fills)} rings filled, ${whole(data.report.debris)} faces of debris dropped, ` +
  `${whole(before.open_edges)} open edges before and ${whole(after.open_edges)} after.`;
document.getElementById('scan-text').textContent = `${whole(before.faces)} faces, ${whole(before.rings)} holes`;
document.getElementById('repaired-text').textContent = `${whole(after.faces)} faces, ${whole(after.rings)} holes`;
document.getElementById('charts').innerHTML = data.histograms.map(chart).join('');
const row = (name, key) => [name, ...[before, filled, after].map((e) => whole(e[key]))];
document.getElementById('counts').innerHTML = '<h2>Elements</h2>' + table(['', 'scan', 'filled', 'saved'],
  [row('faces', 'faces'), row('vertices', 'vertices'), row('rings', 'rings'), row('open edges', 'open_edges')]);
const total = steps.reduce((sum, s) => sum + s.seconds, 0);
document.getElementById('steps').innerHTML = '<h2>Steps</h2>' + table(['step', 'seconds'],
  [...steps.map((s) => [s.name, s.seconds.toFixed(3)]), ['all', total.toFixed(3)]]) +
  `<p>Peak memory ${whole(data.report.peak_mib)} MiB.</p>`;

// The page's own check, asked for by #check: both views have drawn, and a drag turns both.
if (location.hash === '#check') {
  requestAnimationFrame(() => requestAnimationFrame(() => {
    const shares = Object.values(views).map((view) => view.drawn());
    const before_drag = right.camera.position.clone();
    const event = (type, x) => left.canvas.dispatchEvent(new PointerEvent(type,
      { pointerId: 1, pointerType: 'mouse', button: 0, buttons: type === 'pointerup' ? 0 : 1, clientX: x, clientY: 200, bubbles: true }));
    left.canvas.setPointerCapture = () => {};
    left.canvas.releasePointerCapture = () => {};
    event('pointerdown', 200);
    event('pointermove', 320);
    event('pointerup', 320);
    document.body.dataset.turned = String(right.camera.position.distanceTo(before_drag) > right.radius / 10);
    document.body.dataset.drawn = JSON.stringify(shares);
    document.body.dataset.charts = String(document.querySelectorAll('#charts polygon').length);
  }));
}
