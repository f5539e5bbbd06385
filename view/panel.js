// What the reader chooses, and what follows from it on the page.
'use strict';

const MOST_KEPT = 256e6;  // bytes of unpacked numbers

class Panel extends Picking {
  constructor(model, scene) {
    super(model, scene);
    this.shown = new Set(Panel.partsAtFirst(model));
    this.results = model.results();
    const {start} = model.view;
    this.result = this.results.find(({name}) => name === start.result) || this.results[0] || null;
    this.component = Panel.usualComponent(this.result);
    const step = model.view.steps.indexOf(start.step);
    this.step = step < 0 ? Math.max(model.steps.length - 1, 0) : step;
    this.turn = 0;
    this.playing = null;
  }

  /** Parts that are no cuts, surfaces or flow lines; all where there are no others. */
  static partsAtFirst(model) {
    const places = model.parts.map((_, place) => place)
      .filter((place) => model.view.parts[place].length > 0);
    const own = places.filter((place) => ['part', 'shape'].includes(model.parts[place].kind));
    return own.length > 0 ? own : places;
  }

  /** The magnitude, -1, of what has one, else the first component. */
  static usualComponent(result) {
    return result && result.components === 3 ? -1 : 0;
  }

  get stepText() {
    return this.model.steps.length > 0 ? this.model.steps[this.step] : null;
  }

  get colours() {
    return this.model.view.colours[byId('cividis').checked ? 'cividis' : 'viridis'];
  }

  // --- Controls ---------------------------------------------------------------------------------

  async start() {
    this.fillControls();
    this.listen();
    await this.show();
    this.scene.look('iso');
  }

  fillControls() {
    const {model} = this;
    byId('result').append(made('option', 'none', {value: ''}),
      ...this.results.map((result, i) => made('option', result.name, {value: i})));
    byId('result').value = this.result ? this.results.indexOf(this.result) : '';
    this.fillComponents();
    byId('step').max = Math.max(model.steps.length - 1, 0);
    byId('step').value = this.step;
    for (const id of ['step', 'play', 'step-back', 'step-on']) {
      byId(id).disabled = model.steps.length < 2;
    }
    byId('views').append(...Object.keys(VIEWS).map((name) =>
      made('button', name, {type: 'button', 'data-view': name})), made('button', 'Fit', {type: 'button', id: 'fit'}));
    byId('parts').append(...model.parts.map((part, place) => this.partItem(part, place)));
    const vectors = this.results.filter((result) => result.components === 3 && result.location !== 'element');
    byId('displacement').append(...vectors.map((result) => made('option', result.name, {value: result.name})));
    const usual = vectors.find((result) => /displ|deform/i.test(result.name));
    byId('displacement').value = (usual || vectors[0] || {name: ''}).name;
    byId('deformation').hidden = vectors.length === 0;
    byId('controls').hidden = false;
    byId('figure').hidden = false;
  }

  partItem(part, place) {
    const box = made('input', '', {type: 'checkbox', 'data-part': place});
    box.checked = this.shown.has(place);
    box.disabled = this.model.view.parts[place].length === 0;
    return made('li', made('label', [box, made('span', nameOfPart(part, this.model.parts))],
      {title: part.kind + ', id ' + part.id}));
  }

  fillComponents() {
    const width = this.result ? this.result.components || 1 : 0;
    const names = Array.from({length: width}, (_, i) => [i, String(i + 1)]);
    if (width === 3) {
      names.unshift([-1, 'magnitude']);
    }
    byId('component').replaceChildren(...names.map(([value, name]) => made('option', name, {value})));
    byId('component').disabled = names.length < 2;
    byId('component').value = this.component;
  }

  listen() {
    const on = (id, event, act) => byId(id).addEventListener(event, act);
    const showing = (id, act) => on(id, 'change', () => { act(byId(id)); this.show(); });
    on('controls', 'submit', (event) => event.preventDefault());
    on('controls', 'input', Panel.changed);
    on('controls', 'click', ({target}) => target.matches('button') && Panel.changed());
    showing('result', ({value}) => {
      this.result = value === '' ? null : this.results[Number(value)];
      this.component = Panel.usualComponent(this.result);
      this.fillComponents();
    });
    showing('component', ({value}) => { this.component = Number(value); });
    for (const id of ['range', 'cividis', 'marks', 'edges', 'deformed', 'scale']) {
      showing(id, () => {});
    }
    showing('displacement', () => { byId('scale').value = ''; });
    for (const id of ['range-min', 'range-max']) {
      showing(id, () => { byId('range').value = 'typed'; });
    }
    on('step', 'input', () => this.goTo(Number(byId('step').value)));
    on('step-back', 'click', () => this.goTo(this.step - 1));
    on('step-on', 'click', () => this.goTo(this.step + 1));
    on('play', 'click', () => this.play());
    on('parts-all', 'click', () => this.showParts(() => true));
    on('parts-none', 'click', () => this.showParts(() => false));
    on('parts', 'change', () => this.showParts((box) => box.checked));
    on('views', 'click', ({target}) => {
      if (target.dataset.view) {
        this.scene.look(target.dataset.view);
      } else if (target.id === 'fit') {
        this.scene.fit();
      }
    });
    this.listenToScene();
  }

