// Tests of what the page does with numbers: run by "node --test view/tests".
'use strict';

const assert = require('node:assert');
const fs = require('node:fs');
const path = require('node:path');
const test = require('node:test');
const vm = require('node:vm');

const page = vm.createContext({Uint8Array, Uint16Array, Int32Array, Float32Array, Float64Array});
for (const name of ['numbers.js', 'model.js', 'surface.js', 'scene.js', 'facts.js', 'picking.js', 'panel.js']) {
  vm.runInContext(fs.readFileSync(path.join(__dirname, '..', name), 'utf8'), page, name);
}
const of = (expression) => vm.runInContext(expression, page);
const plain = (value) => JSON.parse(JSON.stringify(value));

test('planes of bytes become numbers again', () => {
  assert.deepStrictEqual([...page.unshuffled(new Uint8Array([1, 2, 3, 4, 5, 6]), 2)], [1, 4, 2, 5, 3, 6]);
  // 1.0 is 0x3f800000, -2.5 is 0xc0200000.
  assert.deepStrictEqual([...page.floatsOf(new Uint8Array([0, 0, 0, 0, 0x80, 0x20, 0x3f, 0xc0]))], [1, -2.5]);
  assert.deepStrictEqual([...page.floatsOf(new Uint8Array([]))], []);
});

test('differences add up to whole numbers, and wrap around at 32 bits', () => {
  // 5, then -7 (0xfffffff9), then the largest step up from -2.
  const bytes = [5, 0xf9, 0xff, 0, 0xff, 0xff, 0, 0xff, 0xff, 0, 0xff, 0x7f];
  assert.deepStrictEqual([...page.wholesOf(new Uint8Array(bytes))], [5, -2, 2147483645]);
});

test('steps are sums of differences, or of those to other steps, and wrap around', () => {
  // 0, then up to 65535, then down by one.
  const bytes = new Uint8Array([0, 0xff, 0xff, 0, 0xff, 0xff]);
  assert.deepStrictEqual([...page.stepsOf(bytes, null)], [0, 65535, 65534]);
  assert.deepStrictEqual([...page.stepsOf(bytes, new Uint16Array([7, 7, 0]))], [7, 6, 65535]);
});

test('steps span their range, and holes are no numbers', () => {
  assert.deepStrictEqual([...page.valuesOfSteps([0, 65535, 1], -10, 65525, [0])], [NaN, 65525, -9]);
});

test('magnitudes are lengths, and NaN where a component is', () => {
  assert.deepStrictEqual([...page.magnitudesOf([[3, NaN], [4, 1], [12, 1]])], [13, NaN]);
});

test('colours run from the first of a table to the last, and end there', () => {
  const table = '000102102030ffeedd';
  assert.deepStrictEqual(plain([-1, 0, 0.5, 1, 7].map((t) => page.colourAt(table, t))),
    [[0, 1, 2], [0, 1, 2], [16, 32, 48], [255, 238, 221], [255, 238, 221]]);
});

test('a range has the first of several equal extremes, and passes over what has none', () => {
  const figures = [null, {min: null, max: null}, {min: 2, max: 5}, {min: 2, max: 5}, {min: 3, max: 9}];
  assert.deepStrictEqual(plain(page.rangeOf(figures)), {min: 2, max: 9, minPlace: 2, maxPlace: 4});
  assert.strictEqual(page.rangeOf([null]), null);
});

test('places in a range', () => {
  assert.strictEqual(page.placeInRange(5, {min: 0, max: 10}), 0.5);
  assert.strictEqual(page.placeInRange(7, {min: 7, max: 7}), 0.5);
  assert.strictEqual(page.placeInRange(NaN, {min: 0, max: 1}), null);
  assert.strictEqual(page.placeInRange(Infinity, {min: 0, max: 1}), null);
});

test('scales are round, and one without a displacement', () => {
  assert.strictEqual(page.roundScale(100, 0.25), 20);  // a tenth of 100 is 40 times 0.25
  assert.strictEqual(page.roundScale(100, 10), 1);
  assert.strictEqual(page.roundScale(1e-3, 2e3), 5e-8);
  assert.strictEqual(page.roundScale(0, 1), 1);
  assert.strictEqual(page.roundScale(1, 0), 1);
  assert.strictEqual(page.roundScale(Infinity, 1), 1);
});

test('numbers and sizes as people read them', () => {
  // As they are: floats, also as double precision has them, and what has nine digits at most.
  assert.strictEqual(page.shortText(0.10000000149011612), '0.1');
  assert.strictEqual(page.shortText(0.3333333432674408), '0.33333334');
  assert.strictEqual(page.shortText(-0.000012345678), '-0.000012345678');
  assert.strictEqual(page.shortText(16777217), '16777217');
  assert.strictEqual(page.shortText(1 / 3), '0.3333333');
  assert.strictEqual(page.shortText(1234567890.5), '1234568000');
  assert.strictEqual(page.shortText(null), '–');
  assert.strictEqual(page.sizeText(999), '999 bytes');
  assert.strictEqual(page.sizeText(1184904), '1.18 MB');
  assert.strictEqual(page.shortText(4294967295), '4294967295');
  assert.strictEqual(page.sizeText(999600), '1.00 MB');
});

