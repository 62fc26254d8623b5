// Undo for removing tracks, clearing a list and deleting a playlist. Nothing is kept on
// the device for this: before the change the page keeps a copy of the tracks, and the
// undo sends the commands that reverse it (add the same tracks back, then move them to
// where they stood), so the list ends with the same tracks in the same order.
import { getRows, setData, answerResult, unwrapValue } from './api.js';
import { addExternalItems, createPlaylist, fetchAllRoles, itemFromRoles, moveItems } from './commands.js';
import { planRestore } from './moveplan.js';
import { buildPath, parsePath } from './paths.js';
import { TYPE } from './listview.js';

const KEEP = 20;

export class UndoStack {
  constructor(app) {
    this.app = app;
    this.entries = [];
  }

  push(entry) {
    this.entries.push(entry);
    if (this.entries.length > KEEP) this.entries.shift();
    this.app.toast(entry.label, { action: 'Undo', onAction: () => this.undo(entry), timeout: 10000 });
  }

  async undoLast() {
    const entry = this.entries[this.entries.length - 1];
    if (entry) await this.undo(entry);
    else this.app.announce('Nothing to undo.');
  }

  async undo(entry) {
    const at = this.entries.indexOf(entry);
    if (at < 0) return;
    this.entries.splice(at, 1);
    this.app.dismissToasts();
    const error = await entry.run();
    if (error) {
      this.app.toast(`Undo failed: ${error}`, { kind: 'error' });
    } else {
      this.app.toast(entry.doneLabel);
      this.app.announce(entry.doneLabel);
    }
  }
}

/** Full roles of the rows at `indices` (ascending) of a list. */
export async function captureRows(path, indices) {
  const rows = [];
  let i = 0;
  while (i < indices.length) {
    let j = i;
    while (j + 1 < indices.length && indices[j + 1] === indices[j] + 1 && j - i < 499) j++;
    const answer = await getRows(path, indices[i], indices[j]);
    if (answer.error) return answer;
    rows.push(...(answer.rows ?? []));
    i = j + 1;
  }
  return { rows };
}

/** Puts back tracks that stood at `indices` (ascending) of playlist `plid` shown at `path`. */
export async function restoreTracks(plid, path, rows, indices) {
  const now = await getRows(path, 0, 0, ['id']);
  if (now.error) return now.error.message;
  const countAfterRemoval = Number(now.rowsCount) || 0;
  const added = await addExternalItems(plid, rows.map(itemFromRoles), 2);
  if (added.error) return added.error.message;
  const fitting = indices.map((index, k) => Math.min(index, countAfterRemoval + k));
  for (const command of planRestore(countAfterRemoval, fitting)) {
    const moved = await moveItems(plid, command.items, command.to);
    if (moved.error) return moved.error.message;
  }
  return null;
}

/** Everything needed to bring a whole list back: its tracks in order. */
export async function captureList(path) {
  const head = await getRows(path, 0, 0, ['id']);
  if (head.error) return head;
  const count = Number(head.rowsCount) || 0;
  return count ? fetchAllRoles(path, 0, count - 1) : { rows: [] };
}

/** Creates the playlist again with its tracks and its switches (shuffle, repeat). */
export async function recreatePlaylist({ name, rows, menuPath, switches }) {
  const created = await createPlaylist(name);
  if (created.error) return created.error.message;
  const plid = Number(answerResult(created));
  if (!(plid > 0)) return 'The playlist could not be created again.';
  if (rows.length) {
    const added = await addExternalItems(plid, rows.map(itemFromRoles), 2);
    if (added.error) return added.error.message;
  }
  if (menuPath && switches.length) {
    const parsed = parsePath(menuPath);
    const params = Object.fromEntries(parsed.params);
    params.plid = String(plid);
    const menu = await getRows(buildPath(parsed.base, params), 0, 99);
    for (const entry of menu.rows ?? []) {
      const old = switches.find((s) => s.title === entry.title);
      if (old && entry.type === TYPE.input && unwrapValue(entry.value) !== old.value) {
        const set = await setData(entry.path, old.value);
        if (set.error) return set.error.message;
      }
    }
  }
  return null;
}

/** The boolean entries of a menu (shuffle, repeat ...) with their current values. */
export function menuSwitches(rows) {
  return (rows ?? [])
    .filter((row) => row.type === TYPE.input && typeof unwrapValue(row.value) === 'boolean')
    .map((row) => ({ title: row.title, value: unwrapValue(row.value) }));
}
