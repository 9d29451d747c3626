'use strict';

// How vellmar-server starts and stops, as an operator meets it.
const { test } = require('node:test');
const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { startServer } = require('./harness');

const SERVER = path.join(__dirname, '..', '..', 'build', 'native', 'server', 'vellmar-server');

function runServer(args) {
  return spawnSync(SERVER, args, { encoding: 'utf8', timeout: 10000 });
}

test('a taken port and an unusable data folder each give one clear line and a failure status', async () => {
  const running = await startServer();
  try {
    const taken = runServer(['--port', String(running.port), '--data', fs.mkdtempSync(path.join(os.tmpdir(), 'vm-'))]);
    assert.notEqual(taken.status, 0);
    assert.match(taken.stderr, /cannot listen on 127\.0\.0\.1:\d+/);
    assert.equal(taken.stderr.trim().split('\n').length, 1);
  } finally {
    await running.stop();
  }

  const file = path.join(fs.mkdtempSync(path.join(os.tmpdir(), 'vm-')), 'plain-file');
  fs.writeFileSync(file, 'not a folder');
  const badData = runServer(['--port', '0', '--data', path.join(file, 'data')]);
  assert.notEqual(badData.status, 0);
  assert.match(badData.stderr, /data folder/);
  assert.equal(badData.stderr.trim().split('\n').length, 1);

  const badPort = runServer(['--port', 'http']);
  assert.equal(badPort.status, 2);
  assert.match(badPort.stderr, /--port must be a number/);
});

test('SIGTERM and SIGINT stop the server cleanly', async () => {
  for (const signal of ['SIGTERM', 'SIGINT']) {
    const server = await startServer();
    const exited = new Promise((resolve) => server.process.once('exit', (code, sig) => resolve({ code, sig })));
    server.process.kill(signal);
    const { code } = await exited;
    assert.equal(code, 0, `${signal}: ${server.output()}`);
    assert.match(server.output(), /stopped/);
    await server.stop();
  }
});