test('parts of one name are told apart by their ids', () => {
  const parts = [{name: 'Arm', id: 1}, {name: 'Base', id: 2}, {name: 'Arm', id: 3}, {name: '', id: 4}];
  assert.deepStrictEqual(parts.map((part) => page.nameOfPart(part, parts)),
    ['Arm (id 1)', 'Base', 'Arm (id 3)', 'part 4']);
});

test('faces become triangles, lines, points, and each edge once', () => {
  const mesh = {xyz: new Float32Array(18), nodes: [0, 1, 2, 1, 3, 4, 2, 4, 5, 0], lengths: [3, 4, 2, 1],
    triangles: new Int32Array([1, 3, 4, 1, 4, 2])};
  const {kinds, faces} = page.cornersOf(mesh);
  assert.deepStrictEqual(plain(kinds), {triangles: [0, 1, 2, 1, 3, 4, 1, 4, 2], lines: [4, 5], points: [0],
    edges: [0, 1, 1, 2, 0, 2, 1, 3, 3, 4, 2, 4]});
  assert.deepStrictEqual(plain(faces), {triangles: [0, 0, 0, 1, 1, 1, 1, 1, 1], lines: [2, 2], points: [3]});
});

test('a triangle lies under what is inside of it, at its depth', () => {
  const points = [0, 0, 0, 10, 0, 1, 0, 10, 1];
  const depth = of('Scene.depthAt');
  assert.strictEqual(depth(points, 0, 1, 2, 0, 0), 0);
  assert.ok(Math.abs(depth(points, 0, 1, 2, 5, 2.5) - 0.75) < 1e-12);
  assert.strictEqual(depth(points, 0, 1, 2, 6, 6), null);
  assert.strictEqual(depth(points, 0, 0, 0, 0, 0), null);  // it has no inside
});

const contents = () => ({file: 'a.tev', info: {steps: [{text: 'Time = 1'}, {text: 'Time = 2'}], results: [],
  parts: [{id: 5, kind: 'cut-section'}, {id: 7, kind: 'part'}, {id: 9, kind: 'part'}]},
fields: [
  {part: 7, result: 'T', step: null, statistics: {magnitude: null, components: [{min: 1, max: 2}]}},
  {part: 7, result: 'T', step: 'Time = 2', statistics: {magnitude: {max: 4}, components: []}},
  {part: 7, result: 'T', step: 'Time = 2', statistics: null}],
view: {exact: true, steps: [1], parts: [[{}], [{}], []], values: [null, null, null]}});

test('a field is that of its step, the first of several, else the one without a step', () => {
  const model = new (of('PageModel'))(contents(), null);
  assert.strictEqual(model.field(7, 'T', 'Time = 2'), 1);
  assert.strictEqual(model.field(7, 'T', 'Time = 1'), 0);
  assert.strictEqual(model.field(9, 'T', 'Time = 1'), undefined);
  assert.deepStrictEqual([...model.steps], ['Time = 2']);
  assert.deepStrictEqual(plain(model.figures(1, -1)), {max: 4});
  assert.strictEqual(model.figures(0, -1), null);
  assert.strictEqual(model.figures(2, 0), null);
  assert.strictEqual(model.figures(undefined, 0), null);
});

test('steps of very many fields are sums of the fields before them', async () => {
  const values = Array.from({length: 50000}, (_, place) =>
    ({before: place === 0 ? null : place - 1, components: [{data: place === 0 ? 7 : 1}]}));
  const blocks = {bytes: async (name) => new Uint8Array([Number(name), 0])};
  const model = new (of('PageModel'))({...contents(), view: {...contents().view, values}}, blocks);
  assert.deepStrictEqual([...await model.steps16(49999, 0)], [50006]);
  assert.deepStrictEqual([...await model.steps16(3, 0)], [10]);
});

test('what was asked for longest ago is forgotten, and made again', async () => {
  const model = new (of('PageModel'))(contents(), null);
  const made = [];
  const ask = (key) => model.once(key, async () => { made.push(key); return new Uint8Array(10); });
  await Promise.all(['a', 'b', 'c', 'a'].map(ask));
  await model.forget(20);
  await Promise.all(['c', 'a', 'b'].map(ask));
  assert.deepStrictEqual(made, ['a', 'b', 'c', 'b']);
});

test('parts of their own are shown at first, and cuts where there is nothing else', () => {
  const partsAtFirst = of('Panel.partsAtFirst');
  const model = {parts: contents().info.parts, view: {parts: [[{}], [{}], []]}};
  assert.deepStrictEqual(plain(partsAtFirst(model)), [1]);
  model.view.parts = [[{}], [], []];
  assert.deepStrictEqual(plain(partsAtFirst(model)), [0]);
});

test('statistics are one row for each figure', () => {
  const figures = {min: 1, minAt: 4, minIndex: 3, max: 2, maxAt: null, maxIndex: 0, mean: 1.5, rms: 1.6};
  const rows = page.statisticsRows({parts: [{id: 5, name: 'Arm'}], fields: [
    {part: 5, result: 'T', step: null, location: 'node', statistics: {notFinite: 0, magnitude: null, components: [figures]}},
    {part: 5, result: 'U', step: null, location: 'node', statistics: null}]});
  assert.deepStrictEqual(plain(rows), [['Arm', 'T', null, 'node', '1', 1, '4', 2, '[0]', 1.5, 1.6, ''],
    ['Arm', 'U', null, 'node', 'cannot be read']]);
});
