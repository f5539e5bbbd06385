// The marks of the least and the greatest value, and what the page tells of a place.
'use strict';

const byId = (id) => document.getElementById(id);

/** What the panel, which says what is shown, does with marks and picked places. */
class Picking {
  constructor(model, scene) {
    this.model = model;
    this.scene = scene;
    this.marks = [];
    this.tellAgain = () => {};
  }

  makeMarks() {
    const focused = [...byId('overlay').children].indexOf(document.activeElement);
    this.marks = [];
    if (this.result && byId('marks').checked) {
      const rows = this.figuresAt(this.result.name, this.component, this.stepText);
      const range = rangeOf(rows.map(({figures}) => figures));
      if (range) {
        this.marks.push(this.markOf('max', rows[range.maxPlace]), this.markOf('min', rows[range.minPlace]));
      }
    }
    byId('overlay').replaceChildren(...this.marks.map(({button}) => button));
    this.marks[focused]?.button.focus({preventScroll: true});
  }

  /** Goes on from the mark that has the focus to the next one that is seen. */
  focusMark() {
    const buttons = this.marks.map(({button}) => button).filter(({hidden}) => !hidden);
    buttons[(buttons.indexOf(document.activeElement) + 1) % buttons.length]?.focus({preventScroll: true});
  }

  markOf(end, {part, field, figures}) {
    const points = this.model.marks(field, this.component)?.[end] || [];
    const name = end === 'max' ? 'Maximum' : 'Minimum';
    const stored = this.model.view.values[field];  // which knows it also where the step has no mesh
    const kind = stored ? (stored.ofFaces ? 'element' : 'node') : this.model.fields[field].location;
    const id = figures[end + 'At'] ?? '[' + figures[end + 'Index'] + ']';
    const button = made('button', made('span', shortText(figures[end])), {type: 'button', class: 'mark ' + end,
      'aria-label': name + ' of ' + this.shownName + ': ' + figures[end] + ' at ' + kind + ' ' + id});
    const tell = () => this.tell(part, name + ' of ' + this.shownName + ' = ' + figures[end], kind, id,
      this.positionOf({part, points}));
    button.addEventListener('click', () => {
      this.tellAgain = () => this.tellMark(end);
      tell();
    });
    return {end, button, part, points, tell};
  }

  /** The mark is another one when something else is shown. */
  tellMark(end) {
    const mark = this.marks.find((each) => each.end === end);
    if (mark) {
      mark.tell();
    } else {
      byId('picked').textContent = '';
    }
  }

  /** The middle of the points of a mark, as the mesh has them, deformed where "scale" says so. */
  positionOf({part, points}, scale = 0) {
    const surface = this.scene.surfaces.get(part);
    if (!surface || points.length === 0) {
      return null;
    }
    const all = points.map((node) => surface.point(node, scale));
    return [0, 1, 2].map((i) => all.reduce((sum, point) => sum + point[i], 0) / all.length);
  }

  placeMarks() {
    for (const mark of this.marks) {
      const position = this.positionOf(mark, this.scene.scale);
      const isSeen = position !== null && position.every(Number.isFinite);
      mark.button.hidden = !isSeen;
      if (isSeen) {
        const [x, y] = this.scene.project(position);
        const room = 100;  // for the label, which stands on the side that has it
        const width = this.scene.canvas.clientWidth;
        mark.button.classList.toggle('turned', mark.end === 'max' ? x > width - room && x > room : x < room && x < width - room);
        mark.button.style.left = x + 'px';
        mark.button.style.top = y + 'px';
      }
    }
  }

  tell(part, what, kind, id, position, node = null) {
    const {name, id: partId} = this.model.parts[part];
    const where = (node === null ? '' : ', nearest node ' + node) + (position ? ', at (' + position.map(shortText).join(', ') + ')' : '');
    byId('picked').textContent = what + ', ' + kind + ' ' + id + ' of part "' + name + '" (id ' + partId + ')' + where;
  }

  pick(x, y) {
    const found = this.scene.pick(x, y);
    const mesh = found && this.scene.surfaces.get(found.part).mesh;
    this.tellAgain = () => this.tellPlace(found, mesh);
    this.tellAgain();
  }

  /** What is at a place of a mesh now; nothing where that is not shown any more. */
  async tellPlace(found, mesh) {
    const surface = found && this.scene.surfaces.get(found.part);
    if (!surface || surface.mesh !== mesh) {
      byId('picked').textContent = '';
      return;
    }
    const {turn} = this;
    const field = this.result
      ? this.model.field(this.model.parts[found.part].id, this.result.name, this.stepText) : undefined;
    const ofFaces = field !== undefined && this.model.view.values[field]?.ofFaces;
    const values = await this.model.values(field, this.component);
    if (turn !== this.turn) {
      return;  // it is told anew when that is shown
    }
    const idText = (id, isId) => isId ? id : '[' + id + ']';
    const node = idText(mesh.nodeIds[found.node], mesh.hasNodeIds);
    const value = values ? values[ofFaces ? found.face : found.node] : null;
    const sign = this.model.view.exact ? ' = ' : ' ≈ ';
    this.tell(found.part, this.result ? this.shownName + sign + shortText(value) : 'Picked',
      ofFaces ? 'element' : 'node', ofFaces ? idText(mesh.faceIds[found.face], mesh.hasElementIds) : node,
      surface.point(found.node, 0), ofFaces ? node : null);
  }
}
