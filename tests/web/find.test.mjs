// Find in an open list: "/" or the find button opens the bar, typing counts the matches of
// title, artist or album and focuses the first, Enter / Shift+Enter move between them, and rows
// far down the virtual list are scrolled to.
import { test, describe } from 'node:test';
import assert from 'node:assert/strict';
import { NO_ITEMS_LIMIT } from './lib/host.mjs';
import { useHostAndBrowser, openChain, until } from './lib/browser.mjs';

const { host, open } = useHostAndBrowser({ settings: [NO_ITEMS_LIMIT] });

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
    await page.getByRole('button', { name: 'Find in Findable' }).click();
    await input.waitFor();
  });

  test('a list longer than one read finds in all of it, and entries added while it is open are found too', async () => {
    const plid = await host.createPlaylist('Long find');
    await host.addTitled(plid, Array.from({ length: 2300 }, (_, i) => (i === 40 || i === 2250 ? `Needle ${i}` : `Hay ${i}`)));
    const { page, input, counted, focused } = await findIn('Long find');
    await input.fill('needle');
    await counted('1 of 2', 'both needles counted');
    assert.equal(await focusedIndex(page), 40);

    await host.addTitled(plid, ['Needle new']);
    await counted('1 of 3', 'the added entry is counted');
    await input.press('Shift+Enter');
    await focused(2300, 'the added entry is a match');
  });
});
