// The keys of a list, as a table: each entry names its key (and modifiers), when it applies, and
// what it does to the view. The first entry that matches and applies takes the key.
//   alt / mod / shift: true (must be held), false (must not), absent (either)
//   when(view): whether it applies now; run(view, event, ctx): what it does
// ctx has { i: the focused index, page: rows in a page, move(to): focus to, selecting as the
// modifiers say }.

const isTrackTarget = (view, i) => view.canSelect(view.model.row(i));

export const LIST_KEYS = [
  { key: 'ArrowUp', alt: true, run: (view) => view.emit('edit', { kind: 'moveBy', delta: -1 }) },
  { key: 'ArrowDown', alt: true, run: (view) => view.emit('edit', { kind: 'moveBy', delta: 1 }) },
  { key: 'ArrowLeft', alt: true, run: (view) => view.emit('back') },
  { key: 'ArrowDown', run: (view, e, c) => c.move(view.nextSelectable(c.i, 1)) },
  { key: 'ArrowUp', run: (view, e, c) => c.move(view.nextSelectable(c.i, -1)) },
  { key: 'PageDown', run: (view, e, c) => c.move(Math.min(view.model.count - 1, c.i + c.page)) },
  { key: 'PageUp', run: (view, e, c) => c.move(Math.max(0, c.i - c.page)) },
  { key: 'Home', run: (view, e, c) => c.move(0) },
  { key: 'End', run: (view, e, c) => c.move(view.model.count - 1) },
  { key: 'Enter', run: (view, e, c) => view.activateAt(c.i) },
  { key: ' ', when: (view) => isTrackTarget(view, view.focus.index), run: (view, e, c) => view.setFocus(c.i, { toggle: true }) },
  { key: ' ', run: (view, e, c) => view.activateAt(c.i) },
  { key: 'Escape', when: (view) => view.selected.size > 0, run: (view) => view.clearSelection() },
  { key: 'Backspace', run: (view) => view.emit('back') },
  { key: 'Delete', run: (view) => view.emit('edit', { kind: 'remove' }) },
  { key: 'F2', run: (view, e, c) => view.emit('edit', { kind: 'rename', index: c.i }) },
  { key: 'ContextMenu', run: (view, e) => view.onContextMenu(e) },
  { key: 'F10', shift: true, run: (view, e) => view.onContextMenu(e) },
  { key: 'a', mod: true, alt: false, when: (view) => view.editable, run: (view) => view.selectAll() },
  { key: 'm', mod: false, alt: false, shift: false, when: (view) => view.editable, run: (view) => view.emit('edit', { kind: 'moveTo' }) },
  { key: '/', mod: false, alt: false, run: (view) => view.emit('find') },
];

function matches(entry, event, mod) {
  const key = entry.key.length === 1 ? event.key.toLowerCase() : event.key;
  if (key !== entry.key) return false;
  if (entry.alt !== undefined && entry.alt !== event.altKey) return false;
  if (entry.mod !== undefined && entry.mod !== mod) return false;
  if (entry.shift !== undefined && entry.shift !== event.shiftKey) return false;
  return true;
}

/** Runs the entry of the table that takes event; true when one did (the event is then consumed). */
export function runListKey(view, event, ctx) {
  const mod = event.ctrlKey || event.metaKey;
  const entry = LIST_KEYS.find((e) => matches(e, event, mod) && (!e.when || e.when(view)));
  if (!entry) return false;
  event.preventDefault();
  entry.run(view, event, ctx);
  return true;
}