  listenToScene() {
    let pressed = null;
    const {canvas} = this.scene;
    this.scene.drawn = () => this.placeMarks();
    new ResizeObserver(() => this.scene.resize()).observe(byId('figure'));
    canvas.addEventListener('pointerdown', (event) => { pressed = [event.clientX, event.clientY]; });
    canvas.addEventListener('pointerup', (event) => {
      if (pressed && Math.hypot(event.clientX - pressed[0], event.clientY - pressed[1]) < 4) {
        const box = canvas.getBoundingClientRect();
        this.pick(event.clientX - box.left, event.clientY - box.top);
      }
      pressed = null;
    });
    document.addEventListener('keydown', (event) => this.key(event));
  }

  key(event) {
    if (event.ctrlKey || event.metaKey || event.altKey || event.target.matches('input, select, button:not(.mark)')) {
      return;
    }
    const angle = Math.PI / 24;
    const views = Object.keys(VIEWS);
    const move = (right, up) => event.shiftKey ? this.scene.pan(right / 10, up / 10) : this.scene.turn(right * angle, -up * angle);
    const keys = {ArrowLeft: () => move(-1, 0), ArrowRight: () => move(1, 0), ArrowUp: () => move(0, 1), ArrowDown: () => move(0, -1),
      '+': () => this.scene.zoom(1.2), '-': () => this.scene.zoom(1 / 1.2), f: () => this.scene.fit(),
      ',': () => this.goTo(this.step - 1), '.': () => this.goTo(this.step + 1), ' ': () => this.play(),
      n: () => this.focusMark()};
    const isOfPage = event.key === ' ' || event.key.startsWith('Arrow');
    if (isOfPage && event.target !== this.scene.canvas) {
      return;  // they scroll it, and press buttons
    }
    const act = keys[event.key.length === 1 ? event.key.toLowerCase() : event.key] ||
      (views[event.key] && (() => this.scene.look(views[event.key])));
    if (act) {
      event.preventDefault();
      act();
      Panel.changed();
    }
  }

  goTo(step) {
    const last = this.model.steps.length - 1;
    this.step = Math.min(Math.max(step, 0), Math.max(last, 0));
    byId('step').value = this.step;
    return this.show();
  }

  play() {
    if (this.model.steps.length < 2) {
      return;
    }
    const own = this.playing ? null : {};  // what was begun before ends by itself
    this.playing = own;
    byId('play').textContent = own ? 'Stop' : 'Play';
    byId('play').setAttribute('aria-pressed', String(own !== null));
    const on = async () => {
      if (own && this.playing === own) {
        await this.goTo((this.step + 1) % this.model.steps.length);
        setTimeout(on, 250);
      }
    };
    on();
  }

  showParts(isShown) {
    for (const box of byId('parts').querySelectorAll('input:not(:disabled)')) {
      const place = Number(box.dataset.part);
      box.checked = isShown(box);
      this.shown[box.checked ? 'add' : 'delete'](place);
    }
    this.show();
  }

  /** From now on the page is printed as it is seen, in place of its picture. */
  static changed() {
    document.body.dataset.changed = 'yes';
  }

  // --- What is shown ----------------------------------------------------------------------------

  /** Brings the page up to what is chosen. Of several calls at a time the last one counts. */
  async show() {
    const turn = ++this.turn;
    document.body.dataset.asked = turn;
    const parts = await Promise.all(this.model.parts.map((_, place) => this.numbersOf(place)));
    if (turn !== this.turn) {
      return;
    }
    const range = this.range();
    this.scene.setColours(this.colours);
    this.scene.setScale(this.scaleOf(parts));
    parts.forEach((part, place) => {
      const surface = this.scene.setMesh(place, part && part.mesh);
      if (surface) {
        surface.displace(part.displacement);
        surface.colour(part.values, part.areOfFaces, range);
      }
    });
    this.scene.setEdges(byId('edges').checked);
    byId('step-text').textContent = this.stepText ?? 'none';
    byId('step').setAttribute('aria-valuetext', this.stepText ?? 'none');
    this.tellRange(range);
    this.makeMarks();
    this.drawChart();
    this.scene.draw();
    this.tellAgain();
    document.body.dataset.shown = turn;
    this.model.forget(MOST_KEPT);
  }

