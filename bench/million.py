#!/usr/bin/env python3
"""Fills a catalogue with many models that are not there, to ask it.

million.py CATALOGUE COUNT: the catalogue has been made by "tev scan" and is empty.
"""

import sqlite3
import sys

# Words and names that some models share, and some that few have, as in archives.
FILL = """
CREATE TEMP TABLE numbers(n INTEGER PRIMARY KEY);
WITH RECURSIVE counting(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM counting WHERE n < :count)
INSERT INTO numbers SELECT n FROM counting;

INSERT INTO main.models SELECT n,
  printf('/archive/%03d/%03d/model-%07d.tev', n % 997, n % 101, n), 4096 + n * 7919 % 100000000,
  1700000000000000000 + n, n, 1700000000000000000 + n, 1, 1, 1, n % 50 = 7, '1.3',
  printf('%s %d of %s, load case %d',
    CASE n % 7 WHEN 0 THEN 'Bracket' WHEN 1 THEN 'Heat sink' WHEN 2 THEN 'Gear' WHEN 3 THEN 'Pump'
      WHEN 4 THEN 'Flange' WHEN 5 THEN 'Wing rib' ELSE 'Housing' END,
    n % 50000, CASE n % 3 WHEN 0 THEN 'steel' WHEN 1 THEN 'aluminium' ELSE 'titanium' END, n % 17),
  CASE WHEN n % 20000 = 3 THEN 'Fatigue' WHEN n % 5 = 0 THEN 'Modal'
    WHEN n % 5 = 1 THEN 'Transient' WHEN n % 5 = 2 THEN 'Buckling'
    ELSE 'Linear Static' END,
  printf('solver%d', n % 11), '1.0', printf('20%02d-%02d-01T12:00:00', 10 + n % 16, 1 + n % 12),
  n % 1000000, n % 700000, 3, n % 1000 <> 0, iif(n % 1000 = 0, 'damaged', NULL),
  iif(n % 1000 = 0, 'Out of Bounds', NULL), printf('%064x', iif(n % 5000 = 1, 1, n))
FROM numbers;

INSERT INTO main.parts SELECT n, p, printf('PART-%d', (n * 3 + p) % 200000), '["model"]', 'part',
  n % 1000000, n % 700000 FROM numbers, (SELECT 3 AS p UNION SELECT 5 UNION SELECT 7);
INSERT INTO main.steps SELECT n, 0, 'Time = 1', 'Time', 1 FROM numbers;
INSERT INTO main.results SELECT n, r, c, 'node' FROM numbers,
  (SELECT 'Displacement' AS r, 3 AS c UNION SELECT 'von Mises Stress', 1
    UNION SELECT 'Temperature', 1);
INSERT INTO main.results SELECT n, printf('Probe %d', n % 20000), 1, 'node' FROM numbers;
INSERT INTO main.extremes SELECT n, 3, r, c, (n * 104729 + 31 * c) % 1000003 / 1000.0 - 1000, 1,
  'Time = 1', (n * 7919 + 31 * c) % 1000003 / 1000.0, 2, 'Time = 1', 0
FROM numbers, (SELECT 'Displacement' AS r, -1 AS c UNION SELECT 'von Mises Stress', 0);
INSERT INTO main.findings SELECT n, 'damage', iif(n % 3000 = 0, 'node-range', 'unreadable-block'),
  NULL, NULL, 'Out of Bounds'
FROM numbers WHERE n % 1000 = 0;
INSERT INTO main.texts(rowid, title, parts, results) SELECT id, title,
  (SELECT group_concat(name, char(10)) FROM parts WHERE model_id = models.id),
  (SELECT group_concat(name, char(10)) FROM results WHERE model_id = models.id) FROM main.models;
"""


def main():
    catalogue, count = sys.argv[1:]
    database = sqlite3.connect(catalogue, isolation_level=None)
    database.execute("PRAGMA journal_mode = OFF")
    database.execute("BEGIN")
    for statement in FILL.split(";\n"):
        if statement.strip():
            database.execute(statement, {"count": int(count)} if ":count" in statement else ())
    database.execute("COMMIT")


if __name__ == "__main__":
    main()
