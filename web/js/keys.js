// Keys that work anywhere on the page (lists handle their own). Copy and paste are never
// taken over; nothing here fires while the person types in a field.

export const KEY_HELP = [
  ['Lists', [
    ['↑ ↓ Page Up/Down Home End', 'Move through the list'],
    ['Enter', 'Open, play, or add (library)'],
    ['Backspace, Alt+←', 'Back to the previous list'],
    ['Menu key, Shift+F10', 'Open the menu of the row'],
    ['F2', 'Rename'],
    ['/', 'Find in the list (Enter, Shift+Enter: next, previous match)'],
  ]],
  ['Selecting and editing tracks', [
    ['Space, Ctrl/Cmd+click', 'Select or unselect a track'],
    ['Shift+↑ ↓, Shift+click', 'Select a range'],
    ['Ctrl/Cmd+A', 'Select all tracks'],
    ['Alt+↑ ↓', 'Move the selected tracks'],
    ['M', 'Move to a position…'],
    ['Delete', 'Remove the selected tracks'],
    ['Ctrl/Cmd+Z', 'Undo the last removal, clear or delete'],
    ['Escape', 'Clear the selection, close a menu'],
  ]],
  ['Playing', [
    ['P', 'Play or pause'],
    ['N / B', 'Next / previous track'],
    ['[ / ]', 'Back / forward 10 seconds'],
    ['S / R', 'Shuffle / repeat'],
    ['J', 'Jump to the playing track'],
  ]],
  ['Page', [
    ['1 / 2', 'Go to playlists / library'],
    ['?', 'Show this list'],
  ]],
];

function typing(target) {
  return target instanceof HTMLElement && (target.isContentEditable || /^(INPUT|TEXTAREA|SELECT)$/.test(target.tagName));
}

export function installKeys(app) {
  const help = document.getElementById('help');
  help.querySelector('.help-body').innerHTML = KEY_HELP.map(([group, keys]) => `
    <section><h3>${group}</h3><dl>${keys.map(([k, what]) => `<div><dt><kbd>${k}</kbd></dt><dd>${what}</dd></div>`).join('')}</dl></section>`).join('');
  document.getElementById('help-button').addEventListener('click', () => help.showModal());

  document.addEventListener('keydown', (event) => {
    if (event.defaultPrevented || typing(event.target) || app.menu.isOpen) return;
    if (document.querySelector('dialog[open]')) return;
    const mod = event.ctrlKey || event.metaKey;
    if (mod && !event.shiftKey && !event.altKey && event.key.toLowerCase() === 'z') {
      event.preventDefault();
      app.undo.undoLast();
      return;
    }
    if (mod || event.altKey) return;
    const actions = {
      '?': () => help.showModal(),
      p: () => app.player.command('toggle'),
      n: () => app.player.command('next'),
      b: () => app.player.command('previous'),
      s: () => app.player.command('shuffle'),
      r: () => app.player.command('repeat'),
      j: () => app.jumpToPlaying(),
      '[': () => app.player.seekBy(-10000),
      ']': () => app.player.seekBy(10000),
      1: () => app.focusPane(0),
      2: () => app.focusPane(1),
    };
    const action = actions[event.key];
    if (action) {
      event.preventDefault();
      action();
    }
  });
}
