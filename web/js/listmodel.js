// What a list view knows of its node's rows: a sparse cache by row index, filled page by
// page. Rows stay cached (shown) after a reset until their page is fetched again, so a
// refresh never blanks the list; inserts shift cached rows so that nothing jumps.

export const PAGE_SIZE = 50;

export class ListModel {
  constructor(pageSize = PAGE_SIZE) {
    this.pageSize = pageSize;
    this.count = -1; // unknown until the first answer
    this.rows = new Map(); // index -> row
    this.fresh = new Set(); // pages fetched since the last reset
    this.generation = 0;
  }

  row(index) {
    return this.rows.get(index);
  }

  pageOf(index) {
    return Math.floor(index / this.pageSize);
  }

  /** Stores an answer for the page starting at `from`, unless a reset came in between. */
  applyPage(page, generation, answer) {
    if (generation !== this.generation) return false;
    const from = page * this.pageSize;
    this.count = Math.max(0, Number(answer.rowsCount) || 0);
    const rows = Array.isArray(answer.rows) ? answer.rows : [];
    for (let i = 0; i < this.pageSize; i++) {
      if (i < rows.length && from + i < this.count) this.rows.set(from + i, rows[i]);
      else this.rows.delete(from + i);
    }
    for (const index of this.rows.keys()) if (index >= this.count) this.rows.delete(index);
    this.fresh.add(page);
    return true;
  }

  /** Pages of rows first..last that need fetching (missing or stale). */
  pagesToFetch(first, last) {
    const pages = [];
    if (last < first) return pages;
    for (let page = this.pageOf(Math.max(0, first)); page <= this.pageOf(last); page++) {
      if (this.count >= 0 && page * this.pageSize >= this.count && page > 0) break;
      if (!this.fresh.has(page)) pages.push(page);
    }
    return pages;
  }

  /** Everything may have changed: keep showing old rows, refetch all pages. */
  reset() {
    this.generation++;
    this.fresh.clear();
  }

  /**
   * Rows were inserted; `positions` are their indices after the insertion ("+4", "+5").
   * Cached rows move behind them; the new rows are unknown until fetched.
   */
  insert(positions) {
    const inserted = [...new Set(positions)].filter((p) => p >= 0).sort((a, b) => a - b);
    if (!inserted.length) return;
    const moved = new Map();
    for (const index of this.rows.keys()) moved.set(shiftedIndex(index, inserted), this.rows.get(index));
    this.rows = moved;
    if (this.count >= 0) this.count += inserted.length;
    // Page boundaries moved: every page from the first insert on is stale. A reset of the
    // generation is not needed; answers in flight are for pages before or equally stale.
    this.generation++;
    for (const page of [...this.fresh]) {
      if (page >= this.pageOf(inserted[0])) this.fresh.delete(page);
    }
  }

  /** Index of the cached row with this id, or -1. */
  indexOfId(id) {
    if (id === undefined || id === null) return -1;
    for (const [index, row] of this.rows) if (rowKey(row) === id) return index;
    return -1;
  }
}

/** Where the row at `index` stands after rows were inserted at `inserted` (ascending, after insertion). */
export function shiftedIndex(index, inserted) {
  let k = 0;
  while (k < inserted.length && inserted[k] <= index + k) k++;
  return index + k;
}

/** A row's identity: its item id when it has one, otherwise its path, otherwise its title. */
export function rowKey(row) {
  if (!row) return undefined;
  if (row.id !== undefined && row.id !== null && row.id !== '') return `id:${row.id}`;
  if (row.path) return `path:${row.path}`;
  return `title:${row.type}:${row.title}`;
}
