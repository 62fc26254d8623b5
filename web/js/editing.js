// Editing a playlist in place: remove, move by keys, by dragging and to a position,
// rename, and the undo that each destructive change offers.
import { getRows, setData } from './api.js';
import { moveItems, removeItems } from './commands.js';
import { planMove } from './moveplan.js';
import { param } from './paths.js';
import { TYPE } from './listview.js';
import { rowKey } from './listmodel.js';
import { captureList, captureRows, menuSwitches, recreatePlaylist, restoreTracks } from './undo.js';

export class Editing {
  constructor(app) {
    this.app = app;
  }

  plural(n, word = 'track') {
    return `${n} ${word}${n === 1 ? '' : 's'}`;
  }

  // ---- remove ----------------------------------------------------------------------

  async removeSelected(view) {
    if (!view.editable) return;
    const indices = await view.targetIndices();
    if (!indices.length) return;
    const captured = await captureRows(view.path, indices);
    if (captured.error) return this.app.toast(captured.error.message, { kind: 'error' });
    const answer = await removeItems(view.plid, indices);
    if (answer.error) return this.app.toast(answer.error.message, { kind: 'error' });
    view.selected.clear();
    this.app.selectionChanged(view);
    this.offerTrackUndo(view.plid, view.path, captured.rows, indices, view.title);
  }

  offerTrackUndo(plid, path, rows, indices, listTitle) {
    const what = rows.length === 1 ? `“${rows[0].title}”` : this.plural(rows.length);
    this.app.announce(`Removed ${what} from ${listTitle}.`);
    this.app.undo.push({
      label: `Removed ${what}`,
      doneLabel: `Put back ${what}`,
      run: () => restoreTracks(plid, path, rows, indices),
    });
  }

  // ---- move ------------------------------------------------------------------------

  async moveBy(view, delta) {
    if (!view.editable) return;
    const indices = await view.targetIndices();
    if (!indices.length) return;
    await this.moveTo(view, indices, indices[0] + delta);
  }

  async moveToPosition(view) {
    if (!view.editable) return;
    const indices = await view.targetIndices();
    if (!indices.length) return;
    const count = view.model.count;
    const text = await this.app.ask({
      title: indices.length === 1 ? 'Move track to position' : `Move ${indices.length} tracks to position`,
      label: `Position (1–${count - indices.length + 1})`,
      value: String(indices[0] + 1),
      type: 'number',
    });
    if (text === null) return;
    const position = parseInt(text, 10);
    if (!Number.isFinite(position)) return this.app.toast('Please give a number.', { kind: 'error' });
    await this.moveTo(view, indices, position - 1);
  }

  /** Makes the rows at `indices` one block starting at `target`, keeping focus on its row. */
  async moveTo(view, indices, target) {
    const count = view.model.count;
    const t = Math.max(0, Math.min(target, count - indices.length));
    const commands = planMove(count, indices, t);
    if (!commands.length) return;
    for (const command of commands) {
      const answer = await moveItems(view.plid, command.items, command.to);
      if (answer.error) return this.app.toast(answer.error.message, { kind: 'error' });
    }
    view.revealFocus = true;
    const first = view.model.row(indices[0]);
    const what = indices.length === 1 && first ? `“${first.title}”` : this.plural(indices.length);
    this.app.announce(`Moved ${what} to position ${t + 1} of ${count}.`);
  }

  // ---- drag by handle --------------------------------------------------------------

  startDrag(view, index, event) {
    const row = view.model.row(index);
    if (!view.editable || !row) return;
    event.preventDefault();
    const key = rowKey(row);
    if (!view.selected.has(key)) view.setFocus(index, { select: true });
    const dragged = [];
    for (const [i, r] of view.model.rows) if (view.selected.has(rowKey(r))) dragged.push(i);
    dragged.sort((a, b) => a - b);
    const h = view.rowHeight;
    const line = document.createElement('div');
    line.className = 'drop-line';
    view.listEl.append(line);
    view.listEl.classList.add('dragging');
    view.listEl.setPointerCapture(event.pointerId);
    let gap = index;
    let lastY = event.clientY;
    const place = () => {
      const top = view.listEl.getBoundingClientRect().top;
      gap = Math.max(0, Math.min(view.model.count, Math.round((lastY - top) / h)));
      line.style.transform = `translateY(${gap * h - 1}px)`;
    };
    const scroller = setInterval(() => {
      const box = view.el.getBoundingClientRect();
      const edge = Math.min(60, box.height / 4);
      if (lastY < box.top + edge) view.el.scrollTop -= h / 2;
      else if (lastY > box.bottom - edge) view.el.scrollTop += h / 2;
      else return;
      place();
    }, 40);
    const move = (e) => {
      lastY = e.clientY;
      place();
    };
    const end = (e) => {
      clearInterval(scroller);
      view.listEl.removeEventListener('pointermove', move);
      view.listEl.removeEventListener('pointerup', end);
      view.listEl.removeEventListener('pointercancel', end);
      view.listEl.classList.remove('dragging');
      line.remove();
      if (e.type === 'pointerup') {
        const target = gap - dragged.filter((i) => i < gap).length;
        this.moveTo(view, dragged, target);
      }
    };
    place();
    view.listEl.addEventListener('pointermove', move);
    view.listEl.addEventListener('pointerup', end);
    view.listEl.addEventListener('pointercancel', end);
  }

