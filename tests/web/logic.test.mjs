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
  assert.ok(items.length > 0, 'a move names items');
  assert.ok(to >= 0 && to < list.length, `target ${to} must lie inside a list of ${list.length}`);
  const moveItem = (from, target) => {
    const n = list.length;
    from = Math.min(from, n);
    target = Math.min(target, n);
    if (from === target) return;
    const [item] = list.splice(from, 1);
    list.splice(target, 0, item);
  };
  if (items[0] > to) items.forEach((index, i) => moveItem(index, to + i));
  else for (let k = items.length - 1; k >= 0; k--) moveItem(items[k], to - k);
}

function subsets(n) {
  const all = [];
  for (let mask = 1; mask < 1 << n; mask++) all.push([...Array(n).keys()].filter((i) => mask & (1 << i)));
  return all;
}

describe('moving tracks', () => {
  test('every selection lands as one block, in order, at every target', () => {
    for (let n = 1; n <= 7; n++) {
      for (const chosen of subsets(n)) {
        for (let target = 0; target <= n - chosen.length; target++) {
          const list = [...Array(n).keys()];
          const rest = list.filter((i) => !chosen.includes(i));
          const expected = [...rest.slice(0, target), ...chosen, ...rest.slice(target)];
          const commands = planMove(n, chosen, target);
          assert.ok(commands.length <= 2, 'at most two commands');
          for (const command of commands) moveCommand(list, command);
          assert.deepEqual(list, expected, `n=${n} chosen=${chosen} target=${target}`);
        }
      }
    }
  });

  test('one track is one command to its target, and a block going down by one moves only the track it passes', () => {
    assert.deepEqual(planMove(10, [2], 7), [{ items: [2], to: 7 }]);
    assert.deepEqual(planMove(10, [7], 2), [{ items: [7], to: 2 }]);
    assert.deepEqual(planMove(10, [4], 4), []);
    assert.deepEqual(planMove(100, [10, 11, 12], 11), [{ items: [13], to: 10 }]);
  });

  test('targets outside the list are clamped', () => {
    const list = [0, 1, 2, 3];
    for (const command of planMove(4, [0, 1], 99)) moveCommand(list, command);
    assert.deepEqual(list, [2, 3, 0, 1]);
    assert.deepEqual(planMove(4, [0], -5), []);
  });
});

describe('putting removed tracks back', () => {
  test('appended tracks go back to where every removed set stood', () => {
    for (let n = 1; n <= 7; n++) {
      for (const removed of subsets(n)) {
        const original = [...Array(n).keys()].map((i) => `t${i}`);
        const list = original.filter((_, i) => !removed.includes(i));
        const countAfterRemoval = list.length;
        list.push(...removed.map((i) => original[i]));
        for (const command of planRestore(countAfterRemoval, removed)) moveCommand(list, command);
        assert.deepEqual(list, original, `n=${n} removed=${removed}`);
      }
    }
  });

  test('neighbours move back together in one command', () => {
    assert.deepEqual(planRestore(5, [1, 2, 3]), [{ items: [5, 6, 7], to: 1 }]);
    assert.deepEqual(planRestore(5, [5, 6]), [], 'tracks removed from the end are already in place');
  });
});

describe('the row cache', () => {
  const page = (from, count, total) => ({
    rowsCount: total,
    rows: Array.from({ length: count }, (_, i) => ({ id: String(from + i), title: `t${from + i}` })),
  });

  test('inserted rows push cached rows back and keep their identity', () => {
    const model = new ListModel(10);
    model.applyPage(0, model.generation, page(0, 10, 10));
    model.insert([2, 3]);
    assert.equal(model.count, 12);
    assert.equal(model.row(1).title, 't1');
    assert.equal(model.row(2), undefined, 'new rows are unknown until fetched');
    assert.equal(model.row(4).title, 't2');
    assert.equal(model.indexOfId(rowKey({ id: '9' })), 11);
    assert.deepEqual(model.pagesToFetch(0, 11), [0, 1], 'pages from the insert on are fetched again');
  });

  test('inserts spread over the list shift each row by the inserts before it', () => {
    const model = new ListModel(10);
    model.applyPage(0, model.generation, page(0, 5, 5));
    model.insert([0, 3, 6]);
    const titles = [...Array(8).keys()].map((i) => model.row(i)?.title ?? '+');
    assert.deepEqual(titles, ['+', 't0', 't1', '+', 't2', 't3', '+', 't4']);
  });

  test('a reset keeps showing rows but refetches them, and late answers are dropped', () => {
    const model = new ListModel(10);
    const before = model.generation;
    model.applyPage(0, before, page(0, 10, 30));
    model.reset();
    assert.equal(model.row(3).title, 't3');
    assert.deepEqual(model.pagesToFetch(0, 9), [0]);
    assert.equal(model.applyPage(1, before, page(10, 10, 30)), false);
    assert.equal(model.row(10), undefined);
  });

  test('a list that shrank forgets rows past its end', () => {
    const model = new ListModel(10);
    model.applyPage(0, model.generation, page(0, 10, 20));
    model.applyPage(1, model.generation, page(10, 10, 20));
    model.applyPage(0, model.generation, page(0, 4, 4));
    assert.equal(model.count, 4);
    assert.equal(model.rows.size, 4);
  });
});

describe('paths', () => {
  test('parameters are read decoded, whatever their order, and a playlist id from either place', () => {
    const parsed = parsePath('playlists:pl/selectaddmode?action=cmnode&itemid=media%3Atrack%2F12&plid=0');
    assert.equal(parsed.prefix, 'playlists');
    assert.equal(parsed.base, 'playlists:pl/selectaddmode');
    assert.equal(parsed.params.get('itemid'), 'media:track/12');
    assert.equal(parsePath(buildPath('a:b', { x: 'p:q/1', y: 2 })).params.get('x'), 'p:q/1');
    // A playlist id comes from plid or from the last segment of an items path.
    assert.equal(playlistIdOf('playlists:pl/getitems/17'), 17);
    assert.equal(playlistIdOf('playlists:pq/contextmenu?plid=0'), 0);
    assert.equal(playlistIdOf('playlists:pq/getitems'), undefined);
  });

  test('an event covers the views whose path starts with its path', () => {
    assert.ok(eventCovers('playlists:pl/contextmenu', 'playlists:pl/contextmenu?plid=5'));
    assert.ok(eventCovers('playlists:', 'playlists:pl/getitems/3'));
    assert.ok(!eventCovers('playlists:pl/getitems/3', 'playlists:pl/getitems/4'));
  });

  test('a closed path closes its own views only, not those of a longer number', () => {
    assert.ok(eventCloses('playlists:pl/getitems/5', 'playlists:pl/getitems/5'));
    assert.ok(eventCloses('playlists:pl/contextmenu', 'playlists:pl/contextmenu?plid=5'));
    assert.ok(!eventCloses('playlists:pl/getitems/5', 'playlists:pl/getitems/50'));
  });
});

describe('play modes', () => {
  test('shuffle and repeat map onto the player mode numbers', () => {
    const table = { normal: [false, 0], shuffle: [true, 0], repeatOne: [false, 1], shuffleRepeatOne: [true, 1], repeatAll: [false, 2], shuffleRepeatAll: [true, 2] };
    Object.entries(table).forEach(([name, [shuffle, repeat]], n) => {
      assert.equal(playMode(shuffle, repeat), n);
      assert.deepEqual(splitPlayMode(n), { shuffle, repeat });
      assert.deepEqual(splitPlayMode(name), { shuffle, repeat });
    });
  });
});
