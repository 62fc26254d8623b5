// The focus and selection of a list: the focused row, the anchor of a range, the selected rows.
// All are kept by row identity (item id), never by index alone, so that edits from elsewhere
// move none of them. Changes are announced by the view's "selection" event.
import { getRows } from './api.js';
import { rowKey } from './listmodel.js';
import { TYPE } from './listrow.js';

export class ListSelection {
  constructor(view) {
    this.view = view;
    this.selected = new Set();
    this.focus = { index: 0, key: undefined };
    this.anchor = null;
    this.pendingSelect = false;
  }

  get model() {
    return this.view.model;
  }

  isSelectable(row) {
    return !row || (row.type !== TYPE.header && row.type !== TYPE.separator);
  }

  canSelect(row) {
    return this.view.editable && row && row.type === TYPE.track;
  }

  setFocus(index, { select = false, extend = false, toggle = false, align = 'nearest' } = {}) {
    const count = this.model.count;
    if (count <= 0) return;
    index = Math.max(0, Math.min(count - 1, index));
    const row = this.model.row(index);
    if (extend && !this.anchor) this.anchor = { ...this.focus };
    this.focus = { index, key: rowKey(row) };
    this.pendingSelect = select && !row;
    if (extend && this.anchor) this.selectRange(this.anchorIndex(), index);
    else if (toggle) this.toggleSelected(row);
    else if (select) {
      this.selected.clear();
      if (this.canSelect(row)) this.selected.add(rowKey(row));
      this.anchor = { index, key: rowKey(row) };
    }
    if (!extend && !select && !toggle) this.anchor = { index, key: rowKey(row) };
    this.view.scrollToIndex(index, align);
    this.view.render();
    this.view.fetchVisible();
    this.view.emit('selection');
  }

  /** A focused row that was still loading has come in: it takes the selection it was meant to. */
  focusedRowArrived(row) {
    this.focus.key = rowKey(row);
    if (this.pendingSelect && this.canSelect(row)) {
      this.selected.clear();
      this.selected.add(this.focus.key);
      this.anchor = { index: this.focus.index, key: this.focus.key };
      this.view.emit('selection');
    }
    this.pendingSelect = false;
  }

  /** Where the anchor of a range selection is now: it stays on its row when rows move. */
  anchorIndex() {
    const index = this.model.indexOfId(this.anchor.key);
    return index >= 0 ? index : this.anchor.index;
  }

  toggleSelected(row) {
    if (!this.canSelect(row)) return;
    const key = rowKey(row);
    if (this.selected.has(key)) this.selected.delete(key);
    else this.selected.add(key);
    this.anchor = { index: this.model.indexOfId(key), key };
  }

  async selectRange(from, to) {
    const [a, b] = from <= to ? [from, to] : [to, from];
    const keys = await this.keysOf(a, b);
    this.selected.clear();
    for (const key of keys) if (key) this.selected.add(key);
    this.view.render();
    this.view.emit('selection');
  }

  async selectAll() {
    if (!this.view.editable || this.model.count <= 0) return;
    await this.selectRange(0, this.model.count - 1);
    this.view.emit('announce', { text: `${this.selected.size} tracks selected.` });
  }

  clearSelection() {
    if (!this.selected.size) return;
    this.selected.clear();
    this.view.render();
    this.view.emit('selection');
  }

  /** Keys of rows a..b; rows not in the cache are asked for by id only. */
  async keysOf(a, b) {
    const keys = [];
    let missing = false;
    for (let i = a; i <= b; i++) {
      const row = this.model.row(i);
      if (!row) missing = true;
      keys.push(row && this.canSelect(row) ? rowKey(row) : undefined);
    }
    if (!missing) return keys;
    const answer = await getRows(this.view.path, a, b, ['id', 'type']);
    if (answer.error) return keys;
    return (answer.rows ?? []).map((row) => (row.type === TYPE.track ? rowKey(row) : undefined));
  }

  /** Current indices of the selected rows (ascending), asked of the node when not cached. */
  async selectedIndices() {
    const found = [];
    const wanted = new Set(this.selected);
    for (const [index, row] of this.model.rows) {
      const key = rowKey(row);
      if (wanted.has(key)) {
        found.push(index);
        wanted.delete(key);
      }
    }
    if (wanted.size && this.model.count > 0) {
      const answer = await getRows(this.view.path, 0, this.model.count - 1, ['id']);
      for (const [index, row] of (answer.rows ?? []).entries()) {
        if (wanted.has(rowKey(row))) found.push(index);
      }
    }
    return [...new Set(found)].sort((a, b) => a - b);
  }

  /** The rows an edit acts on: the selection, or the focused track when nothing is selected. */
  async targetIndices() {
    if (this.selected.size) return this.selectedIndices();
    const row = this.model.row(this.focus.index);
    return this.canSelect(row) ? [this.focus.index] : [];
  }

  nextSelectable(index, step) {
    const count = this.model.count;
    let i = index;
    for (let n = 0; n < count; n++) {
      i += step;
      if (i < 0 || i >= count) return index;
      if (this.isSelectable(this.model.row(i))) return i;
    }
    return index;
  }
}
