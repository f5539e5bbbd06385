// The facts below the view: tables of what the model holds. Names of a model become text, never
// markup.
'use strict';

/** An element with a text or children in it. */
function made(tag, content, attributes = {}) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    element.setAttribute(name, value);
  }
  element.append(...(Array.isArray(content) ? content : [content ?? '']).map((each) =>
    each instanceof Node ? each : String(each)));
  return element;
}

const MOST_ROWS = 20000;

/** A section with a table of "rows", each a list of texts and numbers; nothing without rows. */
function tableSection(heading, columns, rows) {
  if (rows.length === 0) {
    return [];
  }
  const cell = (value) => typeof value === 'number'
    ? made('td', shortText(value), {class: 'number', title: String(value)}) : made('td', value);
  const table = made('table', [
    made('thead', made('tr', columns.map((name) => made('th', name, {scope: 'col'})))),
    made('tbody', rows.slice(0, MOST_ROWS).map((row) => made('tr', row.map(cell)))),
  ]);
  const rest = rows.length - MOST_ROWS;
  return [made('section', [made('h2', heading + ' (' + rows.length + ')'),
    made('div', table, {class: 'table', tabindex: 0, role: 'region', 'aria-label': heading}),
    ...(rest > 0 ? [made('p', 'and ' + rest + ' more')] : [])])];
}

/** The rows of all fields that "tev results --stats" tells of. */
function statisticsRows(model) {
  const nameOf = new Map(model.parts.map((part) => [part.id, nameOfPart(part, model.parts)]));
  const rows = [];
  for (const field of model.fields) {
    const head = [nameOf.get(field.part), field.result, field.step, field.location];
    const statistics = field.statistics;
    if (!statistics) {
      rows.push([...head, 'cannot be read']);
      continue;
    }
    const place = (id, index) => index === null ? '' : id === null ? '[' + index + ']' : String(id);
    const add = (name, each) => rows.push([...head, name, each.min, place(each.minAt, each.minIndex),
      each.max, place(each.maxAt, each.maxIndex), each.mean, each.rms, statistics.notFinite || '']);
    if (statistics.magnitude) {
      add('magnitude', statistics.magnitude);
    }
    statistics.components.forEach((each, i) => add(String(i + 1), each));
  }
  return rows;
}

function overviewRows(model) {
  const {info} = model;
  const file = ({path, type, bytes}) => [path, type, bytes && sizeText(bytes)].filter(Boolean).join(', ');
  const units = info.units ? [info.units.length, info.units.scale && shortText(info.units.scale) + ' m'] : [];
  return [['Title', info.title], ['Category', info.category], ['File', sizeText(info.bytes) + ' (' + info.bytes + ' bytes)'],
    ['Version', info.version], ['Nodes', info.nodes], ['Elements', info.elements],
    ['Units', units.filter(Boolean).join(', ')], ['Model file', file(info.modelFile)],
    ['Results file', file(info.resultsFile)],
  ].filter(([, value]) => value !== null && value !== '');
}

function showFacts(model, into) {
  const {info} = model;
  const rows = (list, ...keys) => list.map((each) => keys.map((key) => each[key]));
  const statistics = statisticsRows(model);
  into.append(
    ...tableSection('Model', ['Fact', 'Value'], overviewRows(model)),
    ...tableSection('Programs', ['Role', 'Name', 'Version', 'User', 'Date', 'Comment'],
      rows(info.programs, 'role', 'name', 'version', 'user', 'date', 'comment')),
    ...tableSection('Parts', ['Id', 'Name', 'Kind', 'Nodes', 'Elements', 'Nodes/element', 'Coordinates', 'Groups'],
      info.parts.map((part) => [part.id, part.name, part.kind, part.nodes, part.elements,
        part.nodesPerElement, part.sharesWith === null ? 'own' : 'of part ' + part.sharesWith, part.path.join(' / ')])),
    ...tableSection('Steps', ['Step', 'Subtitle'], rows(info.steps, 'text', 'subtitle')),
    ...tableSection('Results', ['Name', 'Components', 'Location'],
      rows(info.results, 'name', 'components', 'location')),
    ...tableSection('Statistics', ['Part', 'Result', 'Step', 'Location', 'Component', 'Min', 'At',
      'Max', 'At', 'Mean', 'RMS', 'Not finite'], statistics),
    ...tableSection('Node sets', ['Name', 'Members'], rows(info.nodeSets, 'name', 'members')),
    ...tableSection('Attributes', ['Name', 'Value'], rows(info.attributes, 'name', 'value')));
}