  // ---- rename and input rows -------------------------------------------------------

  /** F2 on a row: the row's own text field, or the text entry of its menu that holds its name. */
  async rename(view, index) {
    const row = view.model.row(index);
    if (!row) return;
    if (row.type === TYPE.input) return this.app.activate(view, index);
    if (!row.context || !row.context.path) return;
    const menu = await getRows(row.context.path, 0, 99);
    const entry = (menu.rows ?? []).find((r) => r.type === TYPE.input && r.value && r.value.string_ === row.title);
    if (!entry) return this.app.toast(`“${row.title}” cannot be renamed.`);
    const text = await view.editInline(index, { label: `${entry.title}: ${row.title}`, value: row.title });
    if (text === null || text === row.title) return;
    const answer = await setData(entry.path, text);
    if (answer.error) return this.app.toast(answer.error.message, { kind: 'error' });
    this.app.announce(`Renamed to ${text}.`);
  }

  /** "Rename…" of a menu: asks for the name in a dialog and hands it to `send`, which answers as setData does. */
  async renameWith(name, send) {
    const text = await this.app.ask({ title: `Rename “${name}”`, label: 'New name', value: name });
    if (text === null || text === name) return;
    const answer = await send(text);
    if (answer.error) return this.app.toast(answer.error.message, { kind: 'error' });
    this.app.announce(`Renamed to ${text}.`);
  }

  // ---- undo of menu actions --------------------------------------------------------

  /** Keeps what a destructive menu entry is about to remove, so that it can be put back. */
  async captureBefore({ row, level, subject, view }) {
    const action = param(row.path, 'action');
    if (action === 'removeTr' && subject && view) {
      const index = view.model.indexOfId(rowKey(subject));
      if (index < 0) return null;
      const captured = await captureRows(view.path, [index]);
      return captured.error ? null : { kind: 'tracks', plid: view.plid, path: view.path, rows: captured.rows, indices: [index], title: view.title };
    }
    if ((action === 'clearPl' || action === 'delPL') && subject && subject.path) {
      const captured = await captureList(subject.path);
      if (captured.error) return null;
      const plid = Number(param(row.path, 'plid'));
      if (action === 'clearPl') {
        const indices = captured.rows.map((_, i) => i);
        return { kind: 'tracks', plid, path: subject.path, rows: captured.rows, indices, title: subject.title, cleared: true };
      }
      return { kind: 'playlist', name: subject.title, rows: captured.rows, menuPath: level.path, switches: menuSwitches(level.rows) };
    }
    return null;
  }

  offerUndoAfter(capture) {
    if (!capture) return;
    if (capture.kind === 'tracks' && capture.cleared) {
      if (!capture.rows.length) return;
      const label = `Cleared ${capture.title}`;
      this.app.undo.push({ label, doneLabel: `Put back ${this.plural(capture.rows.length)} in ${capture.title}`, run: () => restoreTracks(capture.plid, capture.path, capture.rows, capture.indices) });
      this.app.announce(`${label}.`);
    } else if (capture.kind === 'tracks') {
      this.offerTrackUndo(capture.plid, capture.path, capture.rows, capture.indices, capture.title);
    } else if (capture.kind === 'playlist') {
      const label = `Deleted ${capture.name}`;
      this.app.undo.push({ label, doneLabel: `Brought back ${capture.name}`, run: () => recreatePlaylist(capture) });
      this.app.announce(`${label}.`);
    }
  }
}
