// The view in three dimensions: camera, surfaces of the parts, and what lies under a pixel.
'use strict';

/** Where the camera stands, from the middle of the model. */
const VIEWS = {
  'iso': [1, 1, 1], '+x': [1, 0, 0], '-x': [-1, 0, 0], '+y': [0, 1, 0], '-y': [0, -1, 0],
  '+z': [0, 0, 1], '-z': [0, 0, -1],
};

class Scene {
  /** Throws where there is no WebGL; "moved" is called when the reader moves the camera. */
  constructor(canvas, moved) {
    this.canvas = canvas;
    const wanted = {antialias: true, alpha: true, preserveDrawingBuffer: true};
    const context = canvas.getContext('webgl', wanted);
    if (!context) {  // asked for here, as the library would also write an error to the console
      throw new Error('it has no WebGL');
    }
    this.renderer = new THREE.WebGLRenderer({canvas, context, ...wanted});
    this.scene = new THREE.Scene();
    this.camera = new THREE.OrthographicCamera(-1, 1, 1, -1, 0, 10);
    this.camera.up.set(0, 0, 1);
    this.controls = new THREE.OrbitControls(this.camera, canvas);
    this.controls.enableKeys = false;
    this.controls.screenSpacePanning = true;
    let isHeld = false;
    this.controls.addEventListener('start', () => { isHeld = true; });
    this.controls.addEventListener('end', () => { isHeld = false; });
    this.controls.addEventListener('change', () => {
      this.draw();
      if (isHeld) {
        moved();
      }
    });
    this.surfaces = new Map();
    this.texture = new THREE.DataTexture(new Uint8Array(256 * 3), 256, 1, THREE.RGBFormat);
    this.texture.minFilter = this.texture.magFilter = THREE.LinearFilter;
    this.uniforms = {colours: {value: this.texture}, scale: {value: 0}, shading: {value: 1},
      plain: {value: new THREE.Color(0xb4bac2)}, edge: {value: new THREE.Color(0x20242a)}};
    this.drawn = () => {};
    this.frame = 0;  // that is asked for
  }

  setColours(table) {
    for (let i = 0; i < 256; i++) {
      this.texture.image.data.set(colourAt(table, i / 255), 3 * i);
    }
    this.texture.needsUpdate = true;
  }

  setScale(scale) {
    this.uniforms.scale.value = scale;
  }

  get scale() {
    return this.uniforms.scale.value;
  }

  /** Shows this mesh for a part; null for none. A mesh that is shown stays as it is. */
  setMesh(part, mesh) {
    const old = this.surfaces.get(part);
    if (old && mesh && old.mesh.key === mesh.key) {
      return old;
    }
    if (old) {
      this.scene.remove(old.group);
      old.dispose();
      this.surfaces.delete(part);
    }
    if (!mesh) {
      return null;
    }
    const surface = new Surface(mesh, this.uniforms);
    this.surfaces.set(part, surface);
    this.scene.add(surface.group);
    return surface;
  }

  setEdges(areShown) {
    for (const {pieces} of this.surfaces.values()) {
      pieces.edges.object.visible = areShown && pieces.edges.nodes.length > 0;
    }
  }

  /** Calls "take" with each point that something shown has. */
  forPoints(take) {
    for (const surface of this.surfaces.values()) {
      for (const kind of ['triangles', 'lines', 'points']) {
        const {nodes, position, displacement} = surface.pieces[kind];
        for (let i = 0; i < 3 * nodes.length; i += 3) {
          take(position[i] + this.scale * displacement[i], position[i + 1] + this.scale * displacement[i + 1],
            position[i + 2] + this.scale * displacement[i + 2]);
        }
      }
    }
  }

  box() {
    const box = new THREE.Box3();
    const point = new THREE.Vector3();
    this.forPoints((x, y, z) => {
      if (Number.isFinite(x + y + z)) {
        box.expandByPoint(point.set(x, y, z));
      }
    });
    return box.isEmpty() ? new THREE.Box3(new THREE.Vector3(-1, -1, -1), new THREE.Vector3(1, 1, 1)) : box;
  }

  look(name) {
    const box = this.box();
    this.controls.target.copy(box.getCenter(new THREE.Vector3()));
    this.camera.position.set(...VIEWS[name]).normalize().multiplyScalar(this.radius(box)).add(this.controls.target);
    this.fit();
  }

  radius(box) {
    return 2 * Math.max(box.getSize(new THREE.Vector3()).length(), 1e-30);
  }

  /** Brings all that is shown into the picture, seen from where the camera is. */
  fit() {
    const box = this.box();
    const centre = box.getCenter(new THREE.Vector3());
    const offset = this.camera.position.clone().sub(this.controls.target).normalize();
    const radius = this.radius(box);
    this.controls.target.copy(centre);
    this.camera.position.copy(centre).add(offset.multiplyScalar(radius));
    this.camera.near = -radius;
    this.camera.far = 4 * radius;
    this.camera.zoom = 1;
    this.controls.update();  // which knows what is up along z
    this.camera.updateMatrixWorld(true);
    const seen = new THREE.Box3();
    const point = new THREE.Vector3();
    this.forPoints((x, y, z) => {
      if (Number.isFinite(x + y + z)) {
        seen.expandByPoint(point.set(x, y, z).applyMatrix4(this.camera.matrixWorldInverse));
      }
    });
    if (seen.isEmpty()) {
      seen.copy(box);
    }
    const {x, y} = seen.getSize(new THREE.Vector3());
    const shift = seen.getCenter(new THREE.Vector3()).setZ(0).applyQuaternion(this.camera.quaternion);
    this.controls.target.add(shift);
    this.camera.position.add(shift);
    this.fitted = {x, y};
    this.resize();
    this.controls.update();
    this.draw();
  }

