// Long lists: a playlist of 10,000 entries opens, shows its count, jumps to its last row with
// the right title, scrolls through without fetching more than it shows, and keeps only the rows
// in view in the document. Find in an open list: "/" opens the bar, typing counts the matches of
// title, artist or album in all of the list and focuses the first, Enter / Shift+Enter move
// between them, and rows far down the virtual list are scrolled to.
import { test, describe } from 'node:test';
import assert from 'node:assert/strict';
import { NO_ITEMS_LIMIT } from './lib/host.mjs';
import { useHostAndBrowser, row, openChain, until } from './lib/browser.mjs';

const SIZE = 10000;
const title = (i) => `Entry ${String(i + 1).padStart(5, '0')}`;
let page;
let bigList;
const rowRequests = [];
const { host, open } = useHostAndBrowser({ settings: [NO_ITEMS_LIMIT], setUp: async () => {
  bigList = await host.createPlaylist('Ten thousand');
  await host.addTitled(bigList, Array.from({ length: SIZE }, (_, i) => title(i)));
  page = await open();
  page.on('request', (request) => {
    if (request.url().endsWith('/api/getRows')) rowRequests.push(JSON.parse(request.postData()));
  });
} });

// The list's own pages; the find bar reads the list's texts in the background in pages of its own.
const viewPages = () => rowRequests.filter((r) => r.toRow - r.fromRow < 100).length;
const optionCount = () => page.locator('#pane-playlists [role="option"]').count();
const listbox = () => page.locator('#pane-playlists [role="listbox"]');

describe('a playlist of 10,000 entries', () => {
  test('opens with its count, reading only small pages of the shown roles', async () => {
    await row(page, 'playlists', 'Ten thousand').click();
    await row(page, 'playlists', title(0)).waitFor();
    assert.equal(await page.locator('#pane-playlists .view-count').textContent(), '10,000 tracks');
    const items = rowRequests.filter((r) => r.path.startsWith('playlists:pl/getitems/'));
    assert.ok(items.every((r) => r.toRow - r.fromRow < 100 && Array.isArray(r.roles)), 'pages with only the shown roles');
  });

  test('End jumps to the last row with the right title, Home back to the first, and the document stays small', async () => {
    await listbox().focus();
    await page.keyboard.press('End');
    const last = page.locator(`#pane-playlists [role="option"][aria-posinset="${SIZE}"]`);
    await last.locator('.title', { hasText: title(SIZE - 1) }).waitFor();
    assert.equal(await last.getAttribute('aria-setsize'), String(SIZE));
    assert.equal(await last.getAttribute('aria-selected'), 'true');
    assert.ok((await optionCount()) < 80, `${await optionCount()} rows in the document`);
    await page.keyboard.press('Home');
    await row(page, 'playlists', title(0)).waitFor();
  });

  test('scrolling through the middle fetches only the pages shown', async () => {
    const before = viewPages();
    for (const fraction of [0.25, 0.5, 0.75]) {
      await page.locator('#pane-playlists .list-scroll').evaluate((el, f) => { el.scrollTop = el.scrollHeight * f; }, fraction);
      const index = Math.floor(SIZE * fraction);
      await until(async () => (await page.locator('#pane-playlists [role="option"]:not(.loading) .title').allTextContents()).some((t) => Math.abs(Number(t.slice(6)) - index) < 30), { message: `rows near ${index}` });
    }
    assert.ok(viewPages() - before <= 12, `${viewPages() - before} page requests`);
    assert.ok((await optionCount()) < 80);
  });
});

const focusedIndex = (page) => page.evaluate(() => {
  const el = document.querySelector('#pane-playlists [role="option"].focused');
  return el ? Number(el.dataset.index) : -1;
});

/** Opens the playlist in a fresh page and its find bar by "/"; answers the page, the field and the count. */
async function findIn(playlist) {
  const page = await open();
  await openChain(page, 'playlists', [playlist]);
  await page.locator('#pane-playlists [role="listbox"]').focus();
  await page.keyboard.press('/');
  const input = page.getByRole('searchbox', { name: 'Find in this list' });
  await input.waitFor();
  const counted = (text, message) => until(async () => (await page.locator('#pane-playlists .find-count').textContent()) === text, { message });
  const focused = (index, message) => until(async () => (await focusedIndex(page)) === index, { message });
  return { page, input, counted, focused };
}

describe('find in a list', () => {
  test('typing counts matches of title, artist and album, and Enter / Shift+Enter walk them', async () => {
    const plid = await host.createPlaylist('Findable');
    await host.addByPath(plid, Array.from({ length: 12 }, (_, n) => `media:album/${n + 1}`));
    const all = (await host.rows(`playlists:pl/getitems/${plid}`, 0, 9999, ['title', 'artist', 'album'])).rows;
    // An artist that appears more than once, with its entries spread over the list.
    const query = all[all.length - 1].artist.slice(1, -1).toUpperCase();
    const expected = all.map((r, i) => ([r.title, r.artist, r.album].join('\n').toLowerCase().includes(query.toLowerCase()) ? i : -1)).filter((i) => i >= 0);
    assert.ok(expected.length > 1, 'the query matches several entries');

    const { page, input, counted, focused } = await findIn('Findable');
    await input.fill(query);
    await counted(`1 of ${expected.length}`, 'match count');
    await focused(expected[0], 'first match focused');
    await input.press('Enter');
    await focused(expected[1], 'Enter goes to the next match');
    await input.press('Shift+Enter');
    await input.press('Shift+Enter');
    await focused(expected[expected.length - 1], 'Shift+Enter wraps to the last match');
    // The last match lies far below the first screen: the virtual list scrolled there.
    await page.locator(`#pane-playlists [role="option"][data-index="${expected[expected.length - 1]}"]`).waitFor();

    await input.fill('no such entry anywhere');
    await counted('No match', 'no match said');
    await input.press('Escape');
    assert.equal(await page.locator('#pane-playlists .find-bar').isHidden(), true);
  });

  test('a long list is searched in all of it, and an entry added while the bar is open is found too', async () => {
    const matches = [...Array(SIZE).keys()].filter((i) => title(i).includes('0999'));
    const { input, counted, focused } = await findIn('Ten thousand');
    await input.fill('0999');
    await counted(`1 of ${matches.length}`, 'every match counted');
    await focused(matches[0], 'the first match focused');
    await host.addTitled(bigList, ['Entry 0999 again']);
    await counted(`1 of ${matches.length + 1}`, 'the added entry is counted');
    await input.press('Shift+Enter');
    await focused(SIZE, 'the added entry is the last match');
  });
});
