// Another web site open in the same browser must not be able to use the host: a page served from a
// second local port (another origin) tries every request a page may send without asking first.
// The host's own page keeps working, with a token too.
import { test, after } from 'node:test';
import assert from 'node:assert/strict';
import http from 'node:http';
import { Host } from './lib/host.mjs';
import { useHostAndBrowser, rows } from './lib/browser.mjs';

const LIMIT = 'settings:playlists/dbItemsLimit';
const TOKEN = 'a-token-of-twenty-chars';

// The attacker's page: each attempt sets the items limit to a number of its own. The form sends
// text/plain "name=value", which the name and value make a JSON object.
function attackerPage(target) {
  const body = (n) => JSON.stringify({ path: LIMIT, value: { type: 'i32_', i32_: n } });
  return `<!doctype html><html><body>
<iframe name="sink"></iframe>
<form id="form" method="POST" action="${target}/api/setData" target="sink" enctype="text/plain">
  <input name='${body(11).slice(0, -1)},"pad":"' value='"}'>
</form>
<iframe id="sandboxed" sandbox="allow-scripts" srcdoc="<script>fetch('${target}/api/setData', {method: 'POST', mode: 'no-cors', body: '${body(12).replaceAll('"', '&quot;')}'}).finally(() => parent.postMessage('sandbox done', '*'));</script>"></iframe>
<script>
  const sandboxDone = new Promise((resolve) => addEventListener('message', resolve));
  const attempts = [
    fetch('${target}/api/setData', { method: 'POST', mode: 'no-cors', headers: { 'Content-Type': 'text/plain' }, body: '${body(13)}' }),
    fetch('${target}/api/setData', { method: 'POST', headers: { 'Content-Type': 'application/json' }, body: '${body(16)}' }),
    new Promise((resolve) => { document.querySelector('iframe[name=sink]').onload = resolve; document.getElementById('form').submit(); }),
    sandboxDone,
  ];
  window.attacks = Promise.allSettled(attempts).then((results) => results.map((r) => r.status));
</script></body></html>`;
}

let attacker;
let attackerUrl;
const { host, browser } = useHostAndBrowser({
  setUp: async () => {
    attacker = http.createServer((req, res) => {
      res.writeHead(200, { 'Content-Type': 'text/html' });
      res.end(attackerPage(host.url));
    });
    await new Promise((resolve) => attacker.listen(0, '127.0.0.1', resolve));
    attackerUrl = `http://127.0.0.1:${attacker.address().port}/`;
  },
});
after(() => attacker?.close());

test('a page on another origin cannot change anything, however it sends its request', async () => {
  const page = await browser.context.newPage();
  await page.goto(attackerUrl);
  const outcomes = await page.evaluate(() => window.attacks);
  assert.equal(outcomes.length, 4, 'every attempt was made');
  assert.equal((await host.api('getData', { path: LIMIT })).value.i32_, 10000, 'the items limit is untouched');
  await page.close();
});

// The cookie's attributes and the events stream it opens are checked at the HTTP level.
test("the host's own page asks once for its token, never puts it in a URL, and breaks no content rule", async () => {
  const guarded = await new Host({ token: TOKEN }).start();
  const page = await browser.context.newPage();
  const [violations, urls] = [[], []];
  let asked = 0;
  page.on('console', (m) => m.type() === 'error' && violations.push(m.text()));
  page.on('dialog', (dialog) => { asked += 1; return dialog.accept(TOKEN); });
  page.on('request', (r) => urls.push(r.url()));
  try {
    await page.goto(guarded.url);
    await rows(page, 'playlists').first().waitFor();
    await page.reload();
    await rows(page, 'playlists').first().waitFor();
    assert.equal(asked, 1, 'asked for the token once, the cookie does the rest');
    assert.ok(!urls.some((u) => u.includes(TOKEN)), 'the token is never in a URL');
    assert.deepEqual(violations.filter((v) => /Content Security Policy/.test(v)), []);
  } finally {
    await page.close();
    await guarded.close();
  }
});
