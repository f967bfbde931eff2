-- what a coordinator sends to shards, and what it does not; nothing is run
CREATE EXTENSION finance;
CREATE EXTENSION postgres_fdw;
CREATE SERVER shard FOREIGN DATA WRAPPER postgres_fdw OPTIONS (extensions 'finance');
CREATE USER MAPPING FOR CURRENT_USER SERVER shard;
CREATE TABLE spread(portfolio int, maturity date, coupon float8, basis text) PARTITION BY LIST (portfolio);
CREATE FOREIGN TABLE shard1 PARTITION OF spread FOR VALUES IN (1) SERVER shard;
CREATE FOREIGN TABLE shard2 PARTITION OF spread FOR VALUES IN (2) SERVER shard;
SET enable_partitionwise_aggregate = on;
SET plan_cache_mode = force_generic_plan;
-- sent
EXPLAIN (VERBOSE, COSTS OFF) SELECT coupon FROM shard1
  WHERE finance('YEARFRAC', '2026-11-23', maturity, 'ACTUAL') > 5;
EXPLAIN (VERBOSE, COSTS OFF) SELECT coupon FROM shard1
  WHERE finance_try('YEARFRAC', '2026-11-23', maturity, basis) > 5;
EXPLAIN (VERBOSE, COSTS OFF) SELECT coupon FROM shard1
  WHERE finance('NPV', VARIADIC ARRAY[0.1, coupon]) > 5;
EXPLAIN (VERBOSE, COSTS OFF) SELECT coupon FROM shard1
  WHERE finance_yearfrac('2026-11-23', maturity, 1) > 5;
EXPLAIN (VERBOSE, COSTS OFF) SELECT coupon FROM shard1
  ORDER BY finance('YEARFRAC', '2026-11-23', maturity) LIMIT 5;
PREPARE typed(finance_keyword) AS SELECT coupon FROM shard1 WHERE finance($1, '2026-11-23', maturity) > 5;
EXPLAIN (VERBOSE, COSTS OFF) EXECUTE typed('YEARFRAC');
EXPLAIN (VERBOSE, COSTS OFF) SELECT finance_xnpv(0.04, coupon, maturity) FROM spread GROUP BY portfolio;
-- not sent
EXPLAIN (VERBOSE, COSTS OFF) SELECT coupon FROM shard1
  WHERE finance_yearfrac('2026-11-23', maturity, 'ACTUAL') > 5;
EXPLAIN (VERBOSE, COSTS OFF) SELECT finance('YEARFRAC', '2026-11-23', maturity) FROM shard1;
PREPARE untyped(text) AS SELECT coupon FROM shard1 WHERE finance($1, '2026-11-23', maturity) > 5;
EXPLAIN (VERBOSE, COSTS OFF) EXECUTE untyped('YEARFRAC');
EXPLAIN (VERBOSE, COSTS OFF) SELECT coupon FROM shard1 WHERE finance_version() = basis;
EXPLAIN (VERBOSE, COSTS OFF) SELECT finance_xnpv(0.04, coupon, maturity) FROM spread GROUP BY coupon;
DROP EXTENSION finance, postgres_fdw CASCADE;
