// The page's pure logic, run in node: the move planner against the module's move rules,
// the restore plan of an undo, the row cache under inserts and resets, paths, play modes.
import { test, describe } from 'node:test';
import assert from 'node:assert/strict';
import { planMove, planRestore } from '../../web/js/moveplan.js';
import { ListModel, rowKey } from '../../web/js/listmodel.js';
import { parsePath, playlistIdOf, eventCovers, eventCloses, buildPath } from '../../web/js/paths.js';
import { playMode, splitPlayMode } from '../../web/js/player.js';

/** The module's move command: validation, then single moves in its documented order. */
function moveCommand(list, { items, to }) {
  assert.ok(items.length > 0 && to >= 0 && to < list.length, `items ${items} to ${to} in a list of ${list.length}`);
  const moveItem = (from, target) => {
    const [item] = list.splice(Math.min(from, list.length), 1);
    list.splice(Math.min(target, list.length), 0, item);
  };
  if (items[0] > to) items.forEach((index, i) => moveItem(index, to + i));
  else for (let k = items.length - 1; k >= 0; k--) moveItem(items[k], to - k);
}

/** Every non-empty subset of 0..n-1 for n up to 7, ascending. */
function* selections() {
  for (let n = 1; n <= 7; n++) {
    for (let mask = 1; mask < 1 << n; mask++) yield [n, [...Array(n).keys()].filter((i) => mask & (1 << i))];
  }
}

describe('moving and putting back', () => {
  test('every selection lands as one block, in order, at every target (clamped), with at most two commands', () => {
    for (const [n, chosen] of selections()) {
      for (let target = -1; target <= n - chosen.length + 1; target++) {
        const at = Math.max(0, Math.min(target, n - chosen.length));
        const list = [...Array(n).keys()];
        const rest = list.filter((i) => !chosen.includes(i));
        const expected = [...rest.slice(0, at), ...chosen, ...rest.slice(at)];
        const commands = planMove(n, chosen, target);
        const limit = expected.every((v, i) => v === i) ? 0 : chosen.length === 1 ? 1 : 2;
        assert.ok(commands.length <= limit, `n=${n} chosen=${chosen} target=${target}: ${commands.length} commands`);
        for (const command of commands) moveCommand(list, command);
        assert.deepEqual(list, expected, `n=${n} chosen=${chosen} target=${target}`);
      }
    }
    // A block going down by one moves only the track it passes.
    assert.deepEqual(planMove(100, [10, 11, 12], 11), [{ items: [13], to: 10 }]);
  });

  test('appended tracks go back where every removed set stood, one command per run not already in place', () => {
    for (const [n, removed] of selections()) {
      const original = [...Array(n).keys()].map((i) => `t${i}`);
      const list = original.filter((_, i) => !removed.includes(i));
      const countAfterRemoval = list.length;
      list.push(...removed.map((i) => original[i]));
      const commands = planRestore(countAfterRemoval, removed);
      const runs = removed.filter((i) => !removed.includes(i - 1)).length - (removed.includes(n - 1) ? 1 : 0);
      assert.equal(commands.length, runs, `n=${n} removed=${removed}`);
      for (const command of commands) moveCommand(list, command);
      assert.deepEqual(list, original, `n=${n} removed=${removed}`);
    }
  });
});

describe('the row cache', () => {
  const page = (from, count, total) => ({ rowsCount: total, rows: Array.from({ length: count }, (_, i) => ({ id: String(from + i), title: `t${from + i}` })) });

  test('inserted rows push each cached row back by the inserts before it, keeping its identity', () => {
    const model = new ListModel(10);
    model.applyPage(0, model.generation, page(0, 10, 10));
    model.insert([0, 3, 6]);
    assert.equal(model.count, 13);
    const titles = [...Array(13).keys()].map((i) => model.row(i)?.title ?? '+');
    assert.deepEqual(titles, ['+', 't0', 't1', '+', 't2', 't3', '+', 't4', 't5', 't6', 't7', 't8', 't9']);
    assert.equal(model.indexOfId(rowKey({ id: '9' })), 12);
    assert.deepEqual(model.pagesToFetch(0, 12), [0, 1], 'pages from the insert on are fetched again');
  });

  test('a reset keeps showing rows but refetches them, late answers are dropped, and a shrunk list forgets its tail', () => {
    const model = new ListModel(10);
    const before = model.generation;
    model.applyPage(0, before, page(0, 10, 30));
    model.reset();
    assert.equal(model.row(3).title, 't3');
    assert.deepEqual(model.pagesToFetch(0, 9), [0]);
    assert.equal(model.applyPage(1, before, page(10, 10, 30)), false);
    assert.equal(model.row(10), undefined);
    model.applyPage(1, model.generation, page(10, 10, 30));
    model.applyPage(0, model.generation, page(0, 4, 4));
    assert.deepEqual([model.count, model.rows.size], [4, 4]);
  });
});

test('paths: parameters are read decoded in any order, a playlist id comes from either place, events cover and close by prefix', () => {
  const parsed = parsePath('playlists:pl/selectaddmode?action=cmnode&itemid=media%3Atrack%2F12&plid=0');
  assert.deepEqual([parsed.prefix, parsed.base, parsed.params.get('itemid')], ['playlists', 'playlists:pl/selectaddmode', 'media:track/12']);
  assert.equal(parsePath(buildPath('a:b', { x: 'p:q/1', y: 2 })).params.get('x'), 'p:q/1');
  assert.deepEqual(['playlists:pl/getitems/17', 'playlists:pq/contextmenu?plid=0', 'playlists:pq/getitems'].map(playlistIdOf), [17, 0, undefined]);
  const [mine, sub, other] = ['playlists:pl/getitems/5', 'playlists:pl/contextmenu?plid=5', 'playlists:pl/getitems/50'];
  for (const [fn, event, view, expected] of [
    [eventCovers, 'playlists:pl/contextmenu', sub, true], [eventCovers, 'playlists:', mine, true], [eventCovers, 'playlists:pl/getitems/3', 'playlists:pl/getitems/4', false],
    [eventCloses, mine, mine, true], [eventCloses, 'playlists:pl/contextmenu', sub, true], [eventCloses, mine, other, false],
  ]) assert.equal(!!fn(event, view), expected, `${fn.name}(${event}, ${view})`);
});

test('play modes: shuffle and repeat map onto the player mode numbers and back', () => {
  const table = { normal: [false, 0], shuffle: [true, 0], repeatOne: [false, 1], shuffleRepeatOne: [true, 1], repeatAll: [false, 2], shuffleRepeatAll: [true, 2] };
  Object.entries(table).forEach(([name, [shuffle, repeat]], n) => {
    assert.equal(playMode(shuffle, repeat), n);
    assert.deepEqual([splitPlayMode(n), splitPlayMode(name)], [{ shuffle, repeat }, { shuffle, repeat }]);
  });
});
