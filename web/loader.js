// Finds the editor elements of the page and gives each one an editor instance. Everything the
// editor does is in the WebAssembly module; this file only maps the page's life onto it.
(function () {
  'use strict';
  if (typeof window === 'undefined' || window.Vellmar) return;

  const SELECTOR = 'object[type="application/x-vellmar" i], vellmar-editor';
  const script = document.currentScript;
  const baseUrl = script ? script.src.replace(/[^/]*$/, '') : '/vellmar/';

  // The style sheet comes while the module compiles: every editor's shadow root links it, and
  // none is shown before it applies.
  if (document.head) {
    const preload = document.createElement('link');
    preload.rel = 'preload';
    preload.as = 'style';
    preload.href = baseUrl + 'vellmar.css';
    document.head.appendChild(preload);
  }

  const instances = new WeakMap(); // element -> editor instance
  let module = null;

  // The WebAssembly comes in two files: vellmar.wasm holds what start-up and typing run, and is
  // compiled while it downloads; vellmar.later.wasm holds the rest (dialogs, panels, spell check,
  // local files). The first file calls into the second through numbered placeholders, each
  // standing for one slot of the function table. The second is fetched once an editor is shown
  // and then fills those slots; a placeholder called before that loads it on the spot.
  const later = {
    url: baseUrl + 'vellmar.later.wasm',
    exports: null, // of vellmar.wasm
    linked: false,
    fetching: null,
    link(compiled) {
      if (this.linked) return;
      new WebAssembly.Instance(compiled, { primary: this.exports });
      this.linked = true;
      performance.mark('vellmar-later-ready');
    },
    fetch() {
      if (!this.fetching && !this.linked && this.exports) {
        this.fetching = WebAssembly.compileStreaming(fetch(this.url, { credentials: 'same-origin' }))
          .then((compiled) => this.link(compiled))
          .catch(() => { this.fetching = null; }); // tried again when needed
      }
    },
    loadNow() {
      const request = new XMLHttpRequest();
      request.open('GET', this.url, false);
      request.overrideMimeType('text/plain; charset=x-user-defined'); // bytes, one per character
      request.send();
      if (request.status !== 200) {
        throw new Error(`The editor could not load ${this.url}: HTTP status ${request.status}`);
      }
      const text = request.responseText;
      const bytes = new Uint8Array(text.length);
      for (let i = 0; i < text.length; i++) bytes[i] = text.charCodeAt(i) & 0xff;
      this.link(new WebAssembly.Module(bytes));
    },
    call(slot, args) {
      if (!this.linked) this.loadNow();
      const table = Object.values(this.exports).find((e) => e instanceof WebAssembly.Table);
      return table.get(slot)(...args);
    },
  };

  function instantiateWasm(imports, receive) {
    imports.placeholder = new Proxy({}, {
      get: (_, slot) => (...args) => later.call(Number(slot), args),
    });
    const url = baseUrl + 'vellmar.wasm';
    const linked = (result) => {
      later.exports = result.instance.exports;
      receive(result.instance, result.module);
    };
    // A server that does not send application/wasm gets the bytes compiled after they arrive.
    WebAssembly.instantiateStreaming(fetch(url, { credentials: 'same-origin' }), imports)
      .catch(() => fetch(url, { credentials: 'same-origin' })
        .then((response) => {
          if (!response.ok) throw new Error(`The editor could not load ${url}: HTTP status ${response.status}`);
          return response.arrayBuffer();
        })
        .then((bytes) => WebAssembly.instantiate(bytes, imports)))
      .then(linked, (error) => failed(error));
    return {};
  }

  // Tab and Shift+Tab in an editor's document go on to the next and previous control, as from a
  // text box: the browser keeps the focus in a design-mode document, and a person working from the
  // keyboard would be held there. Backwards, the editor's own controls before its document come
  // first (the view tabs, the bars); then the page's, in document order. Another editor on the
  // way is entered at its first control.
  const FOCUSABLE = 'a[href], area[href], button, input, select, textarea, iframe, summary, ' +
    '[tabindex], [contenteditable]:not([contenteditable="false" i]), ' + SELECTOR;
  function reachable(node) {
    return node.tabIndex >= 0 && !node.disabled && !node.closest('[inert]') &&
      !(node.tagName === 'INPUT' && node.type === 'hidden') &&
      node.checkVisibility({ visibilityProperty: true });
  }
  function focusFirst(candidates) {
    for (const node of candidates) {
      const host = node.matches(SELECTOR) && (node.shadowRoot ? node : node.querySelector(':scope > .vellmar-host'));
      if (host) {
        if (host.shadowRoot && focusFirst([...host.shadowRoot.querySelectorAll(FOCUSABLE)].filter(reachable))) return true;
        continue;
      }
      if (!reachable(node)) continue;
      node.focus();
      const active = node.getRootNode().activeElement;
      if (active === node) return true;
    }
    return false;
  }
  function leaveFrame(frame, forward) {
    const root = frame.getRootNode();
    if (!forward) {
      const before = [...root.querySelectorAll(FOCUSABLE)]
        .filter((n) => n.compareDocumentPosition(frame) & Node.DOCUMENT_POSITION_FOLLOWING);
      if (focusFirst(before.reverse())) return;
    }
    let element = root.host;
    if (element && element.classList.contains('vellmar-host')) element = element.parentElement;
    const side = forward ? Node.DOCUMENT_POSITION_FOLLOWING : Node.DOCUMENT_POSITION_PRECEDING;
    const page = [...document.querySelectorAll(FOCUSABLE)]
      .filter((n) => n !== element && !element.contains(n) && (element.compareDocumentPosition(n) & side));
    // Past the last control of the page the focus leaves the document, as it would leave a text box.
    if (!focusFirst(forward ? page : page.reverse())) frame.blur();
  }

  let failed = () => {};
  const ready = new Promise((resolve, reject) => {
    failed = reject;
    createVellmarModule({
      vellmarBaseUrl: baseUrl,
      // The parts loaded on first use (the spelling checker) are ES modules beside this file.
      vellmarImport: (url) => import(url),
      vellmarLeaveFrame: leaveFrame,
      locateFile: (path) => baseUrl + path,
      instantiateWasm,
    }).then(resolve, reject);
  }).then((m) => {
    module = m;
    performance.mark('vellmar-module-ready');
    return m;
  });

  function exposeInterface(element) {
    const inst = () => instances.get(element);
    for (const name of module.propertyNames()) {
      Object.defineProperty(element, name, {
        configurable: true,
        enumerable: true,
        get: () => inst().getProperty(name),
        set: (value) => {
          if (!inst().setProperty(name, value)) {
            throw new TypeError(`${name}: ${JSON.stringify(value)} is not a valid value`);
          }
        },
      });
    }
    element.getContent = (contentType) => inst().getContent(Number(contentType) | 0);
    element.getBodyHTML = () => inst().getBodyHTML();
    element.writeProperties = () => inst().writeProperties();
    element.getDebugLog = () => inst().getDebugLog();
    element.showMessage = (html, caption = '', label = '', width = 0, height = 0, showTabs = false) =>
      new Promise((resolve) => inst().showMessage(String(html), String(caption), String(label),
        Number(width) | 0, Number(height) | 0, !!showTabs, () => resolve()));
  }

  // The width and height attributes size the element, as a page expects of an <object>: a
  // browser lays out an <object> whose type it does not know (and any unknown element) inline,
  // with no size. The rules sit first in the page's head and have no specificity (:where), so
  // that any rule of the page that sizes the element still wins.
  const sizeRules = document.createElement('style');
  const sizedValues = new Set();
  function sizeFromAttributes(element) {
    if (!sizeRules.isConnected) {
      // The blanks between the <param>s are part of the element's content; kept as written (a
      // page's white-space: pre-wrap, passed down), they would be lines above the editor.
      sizeRules.textContent = ':where(object[type="application/x-vellmar" i]) ' +
        '{ display: inline-block; white-space: normal; }\n';
      (document.head || document.documentElement).prepend(sizeRules);
    }
    for (const dimension of ['width', 'height']) {
      const value = (element.getAttribute(dimension) || '').trim();
      const key = dimension + '=' + value;
      if (!value || sizedValues.has(key)) continue;
      const m = /^(\d+(?:\.\d+)?)(px|%)?$/i.exec(value);
      if (!m) continue;
      sizedValues.add(key);
      const quoted = '"' + CSS.escape(value) + '"';
      const length = m[1] + (m[2] === '%' ? '%' : 'px');
      sizeRules.sheet.insertRule(`:where(object[type="application/x-vellmar" i][${dimension}=${quoted}], ` +
        `vellmar-editor[${dimension}=${quoted}]) { ${dimension}: ${length}; }`, sizeRules.sheet.cssRules.length);
    }
  }

  // The element's content box, which the editor fills and the resize observer watches.
  function size(element) {
    const box = element.getBoundingClientRect();
    const style = getComputedStyle(element);
    const sum = (...names) => names.reduce((total, name) => total + (parseFloat(style[name]) || 0), 0);
    return [box.width - sum('borderLeftWidth', 'borderRightWidth', 'paddingLeft', 'paddingRight'),
      box.height - sum('borderTopWidth', 'borderBottomWidth', 'paddingTop', 'paddingBottom')];
  }

  // The size each element's editor was last given: the observer's first report after an element
  // is shown is usually the size it was shown at, which would lay the bars out a second time.
  const givenSizes = new WeakMap();
  function giveSize(element, inst, width, height) {
    givenSizes.set(element, width + 'x' + height);
    inst.resize(width, height);
  }

  const resizes = new ResizeObserver((entries) => {
    for (const entry of entries) {
      const inst = instances.get(entry.target);
      if (!inst) continue;
      const [width, height] = size(entry.target);
      if (givenSizes.get(entry.target) !== width + 'x' + height) giveSize(entry.target, inst, width, height);
    }
  });

  const hidden = new WeakSet(); // elements removed from the page after they were shown
  const live = new Set(); // elements whose editor is shown

  // Resolves once the editor's own style sheet applies, so that its bars measure their real size.
  function styled(element) {
    const host = element.shadowRoot ? element : element.querySelector(':scope > .vellmar-host');
    const link = host && host.shadowRoot && host.shadowRoot.querySelector('link[rel="stylesheet"]');
    if (!link || link.sheet) return Promise.resolve();
    return new Promise((resolve) => {
      link.addEventListener('load', resolve, { once: true });
      link.addEventListener('error', resolve, { once: true });
    });
  }

  function showWhenLaidOut(element, inst) {
    // The next frame after the style sheet applies has the element's size.
    styled(element).then(() => requestAnimationFrame(() => {
      if (!element.isConnected || instances.get(element) !== inst) return;
      giveSize(element, inst, ...size(element));
      inst.show();
      if (!performance.getEntriesByName('vellmar-shown').length) performance.mark('vellmar-shown');
      // The rest of the module once the page has a quiet moment.
      requestIdleCallback(() => later.fetch(), { timeout: 1000 });
    }));
  }

  function attach(element) {
    if (!element.isConnected) return;
    prepare(element);  // done already, unless the element came in since the last observer call
    let inst = instances.get(element);
    if (inst) {
      if (!hidden.has(element)) return;
      hidden.delete(element);
    } else {
      inst = new module.Instance(element);
      instances.set(element, inst);
      exposeInterface(element);
    }
    live.add(element);
    resizes.observe(element);
    showWhenLaidOut(element, inst);
  }

  function detach(element) {
    const inst = instances.get(element);
    if (!inst || hidden.has(element)) return;
    hidden.add(element);
    live.delete(element);
    resizes.unobserve(element);
    inst.hide();
  }

  // Whether an editor holds changes that were not saved. An editor that cannot tell (the answer
  // needs the module's second file, which a page being left may no longer fetch) counts as
  // changed: asking once too often loses nothing.
  function unsaved(inst) {
    try {
      return inst.hasUnsavedChanges();
    } catch (error) {
      return true;
    }
  }

  // Leaving the page while an editor holds changes that were not saved asks first.
  window.addEventListener('beforeunload', (event) => {
    for (const element of live) {
      const inst = instances.get(element);
      if (inst && unsaved(inst)) {
        event.preventDefault();
        event.returnValue = '';
        return;
      }
    }
  });

  // An <object> of a type the browser has no plug-in for, and with nothing inside it but
  // <param>s, gets a "missing plug-in" placeholder: a page of its own with its own script context,
  // about 180 KB of the page's memory for as long as it stays. The editor's box inside the element
  // is fallback content, which the browser shows instead; it goes in as soon as the element is
  // parsed, before the browser decides. The size from the attributes applies from the first paint.
  function prepare(element) {
    sizeFromAttributes(element);
    if (element.tagName !== 'OBJECT' || element.querySelector(':scope > .vellmar-host')) return;
    const host = document.createElement('div');
    host.className = 'vellmar-host';
    // The page's rules for every <div> (margins, borders, padding, display) are not for this box:
    // it fills the element's content box whatever they say. Whether it is seen or reacts to the
    // pointer still follows the page.
    host.style.cssText = 'all: initial; display: block; width: 100%; height: 100%; ' +
      'visibility: inherit; pointer-events: inherit;';
    element.appendChild(host);
  }

  function each(root, fn) {
    if (root.nodeType !== Node.ELEMENT_NODE && root.nodeType !== Node.DOCUMENT_NODE) return;
    if (root.matches && root.matches(SELECTOR)) fn(root);
    if (root.querySelectorAll) root.querySelectorAll(SELECTOR).forEach(fn);
  }

  // Editors are attached once the module is ready and the page parsed; elements are prepared
  // from the start.
  let started = false;
  function added(root) {
    each(root, prepare);
    if (started) each(root, attach);
  }

  if (!customElements.get('vellmar-editor')) {
    customElements.define('vellmar-editor', class extends HTMLElement {});
  }

  new MutationObserver((mutations) => {
    for (const m of mutations) {
      if (m.type === 'attributes') {
        if (m.target.matches(SELECTOR)) sizeFromAttributes(m.target);
        continue;
      }
      if (started) m.removedNodes.forEach((node) => each(node, detach));
      m.addedNodes.forEach(added);
    }
  }).observe(document, {
    childList: true, subtree: true, attributes: true, attributeFilter: ['width', 'height'],
  });
  added(document);

  function start() {
    started = true;
    each(document, attach);
  }

  // Elements are attached once the document is parsed, so their <param> children are all there.
  const parsed = new Promise((resolve) => {
    if (document.readyState === 'loading') {
      document.addEventListener('DOMContentLoaded', resolve, { once: true });
    } else {
      resolve();
    }
  });

  window.Vellmar = {
    ready: Promise.all([ready, parsed]).then(() => {
      start();
      return window.Vellmar;
    }),
    version: () => (module ? module.version() : undefined),
    // The WebAssembly memory the editors of this page share, in bytes.
    memoryBytes: () => (module && module.HEAP8 ? module.HEAP8.buffer.byteLength : 0),
  };
})();
