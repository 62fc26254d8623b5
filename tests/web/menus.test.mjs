// Menus that render every row type of the node they open.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { useHostAndBrowser, row, menu, menuItem, until } from './lib/browser.mjs';

const { host, open } = useHostAndBrowser();

test('a playlist menu shows actions, switches and a further menu; a failed entry shows its message and the menu stays', async () => {
  await host.createPlaylist('Kinds');
  const page = await open();
  await row(page, 'playlists', 'Kinds').locator('button[data-act="menu"]').click();
  await menuItem(page, 'Play').click();
  assert.match(await menu(page).locator('.menu-msg.error').textContent(), /no items/i, 'the empty playlist does not play');
  assert.equal(await menu(page).locator('[role="menuitemcheckbox"]').count(), 2, 'shuffle and repeat are switches');
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
