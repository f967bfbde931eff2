-- All servers must have the same release of the extension.
SELECT server, is_same, error FROM finance_check_shards('bonds');

SET enable_partitionwise_aggregate = on;
SET max_parallel_workers_per_gather = 0;  -- for the comparison: one process per machine,
SET jit = off;                            -- and the same code on each

-- Filters run on the shards: only the bonds that pass come back.
EXPLAIN (VERBOSE, COSTS OFF)
  SELECT id FROM bonds WHERE finance('YIELD', settle, maturity, coupon, price, 100, 2, 'ACTUAL') > 0.4;

-- Aggregates also run on the shards if no group is on two shards: one row per group comes back.
CREATE VIEW risks AS
  SELECT portfolio, avg(finance('YIELD', settle, maturity, coupon, price, 100, 2)) AS yield,
         finance_xnpv(0.04, coupon, maturity) AS worth
    FROM bonds GROUP BY portfolio;
EXPLAIN (VERBOSE, COSTS OFF) SELECT * FROM risks;

-- One machine returns the same results, to the last digit.
CREATE VIEW risks_here AS
  SELECT portfolio, avg(finance('YIELD', settle, maturity, coupon, price, 100, 2)) AS yield,
         finance_xnpv(0.04, coupon, maturity) AS worth
    FROM bonds_here GROUP BY portfolio;
SELECT count(*) AS groups, count(*) FILTER (WHERE here = there) AS same
  FROM risks AS there FULL JOIN risks_here AS here USING (portfolio);

\timing on
SELECT count(*), max(yield) > 0 AS positive FROM risks_here;
SELECT count(*), max(yield) > 0 AS positive FROM risks;
