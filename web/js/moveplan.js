// Plans the module's move commands. A move command {items, to} runs single moves: when
// its first index lies behind `to` it places items[i] at to + i in turn (a stable block
// move to the front); otherwise it walks the list from the back, which does not keep a
// block of several items together. So a block that goes towards the end is expressed as
// the items it passes going to the front instead, which is the same reordering.

/**
 * Commands that make the items at `selected` (indices in a list of `count`) one block,
 * in their order, starting at index `target` of the resulting list.
 * Returns a list of { items, to } (empty when nothing changes).
 */
export function planMove(count, selected, target) {
  const chosen = [...new Set(selected)].filter((i) => i >= 0 && i < count).sort((a, b) => a - b);
  if (!chosen.length) return [];
  const t = Math.max(0, Math.min(target, count - chosen.length));
  if (chosen.length === 1) return chosen[0] === t ? [] : [{ items: [chosen[0]], to: t }];

  const chosenSet = new Set(chosen);
  const rest = [];
  for (let i = 0; i < count; i++) if (!chosenSet.has(i)) rest.push(i);
  const insertAt = t < rest.length ? rest[t] : count; // original index the block goes before

  const behind = chosen.filter((i) => i > insertAt);
  const before = chosen.filter((i) => i < insertAt);
  const commands = [];
  if (behind.length) commands.push({ items: behind, to: insertAt });
  if (before.length) {
    // After the first command the block of `behind` sits at insertAt..; the items between
    // the first chosen one and that block go to the front of `before`.
    const passed = rest.filter((i) => i > before[0] && i < insertAt);
    if (passed.length) commands.push({ items: passed, to: before[0] });
  }
  return commands;
}

/**
 * Commands that put back removed items after they were appended at the end of a list
 * that held `countAfterRemoval` items: `originalIndices` (ascending) are where the items
 * stood before; runs of neighbours move as one block.
 */
export function planRestore(countAfterRemoval, originalIndices) {
  const indices = [...originalIndices].sort((a, b) => a - b);
  const commands = [];
  let tail = countAfterRemoval;
  let i = 0;
  while (i < indices.length) {
    let j = i;
    while (j + 1 < indices.length && indices[j + 1] === indices[j] + 1) j++;
    const length = j - i + 1;
    const to = indices[i];
    if (to < tail) {
      commands.push({ items: Array.from({ length }, (_, k) => tail + k), to });
    }
    tail += length;
    i = j + 1;
  }
  return commands;
}