  /** The numbers of a part that is shown; null for another. */
  async numbersOf(place) {
    if (!this.shown.has(place)) {
      return null;
    }
    const mesh = await this.model.mesh(place, this.stepText);
    const id = this.model.parts[place].id;
    const field = this.result ? this.model.field(id, this.result.name, this.stepText) : undefined;
    const displacement = byId('deformed').checked
      ? await this.model.components(this.model.field(id, byId('displacement').value, this.stepText)) : null;
    return {mesh, values: await this.model.values(field, this.component),
      areOfFaces: field !== undefined && this.model.view.values[field]?.ofFaces,
      displacement: displacement && displacement.length === 3 ? displacement : null};
  }

  /** The figures of the parts that are shown, with the places of their fields, at a step. */
  figuresAt(result, component, step) {
    return [...this.shown].sort((a, b) => a - b).map((part) => {
      const field = this.model.field(this.model.parts[part].id, result, step);
      return {part, field, figures: this.model.figures(field, component)};
    });
  }

  rangeOver(steps, result = this.result.name, component = this.component) {
    return rangeOf(steps.flatMap((step) => this.figuresAt(result, component, step).map(({figures}) => figures)));
  }

  allSteps() {
    const steps = this.model.info.steps.map(({text}) => text);
    return steps.length > 0 ? steps : [null];
  }

  range() {
    if (!this.result) {
      return null;
    }
    const mode = byId('range').value;
    const own = this.rangeOver(mode === 'step' ? [this.stepText] : this.allSteps());
    if (mode !== 'typed') {
      return own;
    }
    const typed = (id, other) => {
      const text = byId(id).value.trim().replace(',', '.');
      const isNumber = text !== '' && Number.isFinite(Number(text));
      byId(id).setAttribute('aria-invalid', String(text !== '' && !isNumber));
      return isNumber ? Number(text) : other;
    };
    const ends = [typed('range-min', own ? own.min : 0), typed('range-max', own ? own.max : 1)];
    return {min: Math.min(...ends), max: Math.max(...ends)};
  }

  /** What displacements are multiplied with: as typed, else so that they can be seen. */
  scaleOf(parts) {
    if (!byId('deformed').checked) {
      return 0;
    }
    const typed = Number(byId('scale').value.trim().replace(',', '.') || 'x');
    if (Number.isFinite(typed)) {
      return typed;
    }
    const largest = this.rangeOver(this.allSteps(), byId('displacement').value, -1);
    if (!largest) {
      return 1;  // until something is shown that can be deformed
    }
    const box = new THREE.Box3();
    for (const {mesh} of parts.filter((part) => part && part.mesh)) {
      box.union(new THREE.Box3().setFromArray(mesh.xyz));
    }
    const scale = roundScale(box.getSize(new THREE.Vector3()).length(), largest.max);
    byId('scale').value = scale;
    return scale;
  }

  get shownName() {
    const of = this.component < 0 ? ', magnitude' : this.result.components > 1 ? ', component ' + (this.component + 1) : '';
    return this.result.name + of;
  }

  tellRange(range) {
    showLegend(byId('legend'), range ? this.shownName : '', range, this.colours);
    if (byId('range').value !== 'typed') {
      byId('range-min').value = range ? range.min : '';
      byId('range-max').value = range ? range.max : '';
    }
  }

  drawChart() {
    const points = this.result ? this.allSteps().map((text) => {
      const range = this.rangeOver([text]);
      const step = this.model.steps.indexOf(text);
      return {text, value: range ? range.max : null, step: step < 0 ? null : step};
    }) : [];
    showChart(byId('chart'), this.result ? 'Maximum of ' + this.shownName + ' over the steps' : '', points,
      this.step, (step) => { this.goTo(step); Panel.changed(); });
  }
}

/** Called when the page is unpacked. */
async function startPage(contents, blocks) {
  const model = new PageModel(contents, blocks);
  byId('subtitle').textContent = [contents.file, model.info.category, sizeText(model.info.bytes)]
    .filter(Boolean).join(' · ');
  byId('notes').append(...contents.view.notes.map((note) => made('li', note)));
  showFacts(model, byId('facts'));
  let scene;
  const hasPicture = byId('picture').src !== 'data:,';
  if (!hasPicture) {
    Panel.changed();  // nothing else can be printed
  }
  try {
    scene = new Scene(byId('canvas'), Panel.changed);
  } catch (error) {
    byId('picture').hidden = !hasPicture;
    byId('notes').prepend(made('li', 'This browser shows nothing in three dimensions: ' + error.message));
    return;
  }
  await new Panel(model, scene).start();
}
