// Unpacks the blocks of the page and starts what they hold. The one script that runs by its hash:
// everything else is deflated, and runs as a blob.
'use strict';

const PageBlocks = {
  /** The bytes of a block, which stands as deflated base64 in an element that never runs. */
  async bytes(name) {
    const element = document.getElementById('block-' + name);
    if (!element) {
      throw new Error('its block "' + name + '" is missing');
    }
    const text = atob(element.textContent);
    const packed = new Uint8Array(text.length);
    for (let i = 0; i < text.length; i++) {
      packed[i] = text.charCodeAt(i);
    }
    const stream = new Blob([packed]).stream().pipeThrough(new DecompressionStream('deflate'));
    return new Uint8Array(await new Response(stream).arrayBuffer());
  },

  async text(name) {
    return new TextDecoder().decode(await PageBlocks.bytes(name));
  },

  async run(name) {
    const url = URL.createObjectURL(new Blob([await PageBlocks.bytes(name)], {type: 'text/javascript'}));
    await new Promise((done, fail) => {
      const script = document.createElement('script');
      script.src = url;
      script.onload = done;
      script.onerror = () => fail(new Error('its block "' + name + '" does not run'));
      document.head.append(script);
    });
    URL.revokeObjectURL(url);
  },
};

(async () => {
  const status = document.getElementById('status');
  try {
    if (typeof DecompressionStream === 'undefined') {
      throw new Error('this browser is too old: it has no DecompressionStream');
    }
    await PageBlocks.run('library');
    await PageBlocks.run('viewer');
    await startPage(JSON.parse(await PageBlocks.text('model')), PageBlocks);
    status.hidden = true;
    document.body.dataset.ready = 'yes';
  } catch (error) {
    status.textContent = 'This page cannot be shown: ' + error.message;
    const picture = document.getElementById('picture');
    picture.hidden = picture.getAttribute('src') === 'data:,';
    document.body.dataset.ready = 'failed';
  }
})();
