// Screenshots of each main view at a laptop size and a phone size, for a person to look at
// (test-output/screenshots/). Each view is also checked for what makes it usable there.
import { test, before, after, describe } from 'node:test';
import assert from 'node:assert/strict';
import { startHost } from './lib/host.mjs';
import { launch, row, menu, openChain, screenshot, until, LAPTOP, PHONE } from './lib/browser.mjs';

let host;
let browser;
let media;

before(async () => {
  host = await startHost();
  browser = await launch();
  media = await host.mediaTracks(14);
  const morning = await host.createPlaylist('Morning coffee');
  await host.addByPath(morning, media.tracks.map((t) => t.path));
  await host.createPlaylist('Road trip');
  await host.addByPath(0, media.tracks.slice(0, 5).map((t) => t.path));
  await host.set('playlists:pl/play', { plid: morning });
  await host.set('player:control', { control: 'next' });
  await until(async () => (await host.playerState())?.state === 'playing', { message: 'playback' });
});
after(async () => {
  await browser?.close();
  await host?.close();
});

/** No control smaller than a finger on the phone. */
async function smallTargets(page) {
  return page.evaluate(() => [...document.querySelectorAll('button, [role="option"], input')]
    .filter((el) => el.offsetParent && !el.closest('[hidden], .menu-layer[hidden], dialog:not([open])'))
    .map((el) => ({ el, box: el.getBoundingClientRect() }))
    .filter(({ box }) => box.width > 0 && (box.height < 32 || box.width < 32))
    .map(({ el }) => el.getAttribute('aria-label') || el.textContent.trim().slice(0, 30)));
}

for (const [size, viewport] of [['laptop', LAPTOP], ['phone', PHONE]]) {
  describe(`on a ${size}`, () => {
    test('the playlists and the library', async () => {
      const page = await browser.page(host.url, viewport);
      await row(page, 'playlists', 'Morning coffee').waitFor();
      await page.locator('.np-title', { hasText: media.tracks[1].title }).waitFor();
      await screenshot(page, `playlists-${size}.png`);
      if (size === 'phone') {
        assert.deepEqual(await smallTargets(page), []);
        await page.getByRole('tab', { name: 'Library' }).click();
      }
      await openChain(page, 'library', media.chain);
      await screenshot(page, `library-${size}.png`);
      await page.close();
    });

    test('a playlist with its playing track, a selection and a menu', async () => {
      const page = await browser.page(host.url, viewport);
      await openChain(page, 'playlists', ['Morning coffee']);
      await page.locator('#pane-playlists [role="option"].playing').waitFor();
      await row(page, 'playlists', media.tracks[3].title).click();
      await row(page, 'playlists', media.tracks[4].title).click({ modifiers: ['Shift'] });
      await screenshot(page, `playlist-${size}.png`);
      if (size === 'phone') assert.deepEqual(await smallTargets(page), []);
      await page.emulateMedia({ colorScheme: 'dark' });
      await screenshot(page, `playlist-dark-${size}.png`);
      await page.emulateMedia({ colorScheme: 'light' });
      await row(page, 'playlists', media.tracks[5].title).click({ button: 'right' });
      await menu(page).waitFor();
      await screenshot(page, `track-menu-${size}.png`);
      await page.keyboard.press('Escape');
      await page.locator('#pane-playlists .view-actions button[data-act="menu"]').click();
      await menu(page).locator('[role="menuitemcheckbox"]').first().waitFor();
      await screenshot(page, `playlist-menu-${size}.png`);
      await page.close();
    });

    test('the add menu of a library track and the keys', async () => {
      const page = await browser.page(host.url, viewport);
      if (size === 'phone') await page.getByRole('tab', { name: 'Library' }).click();
      await openChain(page, 'library', media.chain);
      await row(page, 'library', media.tracks[2].title).locator('button[data-act="menu"]').click();
      await menu(page).getByRole('menuitem', { name: 'Add to play queue' }).click();
      await menu(page).getByRole('menuitem', { name: 'After current' }).waitFor();
      await screenshot(page, `add-menu-${size}.png`);
      await page.keyboard.press('Escape');
      await page.keyboard.press('?');
      await page.locator('#help[open]').waitFor();
      await screenshot(page, `keys-${size}.png`);
      await page.close();
    });
  });
}