  resize() {
    const width = Math.max(this.canvas.clientWidth, 1);
    const height = Math.max(this.canvas.clientHeight, 1);
    const ratio = Math.min(window.devicePixelRatio || 1, 2);
    const size = [width, height, ratio].join();
    const isOther = this.size !== size;
    if (isOther) {
      this.size = size;
      this.renderer.setPixelRatio(ratio);
      this.renderer.setSize(width, height, false);
    }
    const half = this.fitted ? 0.56 * Math.max(this.fitted.y, (this.fitted.x * height) / width, 1e-30) : 1;
    Object.assign(this.camera, {left: (-half * width) / height, right: (half * width) / height,
      top: half, bottom: -half});
    this.camera.updateProjectionMatrix();
    if (isOther) {
      this.drawNow();  // another size empties the canvas, which would flicker
    } else {
      this.draw();
    }
  }

  /** Turns the camera around what it looks at, by angles. */
  turn(around, over) {
    const offset = this.camera.position.clone().sub(this.controls.target);
    const spherical = new THREE.Spherical().setFromVector3(new THREE.Vector3(offset.x, offset.z, -offset.y));
    spherical.theta += around;
    spherical.phi = Math.min(Math.max(spherical.phi + over, 1e-6), Math.PI - 1e-6);
    const turned = new THREE.Vector3().setFromSpherical(spherical);
    this.camera.position.set(turned.x, -turned.z, turned.y).add(this.controls.target);
    this.controls.update();
    this.draw();
  }

  /** Moves what is seen by parts of the picture's height, to the right and up. */
  pan(right, up) {
    const size = (this.camera.top - this.camera.bottom) / this.camera.zoom;
    const shift = new THREE.Vector3(-right * size, -up * size, 0).applyQuaternion(this.camera.quaternion);
    this.controls.target.add(shift);
    this.camera.position.add(shift);
    this.controls.update();
    this.draw();
  }

  zoom(factor) {
    this.camera.zoom *= factor;
    this.camera.updateProjectionMatrix();
    this.draw();
  }

  /** Draws once before the next frame that the browser shows, however often it is asked to. */
  draw() {
    this.frame = this.frame || requestAnimationFrame(() => this.drawNow());
  }

  drawNow() {
    cancelAnimationFrame(this.frame);
    this.frame = 0;
    this.renderer.render(this.scene, this.camera);
    this.drawn();
  }

  /** Where a point is on the canvas, in CSS pixels. */
  project(point) {
    const seen = new THREE.Vector3(...point).project(this.camera);
    return [((seen.x + 1) / 2) * this.canvas.clientWidth, ((1 - seen.y) / 2) * this.canvas.clientHeight];
  }

  /** What lies under a place of the canvas: {part, node, face} of the node nearest to it; or null. */
  pick(x, y) {
    let best = null;
    for (const [part, surface] of this.surfaces) {
      const points = this.projected(surface);
      const {nodes, faces} = surface.pieces.triangles;
      for (let i = 0; i < nodes.length; i += 3) {
        const depth = Scene.depthAt(points, nodes[i], nodes[i + 1], nodes[i + 2], x, y);
        if (depth !== null && (!best || depth < best.depth)) {
          const near = [nodes[i], nodes[i + 1], nodes[i + 2]].sort((a, b) =>
            Scene.distance(points, a, x, y) - Scene.distance(points, b, x, y))[0];
          best = {part, depth, node: near, face: faces[i]};
        }
      }
    }
    return best || this.pickThin(x, y);
  }

  /** The same for lines and points, which have no inside. */
  pickThin(x, y, reach = 8) {
    let best = null;
    for (const [part, surface] of this.surfaces) {
      const points = this.projected(surface);
      for (const kind of ['lines', 'points']) {
        const {nodes, faces} = surface.pieces[kind];
        nodes.forEach((node, i) => {
          const distance = Scene.distance(points, node, x, y);
          if (distance <= reach && (!best || distance < best.distance)) {
            best = {part, distance, node, face: faces[i]};
          }
        });
      }
    }
    return best;
  }

  /** All points of a surface on the canvas, with their depths. */
  projected(surface) {
    const count = surface.mesh.xyz.length / 3;
    const points = new Float64Array(3 * count);
    const seen = new THREE.Vector3();
    for (let i = 0; i < count; i++) {
      seen.set(...surface.point(i, this.scale)).project(this.camera);
      points[3 * i] = ((seen.x + 1) / 2) * this.canvas.clientWidth;
      points[3 * i + 1] = ((1 - seen.y) / 2) * this.canvas.clientHeight;
      points[3 * i + 2] = seen.z;
    }
    return points;
  }

  static distance(points, node, x, y) {
    return Math.hypot(points[3 * node] - x, points[3 * node + 1] - y);
  }

  /** How deep a triangle lies under a place; null where it does not. */
  static depthAt(points, a, b, c, x, y) {
    const [ax, ay, bx, by, cx, cy] = [points[3 * a], points[3 * a + 1], points[3 * b],
      points[3 * b + 1], points[3 * c], points[3 * c + 1]];
    const area = (bx - ax) * (cy - ay) - (cx - ax) * (by - ay);
    const v = ((x - ax) * (cy - ay) - (cx - ax) * (y - ay)) / area;
    const w = ((bx - ax) * (y - ay) - (x - ax) * (by - ay)) / area;
    if (!(v >= 0 && w >= 0 && v + w <= 1)) {
      return null;
    }
    return points[3 * a + 2] * (1 - v - w) + points[3 * b + 2] * v + points[3 * c + 2] * w;
  }
}
