// Find in an open list: "/" or the find button opens the bar, typing counts the matches of
// title, artist or album and focuses the first, Enter / Shift+Enter move between them, and rows
// far down the virtual list are scrolled to.
import { test, before, after, describe } from 'node:test';
import assert from 'node:assert/strict';
import { startHost, NO_ITEMS_LIMIT } from './lib/host.mjs';
import { launch, row, until } from './lib/browser.mjs';

let host;
let browser;
before(async () => {
  host = await startHost({ settings: [NO_ITEMS_LIMIT] });
  browser = await launch();
});
after(async () => {
  await browser?.close();
  await host?.close();
});

const focusedIndex = (page) => page.evaluate(() => {
  const el = document.querySelector('#pane-playlists [role="option"].focused');
  return el ? Number(el.dataset.index) : -1;
});

describe('find in a list', () => {
  test('typing counts matches of title, artist and album, and Enter / Shift+Enter walk them', async () => {
    const plid = await host.createPlaylist('Findable');
    const albums = [];
    for (let n = 1; n <= 12; n++) albums.push(`media:album/${n}`);
    await host.addByPath(plid, albums);
    const all = (await host.rows(`playlists:pl/getitems/${plid}`, 0, 9999, ['title', 'artist', 'album'])).rows;
    // An artist that appears more than once, with its entries spread over the list.
    const artist = all[all.length - 1].artist;
    const query = artist.slice(1, -1).toUpperCase();
    const expected = all.map((r, i) => ([r.title, r.artist, r.album].join('\n').toLowerCase().includes(query.toLowerCase()) ? i : -1)).filter((i) => i >= 0);
    assert.ok(expected.length > 1, 'the query matches several entries');

    const page = await browser.page(host.url);
    await row(page, 'playlists', 'Findable').click();
    await page.locator('#pane-playlists .view-title', { hasText: 'Findable' }).waitFor();
    await page.locator('#pane-playlists [role="listbox"]').focus();
    await page.keyboard.press('/');
    const input = page.getByRole('searchbox', { name: 'Find in this list' });
    await input.waitFor();
    await input.fill(query);
    const count = page.locator('#pane-playlists .find-count');
    await until(async () => (await count.textContent()) === `1 of ${expected.length}`, { message: 'match count' });
    await until(async () => (await focusedIndex(page)) === expected[0], { message: 'first match focused' });

    await input.press('Enter');
    await until(async () => (await focusedIndex(page)) === expected[1], { message: 'Enter goes to the next match' });
    await input.press('Shift+Enter');
    await input.press('Shift+Enter');
    await until(async () => (await focusedIndex(page)) === expected[expected.length - 1], { message: 'Shift+Enter wraps to the last match' });
    // The last match lies far below the first screen: the virtual list scrolled there.
    await page.locator(`#pane-playlists [role="option"][data-index="${expected[expected.length - 1]}"]`).waitFor();

    await input.fill('no such entry anywhere');
    await until(async () => (await count.textContent()) === 'No match', { message: 'no match said' });
    await input.press('Escape');
    assert.equal(await page.locator('#pane-playlists .find-bar').isHidden(), true);
    await page.getByRole('button', { name: 'Find in Findable' }).click();
    await input.waitFor();
    await page.close();
  });

  test('a list longer than one read finds in all of it, and entries added while it is open are found too', async () => {
    const plid = await host.createPlaylist('Long find');
    const titles = Array.from({ length: 2300 }, (_, i) => (i === 40 || i === 2250 ? `Needle ${i}` : `Hay ${i}`));
    await host.addTitled(plid, titles);
    const page = await browser.page(host.url);
    await row(page, 'playlists', 'Long find').click();
    await page.locator('#pane-playlists .view-title', { hasText: 'Long find' }).waitFor();
    await page.locator('#pane-playlists [role="listbox"]').focus();
    await page.keyboard.press('/');
    const input = page.getByRole('searchbox', { name: 'Find in this list' });
    const count = page.locator('#pane-playlists .find-count');
    await input.fill('needle');
    await until(async () => (await count.textContent()) === '1 of 2', { message: 'both needles counted' });
    assert.equal(await focusedIndex(page), 40);

    await host.addTitled(plid, ['Needle new']);
    await until(async () => (await count.textContent()) === '1 of 3', { message: 'the added entry is counted' });
    await input.press('Shift+Enter');
    await until(async () => (await focusedIndex(page)) === 2300, { message: 'the added entry is a match' });
    await page.close();
  });
});
