SET enable_partitionwise_aggregate = on;
SET max_parallel_workers_per_gather = 0;  -- one machine is one process here, for the comparison,
SET jit = off;                            -- and both run the same code

-- Filters run on the shards: only the bonds that pass come back.
EXPLAIN (VERBOSE, COSTS OFF)
  SELECT id FROM bonds WHERE finance('YIELD', settle, maturity, coupon, price, 100, 2, 'ACTUAL') > 0.4;

-- So do aggregates over groups that lie on one shard whole: one row a group comes back.
CREATE VIEW risks AS
  SELECT portfolio, avg(finance('YIELD', settle, maturity, coupon, price, 100, 2)) AS yield,
         finance_xnpv(0.04, coupon, maturity) AS worth
    FROM bonds GROUP BY portfolio;
EXPLAIN (VERBOSE, COSTS OFF) SELECT * FROM risks;

-- The same on one machine, to the last digit.
CREATE VIEW risks_here AS
  SELECT portfolio, avg(finance('YIELD', settle, maturity, coupon, price, 100, 2)) AS yield,
         finance_xnpv(0.04, coupon, maturity) AS worth
    FROM bonds_here GROUP BY portfolio;
SELECT count(*) AS groups, count(*) FILTER (WHERE here = there) AS same
  FROM risks AS there FULL JOIN risks_here AS here USING (portfolio);

\timing on
SELECT count(*), max(yield) > 0 AS positive FROM risks_here;
SELECT count(*), max(yield) > 0 AS positive FROM risks;
