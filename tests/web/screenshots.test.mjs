// Screenshots of each main view at a laptop size and a phone size, for a person to look at
// (test-output/screenshots/). On the phone one column shows at a time, and no control is
// smaller than a finger.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { mkdirSync } from 'node:fs';
import path from 'node:path';
import { repoRoot } from './lib/host.mjs';
import { useHostAndBrowser, row, menu, menuItem, openChain, until, viewMenuButton, LAPTOP, PHONE } from './lib/browser.mjs';

const shots = path.join(repoRoot, 'test-output', 'screenshots');
mkdirSync(shots, { recursive: true });
let media;
const { host, open } = useHostAndBrowser({ setUp: async () => {
  media = await host.mediaTracks(14);
  const morning = await host.createPlaylist('Morning coffee', media.tracks.map((t) => t.path));
  await host.createPlaylist('Road trip');
  await host.addByPath(0, media.tracks.slice(0, 5).map((t) => t.path));
  await host.command('playlists:pl/play', { plid: morning });
  await host.command('player:control', { control: 'next' });
  await until(async () => (await host.playerState())?.state === 'playing', { message: 'playback' });
} });

const smallTargets = (page) => page.evaluate(() => [...document.querySelectorAll('button, [role="option"], input')]
  .filter((el) => el.offsetParent && !el.closest('[hidden], .menu-layer[hidden], dialog:not([open])'))
  .filter((el) => { const box = el.getBoundingClientRect(); return box.width > 0 && (box.height < 32 || box.width < 32); })
  .map((el) => el.getAttribute('aria-label') || el.textContent.trim().slice(0, 30)));

for (const [size, viewport] of [['laptop', LAPTOP], ['phone', PHONE]]) {
  test(`on a ${size}: the playlists, the library with its add menu, the keys, and a playlist with its menus`, async () => {
    const shot = (name) => page.screenshot({ path: path.join(shots, `${name}-${size}.png`) });
    const page = await open(viewport);
    await page.locator('.np-title', { hasText: media.tracks[1].title }).waitFor();
    await shot('playlists');
    if (size === 'phone') {
      assert.deepEqual(await smallTargets(page), []);
      assert.equal(await page.locator('#pane-library').isHidden(), true);
      await page.getByRole('tab', { name: 'Library' }).click();
      assert.equal(await page.locator('#pane-playlists').isHidden(), true);
      assert.ok((await page.locator('#pane-library').boundingBox()).width <= PHONE.width, 'the column fits the screen');
    }
    await openChain(page, 'library', media.chain);
    await shot('library');
    await row(page, 'library', media.tracks[2].title).locator('button[data-act="menu"]').click();
    await menuItem(page, 'Add to play queue').click();
    await menuItem(page, 'After current').waitFor();
    await shot('add-menu');
    await page.keyboard.press('Escape');
    await page.keyboard.press('?');
    assert.match(await page.locator('#help[open]').textContent(), /Alt\+↑ ↓/);
    await shot('keys');
    await page.keyboard.press('Escape');
    await page.locator('#help:not([open])').waitFor({ state: 'attached' });

    if (size === 'phone') await page.getByRole('tab', { name: 'Playlists' }).click();
    await openChain(page, 'playlists', ['Morning coffee']);
    await page.locator('#pane-playlists [role="option"].playing').waitFor();
    await row(page, 'playlists', media.tracks[3].title).click();
    await row(page, 'playlists', media.tracks[4].title).click({ modifiers: ['Shift'] });
    await shot('playlist');
    if (size === 'phone') assert.deepEqual(await smallTargets(page), []);
    await page.emulateMedia({ colorScheme: 'dark' });
    await shot('playlist-dark');
    await page.emulateMedia({ colorScheme: 'light' });
    await viewMenuButton(page).click();
    await menu(page).locator('[role="menuitemcheckbox"]').first().waitFor();
    await shot('playlist-menu');
  });
}
