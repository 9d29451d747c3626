// Shared set-up of the browser tests: a fresh vellmar-server on a free loopback port with its own
// data folder, and headless Chromium driven by Playwright. Both are stopped when the test file
// ends, also when a test fails.
'use strict';

const { spawn } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { before, after } = require('node:test');
const { chromium } = require('playwright-core');

const ROOT = path.resolve(__dirname, '..', '..');
const SERVER = path.join(ROOT, 'build', 'native', 'server', 'vellmar-server');
const CHROMIUM_ARGS = [
  '--headless',
  '--no-sandbox',
  '--disable-gpu',
  '--disable-quic',
  '--no-first-run',
  '--disable-background-networking',
  '--disable-component-update',
  '--disable-sync',
];

// Starts vellmar-server with `--port 0` and resolves once it prints the address it listens on.
// VELLMAR_WEB_DIR points the server at another browser build (for example a private build dir).
function startServer(extraArgs = []) {
  if (process.env.VELLMAR_WEB_DIR) extraArgs = ['--web', process.env.VELLMAR_WEB_DIR, ...extraArgs];
  const dataDir = fs.mkdtempSync(path.join(os.tmpdir(), 'vellmar-test-'));
  const child = spawn(SERVER, ['--host', '127.0.0.1', '--port', '0', '--data', dataDir, ...extraArgs], {
    stdio: ['ignore', 'pipe', 'pipe'],
  });
  let output = '';
  return new Promise((resolve, reject) => {
    const timer = setTimeout(() => {
      child.kill('SIGKILL');
      reject(new Error(`vellmar-server did not start:\n${output}`));
    }, 15000);
    const onData = (chunk) => {
      output += chunk;
      const m = /listening on (http:\/\/[^\s]+?)\/?\s/.exec(output);
      if (m) {
        clearTimeout(timer);
        resolve({
          url: m[1],
          port: Number(new URL(m[1]).port),
          dataDir,
          process: child,
          output: () => output,
          async stop() {
            if (child.exitCode === null) {
              const exited = new Promise((r) => child.once('exit', r));
              child.kill('SIGTERM');
              await exited;
            }
            fs.rmSync(dataDir, { recursive: true, force: true });
          },
        });
      }
    };
    child.stdout.on('data', onData);
    child.stderr.on('data', onData);
    child.once('exit', (code) => {
      clearTimeout(timer);
      reject(new Error(`vellmar-server exited with ${code}:\n${output}`));
    });
  });
}

async function launchBrowser() {
  return chromium.launch({ executablePath: '/usr/bin/chromium', args: CHROMIUM_ARGS });
}

// Registers before/after hooks for one test file and returns an object whose `server` and
// `browser` are filled in once the hooks have run.
function useEditorEnvironment(serverArgs = []) {
  const env = { server: null, browser: null };
  before(async () => {
    env.server = await startServer(serverArgs);
    env.browser = await launchBrowser();
  });
  after(async () => {
    if (env.browser) await env.browser.close();
    if (env.server) await env.server.stop();
  });
  // A new page that records every `Loaded` event, once each: the window hears it on the way down
  // (it also bubbles back up).
  env.newPage = async () => {
    const page = await env.browser.newPage();
    await page.addInitScript(() => {
      window.__loaded = [];
      window.addEventListener('Loaded', (e) => window.__loaded.push(e.target.id || e.target.tagName), true);
    });
    page.on('pageerror', (err) => { env.pageErrors.push(err); });
    return page;
  };
  env.pageErrors = [];
  // The demo page, as a person opens it: a session, the editor loaded with the server's document.
  env.openDemo = async () => {
    const page = await env.newPage();
    await page.goto(env.server.url + '/');
    await page.waitForFunction(() => window.__loaded.length === 1);
    await page.waitForFunction(() =>
      document.getElementById('editor1').vellmarEngine.bodyHTML.includes('Welcome'));
    return page;
  };
  // Serves `html` at `path` on the server's origin, so the page loads the real component.
  env.openHtml = async (page, html, pagePath = '/test/page.html') => {
    const url = env.server.url + pagePath;
    await page.route(url, (route) => route.fulfill({ status: 200, contentType: 'text/html', body: html }));
    await page.goto(url);
    return url;
  };
  return env;
}

// A page with the component script and the given body.
function pageWith(body) {
  return `<!doctype html><html><head><meta charset="utf-8"><script src="/vellmar/vellmar.js"></script></head><body>${body}</body></html>`;
}

module.exports = { startServer, launchBrowser, useEditorEnvironment, pageWith, ROOT };
