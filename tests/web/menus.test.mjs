// Menus that render every row type of the node they open, and adding from the media library,
// where a plain click never changes a list.
import { test, describe } from 'node:test';
import assert from 'node:assert/strict';
import { useHostAndBrowser, row, menu, menuItem, openChain, toast, until } from './lib/browser.mjs';

const { host, open } = useHostAndBrowser();

describe('menus', () => {
  test('a playlist menu shows actions, switches, a further menu and a separator; a failed entry shows its message and the menu stays', async () => {
    await host.createPlaylist('Kinds');
    const page = await open();
    await row(page, 'playlists', 'Kinds').locator('button[data-act="menu"]').click();
    await menuItem(page, 'Play').click();
    assert.match(await menu(page).locator('.menu-msg.error').textContent(), /no items/i, 'the empty playlist does not play');
    assert.equal(await menu(page).locator('[role="menuitemcheckbox"]').count(), 2, 'shuffle and repeat are switches');
    assert.ok((await menu(page).locator('[role="separator"]').count()) >= 1);
    assert.equal(await menuItem(page, 'Merge with playlist').getAttribute('aria-haspopup'), 'menu');

    const shuffle = menu(page).locator('[role="menuitemcheckbox"]').first();
    await shuffle.click();
    await until(async () => (await shuffle.getAttribute('aria-checked')) === 'true', { message: 'shuffle switched on' });
    await menuItem(page, 'Merge with playlist').click();
    await menu(page).locator('.menu-back').waitFor();
    await page.keyboard.press('ArrowLeft');
    await menuItem(page, 'Play').waitFor();
    await page.keyboard.press('Escape');
    assert.equal(await menu(page).count(), 0);
  });
});

describe('adding from the library', () => {
  test('a plain click only selects a track; its add menu puts it where it says, and a note tells the position', async () => {
    const QUEUE = 'playlists:pq/getitems';
    const { tracks, chain } = await host.mediaTracks(4, { distinct: true });
    const [a, b, c, x] = tracks.map((t) => t.title);
    await host.addByPath(0, tracks.slice(0, 3).map((t) => t.path));
    await host.command('playlists:pl/play', { plid: 0 });
    await until(async () => (await host.playerState())?.trackRoles?.title === a, { message: 'the queue to play' });
    const page = await open();
    await openChain(page, 'library', chain);
    await row(page, 'library', x).click();
    await page.waitForTimeout(300);
    assert.deepEqual(await host.titles(QUEUE), [a, b, c], 'a click changed no list');

    await row(page, 'library', x).locator('button[data-act="menu"]').click();
    for (const entry of ['Add to play queue', 'After current']) await menuItem(page, entry).click();
    await until(async () => (await menu(page).count()) === 0, { message: 'the menu to close after adding' });
    assert.deepEqual(await host.titles(QUEUE), [a, x, b, c]);
    assert.match(await toast(page, `Added “${x}”`).textContent(), /PlayQueue at position 2\./);
  });
});
