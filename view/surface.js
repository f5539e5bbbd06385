// The surface of one part: corners of triangles, lines and points with what the graphics card needs
// of them. Each triangle has corners of its own, so that a value can be flat on it.
'use strict';

const VERTEX_SHADER = `
  attribute vec3 displacement;
  attribute float place;
  uniform float scale;
  varying float vPlace;
  varying vec3 vPosition;
  void main() {
    vec4 seen = modelViewMatrix * vec4(position + scale * displacement, 1.0);
    vPlace = place;
    vPosition = seen.xyz;
    gl_PointSize = 5.0;
    gl_Position = projectionMatrix * seen;
  }`;

const FRAGMENT_SHADER = `
  const vec3 LIGHT = vec3(0.27, 0.45, 0.85);
  uniform sampler2D colours;
  uniform vec3 plain;
  uniform float shading;
  varying float vPlace;
  varying vec3 vPosition;
  void main() {
    vec3 colour = vPlace < -1000.0 ? plain
      : texture2D(colours, vec2(clamp(vPlace, 0.002, 0.998), 0.5)).rgb;
    float light = 1.0;
    if (shading > 0.5) {  // lines and points have no normal
      vec3 normal = normalize(cross(dFdx(vPosition), dFdy(vPosition)));
      light = 0.65 + 0.35 * abs(dot(normal, LIGHT));
    }
    gl_FragColor = vec4(colour * light, 1.0);
  }`;

/** A place that stands for no value. */
const NO_PLACE = -1e6;

/** Splits the faces of a mesh by what they are drawn as, each as corners with their faces. */
function cornersOf(mesh) {
  const kinds = {triangles: [], lines: [], points: [], edges: []};
  const faces = {triangles: [], lines: [], points: []};
  const seen = new Set();
  const stride = mesh.xyz.length / 3;
  let start = 0;
  let next = 0;
  const add = (kind, face, ...nodes) => {
    kinds[kind].push(...nodes);
    nodes.forEach(() => faces[kind].push(face));
  };
  mesh.lengths.forEach((length, face) => {
    const node = (i) => mesh.nodes[start + (i % length)];
    if (length === 1) {
      add('points', face, node(0));
    } else if (length === 2) {
      add('lines', face, node(0), node(1));
    }
    if (length === 3) {
      add('triangles', face, node(0), node(1), node(2));
    }
    // A larger face stands in the list as triangles, which are two fewer than its nodes.
    for (let i = 0; length > 3 && i + 2 < length; i++, next += 3) {
      add('triangles', face, ...mesh.triangles.subarray(next, next + 3));
    }
    for (let i = 0; length > 2 && i < length; i++) {
      const [low, high] = node(i) < node(i + 1) ? [node(i), node(i + 1)] : [node(i + 1), node(i)];
      if (!seen.has(low * stride + high)) {
        seen.add(low * stride + high);
        kinds.edges.push(low, high);
      }
    }
    start += length;
  });
  return {kinds, faces};
}

class Surface {
  constructor(mesh, uniforms) {
    this.mesh = mesh;
    this.group = new THREE.Group();
    this.pieces = {};
    const {kinds, faces} = cornersOf(mesh);
    const solid = Surface.material(uniforms, {polygonOffset: true, polygonOffsetFactor: 1,
      polygonOffsetUnits: 1});
    const thin = Surface.material({...uniforms, shading: {value: 0}}, {});
    const dark = Surface.material({...uniforms, shading: {value: 0}, plain: uniforms.edge}, {});
    this.add('triangles', kinds.triangles, faces.triangles, (geometry) => new THREE.Mesh(geometry, solid));
    this.add('lines', kinds.lines, faces.lines, (geometry) => new THREE.LineSegments(geometry, thin));
    this.add('points', kinds.points, faces.points, (geometry) => new THREE.Points(geometry, thin));
    this.add('edges', kinds.edges, null, (geometry) => new THREE.LineSegments(geometry, dark));
    this.displacement = null;
  }

  static material(uniforms, more) {
    return new THREE.ShaderMaterial({uniforms, vertexShader: VERTEX_SHADER,
      fragmentShader: FRAGMENT_SHADER, side: THREE.DoubleSide, extensions: {derivatives: true}, ...more});
  }

  add(kind, nodes, faces, make) {
    const geometry = new THREE.BufferGeometry();
    const attribute = (name, array, width) => {
      geometry.setAttribute(name, new THREE.BufferAttribute(array, width));
      return array;
    };
    const piece = {nodes, faces,
      position: attribute('position', new Float32Array(nodes.length * 3), 3),
      displacement: attribute('displacement', new Float32Array(nodes.length * 3), 3),
      place: attribute('place', new Float32Array(nodes.length).fill(NO_PLACE), 1)};
    Surface.spread(nodes, this.mesh.xyz, piece.position);
    piece.object = make(geometry);
    piece.object.frustumCulled = false;
    piece.object.visible = nodes.length > 0;
    this.pieces[kind] = piece;
    this.group.add(piece.object);
  }

  static spread(nodes, ofPoints, ofCorners) {
    nodes.forEach((node, corner) => {
      for (let i = 0; i < 3; i++) {
        ofCorners[3 * corner + i] = ofPoints[3 * node + i];
      }
    });
  }

  changed(piece, name) {
    piece.object.geometry.attributes[name].needsUpdate = true;
  }

  /** "values" are of points, or of faces where "areOfFaces"; null for none. */
  colour(given, areOfFaces, range) {
    const wanted = areOfFaces ? this.mesh.lengths.length : this.mesh.xyz.length / 3;
    const values = given && given.length === wanted ? given : null;
    for (const kind of ['triangles', 'lines', 'points']) {
      const {nodes, faces, place} = this.pieces[kind];
      const corners = {triangles: 3, lines: 2, points: 1}[kind];
      for (let first = 0; first < nodes.length; first += corners) {
        let isWhole = Boolean(values && range);
        for (let i = first; isWhole && i < first + corners; i++) {
          const found = placeInRange(values[areOfFaces ? faces[i] : nodes[i]], range);
          isWhole = found !== null;
          place[i] = isWhole ? Math.min(Math.max(found, -900), 900) : NO_PLACE;
        }
        if (!isWhole) {
          place.fill(NO_PLACE, first, first + corners);
        }
      }
      this.changed(this.pieces[kind], 'place');
    }
  }

  /** "components" are three lists for each point; null for none. */
  displace(components) {
    const vectors = new Float32Array(this.mesh.xyz.length);
    if (components && components[0].length * 3 === vectors.length) {
      for (let i = 0; i < vectors.length; i++) {
        const value = components[i % 3][Math.floor(i / 3)];
        vectors[i] = Number.isFinite(value) ? value : 0;
      }
    }
    this.displacement = vectors;
    for (const piece of Object.values(this.pieces)) {
      Surface.spread(piece.nodes, vectors, piece.displacement);
      this.changed(piece, 'displacement');
    }
  }

  /** Where a point is, deformed by a scale. */
  point(node, scale) {
    const {xyz} = this.mesh;
    return [0, 1, 2].map((i) => xyz[3 * node + i] + scale * (this.displacement ? this.displacement[3 * node + i] : 0));
  }

  dispose() {
    for (const {object} of Object.values(this.pieces)) {
      object.geometry.dispose();
      object.material.dispose();
    }
  }
}
