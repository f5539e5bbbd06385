// The model of the page: which numbers belong to which part and step, unpacked when they are asked
// for, and kept as long as there is room.
'use strict';

class PageModel {
  constructor(contents, blocks) {
    this.info = contents.info;
    this.fields = contents.fields;
    this.view = contents.view;
    this.file = contents.file;
    this.blocks = blocks;
    this.kept = new Map();
    this.steps = this.view.steps.map((index) => this.info.steps[index].text);
    this.parts = this.info.parts;
    this.fieldOf = new Map();
    this.fields.forEach((field, place) => {
      const key = PageModel.key(field.part, field.result, field.step);
      if (!this.fieldOf.has(key)) {
        this.fieldOf.set(key, place);
      }
    });
  }

  static key(part, result, step) {
    return JSON.stringify([part, result, step]);
  }

  /** Results that some part has at its nodes or elements, as {name, components, location}. */
  results() {
    return this.info.results.map((result) => {
      const fields = this.fields.filter((field, place) => field.result === result.name && this.view.values[place]);
      const widest = fields.reduce((most, {components}) => Math.max(most, components), 0);
      return {...result, components: result.components ?? widest, isShown: fields.length > 0};
    }).filter(({isShown}) => isShown);
  }

  /** The place of a part's field at a step, else of that without one; undefined for none. */
  field(part, result, step) {
    const own = this.fieldOf.get(PageModel.key(part, result, step));
    return own === undefined ? this.fieldOf.get(PageModel.key(part, result, null)) : own;
  }

  /** Statistics of a component from 0 on, or of the magnitude: "component" is -1. */
  figures(place, component) {
    const statistics = place === undefined ? null : this.fields[place].statistics;
    if (!statistics) {
      return null;
    }
    return component < 0 ? statistics.magnitude : statistics.components[component] || null;
  }

  /** A block's numbers. Equal bytes may be numbers of two kinds. */
  block(number, decode) {
    return this.once(decode.name + ' ' + number, async () => decode(await this.blocks.bytes(String(number))));
  }

  /** The mesh of a part at a step; null where it has none. */
  async mesh(partPlace, step) {
    const shapes = this.view.parts[partPlace];  // by their steps
    const stepPlace = this.info.steps.findIndex((each) => each.text === step);
    const shape = shapes.find((each) => each.step === stepPlace) ||
      shapes.find((each) => each.step === null) || shapes[0];
    if (!shape) {
      return null;
    }
    const {hasNodeIds, hasElementIds} = shape;
    const [xyz, nodes, lengths, triangles, nodeIds, faceIds] = await Promise.all([
      this.block(shape.xyz, floatsOf),
      this.block(shape.nodes, wholesOf),
      this.block(shape.lengths, wholesOf),
      this.block(shape.triangles, wholesOf),
      this.block(shape.nodeIds, wholesOf),
      this.block(shape.faceIds, wholesOf),
    ]);
    return {key: JSON.stringify({...shape, step: null}), xyz, nodes, lengths, triangles, nodeIds, faceIds,
      hasNodeIds, hasElementIds};
  }

  /** What "make" makes, which is kept: what was asked for last stands at the end. */
  once(key, make) {
    const made = this.kept.get(key) || make();
    this.kept.delete(key);
    this.kept.set(key, made);
    return made;
  }

  /** Forgets what was not asked for lately, but for so many bytes. What is asked for again is unpacked again. */
  async forget(most) {
    let bytes = 0;
    for (const [key, made] of [...this.kept].reverse()) {
      bytes += (await made).byteLength;
      if (bytes > most) {
        this.kept.delete(key);
      }
    }
  }

  /**
   * The steps of a component. Those of the field before, to which they may differ, are begun first:
   * very many of them would be very deep calls.
   */
  steps16(place, component) {
    const key = (field) => 'steps ' + field + ' ' + component;
    const fields = [place];
    while (this.view.values[fields.at(-1)].before !== null && !this.kept.has(key(fields.at(-1)))) {
      fields.push(this.view.values[fields.at(-1)].before);
    }
    let last = null;
    for (const field of fields.reverse()) {
      const others = last;
      last = this.once(key(field), async () => stepsOf(
        await this.blocks.bytes(String(this.view.values[field].components[component].data)), await others));
    }
    return last;
  }

  /** Lists of the values of each component: for each point of the mesh, or for each face. */
  async components(place) {
    const stored = place === undefined ? null : this.view.values[place];
    if (!stored) {
      return null;
    }
    return Promise.all(stored.components.map((each, component) => this.view.exact
      ? this.block(each.data, floatsOf)
      : this.once('values ' + place + ' ' + component, async () => valuesOfSteps(
        await this.steps16(place, component), each.min, each.max,
        each.holes === null ? [] : await this.block(each.holes, wholesOf)))));
  }

  async values(place, component) {
    const components = await this.components(place);
    if (!components) {
      return null;
    }
    if (component < 0) {
      return components.length === 3 ? magnitudesOf(components) : null;
    }
    return components[component] || null;
  }

  /** The points of the mesh between which the extremes of a component lie. */
  marks(place, component) {
    const stored = this.view.values[place];
    return stored ? stored.marks[component < 0 ? stored.marks.length - 1 : component] : null;
  }
}
