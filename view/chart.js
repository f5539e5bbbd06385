// The legend, and the chart of the maximum over the steps.
'use strict';

const SVG = 'http://www.w3.org/2000/svg';

function drawn(tag, attributes, ...children) {
  const element = document.createElementNS(SVG, tag);
  for (const [name, value] of Object.entries(attributes)) {
    element.setAttribute(name, value);
  }
  element.append(...children);
  return element;
}

/** "points" are {text, value, step}: "step" is null for one that the page leaves out. */
function showChart(figure, title, points, here, choose) {
  const known = points.filter((point) => point.value !== null);
  figure.hidden = known.length < 2;
  if (figure.hidden) {
    return;
  }
  const [width, height, left, edge] = [640, 180, 90, 20];
  const range = rangeOf(known.map(({value}) => ({min: value, max: value})));
  const x = (i) => left + (i / Math.max(points.length - 1, 1)) * (width - left - edge);
  const y = (value) => height - edge - placeInRange(value, range) * (height - 2 * edge);
  const svg = drawn('svg', {viewBox: `0 0 ${width} ${height}`, role: 'img', 'aria-label': title},
    drawn('path', {class: 'axis', fill: 'none', d: `M${left} ${edge / 2}V${height - edge}H${width - edge}`}),
    drawn('text', {x: left - 6, y: y(range.max) + 4, 'text-anchor': 'end'}, shortText(range.max)),
    drawn('text', {x: left - 6, y: y(range.min) + 4, 'text-anchor': 'end'}, shortText(range.min)),
    drawn('polyline', {class: 'curve', points: points.map((point, i) => [point, i])
      .filter(([point]) => point.value !== null).map(([point, i]) => x(i) + ',' + y(point.value)).join(' ')}));
  points.forEach((point, i) => {
    if (point.value !== null) {
      const dot = drawn('circle', {cx: x(i), cy: y(point.value), r: point.step === here ? 6 : 4,
        class: point.step === here ? 'dot here' : 'dot'},
      drawn('title', {}, point.text + ': ' + point.value));
      dot.addEventListener('click', () => point.step !== null && choose(point.step));
      svg.append(dot);
    }
  });
  figure.querySelector('figcaption').textContent = title;
  figure.querySelector('svg')?.remove();
  figure.append(svg);
}

const LEGEND_NUMBERS = 5;

/** Colours with their numbers, the greatest on top; hidden without a range. */
function showLegend(legend, title, range, colours) {
  legend.hidden = !range;
  if (!range) {
    return;
  }
  const bar = legend.querySelector('canvas');
  const context = bar.getContext('2d');
  for (let i = 0; i < bar.height; i++) {
    context.fillStyle = 'rgb(' + colourAt(colours, 1 - i / (bar.height - 1)).join(',') + ')';
    context.fillRect(0, i, 1, 1);
  }
  const numbers = Array.from({length: LEGEND_NUMBERS}, (_, i) =>
    i === 0 ? range.max : i + 1 === LEGEND_NUMBERS ? range.min
      : range.max - (i / (LEGEND_NUMBERS - 1)) * (range.max - range.min));
  legend.querySelector('p').textContent = title;
  legend.querySelector('ol').replaceChildren(...numbers.map((number) =>
    made('li', shortText(number), {title: String(number)})));
  legend.setAttribute('aria-label', title + ': colours from ' + shortText(range.min) + ' to ' + shortText(range.max));
}
