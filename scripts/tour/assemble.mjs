// Makes the page of its parts: assemble.mjs THREE_DIRECTORY TOUR.json STEPS.json OUT.html
import { readFileSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

const [three, tour, steps, out] = process.argv.slice(2);
const here = dirname(fileURLToPath(import.meta.url));
const part = (name) => readFileSync(join(here, name), 'utf8');
const module = (path) =>
  'data:text/javascript;base64,' + readFileSync(join(three, path)).toString('base64');

const imports = {
  three: module('build/three.module.min.js'),
  'three/orbit': module('examples/jsm/controls/OrbitControls.js'),
};
const data = { ...JSON.parse(readFileSync(tour, 'utf8')), report: JSON.parse(readFileSync(steps, 'utf8')) };
const parts = {
  STYLE: part('style.css'),
  IMPORTS: JSON.stringify({ imports }),
  // Nothing in the data may end the element it stands in.
  DATA: JSON.stringify(data).replaceAll('<', '\\u003c'),
  SCRIPT: part('tour.js'),
};
const page = part('page.html').replace(/\/\*([A-Z]+)\*\//g, (_, name) => parts[name]);
writeFileSync(out, page);
